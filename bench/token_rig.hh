// SPDX-License-Identifier: Apache-2.0
// Velmora benchmarks: what the token benchmarks stand on. A Rig is one platform root of its own
// with the agent installed, a signed-in user, a client with a secret and one without, optionally
// more installed packages and a state already holding many live tokens; its agent is started by
// the first request and stopped (and the root removed) with the Rig. A TokenClient is one handle
// asking for access tokens in one transport. Samples turns per-request times into the figures the
// tables print. CPU affinity switches between the unpinned and the pinned (one CPU) regime: the
// processes started while a regime is set (echo peer, agent, client processes) inherit it.
#pragma once

#include <benchmark/benchmark.h>
#include <glib.h>
#include <sched.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "admin.hh"
#include "agent_state.hh"
#include "bench_common.hh"
#include "config.hh"
#include "velmora_account.h"
#include "velmora_host.h"

namespace vbench {

inline constexpr const char *kLogin = "bench@velmora.dev";
inline constexpr const char *kSecretClient = "bench.client";  // registered with a secret
inline constexpr const char *kPublicClient = "bench.public";  // registered without one
inline constexpr const char *kScope = "read";

// What die() runs before it exits (stops the agents and removes the roots made so far).
inline std::function<void()> &cleanup_on_die() {
  static std::function<void()> cleanup;
  return cleanup;
}

[[noreturn]] inline void die(const std::string &what) {
  fprintf(stderr, "bench: %s\n", what.c_str());
  // Taken out first: a failure inside the clean-up itself ends here at once.
  if (std::function<void()> cleanup = std::exchange(cleanup_on_die(), nullptr)) cleanup();
  exit(1);
}

inline int64_t now_ns() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return int64_t{ts.tv_sec} * 1000000000 + ts.tv_nsec;
}

// ---- regimes ----

enum class Regime { kUnpinned, kPinned };

inline const char *regime_name(Regime r) { return r == Regime::kPinned ? "pinned" : "unpinned"; }

// The affinity this process started with (the unpinned regime) is kept at the first call.
inline const cpu_set_t &startup_affinity() {
  static const cpu_set_t set = [] {
    cpu_set_t s;
    CPU_ZERO(&s);
    if (sched_getaffinity(0, sizeof s, &s) != 0) die("sched_getaffinity failed");
    return s;
  }();
  return set;
}

// Pinned: the lowest CPU this process may run on (CPU 0 on an unrestricted machine).
inline void enter_regime(Regime r) {
  cpu_set_t set = startup_affinity();
  if (r == Regime::kPinned) {
    int first = -1;
    for (int c = 0; c < CPU_SETSIZE && first < 0; ++c)
      if (CPU_ISSET(c, &set)) first = c;
    CPU_ZERO(&set);
    CPU_SET(first, &set);
  }
  if (sched_setaffinity(0, sizeof set, &set) != 0) die("sched_setaffinity failed");
}

// ---- figures ----

class Samples {
 public:
  void clear() { ns_.clear(); }
  void add(int64_t ns) { ns_.push_back(ns); }
  void add_all(const std::vector<int64_t> &more) {
    ns_.insert(ns_.end(), more.begin(), more.end());
  }
  size_t size() const { return ns_.size(); }
  // Microseconds.
  double mean() const {
    if (ns_.empty()) return 0;
    double sum = 0;
    for (int64_t v : ns_) sum += static_cast<double>(v);
    return sum / static_cast<double>(ns_.size()) / 1000.0;
  }
  double percentile(double p) const {
    if (ns_.empty()) return 0;
    std::vector<int64_t> sorted = ns_;
    const size_t at = std::min(sorted.size() - 1, static_cast<size_t>(p / 100.0 * sorted.size()));
    std::nth_element(sorted.begin(), sorted.begin() + static_cast<long>(at), sorted.end());
    return static_cast<double>(sorted[at]) / 1000.0;
  }
  double median() const { return percentile(50); }

 private:
  std::vector<int64_t> ns_;
};

// CPU time of every thread of a process, in nanoseconds (-1 when it is gone).
inline int64_t process_cpu_ns(pid_t pid) {
  std::error_code ec;
  const std::string tasks = "/proc/" + std::to_string(pid) + "/task";
  int64_t total = 0;
  bool any = false;
  for (const auto &entry : std::filesystem::directory_iterator(tasks, ec)) {
    std::ifstream in(entry.path() / "schedstat");
    int64_t ns = 0;
    if (in >> ns) {
      total += ns;
      any = true;
    }
  }
  return any ? total : -1;
}

// The machine's CPU time so far, from the first line of /proc/stat, in clock ticks: all of it,
// and the part a hypervisor ran something else while this machine wanted to run ("steal").
struct CpuTicks {
  int64_t total = -1;
  int64_t steal = 0;
};

