// SPDX-License-Identifier: Apache-2.0
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
  char *error = nullptr;
  if (const int err = velmora_host_stop_app(args[0].c_str(), kStopTimeoutMs, &error); err != 0)
    return fail_with(err, error, "cannot stop " + args[0]);
  if (options().json)
    vcli::JsonOut().str("stopped", args[0]).print();
  else
    printf("stopped %s\n", args[0].c_str());
  return kExitOk;
}

}  // namespace vplat
