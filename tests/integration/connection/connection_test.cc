// SPDX-License-Identifier: Apache-2.0
// Velmora tests: connected handles (velmora_account_connect / velmora_account_disconnect) against
// the reference agent: the checks in their order, the connection callback for connected,
// disconnected, rejected, a hung agent, and launch on demand for two clients at once.
#include <dirent.h>
#include <limits.h>
#include <poll.h>
#include <stdlib.h>

#include <cstring>

#include "account_record.h"
#include "agent_fixture.hh"
#include "velmora_account.h"

namespace {

// What the connection callback reported.
struct States {
  struct Event {
    int result;
    int state;
    void *user_data;
  };
  std::vector<Event> got;
  velmora_account_h disconnect_on_event = nullptr;  // disconnects from inside the callback
  int disconnect_result = 1;

  static void cb(int result, int state, void *self) {
    auto *s = static_cast<States *>(self);
    s->got.push_back({result, state, self});
    if (s->disconnect_on_event) {
      s->disconnect_result = velmora_account_disconnect(s->disconnect_on_event);
      s->disconnect_on_event = nullptr;
    }
  }
  bool has(int state) const {
    for (const Event &e : got)
      if (e.state == state) return true;
    return false;
  }
};

class NidlConnection : public vtest::AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("alice@example.com", true, true);
  }

  // Connects a handle and waits for the first connection event.
  velmora_account_h connect(States *states) {
    velmora_account_h h = nullptr;
    EXPECT_EQ(velmora_account_connect(&h, States::cb, states), VELMORA_ACCOUNT_ERROR_NONE);
    EXPECT_NE(h, nullptr);
    EXPECT_TRUE(vtest::run_until([states] { return !states->got.empty(); }));
    return h;
  }

  static std::string default_account(velmora_account_h h) {
    char *login = nullptr;
    int ret = rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(h->proxy, &login);
    std::string out = ret == 0 && login ? login : "error " + std::to_string(ret);
    free(login);
    return out;
  }

  static bool has(const vtest::LogCapture &log, int prio, const std::string &text) {
    return log.has(vtest::kVaTag, prio, text);
  }
};

