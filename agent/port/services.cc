// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the AccountSvc method of the account services (CommonAccount): the current MCC,
// the terms consents, the account of a user id and the account-linking status.
#include <utility>

#include "port/answers.hh"
#include "port/methods.hh"

namespace vagent::nidl {

namespace {

// Request types of CommonAccount.
constexpr int kCommonCurrentMcc = 0;
constexpr int kCommonTncUpdate = 1;
constexpr int kCommonAccountFromGuid = 4;
constexpr int kCommonAccountLinking = 6;

Answer mcc_answer(const Result<MccInfo> &r) {
  if (!r.ok()) return pushed(r.code());
  Account a = new_account();
  put(a, rpc_port_AccountS_set_LoginId, r->login_id);
  put(a, rpc_port_AccountS_set_Mcc, r->mcc);
  put(a, rpc_port_AccountS_set_CountryCode, r->country_code);
  return pushed(errc::kNone, std::move(a));
}

}  // namespace

Answer common_account(AgentState &state, const NidlRequest &req) {
  const std::string login_id = req.field(rpc_port_AccountS_get_LoginId);
  switch (req.ints.at(0)) {
    case kCommonCurrentMcc:
      return mcc_answer(state.mcc().current(login_id));
    case kCommonTncUpdate: {
      TncUpdate u;
      u.login_id = login_id;
      u.mcc = req.field(rpc_port_AccountS_get_Mcc);
      u.tnc = req.int_field(rpc_port_AccountS_get_TncStatus);
      Answer a = mcc_answer(state.consents().update(u));
      if (a.push_account) rpc_port_AccountS_set_TncStatus(a.push_account.get(), u.tnc);
      return a;
    }
    case kCommonAccountFromGuid: {
      Result<User> r = state.account_from_user_id(req.field(rpc_port_AccountS_get_UserId));
      if (!r.ok()) return pushed(r.code());
      Account a = new_account();
      put_facts(a, r.value());
      return pushed(errc::kNone, std::move(a));
    }
    case kCommonAccountLinking: {
      // The partner client id travels in the Password field, and so does the answer: "Y" or "N".
      LinkingQuery q;
      q.login_id = login_id;
      q.client_id = req.field(rpc_port_AccountS_get_ClientId);
      q.partner_client_id = req.field(rpc_port_AccountS_get_Password);
      q.access_token = req.field(rpc_port_AccountS_get_AccessToken);
      Result<bool> r = state.linking().status(q);
      if (!r.ok()) return pushed(r.code());
      Account a = new_account();
      put(a, rpc_port_AccountS_set_LoginId, login_id);
      put(a, rpc_port_AccountS_set_Password, r.value() ? "Y" : "N");
      return pushed(errc::kNone, std::move(a));
    }
    default:
      return pushed(errc::kNotSupported);
  }
}

}  // namespace vagent::nidl
