// SPDX-License-Identifier: Apache-2.0
// velmora-agent issue-code: plays the token service for a device: an authorization code for the
// user, bound to the client and to the device's security code, that `velmora-account sign-in
// --authcode-file` (velmora_account_sign_in with an authorization code) redeems once. Prints
// "authcode=<code>" once; the code is not kept in plain text.
#include <cstdio>

#include "cli/agent_cli.hh"

namespace vagent::cli {

int run_issue_code(const Args &) {
  const Options &o = options();
  if (!o.login_id || !o.client_id || !o.device_code)
    return usage_error("issue-code needs --login-id, --client-id and --device-code");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  Result<User> user = state.value()->users().find(o.login_id);
  if (!user.ok()) return failed(user.status());
  CodeRequest r;
  r.client_id = o.client_id;
  r.device_unique_code = o.device_code;
  if (o.scopes) {
    std::string scope;
    for (gchar **s = o.scopes; *s; ++s) scope += (scope.empty() ? "" : " ") + std::string(*s);
    r.scope = scope;
  }
  Result<IssuedCode> code = state.value()->codes().issue_for_device(user.value(), r);
  if (!code.ok()) return failed(code.status());
  if (o.json) {
    JsonReply()
        .str("authcode", code->code)
        .str("api_server_url", code->api_server_url)
        .str("auth_server_url", code->auth_server_url)
        .integer("expires_in", code->expires_in)
        .print();
  } else {
    printf("authcode=%s\napi_server_url=%s\nauth_server_url=%s\nexpires_in=%lld\n",
           code->code.c_str(), code->api_server_url.c_str(), code->auth_server_url.c_str(),
           static_cast<long long>(code->expires_in));
  }
  return kExitOk;
}

}  // namespace vagent::cli
