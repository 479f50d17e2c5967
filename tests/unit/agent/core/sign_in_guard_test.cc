// SPDX-License-Identifier: Apache-2.0
// Velmora tests: wrong passwords lock a login id for a while.
#include <gtest/gtest.h>

#include "agent_state_fixture.hh"
#include "config.hh"

using agent_test::AgentTest;
namespace errc = vagent::errc;

class SignInGuard : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("alice", "right", false);
  }
  vagent::SignInGuard &guard() { return state().sign_in_guard(); }
  void fail_times(int n) {
    for (int i = 0; i < n; ++i)
      ASSERT_EQ(guard().check_password("alice", "wrong").code, errc::kWrongPassword) << i;
  }
};

TEST_F(SignInGuard, TheFailureThatReachesTheLimitLocksTheLoginId) {
  fail_times(vagent::kMaxPasswordFailures - 1);
  EXPECT_EQ(guard().failures("alice").value(), vagent::kMaxPasswordFailures - 1);
  EXPECT_EQ(guard().check_password("alice", "wrong").code, errc::kAccountLocked);
  EXPECT_EQ(guard().locked_until("alice").value(), now_ + vagent::kLockoutSeconds);
}

TEST_F(SignInGuard, ALockedLoginIdRefusesEvenTheRightPasswordUntilTheLockRunsOut) {
  fail_times(vagent::kMaxPasswordFailures - 1);
  ASSERT_EQ(guard().check_password("alice", "wrong").code, errc::kAccountLocked);
  EXPECT_EQ(guard().check_password("alice", "right").code, errc::kAccountLocked);
  EXPECT_EQ(state().sign_in().with_password("alice", "right").code(), errc::kAccountLocked);
  EXPECT_EQ(state().confirm_user("alice", "right").code, errc::kAccountLocked);
  now_ += vagent::kLockoutSeconds;
  EXPECT_TRUE(guard().check_password("alice", "right").ok());
  EXPECT_EQ(guard().locked_until("alice").value(), 0);
  EXPECT_EQ(guard().failures("alice").value(), 0);
}

TEST_F(SignInGuard, ARightPasswordClearsTheCount) {
  fail_times(vagent::kMaxPasswordFailures - 1);
  EXPECT_TRUE(guard().check_password("alice", "right").ok());
  EXPECT_EQ(guard().failures("alice").value(), 0);
  fail_times(vagent::kMaxPasswordFailures - 1);
}

TEST_F(SignInGuard, FailuresOutsideTheWindowStartTheCountAfresh) {
  fail_times(vagent::kMaxPasswordFailures - 1);
  now_ += vagent::kPasswordFailureWindow;
  fail_times(vagent::kMaxPasswordFailures - 1);
  EXPECT_EQ(guard().failures("alice").value(), vagent::kMaxPasswordFailures - 1);
}

TEST_F(SignInGuard, OneLoginIdsLockLeavesOthersAlone) {
  seed("bob", "right", false);
  fail_times(vagent::kMaxPasswordFailures - 1);
  ASSERT_EQ(guard().check_password("alice", "wrong").code, errc::kAccountLocked);
  EXPECT_TRUE(guard().check_password("bob", "right").ok());
}

TEST_F(SignInGuard, UnknownLoginIdsAreNotCounted) {
  for (int i = 0; i < vagent::kMaxPasswordFailures + 1; ++i)
    EXPECT_EQ(guard().check_password("nobody", "x").code, errc::kUnknownUser);
  EXPECT_EQ(guard().failures("nobody").value(), 0);
}

TEST_F(SignInGuard, UnlockForgetsTheLock) {
  fail_times(vagent::kMaxPasswordFailures - 1);
  ASSERT_EQ(guard().check_password("alice", "wrong").code, errc::kAccountLocked);
  ASSERT_TRUE(guard().unlock("alice").ok());
  EXPECT_TRUE(guard().check_password("alice", "right").ok());
}

TEST_F(SignInGuard, EmptyValuesAreInvalid) {
  EXPECT_EQ(guard().check_password("", "x").code, errc::kInvalidParameter);
  EXPECT_EQ(guard().check_password("alice", "").code, errc::kInvalidParameter);
}
