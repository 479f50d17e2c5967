/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: result codes.
 *
 * Every function of the account client returns one of these codes, and every callback receives one
 * as its first argument. Small negative values are negated errno numbers; values at and below
 * 0xC0000000 belong to the platform and to the account service.
 *
 * Codes that the account agent sends back with a reply are handed to the callback unchanged, so a
 * callback may also see a code that is not listed here: treat any non-zero value as a failure.
 */
#ifndef VELMORA_ACCOUNT_ERROR_H
#define VELMORA_ACCOUNT_ERROR_H

#include "velmora_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The result codes of the account client. */
typedef enum {
  /* Success. */
  VELMORA_ACCOUNT_ERROR_NONE = 0,
  /* An allocation failed; also reported when a launch request or a connection to the agent failed
   * for a reason that has no code of its own. */
  VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY = -12,
  /* The platform refused the call, or the agent rejected the connection. */
  VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED = -13,
  /* The agent rejected the launch request, or the account store was busy. */
  VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY = -16,
  /* A NULL handle, out-pointer or callback; a property id out of range; a mandatory property not
   * set. */
  VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER = -22,
  /* The property or item asked for is not set; the result is empty. */
  VELMORA_ACCOUNT_ERROR_NO_DATA = -61,
  /* An account-store error without a code of its own here (0xC0000000). */
  VELMORA_ACCOUNT_ERROR_UNKNOWN = -1073741824,
  /* The account agent is not installed or was not found; the call is not offered on this device
   * profile or with this kind of handle (0xC0000002). */
  VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED = -1073741822,
  /* The platform account store reported a database failure (0xBFFFFFFB). */
  VELMORA_ACCOUNT_ERROR_DB_FAILED = -1073741829,
  /* There is no account: the user must sign in first (0xBFFFFFFA). */
  VELMORA_ACCOUNT_ERROR_NEED_SIGNIN = -1073741830,
  /* The installed agent's API level is lower than the call requires (0xBFFFFFF3). */
  VELMORA_ACCOUNT_ERROR_LOWER_VERSION = -1073741837
} velmora_account_error_e;

/*
 * The name of a result code: "VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER" for a code of this header,
 * "AGENT_ERROR_UNKNOWN_USER" and the like for the account agent's own codes (0xC1000001 and up),
 * which callbacks receive unchanged. A constant string, or NULL for a number no table names.
 * Unlike the other functions it returns no result code.
 */
VELMORA_API const char *velmora_account_error_name(int code);

/*
 * What a result code means, in one line for people ("the account is not signed in on this device:
 * sign in first"). A constant string, or NULL for a number no table names.
 */
VELMORA_API const char *velmora_account_error_message(int code);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_ACCOUNT_ERROR_H */
