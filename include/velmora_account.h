/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the account handle, its properties, the connection to the account agent
 * and the account operations (sign-in, tokens, state queries, account services).
 *
 * Rules that hold for the whole interface:
 *  1. Every function returns a result code of velmora_account_error.h (0 on success) and hands its
 *     results out through pointer arguments.
 *  2. Handles are opaque. A handle is made by a _create function (or velmora_account_connect) and
 *     released by the matching _destroy function (or velmora_account_disconnect).
 *  3. Strings handed in are copied; the caller keeps its own. Strings and arrays handed out are new
 *     copies that the caller releases with free(), unless a function says otherwise.
 *  4. An asynchronous call returns VELMORA_ACCOUNT_ERROR_NONE once its request is on its way; its
 *     callback then runs exactly once, later, on the application's GLib main loop. When the call
 *     itself returns an error, the callback is not called.
 *  5. A completion callback receives a new account handle made for the request (a copy of the
 *     caller's handle, filled with the reply). It belongs to the callback's receiver, who releases
 *     it with velmora_account_destroy. The caller's own handle is never changed by a request.
 *  6. The library starts no threads; handles are not safe to share between threads.
 *  7. Every function first checks that the account agent is installed and returns
 *     VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED when it is not; functions that need a newer agent return
 *     VELMORA_ACCOUNT_ERROR_LOWER_VERSION when the installed one is older.
 *
 * A handle made by velmora_account_create sends its requests as app-control launch requests; one
 * made by velmora_account_connect sends them over the agent's RPC port. Some operations exist for
 * only one of the two kinds of handle; they return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED for the
 * other.
 */
#ifndef VELMORA_ACCOUNT_H
#define VELMORA_ACCOUNT_H

#include <stdbool.h>

#include "velmora_account_error.h"
#include "velmora_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- handle and callbacks ---- */

/* The account handle: request parameters as properties, and the values a reply brings back. */
typedef struct velmora_account_s *velmora_account_h;

/* State of a connected handle, reported to velmora_account_connection_cb. */
typedef enum {
  VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED = 0,    /* result 0 */
  VELMORA_ACCOUNT_CONNECTION_STATE_DISCONNECTED = 1, /* result 0; the handle must be disconnected */
  VELMORA_ACCOUNT_CONNECTION_STATE_REJECTED = 2 /* result VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED */
} velmora_account_connection_state_e;

/* Reports the outcome of velmora_account_connect and later connection events. `state` is a
 * velmora_account_connection_state_e. */
typedef void (*velmora_account_connection_cb)(int result, int state, void *user_data);

/* Completion of a request. `account` is the response handle (rule 5 above). */
typedef void (*velmora_account_response_cb)(int result, velmora_account_h account, void *user_data);

/* Completion of velmora_account_is_signed_in: `signed_in` tells whether the account is signed in.
 */
typedef void (*velmora_account_signed_in_cb)(int result, velmora_account_h account, bool signed_in,
                                             void *user_data);

/* Completion of velmora_account_get_account_list: `account_list` holds `length` login ids. The
 * array and its strings belong to the library and are released when the callback returns; copy what
 * you keep. When the reply could not be read, the result is VELMORA_ACCOUNT_ERROR_NO_DATA,
 * `account_list` is NULL and `length` is 0; a successful reply without accounts gives an empty
 * array and `length` 0. */
typedef void (*velmora_account_list_cb)(int result, velmora_account_h account, char **account_list,
                                        int length, void *user_data);

/* ---- properties ---- */

/* String properties (velmora_account_get_property_str and siblings). */
typedef enum {
  VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN = 0,
  VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL = 1,
  VELMORA_ACCOUNT_PROPERTY_AUTHCODE = 2,
  VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL = 3,
  VELMORA_ACCOUNT_PROPERTY_CLIENT_ID = 4,
  VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET = 5,
  VELMORA_ACCOUNT_PROPERTY_CC = 6, /* country code */
  VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE = 7,
  VELMORA_ACCOUNT_PROPERTY_LAST_ACCESS_TOKEN = 8, /* an expired access token, to obtain a new one */
  VELMORA_ACCOUNT_PROPERTY_LOGIN_ID = 9,
  VELMORA_ACCOUNT_PROPERTY_MCC = 10, /* mobile country code */
  VELMORA_ACCOUNT_PROPERTY_PASSWORD = 11,
  VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN = 12,
  VELMORA_ACCOUNT_PROPERTY_SCOPE = 13,
  VELMORA_ACCOUNT_PROPERTY_USER_ID = 14,
  VELMORA_ACCOUNT_PROPERTY_SIGNIN_APP_MESSAGE = 15,
  VELMORA_ACCOUNT_PROPERTY_CUSTOMIZEDSERVICE = 16,
  VELMORA_ACCOUNT_PROPERTY_ID_TOKEN = 17,
  VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN = 18,
  VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_CODE = 19,
  VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID = 20
} velmora_account_property_e;

/* Integer properties. A value below 1 counts as not set. */
typedef enum {
  VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN = 0,
  VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_ISSUE_TIME = 1,
  VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT = 2 /* seconds, for velmora_account_companion_sign_in */
} velmora_account_property_int_e;

/* Boolean properties. A new handle has none of them set. */
typedef enum {
  VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER = 0,
  VELMORA_ACCOUNT_PROPERTY_BOOL_REGISTER_TRUSTED_DEVICE = 1,
  VELMORA_ACCOUNT_PROPERTY_BOOL_CHECK_2FACTOR_AUTHENTICATION = 2,
  VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST = 3,
  VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS = 4
} velmora_account_property_bool_e;

/* Terms-and-conditions consents, for velmora_account_set_tnc. */
typedef enum {
  VELMORA_ACCOUNT_TNC_SERVICE = 1,       /* the account service's own terms (mandatory) */
  VELMORA_ACCOUNT_TNC_PERSONAL_INFO = 2, /* personal information (mandatory) */
  VELMORA_ACCOUNT_TNC_CUSTOMIZED_SERVICE = 4,
  VELMORA_ACCOUNT_TNC_CUSTOMIZED_SERVICE_ADVERTISEMENT = 8
} velmora_account_tnc_e;

/* Authentication types of velmora_account_request_authentication_for_sign_in. */
typedef enum { VELMORA_ACCOUNT_AUTHENTICATION_TYPE_SMS = 0 } velmora_account_authentication_type_e;

/* ---- handle ---- */

/* Creates a handle whose requests travel as app-control launch requests. It has no property set.
 * The caller owns it and releases it with velmora_account_destroy. Does not contact the agent.
 * Returns NONE, NOT_SUPPORTED (no agent), INVALID_PARAMETER (NULL handle), OUT_OF_MEMORY. */
VELMORA_API int velmora_account_create(velmora_account_h *handle);

/* Releases a handle made by velmora_account_create, or a response handle given to a callback.
 * A connected handle is released with velmora_account_disconnect instead.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER (NULL handle). */
VELMORA_API int velmora_account_destroy(velmora_account_h handle);

/* Hands out a copy of the string property `property` (velmora_account_property_e) in *value; the
 * caller frees it. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER (NULL argument, unknown id),
 * NO_DATA (not set). */
VELMORA_API int velmora_account_get_property_str(velmora_account_h handle, int property,
                                                 char **value);

/* Sets the string property `property` to a copy of `value` (an empty string is a value).
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER (NULL argument, unknown id), OUT_OF_MEMORY. */
VELMORA_API int velmora_account_set_property_str(velmora_account_h handle, int property,
                                                 const char *value);

/* Clears the string property `property`; clearing a property that is not set succeeds.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER (NULL handle, unknown id). */
VELMORA_API int velmora_account_unset_property_str(velmora_account_h handle, int property);

/* Reads the integer property `property` (velmora_account_property_int_e). A stored value below 1
 * counts as not set. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, NO_DATA. */
VELMORA_API int velmora_account_get_property_int(velmora_account_h handle, int property,
                                                 int *value);

/* Stores `value` as the integer property `property`; a value below 1 reads back as NO_DATA.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER. */
VELMORA_API int velmora_account_set_property_int(velmora_account_h handle, int property, int value);

/* Reads the boolean property `property` (velmora_account_property_bool_e).
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, NO_DATA (never set). */
VELMORA_API int velmora_account_get_property_bool(velmora_account_h handle, int property,
                                                  bool *value);

/* Sets the boolean property `property`. Once set, it cannot return to "not set".
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER. */
VELMORA_API int velmora_account_set_property_bool(velmora_account_h handle, int property,
                                                  bool value);

/* ---- connection (requests over the agent's RPC port) ---- */

/* Creates a handle connected to the agent's RPC port and starts connecting. Returns NONE once the
 * connection is under way; `callback` then reports CONNECTED, or REJECTED with PERMISSION_DENIED,
 * and later DISCONNECTED if the agent goes away. Release the handle with
 * velmora_account_disconnect. Requires agent API level 3; not offered on TV. Returns NONE,
 * NOT_SUPPORTED (no agent, TV), LOWER_VERSION, INVALID_PARAMETER (NULL handle or callback),
 * OUT_OF_MEMORY (also when the port cannot be reached), PERMISSION_DENIED. */
VELMORA_API int velmora_account_connect(velmora_account_h *handle,
                                        velmora_account_connection_cb callback, void *user_data);

/* Closes the connection of a handle made by velmora_account_connect and releases the handle, also
 * after a DISCONNECTED event. Returns NONE, NOT_SUPPORTED (no agent, TV), LOWER_VERSION,
 * INVALID_PARAMETER. */
VELMORA_API int velmora_account_disconnect(velmora_account_h handle);

/* ---- sign-in and sign-out (app-control requests) ---- */

/* Signs a user in. With the authorization code, API server URL, auth server URL and device unique
 * code set, signs in with that code; otherwise the agent shows its login view (an application may
 * not pass a login id and password: NOT_SUPPORTED). Not offered for a connected handle.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, or the launch failure's code. */
VELMORA_API int velmora_account_sign_in(velmora_account_h handle,
                                        velmora_account_response_cb callback, void *user_data);

/* Signs in with a second factor: login id, password and authentication number must be set, and the
 * authentication token unless `skip_token` is true. Only the agent's own UI application may call
 * it. Requires agent API level 5. Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER,
 * OUT_OF_MEMORY, or the launch failure's code. */
VELMORA_API int velmora_account_sign_in_with_2factor_authentication(
    velmora_account_h handle, bool skip_token, velmora_account_response_cb callback,
    void *user_data);

/* Asks the agent to send an authentication number for signing in (`type`: only
 * VELMORA_ACCOUNT_AUTHENTICATION_TYPE_SMS). The login id must be set. Requires agent API level 5.
 * Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER, OUT_OF_MEMORY, launch failure. */
VELMORA_API int velmora_account_request_authentication_for_sign_in(
    velmora_account_h handle, int type, velmora_account_response_cb callback, void *user_data);

/* Signs the account of the login id out; the response handle carries no login id.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER (also: login id not set), OUT_OF_MEMORY,
 * launch failure. */
VELMORA_API int velmora_account_sign_out(velmora_account_h handle,
                                         velmora_account_response_cb callback, void *user_data);

/* Makes the agent confirm the user (its login view, for an ordinary application).
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch failure. */
VELMORA_API int velmora_account_request_confirm_user(velmora_account_h handle,
                                                     velmora_account_response_cb callback,
                                                     void *user_data);

/* ---- tokens and authorization codes ---- */

/* Obtains an access token for the login id and client id (both required; the client secret too on
 * TV). The response handle holds the token and its expiry.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch or port failure. */
VELMORA_API int velmora_account_request_access_token(velmora_account_h handle,
                                                     velmora_account_response_cb callback,
                                                     void *user_data);

/* Obtains the last access token the agent handed out (login id and client id required). Always an
 * app-control request, also for a connected handle.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch failure. */
VELMORA_API int velmora_account_get_last_access_token(velmora_account_h handle,
                                                      velmora_account_response_cb callback,
                                                      void *user_data);

/* Blocking form of velmora_account_get_last_access_token for a connected handle. On success
 * *response receives a new handle that the caller releases with velmora_account_destroy. Requires
 * agent API level 3; not offered on TV. Returns NONE, NOT_SUPPORTED (no agent, TV, handle not
 * connected), LOWER_VERSION, INVALID_PARAMETER, or the port's failure code. */
VELMORA_API int velmora_account_get_last_access_token_sync(velmora_account_h handle,
                                                           velmora_account_h *response);

/* Obtains an authorization code for the login id and client id (both required).
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch or port failure. */
VELMORA_API int velmora_account_request_auth_code(velmora_account_h handle,
                                                  velmora_account_response_cb callback,
                                                  void *user_data);

/* Obtains an authorization code for effortless login (login id and client id required).
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch or port failure. */
VELMORA_API int velmora_account_request_auth_code_for_effortless_login(
    velmora_account_h handle, velmora_account_response_cb callback, void *user_data);

/* ---- account state queries ---- */

/* Asks whether the account `login_id` (or, with NULL, any account) is signed in.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch failure. */
VELMORA_API int velmora_account_is_signed_in(velmora_account_h handle, const char *login_id,
                                             velmora_account_signed_in_cb callback,
                                             void *user_data);

/* Asks for the login ids of the signed-in accounts (at most 10).
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch failure. */
VELMORA_API int velmora_account_get_account_list(velmora_account_h handle,
                                                 velmora_account_list_cb callback, void *user_data);

/* Asks for the default account; the response handle's login id names it.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch failure. */
VELMORA_API int velmora_account_get_default_account(velmora_account_h handle,
                                                    velmora_account_response_cb callback,
                                                    void *user_data);

/* Makes the account of the handle's login id (required) the default account.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch failure. */
VELMORA_API int velmora_account_set_default_account(velmora_account_h handle,
                                                    velmora_account_response_cb callback,
                                                    void *user_data);

/* Looks an account up by the handle's user id (required).
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch or port failure. */
VELMORA_API int velmora_account_get_account_from_property(velmora_account_h handle,
                                                          velmora_account_response_cb callback,
                                                          void *user_data);

/* Blocking: tells in *status whether `login_id` (or, with NULL, any account) is signed in, from the
 * platform account store. Requires agent API level 3. Returns NONE, NOT_SUPPORTED, LOWER_VERSION,
 * INVALID_PARAMETER, DB_FAILED, RESOURCE_BUSY, UNKNOWN. */
VELMORA_API int velmora_account_is_signed_in_sync(velmora_account_h handle, const char *login_id,
                                                  bool *status);

/* Blocking: hands out the login ids of the signed-in accounts (at most 10) from the platform
 * account store. *account_list receives a new array of *list_size strings; the caller frees every
 * string and the array. Requires agent API level 3. Returns NONE, NOT_SUPPORTED, LOWER_VERSION,
 * INVALID_PARAMETER, OUT_OF_MEMORY, NEED_SIGNIN (no account), DB_FAILED, RESOURCE_BUSY, UNKNOWN. */
VELMORA_API int velmora_account_get_account_list_sync(velmora_account_h handle,
                                                      char ***account_list, int *list_size);

/* Blocking: hands out the default account's login id in *account (the caller frees it; NULL when
 * there is none), from the platform account store. Requires agent API level 3.
 * Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER, DB_FAILED, RESOURCE_BUSY, UNKNOWN.
 */
VELMORA_API int velmora_account_get_default_account_sync(velmora_account_h handle, char **account);

/* Blocking: makes `account` (a login id) the default account, over the port of a connected handle.
 * Requires agent API level 3; not offered on TV. Returns NONE, NOT_SUPPORTED, LOWER_VERSION,
 * INVALID_PARAMETER, OUT_OF_MEMORY, or the port's failure code. */
VELMORA_API int velmora_account_set_default_account_sync(velmora_account_h handle,
                                                         const char *account);

/* ---- account services ---- */

/* Asks for the country code (MCC) of the account's network; the login id is required. Requires
 * agent API level 3. Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER, OUT_OF_MEMORY,
 * launch or port failure. */
VELMORA_API int velmora_account_request_mcc(velmora_account_h handle,
                                            velmora_account_response_cb callback, void *user_data);

/* Sets (`value` true) or clears one terms-and-conditions consent `tnc` (velmora_account_tnc_e) on
 * the handle. No request is sent. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER (NULL handle, not
 * a single consent bit). */
VELMORA_API int velmora_account_set_tnc(velmora_account_h handle, int tnc, bool value);

/* Sends the handle's consents to the agent. Login id and MCC must be set and both mandatory
 * consents given. Requires agent API level 3. Returns NONE, NOT_SUPPORTED, LOWER_VERSION,
 * INVALID_PARAMETER, OUT_OF_MEMORY, launch or port failure. */
VELMORA_API int velmora_account_update_tnc_info(velmora_account_h handle,
                                                velmora_account_response_cb callback,
                                                void *user_data);

/* Asks whether the account is linked with a partner service. Login id, client id, partner client
 * id, access token and auth server URL must be set; the response handle's boolean property
 * ACCOUNT_LINKING_STATUS holds the answer. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER,
 * OUT_OF_MEMORY, launch or port failure. */
VELMORA_API int velmora_account_request_account_linking_info(velmora_account_h handle,
                                                             velmora_account_response_cb callback,
                                                             void *user_data);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_ACCOUNT_H */
