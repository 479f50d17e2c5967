// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a fresh platform root with the agent's state opened on it, and a clock the test
// moves by hand.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "agent_state.hh"
#include "platform_root.hh"

namespace agent_test {

inline constexpr int64_t kStartTime = 1700000000;

class AgentTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto opened = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(opened.ok()) << opened.status().describe();
    state_ = std::move(opened.value());
    state_->set_clock([this] { return now_; });
  }

  vagent::AgentState &state() { return *state_; }

  // A user, signed in unless told otherwise.
  vagent::User seed(const std::string &login_id, const std::string &password, bool sign_in = true) {
    vagent::NewUser u;
    u.login_id = login_id;
    u.password = password;
    auto user = state().users().create(u);
    EXPECT_TRUE(user.ok()) << user.status().describe();
    if (sign_in) {
      auto s = state().accounts().sign_in(login_id, password);
      EXPECT_TRUE(s.ok()) << s.status().describe();
    }
    return user.ok() ? user.value() : vagent::User{};
  }

  // Registers a client; hands out the secret the agent made for it (empty without one).
  std::string client(const std::string &client_id, bool with_secret,
                     const std::vector<std::string> &scopes, int64_t lifetime = 3600) {
    vagent::NewClient c;
    c.client_id = client_id;
    c.with_secret = with_secret;
    c.scopes = scopes;
    c.token_lifetime = lifetime;
    auto secret = state().clients().register_client(c);
    EXPECT_TRUE(secret.ok()) << secret.status().describe();
    return secret.ok() ? secret.value() : "";
  }

  vtest::PlatformRoot root_;
  std::string secret_;  // the secret of the test's main client, where it has one
  int64_t now_ = kStartTime;
  std::unique_ptr<vagent::AgentState> state_;
};

}  // namespace agent_test
