// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the host platform's system information (the device profile).
#include "system_info.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "dlog.h"
#include "log_capture.hh"
#include "platform_root.hh"

namespace {

int read_profile(std::string *out) {
  char *value = nullptr;
  const int ret = system_info_get_platform_string(SYSTEM_INFO_KEY_PROFILE, &value);
  if (value) *out = value;
  free(value);
  return ret;
}

}  // namespace

TEST(SystemInfo, ProfileKeyIsTheFeatureKey) {
  EXPECT_STREQ(SYSTEM_INFO_KEY_PROFILE, "http://velmora.dev/feature/profile");
}

TEST(SystemInfo, RootWithoutDeviceConfigurationIsAMobile) {
  vtest::PlatformRoot root;
  std::filesystem::remove(root.path_of("device.conf"));
  std::string profile;
  EXPECT_EQ(read_profile(&profile), SYSTEM_INFO_ERROR_NONE);
  EXPECT_EQ(profile, "mobile");
}

TEST(SystemInfo, NewRootIsAMobile) {
  vtest::PlatformRoot root;
  std::string profile;
  EXPECT_EQ(read_profile(&profile), 0);
  EXPECT_EQ(profile, "mobile");
}

TEST(SystemInfo, ProfileFollowsTheDeviceConfiguration) {
  vtest::PlatformRoot root;
  for (const char *p : {"tv", "wearable", "mobile", "tvbox"}) {
    root.set_profile(p);
    std::string profile;
    EXPECT_EQ(read_profile(&profile), 0);
    EXPECT_EQ(profile, p);
  }
}

TEST(SystemInfo, DeviceConfigurationIsAKeyFile) {
  vtest::PlatformRoot root;
  std::ofstream(root.path_of("device.conf")) << "# hand-written\n[device]\nprofile=wearable\n";
  std::string profile;
  EXPECT_EQ(read_profile(&profile), 0);
  EXPECT_EQ(profile, "wearable");
}

TEST(SystemInfo, UnknownKeyIsNotSupported) {
  vtest::PlatformRoot root;
  char *value = nullptr;
  EXPECT_EQ(system_info_get_platform_string("http://velmora.dev/feature/other", &value),
            SYSTEM_INFO_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(value, nullptr);
}

TEST(SystemInfo, NullArgumentsAreRefused) {
  char *value = nullptr;
  EXPECT_EQ(system_info_get_platform_string(nullptr, &value), SYSTEM_INFO_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(system_info_get_platform_string(SYSTEM_INFO_KEY_PROFILE, nullptr),
            SYSTEM_INFO_ERROR_INVALID_PARAMETER);
}

TEST(SystemInfo, MalformedDeviceConfigurationIsAClearError) {
  vtest::PlatformRoot root;
  const struct {
    const char *content;
    const char *complaint;
  } cases[] = {
      {"profile=tv\n", "is malformed"},                // no group
      {"[device]\nkind=tv\n", "is malformed"},         // no profile key
      {"[device]\nprofile=\n", "invalid profile ''"},  // empty
      {"[device]\nprofile=TV box\n", "invalid profile 'TV box'"},
      {"not a key file at all\n", "is malformed"},
  };
  for (const auto &c : cases) {
    std::ofstream(root.path_of("device.conf"), std::ios::trunc) << c.content;
    vtest::LogCapture log;
    std::string profile;
    EXPECT_EQ(read_profile(&profile), SYSTEM_INFO_ERROR_IO_ERROR) << c.content;
    EXPECT_TRUE(profile.empty());
    ASSERT_EQ(log.lines().size(), 1u) << log.dump();
    EXPECT_EQ(log.lines()[0].prio, DLOG_ERROR);
    EXPECT_NE(log.lines()[0].message.find(c.complaint), std::string::npos) << log.dump();
    EXPECT_NE(log.lines()[0].message.find("device.conf"), std::string::npos) << log.dump();
  }
}

TEST(SystemInfo, UnreadableDeviceConfigurationIsAnErrorNotACrash) {
  vtest::PlatformRoot root;
  std::filesystem::remove(root.path_of("device.conf"));
  std::filesystem::create_directory(root.path_of("device.conf"));
  vtest::LogCapture log;
  std::string profile;
  EXPECT_EQ(read_profile(&profile), SYSTEM_INFO_ERROR_IO_ERROR);
  ASSERT_EQ(log.lines().size(), 1u) << log.dump();
  EXPECT_NE(log.lines()[0].message.find("cannot read"), std::string::npos) << log.dump();
}
