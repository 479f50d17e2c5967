// SPDX-License-Identifier: Apache-2.0
// velmora-platform profile [P]: show the device profile, or set it.
#include <cstdio>
#include <cstdlib>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

int run_profile(const Args &args) {
  char *error = nullptr;
  if (args.empty()) {
    char *profile = nullptr;
    if (const int err = velmora_host_get_profile(&profile, &error); err != 0)
      return fail_with(err, error, "cannot read the device profile", kDamagedDeviceConfig);
    if (options().json)
      vcli::JsonOut().str("profile", profile).print();
    else
      printf("%s\n", profile);
    free(profile);
    return kExitOk;
  }
  if (!known_profile(args[0]))
    return usage_error("unknown profile '" + args[0] + "' (mobile, wearable or tv)");
  if (const int err = velmora_host_set_profile(args[0].c_str(), &error); err != 0)
    return fail_with(err, error, "cannot set the device profile", kCannotWrite);
  if (options().json)
    vcli::JsonOut().str("profile", args[0]).print();
  else
    printf("profile %s\n", args[0].c_str());
  return kExitOk;
}

}  // namespace vplat
