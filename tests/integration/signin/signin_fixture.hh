// SPDX-License-Identifier: Apache-2.0
// Velmora tests: sign-in, second factors, sign-out and confirm-user of the library, against the
// reference agent and its UI application, or against a stand-in that records what is sent.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "account_fixture.hh"
#include "admin.hh"
#include "agent_fixture.hh"
#include "agent_state.hh"
#include "dlog.h"
#include "login_view_driver.hh"
#include "store_view.hh"
#include "test_apps.hh"
#include "velmora_account.h"
#include "velmora_account_request_op.h"
#include "velmora_host.h"

namespace vtest {

// An ordinary application, and the agent's UI application, as callers.
inline constexpr const char *kOrdinaryApp = "dev.example.notes";
inline constexpr const char *kUiApp = "dev.velmora.account.ui";
inline constexpr const char *kPhone = "+1 555 0100";
inline constexpr const char *kDevice = "device-security-1";

// The agent's error codes the tests expect (agent/core/errors.hh).
inline constexpr int kPermissionDenied = -13;
inline constexpr int kNeedSignIn = static_cast<int>(0xBFFFFFFAu);
inline constexpr int kWrongPassword = static_cast<int>(0xC1000002u);
inline constexpr int kCodeDeviceMismatch = static_cast<int>(0xC100001Bu);
inline constexpr int kCanceled = static_cast<int>(0xC100001Cu);
inline constexpr int kLoginViewClosed = static_cast<int>(0xC100001Du);
inline constexpr int kLoginViewTimedOut = static_cast<int>(0xC100001Eu);
inline constexpr int kLoginViewUnavailable = static_cast<int>(0xC100001Fu);

class SignInTest : public AccountTest {
 protected:
  void SetUp() override {
    // A presence frame that reloads every second, so that a closed page is noticed soon.
    setenv("VELMORA_LOGIN_VIEW_HEARTBEAT_MS", "1000", 1);
    unsetenv("VELMORA_LOGIN_VIEW_TIMEOUT_MS");
  }
  void TearDown() override {
    unsetenv("VELMORA_APP_ID");
    AccountTest::TearDown();
  }

  // This process runs as application `id`; nullptr: as none (the platform cannot tell its id).
  static void run_as(const char *id) {
    if (id)
      setenv("VELMORA_APP_ID", id, 1);
    else
      unsetenv("VELMORA_APP_ID");
  }

  // The real agent at `level`, with the demo user (not signed in) and its client.
  void prepare_agent(int level = 5) {
    prepare("mobile", level, false);
    seed_user(kLogin, false);
  }

  // A handle made by velmora_account_create with the given string properties.
  velmora_account_h handle(std::initializer_list<std::pair<int, const char *>> values) {
    velmora_account_h h = nullptr;
    EXPECT_EQ(velmora_account_create(&h), 0);
    if (h == nullptr) return nullptr;
    created_.push_back(h);
    for (const auto &[id, value] : values)
      EXPECT_EQ(velmora_account_set_property_str(h, id, value), 0);
    return h;
  }
  velmora_account_h credentials(const char *password = kPassword) {
    return handle({{VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin},
                   {VELMORA_ACCOUNT_PROPERTY_PASSWORD, password}});
  }

  // Runs `fn` on the agent's state of this root.
  template <typename Fn>
  void with_state(Fn fn) {
    auto state = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(state.ok()) << state.status().describe();
    fn(*state.value());
  }
  void enrol(const std::string &login_id) {
    with_state([&](vagent::AgentState &s) {
      vagent::Status st = s.second_factor().enrol(login_id, kPhone);
      ASSERT_TRUE(st.ok()) << st.describe();
    });
  }
  // An authorization code of the token service for the demo user, bound to `device`.
  std::string device_code(const std::string &device = kDevice) {
    std::string code;
    with_state([&](vagent::AgentState &s) {
      vagent::CodeRequest r;
      r.client_id = kClient;
      r.device_unique_code = device;
      auto c = s.codes().issue_for_device(s.users().find(kLogin).value(), r);
      ASSERT_TRUE(c.ok()) << c.status().describe();
      code = c->code;
    });
    return code;
  }
  bool signed_in(const std::string &login_id) {
    bool in = false;
    with_state([&](vagent::AgentState &s) { in = s.accounts().is_signed_in(login_id).value(); });
    return in;
  }

  // The lines of the root's SMS outbox, and the number of the last SMS.
  std::vector<std::string> outbox() const {
    std::ifstream in(root_.path_of("sms/outbox"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }
  std::string last_number() const {
    const std::vector<std::string> lines = outbox();
    if (lines.empty()) return "";
    const size_t at = lines.back().find("number is ");
    return at == std::string::npos ? "" : lines.back().substr(at + 10, 6);
  }

  // The UI application's log so far.
  std::string ui_log() const {
    std::ifstream in(root_.path_of("log/dev.velmora.account.ui.log"));
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
};

}  // namespace vtest
