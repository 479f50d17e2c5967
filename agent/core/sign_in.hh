// SPDX-License-Identifier: Apache-2.0
// Velmora agent: signing a person in and out, with a password, a second factor or an
// authorization code, and confirming who they are.
//
//   SignIn &s = state.sign_in();
//   auto r = s.with_password(login_id, password);
//   if (r.ok() && r->second_factor_required) { ... r->authenticate_token, then
//       s.send_auth_number(login_id); ... s.with_second_factor(login_id, password, token, number,
//       trust_device) }
//
// Every password goes through the lock-out of sign_in_guard.hh. A user enrolled for a second
// factor (second_factor.hh) on a device it does not trust gets, for a right password, no sign-in
// but an authenticate token and SECOND_FACTOR_REQUIRED from the caller's point of view. Signing in
// with an authorization code redeems a code of the token service bound to this device's security
// code (codes.hh). Signing out forgets the account in every area (its tokens are revoked) and
// removes it from the platform account store (accounts.hh).
#pragma once

#include <optional>
#include <string>

#include "accounts.hh"
#include "clients.hh"
#include "codes.hh"
#include "result.hh"
#include "second_factor.hh"
#include "sign_in_guard.hh"
#include "users.hh"

namespace vagent {

struct PasswordSignIn {
  User user;
  // The user needs a second factor on this device: nobody was signed in; the token goes with the
  // number to with_second_factor.
  bool second_factor_required = false;
  std::string authenticate_token;
};

struct CodeSignIn {
  std::string code;
  std::string login_id;  // optional: the code names its login id; a given one must match
  std::string device_security_code;
  std::string api_server_url;  // must be the user's servers when given
  std::string auth_server_url;
};

class SignIn {
 public:
  SignIn(Users &users, Accounts &accounts, Clients &clients, Codes &codes, SignInGuard &guard,
         SecondFactor &second_factor)
      : users_(users),
        accounts_(accounts),
        clients_(clients),
        codes_(codes),
        guard_(guard),
        second_factor_(second_factor) {}

  // check_password's errors (INVALID_PARAMETER, ACCOUNT_LOCKED, UNKNOWN_USER, WRONG_PASSWORD).
  Result<PasswordSignIn> with_password(const std::string &login_id, const std::string &password);
  // Sends a new one-time number to the phone of an enrolled user; hands out the phone it went to.
  // UNKNOWN_USER, NO_PHONE_NUMBER (not enrolled), TOO_MANY_AUTH_NUMBERS, SMS_NOT_SENT.
  Result<std::string> send_auth_number(const std::string &login_id);
  // Password, then the authenticate token (when given) and the number; signs in and, when asked,
  // trusts this device from now on. check_password's and SecondFactor::verify's errors.
  Result<User> with_second_factor(const std::string &login_id, const std::string &password,
                                  const std::optional<std::string> &authenticate_token,
                                  const std::string &number, bool trust_device);
  // INVALID_PARAMETER (code or device security code missing, servers not the user's), the
  // errors of Codes::redeem (CODE_DEVICE_MISMATCH among them), UNKNOWN_CLIENT for a code whose
  // client is no longer registered.
  Result<User> with_code(const CodeSignIn &request);
  // Checks who the person is, without signing in: check_password's errors.
  Status confirm(const std::string &login_id, const std::string &password);
  // NEED_SIGNIN when the login id is not signed in.
  Status sign_out(const std::string &login_id);

 private:
  Users &users_;
  Accounts &accounts_;
  Clients &clients_;
  Codes &codes_;
  SignInGuard &guard_;
  SecondFactor &second_factor_;
};

}  // namespace vagent
