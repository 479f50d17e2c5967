// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the state's WAL is checkpointed when the agent is idle, never by a committing
// request below the bound, and its size stays bounded under load that never pauses. Tokens are
// committed before they are handed out.
#include <glib.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "agent_state_fixture.hh"
#include "idle_checkpoint.hh"
#include "main_loop.hh"

using agent_test::AgentTest;

namespace {

int64_t file_size(const std::string &path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 ? static_cast<int64_t>(st.st_size) : -1;
}

}  // namespace

class Wal : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("alice", "pw");
    client("app.one", false, {"read"});
  }
  bool issue() {
    vagent::TokenRequest r;
    r.login_id = "alice";
    r.client_id = "app.one";
    return state().tokens().issue(r).ok();
  }
  std::string db_path() { return root_.path_of("agent/state.db"); }
};

TEST_F(Wal, CommitsDoNotCheckpointBelowTheBound) {
  const int64_t db_before = file_size(db_path());
  for (int i = 0; i < 50; ++i) ASSERT_TRUE(issue());
  EXPECT_GT(state().db().wal_pages(), 0);
  EXPECT_LT(state().db().wal_pages(), vagent::kWalMaxPages);
  // Nothing was copied into the database file by the requests.
  EXPECT_EQ(file_size(db_path()), db_before);
}

TEST_F(Wal, AnIdleAgentCheckpointsOnceAfterItsLastCommit) {
  vagent::IdleCheckpoint idle(state().db(), 20);
  EXPECT_FALSE(idle.armed());  // nothing committed yet: no timer
  const int64_t db_before = file_size(db_path());
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(issue());
  EXPECT_TRUE(idle.armed());
  EXPECT_EQ(idle.checkpoints(), 0u);
  ASSERT_TRUE(vtest::run_until([&] { return idle.checkpoints() == 1; }));
  EXPECT_FALSE(idle.armed());
  EXPECT_GT(file_size(db_path()), db_before);  // the pages went into the database file
  // After the checkpoint the next commit starts the WAL again from its beginning.
  ASSERT_TRUE(issue());
  EXPECT_LT(state().db().wal_pages(), 20);
  EXPECT_TRUE(idle.armed());
}

TEST_F(Wal, LoadThatNeverPausesCannotGrowTheWalPastItsBound) {
  int most = 0;
  int64_t largest_file = 0;
  const std::string wal = db_path() + "-wal";
  // Enough grants to fill the bound three times over.
  for (int i = 0; i < 3 * vagent::kWalMaxPages / 2; ++i) {
    ASSERT_TRUE(issue());
    most = std::max(most, state().db().wal_pages());
    largest_file = std::max(largest_file, file_size(wal));
  }
  EXPECT_GE(most, vagent::kWalMaxPages);  // the bound was reached ...
  // ... and never passed by more than one transaction.
  EXPECT_LE(most, vagent::kWalMaxPages + 16);
  EXPECT_LE(largest_file, int64_t{vagent::kWalMaxPages + 16} * (4096 + 24) + 32);
}

// A token is in the database before the call that hands it out returns: another connection (as
// after a crash of this one) finds it.
TEST_F(Wal, AGrantIsCommittedBeforeItIsHandedOut) {
  vagent::TokenRequest r;
  r.login_id = "alice";
  r.client_id = "app.one";
  auto g = state().tokens().issue(r);
  ASSERT_TRUE(g.ok());
  auto other = vagent::AgentState::open(root_.path());
  ASSERT_TRUE(other.ok());
  other.value()->set_clock([this] { return now_; });
  auto found = other.value()->tokens().validate(g->access_token);
  EXPECT_TRUE(found.ok()) << found.status().describe();
}
