// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the reply parsers whose answer is not an account property: the
// signed-in status and the list of signed-in login ids (va_reply_parser_fn, named by the rows of
// the queries). Their reply holder (request field 2) was allocated with the request (the row's
// holder_size); these parsers free it.
#include <cstdlib>

#include "app_control.h"
#include "request_operation.h"
#include "request_reply.h"
#include "va_alloc.h"
#include "va_log.h"

namespace {

void free_ids(va_account_id_list_s *ids) {
  if (ids->list != nullptr) {
    for (int i = 0; i < ids->length; ++i) free(ids->list[i]);
    free(ids->list);
  }
  ids->list = nullptr;
  ids->length = 0;
}

}  // namespace

extern "C" {

void va_reply_parse_signed_in_status(velmora_account_request_h request, app_control_h reply,
                                     app_control_result_e, int result) {
  va_signed_in_status_s local = {};
  auto *status =
      request->data != nullptr ? static_cast<va_signed_in_status_s *>(request->data) : &local;
  if (app_control_foreach_extra_data(reply, va_foreach_signed_in_status_cb, status) !=
      APP_CONTROL_ERROR_NONE)
    VA_LOG_AS(DLOG_INFO, va_reply_name(request, false), "Fail to app_control_foreach_extra_data");

  auto callback = reinterpret_cast<velmora_account_signed_in_cb>(request->app_control_cb);
  if (callback != nullptr)
    callback(result, request->account, status->is_signed_in, request->user_data);

  free(request->data);
  request->data = nullptr;
}

void va_reply_parse_account_list(velmora_account_request_h request, app_control_h reply,
                                 app_control_result_e, int result) {
  const char *name = va_reply_name(request, false);
  va_account_id_list_s local = {};
  auto *ids =
      request->data != nullptr ? static_cast<va_account_id_list_s *>(request->data) : &local;
  ids->length = 0;
  ids->list = static_cast<char **>(va_calloc(VA_ACCOUNT_LIST_MAX, sizeof(char *)));
  if (ids->list == nullptr || app_control_foreach_extra_data(reply, va_foreach_signed_in_account_cb,
                                                             ids) != APP_CONTROL_ERROR_NONE) {
    VA_LOG_AS(DLOG_INFO, name, "Fail to app_control_foreach_extra_data");
    free_ids(ids);
    result = VELMORA_ACCOUNT_ERROR_NO_DATA;
  }

  auto callback = reinterpret_cast<velmora_account_list_cb>(request->app_control_cb);
  if (callback != nullptr)
    callback(result, request->account, ids->list, ids->length, request->user_data);

  VA_LOG_AS(DLOG_INFO, name, "[__velmora_account_destroy_accountId] [length = %d]", ids->length);
  free_ids(ids);
  free(request->data);
  request->data = nullptr;
}

}  // extern "C"
