// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: reading the agent's companion replies into a companion handle. Both
// requests' replies read the same way; the log names the reply callback of each
// ("companion_get_account_cb", "companion_sign_in_result_cb") and the extras' visitor
// ("foreach_companion_extra_cb").
#include <cstdlib>
#include <cstring>

#include "account_record.h"
#include "companion_record.h"
#include "request_operation.h"
#include "request_reply.h"
#include "va_log.h"

namespace {
constexpr const char *kVisitorName = "foreach_companion_extra_cb";
}  // namespace

extern "C" {

bool va_foreach_companion_extra_cb(app_control_h reply, const char *key, void *user_data) {
  if (key == NULL) return true;
  VA_LOG_AS(DLOG_INFO, kVisitorName, "Key[%s]", key);
  char *value = NULL;
  if (app_control_get_extra_data(reply, key, &value) != APP_CONTROL_ERROR_NONE || value == NULL) {
    free(value);
    return true;
  }
  VA_LOG_AS(DLOG_INFO, kVisitorName, "Key[%s], Value[%s]", key, value);
  auto *companion = static_cast<velmora_account_companion_h>(user_data);
  if (companion != NULL && strcmp(key, "check_mobile_account_exist") == 0) {
    if (strcmp(value, "true") == 0)
      companion->mobile_account_exist = VA_TRISTATE_TRUE;
    else if (strcmp(value, "false") == 0)
      companion->mobile_account_exist = VA_TRISTATE_FALSE;
  }
  free(value);
  return true;
}

void va_companion_reply_parser(velmora_account_request_h request, app_control_h reply,
                               app_control_result_e launch, int result) {
  const char *name = va_reply_name(request, false);
  velmora_account_companion_h companion = va_companion_new();
  if (companion == NULL) {
    result = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  } else if (launch == APP_CONTROL_RESULT_SUCCEEDED) {
    // A successful launch's reply is walked, and the walk's result is the callback's. A failed
    // launch leaves the companion handle unfilled and keeps its converted result, even when that
    // is 0 (no "error_code": the agent went away, say).
    result = app_control_foreach_extra_data(reply, va_foreach_companion_extra_cb, companion);
    if (result != APP_CONTROL_ERROR_NONE)
      VA_LOG_AS(DLOG_INFO, name, "Fail to app_control_foreach_extra_data");
  }
  // The companion handle, filled or not, belongs to the callback's receiver.
  auto callback = reinterpret_cast<velmora_account_companion_cb>(request->app_control_cb);
  if (callback != NULL)
    callback(result, request->account, companion, request->user_data);
  else
    va_companion_free(companion);
}

}  // extern "C"
