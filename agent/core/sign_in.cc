// SPDX-License-Identifier: Apache-2.0
// Velmora agent: signing in and out.
#include "sign_in.hh"

#include <string>

#include "config.hh"
#include "dlog.h"
#include "velmora_host.h"

namespace vagent {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";

}  // namespace

Result<PasswordSignIn> SignIn::with_password(const std::string &login_id,
                                             const std::string &password) {
  Status st = guard_.check_password(login_id, password);
  if (!st.ok()) return st;
  PasswordSignIn out;
  Result<std::optional<std::string>> phone = second_factor_.phone_of(login_id);
  if (!phone.ok()) return phone.status();
  if (phone.value()) {
    Result<bool> trusted = second_factor_.device_trusted(login_id);
    if (!trusted.ok()) return trusted.status();
    if (!trusted.value()) {
      Result<User> user = users_.find(login_id);
      if (!user.ok()) return user.status();
      Result<std::string> token = second_factor_.issue_token(login_id);
      if (!token.ok()) return token.status();
      out.user = user.value();
      out.second_factor_required = true;
      out.authenticate_token = token.value();
      return out;
    }
  }
  Result<User> user = accounts_.sign_in_verified(login_id);
  if (!user.ok()) return user.status();
  out.user = user.value();
  return out;
}

Result<std::string> SignIn::send_auth_number(const std::string &login_id) {
  if (login_id.empty()) return Status::fail(errc::kInvalidParameter, "login id is required");
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  Result<std::optional<std::string>> phone = second_factor_.phone_of(login_id);
  if (!phone.ok()) return phone.status();
  if (!phone.value()) return Status::fail(errc::kNoPhoneNumber, "no second factor for " + login_id);
  Result<std::string> number = second_factor_.new_number(login_id);
  if (!number.ok()) return number.status();
  const std::string text = "Your Velmora sign-in number is " + number.value() + ". It expires in " +
                           std::to_string(kAuthNumberLifetime / 60) + " minutes.";
  char *error = nullptr;
  const int ret = velmora_host_sms_send(phone.value()->c_str(), text.c_str(), &error);
  if (ret != 0) {
    const std::string why = error ? error : "unknown error";
    free(error);
    dlog_print(DLOG_ERROR, kLogTag, "sign-in: the SMS for %s was not sent: %s", login_id.c_str(),
               why.c_str());
    return Status::fail(errc::kSmsNotSent, why);
  }
  return *phone.value();
}

Result<User> SignIn::with_second_factor(const std::string &login_id, const std::string &password,
                                        const std::optional<std::string> &authenticate_token,
                                        const std::string &number, bool trust_device) {
  if (number.empty()) return Status::fail(errc::kInvalidParameter, "the SMS number is required");
  Status st = guard_.check_password(login_id, password);
  if (!st.ok()) return st;
  st = second_factor_.verify(login_id, authenticate_token, number);
  if (!st.ok()) return st;
  Result<User> user = accounts_.sign_in_verified(login_id);
  if (!user.ok()) return user;
  if (trust_device) {
    st = second_factor_.trust_device(login_id);
    // The person is signed in; only the next sign-in asks for a number again.
    if (!st.ok())
      dlog_print(DLOG_WARN, kLogTag, "sign-in: this device stays untrusted for %s: %s",
                 login_id.c_str(), st.describe().c_str());
  }
  return user;
}

Result<User> SignIn::with_code(const CodeSignIn &r) {
  if (r.code.empty() || r.device_security_code.empty())
    return Status::fail(errc::kInvalidParameter, "code and device security code are required");
  Result<RedeemedCode> redeemed =
      codes_.redeem(CodeKind::kAuthCode, r.code, "", r.login_id, r.device_security_code);
  if (!redeemed.ok()) return redeemed.status();
  Result<User> user = users_.find(redeemed->login_id);
  if (!user.ok()) return user;
  if ((!r.api_server_url.empty() && r.api_server_url != user->api_server_url) ||
      (!r.auth_server_url.empty() && r.auth_server_url != user->auth_server_url))
    return Status::fail(errc::kInvalidParameter, "the code comes from other servers");
  Result<Client> client = clients_.find(redeemed->client_id);
  if (!client.ok()) return client.status();
  return accounts_.sign_in_verified(redeemed->login_id);
}

Status SignIn::confirm(const std::string &login_id, const std::string &password) {
  return guard_.check_password(login_id, password);
}

Status SignIn::sign_out(const std::string &login_id) { return accounts_.sign_out(login_id); }

}  // namespace vagent