TEST_F(NidlConnection, ConnectReportsConnectedAndDisconnectEndsIt) {
  vtest::LogCapture log;
  States states;
  velmora_account_h h = connect(&states);
  ASSERT_NE(h, nullptr);
  EXPECT_TRUE(has(log, DLOG_INFO, "[velmora_account_connect] 1.4.9")) << log.dump();
  EXPECT_TRUE(has(log, DLOG_INFO, "[velmora_account_connect] <<<< ended")) << log.dump();
  ASSERT_EQ(states.got.size(), 1u);
  EXPECT_EQ(states.got[0].result, 0);
  EXPECT_EQ(states.got[0].state, VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED);
  EXPECT_EQ(states.got[0].user_data, &states);
  EXPECT_TRUE(has(log, DLOG_INFO, "[__on_connected]")) << log.dump();

  EXPECT_TRUE(h->connected);
  EXPECT_EQ(h->request_to_server, 2);
  EXPECT_EQ(h->mobile_account_exist, 2);
  EXPECT_EQ(h->register_trusted_device, 2);
  EXPECT_EQ(h->check_2factor_authentication, 2);
  EXPECT_EQ(h->account_linking_status, 2);
  EXPECT_EQ(default_account(h), "alice@example.com");

  log.clear();
  EXPECT_EQ(velmora_account_disconnect(h), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(has(log, DLOG_INFO, "[velmora_account_disconnect]")) << log.dump();
  EXPECT_TRUE(has(log, DLOG_INFO, "rpc_port_proxy_SvcMgrAppPort_destroy [0]")) << log.dump();
  EXPECT_TRUE(has(log, DLOG_INFO, "[velmora_account_disconnect] <<<< ended")) << log.dump();
  vtest::run_pending();
  EXPECT_EQ(states.got.size(), 1u) << "no event after disconnect";
}

TEST_F(NidlConnection, NullCallbackIsInvalidParameterBeforeTheTvCheck) {
  root_->set_profile("tv");
  vtest::LogCapture log;
  velmora_account_h h = nullptr;
  EXPECT_EQ(velmora_account_connect(&h, nullptr, nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(has(log, DLOG_ERROR, "(callback == NULL)")) << log.dump();
  EXPECT_EQ(log.count("(is_tv_profile())"), 0) << log.dump();
  EXPECT_EQ(h, nullptr);
}

TEST_F(NidlConnection, NullHandleIsInvalidParameter) {
  vtest::LogCapture log;
  States states;
  EXPECT_EQ(velmora_account_connect(nullptr, States::cb, &states),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(has(log, DLOG_ERROR, "(handle == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_disconnect(nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(log.count("(handle == NULL)"), 2) << log.dump();
}

TEST_F(NidlConnection, ConnectAndDisconnectAreNotOfferedOnTv) {
  root_->set_profile("tv");
  vtest::LogCapture log;
  States states;
  velmora_account_h h = nullptr;
  EXPECT_EQ(velmora_account_connect(&h, States::cb, &states), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(h, nullptr);
  velmora_account_h plain = nullptr;
  ASSERT_EQ(velmora_account_create(&plain), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(velmora_account_disconnect(plain), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(log.count("(is_tv_profile())"), 2) << log.dump();
  EXPECT_EQ(velmora_account_destroy(plain), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(agent_pid(), 0) << "nothing was launched";
}

TEST_F(NidlConnection, ConnectWithoutTheAgentIsNotSupported) {
  root_->remove_package(kAgent);
  vtest::LogCapture log;
  States states;
  velmora_account_h h = nullptr;
  EXPECT_EQ(velmora_account_connect(&h, States::cb, &states), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(has(log, DLOG_ERROR, "(is_agent_installed() == false)")) << log.dump();
}

class NidlConnectionOldAgent : public NidlConnection {
 protected:
  int agent_level() const override { return 2; }
};

TEST_F(NidlConnectionOldAgent, ConnectAndDisconnectNeedLevelThree) {
  vtest::LogCapture log;
  States states;
  velmora_account_h h = nullptr;
  EXPECT_EQ(velmora_account_connect(&h, States::cb, &states), VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(h, nullptr);
  velmora_account_h plain = nullptr;
  ASSERT_EQ(velmora_account_create(&plain), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(velmora_account_disconnect(plain), VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(log.count("(is_lower_agent(3) == true)"), 2) << log.dump();
  EXPECT_EQ(velmora_account_destroy(plain), VELMORA_ACCOUNT_ERROR_NONE);
}

TEST_F(NidlConnection, RejectedConnectionReportsPermissionDenied) {
  fault("AccountSvc", "reject_connection", "true");
  vtest::LogCapture log;
  States states;
  velmora_account_h h = connect(&states);
  ASSERT_NE(h, nullptr);
  ASSERT_EQ(states.got.size(), 1u);
  EXPECT_EQ(states.got[0].result, VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED);
  EXPECT_EQ(states.got[0].state, VELMORA_ACCOUNT_CONNECTION_STATE_REJECTED);
  EXPECT_TRUE(has(log, DLOG_INFO, "[__on_rejected]")) << log.dump();
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_INFO,
                      "[__RPC_PORT__] endpoint(dev.velmora.account), port_name(AccountSvc)"))
      << log.dump();
  // A rejected handle keeps its proxy; a call on it is not connected.
  ASSERT_NE(h->proxy, nullptr);
  EXPECT_EQ(default_account(h), "error -1");
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Not connected")) << log.dump();
  log.clear();
  EXPECT_EQ(velmora_account_disconnect(h), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(has(log, DLOG_INFO, "rpc_port_proxy_SvcMgrAppPort_destroy [0]")) << log.dump();
}

TEST_F(NidlConnection, RejectedCallbackMayDisconnectRightAway) {
  fault("AccountSvc", "reject_connection", "true");
  States states;
  velmora_account_h h = nullptr;
  ASSERT_EQ(velmora_account_connect(&h, States::cb, &states), VELMORA_ACCOUNT_ERROR_NONE);
  states.disconnect_on_event = h;
  ASSERT_TRUE(vtest::run_until([&states] { return !states.got.empty(); }));
  EXPECT_EQ(states.got[0].state, VELMORA_ACCOUNT_CONNECTION_STATE_REJECTED);
  EXPECT_EQ(states.disconnect_result, VELMORA_ACCOUNT_ERROR_NONE);
  vtest::run_pending();  // the sanitizer checks that nothing touches the freed handle or proxy
  EXPECT_EQ(states.got.size(), 1u);
}

TEST_F(NidlConnection, KilledAgentReportsDisconnectedAndDisconnectStillSucceeds) {
  vtest::LogCapture log;
  States states;
  velmora_account_h h = connect(&states);
  ASSERT_NE(h, nullptr);
  ASSERT_EQ(states.got[0].state, VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED);
  stop_agent(SIGKILL);
  ASSERT_TRUE(vtest::run_until([&states] { return states.got.size() >= 2; }));
  EXPECT_EQ(states.got[1].result, 0);
  EXPECT_EQ(states.got[1].state, VELMORA_ACCOUNT_CONNECTION_STATE_DISCONNECTED);
  EXPECT_TRUE(has(log, DLOG_INFO, "[__on_disconnected]")) << log.dump();
  EXPECT_EQ(h->proxy, nullptr);
  EXPECT_TRUE(h->connected) << "stays a connected-mode handle";

  // Requests on the handle now fail in the proxy.
  char *login = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(h->proxy, &login), -1);

  log.clear();
  EXPECT_EQ(velmora_account_disconnect(h), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(log.count("rpc_port_proxy_SvcMgrAppPort_destroy [0]"), 0) << log.dump();
  EXPECT_TRUE(has(log, DLOG_INFO, "[velmora_account_disconnect] <<<< ended")) << log.dump();
}

TEST_F(NidlConnection, DisconnectedCallbackMayDisconnectRightAway) {
  States states;
  velmora_account_h h = connect(&states);
  ASSERT_NE(h, nullptr);
  states.disconnect_on_event = h;
  stop_agent(SIGKILL);
  ASSERT_TRUE(vtest::run_until([&states] { return states.got.size() >= 2; }));
  EXPECT_EQ(states.got[1].state, VELMORA_ACCOUNT_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(states.disconnect_result, VELMORA_ACCOUNT_ERROR_NONE);
  vtest::run_pending();
}

TEST_F(NidlConnection, HungAgentTimesOutThenDisconnects) {
  fault("GetDefaultAccount", "never_answer", "true");
  States states;
  velmora_account_h h = connect(&states);
  ASSERT_NE(h, nullptr);
  ASSERT_EQ(states.got[0].state, VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED);
  // A short wait for results from here on (read at each call); the connection itself was made
  // with the default, so that a slow start of the agent does not count.
  const char *previous = getenv("VELMORA_RPC_TIMEOUT_MS");
  const bool had_previous = previous != nullptr;
  const std::string saved = previous ? previous : "";
  setenv("VELMORA_RPC_TIMEOUT_MS", "1000", 1);

  vtest::LogCapture log;
  set_last_result(-99);
  char *login = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(h->proxy, &login), -1);
  EXPECT_EQ(login, nullptr);
  EXPECT_EQ(get_last_result(), 0) << "the request itself was sent";
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Invalid protocol")) << log.dump();

  ASSERT_TRUE(vtest::run_until([&states] { return states.got.size() >= 2; }));
  EXPECT_EQ(states.got[1].state, VELMORA_ACCOUNT_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(h->proxy, nullptr);
  EXPECT_EQ(velmora_account_disconnect(h), VELMORA_ACCOUNT_ERROR_NONE);
  if (had_previous)
    setenv("VELMORA_RPC_TIMEOUT_MS", saved.c_str(), 1);
  else
    unsetenv("VELMORA_RPC_TIMEOUT_MS");
}

// The processes running the agent executable with this test's platform root.
std::vector<pid_t> agent_processes(const std::string &root) {
  char exe_real[PATH_MAX];
  if (!realpath(vtest::PlatformRoot::agent_exec().c_str(), exe_real)) return {};
  const std::string want_env = "VELMORA_PLATFORM_ROOT=" + root;
  std::vector<pid_t> found;
  DIR *proc = opendir("/proc");
  if (!proc) return found;
  while (dirent *e = readdir(proc)) {
    char *end = nullptr;
    long pid = strtol(e->d_name, &end, 10);
    if (*end || pid <= 0) continue;
    const std::string dir = std::string("/proc/") + e->d_name;
    char exe[PATH_MAX];
    ssize_t n = readlink((dir + "/exe").c_str(), exe, sizeof(exe) - 1);
    if (n <= 0) continue;
    exe[n] = '\0';
    if (strcmp(exe, exe_real) != 0) continue;
    std::ifstream env(dir + "/environ", std::ios::binary);
    std::string var;
    while (std::getline(env, var, '\0'))
      if (var == want_env) {
        found.push_back(static_cast<pid_t>(pid));
        break;
      }
  }
  closedir(proc);
  return found;
}

TEST_F(NidlConnection, TwoClientsConnectingAtOnceLaunchOneAgent) {
  ASSERT_EQ(agent_pid(), 0) << "not running before the first connect";
  States first, second;
  velmora_account_h a = nullptr, b = nullptr;
  // Both connect before the main loop runs: both wait for the same launch.
  ASSERT_EQ(velmora_account_connect(&a, States::cb, &first), VELMORA_ACCOUNT_ERROR_NONE);
  ASSERT_EQ(velmora_account_connect(&b, States::cb, &second), VELMORA_ACCOUNT_ERROR_NONE);
  ASSERT_TRUE(vtest::run_until([&] { return !first.got.empty() && !second.got.empty(); }));
  EXPECT_TRUE(first.has(VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED));
  EXPECT_TRUE(second.has(VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED));
  EXPECT_EQ(default_account(a), "alice@example.com");
  EXPECT_EQ(default_account(b), "alice@example.com");
  std::vector<pid_t> running = agent_processes(root());
  ASSERT_EQ(running.size(), 1u);
  EXPECT_EQ(running[0], agent_pid());
  EXPECT_EQ(velmora_account_disconnect(a), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(velmora_account_disconnect(b), VELMORA_ACCOUNT_ERROR_NONE);
}

// The child of the test below: connects at the parent's signal, calls the agent, reports on
// `report` and waits for the parent's word before it ends.
[[noreturn]] void connect_in_child(int go, int report) {
  char c = 0;
  if (read(go, &c, 1) != 1) _exit(2);
  States states;
  velmora_account_h h = nullptr;
  if (velmora_account_connect(&h, States::cb, &states) != 0) _exit(3);
  if (!vtest::run_until([&states] { return !states.got.empty(); })) _exit(4);
  char *login = nullptr;
  bool ok = states.has(VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED) &&
            rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(h->proxy, &login) == 0 && login &&
            strcmp(login, "alice@example.com") == 0;
  free(login);
  char answer = ok ? 'y' : 'n';
  if (write(report, &answer, 1) != 1) _exit(5);
  if (read(go, &c, 1) != 1) _exit(6);  // the parent has counted the agents
  velmora_account_disconnect(h);
  _exit(ok ? 0 : 1);
}

TEST_F(NidlConnection, ClientsInTwoProcessesConnectingAtOnceLaunchOneAgent) {
  int go[2], report[2];
  ASSERT_EQ(pipe(go), 0);
  ASSERT_EQ(pipe(report), 0);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    close(go[1]);
    close(report[0]);
    connect_in_child(go[0], report[1]);
  }
  close(go[0]);
  close(report[1]);

  // Both processes connect at once; neither finds the agent running.
  ASSERT_EQ(write(go[1], "g", 1), 1);
  States states;
  velmora_account_h h = nullptr;
  ASSERT_EQ(velmora_account_connect(&h, States::cb, &states), VELMORA_ACCOUNT_ERROR_NONE);
  char child_answer = 0;
  auto child_reported = [&] {
    if (child_answer) return true;
    struct pollfd p = {report[0], POLLIN, 0};
    if (poll(&p, 1, 0) == 1 && read(report[0], &child_answer, 1) != 1) child_answer = '?';
    return child_answer != 0;
  };
  ASSERT_TRUE(vtest::run_until([&] { return !states.got.empty() && child_reported(); }));
  EXPECT_TRUE(states.has(VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED));
  EXPECT_EQ(child_answer, 'y');
  EXPECT_EQ(default_account(h), "alice@example.com");
  std::vector<pid_t> running = agent_processes(root());
  ASSERT_EQ(running.size(), 1u);
  EXPECT_EQ(running[0], agent_pid());

  ASSERT_EQ(write(go[1], "q", 1), 1);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  close(go[1]);
  close(report[0]);
  EXPECT_EQ(velmora_account_disconnect(h), VELMORA_ACCOUNT_ERROR_NONE);
}

}  // namespace
