// SPDX-License-Identifier: Apache-2.0
// Velmora tests: second factors: one-time numbers sent by SMS, the authenticate token, attempts,
// trusted devices.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "agent_state_fixture.hh"
#include "config.hh"

using agent_test::AgentTest;
namespace errc = vagent::errc;

class SecondFactor : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("alice", "right", false);
    ASSERT_TRUE(sf().enrol("alice", "+1 555 0100").ok());
  }
  vagent::SecondFactor &sf() { return state().second_factor(); }
  vagent::SignIn &sign_in() { return state().sign_in(); }

  // The lines of the root's SMS outbox.
  std::vector<std::string> outbox() {
    std::ifstream in(root_.path_of("sms/outbox"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }
  // The number in the last SMS.
  std::string last_number() {
    const std::vector<std::string> lines = outbox();
    if (lines.empty()) return "";
    const std::string &l = lines.back();
    const size_t at = l.find("number is ");
    return at == std::string::npos ? "" : l.substr(at + 10, vagent::kAuthNumberDigits);
  }
  // A number that is not `number`.
  static std::string other_than(const std::string &number) {
    std::string n = number;
    n[0] = n[0] == '9' ? '0' : static_cast<char>(n[0] + 1);
    return n;
  }
};

TEST_F(SecondFactor, APasswordAloneDoesNotSignInAnEnrolledUser) {
  auto r = sign_in().with_password("alice", "right");
  ASSERT_TRUE(r.ok()) << r.status().describe();
  EXPECT_TRUE(r->second_factor_required);
  EXPECT_EQ(r->authenticate_token.size(), 32u);
  EXPECT_FALSE(state().accounts().is_signed_in("alice").value());
}

TEST_F(SecondFactor, TheNumberGoesToTheOutboxAndSignsIn) {
  auto r = sign_in().with_password("alice", "right");
  ASSERT_TRUE(r.ok());
  auto phone = sign_in().send_auth_number("alice");
  ASSERT_TRUE(phone.ok()) << phone.status().describe();
  EXPECT_EQ(phone.value(), "+1 555 0100");
  const std::vector<std::string> lines = outbox();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("\t+1 555 0100\tYour Velmora sign-in number is "), std::string::npos)
      << lines[0];
  const std::string number = last_number();
  ASSERT_EQ(number.size(), 6u);
  auto user = sign_in().with_second_factor("alice", "right", r->authenticate_token, number, false);
  ASSERT_TRUE(user.ok()) << user.status().describe();
  EXPECT_TRUE(state().accounts().is_signed_in("alice").value());
  // Used up.
  EXPECT_EQ(sign_in().with_second_factor("alice", "right", std::nullopt, number, false).code(),
            errc::kNoAuthNumber);
}

TEST_F(SecondFactor, TheStateKeepsNoNumberInPlainText) {
  ASSERT_TRUE(sign_in().send_auth_number("alice").ok());
  const std::string number = last_number();
  std::ifstream in(root_.path_of("agent/state.db"), std::ios::binary);
  std::stringstream all;
  all << in.rdbuf();
  EXPECT_EQ(all.str().find(number), std::string::npos);
}

TEST_F(SecondFactor, WithoutTheTokenTheNumberAndPasswordSuffice) {
  ASSERT_TRUE(sign_in().send_auth_number("alice").ok());
  EXPECT_TRUE(
      sign_in().with_second_factor("alice", "right", std::nullopt, last_number(), false).ok());
}

TEST_F(SecondFactor, AWrongTokenIsRefused) {
  auto r = sign_in().with_password("alice", "right");
  ASSERT_TRUE(r.ok());
  ASSERT_TRUE(sign_in().send_auth_number("alice").ok());
  EXPECT_EQ(
      sign_in()
          .with_second_factor("alice", "right", std::string("not-the-token"), last_number(), false)
          .code(),
      errc::kWrongAuthenticateToken);
  EXPECT_FALSE(state().accounts().is_signed_in("alice").value());
}

