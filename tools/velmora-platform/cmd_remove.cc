// velmora-platform remove <package-id>: remove an installed package.
#include <cstdio>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

int run_remove(const Args &args) {
  if (args.empty()) return usage_error("remove", "no package id given");
  if (args.size() > 1) return usage_error("remove", "too many arguments");
  char *error = nullptr;
  if (velmora_host_remove_package(args[0].c_str(), &error) != 0)
    return fail_with(error, "cannot remove " + args[0]);
  printf("removed %s\n", args[0].c_str());
  return kExitOk;
}

}  // namespace vplat