inline CpuTicks cpu_ticks() {
  std::ifstream in("/proc/stat");
  std::string cpu;
  int64_t v[8] = {};  // user nice system idle iowait irq softirq steal (guest is within user)
  if (!(in >> cpu) || cpu != "cpu") return {};
  for (int64_t &x : v)
    if (!(in >> x)) return {};
  CpuTicks t;
  t.total = 0;
  for (int64_t x : v) t.total += x;
  t.steal = v[7];
  return t;
}

// The share of the machine's CPU time stolen between two readings (-1 when unknown).
inline double steal_share(const CpuTicks &a, const CpuTicks &b) {
  if (a.total < 0 || b.total <= a.total) return -1;
  return static_cast<double>(b.steal - a.steal) / static_cast<double>(b.total - a.total);
}

// ---- the main loop of this process ----

inline bool run_until(const std::function<bool()> &done, int64_t timeout_ns = 30'000'000'000) {
  const int64_t deadline = now_ns() + timeout_ns;
  while (!done() && now_ns() < deadline) g_main_context_iteration(nullptr, TRUE);
  return done();
}

// ---- token requests ----

enum class Transport { kAppControl, kPort };

inline const char *transport_name(Transport t) {
  return t == Transport::kPort ? "port" : "app control";
}

// A handle of kLogin for one client over one transport: made with velmora_account_create (app
// control) or connected to the agent's port.
class ClientHandle {
 public:
  ClientHandle(Transport transport, const char *client_id) : transport_(transport) {
    if (transport == Transport::kAppControl) {
      if (velmora_account_create(&handle_) != 0) die("velmora_account_create failed");
    } else {
      if (velmora_account_connect(&handle_, on_connection, &connection_) != 0)
        die("velmora_account_connect failed");
      if (!run_until([&] { return connection_ >= 0; }) ||
          connection_ != VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED)
        die("the agent did not accept the connection");
    }
    velmora_account_set_property_str(handle_, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin);
    velmora_account_set_property_str(handle_, VELMORA_ACCOUNT_PROPERTY_CLIENT_ID, client_id);
  }
  ~ClientHandle() {
    if (transport_ == Transport::kAppControl)
      velmora_account_destroy(handle_);
    else
      velmora_account_disconnect(handle_);
  }
  ClientHandle(const ClientHandle &) = delete;
  ClientHandle &operator=(const ClientHandle &) = delete;

  velmora_account_h get() const { return handle_; }

 private:
  static void on_connection(int, int state, void *user_data) {
    *static_cast<int *>(user_data) = state;
  }
  Transport transport_;
  velmora_account_h handle_ = nullptr;
  int connection_ = -1;
};

// One handle asking for access tokens of kLogin for one client, over one transport.
class TokenClient {
 public:
  TokenClient(Transport transport, bool with_secret, const std::string &secret)
      : handle_(transport, with_secret ? kSecretClient : kPublicClient) {
    if (with_secret)
      velmora_account_set_property_str(handle_.get(), VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET,
                                       secret.c_str());
    velmora_account_set_property_str(handle_.get(), VELMORA_ACCOUNT_PROPERTY_SCOPE, kScope);
  }

  // One request, from the call to its callback: true when a 43-character token came back.
  bool request() {
    Outcome o;
    if (velmora_account_request_access_token(handle_.get(), on_token, &o) != 0) return false;
    while (!o.done) g_main_context_iteration(nullptr, TRUE);
    return o.result == 0 && o.has_token;
  }

 private:
  struct Outcome {
    bool done = false;
    int result = -1;
    bool has_token = false;
  };
  static void on_token(int result, velmora_account_h account, void *user_data) {
    auto *o = static_cast<Outcome *>(user_data);
    o->result = result;
    char *token = nullptr;
    if (velmora_account_get_property_str(account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, &token) ==
        0) {
      o->has_token = strlen(token) == 43;
      free(token);
    }
    velmora_account_destroy(account);
    o->done = true;
  }
  ClientHandle handle_;
};

// ---- the platform root ----

struct RigOptions {
  int packages = 1;         // installed packages, the agent's included
  int64_t live_tokens = 0;  // live access tokens of other users and clients made beforehand
};

inline std::string self_dir() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

// The agent executable: VELMORA_AGENT_EXEC, else "../agent/velmora-agent" next to this program.
inline std::string agent_exec() {
  if (const char *env = getenv("VELMORA_AGENT_EXEC")) return env;
  return (std::filesystem::path(self_dir()).parent_path() / "agent" / "velmora-agent").string();
}

