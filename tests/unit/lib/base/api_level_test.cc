// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent API-level probe (each test runs in its own process: fresh caches).
#include <gtest/gtest.h>

#include <string>

#include "dlog.h"
#include "log_capture.hh"
#include "package_manager.h"
#include "platform_root.hh"
#include "va_base.h"

using vtest::kVaTag;
using vtest::PlatformRoot;

namespace {

std::string lower_line(int agent, int capi) {
  return "LOWER_VERSION - agent version is lower than capi level [agent: " + std::to_string(agent) +
         ", capi: " + std::to_string(capi) + "]";
}
std::string success_line(int agent, int capi) {
  return "Sucess to api level check [agent: " + std::to_string(agent) +
         ", capi: " + std::to_string(capi) + "]";
}

}  // namespace

TEST(ApiLevelProbe, LevelsBelowTwoAreNeverLowerAndAskNothing) {
  PlatformRoot root;  // no agent at all: a query would log its failure
  vtest::LogCapture log;
  EXPECT_FALSE(va_is_lower_agent(0));
  EXPECT_FALSE(va_is_lower_agent(1));
  EXPECT_FALSE(va_is_lower_agent(-3));
  ASSERT_EQ(log.lines().size(), 3u) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[is_lower_agent] api_level : 0"));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[is_lower_agent] api_level : 1"));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[is_lower_agent] api_level : -3"));
}

TEST(ApiLevelProbe, LevelThreeAgentIsNotLowerForThreeButLowerForFive) {
  PlatformRoot root;
  root.install_agent(3);
  vtest::LogCapture log;
  EXPECT_FALSE(va_is_lower_agent(3));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, success_line(3, 3))) << log.dump();
  EXPECT_TRUE(va_is_lower_agent(5));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, lower_line(3, 5))) << log.dump();
  EXPECT_FALSE(va_is_lower_agent(2));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, success_line(3, 2))) << log.dump();
}

TEST(ApiLevelProbe, LevelTwoAgentIsLowerForThreeAndFive) {
  PlatformRoot root;
  root.install_agent(2);
  EXPECT_FALSE(va_is_lower_agent(2));
  EXPECT_TRUE(va_is_lower_agent(3));
  EXPECT_TRUE(va_is_lower_agent(5));
}

TEST(ApiLevelProbe, LevelFiveAgentIsNotLowerForTwoThreeOrFive) {
  PlatformRoot root;
  root.install_agent(5);
  vtest::LogCapture log;
  EXPECT_FALSE(va_is_lower_agent(2));
  EXPECT_FALSE(va_is_lower_agent(3));
  EXPECT_FALSE(va_is_lower_agent(5));
  EXPECT_TRUE(va_is_lower_agent(6));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, success_line(5, 5))) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, lower_line(5, 6))) << log.dump();
}

TEST(ApiLevelProbe, AgentWithoutMetadataKeyHasLevelZero) {
  PlatformRoot root;
  root.install_agent_without_metadata();
  vtest::LogCapture log;
  EXPECT_TRUE(va_is_lower_agent(2));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, lower_line(0, 2))) << log.dump();
}

TEST(ApiLevelProbe, MetadataVisitLogsTheKeyAndTheValueFound) {
  PlatformRoot root;
  root.install_package(PlatformRoot::kAgentAppId,
                       {{PlatformRoot::kAgentAppId, "service", "/bin/true"}},
                       {{PlatformRoot::kAgentAppId, "other-key", "x"},
                        {PlatformRoot::kAgentAppId, PlatformRoot::kApiLevelKey, "3"},
                        {PlatformRoot::kAgentAppId, "after-key", "y"}});
  vtest::LogCapture log;
  EXPECT_FALSE(va_is_lower_agent(3));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[_package_info_foreach_cb]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[_app_info_metadata_cb] other-key")) << log.dump();
  EXPECT_TRUE(
      log.has(kVaTag, DLOG_INFO, "[_app_info_metadata_cb] velmora-experience-service-api-level"));
  EXPECT_TRUE(
      log.has(kVaTag, DLOG_INFO, ">> meta key[velmora-experience-service-api-level] value[3]"))
      << log.dump();
  // The walk stops at the level key: the entry after it is never visited.
  EXPECT_EQ(log.count("[_app_info_metadata_cb] after-key"), 0) << log.dump();
  EXPECT_EQ(log.count("[_app_info_metadata_cb] <<<< ended"), 1) << log.dump();
  EXPECT_EQ(log.count("[_package_info_foreach_cb] <<<< ended"), 1) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[is_lower_agent] <<<< ended"));
}

