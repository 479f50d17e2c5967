/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora platform: device facts.
 */
#ifndef VELMORA_PLATFORM_SYSTEM_INFO_H
#define VELMORA_PLATFORM_SYSTEM_INFO_H

#include "platform_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The result codes of the system information functions. */
typedef enum {
  SYSTEM_INFO_ERROR_NONE = 0,
  SYSTEM_INFO_ERROR_INVALID_PARAMETER = -22,
  SYSTEM_INFO_ERROR_OUT_OF_MEMORY = -12,
  SYSTEM_INFO_ERROR_IO_ERROR = -5,
  SYSTEM_INFO_ERROR_NO_DATA = -61,                   /* the key has no value on this device now */
  SYSTEM_INFO_ERROR_NOT_SUPPORTED = (int)0xC0000002, /* unknown key */
} system_info_error_e;

/* The feature key whose value is the device profile: "mobile", "wearable" or "tv". */
#define SYSTEM_INFO_KEY_PROFILE "http://velmora.dev/feature/profile"

/* The feature key whose value is the device's current MCC, the mobile country code of the network
 * it is on (three digits); SYSTEM_INFO_ERROR_NO_DATA when it is on none. */
#define SYSTEM_INFO_KEY_MCC "http://velmora.dev/telephony/mcc"

/* Hands out the string value of `key` in *value (the caller frees it). */
PLATFORM_API int system_info_get_platform_string(const char *key, char **value);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PLATFORM_SYSTEM_INFO_H */
