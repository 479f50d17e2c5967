// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the AccountSvc methods of access tokens and authorization codes. The last access
// token answers in its result; the others answer through their reply delegate.
#include <climits>
#include <utility>

#include "port/answers.hh"
#include "port/methods.hh"

namespace vagent::nidl {

namespace {

int clamp_int(int64_t v) {
  return v > INT_MAX ? INT_MAX : (v < INT_MIN ? INT_MIN : static_cast<int>(v));
}

void put_times(const Account &a, int64_t issue_time, int64_t expires_in) {
  if (!a) return;
  rpc_port_AccountS_set_TokenIssueTime(a.get(), clamp_int(issue_time));
  rpc_port_AccountS_set_TokenExpiresIn(a.get(), clamp_int(expires_in));
  rpc_port_AccountS_set_LongIssueTime(a.get(), issue_time);
  rpc_port_AccountS_set_LongExpiresIn(a.get(), expires_in);
}

Account grant_account(const TokenGrant &g) {
  Account a = new_account();
  put(a, rpc_port_AccountS_set_AccessToken, g.access_token);
  put(a, rpc_port_AccountS_set_RefreshToken, g.refresh_token);
  put(a, rpc_port_AccountS_set_ClientId, g.client_id);
  put(a, rpc_port_AccountS_set_Scope, g.scope);
  put_facts(a, g);
  put_times(a, g.issue_time, g.expires_in);
  return a;
}

Account code_account(const IssuedCode &c) {
  Account a = new_account();
  put(a, rpc_port_AccountS_set_AuthCode, c.code);
  put(a, rpc_port_AccountS_set_ClientId, c.client_id);
  put(a, rpc_port_AccountS_set_Scope, c.scope);
  put_facts(a, c);
  return a;
}

Answer issue_code(AgentState &state, const NidlRequest &req, CodeKind kind) {
  CodeRequest c;
  c.login_id = req.field(rpc_port_AccountS_get_LoginId);
  c.client_id = req.field(rpc_port_AccountS_get_ClientId);
  c.scope = req.field(rpc_port_AccountS_get_Scope);
  c.device_unique_code = req.field(rpc_port_AccountS_get_DeviceUniqueCode);
  Result<IssuedCode> r = state.codes().issue(kind, c);
  return r.ok() ? pushed(errc::kNone, code_account(r.value())) : pushed(r.code());
}

}  // namespace

Answer get_last_access_token(AgentState &state, const NidlRequest &req) {
  Answer a;
  Result<TokenGrant> r = state.tokens().last(req.field(rpc_port_AccountS_get_LoginId),
                                             req.field(rpc_port_AccountS_get_ClientId));
  if (r.ok())
    a.output.account = grant_account(r.value());
  else
    a.result = r.code();
  return a;
}

Answer request_access_token(AgentState &state, const NidlRequest &req) {
  TokenRequest t;
  t.login_id = req.field(rpc_port_AccountS_get_LoginId);
  t.client_id = req.field(rpc_port_AccountS_get_ClientId);
  t.client_secret = req.field(rpc_port_AccountS_get_ClientSecret);
  t.expired_access_token = req.field(rpc_port_AccountS_get_LastAccessToken);
  t.scope = req.field(rpc_port_AccountS_get_Scope);
  Result<TokenGrant> r = state.tokens().issue(t);
  return r.ok() ? pushed(errc::kNone, grant_account(r.value())) : pushed(r.code());
}

Answer request_authcode(AgentState &state, const NidlRequest &req) {
  return issue_code(state, req, CodeKind::kAuthCode);
}

Answer request_authcode_effortless(AgentState &state, const NidlRequest &req) {
  return issue_code(state, req, CodeKind::kEffortless);
}

}  // namespace vagent::nidl
