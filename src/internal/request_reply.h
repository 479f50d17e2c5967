/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the agent's replies, in either transport.
 *
 * App-control replies reach va_reply_app_control_cb, which logs under the name the operation's row
 * gives it ("access_token_result_cb"), turns the reply into a result code (the "error_code" extra
 * of a failed reply), hands the reply to the row's parser (by default: its extras into the
 * request's account clone, then the caller's callback), and frees the request record. Replies over
 * the AccountSvc port reach va_reply_port_cb ("NidlAccessTokenCb"), which does the same from an
 * AccountS record; places and profiles name delegate callbacks of their own in their rows.
 *
 * The account clone handed to the caller's callback is not destroyed here: it belongs to the
 * callback's receiver.
 */
#ifndef VELMORA_REQUEST_REPLY_H
#define VELMORA_REQUEST_REPLY_H

#include <stdbool.h>

#include "account_svc_proxy.h"
#include "app_control.h"
#include "request_operation.h"
#include "request_record.h"
#include "velmora_account.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The longest account list a reply can hand to velmora_account_list_cb. */
#define VA_ACCOUNT_LIST_MAX 10

/* Reply holder of velmora_account_is_signed_in (request field 2); allocated zeroed by the
 * operation, freed by signed_in_status_cb. */
typedef struct {
  bool is_signed_in;
} va_signed_in_status_s;

/* Reply holder of velmora_account_get_account_list (request field 2); allocated zeroed by the
 * operation. account_list_cb allocates `list` (VA_ACCOUNT_LIST_MAX slots) and frees everything. */
typedef struct {
  char **list;
  int length;
} va_account_id_list_s;

/* A new zeroed request record holding `account`, the caller's port-mode `callback` and
 * `user_data` (logs as __create_nidl_request); NULL when out of memory. */
velmora_account_request_h va_request_create_port(velmora_account_h account,
                                                 velmora_account_request_cb callback,
                                                 void *user_data);
/* The same for a request whose reply never frees its record (a row with
 * port.reply_keeps_request): the record comes from va_request_alloc_kept_by_reply, which the leak
 * checkers' suppressions name. */
velmora_account_request_h va_request_create_port_kept(velmora_account_h account,
                                                      velmora_account_request_cb callback,
                                                      void *user_data);
void *va_request_alloc_kept_by_reply(void);

/* ---- the generic reply callbacks ---- */

/* The reply callback of every app-control request (user_data: the request record): entry line
 * under the row's app_control.reply_name, the result (va_reply_result), the row's parser or
 * va_reply_parse_account, "REQUEST_HANDLE_FREE", the record freed, exit line. */
void va_reply_app_control_cb(app_control_h request, app_control_h reply,
                             app_control_result_e result, void *user_data);

/* The ResponseCb delegate callback of every request over the port (user_data: the request
 * record): entry line under the row's port.reply_name, the clone filled by the row's port.fill
 * (va_fill_from_account_s when NULL), the caller's velmora_account_response_cb, the
 * record freed, exit line. */
void va_reply_port_cb(void *user_data, int result, rpc_port_AccountS_h account);

/* The name a request's reply is logged under: the row's app_control.reply_name, or with `port` its
 * port.reply_name. */
const char *va_reply_name(velmora_account_request_h request, bool port);

/* The result of a reply: 0 for a successful one, else its converted "error_code" (0 without one).
 * `name` is the reply callback's name in the log. */
int va_reply_result(const char *name, app_control_h reply, app_control_result_e result);

/* ---- app-control reply parsers (va_reply_parser_fn) ---- */

/* The default: the reply's extras into the clone (va_fill_extra_cb), then the caller's
 * velmora_account_response_cb with (result, clone, user data); a successful reply whose values
 * could not all be stored gives VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY. */
void va_reply_parse_account(velmora_account_request_h request, app_control_h reply,
                            app_control_result_e launch, int result);
/* The pieces of va_reply_parse_account, for parsers that do something in between (sign-out clears
 * the login id): the extras into the clone, and the call of the response callback. */
/* va_reply_fill_account returns VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY when a value could not be
 * stored, else NONE. */
int va_reply_fill_account(velmora_account_request_h request, app_control_h reply);
void va_reply_call_response(velmora_account_request_h request, int result);
/* The signed-in status (holder: va_signed_in_status_s, freed here) to a
 * velmora_account_signed_in_cb. */
void va_reply_parse_signed_in_status(velmora_account_request_h request, app_control_h reply,
                                     app_control_result_e launch, int result);
/* The login ids of the reply (holder: va_account_id_list_s, freed here with the list) to a
 * velmora_account_list_cb. */
void va_reply_parse_account_list(velmora_account_request_h request, app_control_h reply,
                                 app_control_result_e launch, int result);

/* ---- extra-data visitors ---- */

/* Copies the extra `key` of `app_control` into the account `user_data` (known keys only). */
bool va_foreach_extra_cb(app_control_h app_control, const char *key, void *user_data);
/* As va_foreach_extra_cb, into the account of the va_extra_fill_s `user_data`, whose
 * out_of_memory it sets when a value could not be stored for lack of memory. */
typedef struct {
  velmora_account_h account;
  bool out_of_memory;
} va_extra_fill_s;
bool va_fill_extra_cb(app_control_h app_control, const char *key, void *user_data);
/* Sets the va_signed_in_status_s `user_data` from the extra "is_signin". */
bool va_foreach_signed_in_status_cb(app_control_h app_control, const char *key, void *user_data);
/* Adds the value of every extra whose key contains "login_id" to the va_account_id_list_s
 * `user_data` (at most VA_ACCOUNT_LIST_MAX). */
bool va_foreach_signed_in_account_cb(app_control_h app_control, const char *key, void *user_data);

/* Copies every non-empty string of `s` and its non-zero token times into `account`.
 * Returns NONE, INVALID_PARAMETER for a NULL argument, or OUT_OF_MEMORY when a value could not
 * be copied (the others are). */
int va_fill_from_account_s(velmora_account_h account, rpc_port_AccountS_h s);
/* Sets the account-linking flag of `account` from the Password field of `s` ("Y" / "N").
 * Returns NONE, or INVALID_PARAMETER for a NULL argument. */
int va_fill_linking_from_account_s(velmora_account_h account, rpc_port_AccountS_h s);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_REQUEST_REPLY_H */
