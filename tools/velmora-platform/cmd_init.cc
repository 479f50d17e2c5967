// SPDX-License-Identifier: Apache-2.0
// velmora-platform init [--profile P]: create the platform root.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

int run_init(const Args &) {
  const std::string profile = options().profile ? options().profile : "";
  if (!profile.empty() && !known_profile(profile))
    return usage_error("unknown profile '" + profile + "' (mobile, wearable or tv)");
  char *error = nullptr;
  if (const int err = velmora_host_init_root(profile.empty() ? nullptr : profile.c_str(), &error);
      err != 0)
    return fail_with(err, error, "cannot create the platform root", kCannotWrite);
  char *current = nullptr;
  if (const int err = velmora_host_get_profile(&current, &error); err != 0)
    return fail_with(err, error, "cannot read the device profile", kDamagedDeviceConfig);
  if (options().json)
    vcli::JsonOut().str("root", velmora_host_root()).str("profile", current).print();
  else
    printf("platform root %s (profile %s)\n", velmora_host_root(), current);
  free(current);
  return kExitOk;
}

}  // namespace vplat
