// velmora-platform stop <app-id>: stops a running application (SIGTERM; SIGKILL when it has not
// ended after 5 s).
#include <cstdio>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

namespace {
constexpr int kStopTimeoutMs = 5000;
}

int run_stop(const Args &args) {
  if (args.empty()) return usage_error("stop", "no app id given");
  if (args.size() > 1) return usage_error("stop", "too many arguments");
  char *error = nullptr;
  if (velmora_host_stop_app(args[0].c_str(), kStopTimeoutMs, &error) != 0)
    return fail_with(error, "cannot stop " + args[0]);
  printf("stopped %s\n", args[0].c_str());
  return kExitOk;
}

}  // namespace vplat
