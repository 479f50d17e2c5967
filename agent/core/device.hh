// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the device facts that change the agent's behaviour (profile, store package).
#pragma once

#include <cstdint>
#include <string>

namespace vagent {

enum class Profile { kMobile, kWearable, kTv, kUnknown };

// The device profile of the current platform root (system information "profile" key). It is
// asked of the platform once per root, and again only after the root's device configuration
// ("<root>/device.conf") changed.
Profile device_profile();
// How many times the profile was asked of the platform in this process (tests).
uint64_t device_profile_reads();
const char *profile_name(Profile profile);
bool is_tv_profile();

// The device's current MCC from the platform's system information ("" when it is on no network).
std::string device_mcc();

// The platform account store package the agent keeps signed-in accounts under: the SSO service's
// on a TV, the agent's own elsewhere.
const char *store_package();

}  // namespace vagent
