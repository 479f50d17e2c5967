// Velmora agent: device profile and store package, read from the platform's system information.
#include "device.hh"

#include <cstdlib>
#include <cstring>

#include "config.hh"
#include "system_info.h"

namespace vagent {

Profile device_profile() {
  char *value = nullptr;
  Profile profile = Profile::kUnknown;
  if (system_info_get_platform_string(SYSTEM_INFO_KEY_PROFILE, &value) == SYSTEM_INFO_ERROR_NONE &&
      value) {
    if (strcmp(value, "tv") == 0)
      profile = Profile::kTv;
    else if (strcmp(value, "wearable") == 0)
      profile = Profile::kWearable;
    else if (strcmp(value, "mobile") == 0)
      profile = Profile::kMobile;
  }
  free(value);
  return profile;
}

const char *profile_name(Profile profile) {
  switch (profile) {
    case Profile::kMobile:
      return "mobile";
    case Profile::kWearable:
      return "wearable";
    case Profile::kTv:
      return "tv";
    case Profile::kUnknown:
      break;
  }
  return "unknown";
}

bool is_tv_profile() { return device_profile() == Profile::kTv; }

const char *store_package() { return is_tv_profile() ? kSsoServicePackageId : kAgentAppId; }

}  // namespace vagent
