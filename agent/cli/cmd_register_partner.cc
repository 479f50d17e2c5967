// SPDX-License-Identifier: Apache-2.0
// velmora-agent register-partner: marks a registered client as a partner service that accounts
// can be linked with (link), or lists the partners.
#include <cstdio>

#include "cli/agent_cli.hh"

namespace vagent::cli {

namespace {

int list_partners(Linking &linking) {
  auto partners = linking.partners();
  if (!partners.ok()) return failed(partners.status());
  if (options().json) {
    JsonReply json;
    json.begin_array("partners");
    for (const Partner &p : partners.value())
      json.begin_object(nullptr)
          .str("client_id", p.client_id)
          .str("name", p.name)
          .integer("registered_at", p.registered_at)
          .end_object();
    json.end_array().print();
    return kExitOk;
  }
  if (partners->empty()) printf("no partner clients\n");
  for (const Partner &p : partners.value())
    printf("%s\t%s\tregistered_at=%lld\n", p.client_id.c_str(), p.name.c_str(),
           static_cast<long long>(p.registered_at));
  return kExitOk;
}

}  // namespace

int run_register_partner(const Args &) {
  const Options &o = options();
  if (o.list == (o.client_id != nullptr))
    return usage_error("give --client-id P [--name N], or --list");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  Linking &linking = state.value()->linking();
  if (o.list) return list_partners(linking);
  Status st = linking.register_partner(o.client_id, value(o.name));
  if (!st.ok()) return failed(st);
  if (o.json)
    JsonReply().str("client_id", o.client_id).str("name", value(o.name)).print();
  else
    printf("partner %s registered\n", o.client_id);
  return kExitOk;
}

}  // namespace vagent::cli
