// Velmora tests: the token operations against the real agent, in a fresh platform root per test.
//
// The agent is installed in the root and launched on demand by the host platform, as on a device;
// the test seeds a user and a client into its state first, and stops the agent it caused to be
// launched when it ends. Every wait is bounded by a deadline; nothing asserts on time.
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

#include "admin.hh"
#include "agent_state.hh"
#include "app_control_reply.hh"
#include "faults.hh"
#include "log_capture.hh"
#include "platform_root.hh"
#include "velmora_account.h"

namespace vtest {

inline constexpr const char *kLogin = "demo@velmora.dev";
inline constexpr const char *kPassword = "demo-password-1";
inline constexpr const char *kClient = "demo.client";
// A bound for every wait; generous, since sanitized builds start the agent slowly.
inline constexpr int kDeadlineMs = 30000;

// Runs the thread-default main context until `done` or the deadline; false on the deadline.
inline bool iterate_until(const std::function<bool()> &done, int timeout_ms = kDeadlineMs) {
  const gint64 deadline = g_get_monotonic_time() + static_cast<gint64>(timeout_ms) * 1000;
  // A ticking source so that the blocking iteration wakes up to look at the clock.
  GSource *tick = g_timeout_source_new(20);
  g_source_set_callback(
      tick, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
  g_source_attach(tick, g_main_context_get_thread_default());
  bool ok = true;
  while (!done()) {
    if (g_get_monotonic_time() > deadline) {
      ok = false;
      break;
    }
    g_main_context_iteration(g_main_context_get_thread_default(), TRUE);
  }
  g_source_destroy(tick);
  g_source_unref(tick);
  return ok;
}

// Sends `operation` with `extras` straight to the agent (no library in between) and waits for the
// reply.
inline AppControlReply send_to_agent(const char *operation,
                                     const std::map<std::string, std::string> &extras) {
  AppControlReply r;
  EXPECT_EQ(send_app_control("dev.velmora.account", operation, extras, &r), APP_CONTROL_ERROR_NONE);
  EXPECT_TRUE(iterate_until([&] { return r.done; }));
  return r;
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
    return iterate_until([this] { return calls > 0; });
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

class TokensTest : public ::testing::Test {
 protected:
  // A root with the given profile and agent level (nullopt: no agent at all), a signed-in user and
  // a client with a secret and the scopes "read write".
  void prepare(const std::string &profile = "mobile", std::optional<int> level = 5,
               bool seed = true) {
    root_.set_profile(profile);
    if (!level) return;
    root_.install_agent(*level);
    if (!seed) return;
    seed_user(kLogin, true);
  }

  void seed_user(const std::string &login_id, bool sign_in) {
    auto state = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(state.ok()) << state.status().describe();
    vagent::SeedUserOptions seed;
    seed.user.login_id = login_id;
    seed.user.password = kPassword;
    seed.sign_in = sign_in;
    vagent::NewClient client;
    client.client_id = kClient;
    client.with_secret = true;
    client.scopes = {"read", "write"};
    seed.client = client;
    auto result = vagent::seed_user(*state.value(), seed);
    ASSERT_TRUE(result.ok()) << result.status().describe();
    user_id_ = result->user.user_id;
    secret_ = result->client_secret;
  }

  void set_fault(const std::string &operation, const std::string &key, const std::string &value) {
    vagent::Status st = vagent::set_faults(root_.path(), operation, {{key, value}});
    ASSERT_TRUE(st.ok()) << st.describe();
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
    EXPECT_TRUE(iterate_until([this] { return connection_.events > 0; }));
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

  // The pid of the running agent instance, or 0.
  pid_t agent_pid() const {
    gchar *contents = nullptr;
    const std::string path = root_.path_of("run/dev.velmora.account.pid");
    if (!g_file_get_contents(path.c_str(), &contents, nullptr, nullptr)) return 0;
    const pid_t pid = static_cast<pid_t>(strtol(contents, nullptr, 10));
    g_free(contents);
    return pid;
  }

  // True while `pid` runs (a zombie counts as gone).
  static bool running(pid_t pid) {
    if (pid <= 0) return false;
    gchar *stat = nullptr;
    const std::string path = "/proc/" + std::to_string(pid) + "/stat";
    if (!g_file_get_contents(path.c_str(), &stat, nullptr, nullptr)) return false;
    const char *close = strrchr(stat, ')');
    const bool alive = close != nullptr && close[1] == ' ' && close[2] != 'Z' && close[2] != 'X';
    g_free(stat);
    return alive;
  }

  // Kills the agent instance with `sig` and waits (bounded) until it is gone.
  void kill_agent(int sig) {
    const pid_t pid = agent_pid();
    if (!running(pid)) return;
    kill(pid, sig);
    if (!iterate_until([pid] { return !running(pid); }, 10000)) kill(pid, SIGKILL);
  }

  void stop_agent() { kill_agent(SIGTERM); }

  // What the agent launched in this root logged (its standard streams go to the platform's log).
  std::string agent_log() const {
    std::ifstream in(root_.path_of("log/dev.velmora.account.log"));
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  // An access token over app control for the seeded user; expects it to be granted.
  std::string token_over_app_control() {
    velmora_account_h h = app_control_handle();
    Completion done;
    EXPECT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
    EXPECT_TRUE(done.wait());
    EXPECT_EQ(done.result, 0);
    return done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN);
  }

  PlatformRoot root_;
  std::string user_id_;
  std::string secret_;  // the client's secret, made by the agent when the user was seeded
  Connection connection_;
  std::vector<velmora_account_h> created_;
  std::vector<velmora_account_h> connected_;
};

}  // namespace vtest
