// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a token the agent handed out is in its state on disk before the reply leaves, so
// an agent killed (SIGKILL, no chance to flush anything) right after a reply knows the token when
// it comes back, and the relaunched agent serves on.
#include <gtest/gtest.h>
#include <signal.h>

#include <memory>
#include <string>
#include <vector>

#include "account_fixture.hh"

namespace vtest {
namespace {

class AgentDurability : public AccountTest {
 protected:
  // An access token over a new connection to the port for the seeded user; expects it to be
  // granted. Each connection has its own events (an earlier one is told of its agent's death).
  std::string token_over_port() {
    connections_.push_back(std::make_unique<Connection>());
    Connection *events = connections_.back().get();
    velmora_account_h h = nullptr;
    EXPECT_EQ(velmora_account_connect(&h, Connection::cb, events), 0);
    if (h == nullptr) return "";
    connected_.push_back(h);
    EXPECT_TRUE(run_until([events] { return events->events > 0; }));
    EXPECT_EQ(events->last_state, VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED);
    fill(h, true, "read");
    Completion done;
    EXPECT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
    EXPECT_TRUE(done.wait());
    EXPECT_EQ(done.result, 0);
    return done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN);
  }

  // What the state on disk says of `token`, read by a connection of its own.
  int validate(const std::string &token) {
    auto state = vagent::AgentState::open(root_.path());
    EXPECT_TRUE(state.ok()) << state.status().describe();
    if (!state.ok()) return vagent::errc::kDbFailed;
    return state.value()->tokens().validate(token).code();
  }

  std::vector<std::unique_ptr<Connection>> connections_;
};

TEST_F(AgentDurability, TokensHandedOutSurviveAKilledAgent) {
  prepare();
  std::vector<std::string> tokens;
  for (int round = 0; round < 4; ++round) {
    const std::string token = round % 2 == 0 ? token_over_app_control() : token_over_port();
    ASSERT_EQ(token.size(), 43u) << agent_log();
    const pid_t pid = agent_pid();
    ASSERT_TRUE(running(pid));
    // At once after the reply: nothing the agent might still have done later gets a chance.
    kill_agent(SIGKILL);
    ASSERT_FALSE(running(pid));
    tokens.push_back(token);
    EXPECT_EQ(validate(token), vagent::errc::kNone) << "round " << round;
  }
  // The next request relaunches the agent, which serves from the same state; every earlier token
  // is still known (no grant was lost or undone by the kills).
  ASSERT_EQ(token_over_app_control().size(), 43u) << agent_log();
  for (size_t i = 0; i < tokens.size(); ++i)
    EXPECT_EQ(validate(tokens[i]), vagent::errc::kNone) << i;
}

}  // namespace
}  // namespace vtest
