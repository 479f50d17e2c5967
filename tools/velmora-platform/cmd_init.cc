// velmora-platform init [--profile P]: create the platform root.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

int run_init(const Args &args) {
  std::string profile;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--profile" && i + 1 < args.size()) {
      profile = args[++i];
    } else if (args[i].rfind("--profile=", 0) == 0) {
      profile = args[i].substr(10);
    } else if (args[i] == "--profile") {
      return usage_error("init", "--profile needs a value");
    } else {
      return usage_error("init", "unexpected argument '" + args[i] + "'");
    }
  }
  if (!profile.empty() && !known_profile(profile))
    return usage_error("init", "unknown profile '" + profile + "' (mobile, wearable or tv)");

  char *error = nullptr;
  if (velmora_host_init_root(profile.empty() ? nullptr : profile.c_str(), &error) != 0)
    return fail_with(error, "cannot create the platform root");
  char *current = nullptr;
  if (velmora_host_get_profile(&current, &error) != 0)
    return fail_with(error, "cannot read the device profile");
  printf("platform root %s (profile %s)\n", velmora_host_root(), current);
  free(current);
  return kExitOk;
}

}  // namespace vplat
