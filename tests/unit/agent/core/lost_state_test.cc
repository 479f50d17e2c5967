// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a state that was emptied or replaced behind the agent's back, or that does not
// know the accounts the platform account store lists, is refused with the way out; starting over
// makes a new, empty state.
#include "lost_state.hh"

#include <glib.h>
#include <glib/gstdio.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "account_store.h"
#include "agent_state.hh"
#include "identity.hh"
#include "platform_root.hh"
#include "store_mirror.hh"
#include "store_view.hh"

namespace errc = vagent::errc;

namespace {

constexpr const char *kPkg = "dev.velmora.account";

class LostState : public ::testing::Test {
 protected:
  // A state with `login` signed in (so the platform store lists it); closed again.
  void seed(const std::string &login) {
    auto state = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(state.ok()) << state.status().describe();
    vagent::NewUser u;
    u.login_id = login;
    u.password = "pw";
    ASSERT_TRUE(state.value()->users().create(u).ok());
    ASSERT_TRUE(state.value()->accounts().sign_in_verified(login).ok());
  }
  std::string db() const { return root_.path_of("agent/state.db"); }
  void remove_database() {
    for (const char *suffix : {"", "-wal", "-shm"}) g_unlink((db() + suffix).c_str());
  }
  void expect_lost(const std::string &what) {
    auto state = vagent::AgentState::open(root_.path());
    ASSERT_FALSE(state.ok());
    EXPECT_EQ(state.code(), errc::kStateLost) << state.status().describe();
    const std::string &message = state.status().message;
    EXPECT_NE(message.find(what), std::string::npos) << message;
    EXPECT_NE(message.find("velmora-agent --root " + root_.path() + " reset-state"),
              std::string::npos)
        << message;
  }
  vtest::PlatformRoot root_;
};

}  // namespace

TEST_F(LostState, ANewStateRecordsItsIdentityOutsideTheDatabase) {
  auto state = vagent::AgentState::open(root_.path());
  ASSERT_TRUE(state.ok());
  auto identity = vagent::read_identity(state.value()->db());
  ASSERT_TRUE(identity.ok() && identity.value().has_value());
  EXPECT_EQ(identity.value()->instance.size(), 32u);
  EXPECT_EQ(vagent::read_identity_witness(root_.path()), identity.value()->instance);
  struct stat st;
  ASSERT_EQ(stat(vagent::identity_witness_path(root_.path()).c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  state.value().reset();
  EXPECT_TRUE(vagent::AgentState::open(root_.path()).ok());  // the same state again
}

TEST_F(LostState, AStateTruncatedToNothingIsRefused) {
  seed("alice");
  ASSERT_EQ(truncate(db().c_str(), 0), 0);
  g_unlink((db() + "-wal").c_str());
  g_unlink((db() + "-shm").c_str());
  expect_lost("the database was emptied or replaced");
  // Refused again on the next start: the refusal leaves nothing that would pass.
  expect_lost("the database was emptied or replaced");
  EXPECT_EQ(agent_test::store_summary(kPkg), "alice*");
}

TEST_F(LostState, AStateOfAnotherRootIsRefused) {
  seed("alice");
  std::string bytes;
  {
    vtest::PlatformRoot other;  // the current root until the end of the block
    { ASSERT_TRUE(vagent::AgentState::open(other.path()).ok()); }
    gchar *data = nullptr;
    gsize len = 0;
    ASSERT_TRUE(g_file_get_contents(other.path_of("agent/state.db").c_str(), &data, &len, nullptr));
    bytes.assign(data, len);
    g_free(data);
  }
  remove_database();
  ASSERT_TRUE(
      g_file_set_contents(db().c_str(), bytes.data(), static_cast<gssize>(bytes.size()), nullptr));
  expect_lost("names instance");
}

TEST_F(LostState, AnEmptyStateUnderSignedInAccountsIsRefusedEvenWithoutItsIdentityRecord) {
  seed("alice");
  seed("bob");
  remove_database();
  ASSERT_EQ(g_unlink(vagent::identity_witness_path(root_.path()).c_str()), 0);
  expect_lost("lists 2 signed-in account(s) that the agent's state");
  expect_lost("(alice, bob)");
}

TEST_F(LostState, StoreRecordsOfKnownUsersAreNoLoss) {
  seed("alice");
  ASSERT_TRUE(vagent::AgentState::open(root_.path()).ok());
  // A record the agent did not write, of a user it knows (a sign-out whose store update failed).
  {
    auto state = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(state.ok());
    vagent::NewUser u;
    u.login_id = "bob";
    u.password = "pw";
    ASSERT_TRUE(state.value()->users().create(u).ok());
  }
  ASSERT_TRUE(vagent::mirror_to_store(kPkg, {{"alice", true}, {"bob", false}}).ok());
  EXPECT_TRUE(vagent::AgentState::open(root_.path()).ok());
}

TEST_F(LostState, StartingOverMakesANewEmptyStateAndClearsTheStore) {
  seed("alice");
  ASSERT_EQ(truncate(db().c_str(), 0), 0);
  expect_lost("emptied or replaced");
  ASSERT_TRUE(vagent::reset_state(root_.path()).ok());
  int err = 0;
  agent_test::store_records(kPkg, &err);
  EXPECT_EQ(err, ACCOUNT_ERROR_RECORD_NOT_FOUND);
  auto state = vagent::AgentState::open(root_.path());
  ASSERT_TRUE(state.ok()) << state.status().describe();
  EXPECT_TRUE(state.value()->users().list()->empty());
  EXPECT_FALSE(state.value()->accounts().any_signed_in().value());
}
