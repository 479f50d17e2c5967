// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the app-control operations for signing in and out, second factors, confirming the
// user, and the login views.
//
// Credentials (a login id with a password) are taken only from the agent's UI application
// (Callers::kUiOnly): an ordinary application asks for a login view instead, which the agent hands
// to its UI application (ui_forward.hh) and answers once the person is done there.
//
// Replies of a signed-in account carry "login_id", "user_id", "cc", "mcc", "api_server_url" and
// "auth_server_url". A user who needs a second factor gets, for the right password, a failure with
// error_code AGENT_ERROR_2FACTOR_REQUIRED and the "authenticate_token" that the number must come
// with; "check_2factor_authentication" = "N" (a caller that cannot go on with a number) does not
// switch the second factor off.
#include <utility>

#include "app_control/operations.hh"
#include "app_control/ui_forward.hh"
#include "velmora_account_request_op.h"

namespace vagent::appcontrol {

namespace {

Answer account_answer(const Result<User> &r) { return answer(r, put_facts<User>, Tell::kCodeOnly); }

// The second step: "authenticate_number" with the password, and "authenticate_token" when
// "authenticate_type" is "1" (a caller that skips the token sends no type).
Answer sign_in_with_second_factor(AgentState &state, const Request &req) {
  std::optional<std::string> token;
  if (req.has("authenticate_type")) {
    if (req.extra("authenticate_type") != "1") return failure(errc::kInvalidParameter);
    token = req.extra("authenticate_token");
  }
  return account_answer(state.sign_in().with_second_factor(
      req.extra("login_id"), req.extra("pw"), token, req.extra("authenticate_number"),
      req.extra("register_trusted_device") == "Y"));
}

Answer sign_in(AgentState &state, const Request &req) {
  if (req.has("authenticate_number")) return sign_in_with_second_factor(state, req);
  const std::string login_id = req.extra("login_id");
  Result<PasswordSignIn> r = state.sign_in().with_password(login_id, req.extra("pw"));
  if (!r.ok()) return failure(r.code());
  if (r->second_factor_required) {
    Answer a = failure(errc::kSecondFactorRequired);
    put(&a.extras, "login_id", login_id);
    put(&a.extras, "authenticate_token", r->authenticate_token);
    return a;
  }
  return account_answer(r->user);
}

Answer request_sms_authentication(AgentState &state, const Request &req) {
  const std::string login_id = req.extra("login_id");
  Result<std::string> sent = state.sign_in().send_auth_number(login_id);
  if (!sent.ok()) return failure(sent.code());
  Answer a;
  put(&a.extras, "login_id", login_id);
  return a;
}

Answer sign_in_with_code(AgentState &state, const Request &req) {
  CodeSignIn c;
  c.code = req.extra("authcode");
  c.login_id = req.extra("login_id");
  c.device_security_code = req.extra("device_security_code");
  c.api_server_url = req.extra("api_server_url");
  c.auth_server_url = req.extra("auth_server_url");
  return account_answer(state.sign_in().with_code(c));
}

Answer sign_out(AgentState &state, const Request &req) {
  const std::string login_id = req.extra("login_id");
  Status st = state.sign_in().sign_out(login_id);
  if (!st.ok()) return failure(st.code);
  Answer a;
  put(&a.extras, "login_id", login_id);
  return a;
}

Answer confirm_user(AgentState &state, const Request &req) {
  const std::string login_id = req.extra("login_id");
  Status st = state.sign_in().confirm(login_id, req.extra("pw"));
  if (!st.ok()) return failure(st.code);
  return account_answer(state.users().find(login_id));
}

void sign_in_view(AgentState &, const Request &req, Respond respond) {
  forward_to_ui(req, REQUEST_OP_SIGNIN_POPUP, std::move(respond));
}

void confirm_user_view(AgentState &, const Request &req, Respond respond) {
  forward_to_ui(req, REQUEST_OP_CONFIRMUSER_POPUP, std::move(respond));
}

}  // namespace

const std::vector<Operation> &sign_in_operations() {
  static const std::vector<Operation> table = {
      {&REQUEST_OP_SIGNIN, "signin", sign_in, nullptr, Callers::kUiOnly},
      {&REQUEST_OP_2FACTOR_SMS, "requestsmsauthentication", request_sms_authentication, nullptr,
       Callers::kUiOnly},
      {&REQUEST_OP_SIGNINWITHAUTHCODE, "signinwithauthcode", sign_in_with_code},
      {&REQUEST_OP_SIGNOUT, "signout", sign_out},
      {&REQUEST_OP_CONFIRMUSER, "confirmuser", confirm_user, nullptr, Callers::kUiOnly},
      {&REQUEST_OP_SIGNIN_POPUP, "signin_view", nullptr, sign_in_view},
      {&REQUEST_OP_CONFIRMUSER_POPUP, "confirmuser_view", nullptr, confirm_user_view},
  };
  return table;
}

}  // namespace vagent::appcontrol
