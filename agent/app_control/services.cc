// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the app-control operations of the account services: the current MCC, the terms
// consents and the account-linking status.
//
// The MCC and consent replies carry "login_id", "mcc" and "cc"; the linking reply carries
// "login_id" and "account_linking_status" = "Y" / "N".
#include "app_control/operations.hh"
#include "velmora_account_request_op.h"

namespace vagent::appcontrol {

namespace {

Answer mcc_answer(const Result<MccInfo> &r) {
  return answer(r, [](Extras *e, const MccInfo &m) {
    put(e, "login_id", m.login_id);
    put(e, "mcc", m.mcc);
    put(e, "cc", m.country_code);
  });
}

Answer current_mcc(AgentState &state, const Request &req) {
  return mcc_answer(state.mcc().current(req.extra("login_id")));
}

// The consents travel as "Y" / "N" extras, one per consent (consents.hh).
Answer update_tnc(AgentState &state, const Request &req) {
  TncUpdate u;
  u.login_id = req.extra("login_id");
  u.mcc = req.extra("mcc");
  u.tnc = tnc_from_extras([&req](const char *key) { return req.extra(key); });
  return mcc_answer(state.consents().update(u));
}

Answer linking_status(AgentState &state, const Request &req) {
  LinkingQuery q;
  q.login_id = req.extra("login_id");
  q.client_id = req.extra("client_id");
  q.partner_client_id = req.extra("partner_client_id");
  q.access_token = req.extra("access_token");
  Result<bool> r = state.linking().status(q);
  if (!r.ok()) return failure(r.status());
  Answer a;
  put(&a.extras, "login_id", q.login_id);
  a.extras.emplace_back("account_linking_status", r.value() ? "Y" : "N");
  return a;
}

}  // namespace

const std::vector<Operation> &service_operations() {
  static const std::vector<Operation> table = {
      {&REQUEST_OP_CURRENT_MCC, "getcurrentmcc", current_mcc},
      {&REQUEST_OP_TNC_UPDATE, "updatetnc", update_tnc},
      {&REQUEST_OP_ACCOUNT_LINKING, "getaccountlinkingstatus", linking_status},
  };
  return table;
}

}  // namespace vagent::appcontrol
