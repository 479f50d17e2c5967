// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: signing in and out, second factors, confirming the user
// (velmora_account_sign_in, velmora_account_sign_in_with_2factor_authentication,
// velmora_account_request_authentication_for_sign_in, velmora_account_sign_out,
// velmora_account_request_confirm_user).
//
// All of them travel over app control only. Credentials (login id with password) travel only from
// the agent's own UI application (AGENT_UI_APP_ID); any other caller is sent to the agent's login
// view, or refused when it sets credentials. Sign-in and confirm-user have several forms: one row
// per form, picked by the row's prepare hook once the app control exists. Log texts are kept as
// the service's tools expect them, "login_id is not sets" included.
#include <cstdlib>
#include <cstring>

#include "account_record.h"
#include "app_common.h"
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

constexpr const char *kSignInName = "velmora_account_sign_in";
constexpr const char *kTwoFactorName = "velmora_account_sign_in_with_2factor_authentication";
constexpr const char *kConfirmUserName = "velmora_account_request_confirm_user";
constexpr const char *kSignInReply = "sign_in_result_cb";
constexpr const char *kConfirmUserReply = "confirm_user_result_cb";

// A string property sent when it is set; `need` says whether the operation requires it. No value
// here is ever logged.
constexpr va_extra_s str_extra(const char *key, int property,
                               va_extra_need_e need = VA_EXTRA_OPTIONAL) {
  return {.key = key, .source = VA_SOURCE_STR, .property = property, .need = need};
}

// One form of an operation: a request to the agent's `operation` sending `extras`, its reply
// logged as `reply`. Every row here but sign-out's (which reads its reply) is one; the two that
// pick a form add their hook with `picking`.
template <size_t N>
constexpr va_operation_s agent_form(const char *name, int api_level, const char *const *operation,
                                    const char *reply, const va_extra_s (&extras)[N]) {
  return {.name = name,
          .api_level = api_level,
          .extras = extras,
          .extra_count = N,
          .app_control = {.app_id = AGENT_APP_ID, .operation = operation, .reply_name = reply}};
}

// A form that sends nothing (the agent shows its login view).
constexpr va_operation_s agent_form(const char *name, const char *const *operation,
                                    const char *reply) {
  return {.name = name,
          .app_control = {.app_id = AGENT_APP_ID, .operation = operation, .reply_name = reply}};
}

// A row that picks one of its forms once the app control exists (`prepare`), `row` otherwise.
constexpr va_operation_s picking(va_operation_s row, va_op_prepare_fn prepare,
                                 const char *mode_log = nullptr) {
  row.app_control.prepare = prepare;
  row.app_control.mode_log = mode_log;
  return row;
}

