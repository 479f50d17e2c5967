// SPDX-License-Identifier: Apache-2.0
// velmora-platform remove <package-id>: remove an installed package.
#include <cstdio>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

int run_remove(const Args &args) {
  char *error = nullptr;
  if (const int err = velmora_host_remove_package(args[0].c_str(), &error); err != 0)
    return fail_with(err, error, "cannot remove " + args[0], kCannotWrite);
  if (options().json)
    vcli::JsonOut().str("removed", args[0]).print();
  else
    printf("removed %s\n", args[0].c_str());
  return kExitOk;
}

}  // namespace vplat
