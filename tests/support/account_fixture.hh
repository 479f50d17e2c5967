// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the library's operations against the real agent, in a fresh platform root per
// test (the integration tests of every area).
//
// The agent is installed in the root and launched on demand by the host platform, as on a device;
// the test seeds a user and a client into its state first, and stops the agent (and its UI
// application) it caused to be launched when it ends. Every wait is bounded by a deadline; nothing
// asserts on time.
#pragma once

#include <glib.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "agent.hh"
#include "app_control_reply.hh"
#include "log_capture.hh"
#include "main_loop.hh"
#include "platform_root.hh"
#include "test_apps.hh"
#include "velmora_account.h"

namespace vtest {

inline constexpr const char *kLogin = "demo@velmora.dev";
inline constexpr const char *kPassword = "demo-password-1";
inline constexpr const char *kClient = "demo.client";

// Sends `operation` with `extras` straight to the application `app_id` (no library in between),
// as any application could, and waits for the reply.
inline AppControlReply send_to_app(const char *app_id, const char *operation,
                                   const std::map<std::string, std::string> &extras) {
  AppControlReply r;
  EXPECT_EQ(send_app_control(app_id, operation, extras, &r), APP_CONTROL_ERROR_NONE);
  EXPECT_TRUE(run_until([&] { return r.done; }));
  return r;
}

// The same, to the agent.
inline AppControlReply send_to_agent(const char *operation,
                                     const std::map<std::string, std::string> &extras) {
  return send_to_app("dev.velmora.account", operation, extras);
}

// What a completion callback received.
struct Completion {
  int calls = 0;
  int result = 12345;
  velmora_account_h account = nullptr;

  ~Completion() {
    if (account != nullptr) velmora_account_destroy(account);
  }
  static void cb(int result, velmora_account_h account, void *user_data) {
    auto *self = static_cast<Completion *>(user_data);
    ++self->calls;
    self->result = result;
    if (self->account != nullptr) velmora_account_destroy(self->account);
    self->account = account;  // the receiver owns it
  }
  bool wait() {
    return run_until([this] { return calls > 0; });
  }
  // Calls the asynchronous operation `op(args..., Completion::cb, this)`, which must accept the
  // call, and waits for its answer: false (the test failed) when it refused or no answer came.
  //   Completion done;
  //   ASSERT_TRUE(done.run(velmora_account_sign_out, handle));
  template <typename Op, typename... Args>
  bool run(Op op, Args... args) {
    const int accepted = op(args..., cb, this);
    EXPECT_EQ(accepted, VELMORA_ACCOUNT_ERROR_NONE);
    return accepted == VELMORA_ACCOUNT_ERROR_NONE && wait();
  }

  // A string property of the response handle, or "<unset>".
  std::string str(int property) const {
    char *value = nullptr;
    if (account == nullptr || velmora_account_get_property_str(account, property, &value) != 0)
      return "<unset>";
    std::string out = value;
    free(value);
    return out;
  }
  int integer(int property) const {
    int value = -1;
    if (account == nullptr || velmora_account_get_property_int(account, property, &value) != 0)
      return -1;
    return value;
  }
};

// Connection events of a connected handle.
struct Connection {
  int last_state = -1;
  int last_result = 12345;
  int events = 0;
  static void cb(int result, int state, void *user_data) {
    auto *self = static_cast<Connection *>(user_data);
    self->last_state = state;
    self->last_result = result;
    ++self->events;
  }
};

class AccountTest : public ::testing::Test {
 protected:
  // A root with the given profile and agent level (nullopt: no agent at all), a signed-in user and
  // a client with a secret and the scopes "read write".
  void prepare(const std::string &profile = "mobile", std::optional<int> level = 5,
               bool seed = true) {
    root_.set_profile(profile);
    if (!level) return;
    agent_.install(*level);
    if (!seed) return;
    seed_user(kLogin, true);
  }