// The directory the rigs' roots are made in (private, removed at exit by its owner).
inline std::string &rig_parent() {
  static std::string dir;
  return dir;
}

class Rig {
 public:
  // Makes the root and the state; this process then uses it (VELMORA_PLATFORM_ROOT).
  explicit Rig(const RigOptions &options) {
    static int serial = 0;
    root_ = rig_parent() + "/root-" + std::to_string(++serial);
    if (mkdir(root_.c_str(), 0700) != 0) die("cannot make " + root_);
    use();
    char *error = nullptr;
    if (velmora_host_init_root("mobile", &error) != 0) die(error ? error : "init root");
    install_packages(options.packages);
    seed(options.live_tokens);
  }
  ~Rig() {
    stop_agent();
    std::error_code ec;
    std::filesystem::remove_all(root_, ec);
  }
  Rig(const Rig &) = delete;
  Rig &operator=(const Rig &) = delete;

  // Makes this rig's root the platform root of this process (and of what it starts) again.
  void use() const { setenv("VELMORA_PLATFORM_ROOT", root_.c_str(), 1); }
  const std::string &root() const { return root_; }
  const std::string &secret() const { return secret_; }
  int64_t live_tokens() const { return live_tokens_; }

  // The running agent (after the first request), or -1.
  pid_t agent_pid() {
    if (agent_pid_ > 0) return agent_pid_;
    std::ifstream pidfile(root_ + "/run/" + vagent::kAgentAppId + ".pid");
    long pid = 0;
    if (pidfile >> pid && pid > 0) agent_pid_ = static_cast<pid_t>(pid);
    return agent_pid_;
  }
  int64_t agent_cpu_ns() { return agent_pid() > 0 ? process_cpu_ns(agent_pid_) : -1; }

 private:
  void install_packages(int count) {
    char *error = nullptr;
    const std::string exec = agent_exec();
    if (access(exec.c_str(), X_OK) != 0) die("no agent at " + exec + " (is it built?)");
    velmora_host_app_s agent[] = {{vagent::kAgentAppId, "service", exec.c_str()}};
    velmora_host_metadata_s meta[] = {
        {vagent::kAgentAppId, "velmora-experience-service-api-level", "5"}};
    if (velmora_host_install_package(vagent::kAgentAppId, agent, 1, meta, 1, &error) != 0)
      die(error ? error : "install the agent");
    for (int i = 1; i < count; ++i) {
      char id[64];
      snprintf(id, sizeof id, "dev.velmora.bench.pkg%03d", i);
      velmora_host_app_s app[] = {{id, "ui", "/bin/true"}};
      velmora_host_metadata_s m[] = {{id, "velmora-bench", "1"}};
      if (velmora_host_install_package(id, app, 1, m, 1, &error) != 0)
        die(error ? error : "install a package");
    }
  }

  // The bench user (signed in, default) with both clients; then, for `live_tokens`, users and
  // clients of their own with kMaxGrantsPerClient live grants each.
  void seed(int64_t live_tokens) {
    auto opened = vagent::AgentState::open(root_);
    if (!opened.ok()) die("agent state: " + opened.status().describe());
    vagent::AgentState &state = *opened.value();
    vagent::SeedUserOptions o;
    o.user.login_id = kLogin;
    o.user.password = "bench-pass-1";
    o.make_default = true;
    o.client = vagent::NewClient{kSecretClient, true, {kScope}};
    auto seeded = vagent::seed_user(state, o);
    if (!seeded.ok()) die("seeding the user: " + seeded.status().describe());
    secret_ = seeded->client_secret;
    if (!state.clients().register_client(vagent::NewClient{kPublicClient, false, {kScope}}).ok())
      die("registering the public client failed");
    if (live_tokens > 0) fill(state, live_tokens);
  }

