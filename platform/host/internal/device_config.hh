// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the device configuration of a platform root.
//
// "<root>/device.conf" is a key file:
//
//   [device]
//   profile=mobile
//   mcc=450
//
// Without the file the device is a "mobile" without an MCC (the mobile country code of the network
// it is on; none: no network). The profile of a real device is "mobile", "wearable"
// or "tv"; tests may configure other words (to see that only the exact words count).
#pragma once

#include <string>

namespace vhost {

inline constexpr const char *kDefaultProfile = "mobile";

// A profile word device.conf may hold: 1 to 64 characters, lower-case letters, digits, '-', '_'.
bool device_profile_valid(const std::string &profile);
// One of the profiles of a real device: "mobile", "wearable", "tv".
bool device_profile_known(const std::string &profile);

// Reads the device profile of the current root: kDefaultProfile without device.conf. False with a
// message in *error when the file cannot be read or is malformed (no [device] profile, or a value
// device_profile_valid refuses).
// The file is read when it changed since the last read (file_stamp.hh), not on every call.
bool device_profile_read(std::string *profile, std::string *error);
// How many times this process read device.conf.
unsigned device_profile_reads();

// Sets the profile in device.conf (device_profile_valid), creating the root directory and keeping
// the other settings. False with a message in *error.
bool device_profile_write(const std::string &profile, std::string *error);

// An MCC: three digits.
bool device_mcc_valid(const std::string &mcc);
// The device's current MCC ("" when it has none). False with *error when device.conf cannot be
// read or holds an invalid one.
bool device_mcc_read(std::string *mcc, std::string *error);
// Sets the device's MCC (device_mcc_valid), or removes it with "". Keeps the other settings.
bool device_mcc_write(const std::string &mcc, std::string *error);

}  // namespace vhost