TEST_F(SecondFactor, AttemptsAreLimited) {
  ASSERT_TRUE(sign_in().send_auth_number("alice").ok());
  const std::string number = last_number();
  for (int i = 0; i < vagent::kMaxAuthNumberAttempts; ++i)
    EXPECT_EQ(sign_in()
                  .with_second_factor("alice", "right", std::nullopt, other_than(number), false)
                  .code(),
              errc::kWrongAuthNumber);
  EXPECT_EQ(sign_in().with_second_factor("alice", "right", std::nullopt, number, false).code(),
            errc::kAuthNumberExpired);
  // A new number starts again.
  ASSERT_TRUE(sign_in().send_auth_number("alice").ok());
  EXPECT_TRUE(
      sign_in().with_second_factor("alice", "right", std::nullopt, last_number(), false).ok());
}

TEST_F(SecondFactor, ANumberExpires) {
  ASSERT_TRUE(sign_in().send_auth_number("alice").ok());
  now_ += vagent::kAuthNumberLifetime;
  EXPECT_EQ(
      sign_in().with_second_factor("alice", "right", std::nullopt, last_number(), false).code(),
      errc::kAuthNumberExpired);
}

TEST_F(SecondFactor, AWrongPasswordIsCheckedFirstAndCounted) {
  ASSERT_TRUE(sign_in().send_auth_number("alice").ok());
  EXPECT_EQ(
      sign_in().with_second_factor("alice", "wrong", std::nullopt, last_number(), false).code(),
      errc::kWrongPassword);
  EXPECT_EQ(state().sign_in_guard().failures("alice").value(), 1);
  // The number is still good.
  EXPECT_TRUE(
      sign_in().with_second_factor("alice", "right", std::nullopt, last_number(), false).ok());
}

TEST_F(SecondFactor, NumbersPerWindowAreLimited) {
  for (int i = 0; i < vagent::kMaxAuthNumbersPerWindow; ++i)
    ASSERT_TRUE(sign_in().send_auth_number("alice").ok()) << i;
  EXPECT_EQ(sign_in().send_auth_number("alice").code(), errc::kTooManyAuthNumbers);
  now_ += vagent::kAuthNumberWindow;
  EXPECT_TRUE(sign_in().send_auth_number("alice").ok());
}

TEST_F(SecondFactor, ATrustedDeviceSkipsTheSecondFactorNextTime) {
  ASSERT_TRUE(sign_in().send_auth_number("alice").ok());
  ASSERT_TRUE(
      sign_in().with_second_factor("alice", "right", std::nullopt, last_number(), true).ok());
  ASSERT_TRUE(sign_in().sign_out("alice").ok());
  auto again = sign_in().with_password("alice", "right");
  ASSERT_TRUE(again.ok());
  EXPECT_FALSE(again->second_factor_required);
  EXPECT_TRUE(state().accounts().is_signed_in("alice").value());
  // Trust runs out.
  ASSERT_TRUE(sign_in().sign_out("alice").ok());
  now_ += vagent::kTrustedDeviceLifetime;
  EXPECT_TRUE(sign_in().with_password("alice", "right")->second_factor_required);
}

TEST_F(SecondFactor, AnUntrustedSignInAsksAgainNextTime) {
  ASSERT_TRUE(sign_in().send_auth_number("alice").ok());
  ASSERT_TRUE(
      sign_in().with_second_factor("alice", "right", std::nullopt, last_number(), false).ok());
  ASSERT_TRUE(sign_in().sign_out("alice").ok());
  EXPECT_TRUE(sign_in().with_password("alice", "right")->second_factor_required);
}

TEST_F(SecondFactor, NotEnrolledUsersHaveNoNumberToSend) {
  seed("bob", "pw", false);
  EXPECT_EQ(sign_in().send_auth_number("bob").code(), errc::kNoPhoneNumber);
  EXPECT_EQ(sign_in().send_auth_number("nobody").code(), errc::kUnknownUser);
  EXPECT_EQ(sf().enrol("nobody", "+1").code, errc::kUnknownUser);
  EXPECT_EQ(sf().enrol("bob", "").code, errc::kInvalidParameter);
  EXPECT_EQ(sf().enrol("bob", "+1\t2").code, errc::kInvalidParameter);
}

TEST_F(SecondFactor, WithdrawingSignsInWithAPasswordAgain) {
  ASSERT_TRUE(sf().withdraw("alice").ok());
  auto r = sign_in().with_password("alice", "right");
  ASSERT_TRUE(r.ok());
  EXPECT_FALSE(r->second_factor_required);
}
