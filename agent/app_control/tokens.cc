// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the app-control operations for access tokens and authorization codes.
//
// Replies carry the keys the client library reads ("access_token", "access_token_expires_in",
// "access_token_issue_time", "refresh_token", "authcode", "login_id", "user_id", "cc", "mcc",
// "api_server_url", "auth_server_url"). The last access token is handed out without a refresh
// token: its reply says so with "refresh_token" = "-1", which the library skips.
#include <climits>

#include "app_control/operations.hh"
#include "velmora_account_request_op.h"

namespace vagent::appcontrol {

namespace {

std::string number(int64_t v) {
  // The library reads these as 32-bit ints.
  if (v > INT_MAX) v = INT_MAX;
  if (v < INT_MIN) v = INT_MIN;
  return std::to_string(v);
}

Answer grant_answer(const Result<TokenGrant> &r) {
  return answer(r, [](Extras *e, const TokenGrant &g) {
    put(e, "access_token", g.access_token);
    put(e, "access_token_expires_in", number(g.expires_in));
    put(e, "access_token_issue_time", number(g.issue_time));
    e->emplace_back("refresh_token", g.refresh_token.empty() ? "-1" : g.refresh_token);
    put_facts(e, g);
  });
}

Answer access_token(AgentState &state, const Request &req) {
  TokenRequest t;
  t.login_id = req.extra("login_id");
  t.client_id = req.extra("client_id");
  t.client_secret = req.extra("client_secret");
  t.expired_access_token = req.extra("expired_access_token");
  t.scope = req.extra("scope");
  return grant_answer(state.tokens().issue(t));
}

// The library requires both ids; an empty one would mean "the default account" / "any client" to
// the core, which this operation does not offer.
Answer last_access_token(AgentState &state, const Request &req) {
  const std::string login_id = req.extra("login_id");
  const std::string client_id = req.extra("client_id");
  if (login_id.empty() || client_id.empty())
    return failure(Status::fail(errc::kInvalidParameter, "login_id and client_id are required"));
  return grant_answer(state.tokens().last(login_id, client_id));
}

Answer code_answer(AgentState &state, const Request &req, CodeKind kind) {
  CodeRequest c;
  c.login_id = req.extra("login_id");
  c.client_id = req.extra("client_id");
  c.scope = req.extra("scope");
  c.device_unique_code = req.extra("device_physical_address");
  return answer(state.codes().issue(kind, c), [](Extras *e, const IssuedCode &issued) {
    put(e, "authcode", issued.code);
    put_facts(e, issued);
  });
}

Answer auth_code(AgentState &state, const Request &req) {
  return code_answer(state, req, CodeKind::kAuthCode);
}

Answer effortless(AgentState &state, const Request &req) {
  return code_answer(state, req, CodeKind::kEffortless);
}

}  // namespace

const std::vector<Operation> &token_operations() {
  static const std::vector<Operation> table = {
      {&REQUEST_OP_GETACCESSTOKEN, "getaccesstoken", access_token},
      {&REQUEST_OP_GETLASTACCESSTOKEN, "getlastaccesstoken", last_access_token},
      {&REQUEST_OP_GETAUTHCODE, "getauthcode", auth_code},
      {&REQUEST_OP_GETAUTHCODE_EFFORTLESS, "getauthcodeforeffortlesslogin", effortless},
  };
  return table;
}

}  // namespace vagent::appcontrol
