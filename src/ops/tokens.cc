// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: access tokens and authorization codes
// (velmora_account_request_access_token, velmora_account_get_last_access_token and its blocking
// form, velmora_account_request_auth_code, velmora_account_request_auth_code_for_effortless_login).
//
// Each asynchronous operation is one row (what it sends, in which transport, how its reply is
// logged) and a one-line entry point; src/request/operation.cc does the checks, the clone and the
// sending. Log texts are kept exactly as the service's tools expect them, including
// "PROPERTY_CLIENT_SESRET is NULL" and the double underscore of "rpc_port__RequestAccessToken".
#include <cstddef>

#include "account_record.h"
#include "account_svc_proxy.h"
#include "op_extras.hh"
#include "request_operation.h"
#include "request_reply.h"
#include "va_base.h"
#include "va_constants.h"
#include "va_log.h"
#include "velmora_account_request_op.h"

// The rows name only the members they use; the others are meant to be zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

constexpr va_extra_s kScope = {.key = "scope",
                               .field = rpc_port_AccountS_set_Scope,
                               .source = VA_SOURCE_STR,
                               .property = VELMORA_ACCOUNT_PROPERTY_SCOPE,
                               .need = VA_EXTRA_OPTIONAL,
                               .set_log = "Set property, scope",
                               .log_value = true,
                               .unset_log = "PROPERTY_SCOPE is NULL"};

// The secret is required on a TV only; its value is never logged.
constexpr va_extra_s kAccessTokenExtras[] = {
    va::kLoginIdExtra,
    va::kClientIdExtra,
    {.key = "client_secret",
     .field = rpc_port_AccountS_set_ClientSecret,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET,
     .need = VA_EXTRA_REQUIRED_ON_TV,
     .set_log = "Set property, client_secret",
     .unset_log = "PROPERTY_CLIENT_SESRET is NULL"},
    {.key = "expired_access_token",
     .field = rpc_port_AccountS_set_LastAccessToken,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_LAST_ACCESS_TOKEN,
     .need = VA_EXTRA_OPTIONAL,
     .set_log = "Set property, expired_access_token",
     .unset_log = "PROPERTY_LAST_ACCESS_TOKEN is NULL"},
    kScope,
};

// The last access token, in both forms: nothing is required by the blocking one, which sends
// these over the port only when set.
constexpr va_extra_s kLastAccessTokenExtras[] = {va::kLoginIdExtra, va::kClientIdExtra, kScope};

// The device unique code travels as "device_physical_address".
constexpr va_extra_s kAuthCodeExtras[] = {
    va::kLoginIdExtra,
    va::kClientIdExtra,
    {.key = "device_physical_address",
     .field = rpc_port_AccountS_set_DeviceUniqueCode,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE,
     .need = VA_EXTRA_OPTIONAL,
     .set_log = "Set property, device_unique_code",
     .unset_log = "PROPERTY_DEVICE_UNIQUE_CODE is NULL"},
    kScope,
};

constexpr va_extra_s kEffortlessExtras[] = {va::kLoginIdExtra, va::kClientIdExtra, kScope};

const va_operation_s kAccessToken = {
    .name = "velmora_account_request_access_token",
    .extras = kAccessTokenExtras,
    .extra_count = va::count_of(kAccessTokenExtras),
    .invalid_property_log =
        "Invalid Property, login_id/client_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.mode_log = "Request AccessToken to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_GETACCESSTOKEN,
                    .reply_name = "access_token_result_cb"},
    .port = {.invoke = va_invoke_request_access_token,
             .mode_log = "Request AccessToken to [NIDL] Mode",
             .fail_name = "rpc_port__RequestAccessToken",
             .reply_name = "NidlAccessTokenCb"},
};

// Always over app control, whatever the handle's transport (no port form); its required values
// are checked only once the app control exists.
const va_operation_s kLastAccessToken = {
    .name = "velmora_account_get_last_access_token",
    .extras = kLastAccessTokenExtras,
    .extra_count = va::count_of(kLastAccessTokenExtras),
    .check_at = VA_CHECK_AFTER_TARGET,
    .invalid_property_log = "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_GETLASTACCESSTOKEN,
                    .reply_name = "last_access_token_result_cb"},
};

