/*
 * Velmora Account client: error conversions and agent probes shared by the whole library.
 *
 * The probes decide which functions are offered at all: is the agent installed, is its API level
 * lower than a function needs, is this device a TV or a wearable. Their answers are cached for the
 * life of the process (a missing agent and a failed package query are asked again each time).
 */
#ifndef VELMORA_VA_UTIL_H
#define VELMORA_VA_UTIL_H

#include <stdbool.h>

#include "request_record.h"
#include "velmora_account.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- error conversion ---- */

/* The agent's "error_code" reply value as a result code: base-10, trailing text ignored, a
 * non-number gives 0. NULL gives 0 (a failed reply without an error code reads as success). */
int _velmora_account_convert_error(const char *error_code);

/* The result of app_control_send_launch_request as a result code. On failure it also releases what
 * was prepared for the launch: `request` with a plain free(), `account` with
 * velmora_account_destroy (either may be NULL). On success it touches nothing. */
int __convert_app_control_error(int err, velmora_account_request_h request,
                                velmora_account_h account);

/* The name of an app-control error, for logs ("UNKNOWN__Error" for a value without a name). */
const char *__app_control_error(int err);

/* An error of the platform account store as a result code; `func` names the failed call in the
 * log. Callers pass only non-zero errors. */
int __convert_account_manager_error(int err, const char *func);

/* The result of connecting the agent's proxy as a result code: 0 and -13 stay, every other value
 * becomes VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY. */
int _velmora_account_convert_connect_error(int err);

/* ---- agent probes ---- */

/* True when the agent package (AGENT_APP_ID) is installed. */
bool is_agent_installed(void);
/* True when the installed agent's API level is below `api_level`. Levels below 2 are never lower.
 */
bool is_lower_agent(int api_level);
/* True when the device profile is exactly "tv". */
bool is_tv_profile(void);
/* True when the device profile is exactly "wearable" (not cached). */
bool is_wearable_profile(void);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_VA_UTIL_H */
