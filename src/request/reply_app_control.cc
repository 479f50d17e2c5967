// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the reply callback of every app-control request.
//
// It logs under the reply name of the operation's row ("access_token_result_cb"), so that the log
// names each operation's reply as it always has. A failed reply is still parsed: whatever extras it
// carries reach the parser (by default: the account clone).
#include <cstdlib>

#include "app_control.h"
#include "request_operation.h"
#include "request_reply.h"
#include "va_base.h"
#include "va_log.h"

extern "C" {

const char *va_reply_name(velmora_account_request_h request, bool port) {
  // Only a request record made by the library reaches a reply callback; a NULL one (which the
  // library never sends) gets the callback's own name.
  const char *name = nullptr;
  if (request != nullptr && request->op != nullptr)
    name = port ? request->op->port.reply_name : request->op->app_control.reply_name;
  if (name != nullptr) return name;
  return port ? "va_reply_port_cb" : "va_reply_app_control_cb";
}

int va_reply_result(const char *name, app_control_h reply, app_control_result_e result) {
  if (result == APP_CONTROL_RESULT_SUCCEEDED) return VELMORA_ACCOUNT_ERROR_NONE;
  VA_LOG_AS(DLOG_INFO, name, "[CONVERT_ERROR_CODE] AppControl result fail");
  char *error_code = nullptr;
  // No reply (the agent went away) or no "error_code" extra: NULL, which converts to 0.
  if (reply != nullptr) app_control_get_extra_data(reply, "error_code", &error_code);
  const int converted = va_convert_error(error_code);
  free(error_code);
  return converted;
}

int va_reply_fill_account(velmora_account_request_h request, app_control_h reply) {
  va_extra_fill_s fill = {request->account, false};
  const int walked = app_control_foreach_extra_data(reply, va_fill_extra_cb, &fill);
  if (walked != APP_CONTROL_ERROR_NONE) {
    VA_LOG_AS(DLOG_INFO, va_reply_name(request, false), "Fail to app_control_foreach_extra_data");
    if (walked == APP_CONTROL_ERROR_OUT_OF_MEMORY) fill.out_of_memory = true;
  }
  return fill.out_of_memory ? VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY : VELMORA_ACCOUNT_ERROR_NONE;
}

void va_reply_call_response(velmora_account_request_h request, int result) {
  auto callback = reinterpret_cast<velmora_account_response_cb>(request->app_control_cb);
  if (callback != nullptr) callback(result, request->account, request->user_data);
}

void va_reply_parse_account(velmora_account_request_h request, app_control_h reply,
                            app_control_result_e, int result) {
  const int filled = va_reply_fill_account(request, reply);
  va_reply_call_response(request, result == VELMORA_ACCOUNT_ERROR_NONE ? filled : result);
}

void va_reply_app_control_cb(app_control_h request_app_control, app_control_h reply,
                             app_control_result_e result, void *user_data) {
  auto *request = static_cast<velmora_account_request_h>(user_data);
  const char *name = va_reply_name(request, false);
  VA_LOG_AS(DLOG_INFO, name, "[%s]", name);
  if (request == nullptr) {
    VA_LOG_AS(DLOG_ERROR, name, "request is NULL");
    return;
  }
  const int ret = va_reply_result(name, reply, result);
  va_reply_parser_fn parse = request->op != nullptr && request->op->app_control.parser != nullptr
                                 ? request->op->app_control.parser
                                 : va_reply_parse_account;
  parse(request, reply, result, ret);

  VA_LOG_AS(DLOG_INFO, name, "REQUEST_HANDLE_FREE");
  free(request);  // the account now belongs to the callback's receiver
  VA_LOG_AS(DLOG_INFO, name, "[%s] <<<< ended", name);
}

}  // extern "C"
