// SPDX-License-Identifier: Apache-2.0
// Velmora tests: signed-in accounts, the default account, and their records in the platform store.
#include <gtest/gtest.h>

#include <cstdlib>

#include "agent_state_fixture.hh"
#include "store_view.hh"

using agent_test::AgentTest;
using agent_test::store_summary;
namespace errc = vagent::errc;

namespace {
constexpr const char *kAgentPkg = "dev.velmora.account";
constexpr const char *kSsoPkg = "dev.velmora.sso";
}  // namespace

class Accounts : public AgentTest {};

TEST_F(Accounts, SignInChecksThePassword) {
  seed("alice", "right", false);
  EXPECT_EQ(state().accounts().sign_in("alice", "wrong").code(), errc::kWrongPassword);
  EXPECT_EQ(state().accounts().sign_in("nobody", "right").code(), errc::kUnknownUser);
  EXPECT_EQ(state().accounts().sign_in("alice", "").code(), errc::kInvalidParameter);
  EXPECT_FALSE(state().accounts().is_signed_in("alice").value());
  auto user = state().accounts().sign_in("alice", "right");
  ASSERT_TRUE(user.ok()) << user.status().describe();
  EXPECT_EQ(user->login_id, "alice");
  EXPECT_TRUE(state().accounts().is_signed_in("alice").value());
}

TEST_F(Accounts, FirstSignedInAccountIsTheDefaultAndIsMirrored) {
  int err = 0;
  agent_test::store_records(kAgentPkg, &err);
  EXPECT_EQ(err, ACCOUNT_ERROR_RECORD_NOT_FOUND);
  seed("alice", "pw");
  seed("bob", "pw");
  EXPECT_EQ(state().accounts().default_account().value(), "alice");
  EXPECT_EQ(store_summary(kAgentPkg), "alice*,bob");
  // Only the default record has the custom key at all.
  auto records = agent_test::store_records(kAgentPkg);
  ASSERT_EQ(records.size(), 2u);
  EXPECT_FALSE(records[1].has_default);
  EXPECT_EQ(store_summary(kSsoPkg), "");
}

TEST_F(Accounts, SetDefaultMovesTheMarkInTheStore) {
  seed("alice", "pw");
  seed("bob", "pw");
  seed("carol", "pw");
  ASSERT_TRUE(state().accounts().set_default("bob").ok());
  EXPECT_EQ(state().accounts().default_account().value(), "bob");
  EXPECT_EQ(store_summary(kAgentPkg), "alice,bob*,carol");
  auto list = state().accounts().list();
  ASSERT_TRUE(list.ok());
  ASSERT_EQ(list->size(), 3u);
  EXPECT_FALSE((*list)[0].is_default);
  EXPECT_TRUE((*list)[1].is_default);
}

TEST_F(Accounts, SetDefaultNeedsASignedInAccount) {
  seed("alice", "pw");
  seed("bob", "pw", false);
  EXPECT_EQ(state().accounts().set_default("bob").code, errc::kNeedSignIn);
  EXPECT_EQ(state().accounts().set_default("nobody").code, errc::kUnknownUser);
  EXPECT_EQ(state().accounts().set_default("").code, errc::kInvalidParameter);
  EXPECT_EQ(store_summary(kAgentPkg), "alice*");
}

TEST_F(Accounts, SigningOutTheDefaultPromotesTheEarliestRemaining) {
  seed("alice", "pw");
  seed("bob", "pw");
  seed("carol", "pw");
  ASSERT_TRUE(state().accounts().sign_out("alice").ok());
  EXPECT_EQ(state().accounts().default_account().value(), "bob");
  EXPECT_EQ(store_summary(kAgentPkg), "bob*,carol");
  ASSERT_TRUE(state().accounts().sign_out("carol").ok());
  ASSERT_TRUE(state().accounts().sign_out("bob").ok());
  EXPECT_EQ(state().accounts().default_account().code(), errc::kNeedSignIn);
  int err = 0;
  agent_test::store_records(kAgentPkg, &err);
  EXPECT_EQ(err, ACCOUNT_ERROR_RECORD_NOT_FOUND);
  EXPECT_FALSE(state().accounts().any_signed_in().value());
}

TEST_F(Accounts, SignOutOfAnAccountNotSignedInIsNeedSignIn) {
  seed("alice", "pw", false);
  EXPECT_EQ(state().accounts().sign_out("alice").code, errc::kNeedSignIn);
  EXPECT_EQ(state().accounts().sign_out("").code, errc::kInvalidParameter);
}