  void fill(vagent::AgentState &state, int64_t wanted) {
    constexpr int kUsers = 8;
    const int64_t per_user = (wanted + kUsers - 1) / kUsers;
    const int64_t clients =
        (per_user + vagent::kMaxGrantsPerClient - 1) / vagent::kMaxGrantsPerClient;
    for (int64_t c = 0; c < clients; ++c) {
      const std::string id = "fill.client" + std::to_string(c);
      if (!state.clients().register_client(vagent::NewClient{id, false, {kScope}}).ok())
        die("registering " + id + " failed");
    }
    int64_t made = 0;
    for (int u = 0; u < kUsers && made < wanted; ++u) {
      vagent::SeedUserOptions o;
      o.user.login_id = "fill" + std::to_string(u) + "@velmora.dev";
      o.user.password = "fill-pass-1";
      o.sign_in = true;
      if (!vagent::seed_user(state, o).ok()) die("seeding a filler user failed");
      vagent::TokenRequest r;
      r.login_id = o.user.login_id;
      for (int64_t c = 0; c < clients && made < wanted; ++c) {
        r.client_id = "fill.client" + std::to_string(c);
        vagent::Transaction tx(state.db());  // one commit per client's grants
        for (int g = 0; g < vagent::kMaxGrantsPerClient && made < wanted; ++g, ++made)
          if (!state.tokens().issue(r).ok()) die("filling tokens failed");
        if (!tx.commit().ok()) die("filling tokens failed to commit");
      }
    }
    for (int u = 0; u < kUsers; ++u) {
      auto n = state.tokens().live_count("fill" + std::to_string(u) + "@velmora.dev");
      if (n.ok()) live_tokens_ += n.value();
    }
    if (live_tokens_ < wanted) die("the filled state holds fewer live tokens than asked");
    if (!state.db().checkpoint().ok()) die("checkpoint after filling failed");
  }

  void stop_agent() {
    if (agent_pid() <= 0) return;
    kill(agent_pid_, SIGTERM);
    const int64_t deadline = now_ns() + 10'000'000'000;
    int status;
    while (now_ns() < deadline) {
      if (waitpid(agent_pid_, &status, WNOHANG) == agent_pid_) break;
      if (kill(agent_pid_, 0) != 0 && errno == ESRCH) break;
      usleep(2000);
    }
    agent_pid_ = -1;
  }

  std::string root_;
  std::string secret_;
  int64_t live_tokens_ = 0;
  pid_t agent_pid_ = -1;
};

// ---- the row being run ----

// What a row runs on: its rig (root, agent), its client and its echo peer (floor rows). Made when
// the row's first run starts; torn down when another row starts, and at the end.
template <class Client>
struct RowRun {
  std::string name;
  std::unique_ptr<Client> client;
  std::unique_ptr<Rig> rig;
  std::unique_ptr<Rig> base_rig;  // a plain rig beside `rig`, for a row that compares with one
  EchoPeer echo;

  // The one row being run.
  static RowRun &current() {
    static RowRun run;
    return run;
  }

  // Makes `row_name` the row being run, in `regime`, after tearing down the one before; false
  // when it already is the row being run (nothing to start).
  bool begin(const std::string &row_name, Regime regime) {
    if (name == row_name) return false;
    tear_down();
    name = row_name;
    enter_regime(regime);
    return true;
  }

  // Stops everything (the client before its agent) and goes back to the unpinned regime.
  void tear_down() {
    client.reset();
    rig.reset();
    base_rig.reset();
    stop_echo_peer(&echo);
    name.clear();
    enter_regime(Regime::kUnpinned);
  }

  // Starts the echo peer answering `response` bytes and checks one round trip of `request`.
  void start_floor(size_t request, size_t response) {
    if (!start_echo_peer(response, &echo)) die("cannot start the echo peer");
    std::vector<unsigned char> in;
    if (!echo_once(echo, frame(request), &in) || in.size() != response)
      die("the socketpair echo did not answer");
  }

  // The agent was started by this process in the row's regime: it must run where this does.
  void check_agent_affinity() {
    for (Rig *r : {rig.get(), base_rig.get()}) {
      if (!r) continue;
      cpu_set_t mine, agents;
      if (r->agent_pid() <= 0) die(name + ": the agent did not start");
      if (sched_getaffinity(0, sizeof mine, &mine) != 0 ||
          sched_getaffinity(r->agent_pid(), sizeof agents, &agents) != 0 ||
          !CPU_EQUAL(&mine, &agents))
        die(name + ": the agent does not run on the CPUs of the row's regime");
    }
  }
};

// ---- main ----

// Runs the benchmarks of a program whose rows make rigs: their roots go into a private directory
// named after `dir_pattern`, removed at the end and by die(); `tear_down` stops what the last row
// started, `print` prints the tables after the runs.
inline int run_rig_benchmarks(int argc, char **argv, const char *dir_pattern,
                              const std::function<void()> &register_rows,
                              const std::function<void()> &tear_down,
                              const std::function<void()> &print) {
  startup_affinity();
  rig_parent() = make_temp_dir(dir_pattern, false);
  if (rig_parent().empty()) die("cannot make a directory for the platform roots");
  cleanup_on_die() = [tear_down] {
    tear_down();
    std::error_code ec;
    std::filesystem::remove_all(rig_parent(), ec);
  };
  register_rows();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  tear_down();
  print();
  benchmark::Shutdown();
  cleanup_on_die() = nullptr;
  std::error_code ec;
  std::filesystem::remove_all(rig_parent(), ec);
  return 0;
}

}  // namespace vbench
