// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the replies to the profile requests, in either transport.
//
// App-control replies come through the generic reply callback (entry line, result, "REQUEST_HANDLE_
// FREE", exit line) to one of the parsers here; replies over the port come to the delegate
// callbacks here. Where the profile lands:
//   request_info                       the clone's `link` (a new list), callback (result, clone)
//   request_profile, request_privacy   a new list in the request's list slot, callback (result,
//                                      list); the list is the receiver's, the clone is released
//   update_info, update_privacy        nothing parsed, callback (result, clone)
//   subscribe, unsubscribe             "login_id" into the clone, callback (result, clone)
// A reply of the agent's failure is parsed all the same: what it carries reaches the caller.
#include <cstdlib>

#include "account_record.h"
#include "profile_internal.h"
#include "profile_record.h"
#include "request_operation.h"
#include "request_reply.h"
#include "va_log.h"

namespace {

const char *name_of(velmora_account_request_h request, bool port) {
  return va_reply_name(request, port);
}

void call_list_callback(velmora_account_request_h request, velmora_account_request_cb cb,
                        int result, velmora_account_profile_list_h list) {
  auto callback = reinterpret_cast<velmora_account_profile_list_response_cb>(cb);
  if (callback != NULL) callback(result, list, request->user_data);
  // The list callback gets no account: the request's clone has no receiver but the library.
  velmora_account_destroy(request->account);
  request->account = NULL;
}

void call_response_callback(velmora_account_request_h request, velmora_account_request_cb cb,
                            int result) {
  auto callback = reinterpret_cast<velmora_account_response_cb>(cb);
  if (callback != NULL) callback(result, request->account, request->user_data);
}

// The list a reply goes into: `slot` as it is, or a new one put there.
velmora_account_profile_list_h list_for(const char *name, velmora_account_profile_list_h *slot,
                                        const char *failure) {
  if (*slot != NULL) {
    VA_LOG_AS(DLOG_INFO, name, "Error : Profile handle is not null");
    return *slot;
  }
  VA_LOG_AS(DLOG_INFO, name, "[%s] profile handle", name);
  *slot = va_profile_list_new();
  if (*slot == NULL) VA_LOG_AS(DLOG_ERROR, name, "%s", failure);
  return *slot;
}

// Parses the reply's extras into `list`. The result the callback gets: `result`, or
// OUT_OF_MEMORY for a successful reply of which a value could not be stored.
int parse_extras(const char *name, app_control_h reply, velmora_account_profile_list_h list,
                 int result) {
  VA_LOG_AS(DLOG_INFO, name, "[%s] foreach_profile_cb", name);
  va_profile_fill_s fill = {list, false};
  if (app_control_foreach_extra_data(reply, va_profile_fill_extra_cb, &fill) !=
      APP_CONTROL_ERROR_NONE)
    VA_LOG_AS(DLOG_INFO, name, "Fail to app_control_foreach_extra_data");
  return fill.out_of_memory && result == VELMORA_ACCOUNT_ERROR_NONE
             ? VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY
             : result;
}

// The same for a port reply read by va_profile_list_from_nidl (`read`: its result).
int read_result(int read, int result) {
  return read != VELMORA_ACCOUNT_ERROR_NONE && result == VELMORA_ACCOUNT_ERROR_NONE ? read : result;
}

// Before a port reply's new list: what an earlier reply left in the request and in the clone.
void drop_previous(const char *name, velmora_account_request_h request) {
  if (request->data != NULL) {
    VA_LOG_AS(DLOG_INFO, name, "Destroy previous profile_list [request->va_profile_list_h]");
    va_profile_list_release(static_cast<velmora_account_profile_list_h>(request->data));
    request->data = NULL;
  }
  if (request->account != NULL && request->account->link != NULL) {
    VA_LOG_AS(DLOG_INFO, name, "Destroy previous profile_list [request->va_request_h->link]");
    va_profile_list_release(request->account->link);
    request->account->link = NULL;
  }
}

velmora_account_request_h port_entry(void *user_data) {
  auto *request = static_cast<velmora_account_request_h>(user_data);
  const char *name = name_of(request, true);
  VA_LOG_AS(DLOG_INFO, name, "[%s]", name);
  if (request == NULL) VA_LOG_AS(DLOG_ERROR, name, "data is NULL");
  return request;
}

void port_exit(velmora_account_request_h request, const char *name) {
  free(request);
  VA_LOG_AS(DLOG_INFO, name, "[%s] <<<< ended", name);
}

}  // namespace

