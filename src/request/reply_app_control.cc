// Velmora Account client: the reply callbacks of app-control requests whose caller receives an
// account handle (velmora_account_response_cb).
//
// One body serves them all; each operation has its own named entry so that the log names it. A
// failed reply is still parsed: whatever extras it carries reach the account clone.
#include <cstdlib>

#include "app_control.h"
#include "request_reply.h"
#include "request_send.h"
#include "va_base.h"

extern "C" {

int va_reply_result(const char *name, app_control_h reply, app_control_result_e result) {
  if (result == APP_CONTROL_RESULT_SUCCEEDED) return VELMORA_ACCOUNT_ERROR_NONE;
  VA_LOG_AS(DLOG_INFO, name, "[CONVERT_ERROR_CODE] AppControl result fail");
  char *error_code = nullptr;
  // No reply (the agent went away) or no "error_code" extra: NULL, which converts to 0.
  if (reply != nullptr) app_control_get_extra_data(reply, "error_code", &error_code);
  const int converted = _velmora_account_convert_error(error_code);
  free(error_code);
  return converted;
}

void va_reply_to_response_cb(const char *name, app_control_h reply, app_control_result_e result,
                             velmora_account_request_h request,
                             void (*before_callback)(velmora_account_h account)) {
  VA_LOG_AS(DLOG_INFO, name, "[%s]", name);
  if (request == nullptr) {
    VA_LOG_AS(DLOG_ERROR, name, "request is NULL");
    return;
  }
  const int ret = va_reply_result(name, reply, result);
  if (app_control_foreach_extra_data(reply, __foreach_extra_cb, request->account) !=
      APP_CONTROL_ERROR_NONE)
    VA_LOG_AS(DLOG_INFO, name, "Fail to app_control_foreach_extra_data");
  if (before_callback != nullptr) before_callback(request->account);

  auto callback = reinterpret_cast<velmora_account_response_cb>(request->app_control_cb);
  if (callback != nullptr) callback(ret, request->account, request->user_data);

  VA_LOG_AS(DLOG_INFO, name, "REQUEST_HANDLE_FREE");
  free(request);  // the account now belongs to the callback's receiver
  VA_LOG_AS(DLOG_INFO, name, "[%s] <<<< ended", name);
}

#define VA_DEFINE_RESPONSE_REPLY_CB(cb_name)                                             \
  void cb_name(app_control_h request, app_control_h reply, app_control_result_e result,  \
               void *user_data) {                                                        \
    va_reply_to_response_cb(__func__, reply, result,                                     \
                            static_cast<velmora_account_request_h>(user_data), nullptr); \
  }

VA_DEFINE_RESPONSE_REPLY_CB(sign_in_result_cb)
VA_DEFINE_RESPONSE_REPLY_CB(effortless_result_cb)
VA_DEFINE_RESPONSE_REPLY_CB(get_default_result_cb)
VA_DEFINE_RESPONSE_REPLY_CB(set_default_result_cb)
VA_DEFINE_RESPONSE_REPLY_CB(last_access_token_result_cb)
VA_DEFINE_RESPONSE_REPLY_CB(access_token_result_cb)
VA_DEFINE_RESPONSE_REPLY_CB(auth_code_result_cb)
VA_DEFINE_RESPONSE_REPLY_CB(confirm_user_result_cb)
VA_DEFINE_RESPONSE_REPLY_CB(mcc_cb)
VA_DEFINE_RESPONSE_REPLY_CB(update_tnc_cb)
VA_DEFINE_RESPONSE_REPLY_CB(get_account_from_property_cb)

#undef VA_DEFINE_RESPONSE_REPLY_CB

}  // extern "C"