// The values the forms share. Login id and password are not checked where they are optional: the
// agent answers for what is missing.
constexpr va_extra_s kLoginId = str_extra("login_id", VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
constexpr va_extra_s kPassword = str_extra("pw", VELMORA_ACCOUNT_PROPERTY_PASSWORD);
constexpr va_extra_s kPasswordRequired =
    str_extra("pw", VELMORA_ACCOUNT_PROPERTY_PASSWORD, VA_EXTRA_REQUIRED);
constexpr va_extra_s kAuthenticationNumber = str_extra(
    "authenticate_number", VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_CODE, VA_EXTRA_REQUIRED);
constexpr va_extra_s kCheckTwoFactor = {
    .key = "check_2factor_authentication", .source = VA_SOURCE_CONST, .value = "Y"};
constexpr va_extra_s kRegisterTrustedDevice = {
    .key = "register_trusted_device",
    .source = VA_SOURCE_FLAG_YN,
    .property = VELMORA_ACCOUNT_PROPERTY_BOOL_REGISTER_TRUSTED_DEVICE};

// The login id alone, required (sign-out, the SMS request).
constexpr va_extra_s kLoginIdOnly[] = {va::kLoginIdExtra};

// ---- velmora_account_sign_in: three forms ----

constexpr va_extra_s kSignInAuthcodeExtras[] = {
    kLoginId,
    str_extra("authcode", VELMORA_ACCOUNT_PROPERTY_AUTHCODE),
    str_extra("api_server_url", VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL),
    str_extra("auth_server_url", VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL),
    str_extra("device_security_code", VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE),
};

constexpr va_extra_s kSignInIdPwExtras[] = {
    kLoginId,
    kPassword,
    {.key = "check_2factor_authentication",
     .source = VA_SOURCE_FLAG_YN,
     .property = VELMORA_ACCOUNT_PROPERTY_BOOL_CHECK_2FACTOR_AUTHENTICATION},
};

int sign_in_prepare(va_op_call_s *call, app_control_h app_control, const va_operation_s **form);

constexpr va_operation_s kSignInAuthcode =
    agent_form(kSignInName, 0, &REQUEST_OP_SIGNINWITHAUTHCODE, kSignInReply, kSignInAuthcodeExtras);
constexpr va_operation_s kSignInIdPw =
    agent_form(kSignInName, 0, &REQUEST_OP_SIGNIN, kSignInReply, kSignInIdPwExtras);
constexpr va_operation_s kSignInView =
    agent_form(kSignInName, &REQUEST_OP_SIGNIN_POPUP, kSignInReply);
constexpr va_operation_s kSignIn =
    picking(agent_form(kSignInName, &REQUEST_OP_SIGNIN, kSignInReply), sign_in_prepare,
            "sign_in to [APP_CONTROL] Mode");

// ---- velmora_account_sign_in_with_2factor_authentication: with or without the token ----

constexpr va_extra_s kTwoFactorExtras[] = {
    va::kLoginIdExtra,
    kPasswordRequired,
    str_extra("authenticate_token", VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN,
              VA_EXTRA_REQUIRED),
    kAuthenticationNumber,
    kCheckTwoFactor,
    kRegisterTrustedDevice,
    {.key = "authenticate_type", .source = VA_SOURCE_CONST, .value = "1"},
};

// Skipping the token: it is not required (an unset token adds nothing) and no type is sent.
constexpr va_extra_s kTwoFactorSkipExtras[] = {
    va::kLoginIdExtra,
    kPasswordRequired,
    str_extra("authenticate_token", VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN),
    kAuthenticationNumber,
    kCheckTwoFactor,
    kRegisterTrustedDevice,
};

constexpr va_operation_s kTwoFactor =
    agent_form(kTwoFactorName, 5, &REQUEST_OP_SIGNIN, kSignInReply, kTwoFactorExtras);
constexpr va_operation_s kTwoFactorSkip =
    agent_form(kTwoFactorName, 5, &REQUEST_OP_SIGNIN, kSignInReply, kTwoFactorSkipExtras);

// ---- velmora_account_request_authentication_for_sign_in ----

constexpr va_operation_s kRequestAuthentication =
    agent_form("velmora_account_request_authentication_for_sign_in", 5, &REQUEST_OP_2FACTOR_SMS,
               kSignInReply, kLoginIdOnly);

// ---- velmora_account_sign_out ----

void sign_out_parse(velmora_account_request_h request, app_control_h reply,
                    app_control_result_e launch, int result);

// Over app control whatever the handle's transport (no port form); the login id is checked once
// the app control exists.
const va_operation_s kSignOut = {
    .name = "velmora_account_sign_out",
    .extras = kLoginIdOnly,
    .extra_count = va::count_of(kLoginIdOnly),
    .check_at = VA_CHECK_AFTER_TARGET,
    .invalid_property_log = "Invalid Property, login_id is not sets. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_SIGNOUT,
                    .reply_name = "sign_out_result_cb",
                    .parser = sign_out_parse},
};

// ---- velmora_account_request_confirm_user: two forms ----

constexpr va_extra_s kConfirmIdPwExtras[] = {kLoginId, kPassword};

int confirm_user_prepare(va_op_call_s *call, app_control_h app_control,
                         const va_operation_s **form);