extern "C" {

// ---- app control (va_reply_parser_fn) ----

void va_profile_reply_info(velmora_account_request_h request, app_control_h reply,
                           app_control_result_e, int result) {
  const char *name = name_of(request, false);
  velmora_account_h account = request->account;
  if (account == NULL) {
    VA_LOG_AS(DLOG_ERROR, name, "account is NULL");
    return;
  }
  velmora_account_profile_list_h list = list_for(name, &account->link, "account->profile is NULL");
  if (list == NULL) {
    // No list, no answer: the clone has no receiver but the library.
    velmora_account_destroy(account);
    request->account = NULL;
    return;
  }
  result = parse_extras(name, reply, list, result);
  call_response_callback(request, request->app_control_cb, result);
}

void va_profile_reply_list(velmora_account_request_h request, app_control_h reply,
                           app_control_result_e, int result) {
  const char *name = name_of(request, false);
  auto **slot = reinterpret_cast<velmora_account_profile_list_h *>(&request->data);
  velmora_account_profile_list_h list = list_for(name, slot, "va_profile_list_h is NULL");
  if (list == NULL) {
    velmora_account_destroy(request->account);
    return;
  }
  result = parse_extras(name, reply, list, result);
  call_list_callback(request, request->app_control_cb, result, list);
}

void va_profile_reply_update(velmora_account_request_h request, app_control_h, app_control_result_e,
                             int result) {
  if (request->account != NULL && request->account->link != NULL)
    VA_LOG_AS(DLOG_INFO, name_of(request, false), "Error : Profile handle is not null");
  call_response_callback(request, request->app_control_cb, result);
}

void va_profile_reply_subscription(velmora_account_request_h request, app_control_h reply,
                                   app_control_result_e, int result) {
  const char *name = name_of(request, false);
  VA_LOG_AS(DLOG_INFO, name, "[%s] foreach_cb", name);
  va_reply_fill_account(request, reply);  // the reply's "login_id"
  call_response_callback(request, request->app_control_cb, result);
}

// ---- the port (delegate callbacks) ----

void va_profile_port_info_cb(void *user_data, int result, rpc_port_ProfileS_h profile) {
  velmora_account_request_h request = port_entry(user_data);
  if (request == NULL) return;
  const char *name = name_of(request, true);
  drop_previous(name, request);
  request->account->link = va_profile_list_new();
  result = read_result(request->account->link != NULL
                           ? va_profile_list_from_nidl(request->account->link, profile)
                           : VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,
                       result);
  call_response_callback(request, request->nidl_cb, result);
  port_exit(request, name);
}

void va_profile_port_list_cb(void *user_data, int result, rpc_port_ProfileS_h profile) {
  velmora_account_request_h request = port_entry(user_data);
  if (request == NULL) return;
  const char *name = name_of(request, true);
  drop_previous(name, request);
  auto list = va_profile_list_new();
  request->data = list;
  result = read_result(
      list != NULL ? va_profile_list_from_nidl(list, profile) : VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,
      result);
  call_list_callback(request, request->nidl_cb, result, list);  // the list is the receiver's now
  port_exit(request, name);
}

void va_profile_port_update_cb(void *user_data, int result) {
  velmora_account_request_h request = port_entry(user_data);
  if (request == NULL) return;
  call_response_callback(request, request->nidl_cb, result);
  port_exit(request, name_of(request, true));
}

// The privacy update's reply has never released its request record; it is kept so (the row's
// reply_keeps_request; tests/lsan.supp).
void va_profile_port_privacy_cb(void *user_data, int result) {
  velmora_account_request_h request = port_entry(user_data);
  if (request == NULL) return;
  const char *name = name_of(request, true);
  call_response_callback(request, request->nidl_cb, result);
  VA_LOG_AS(DLOG_INFO, name, "[%s] <<<< ended", name);
}

}  // extern "C"
