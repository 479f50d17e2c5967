// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the library's AccountSvc transport against the reference agent, each test in its
// own platform root with the agent installed, launched on demand and stopped at the end (the agent
// itself is driven through vtest::Agent, agent.hh; waits through vtest::run_until, main_loop.hh).
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
#include "agent.hh"
#include "dlog.h"
#include "log_capture.hh"
#include "main_loop.hh"
#include "platform_result.h"
#include "platform_root.hh"
#include "proxy_internal.hh"

namespace vtest {

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
    agent_ = std::make_unique<Agent>(*root_);
    agent_->install(agent_level());
  }

  void TearDown() override {
    for (rpc_port_proxy_AccountSvc_h p : proxies_) rpc_port_proxy_AccountSvc_destroy(p);
    proxies_.clear();
    stop_agent();
    run_pending();
    agent_.reset();
    root_.reset();
  }

  virtual int agent_level() const { return 5; }

  const std::string &root() const { return root_->path(); }

  // Seeds a user (and the test client, whose secret goes to secret_).
  void seed(const std::string &login_id, bool sign_in = true, bool make_default = false) {
    SeedUser user;
    user.login_id = login_id;
    user.sign_in = sign_in;
    user.make_default = make_default;
    user.client_id = kClient;
    secret_ = agent_->seed(user).client_secret;
  }

  // The agent core's state of this root, opened afresh (the agent process shares its database).
  std::unique_ptr<vagent::AgentState> state() { return agent_->state(); }

  void fault(const std::string &operation, const std::string &key, const std::string &value) {
    agent_->fault(operation, key, value);
  }

  // The pid of the running agent instance, from the launcher's pid file; 0 when none.
  pid_t agent_pid() const { return agent_->pid(); }

  static bool gone(pid_t pid) { return Agent::gone(pid); }

  // Ends the agent this test launched and waits until it is gone.
  void stop_agent(int sig = SIGTERM) {
    if (agent_) agent_->stop(sig);
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
  std::unique_ptr<Agent> agent_;
  std::vector<rpc_port_proxy_AccountSvc_h> proxies_;
  std::string secret_;  // the test client's secret, made by the agent in seed()
};

inline unsigned int listed(rpc_port_proxy_AccountSvc_h h) { return g_list_length(h->delegates); }

}  // namespace vtest
