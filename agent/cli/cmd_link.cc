// SPDX-License-Identifier: Apache-2.0
// velmora-agent link: links (or unlinks) an account with a partner client.
#include <cstdio>

#include "cli/agent_cli.hh"

namespace vagent::cli {

int run_link(const Args &) {
  const Options &o = options();
  if (!o.login_id || !o.partner_client_id)
    return usage_error("link needs --login-id and --partner-client-id");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  Status st = state.value()->linking().set(o.login_id, o.partner_client_id, !o.unlink);
  if (!st.ok()) return failed(st);
  if (o.json)
    JsonReply()
        .str("login_id", o.login_id)
        .str("partner_client_id", o.partner_client_id)
        .boolean("linked", !o.unlink)
        .print();
  else
    printf("%s %s with %s\n", o.unlink ? "unlinked" : "linked", o.login_id, o.partner_client_id);
  return kExitOk;
}

}  // namespace vagent::cli
