// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the reference agent of one platform root, as integration tests drive it.
//
// vtest::Agent installs the agent package into a root, seeds users and clients into its state
// through the agent core (as `velmora-agent seed-user` does), sets faults, finds the instance the
// platform launched and stops it. The agent itself is launched on demand by the host platform when
// the library first reaches it, as on a device. Fixtures hold one Agent per test.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "admin.hh"
#include "agent_state.hh"
#include "faults.hh"
#include "main_loop.hh"
#include "platform_root.hh"

namespace vtest {

// A user to seed, with the client the library will call as.
struct SeedUser {
  std::string login_id;
  std::string password;  // empty: "pw-" + login_id
  bool sign_in = true;
  bool make_default = false;
  std::string client_id = "dev.velmora.client";
  std::vector<std::string> scopes;
};

struct Seeded {
  std::string user_id;
  std::string client_secret;  // made by the agent for the client
};

class Agent {
 public:
  static constexpr const char *kAppId = PlatformRoot::kAgentAppId;

  explicit Agent(PlatformRoot &root) : root_(root) {}

  // Installs the agent package with this API level (std::nullopt: without the level metadata).
  void install(std::optional<int> api_level = 5) const { root_.install_agent(api_level); }

  // The agent core's state of this root, opened afresh (the agent process shares its database).
  std::unique_ptr<vagent::AgentState> state() const {
    auto s = vagent::AgentState::open(root_.path());
    EXPECT_TRUE(s.ok()) << s.status().describe();
    return s.ok() ? std::move(s.value()) : nullptr;
  }

  // Seeds a user and registers its client with a secret. Fails the test when the agent core
  // refuses; returns what the agent made.
  Seeded seed(const SeedUser &user) const {
    Seeded out;
    auto state = vagent::AgentState::open(root_.path());
    EXPECT_TRUE(state.ok()) << state.status().describe();
    if (!state.ok()) return out;
    vagent::SeedUserOptions o;
    o.user.login_id = user.login_id;
    o.user.password = user.password.empty() ? "pw-" + user.login_id : user.password;
    o.sign_in = user.sign_in;
    o.make_default = user.make_default;
    vagent::NewClient client;
    client.client_id = user.client_id;
    client.with_secret = true;
    client.scopes = user.scopes;
    o.client = client;
    auto r = vagent::seed_user(*state.value(), o);
    EXPECT_TRUE(r.ok()) << r.status().describe();
    if (!r.ok()) return out;
    out.user_id = r->user.user_id;
    out.client_secret = r->client_secret;
    return out;
  }

  // Sets one fault of `operation` (see agent/core/faults.hh): fault("GetDefaultAccount",
  // "delay_ms", "500").
  void fault(const std::string &operation, const std::string &key, const std::string &value) const {
    vagent::Status st = vagent::set_faults(root_.path(), operation, {{key, value}});
    EXPECT_TRUE(st.ok()) << st.describe();
  }

  // The pid of the running instance of the agent's application `app_id` (the service, or
  // PlatformRoot::kAgentUiAppId), from the launcher's pid file; 0 when none.
  pid_t pid(const char *app_id = kAppId) const {
    std::ifstream in(root_.path_of(std::string("run/") + app_id + ".pid"));
    long pid = 0;
    in >> pid;
    return static_cast<pid_t>(pid);
  }

  // True once `pid` has ended (reaped here when it is this process's child; a zombie another
  // process launched counts as ended).
  static bool gone(pid_t pid) {
    if (pid <= 0) return true;
    int status;
    if (waitpid(pid, &status, WNOHANG) == pid) return true;
    if (kill(pid, 0) != 0 && errno == ESRCH) return true;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    const size_t close = line.rfind(')');
    return close != std::string::npos && close + 2 < line.size() &&
           (line[close + 2] == 'Z' || line[close + 2] == 'X');
  }

  // Ends the running instances, the service's and the UI application's (launched by the requests
  // sent to it), with `sig` and waits (bounded) until they are gone; SIGKILL when one outlives the
  // wait.
  void stop(int sig = SIGTERM) const {
    for (const char *app_id : {kAppId, PlatformRoot::kAgentUiAppId}) {
      const pid_t p = pid(app_id);
      if (p <= 0 || gone(p)) continue;
      kill(p, sig);
      if (!run_until([p] { return gone(p); })) {
        kill(p, SIGKILL);
        run_until([p] { return gone(p); });
      }
    }
  }

 private:
  PlatformRoot &root_;
};

}  // namespace vtest