constexpr va_operation_s kConfirmIdPw =
    agent_form(kConfirmUserName, 0, &REQUEST_OP_CONFIRMUSER, kConfirmUserReply, kConfirmIdPwExtras);
constexpr va_operation_s kConfirmView =
    agent_form(kConfirmUserName, &REQUEST_OP_CONFIRMUSER_POPUP, kConfirmUserReply);

// Over app control whatever the handle's transport.
constexpr va_operation_s kConfirmUser = picking(kConfirmView, confirm_user_prepare);

// ---- the pieces the entry points share ----

bool is_set(velmora_account_h handle, int property) {
  char **field = va_account_str_field(handle, property);
  return field != nullptr && *field != nullptr;
}

bool has_credentials(velmora_account_h handle) {
  return is_set(handle, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID) &&
         is_set(handle, VELMORA_ACCOUNT_PROPERTY_PASSWORD);
}

// The caller's application id; nullptr when the platform cannot tell it. The caller frees it.
char *caller_id() {
  char *id = nullptr;
  if (app_get_id(&id) != APP_ERROR_NONE) {
    free(id);
    return nullptr;
  }
  return id;
}

bool is_ui_caller(const char *id) { return id != nullptr && strcmp(id, AGENT_UI_APP_ID) == 0; }

// The caller's id in a log line: as the platform gave it, "(null)" when it gave none.
const char *shown(const char *id) { return id != nullptr ? id : "(null)"; }

// The second-factor calls take only the UI application, when the caller's id is known: a caller
// the platform cannot name passes, deliberately.
int check_second_factor_caller(const char *name) {
  char *id = caller_id();
  if (id != nullptr && !is_ui_caller(id)) {
    VA_LOG_AS(DLOG_INFO, name, "Invalid caller_id[%s] [ERROR_NOT_SUPPORTED]", id);
    free(id);
    return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;
  }
  free(id);
  return VELMORA_ACCOUNT_ERROR_NONE;
}

// Steps 1 to 3 of both second-factor calls: the shared checks (with the API level 5 of the row), no
// port-mode handle, the mode line, the caller.
int second_factor_checks(const va_op_call_s *call, const char *words) {
  const char *name = call->op->name;
  int ret = va_operation_check(call);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  if (call->handle->connected) {
    VA_LOG_AS(DLOG_INFO, name, "%s to [NIDL] Mode [ERROR_NOT_SUPPORTED]", words);
    return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;
  }
  VA_LOG_AS(DLOG_INFO, name, "%s to [APP_CONTROL] Mode", words);
  return check_second_factor_caller(name);
}

int clone_and_send(va_op_call_s *call) {
  const int ret = va_operation_clone(call);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  return va_send_app_control(call);
}

