// Velmora agent: the device facts that change the agent's behaviour (profile, store package).
#pragma once

#include <string>

namespace vagent {

enum class Profile { kMobile, kWearable, kTv, kUnknown };

// The device profile of the current platform root (system information "profile" key).
Profile device_profile();
const char *profile_name(Profile profile);
bool is_tv_profile();

// The platform account store package the agent keeps signed-in accounts under: the SSO service's
// on a TV, the agent's own elsewhere.
const char *store_package();

}  // namespace vagent
