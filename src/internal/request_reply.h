/*
 * Velmora Account client: the agent's replies, in either transport.
 *
 * App-control replies reach one of the reply callbacks below (one per operation, so that logs name
 * it; they share one body). Each turns the reply into a result code (the "error_code" extra of a
 * failed reply), copies the reply's extras into the request's account clone, calls the caller's
 * callback once and frees the request record. Replies over the AccountSvc port reach one of the
 * Nidl* delegate callbacks, which do the same from an AccountS record.
 *
 * The account clone handed to the caller's callback is not destroyed here: it belongs to the
 * callback's receiver.
 */
#ifndef VELMORA_REQUEST_REPLY_H
#define VELMORA_REQUEST_REPLY_H

#include <stdbool.h>

#include "account_svc_proxy.h"
#include "app_control.h"
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
 * `user_data`; NULL when out of memory. */
velmora_account_request_h __create_nidl_request(velmora_account_h account,
                                                velmora_account_request_cb callback,
                                                void *user_data);

/* ---- app-control reply callbacks (user_data: the request record) ----
 * All but the last two call a velmora_account_response_cb. */
void sign_in_result_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                       void *user_data);
void effortless_result_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                          void *user_data);
void get_default_result_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                           void *user_data);
void set_default_result_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                           void *user_data);
void last_access_token_result_cb(app_control_h request, app_control_h reply,
                                 app_control_result_e result, void *user_data);
void access_token_result_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                            void *user_data);
void auth_code_result_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                         void *user_data);
void confirm_user_result_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                            void *user_data);
void mcc_cb(app_control_h request, app_control_h reply, app_control_result_e result,
            void *user_data);
void update_tnc_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                   void *user_data);
void get_account_from_property_cb(app_control_h request, app_control_h reply,
                                  app_control_result_e result, void *user_data);
/* Calls a velmora_account_signed_in_cb with the holder's status (holder: va_signed_in_status_s). */
void signed_in_status_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                         void *user_data);
/* Calls a velmora_account_list_cb with the login ids of the reply (holder: va_account_id_list_s).
 */
void account_list_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                     void *user_data);

/*
 * The shared body of the response-callback family, for reply callbacks written elsewhere (`name`
 * is logged as the callback's name). `before_callback`, when not NULL, runs on the filled account
 * just before the caller's callback (sign-out clears the login id there).
 */
void va_reply_to_response_cb(const char *name, app_control_h reply, app_control_result_e result,
                             velmora_account_request_h request,
                             void (*before_callback)(velmora_account_h account));

/* The result of a reply: 0 for a successful one, else its converted "error_code" (0 without one).
 */
int va_reply_result(const char *name, app_control_h reply, app_control_result_e result);

/* ---- extra-data visitors ---- */

/* Copies the extra `key` of `app_control` into the account `user_data` (known keys only). */
bool __foreach_extra_cb(app_control_h app_control, const char *key, void *user_data);
/* Sets the va_signed_in_status_s `user_data` from the extra "is_signin". */
bool foreach_signed_in_status_cb(app_control_h app_control, const char *key, void *user_data);
/* Adds the value of every extra whose key contains "login_id" to the va_account_id_list_s
 * `user_data` (at most VA_ACCOUNT_LIST_MAX). */
bool foreach_signed_in_account_cb(app_control_h app_control, const char *key, void *user_data);

/* ---- AccountSvc reply delegates (user_data: the request record) ---- */
void NidlEffortlessCb(void *user_data, int result, rpc_port_AccountS_h account);
void NidlAccessTokenCb(void *user_data, int result, rpc_port_AccountS_h account);
void NidlAuthCodeCb(void *user_data, int result, rpc_port_AccountS_h account);
void NidlMccCb(void *user_data, int result, rpc_port_AccountS_h account);
void NidlAccountFromGuidCb(void *user_data, int result, rpc_port_AccountS_h account);
/* The account-linking reply carries its status in the AccountS field Password. */
void NidlAccountLinkingCb(void *user_data, int result, rpc_port_AccountS_h account);

/* Copies every non-empty string of `s` and its non-zero token times into `account`.
 * Returns NONE, or INVALID_PARAMETER for a NULL argument. */
int set_response_handle_from_nild_result(velmora_account_h account, rpc_port_AccountS_h s);
/* Sets the account-linking flag of `account` from the Password field of `s` ("Y" / "N").
 * Returns NONE, or INVALID_PARAMETER for a NULL argument. */
int set_response_handle_from_missing_nild_result(velmora_account_h account, rpc_port_AccountS_h s);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_REQUEST_REPLY_H */
