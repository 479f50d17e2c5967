// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: the library calls of the login views (account_calls.hh).
#include "ui/account_calls.hh"

#include <cstdlib>
#include <utility>

#include "velmora_account.h"

namespace vagent::ui {

namespace {

struct Pending {
  CallDone done;
};

std::string property(velmora_account_h account, int id) {
  char *value = nullptr;
  if (velmora_account_get_property_str(account, id, &value) != VELMORA_ACCOUNT_ERROR_NONE || !value)
    return "";
  std::string out = value;
  free(value);
  return out;
}

void on_response(int result, velmora_account_h account, void *user_data) {
  auto *pending = static_cast<Pending *>(user_data);
  CallOutcome o;
  o.result = result;
  if (account != nullptr) {
    o.login_id = property(account, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
    o.user_id = property(account, VELMORA_ACCOUNT_PROPERTY_USER_ID);
    o.cc = property(account, VELMORA_ACCOUNT_PROPERTY_CC);
    o.mcc = property(account, VELMORA_ACCOUNT_PROPERTY_MCC);
    o.api_server_url = property(account, VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL);
    o.auth_server_url = property(account, VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL);
    o.authenticate_token = property(account, VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN);
    velmora_account_destroy(account);  // the response handle is ours
  }
  CallDone done = std::move(pending->done);
  delete pending;
  done(o);
}

// A handle with the given string properties, or nullptr.
velmora_account_h handle_with(std::initializer_list<std::pair<int, const std::string *>> values) {
  velmora_account_h h = nullptr;
  if (velmora_account_create(&h) != VELMORA_ACCOUNT_ERROR_NONE) return nullptr;
  for (const auto &[id, value] : values)
    if (!value->empty()) velmora_account_set_property_str(h, id, value->c_str());
  return h;
}

// Runs `call` on `h` with on_response; releases `h` (the library works on a clone).
int run(velmora_account_h h, int (*call)(velmora_account_h, velmora_account_response_cb, void *),
        CallDone done) {
  if (h == nullptr) return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  auto *pending = new Pending{std::move(done)};
  const int ret = call(h, on_response, pending);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) delete pending;
  velmora_account_destroy(h);
  return ret;
}

}  // namespace

Extras CallOutcome::account_extras() const {
  return {{"login_id", login_id},
          {"user_id", user_id},
          {"cc", cc},
          {"mcc", mcc},
          {"api_server_url", api_server_url},
          {"auth_server_url", auth_server_url}};
}

int call_sign_in(const std::string &login_id, const std::string &password, CallDone done) {
  velmora_account_h h = handle_with({{VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, &login_id},
                                     {VELMORA_ACCOUNT_PROPERTY_PASSWORD, &password}});
  // The login view can go on with a second factor.
  if (h)
    velmora_account_set_property_bool(h, VELMORA_ACCOUNT_PROPERTY_BOOL_CHECK_2FACTOR_AUTHENTICATION,
                                      true);
  return run(h, velmora_account_sign_in, std::move(done));
}

int call_request_number(const std::string &login_id, CallDone done) {
  velmora_account_h h = handle_with({{VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, &login_id}});
  if (h == nullptr) return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  auto *pending = new Pending{std::move(done)};
  const int ret = velmora_account_request_authentication_for_sign_in(
      h, VELMORA_ACCOUNT_AUTHENTICATION_TYPE_SMS, on_response, pending);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) delete pending;
  velmora_account_destroy(h);
  return ret;
}

int call_sign_in_with_number(const std::string &login_id, const std::string &password,
                             const std::string &authenticate_token, const std::string &number,
                             bool trust_device, CallDone done) {
  velmora_account_h h =
      handle_with({{VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, &login_id},
                   {VELMORA_ACCOUNT_PROPERTY_PASSWORD, &password},
                   {VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN, &authenticate_token},
                   {VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_CODE, &number}});
  if (h == nullptr) return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  velmora_account_set_property_bool(h, VELMORA_ACCOUNT_PROPERTY_BOOL_REGISTER_TRUSTED_DEVICE,
                                    trust_device);
  auto *pending = new Pending{std::move(done)};
  // Without a token (none was handed out) the number and the password suffice.
  const int ret = velmora_account_sign_in_with_2factor_authentication(h, authenticate_token.empty(),
                                                                      on_response, pending);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) delete pending;
  velmora_account_destroy(h);
  return ret;
}

int call_confirm_user(const std::string &login_id, const std::string &password, CallDone done) {
  velmora_account_h h = handle_with({{VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, &login_id},
                                     {VELMORA_ACCOUNT_PROPERTY_PASSWORD, &password}});
  return run(h, velmora_account_request_confirm_user, std::move(done));
}

}  // namespace vagent::ui
