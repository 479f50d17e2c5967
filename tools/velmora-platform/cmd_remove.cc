// velmora-platform remove <package-id>: remove an installed package.
#include <cstdio>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

int run_remove(const Args &args) {
  char *error = nullptr;
  if (velmora_host_remove_package(args[0].c_str(), &error) != 0)
    return fail_with(error, "cannot remove " + args[0]);
  if (options().json)
    vcli::JsonOut().str("removed", args[0]).print();
  else
    printf("removed %s\n", args[0].c_str());
  return kExitOk;
}

}  // namespace vplat
