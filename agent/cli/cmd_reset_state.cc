// SPDX-License-Identifier: Apache-2.0
// velmora-agent reset-state: starts a root's agent state over when it was lost (lost_state.hh).
#include <cstdio>

#include "cli/agent_cli.hh"
#include "lost_state.hh"
#include "velmora_host.h"

namespace vagent::cli {

int run_reset_state(const Args &) {
  const bool force = options().force;
  const std::string root = velmora_host_root();
  {
    // A state that is not lost is kept unless --force says otherwise.
    auto state = open_state();
    if (state.ok() && !force)
      return failed(Status::fail(errc::kInvalidParameter,
                                 "the agent's state of " + root +
                                     " matches its identity record and the platform account "
                                     "store; nothing was reset (--force starts over anyway)"));
    if (!state.ok() && state.code() != errc::kStateLost && !force) return failed(state.status());
  }
  Status st = reset_state(root);
  if (!st.ok()) return failed(st);
  auto fresh = open_state();
  if (!fresh.ok()) return failed(fresh.status());
  if (options().json)
    JsonReply().str("root", root).boolean("reset", true).print();
  else
    printf("the agent's state of %s starts over: no user, no client, no signed-in account\n",
           root.c_str());
  return kExitOk;
}

}  // namespace vagent::cli
