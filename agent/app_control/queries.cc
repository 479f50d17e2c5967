// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the app-control operations of the account state queries: whether an account is
// signed in, the signed-in accounts, the default account (get and set) and the account of a user
// id (GUID).
//
// Replies carry the keys the client library reads: "is_signin" = "true" / "false"; the account
// list as one "login_id_<n>" extra per account in sign-in order (the library takes every key that
// contains "login_id", at most ten); the account facts ("login_id", "user_id", "cc", "mcc", the
// server URLs) for the default account and the account of a user id.
#include "app_control/operations.hh"
#include "velmora_account_request_op.h"

namespace vagent::appcontrol {

namespace {

Answer facts_answer(const Result<User> &r) { return answer(r, put_facts<User>); }

// Without a login id: whether any account is signed in.
Answer is_signed_in(AgentState &state, const Request &req) {
  const std::string login_id = req.extra("login_id");
  Result<bool> r =
      login_id.empty() ? state.accounts().any_signed_in() : state.accounts().is_signed_in(login_id);
  if (!r.ok()) return failure(r.status());
  Answer a;
  a.extras.emplace_back("is_signin", r.value() ? "true" : "false");
  return a;
}

Answer account_list(AgentState &state, const Request &) {
  Result<std::vector<SignedInAccount>> r = state.accounts().list();
  if (!r.ok()) return failure(r.status());
  Answer a;
  for (size_t i = 0; i < r->size(); ++i)
    a.extras.emplace_back("login_id_" + std::to_string(i), (*r)[i].login_id);
  return a;
}

Answer default_account(AgentState &state, const Request &) {
  Result<std::string> login_id = state.accounts().default_account();
  if (!login_id.ok()) return failure(login_id.status());
  return facts_answer(state.users().find(login_id.value()));
}

Answer set_default_account(AgentState &state, const Request &req) {
  const std::string login_id = req.extra("login_id");
  if (login_id.empty())
    return failure(Status::fail(errc::kInvalidParameter, "login_id is required"));
  Status st = state.accounts().set_default(login_id);
  if (!st.ok()) return failure(st);
  return facts_answer(state.users().find(login_id));
}

Answer account_from_user_id(AgentState &state, const Request &req) {
  return facts_answer(state.account_from_user_id(req.extra("user_id")));
}

}  // namespace

const std::vector<Operation> &query_operations() {
  static const std::vector<Operation> table = {
      {&REQUEST_OP_IS_SIGNEDIN, "issignin", is_signed_in},
      {&REQUEST_OP_IS_SIGNEDINLIST, "getaccounts", account_list},
      {&REQUEST_OP_GETDEFAULTACCOUNT, "getdefaultaccount", default_account},
      {&REQUEST_OP_SETDEFAULTACCOUNT, "setdefaultaccount", set_default_account},
      {&REQUEST_OP_GETACCOUNT_FROM_GUID, "getaccountfromguid", account_from_user_id},
  };
  return table;
}

}  // namespace vagent::appcontrol
