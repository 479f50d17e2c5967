// velmora-agent reset-state: starts a root's agent state over when it was lost (lost_state.hh).
#include <cstdio>

#include "cli/cli.hh"
#include "lost_state.hh"
#include "velmora_host.h"

namespace vagent::cli {

int cmd_reset_state(const Args &args) {
  Options o({{"force", false, false}});
  std::string error;
  if (!o.parse(args, &error)) return usage_error(error);
  if (!o.positional().empty()) return usage_error("unexpected word '" + o.positional()[0] + "'");
  const std::string root = velmora_host_root();
  {
    // A state that is not lost is kept unless --force says otherwise.
    auto state = open_state();
    if (state.ok() && !o.has("force")) {
      fprintf(stderr,
              "velmora-agent: the agent's state of %s matches its identity record and the "
              "platform account store; nothing was reset (--force starts over anyway)\n",
              root.c_str());
      return kExitFailed;
    }
    if (!state.ok() && state.code() != errc::kStateLost && !o.has("force"))
      return failed(state.status());
  }
  Status st = reset_state(root);
  if (!st.ok()) return failed(st);
  auto fresh = open_state();
  if (!fresh.ok()) return failed(fresh.status());
  printf("the agent's state of %s starts over: no user, no client, no signed-in account\n",
         root.c_str());
  return 0;
}

}  // namespace vagent::cli
