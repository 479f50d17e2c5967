// Velmora tests: the library's AccountSvc transport against the reference agent, each test in its
// own platform root with the agent installed, launched on demand and stopped at the end.
#pragma once

#include <glib.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "account_svc_proxy.h"
#include "admin.hh"
#include "agent_state.hh"
#include "dlog.h"
#include "faults.hh"
#include "log_capture.hh"
#include "platform_result.h"
#include "platform_root.hh"
#include "proxy_internal.hh"

namespace vtest {

// Every wait in these tests ends by this deadline; a wait that runs out fails the test.
inline constexpr int kWaitMs = 20000;

// Runs the thread-default main context until `done` holds or `timeout_ms` passed. True if it holds.
inline bool run_until(const std::function<bool()> &done, int timeout_ms = kWaitMs) {
  GMainContext *ctx = g_main_context_get_thread_default();
  if (!ctx) ctx = g_main_context_default();
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  bool expired = false;
  GSource *timer = g_timeout_source_new(static_cast<guint>(timeout_ms));
  g_source_set_callback(
      timer,
      [](gpointer flag) -> gboolean {
        *static_cast<bool *>(flag) = true;
        return G_SOURCE_REMOVE;
      },
      &expired, nullptr);
  g_source_attach(timer, ctx);
  while (!done() && !expired && std::chrono::steady_clock::now() < deadline)
    g_main_context_iteration(ctx, TRUE);
  g_source_destroy(timer);
  g_source_unref(timer);
  return done();
}

// Runs whatever is ready on the main context now, without waiting.
inline void run_pending() {
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

// What a proxy's connection events were.
struct Events {
  int connected = 0;
  int disconnected = 0;
  int rejected = 0;

  static void on_connected(rpc_port_proxy_AccountSvc_h, void *self) {
    static_cast<Events *>(self)->connected++;
  }
  static void on_disconnected(rpc_port_proxy_AccountSvc_h, void *self) {
    static_cast<Events *>(self)->disconnected++;
  }
  static void on_rejected(rpc_port_proxy_AccountSvc_h, void *self) {
    static_cast<Events *>(self)->rejected++;
  }
};

// One answer a reply delegate received. The record is read into plain values here, since it lives
// only for the callback.
struct Reply {
  int result = 0;
  std::string login_id, access_token, refresh_token, auth_code, mcc, country_code, user_id,
      password, scope;
  int tnc = 0;
  int expires_in = 0;
  bool has_record = false;
};

struct Replies {
  std::vector<Reply> got;

  static std::string str(rpc_port_AccountS_h a, int (*get)(rpc_port_AccountS_h, char **)) {
    char *v = nullptr;
    if (get(a, &v) != 0 || !v) return "";
    std::string s = v;
    free(v);
    return s;
  }
  static void on_account(void *self, int result, rpc_port_AccountS_h a) {
    Reply r;
    r.result = result;
    if (a) {
      r.has_record = true;
      r.login_id = str(a, rpc_port_AccountS_get_LoginId);
      r.access_token = str(a, rpc_port_AccountS_get_AccessToken);
      r.refresh_token = str(a, rpc_port_AccountS_get_RefreshToken);
      r.auth_code = str(a, rpc_port_AccountS_get_AuthCode);
      r.mcc = str(a, rpc_port_AccountS_get_Mcc);
      r.country_code = str(a, rpc_port_AccountS_get_CountryCode);
      r.user_id = str(a, rpc_port_AccountS_get_UserId);
      r.password = str(a, rpc_port_AccountS_get_Password);
      r.scope = str(a, rpc_port_AccountS_get_Scope);
      rpc_port_AccountS_get_TncStatus(a, &r.tnc);
      rpc_port_AccountS_get_TokenExpiresIn(a, &r.expires_in);
    }
    static_cast<Replies *>(self)->got.push_back(r);
  }
  static void on_error(void *self, int result) {
    Reply r;
    r.result = result;
    static_cast<Replies *>(self)->got.push_back(r);
  }
  static void on_place(void *self, int result, rpc_port_PlaceInfoS_h info) {
    Reply r;
    r.result = result;
    r.has_record = info != nullptr;
    static_cast<Replies *>(self)->got.push_back(r);
  }
  static void on_profile(void *self, int result, rpc_port_ProfileS_h profile) {
    Reply r;
    r.result = result;
    r.has_record = profile != nullptr;
    static_cast<Replies *>(self)->got.push_back(r);
  }
};

// A new AccountS with the given string fields set.
inline rpc_port_AccountS_h account_of(
    std::initializer_list<std::pair<int (*)(rpc_port_AccountS_h, const char *), const char *>>
        fields) {
  rpc_port_AccountS_h a = nullptr;
  rpc_port_AccountS_create(&a);
  for (const auto &f : fields) f.first(a, f.second);
  return a;
}

class AgentTest : public ::testing::Test {
 protected:
  static constexpr const char *kAgent = PlatformRoot::kAgentAppId;
  static constexpr const char *kClient = "dev.velmora.client";

  void SetUp() override {
    root_ = std::make_unique<PlatformRoot>();
    root_->install_agent(agent_level());
  }

  void TearDown() override {
    for (rpc_port_proxy_AccountSvc_h p : proxies_) rpc_port_proxy_AccountSvc_destroy(p);
    proxies_.clear();
    stop_agent();
    run_pending();
    root_.reset();
  }

  virtual int agent_level() const { return 5; }

  const std::string &root() const { return root_->path(); }

  // Seeds a user (and the test client) through the agent core's admin functions.
  void seed(const std::string &login_id, bool sign_in = true, bool make_default = false) {
    auto state = vagent::AgentState::open(root());
    ASSERT_TRUE(state.ok()) << state.status().describe();
    vagent::SeedUserOptions o;
    o.user.login_id = login_id;
    o.user.password = "pw-" + login_id;
    o.sign_in = sign_in;
    o.make_default = make_default;
    vagent::NewClient c;
    c.client_id = kClient;
    c.with_secret = true;
    o.client = c;
    auto r = vagent::seed_user(*state.value(), o);
    ASSERT_TRUE(r.ok()) << r.status().describe();
    secret_ = r->client_secret;
  }

  // The agent core's state of this root, opened afresh (the agent process shares its database).
  std::unique_ptr<vagent::AgentState> state() {
    auto s = vagent::AgentState::open(root());
    EXPECT_TRUE(s.ok()) << s.status().describe();
    return s.ok() ? std::move(s.value()) : nullptr;
  }

  void fault(const std::string &operation, const std::string &key, const std::string &value) {
    vagent::Status st = vagent::set_faults(root(), operation, {{key, value}});
    ASSERT_TRUE(st.ok()) << st.describe();
  }

  // The pid of the running agent instance, from the launcher's pid file; 0 when none.
  pid_t agent_pid() const {
    std::ifstream in(root_->path_of(std::string("run/") + kAgent + ".pid"));
    long pid = 0;
    in >> pid;
    return static_cast<pid_t>(pid);
  }

  static bool gone(pid_t pid) {
    // Reap it if it is ours and has exited; the launcher's own reaper may have done so already.
    int status;
    if (waitpid(pid, &status, WNOHANG) == pid) return true;
    if (kill(pid, 0) != 0 && errno == ESRCH) return true;
    // An instance another process launched is not ours to reap: exited is enough.
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    size_t close = line.rfind(')');
    return close != std::string::npos && close + 2 < line.size() && line[close + 2] == 'Z';
  }

  // Ends the agent this test launched (the pid the launcher recorded) and waits until it is gone.
  void stop_agent(int sig = SIGTERM) {
    pid_t pid = agent_pid();
    if (pid <= 0 || gone(pid)) return;
    kill(pid, sig);
    if (!run_until([pid] { return gone(pid); }, kWaitMs)) {
      kill(pid, SIGKILL);
      run_until([pid] { return gone(pid); }, kWaitMs);
    }
  }

  // A new proxy for the agent's port, connected (the connected event has arrived).
  rpc_port_proxy_AccountSvc_h connect_proxy(Events *events, const char *app_id = kAgent) {
    rpc_port_proxy_AccountSvc_callback_s cbs = {Events::on_connected, Events::on_disconnected,
                                                Events::on_rejected};
    rpc_port_proxy_AccountSvc_h h = nullptr;
    EXPECT_EQ(rpc_port_proxy_AccountSvc_create(app_id, &cbs, events, &h), 0);
    if (!h) return nullptr;
    proxies_.push_back(h);
    EXPECT_EQ(rpc_port_proxy_AccountSvc_connect(h), 0);
    EXPECT_TRUE(run_until([events] { return events->connected > 0 || events->rejected > 0; }));
    EXPECT_EQ(events->connected, 1);
    return h;
  }

  // Destroys a proxy made by connect_proxy before the test ends.
  void destroy_proxy(rpc_port_proxy_AccountSvc_h h) {
    std::erase(proxies_, h);
    EXPECT_EQ(rpc_port_proxy_AccountSvc_destroy(h), 0);
  }

  // Waits for `n` delegate answers in `replies`.
  static bool wait_replies(Replies &replies, size_t n) {
    return run_until([&replies, n] { return replies.got.size() >= n; });
  }

  std::unique_ptr<PlatformRoot> root_;
  std::vector<rpc_port_proxy_AccountSvc_h> proxies_;
  std::string secret_;  // the test client's secret, made by the agent in seed()
};

inline unsigned int listed(rpc_port_proxy_AccountSvc_h h) { return g_list_length(h->delegates); }

}  // namespace vtest
