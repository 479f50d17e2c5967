// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent-installed probe (each test runs in its own process: fresh caches).
#include <gtest/gtest.h>

#include "dlog.h"
#include "log_capture.hh"
#include "platform_root.hh"
#include "va_base.h"

using vtest::kVaTag;

TEST(AgentInstalledProbe, MissingAgentIsNotInstalled) {
  vtest::PlatformRoot root;
  vtest::LogCapture log;
  EXPECT_FALSE(va_is_agent_installed());
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[is_agent_installed]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[is_agent_installed] <<<< ended")) << log.dump();
}

TEST(AgentInstalledProbe, InstalledAgentIsFound) {
  vtest::PlatformRoot root;
  root.install_agent(5);
  EXPECT_TRUE(va_is_agent_installed());
}

TEST(AgentInstalledProbe, AgentWithoutMetadataIsInstalled) {
  vtest::PlatformRoot root;
  root.install_agent_without_metadata();
  EXPECT_TRUE(va_is_agent_installed());
}

TEST(AgentInstalledProbe, OtherPackagesDoNotCount) {
  vtest::PlatformRoot root;
  root.install_package("dev.velmora.other", {{"dev.velmora.other", "service", "/bin/true"}});
  EXPECT_FALSE(va_is_agent_installed());
}

TEST(AgentInstalledProbe, MissingAgentIsAskedAgainAndFoundOnceInstalled) {
  vtest::PlatformRoot root;
  EXPECT_FALSE(va_is_agent_installed());
  root.install_agent(5);
  vtest::LogCapture log;
  EXPECT_TRUE(va_is_agent_installed());
  EXPECT_EQ(log.count("[is_agent_installed]"), 1) << log.dump();
}

TEST(AgentInstalledProbe, FoundAgentIsCachedAndLogsNothingMore) {
  vtest::PlatformRoot root;
  root.install_agent(5);
  ASSERT_TRUE(va_is_agent_installed());
  root.remove_package(vtest::PlatformRoot::kAgentAppId);
  vtest::LogCapture log;
  EXPECT_TRUE(va_is_agent_installed());  // from the cache: the platform is not asked again
  EXPECT_TRUE(log.lines().empty()) << log.dump();
}
