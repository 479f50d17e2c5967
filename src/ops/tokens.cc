// Velmora Account client: access tokens and authorization codes, asked of the agent
// asynchronously (velmora_account_request_access_token, velmora_account_get_last_access_token,
// velmora_account_request_auth_code, velmora_account_request_auth_code_for_effortless_login).
//
// Each operation is one table (what it sends, in which transport, with which reply callback); the
// checks and the sending are shared. Log texts are kept exactly as the service's tools expect them,
// including "PROPERTY_CLIENT_SESRET is NULL" and the double underscore of
// "rpc_port__RequestAccessToken".
#include <cstddef>

#include "account_record.h"
#include "account_svc_proxy.h"
#include "request_reply.h"
#include "request_send.h"
#include "va_base.h"
#include "va_constants.h"
#include "va_log.h"
#include "velmora_account_request_op.h"

// The tables name only the members they use; the others are meant to be zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

template <size_t N>
constexpr size_t count_of(const va_extra_s (&)[N]) {
  return N;
}

constexpr va_extra_s kLoginId = {.key = "login_id",
                                 .field = rpc_port_AccountS_set_LoginId,
                                 .source = VA_SOURCE_STR,
                                 .property = VELMORA_ACCOUNT_PROPERTY_LOGIN_ID,
                                 .need = VA_EXTRA_REQUIRED};
constexpr va_extra_s kClientId = {.key = "client_id",
                                  .field = rpc_port_AccountS_set_ClientId,
                                  .source = VA_SOURCE_STR,
                                  .property = VELMORA_ACCOUNT_PROPERTY_CLIENT_ID,
                                  .need = VA_EXTRA_REQUIRED};
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
    kLoginId,
    kClientId,
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

constexpr va_extra_s kLastAccessTokenExtras[] = {kLoginId, kClientId, kScope};

// The device unique code travels as "device_physical_address".
constexpr va_extra_s kAuthCodeExtras[] = {
    kLoginId,
    kClientId,
    {.key = "device_physical_address",
     .field = rpc_port_AccountS_set_DeviceUniqueCode,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE,
     .need = VA_EXTRA_OPTIONAL,
     .set_log = "Set property, device_unique_code",
     .unset_log = "PROPERTY_DEVICE_UNIQUE_CODE is NULL"},
    kScope,
};

constexpr va_extra_s kEffortlessExtras[] = {kLoginId, kClientId, kScope};

const va_request_op_s kAccessToken = {
    .name = "velmora_account_request_access_token",
    .app_control_mode_log = "Request AccessToken to [APP_CONTROL] Mode",
    .app_id = AGENT_APP_ID,
    .operation = &REQUEST_OP_GETACCESSTOKEN,
    .reply_cb = access_token_result_cb,
    .required_check = VA_CHECK_BY_OPERATION,
    .invalid_property_log =
        "Invalid Property, login_id/client_id is not set. "
        "[VA_ERROR_INVALID_PARAMETER]",
    .nidl_mode_log = "Request AccessToken to [NIDL] Mode",
    .delegate_cb = NidlAccessTokenCb,
    .invoke = rpc_port_proxy_AccountSvc_invoke_RequestAccessToken,
    .invoke_name = "rpc_port__RequestAccessToken",
    .extras = kAccessTokenExtras,
    .extra_count = count_of(kAccessTokenExtras),
};

// Always over app control, whatever the handle's transport; required values are checked only
// once the app control exists.
const va_request_op_s kLastAccessToken = {
    .name = "velmora_account_get_last_access_token",
    .app_id = AGENT_APP_ID,
    .operation = &REQUEST_OP_GETLASTACCESSTOKEN,
    .reply_cb = last_access_token_result_cb,
    .required_check = VA_CHECK_AFTER_APP_ID,
    .invalid_property_log = "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .extras = kLastAccessTokenExtras,
    .extra_count = count_of(kLastAccessTokenExtras),
};

const va_request_op_s kAuthCode = {
    .name = "velmora_account_request_auth_code",
    .app_control_mode_log = "Request AuthCode to [APP_CONTROL] Mode",
    .app_id = AGENT_APP_ID,
    .operation = &REQUEST_OP_GETAUTHCODE,
    .reply_cb = auth_code_result_cb,
    .required_check = VA_CHECK_BY_OPERATION,
    .invalid_property_log = "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .nidl_mode_log = "Request AuthCode to [NIDL] Mode",
    .delegate_cb = NidlAuthCodeCb,
    .invoke = rpc_port_proxy_AccountSvc_invoke_RequestAuthcode,
    .invoke_name = "rpc_port_RequestAuthcode",
    .extras = kAuthCodeExtras,
    .extra_count = count_of(kAuthCodeExtras),
};

