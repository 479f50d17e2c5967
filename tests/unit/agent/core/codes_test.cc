// SPDX-License-Identifier: Apache-2.0
// Velmora tests: single-use authorization codes and effortless-login codes.
#include <gtest/gtest.h>

#include "agent_state_fixture.hh"
#include "store_view.hh"

using agent_test::AgentTest;
using vagent::CodeKind;
namespace errc = vagent::errc;

class Codes : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("alice", "pw");
    secret_ = client("app.one", true, {"profile.read", "account.read"});
    client("app.two", false, {});
  }
  vagent::CodeRequest request(const std::string &login = "alice",
                              const std::string &client_id = "app.one") {
    vagent::CodeRequest r;
    r.login_id = login;
    r.client_id = client_id;
    return r;
  }
};

TEST_F(Codes, IssuedCodeHasExpiryAndAccountFacts) {
  auto c = state().codes().issue(CodeKind::kAuthCode, request());
  ASSERT_TRUE(c.ok()) << c.status().describe();
  EXPECT_EQ(c->code.size(), 32u);
  EXPECT_EQ(c->expires_in, 600);
  EXPECT_EQ(c->issue_time, agent_test::kStartTime);
  EXPECT_EQ(c->login_id, "alice");
  EXPECT_EQ(c->user_id, state().users().find("alice")->user_id);
  auto other = state().codes().issue(CodeKind::kAuthCode, request());
  ASSERT_TRUE(other.ok());
  EXPECT_NE(other->code, c->code);
}

TEST_F(Codes, ACodeIsGoodForOneRedemptionOnly) {
  auto c = state().codes().issue(CodeKind::kAuthCode, request());
  ASSERT_TRUE(c.ok());
  auto first = state().codes().redeem(CodeKind::kAuthCode, c->code, "app.one", "alice");
  ASSERT_TRUE(first.ok()) << first.status().describe();
  EXPECT_EQ(first->login_id, "alice");
  EXPECT_EQ(first->scope, "profile.read account.read");
  EXPECT_EQ(state().codes().redeem(CodeKind::kAuthCode, c->code, "app.one", "alice").code(),
            errc::kCodeAlreadyUsed);
}

TEST_F(Codes, ACodeIsBoundToItsClientAndAccount) {
  auto c = state().codes().issue(CodeKind::kAuthCode, request());
  ASSERT_TRUE(c.ok());
  EXPECT_EQ(state().codes().redeem(CodeKind::kAuthCode, c->code, "app.two", "").code(),
            errc::kCodeClientMismatch);
  EXPECT_EQ(state().codes().redeem(CodeKind::kAuthCode, c->code, "app.one", "bob").code(),
            errc::kCodeAccountMismatch);
  // A mismatch does not use the code up.
  EXPECT_TRUE(state().codes().redeem(CodeKind::kAuthCode, c->code, "app.one", "").ok());
}

TEST_F(Codes, AnExpiredCodeIsRefused) {
  auto c = state().codes().issue(CodeKind::kAuthCode, request());
  ASSERT_TRUE(c.ok());
  now_ += 600;
  EXPECT_EQ(state().codes().redeem(CodeKind::kAuthCode, c->code, "app.one", "").code(),
            errc::kCodeExpired);
}

TEST_F(Codes, UnknownCodesAndKindsAreUnknownCode) {
  EXPECT_EQ(state().codes().redeem(CodeKind::kAuthCode, "never-issued", "app.one", "").code(),
            errc::kUnknownCode);
  EXPECT_EQ(state().codes().redeem(CodeKind::kAuthCode, "", "app.one", "").code(),
            errc::kInvalidParameter);
  auto c = state().codes().issue(CodeKind::kAuthCode, request());
  ASSERT_TRUE(c.ok());
  EXPECT_EQ(state().codes().redeem(CodeKind::kEffortless, c->code, "", "").code(),
            errc::kUnknownCode);
}

TEST_F(Codes, IssueChecksAccountClientAndScope) {
  EXPECT_EQ(state().codes().issue(CodeKind::kAuthCode, request("", "app.one")).code(),
            errc::kInvalidParameter);
  EXPECT_EQ(state().codes().issue(CodeKind::kAuthCode, request("nobody")).code(),
            errc::kUnknownUser);
  EXPECT_EQ(state().codes().issue(CodeKind::kAuthCode, request("alice", "app.none")).code(),
            errc::kUnknownClient);
  seed("bob", "pw", false);
  EXPECT_EQ(state().codes().issue(CodeKind::kEffortless, request("bob")).code(), errc::kNeedSignIn);
  auto r = request();
  r.scope = "account.write";
  EXPECT_EQ(state().codes().issue(CodeKind::kAuthCode, r).code(), errc::kScopeNotAllowed);
}

TEST_F(Codes, EffortlessCodeSignsItsAccountInOnce) {
  seed("bob", "pw");
  auto c = state().codes().issue(CodeKind::kEffortless, request("bob", "app.two"));
  ASSERT_TRUE(c.ok());
  EXPECT_EQ(c->expires_in, 600);
  EXPECT_EQ(state().sign_in_with_code(c->code, "alice").code(), errc::kCodeAccountMismatch);
  auto user = state().sign_in_with_code(c->code, "bob");
  ASSERT_TRUE(user.ok()) << user.status().describe();
  EXPECT_EQ(user->login_id, "bob");
  EXPECT_TRUE(state().accounts().is_signed_in("bob").value());
  EXPECT_EQ(state().sign_in_with_code(c->code, "bob").code(), errc::kCodeAlreadyUsed);
  // An authorization code is not an effortless-login code.
  auto auth = state().codes().issue(CodeKind::kAuthCode, request("bob", "app.two"));
  ASSERT_TRUE(auth.ok());
  EXPECT_EQ(state().sign_in_with_code(auth->code, "").code(), errc::kUnknownCode);
}

TEST_F(Codes, SignOutForgetsTheAccountsCodes) {
  auto c = state().codes().issue(CodeKind::kEffortless, request());
  ASSERT_TRUE(c.ok());
  EXPECT_EQ(state().codes().pending_count().value(), 1);
  ASSERT_TRUE(state().accounts().sign_out("alice").ok());
  EXPECT_EQ(state().codes().pending_count().value(), 0);
  EXPECT_EQ(state().sign_in_with_code(c->code, "").code(), errc::kUnknownCode);
  EXPECT_FALSE(state().accounts().is_signed_in("alice").value());
}
