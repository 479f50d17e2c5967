// SPDX-License-Identifier: Apache-2.0
// Velmora tests: an agent whose state was emptied behind its back while the platform account store
// still lists its signed-in account refuses to serve, saying why and how to recover, instead of
// answering from an empty world; a request through the library gets no token.
#include <glib/gstdio.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "account_fixture.hh"

namespace vtest {
namespace {

class AgentLostState : public AccountTest {};

TEST_F(AgentLostState, ATruncatedStateIsRefusedAndTheRequestFails) {
  prepare();
  ASSERT_EQ(token_over_app_control().size(), 43u);
  stop_agent();
  ASSERT_FALSE(running(agent_pid()));

  const std::string db = root_.path_of("agent/state.db");
  ASSERT_EQ(truncate(db.c_str(), 0), 0);
  g_unlink((db + "-wal").c_str());
  g_unlink((db + "-shm").c_str());

  // The launch fails (the agent exits before it listens); no token is handed out. The platform
  // answers the launch request with a failed reply without "error_code", which the library
  // delivers as it delivers every such reply.
  velmora_account_h h = app_control_handle();
  Completion second;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &second), 0);
  ASSERT_TRUE(second.wait());
  EXPECT_EQ(second.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "<unset>") << agent_log();
  const std::string log = agent_log();
  EXPECT_NE(log.find("agent: cannot open its state: AGENT_ERROR_STATE_LOST"), std::string::npos)
      << log;
  EXPECT_NE(log.find("velmora-agent --root " + root_.path() + " reset-state"), std::string::npos)
      << log;
  // The refusing agent never became an empty one: the state is as the truncation left it.
  EXPECT_EQ(log.find("agent: serving as", log.find("AGENT_ERROR_STATE_LOST")), std::string::npos)
      << log;
}

TEST_F(AgentLostState, OverThePortNoConnectionIsMade) {
  prepare();  // the seed made the state and signed the user in: the store lists it
  const std::string db = root_.path_of("agent/state.db");
  ASSERT_EQ(truncate(db.c_str(), 0), 0);
  velmora_account_h h = nullptr;
  const int ret = velmora_account_connect(&h, Connection::cb, &connection_);
  if (ret == 0) {
    connected_.push_back(h);
    ASSERT_TRUE(run_until([this] { return connection_.events > 0; }));
    EXPECT_NE(connection_.last_state, VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED);
  }
  EXPECT_NE(agent_log().find("AGENT_ERROR_STATE_LOST"), std::string::npos) << agent_log();
}

}  // namespace
}  // namespace vtest
