// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: companion accounts, asked of the agent on a wearable
// (velmora_account_companion_get_account, velmora_account_companion_sign_in). The companion handle
// and the reading of the replies live in src/companion.
//
// Both work only on a wearable and over app control; the account check goes to the agent's UI
// application, unlike every other request. The sign-in's mode line repeats the account check's
// words ("Get mobile_account_exist [Wearable]"), as it always has.
#include <cstdio>

#include "account_record.h"
#include "companion_record.h"
#include "request_operation.h"
#include "va_base.h"
#include "va_constants.h"
#include "va_log.h"
#include "velmora_account_companion.h"
#include "velmora_account_request_op.h"

// The tables name only the members they use; the others are meant to be zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

constexpr int kMaxApiTimeout = 300;

// Wearable and a handle made by velmora_account_create only.
int check_wearable(const va_op_call_s *call) {
  if (!va_is_wearable_profile() || call->handle->connected) {
    VA_LOG_AS(DLOG_ERROR, call->op->name, "wearable, [ERROR_NOT_SUPPORTED]");
    return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int check_sign_in(const va_op_call_s *call) {
  const int ret = check_wearable(call);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  if (call->handle->api_timeout > kMaxApiTimeout) {
    char text[16];
    snprintf(text, sizeof text, "%d", call->handle->api_timeout);
    VA_LOG_AS(DLOG_ERROR, call->op->name, "Timeout [%s], [ERROR_INVALID_PARAMETER]", text);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

// "api_timeout" goes along only when the caller's time-out is above 0 (the clone does not carry
// it: it is read from the caller's handle).
int add_api_timeout(va_op_call_s *call, app_control_h app_control, const va_operation_s **) {
  if (call->handle->api_timeout > 0) {
    char text[16];
    snprintf(text, sizeof text, "%d", call->handle->api_timeout);
    if (app_control_add_extra_data(app_control, "api_timeout", text) != APP_CONTROL_ERROR_NONE)
      return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

const va_operation_s kGetAccount = {
    .name = "velmora_account_companion_get_account",
    .api_level = 5,
    .check = check_wearable,
    .app_control = {.mode_log = "companion_get_account [Wearable]",
                    .app_id = AGENT_UI_APP_ID,
                    .operation = &REQUEST_OP_COMPANION_ACCOUNT_EXIST,
                    .reply_name = "companion_get_account_cb",
                    .parser = va_companion_reply_parser},
};

const va_operation_s kSignIn = {
    .name = "velmora_account_companion_sign_in",
    .api_level = 5,
    .check = check_sign_in,
    .app_control = {.mode_log = "Get mobile_account_exist [Wearable]",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_COMPANION_SIGNIN,
                    .prepare = add_api_timeout,
                    .reply_name = "companion_sign_in_result_cb",
                    .parser = va_companion_reply_parser},
};

}  // namespace

extern "C" {

VELMORA_API int velmora_account_companion_get_account(velmora_account_h handle,
                                                      velmora_account_companion_cb callback,
                                                      void *user_data) {
  return va_operation_run(&kGetAccount, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

VELMORA_API int velmora_account_companion_sign_in(velmora_account_h handle,
                                                  velmora_account_companion_cb callback,
                                                  void *user_data) {
  return va_operation_run(&kSignIn, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

}  // extern "C"
