// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the per-root clock offset that moves a running agent's time.
#include "clock_offset.hh"

#include <glib.h>
#include <gtest/gtest.h>

#include "agent_state.hh"
#include "platform_root.hh"

TEST(ClockOffset, AgentTimeIsWallTimePlusTheRootsOffset) {
  vtest::PlatformRoot root;
  auto state = vagent::AgentState::open();
  ASSERT_TRUE(state.ok());
  EXPECT_EQ(vagent::clock_offset(root.path()), 0);
  ASSERT_TRUE(vagent::set_clock_offset(root.path(), 7200).ok());
  EXPECT_EQ(vagent::clock_offset(root.path()), 7200);
  const int64_t before = vagent::Clock::wall();
  const int64_t now = state.value()->now();
  const int64_t after = vagent::Clock::wall();
  EXPECT_GE(now, before + 7200);
  EXPECT_LE(now, after + 7200);
}

TEST(ClockOffset, AnOffsetExpiresTokensOfTheRunningState) {
  vtest::PlatformRoot root;
  auto opened = vagent::AgentState::open();
  ASSERT_TRUE(opened.ok());
  vagent::AgentState &state = *opened.value();
  vagent::NewUser u;
  u.login_id = "alice";
  u.password = "pw";
  ASSERT_TRUE(state.users().create(u).ok());
  ASSERT_TRUE(state.accounts().sign_in("alice", "pw").ok());
  ASSERT_TRUE(state.clients().register_client({"app.one", "", {}, 3600}).ok());
  auto g = state.tokens().issue({"alice", "app.one", "", "", ""});
  ASSERT_TRUE(g.ok());
  EXPECT_TRUE(state.tokens().validate(g->access_token).ok());
  ASSERT_TRUE(vagent::set_clock_offset(root.path(), 3600).ok());
  EXPECT_EQ(state.tokens().validate(g->access_token).code(), vagent::errc::kTokenExpired);
  ASSERT_TRUE(vagent::set_clock_offset(root.path(), 0).ok());
  EXPECT_FALSE(g_file_test(vagent::clock_offset_path(root.path()).c_str(), G_FILE_TEST_EXISTS));
  EXPECT_TRUE(state.tokens().validate(g->access_token).ok());
}

TEST(ClockOffset, MalformedOrOutOfRangeIsRefusedOrIgnored) {
  vtest::PlatformRoot root;
  EXPECT_EQ(vagent::set_clock_offset(root.path(), 11LL * 365 * 24 * 3600).code,
            vagent::errc::kInvalidParameter);
  ASSERT_EQ(g_mkdir_with_parents(root.path_of("agent").c_str(), 0700), 0);
  ASSERT_TRUE(g_file_set_contents(vagent::clock_offset_path(root.path()).c_str(),
                                  "[clock]\noffset_s=soon\n", -1, nullptr));
  EXPECT_EQ(vagent::clock_offset(root.path()), 0);
}
