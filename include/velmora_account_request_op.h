/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the operation URIs of app-control requests to the account agent.
 *
 * Each constant is the operation that a request made by a handle from velmora_account_create
 * carries. They are exported so that an agent, or a test standing in for one, can match incoming
 * requests against exactly the values the library sends.
 */
#ifndef VELMORA_ACCOUNT_REQUEST_OP_H
#define VELMORA_ACCOUNT_REQUEST_OP_H

#include "velmora_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Operations of the agent application itself. */
VELMORA_API extern const char *const REQUEST_OP_ACCOUNT_LINKING;
VELMORA_API extern const char *const REQUEST_OP_2FACTOR_SMS;
VELMORA_API extern const char *const REQUEST_OP_CONFIRMUSER_POPUP;
VELMORA_API extern const char *const REQUEST_OP_SIGNIN_POPUP;
VELMORA_API extern const char *const REQUEST_OP_COMPANION_ACCOUNT_EXIST;
VELMORA_API extern const char *const REQUEST_OP_COMPANION_SIGNIN;

/* Operations defined by the platform. */
VELMORA_API extern const char *const REQUEST_OP_GETACCOUNT_FROM_GUID;
VELMORA_API extern const char *const REQUEST_OP_TNC_UPDATE;
VELMORA_API extern const char *const REQUEST_OP_CURRENT_MCC;
VELMORA_API extern const char *const REQUEST_OP_CONFIRMUSER;
VELMORA_API extern const char *const REQUEST_OP_GETAUTHCODE_EFFORTLESS;
VELMORA_API extern const char *const REQUEST_OP_GETAUTHCODE;
VELMORA_API extern const char *const REQUEST_OP_GETACCESSTOKEN;
VELMORA_API extern const char *const REQUEST_OP_GETLASTACCESSTOKEN;
VELMORA_API extern const char *const REQUEST_OP_GETDEFAULTACCOUNT;
VELMORA_API extern const char *const REQUEST_OP_SETDEFAULTACCOUNT;
VELMORA_API extern const char *const REQUEST_OP_SIGNINWITHAUTHCODE;
VELMORA_API extern const char *const REQUEST_OP_SIGNOUT;
VELMORA_API extern const char *const REQUEST_OP_SIGNIN;
VELMORA_API extern const char *const REQUEST_OP_IS_SIGNEDINLIST;
VELMORA_API extern const char *const REQUEST_OP_IS_SIGNEDIN;
VELMORA_API extern const char *const REQUEST_OP_PLACE_GET;
VELMORA_API extern const char *const REQUEST_OP_PROFILE_UNSUBSCRIBE;
VELMORA_API extern const char *const REQUEST_OP_PROFILE_SUBSCRIBE;
VELMORA_API extern const char *const REQUEST_OP_PROFILE_UPDATE;
VELMORA_API extern const char *const REQUEST_OP_PROFILE_GET;

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_ACCOUNT_REQUEST_OP_H */
