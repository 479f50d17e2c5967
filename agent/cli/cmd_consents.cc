// SPDX-License-Identifier: Apache-2.0
// velmora-agent consents: the terms consents a user gave, each with the time it was last given or
// withdrawn.
#include <cstdio>

#include "cli/agent_cli.hh"

namespace vagent::cli {

int run_consents(const Args &) {
  const Options &o = options();
  if (!o.login_id) return usage_error("consents needs --login-id");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  auto records = state.value()->consents().records(o.login_id);
  if (!records.ok()) return failed(records.status());
  if (o.json) {
    JsonReply json;
    json.str("login_id", o.login_id).begin_array("consents");
    for (const ConsentRecord &r : records.value())
      json.begin_object(nullptr)
          .integer("bit", r.bit)
          .str("key", r.extra_key)
          .boolean("given", r.given)
          .integer("at", r.at)
          .end_object();
    json.end_array().print();
    return kExitOk;
  }
  for (const ConsentRecord &r : records.value())
    printf("%d\t%s\t%s\tat=%lld\n", r.bit, r.extra_key, r.given ? "given" : "not given",
           static_cast<long long>(r.at));
  return kExitOk;
}

}  // namespace vagent::cli
