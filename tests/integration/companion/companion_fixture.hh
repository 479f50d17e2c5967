// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a phone and a wearable on one machine, two platform roots paired by the platform,
// each with the reference agent installed and launched on demand. The test process runs as an
// application of the wearable.
#pragma once

#include <glib.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "account_fixture.hh"
#include "admin.hh"
#include "agent_state.hh"
#include "faults.hh"
#include "log_capture.hh"
#include "platform_root.hh"
#include "velmora_account.h"
#include "velmora_account_companion.h"
#include "velmora_host.h"

namespace vtest {

inline constexpr const char *kPhoneLogin = "phone-owner@velmora.dev";

// What a companion callback received.
struct CompanionReply {
  int calls = 0;
  int result = 12345;
  bool had_account = false;
  int exists = -1;  // the companion's mobile-account-exists flag: 1, 0, or -1 when not set

  static void cb(int result, velmora_account_h account, velmora_account_companion_h companion,
                 void *user_data) {
    auto *self = static_cast<CompanionReply *>(user_data);
    ++self->calls;
    self->result = result;
    self->had_account = account != nullptr;
    if (account) velmora_account_destroy(account);
    if (companion) {
      bool value = false;
      if (velmora_account_companion_get_property_bool(
              companion, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, &value) == 0)
        self->exists = value ? 1 : 0;
      velmora_account_companion_destroy(companion);
    }
  }
  bool wait() {
    return run_until([this] { return calls > 0; });
  }
};

class CompanionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Both roots exist (the wearable's is current); the phone's is set up while it is current.
    phone_root_ = phone_.path();
    in_root(phone_root_);
    phone_.set_profile("mobile");
    phone_.install_agent(5);
    in_root(wearable_.path());
    wearable_.set_profile("wearable");
    wearable_.install_agent(5);
  }

  void TearDown() override {
    for (velmora_account_h h : created_) velmora_account_destroy(h);
    stop_agents();
    if (HasFailure()) {
      // What the agents said, to tell a link failure from an agent's answer.
      for (const std::string &log : {wearable_.path() + "/log/dev.velmora.account.log",
                                     wearable_.path() + "/log/dev.velmora.account.ui.log",
                                     phone_root_ + "/log/dev.velmora.account.log"}) {
        gchar *text = nullptr;
        if (g_file_get_contents(log.c_str(), &text, nullptr, nullptr))
          fprintf(stderr, "---- %s\n%s\n", log.c_str(), text);
        g_free(text);
      }
    }
  }

  static void in_root(const std::string &root) { setenv("VELMORA_PLATFORM_ROOT", root.c_str(), 1); }

  void pair() {
    char *error = nullptr;
    ASSERT_EQ(velmora_host_pair_phone(phone_root_.c_str(), &error), 0) << (error ? error : "");
  }

  // A signed-in user on the phone (its default account).
  void seed_phone_account() {
    in_root(phone_root_);  // the agent's state is opened from its own root only
    auto state = vagent::AgentState::open(phone_root_);
    ASSERT_TRUE(state.ok()) << state.status().describe();
    vagent::SeedUserOptions seed;
    seed.user.login_id = kPhoneLogin;
    seed.user.password = "phone-password-1";
    seed.sign_in = true;
    auto result = vagent::seed_user(*state.value(), seed);
    in_root(wearable_.path());
    ASSERT_TRUE(result.ok()) << result.status().describe();
  }

  void set_phone_fault(const std::string &operation, const std::string &key,
                       const std::string &value) {
    in_root(phone_root_);
    vagent::Status st = vagent::set_faults(phone_root_, operation, {{key, value}});
    in_root(wearable_.path());
    ASSERT_TRUE(st.ok()) << st.describe();
  }

  velmora_account_h handle() {
    velmora_account_h h = nullptr;
    EXPECT_EQ(velmora_account_create(&h), 0);
    if (h) created_.push_back(h);
    return h;
  }

  // Whether the wearable's agent state has this account signed in.
  bool wearable_signed_in(const std::string &login_id) {
    auto state = vagent::AgentState::open(wearable_.path());
    if (!state.ok()) return false;
    return state.value()->accounts().require_signed_in(login_id).ok();
  }

  static pid_t pid_in(const std::string &root) {
    gchar *contents = nullptr;
    const std::string path = root + "/run/dev.velmora.account.pid";
    if (!g_file_get_contents(path.c_str(), &contents, nullptr, nullptr)) return 0;
    const pid_t pid = static_cast<pid_t>(strtol(contents, nullptr, 10));
    g_free(contents);
    return pid;
  }

  // True once the phone agent's log has a line holding `text`.
  bool phone_logged(const std::string &text) {
    gchar *contents = nullptr;
    const std::string path = phone_root_ + "/log/dev.velmora.account.log";
    if (!g_file_get_contents(path.c_str(), &contents, nullptr, nullptr)) return false;
    const bool found = strstr(contents, text.c_str()) != nullptr;
    g_free(contents);
    return found;
  }

  static void stop_pid(pid_t pid, int sig) {
    if (Agent::gone(pid)) return;
    kill(pid, sig);
    if (!run_until([pid] { return Agent::gone(pid); }, 10000)) kill(pid, SIGKILL);
  }

  void stop_agents() {
    for (const std::string &root : {wearable_.path(), phone_root_}) {
      stop_pid(pid_in(root), SIGTERM);
      // The UI application runs the agent too.
      gchar *contents = nullptr;
      const std::string ui = root + "/run/dev.velmora.account.ui.pid";
      if (g_file_get_contents(ui.c_str(), &contents, nullptr, nullptr)) {
        stop_pid(static_cast<pid_t>(strtol(contents, nullptr, 10)), SIGTERM);
        g_free(contents);
      }
    }
  }

  PlatformRoot phone_;
  PlatformRoot wearable_;  // made second: the current root while the test runs
  std::string phone_root_;
  std::vector<velmora_account_h> created_;
};

}  // namespace vtest