const va_operation_s kAuthCode = {
    .name = "velmora_account_request_auth_code",
    .extras = kAuthCodeExtras,
    .extra_count = va::count_of(kAuthCodeExtras),
    .invalid_property_log = "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.mode_log = "Request AuthCode to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_GETAUTHCODE,
                    .reply_name = "auth_code_result_cb"},
    .port = {.invoke = va_invoke_request_authcode,
             .mode_log = "Request AuthCode to [NIDL] Mode",
             .fail_name = "rpc_port_RequestAuthcode",
             .reply_name = "NidlAuthCodeCb"},
};

// The failure line names the auth-code method, as it always has.
const va_operation_s kEffortless = {
    .name = "velmora_account_request_auth_code_for_effortless_login",
    .extras = kEffortlessExtras,
    .extra_count = va::count_of(kEffortlessExtras),
    .invalid_property_log =
        "Invalid Property, login_id/client_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.mode_log = "Request Effortless to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_GETAUTHCODE_EFFORTLESS,
                    .reply_name = "effortless_result_cb"},
    .port = {.invoke = va_invoke_request_authcode_effortless,
             .mode_log = "Request Effortless to [NIDL] Mode",
             .fail_name = "rpc_port_RequestAuthcode",
             .reply_name = "NidlEffortlessCb"},
};

}  // namespace

extern "C" {

VELMORA_API int velmora_account_request_access_token(velmora_account_h handle,
                                                     velmora_account_response_cb callback,
                                                     void *user_data) {
  return va_operation_run(&kAccessToken, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

VELMORA_API int velmora_account_get_last_access_token(velmora_account_h handle,
                                                      velmora_account_response_cb callback,
                                                      void *user_data) {
  return va_operation_run(&kLastAccessToken, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

VELMORA_API int velmora_account_request_auth_code(velmora_account_h handle,
                                                  velmora_account_response_cb callback,
                                                  void *user_data) {
  return va_operation_run(&kAuthCode, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

VELMORA_API int velmora_account_request_auth_code_for_effortless_login(
    velmora_account_h handle, velmora_account_response_cb callback, void *user_data) {
  return va_operation_run(&kEffortless, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

// The blocking form asks over the port and waits; there is no app-control form: a handle made by
// velmora_account_create gets NOT_SUPPORTED (without a line).
VELMORA_API int velmora_account_get_last_access_token_sync(velmora_account_h handle,
                                                           velmora_account_h *response) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF_LOWER_AGENT(3);
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(response == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF_TV(VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  if (!handle->connected) return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;

  // The values of the asynchronous row, each only when set; nothing is required here.
  va_op_call_s call = {};
  call.op = &kLastAccessToken;
  call.handle = handle;
  rpc_port_AccountS_h request = va_operation_account_s(&call);
  VA_RETV_IF(request == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  rpc_port_AccountS_h result = NULL;
  const int ret =
      rpc_port_proxy_AccountSvc_invoke_GetLastAccessToken(handle->proxy, request, &result);
  rpc_port_AccountS_destroy(request);
  if (ret != 0) {
    VA_LOGI("Failed to rpc_port_GetLastAccessToken. err = %d", ret);
    if (result != NULL) rpc_port_AccountS_destroy(result);
    return ret;
  }

  velmora_account_h account = NULL;
  const int created = velmora_account_create(&account);
  if (created != VELMORA_ACCOUNT_ERROR_NONE) {
    if (result != NULL) rpc_port_AccountS_destroy(result);
    return created;
  }
  const int filled = va_fill_from_account_s(account, result);
  if (result != NULL) rpc_port_AccountS_destroy(result);
  if (filled == VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY) {
    velmora_account_destroy(account);
    return filled;
  }
  *response = account;
  VA_EXIT();
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
