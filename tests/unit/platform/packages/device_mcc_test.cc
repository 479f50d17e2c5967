// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the device's current MCC in the platform's device settings, read as system
// information.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "platform_root.hh"
#include "system_info.h"
#include "velmora_host.h"

namespace {

// The MCC as system information: its value, or "<error N>".
std::string mcc_info() {
  char *value = nullptr;
  const int ret = system_info_get_platform_string(SYSTEM_INFO_KEY_MCC, &value);
  if (ret != SYSTEM_INFO_ERROR_NONE) return "<error " + std::to_string(ret) + ">";
  std::string out = value;
  free(value);
  return out;
}

std::string profile_info() {
  char *value = nullptr;
  if (system_info_get_platform_string(SYSTEM_INFO_KEY_PROFILE, &value) != SYSTEM_INFO_ERROR_NONE)
    return "<error>";
  std::string out = value;
  free(value);
  return out;
}

}  // namespace

TEST(DeviceMcc, ADeviceOnNoNetworkHasNoMcc) {
  vtest::PlatformRoot root;
  EXPECT_EQ(mcc_info(), "<error " + std::to_string(SYSTEM_INFO_ERROR_NO_DATA) + ">");
  char *mcc = nullptr;
  char *error = nullptr;
  ASSERT_EQ(velmora_host_get_mcc(&mcc, &error), 0);
  EXPECT_STREQ(mcc, "");
  free(mcc);
}

TEST(DeviceMcc, SetReadAndClearedKeepingTheProfile) {
  vtest::PlatformRoot root;
  root.set_profile("tv");
  char *error = nullptr;
  ASSERT_EQ(velmora_host_set_mcc("450", &error), 0) << (error ? error : "");
  EXPECT_EQ(mcc_info(), "450");
  EXPECT_EQ(profile_info(), "tv");
  root.set_profile("wearable");
  EXPECT_EQ(mcc_info(), "450");  // setting the profile keeps the MCC
  ASSERT_EQ(velmora_host_set_mcc("", &error), 0);
  EXPECT_EQ(mcc_info(), "<error " + std::to_string(SYSTEM_INFO_ERROR_NO_DATA) + ">");
  EXPECT_EQ(profile_info(), "wearable");
}

TEST(DeviceMcc, OnlyThreeDigitsAreAnMcc) {
  vtest::PlatformRoot root;
  char *error = nullptr;
  for (const char *bad : {"45", "4500", "45a", " 450"}) {
    EXPECT_EQ(velmora_host_set_mcc(bad, &error), -22) << bad;
    ASSERT_NE(error, nullptr);
    EXPECT_NE(std::string(error).find("three digits"), std::string::npos) << error;
    free(error);
    error = nullptr;
  }
  EXPECT_EQ(mcc_info(), "<error " + std::to_string(SYSTEM_INFO_ERROR_NO_DATA) + ">");
}

TEST(DeviceMcc, AnUnparsableDeviceConfigurationIsWrittenAnew) {
  vtest::PlatformRoot root;
  std::ofstream(root.path_of("device.conf")) << "this is not a key file\n";
  EXPECT_EQ(mcc_info(), "<error " + std::to_string(SYSTEM_INFO_ERROR_IO_ERROR) + ">");
  char *error = nullptr;
  ASSERT_EQ(velmora_host_set_mcc("450", &error), 0) << (error ? error : "");
  EXPECT_EQ(mcc_info(), "450");
  EXPECT_EQ(profile_info(), "mobile");
}
