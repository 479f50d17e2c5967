// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: what the login views ask of the agent, through the client library, as the UI
// application (the ID/PW path that only kAgentUiAppId may take).
//
// Each call makes an account handle with the person's values, calls the library and returns its
// immediate result; when that is 0, `done` runs once later, on the main loop, with the outcome.
#pragma once

#include <functional>
#include <string>

#include "ui/operations.hh"

namespace vagent::ui {

struct CallOutcome {
  int result = 0;  // VELMORA_ACCOUNT_ERROR_* or an agent error code
  std::string login_id;
  std::string user_id;
  std::string cc;
  std::string mcc;
  std::string api_server_url;
  std::string auth_server_url;
  std::string authenticate_token;  // a second factor is needed: the token the number goes with

  // The values a signed-in (or confirmed) account is answered with.
  Extras account_extras() const;
};

using CallDone = std::function<void(const CallOutcome &outcome)>;

// velmora_account_sign_in with login id and password (second factors handled by the caller).
int call_sign_in(const std::string &login_id, const std::string &password, CallDone done);
// velmora_account_request_authentication_for_sign_in (an SMS number).
int call_request_number(const std::string &login_id, CallDone done);
// velmora_account_sign_in_with_2factor_authentication with the token of the password step.
int call_sign_in_with_number(const std::string &login_id, const std::string &password,
                             const std::string &authenticate_token, const std::string &number,
                             bool trust_device, CallDone done);
// velmora_account_request_confirm_user with login id and password.
int call_confirm_user(const std::string &login_id, const std::string &password, CallDone done);

}  // namespace vagent::ui