// The failure line names the auth-code method, as it always has.
const va_request_op_s kEffortless = {
    .name = "velmora_account_request_auth_code_for_effortless_login",
    .app_control_mode_log = "Request Effortless to [APP_CONTROL] Mode",
    .app_id = AGENT_APP_ID,
    .operation = &REQUEST_OP_GETAUTHCODE_EFFORTLESS,
    .reply_cb = effortless_result_cb,
    .required_check = VA_CHECK_BY_OPERATION,
    .invalid_property_log =
        "Invalid Property, login_id/client_id is not set. "
        "[VA_ERROR_INVALID_PARAMETER]",
    .nidl_mode_log = "Request Effortless to [NIDL] Mode",
    .delegate_cb = NidlEffortlessCb,
    .invoke = rpc_port_proxy_AccountSvc_invoke_RequestAuthcodeEffortless,
    .invoke_name = "rpc_port_RequestAuthcode",
    .extras = kEffortlessExtras,
    .extra_count = count_of(kEffortlessExtras),
};

// The checks every operation here starts with, in this order: agent installed, handle, callback.
int check_common(const char *name, velmora_account_h handle, velmora_account_response_cb callback) {
  VA_LOG_AS(DLOG_INFO, name, "[%s]", name);
  if (is_agent_installed() == false) {
    VA_LOG_AS(DLOG_ERROR, name, "(%s)", "is_agent_installed() == false");
    return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;
  }
  if (handle == NULL) {
    VA_LOG_AS(DLOG_ERROR, name, "(%s)", "handle == NULL");
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  if (callback == NULL) {
    VA_LOG_AS(DLOG_ERROR, name, "(%s)", "callback == NULL");
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int clone_of(const char *name, velmora_account_h handle, velmora_account_h *clone) {
  if (velmora_account_clone(handle, clone) != VELMORA_ACCOUNT_ERROR_NONE || *clone == NULL) {
    VA_LOG_AS(DLOG_ERROR, name, "(%s)", "clone == NULL");
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

bool has_need(const va_request_op_s *op, va_extra_need_e need) {
  for (size_t i = 0; i < op->extra_count; ++i)
    if (op->extras[i].need == need) return true;
  return false;
}

// An operation offered in both transports: checks, the clone, then the handle's transport.
int request_in_handle_transport(const va_request_op_s *op, velmora_account_h handle,
                                velmora_account_response_cb callback, void *user_data) {
  int ret = check_common(op->name, handle, callback);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;

  if (va_request_missing(op, handle, VA_EXTRA_REQUIRED)) {
    VA_LOG_AS(DLOG_INFO, op->name, "%s", op->invalid_property_log);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  // Only the access token has a value required on a TV (the client secret); only it asks the probe.
  if (has_need(op, VA_EXTRA_REQUIRED_ON_TV) && is_tv_profile() &&
      va_request_missing(op, handle, VA_EXTRA_REQUIRED_ON_TV)) {
    VA_LOG_AS(DLOG_INFO, op->name,
              "Invalid Property, client_secret is not set. [VA_ERROR_INVALID_PARAMETER]");
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }

  velmora_account_h clone = NULL;
  ret = clone_of(op->name, handle, &clone);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;

  auto cb = reinterpret_cast<velmora_account_request_cb>(callback);
  if (!handle->connected)
    return va_request_send_app_control(op, handle, clone, cb, user_data, NULL);
  return va_request_send_nidl(op, handle, clone, cb, user_data);
}

}  // namespace

extern "C" {

VELMORA_API int velmora_account_request_access_token(velmora_account_h handle,
                                                     velmora_account_response_cb callback,
                                                     void *user_data) {
  return request_in_handle_transport(&kAccessToken, handle, callback, user_data);
}

VELMORA_API int velmora_account_get_last_access_token(velmora_account_h handle,
                                                      velmora_account_response_cb callback,
                                                      void *user_data) {
  const va_request_op_s *op = &kLastAccessToken;
  int ret = check_common(op->name, handle, callback);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;

  velmora_account_h clone = NULL;
  ret = clone_of(op->name, handle, &clone);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  return va_request_send_app_control(
      op, handle, clone, reinterpret_cast<velmora_account_request_cb>(callback), user_data, NULL);
}

VELMORA_API int velmora_account_request_auth_code(velmora_account_h handle,
                                                  velmora_account_response_cb callback,
                                                  void *user_data) {
  return request_in_handle_transport(&kAuthCode, handle, callback, user_data);
}

VELMORA_API int velmora_account_request_auth_code_for_effortless_login(
    velmora_account_h handle, velmora_account_response_cb callback, void *user_data) {
  return request_in_handle_transport(&kEffortless, handle, callback, user_data);
}

}  // extern "C"
