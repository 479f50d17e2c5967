// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the AccountSvc methods of the account state queries (the default account, the
// signed-in accounts). They answer in their result, without a reply delegate.
#include <string>

#include "port/answers.hh"
#include "port/methods.hh"

namespace vagent::nidl {

Answer get_default_account(AgentState &state, const NidlRequest &) {
  Answer a;
  Result<std::string> r = state.accounts().default_account();
  if (r.ok())
    a.output.text = r.value();
  else
    a.result = r.code();
  return a;
}

Answer set_default_account(AgentState &state, const NidlRequest &req) {
  Answer a;
  const std::string &login_id = req.strings.at(0);
  if (login_id.empty())
    a.result = errc::kInvalidParameter;
  else
    a.result = state.accounts().set_default(login_id).code;
  return a;
}

// An empty login id asks whether any account is signed in.
Answer is_signed_in(AgentState &state, const NidlRequest &req) {
  Answer a;
  const std::string &login_id = req.strings.at(0);
  Result<bool> r =
      login_id.empty() ? state.accounts().any_signed_in() : state.accounts().is_signed_in(login_id);
  if (r.ok())
    a.output.flag = r.value();
  else
    a.result = r.code();
  return a;
}

Answer get_account_list(AgentState &state, const NidlRequest &) {
  Answer a;
  auto r = state.accounts().list();
  if (!r.ok()) {
    a.result = r.code();
    return a;
  }
  for (const SignedInAccount &acc : r.value()) a.output.list.push_back(acc.login_id);
  return a;
}

}  // namespace vagent::nidl