TEST(ApiLevelProbe, SecondCallForALevelAnswersFromTheCacheWithoutComparing) {
  PlatformRoot root;
  root.install_agent(3);
  EXPECT_TRUE(va_is_lower_agent(5));
  root.remove_package(PlatformRoot::kAgentAppId);  // a new query could no longer find the agent
  vtest::LogCapture log;
  EXPECT_TRUE(va_is_lower_agent(5));
  ASSERT_EQ(log.lines().size(), 1u) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[is_lower_agent] api_level : 5"));
}

TEST(ApiLevelProbe, EachLevelHasItsOwnCacheEntry) {
  PlatformRoot root;
  root.install_agent(3);
  EXPECT_FALSE(va_is_lower_agent(3));
  root.install_agent(2);  // a different agent: only levels not yet asked see it
  EXPECT_FALSE(va_is_lower_agent(3));
  EXPECT_TRUE(va_is_lower_agent(4));
}

TEST(ApiLevelProbe, MissingAgentIsNotLowerAndIsAskedAgain) {
  PlatformRoot root;
  vtest::LogCapture log;
  EXPECT_FALSE(va_is_lower_agent(3));
  const std::string failed = "-- package_info_create failed [" +
                             std::to_string(PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE) + "]";
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, failed)) << log.dump();
  root.install_agent(2);
  EXPECT_TRUE(va_is_lower_agent(3));  // nothing was cached for the failed query
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, lower_line(2, 3))) << log.dump();
}

TEST(ApiLevelProbe, OnlyServiceApplicationsAreConsulted) {
  PlatformRoot root;
  root.install_package(PlatformRoot::kAgentAppId,
                       {{PlatformRoot::kAgentUiAppId, "ui", "/bin/true"},
                        {PlatformRoot::kAgentAppId, "service", "/bin/true"}},
                       {{PlatformRoot::kAgentUiAppId, PlatformRoot::kApiLevelKey, "9"}});
  EXPECT_TRUE(va_is_lower_agent(2));  // the UI app's level does not count; the service app has none
}

TEST(ApiLevelProbe, OnlyTheFirstServiceApplicationIsConsulted) {
  PlatformRoot root;
  root.install_package(PlatformRoot::kAgentAppId,
                       {{PlatformRoot::kAgentAppId, "service", "/bin/true"},
                        {"dev.velmora.account.helper", "service", "/bin/true"}},
                       {{PlatformRoot::kAgentAppId, PlatformRoot::kApiLevelKey, "2"},
                        {"dev.velmora.account.helper", PlatformRoot::kApiLevelKey, "9"}});
  vtest::LogCapture log;
  EXPECT_TRUE(va_is_lower_agent(3));
  EXPECT_EQ(log.count("[_package_info_foreach_cb]"), 1) << log.dump();
}

TEST(ApiLevelProbe, NonNumericLevelCountsAsZeroAndTrailingTextIsIgnored) {
  PlatformRoot root;
  root.install_package(PlatformRoot::kAgentAppId,
                       {{PlatformRoot::kAgentAppId, "service", "/bin/true"}},
                       {{PlatformRoot::kAgentAppId, PlatformRoot::kApiLevelKey, "4beta"}});
  EXPECT_FALSE(va_is_lower_agent(4));
  EXPECT_TRUE(va_is_lower_agent(5));
}

TEST(ApiLevelProbe, LevelsBeyondTheCacheAreAskedEachTime) {
  PlatformRoot root;
  root.install_agent(5);
  vtest::LogCapture log;
  EXPECT_TRUE(va_is_lower_agent(9));
  EXPECT_TRUE(va_is_lower_agent(9));
  EXPECT_EQ(log.count(lower_line(5, 9)), 2) << log.dump();
}