TEST_F(Accounts, SigningInAgainKeepsPlaceAndMark) {
  seed("alice", "pw");
  seed("bob", "pw");
  ASSERT_TRUE(state().accounts().sign_in("alice", "pw").ok());
  ASSERT_TRUE(state().accounts().sign_in("bob", "pw").ok());
  EXPECT_EQ(store_summary(kAgentPkg), "alice*,bob");
  EXPECT_EQ(state().accounts().list()->size(), 2u);
}

TEST_F(Accounts, RequireSignedInTellsUnknownFromSignedOut) {
  seed("alice", "pw", false);
  EXPECT_EQ(state().accounts().require_signed_in("alice").code, errc::kNeedSignIn);
  EXPECT_EQ(state().accounts().require_signed_in("nobody").code, errc::kUnknownUser);
  EXPECT_EQ(state().accounts().require_signed_in("").code, errc::kInvalidParameter);
  ASSERT_TRUE(state().accounts().sign_in("alice", "pw").ok());
  EXPECT_TRUE(state().accounts().require_signed_in("alice").ok());
}

TEST_F(Accounts, StoreRecordsChangedBehindTheAgentsBackAreRepaired) {
  seed("alice", "pw");
  seed("bob", "pw");
  ASSERT_EQ(account_delete_from_db_by_user_name("alice", kAgentPkg), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(store_summary(kAgentPkg), "bob");
  ASSERT_TRUE(state().accounts().sync_store().ok());
  EXPECT_EQ(store_summary(kAgentPkg), "alice*,bob");
}

TEST_F(Accounts, ExactlyOneDefaultWhateverTheOrderOfChanges) {
  seed("alice", "pw");
  seed("bob", "pw");
  seed("carol", "pw");
  auto defaults = [this] {
    auto list = state().accounts().list();
    int n = 0;
    for (const auto &a : list.value()) n += a.is_default ? 1 : 0;
    return n;
  };
  ASSERT_TRUE(state().accounts().set_default("carol").ok());
  EXPECT_EQ(defaults(), 1);
  ASSERT_TRUE(state().accounts().sign_out("carol").ok());
  EXPECT_EQ(defaults(), 1);
  EXPECT_EQ(store_summary(kAgentPkg), "alice*,bob");
  ASSERT_TRUE(state().accounts().set_default("bob").ok());
  ASSERT_TRUE(state().accounts().set_default("bob").ok());
  EXPECT_EQ(defaults(), 1);
  EXPECT_EQ(store_summary(kAgentPkg), "alice,bob*");
}

TEST_F(Accounts, SetDefaultThatTheStoreRefusesChangesNeither) {
  seed("alice", "pw");
  seed("bob", "pw");
  // An application that is not an account service may not write the store; as such the agent's
  // change must leave its own state as it was.
  root_.install_package("other.app", {{"other.app", "service", "/bin/true"}});
  setenv("VELMORA_APP_ID", "other.app", 1);
  vagent::Status st = state().accounts().set_default("bob");
  unsetenv("VELMORA_APP_ID");
  EXPECT_EQ(st.code, errc::kPermissionDenied) << st.describe();
  EXPECT_EQ(state().accounts().default_account().value(), "alice");
  EXPECT_EQ(store_summary(kAgentPkg), "alice*,bob");
}

TEST_F(Accounts, TheDefaultSurvivesReopeningTheState) {
  seed("alice", "pw");
  seed("bob", "pw");
  ASSERT_TRUE(state().accounts().set_default("bob").ok());
  state_.reset();
  auto reopened = vagent::AgentState::open(root_.path());
  ASSERT_TRUE(reopened.ok()) << reopened.status().describe();
  EXPECT_EQ(reopened.value()->accounts().default_account().value(), "bob");
  EXPECT_EQ(store_summary(kAgentPkg), "alice,bob*");
}

class AccountsOnTv : public AgentTest {
 protected:
  void SetUp() override {
    root_.set_profile("tv");
    AgentTest::SetUp();
  }
};

TEST_F(AccountsOnTv, AccountsGoUnderTheSsoPackageDefaultFirst) {
  seed("alice", "pw");
  seed("bob", "pw");
  EXPECT_EQ(store_summary(kSsoPkg), "alice*,bob");
  EXPECT_EQ(store_summary(kAgentPkg), "");
  ASSERT_TRUE(state().accounts().set_default("bob").ok());
  // The first record is the default one on a TV.
  EXPECT_EQ(store_summary(kSsoPkg), "bob*,alice");
  ASSERT_TRUE(state().accounts().sign_out("bob").ok());
  EXPECT_EQ(store_summary(kSsoPkg), "alice*");
}
