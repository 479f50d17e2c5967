/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the fixed names and values the library works with.
 */
#ifndef VELMORA_VA_CONSTANTS_H
#define VELMORA_VA_CONSTANTS_H

#include "system_info.h"
#include "velmora_account_version.h"

/* The account agent: its package id and the id of its service application are the same. */
#define AGENT_APP_ID "dev.velmora.account"
/* The agent's UI application. */
#define AGENT_UI_APP_ID AGENT_APP_ID ".ui"
/* The platform's single-sign-on service; TV devices keep their accounts under its package id in
 * the platform account store. */
#define SSO_SERVICE_PACKAGE_ID "dev.velmora.sso"

/* The agent application's metadata key that carries its API level (a decimal number). */
#define AGENT_API_LEVEL_METADATA_KEY "velmora-experience-service-api-level"
/* The platform feature key whose value is the device profile ("mobile", "wearable", "tv"). */
#define DEVICE_PROFILE_FEATURE_KEY SYSTEM_INFO_KEY_PROFILE

/* The library version, logged by velmora_account_create and velmora_account_connect (set once, in
 * the project's CMakeLists.txt). */
#define VELMORA_ACCOUNT_VERSION VELMORA_ACCOUNT_VERSION_STRING

/* Scheme and host of the platform-defined app-control operations ("/appcontrol/operation/..."). */
#define PLATFORM_OPERATION_PREFIX "http://velmora.dev"
/* Scheme and host of the agent's own operations: the agent's application id as host. */
#define AGENT_OPERATION_PREFIX "http://" AGENT_APP_ID

#endif /* VELMORA_VA_CONSTANTS_H */
