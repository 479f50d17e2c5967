// velmora-agent state: shows users, clients, accounts, the store and the faults.
#include <cstdio>

#include "admin.hh"
#include "cli/cli.hh"

namespace vagent::cli {

int cmd_state(const Args &args) {
  if (!args.empty()) return usage_error("state takes no arguments");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  fputs(render_state(*state.value()).c_str(), stdout);
  return 0;
}

}  // namespace vagent::cli
