// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the TV and wearable probes (each test runs in its own process: fresh caches).
#include <gtest/gtest.h>

#include <fstream>

#include "dlog.h"
#include "log_capture.hh"
#include "platform_root.hh"
#include "va_base.h"

using vtest::kVaTag;

TEST(TvProbe, TvProfileIsATv) {
  vtest::PlatformRoot root;
  root.set_profile("tv");
  vtest::LogCapture log;
  EXPECT_TRUE(va_is_tv_profile());
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[is_tv_profile]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "norvik_profile [tv] TRUE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[is_tv_profile] <<<< ended")) << log.dump();
}

TEST(TvProbe, MobileIsNotATv) {
  vtest::PlatformRoot root;
  root.set_profile("mobile");
  vtest::LogCapture log;
  EXPECT_FALSE(va_is_tv_profile());
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "norvik_profile [mobile] FALSE")) << log.dump();
}

TEST(TvProbe, WearableIsNotATv) {
  vtest::PlatformRoot root;
  root.set_profile("wearable");
  vtest::LogCapture log;
  EXPECT_FALSE(va_is_tv_profile());
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "norvik_profile [wearable] FALSE")) << log.dump();
}

TEST(TvProbe, AWordThatBeginsWithTvIsNotATv) {
  vtest::PlatformRoot root;
  root.set_profile("tvbox");
  vtest::LogCapture log;
  EXPECT_FALSE(va_is_tv_profile());
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "norvik_profile [tvbox] FALSE")) << log.dump();
}

TEST(TvProbe, RootWithoutDeviceConfigurationIsAMobile) {
  vtest::PlatformRoot root;
  std::remove(root.path_of("device.conf").c_str());
  vtest::LogCapture log;
  EXPECT_FALSE(va_is_tv_profile());
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "norvik_profile [mobile] FALSE")) << log.dump();
}

TEST(TvProbe, AnswerIsCachedAndLogsNothingMore) {
  vtest::PlatformRoot root;
  root.set_profile("tv");
  ASSERT_TRUE(va_is_tv_profile());
  root.set_profile("mobile");
  vtest::LogCapture log;
  EXPECT_TRUE(va_is_tv_profile());
  EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST(TvProbe, NotATvIsCachedToo) {
  vtest::PlatformRoot root;
  ASSERT_FALSE(va_is_tv_profile());
  root.set_profile("tv");
  EXPECT_FALSE(va_is_tv_profile());
}

TEST(TvProbe, UnreadableDeviceConfigurationIsNotATvAndIsAskedAgain) {
  vtest::PlatformRoot root;
  std::ofstream(root.path_of("device.conf")) << "this is not a key file\n";
  vtest::LogCapture log;
  EXPECT_FALSE(va_is_tv_profile());
  EXPECT_TRUE(log.find("system_info_get_platform_string failed [-5]")) << log.dump();
  ASSERT_FALSE(log.lines().empty());
  EXPECT_EQ(log.count("norvik_profile [tv] TRUE"), 0);
  root.set_profile("tv");
  EXPECT_TRUE(va_is_tv_profile());
}

TEST(WearableProbe, WearableProfileIsAWearable) {
  vtest::PlatformRoot root;
  root.set_profile("wearable");
  vtest::LogCapture log;
  EXPECT_TRUE(va_is_wearable_profile());
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[is_wearable_profile]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "norvik_profile [wearable] TRUE")) << log.dump();
}

TEST(WearableProbe, OtherProfilesAreNotWearableAndLogNoVerdict) {
  vtest::PlatformRoot root;
  for (const char *profile : {"mobile", "tv", "wearable2"}) {
    root.set_profile(profile);
    vtest::LogCapture log;
    EXPECT_FALSE(va_is_wearable_profile()) << profile;
    ASSERT_EQ(log.lines().size(), 1u) << log.dump();
    EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[is_wearable_profile]"));
  }
}

TEST(WearableProbe, AnswerIsNotCached) {
  vtest::PlatformRoot root;
  root.set_profile("wearable");
  EXPECT_TRUE(va_is_wearable_profile());
  root.set_profile("mobile");
  EXPECT_FALSE(va_is_wearable_profile());
  root.set_profile("wearable");
  EXPECT_TRUE(va_is_wearable_profile());
}
