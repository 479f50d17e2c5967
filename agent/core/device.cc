// SPDX-License-Identifier: Apache-2.0
// Velmora agent: device profile and store package, read from the platform's system information.
#include "device.hh"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>

#include "config.hh"
#include "file_watch.hh"
#include "system_info.h"
#include "velmora_host.h"

namespace vagent {

namespace {

// The platform keeps the device profile in this file of the root.
constexpr const char *kDeviceConfigFile = "device.conf";

Profile read_profile() {
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

struct ProfileCache {
  std::mutex mutex;
  std::string root;
  std::unique_ptr<WatchedFile> watch;
  Profile profile = Profile::kUnknown;
  uint64_t reads = 0;
};

ProfileCache &cache() {
  static ProfileCache c;
  return c;
}

}  // namespace

Profile device_profile() {
  ProfileCache &c = cache();
  std::lock_guard<std::mutex> lock(c.mutex);
  const char *root = velmora_host_root();
  if (!c.watch || c.root != (root ? root : "")) {
    c.root = root ? root : "";
    c.watch = std::make_unique<WatchedFile>(c.root + "/" + kDeviceConfigFile);
  }
  if (c.watch->changed()) {
    ++c.reads;
    c.profile = read_profile();
  }
  return c.profile;
}

uint64_t device_profile_reads() {
  std::lock_guard<std::mutex> lock(cache().mutex);
  return cache().reads;
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

std::string device_mcc() {
  char *value = nullptr;
  std::string mcc;
  if (system_info_get_platform_string(SYSTEM_INFO_KEY_MCC, &value) == SYSTEM_INFO_ERROR_NONE &&
      value)
    mcc = value;
  free(value);
  return mcc;
}

const char *store_package() { return is_tv_profile() ? kSsoServicePackageId : kAgentAppId; }

}  // namespace vagent
