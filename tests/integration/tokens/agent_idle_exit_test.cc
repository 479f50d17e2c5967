// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent launched on demand exits when idle (VELMORA_AGENT_IDLE_MS) and is
// launched again by the next request, with nothing lost; a connected client keeps it running.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "account_fixture.hh"

namespace vtest {
namespace {

class AgentIdleExit : public AccountTest {
 protected:
  void SetUp() override { setenv("VELMORA_AGENT_IDLE_MS", "100", 1); }
  void TearDown() override {
    unsetenv("VELMORA_AGENT_IDLE_MS");
    AccountTest::TearDown();
  }
};

TEST_F(AgentIdleExit, IdleAgentExitsAndTheNextRequestLaunchesItWithItsStateKept) {
  prepare();
  const std::string token = token_over_app_control();
  ASSERT_EQ(token.size(), 43u);
  const std::string exiting = "I/VELMORA_AGENT: agent: idle for 100 ms, exiting";
  ASSERT_TRUE(run_until([&] { return agent_log().find(exiting) != std::string::npos; }))
      << agent_log();
  // The retired agent leaves no pid file and ends.
  ASSERT_TRUE(run_until([&] { return agent_pid() == 0; }));

  // Launched again by the next request, it knows the token it handed out before.
  velmora_account_h h = app_control_handle();
  Completion last;
  ASSERT_EQ(velmora_account_get_last_access_token(h, Completion::cb, &last), 0);
  ASSERT_TRUE(last.wait());
  ASSERT_EQ(last.result, 0);
  EXPECT_EQ(last.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), token);
  const std::string log = agent_log();
  const size_t first_start = log.find("agent: serving as");
  ASSERT_NE(first_start, std::string::npos) << log;
  EXPECT_NE(log.find("agent: serving as", first_start + 1), std::string::npos) << log;
}

TEST_F(AgentIdleExit, ConnectedClientKeepsTheAgentRunningUntilItDisconnects) {
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  const pid_t pid = agent_pid();
  ASSERT_GT(pid, 0);
  // Many idle periods pass while the client stays connected.
  run_until([] { return false; }, 1000);
  EXPECT_TRUE(running(pid)) << agent_log();
  velmora_account_disconnect(h);
  connected_.clear();
  EXPECT_TRUE(run_until([pid] { return !running(pid); })) << agent_log();
}

}  // namespace
}  // namespace vtest