  // A stand-in for the agent that answers every request with success and records it
  // (tests/apps/ipc_callee.cc): the test sees exactly what the library sent.
  void prepare_recorder(int level = 5, const std::string &profile = "mobile") {
    root_.set_profile(profile);
    root_.install_agent(level, apps::path("ipc_callee"));
  }
  // The requests the stand-in received: "<operation>\t<key>=<value>...".
  std::vector<std::string> recorded() const {
    std::ifstream in(root_.path_of("test-markers/dev.velmora.account.requests"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

  void seed_user(const std::string &login_id, bool sign_in) {
    SeedUser user;
    user.login_id = login_id;
    user.password = kPassword;
    user.sign_in = sign_in;
    user.client_id = kClient;
    user.scopes = {"read", "write"};
    const Seeded seeded = agent_.seed(user);
    user_id_ = seeded.user_id;
    secret_ = seeded.client_secret;
  }

  void set_fault(const std::string &operation, const std::string &key, const std::string &value) {
    agent_.fault(operation, key, value);
  }

  void TearDown() override {
    for (velmora_account_h h : created_) velmora_account_destroy(h);
    for (velmora_account_h h : connected_) velmora_account_disconnect(h);
    stop_agent();
  }

  // A handle made by velmora_account_create with login id, client id (and secret, scope).
  velmora_account_h app_control_handle(bool secret = true, const char *scope = "read") {
    velmora_account_h h = nullptr;
    EXPECT_EQ(velmora_account_create(&h), 0);
    if (h == nullptr) return nullptr;
    created_.push_back(h);
    fill(h, secret, scope);
    return h;
  }

  // A handle made by velmora_account_connect, connected (or nullptr).
  velmora_account_h connected_handle(bool secret = true, const char *scope = "read") {
    velmora_account_h h = nullptr;
    EXPECT_EQ(velmora_account_connect(&h, Connection::cb, &connection_), 0);
    if (h == nullptr) return nullptr;
    connected_.push_back(h);
    EXPECT_TRUE(run_until([this] { return connection_.events > 0; }));
    EXPECT_EQ(connection_.last_state, VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED);
    fill(h, secret, scope);
    return h;
  }

  void fill(velmora_account_h h, bool secret, const char *scope) {
    EXPECT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin), 0);
    EXPECT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_CLIENT_ID, kClient), 0);
    if (secret) {
      EXPECT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET,
                                                 secret_.c_str()),
                0);
    }
    if (scope) {
      EXPECT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_SCOPE, scope), 0);
    }
  }

  // The pid of the running instance of an application (the agent by default), or 0.
  pid_t agent_pid(const char *app_id = PlatformRoot::kAgentAppId) const {
    return agent_.pid(app_id);
  }
  // True while `pid` runs (a zombie counts as gone).
  static bool running(pid_t pid) { return !Agent::gone(pid); }
  // Ends the agent and its UI application with `sig` and waits (bounded) until they are gone.
  void kill_agent(int sig) { agent_.stop(sig); }
  // Stops the agent and its UI application.
  void stop_agent() { agent_.stop(SIGTERM); }

  // What the agent launched in this root logged (its standard streams go to the platform's log).
  std::string agent_log() const {
    std::ifstream in(root_.path_of("log/dev.velmora.account.log"));
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  // An access token over app control for the seeded user; expects it to be granted.
  std::string token_over_app_control() { return token_through(app_control_handle()); }

  // The same through handle h (connected: over the port).
  std::string token_through(velmora_account_h h) {
    Completion done;
    EXPECT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
    EXPECT_TRUE(done.wait());
    EXPECT_EQ(done.result, 0);
    return done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN);
  }

  PlatformRoot root_;
  Agent agent_{root_};
  std::string user_id_;
  std::string secret_;  // the client's secret, made by the agent when the user was seeded
  Connection connection_;
  std::vector<velmora_account_h> created_;
  std::vector<velmora_account_h> connected_;
};

}  // namespace vtest