// The form by the caller: `ui_form` (with ID/PW) for the UI application, the login view for any
// other caller, which may not set credentials. `words` name the call in the lines ("sign_in").
int pick_by_caller(const va_op_call_s *call, const char *words, const va_operation_s *ui_form,
                   const va_operation_s *view_form, const va_operation_s **form) {
  const char *name = call->op->name;
  char *id = caller_id();
  if (is_ui_caller(id)) {
    VA_LOG_AS(DLOG_INFO, name, "UI [%s] called %s() with ID/PW", id, words);
    free(id);
    *form = ui_form;
    return VELMORA_ACCOUNT_ERROR_NONE;
  }
  VA_LOG_AS(DLOG_INFO, name, "[%s] called %s() to show Login view", shown(id), words);
  free(id);
  if (has_credentials(call->handle)) {
    // An ordinary application may not send credentials.
    VA_LOG_AS(DLOG_INFO, name, "RETV_IF_NOT_SUPPORTED, [ERROR_NOT_SUPPORTED]");
    return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;
  }
  *form = view_form;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int sign_in_prepare(va_op_call_s *call, app_control_h, const va_operation_s **form) {
  const char *name = call->op->name;
  velmora_account_h h = call->handle;
  if (is_set(h, VELMORA_ACCOUNT_PROPERTY_AUTHCODE) &&
      is_set(h, VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL) &&
      is_set(h, VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL) &&
      is_set(h, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE)) {
    VA_LOG_AS(DLOG_INFO, name, "sign-in with authcode");
    // Agents below API level 4 need the login id with the code; newer ones find it themselves.
    if (!is_set(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID) && va_is_lower_agent(4))
      return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
    *form = &kSignInAuthcode;
    return VELMORA_ACCOUNT_ERROR_NONE;
  }
  return pick_by_caller(call, "sign_in", &kSignInIdPw, &kSignInView, form);
}

// The UI application must set both login id and password to confirm.
int confirm_user_prepare(va_op_call_s *call, app_control_h, const va_operation_s **form) {
  const va_operation_s *picked = nullptr;
  const int ret = pick_by_caller(call, "confirm_user", &kConfirmIdPw, &kConfirmView, &picked);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  if (picked == &kConfirmIdPw && !has_credentials(call->handle)) {
    VA_LOG_AS(DLOG_INFO, call->op->name,
              "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]");
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  *form = picked;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

// As every account reply, and then the response handle loses its login id: a signed-out response
// carries none.
void sign_out_parse(velmora_account_request_h request, app_control_h reply, app_control_result_e,
                    int result) {
  const int filled = va_reply_fill_account(request, reply);
  velmora_account_unset_property_str(request->account, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
  va_reply_call_response(request, result == VELMORA_ACCOUNT_ERROR_NONE ? filled : result);
}

}  // namespace

extern "C" {

VELMORA_API int velmora_account_sign_in(velmora_account_h handle,
                                        velmora_account_response_cb callback, void *user_data) {
  va_op_call_s call = {.op = &kSignIn,
                       .handle = handle,
                       .callback = VA_REQUEST_CB(callback),
                       .user_data = user_data};
  int ret = va_operation_check(&call);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  ret = va_operation_clone(&call);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  if (handle->connected) {
    VA_LOG_AS(DLOG_INFO, kSignInName, "sign_in to [NIDL] Mode [ERROR_NOT_SUPPORTED]");
    va_operation_release(&call);
    return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;
  }
  return va_send_app_control(&call);
}

VELMORA_API int velmora_account_sign_in_with_2factor_authentication(
    velmora_account_h handle, bool skip_token, velmora_account_response_cb callback,
    void *user_data) {
  va_op_call_s call = {.op = skip_token ? &kTwoFactorSkip : &kTwoFactor,
                       .handle = handle,
                       .callback = VA_REQUEST_CB(callback),
                       .user_data = user_data};
  int ret = second_factor_checks(&call, "sign_in_with_2factor");
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  if (va_operation_missing(&call, VA_EXTRA_REQUIRED))
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  return clone_and_send(&call);
}

VELMORA_API int velmora_account_request_authentication_for_sign_in(
    velmora_account_h handle, int type, velmora_account_response_cb callback, void *user_data) {
  va_op_call_s call = {.op = &kRequestAuthentication,
                       .handle = handle,
                       .callback = VA_REQUEST_CB(callback),
                       .user_data = user_data};
  int ret = second_factor_checks(&call, "request_authentication");
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  // Only an SMS authentication (type 0) is offered.
  if (type != VELMORA_ACCOUNT_AUTHENTICATION_TYPE_SMS ||
      va_operation_missing(&call, VA_EXTRA_REQUIRED))
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  return clone_and_send(&call);
}

VELMORA_API int velmora_account_sign_out(velmora_account_h handle,
                                         velmora_account_response_cb callback, void *user_data) {
  return va_operation_run(&kSignOut, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

VELMORA_API int velmora_account_request_confirm_user(velmora_account_h handle,
                                                     velmora_account_response_cb callback,
                                                     void *user_data) {
  return va_operation_run(&kConfirmUser, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

}  // extern "C"
