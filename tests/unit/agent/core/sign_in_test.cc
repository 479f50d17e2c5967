// SPDX-License-Identifier: Apache-2.0
// Velmora tests: signing in with a password or a device-bound authorization code, and out.
#include <gtest/gtest.h>

#include "agent_state_fixture.hh"
#include "store_view.hh"

using agent_test::AgentTest;
using vagent::CodeKind;
namespace errc = vagent::errc;

class SignIn : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("alice", "right", false);
    client("app.one", false, {"account.read"});
  }
  vagent::SignIn &sign_in() { return state().sign_in(); }
  vagent::IssuedCode device_code(const std::string &device = "device-1") {
    vagent::CodeRequest r;
    r.client_id = "app.one";
    r.device_unique_code = device;
    auto c = state().codes().issue_for_device(state().users().find("alice").value(), r);
    EXPECT_TRUE(c.ok()) << c.status().describe();
    return c.ok() ? c.value() : vagent::IssuedCode{};
  }
  vagent::CodeSignIn with(const vagent::IssuedCode &c, const std::string &device = "device-1") {
    vagent::CodeSignIn s;
    s.code = c.code;
    s.device_security_code = device;
    s.api_server_url = c.api_server_url;
    s.auth_server_url = c.auth_server_url;
    return s;
  }
};

TEST_F(SignIn, APasswordSignsInAndTheStoreKnowsIt) {
  auto r = sign_in().with_password("alice", "right");
  ASSERT_TRUE(r.ok()) << r.status().describe();
  EXPECT_FALSE(r->second_factor_required);
  EXPECT_EQ(r->user.login_id, "alice");
  EXPECT_TRUE(state().accounts().is_signed_in("alice").value());
  EXPECT_EQ(agent_test::store_summary("dev.velmora.account"), "alice*");
}

TEST_F(SignIn, WrongPasswordAndUnknownUser) {
  EXPECT_EQ(sign_in().with_password("alice", "wrong").code(), errc::kWrongPassword);
  EXPECT_EQ(sign_in().with_password("nobody", "x").code(), errc::kUnknownUser);
  EXPECT_EQ(sign_in().with_password("alice", "").code(), errc::kInvalidParameter);
}

TEST_F(SignIn, SignOutForgetsTheAccountItsTokensAndItsStoreRecord) {
  ASSERT_TRUE(sign_in().with_password("alice", "right").ok());
  vagent::TokenRequest t;
  t.login_id = "alice";
  t.client_id = "app.one";
  auto grant = state().tokens().issue(t);
  ASSERT_TRUE(grant.ok()) << grant.status().describe();
  ASSERT_TRUE(sign_in().sign_out("alice").ok());
  EXPECT_FALSE(state().accounts().is_signed_in("alice").value());
  EXPECT_EQ(state().tokens().validate(grant->access_token).code(), errc::kUnknownToken);
  EXPECT_EQ(agent_test::store_summary("dev.velmora.account"), "");
  EXPECT_EQ(sign_in().sign_out("alice").code, errc::kNeedSignIn);
}

TEST_F(SignIn, ADeviceBoundCodeSignsInOnce) {
  const vagent::IssuedCode c = device_code();
  auto user = sign_in().with_code(with(c));
  ASSERT_TRUE(user.ok()) << user.status().describe();
  EXPECT_EQ(user->login_id, "alice");
  EXPECT_TRUE(state().accounts().is_signed_in("alice").value());
  EXPECT_EQ(sign_in().with_code(with(c)).code(), errc::kCodeAlreadyUsed);
}

TEST_F(SignIn, ACodeOfAnotherDeviceIsRefusedAndNotUsedUp) {
  const vagent::IssuedCode c = device_code("device-1");
  EXPECT_EQ(sign_in().with_code(with(c, "device-2")).code(), errc::kCodeDeviceMismatch);
  EXPECT_TRUE(sign_in().with_code(with(c, "device-1")).ok());
}

TEST_F(SignIn, ACodeWithoutADeviceDoesNotSignIn) {
  // An authorization code asked for by an application names no device.
  ASSERT_TRUE(sign_in().with_password("alice", "right").ok());
  vagent::CodeRequest r;
  r.login_id = "alice";
  r.client_id = "app.one";
  auto c = state().codes().issue(CodeKind::kAuthCode, r);
  ASSERT_TRUE(c.ok());
  EXPECT_EQ(sign_in().with_code(with(c.value(), "device-1")).code(), errc::kCodeDeviceMismatch);
}

TEST_F(SignIn, TheCodesLoginIdAndServersMustMatch) {
  seed("bob", "pw", false);
  vagent::CodeSignIn s = with(device_code());
  s.login_id = "bob";
  EXPECT_EQ(sign_in().with_code(s).code(), errc::kCodeAccountMismatch);
  s.login_id = "alice";
  s.api_server_url = "https://elsewhere.example";
  EXPECT_EQ(sign_in().with_code(s).code(), errc::kInvalidParameter);
  EXPECT_EQ(sign_in().with_code(with(device_code(), "")).code(), errc::kInvalidParameter);
}

TEST_F(SignIn, TheTokenServiceNeedsARegisteredClientAndADevice) {
  vagent::CodeRequest r;
  r.client_id = "app.none";
  r.device_unique_code = "device-1";
  const vagent::User alice = state().users().find("alice").value();
  EXPECT_EQ(state().codes().issue_for_device(alice, r).code(), errc::kUnknownClient);
  r.client_id = "app.one";
  r.device_unique_code = "";
  EXPECT_EQ(state().codes().issue_for_device(alice, r).code(), errc::kInvalidParameter);
}
