/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: error conversions and agent probes shared by the whole library.
 *
 * The probes decide which functions are offered at all: is the agent installed, is its API level
 * lower than a function needs, is this device a TV or a wearable. Their answers are cached for the
 * life of the process (a missing agent and a failed package query are asked again each time).
 */
#ifndef VELMORA_VA_BASE_H
#define VELMORA_VA_BASE_H

#include <stdbool.h>

#include "request_record.h"
#include "velmora_account.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- error conversion ---- */

/* The agent's "error_code" reply value as a result code: base-10, trailing text ignored, a
 * non-number gives 0. NULL gives 0 (a failed reply without an error code reads as success). */
int va_convert_error(const char *error_code);

/* The result of app_control_send_launch_request as a result code. On failure it also releases what
 * was prepared for the launch: `request` with a plain free(), `account` with
 * velmora_account_destroy (either may be NULL). On success it touches nothing. */
int va_convert_app_control_error(int err, velmora_account_request_h request,
                                 velmora_account_h account);

/* The name of an app-control error, for logs ("UNKNOWN__Error" for a value without a name). */
const char *va_app_control_error_name(int err);

/* An error of the platform account store as a result code; `func` names the failed call in the
 * log. Callers pass only non-zero errors. */
int va_convert_account_manager_error(int err, const char *func);

/* The result of connecting the agent's proxy as a result code: 0 and -13 stay, every other value
 * becomes VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY. */
int va_convert_connect_error(int err);

/* ---- agent probes ---- */

/* True when the agent package (AGENT_APP_ID) is installed. */
bool va_is_agent_installed(void);
/* True when the installed agent's API level is below `api_level`. Levels below 2 are never lower.
 */
bool va_is_lower_agent(int api_level);
/* True when the device profile is exactly "tv". */
bool va_is_tv_profile(void);
/* True when the device profile is exactly "wearable" (not cached). */
bool va_is_wearable_profile(void);

/* The probe checks every public function starts with, logged with the condition texts the
 * service's tools know (the probes' former names): "(is_agent_installed() == false)",
 * "(is_lower_agent(3) == true)", "(is_tv_profile())". They need va_log.h. */
#define VA_RETV_IF_NO_AGENT()                                                        \
  VA_RETV_IF_TEXT(va_is_agent_installed() == false, "is_agent_installed() == false", \
                  VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED)
#define VA_RETV_IF_LOWER_AGENT(level)                                                     \
  VA_RETV_IF_TEXT(va_is_lower_agent(level) == true, "is_lower_agent(" #level ") == true", \
                  VELMORA_ACCOUNT_ERROR_LOWER_VERSION)
#define VA_RETV_IF_TV(ret) VA_RETV_IF_TEXT(va_is_tv_profile(), "is_tv_profile()", ret)

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_VA_BASE_H */
