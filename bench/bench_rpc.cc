// SPDX-License-Identifier: Apache-2.0
// Velmora benchmarks: the round trip of one AccountSvc method call, next to the floor under it and
// a common alternative.
//
//   BM_AccountSvc_GetDefaultAccount  rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount on the
//                                    reference agent (launched on demand in a temporary platform
//                                    root with one signed-in default account): request parcel,
//                                    agent lookup in its state, result parcel with the login id.
//   BM_Socketpair_PingPong           the floor: a Unix stream socketpair between two processes
//                                    carrying frames of exactly the sizes the call above sends
//                                    and receives, echoed by a child that does nothing else.
//   BM_GDBus_PeerCall                a GDBus peer-to-peer method call (GDBusServer in a child
//                                    process on a private address) with one string in and one out.
//
// Every side is checked once before timing. After the runs a table gives microseconds per call and
// the two ratios with their targets: the AccountSvc call within 1.5x the floor, and at least 3x
// faster than GDBus. The numbers are whatever this machine measures.
//
// The agent executable is VELMORA_AGENT_EXEC, else "../agent/velmora-agent" next to this program.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <gio/gio.h>
#include <glib.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "account_svc_proxy.h"
#include "bench_common.hh"
#include "rpc_port_parcel.h"
#include "velmora_host.h"

namespace {

constexpr const char *kAgentAppId = "dev.velmora.account";
constexpr const char *kLoginId = "alice@example.com";
constexpr int kWaitMs = 20000;

[[noreturn]] void fail(const std::string &what) {
  fprintf(stderr, "bench_rpc: %s\n", what.c_str());
  exit(1);
}

// ---- GDBus peer to peer ----

constexpr const char *kIntrospection =
    "<node><interface name='dev.velmora.Bench'>"
    "<method name='GetDefaultAccount'><arg type='s' direction='in'/>"
    "<arg type='s' direction='out'/></method>"
    "</interface></node>";

void gdbus_method(GDBusConnection *, const gchar *, const gchar *, const gchar *, const gchar *,
                  GVariant *, GDBusMethodInvocation *invocation, gpointer) {
  g_dbus_method_invocation_return_value(invocation, g_variant_new("(s)", kLoginId));
}

gboolean gdbus_new_connection(GDBusServer *, GDBusConnection *connection, gpointer info) {
  static const GDBusInterfaceVTable vtable = {gdbus_method, nullptr, nullptr, {nullptr}};
  g_object_ref(connection);
  g_dbus_connection_register_object(connection, "/dev/velmora/Bench",
                                    static_cast<GDBusNodeInfo *>(info)->interfaces[0], &vtable,
                                    nullptr, nullptr, nullptr);
  return TRUE;
}

// The child of the GDBus side: a server on a private socket in `dir`; its client address goes to
// `address_fd`.
[[noreturn]] void gdbus_child(const std::string &dir, int address_fd) {
  GError *err = nullptr;
  GDBusNodeInfo *info = g_dbus_node_info_new_for_xml(kIntrospection, &err);
  gchar *guid = g_dbus_generate_guid();
  const std::string listen = "unix:tmpdir=" + dir;
  GDBusServer *server = g_dbus_server_new_sync(listen.c_str(), G_DBUS_SERVER_FLAGS_NONE, guid,
                                               nullptr, nullptr, &err);
  if (!server) _exit(2);
  g_signal_connect(server, "new-connection", G_CALLBACK(gdbus_new_connection), info);
  g_dbus_server_start(server);
  const char *address = g_dbus_server_get_client_address(server);
  if (!vbench::write_all(address_fd, address, strlen(address) + 1)) _exit(3);
  close(address_fd);
  GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
  g_main_loop_run(loop);  // until the parent kills it
  _exit(0);
}

// ---- the shared set-up ----

struct Setup {
  std::string root;
  vbench::EchoPeer echo;  // the floor
  pid_t gdbus_pid = -1;
  GDBusConnection *gdbus = nullptr;
  rpc_port_proxy_AccountSvc_h proxy = nullptr;
  size_t request_payload = 0;
  size_t response_payload = 0;
};

Setup &setup() {
  static Setup s;
  return s;
}

bool run_until(const std::function<bool()> &done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kWaitMs);
  while (!done() && std::chrono::steady_clock::now() < deadline)
    if (!g_main_context_iteration(nullptr, FALSE)) g_usleep(1000);
  return done();
}

std::string agent_exec() {
  if (const char *env = getenv("VELMORA_AGENT_EXEC")) return env;
  std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
  return (self.parent_path().parent_path() / "agent" / "velmora-agent").string();
}

// The sizes of the frames a GetDefaultAccount call sends and receives: the request is the method
// id; the result is the protocol value, the login id as a string, the int result.
void measure_sizes(Setup &s) {
  rpc_port_parcel_h p = nullptr;
  const void *raw = nullptr;
  unsigned int size = 0;
  rpc_port_parcel_create(&p);
  rpc_port_parcel_write_int32(p, 2);
  velmora_host_parcel_get_raw(p, &raw, &size);
  s.request_payload = size;
  rpc_port_parcel_destroy(p);
  rpc_port_parcel_create(&p);
  rpc_port_parcel_write_int32(p, 0);
  rpc_port_parcel_write_string(p, kLoginId);
  rpc_port_parcel_write_int32(p, 0);
  velmora_host_parcel_get_raw(p, &raw, &size);
  s.response_payload = size;
  rpc_port_parcel_destroy(p);
}

// The two children start before this process has any thread or main loop of its own.
void start_children(Setup &s) {
  if (!vbench::start_echo_peer(s.response_payload, &s.echo)) fail("cannot start the echo peer");

  int pipefd[2];
  if (pipe2(pipefd, O_CLOEXEC) != 0) fail("pipe");
  s.gdbus_pid = fork();
  if (s.gdbus_pid == 0) {
    close(pipefd[0]);
    gdbus_child(s.root, pipefd[1]);
  }
  close(pipefd[1]);
  std::string address;
  char c;
  while (read(pipefd[0], &c, 1) == 1 && c != '\0') address += c;
  close(pipefd[0]);
  if (address.empty()) fail("the GDBus server did not start");
  GError *err = nullptr;
  s.gdbus = g_dbus_connection_new_for_address_sync(
      address.c_str(), G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT, nullptr, nullptr, &err);
  if (!s.gdbus) fail(std::string("GDBus connection: ") + (err ? err->message : "?"));
}

void on_connected(rpc_port_proxy_AccountSvc_h, void *flag) { *static_cast<int *>(flag) = 1; }
void on_rejected(rpc_port_proxy_AccountSvc_h, void *flag) { *static_cast<int *>(flag) = -1; }

void start_agent(Setup &s) {
  char *error = nullptr;
  if (velmora_host_init_root("mobile", &error) != 0) fail(error ? error : "init root");
  const std::string exec = agent_exec();
  velmora_host_app_s apps[] = {{kAgentAppId, "service", exec.c_str()}};
  velmora_host_metadata_s meta[] = {{kAgentAppId, "velmora-experience-service-api-level", "5"}};
  if (velmora_host_install_package(kAgentAppId, apps, 1, meta, 1, &error) != 0)
    fail(error ? error : "install the agent");

  // One signed-in default account, through the agent's admin command (which reads the password
  // from a file, never from its command line).
  const std::string password_file = s.root + "/seed-password";
  if (!g_file_set_contents(password_file.c_str(), "bench-password\n", -1, nullptr))
    fail("cannot write " + password_file);
  gchar *argv[] = {
      const_cast<gchar *>(exec.c_str()),      const_cast<gchar *>("--root"),
      const_cast<gchar *>(s.root.c_str()),    const_cast<gchar *>("seed-user"),
      const_cast<gchar *>("--login-id"),      const_cast<gchar *>(kLoginId),
      const_cast<gchar *>("--password-file"), const_cast<gchar *>(password_file.c_str()),
      const_cast<gchar *>("--default"),       nullptr};
  gint status = 0;
  GError *err = nullptr;
  if (!g_spawn_sync(nullptr, argv, nullptr, G_SPAWN_STDOUT_TO_DEV_NULL, nullptr, nullptr, nullptr,
                    nullptr, &status, &err) ||
      !g_spawn_check_wait_status(status, nullptr))
    fail("seeding the account failed (is " + exec + " built?)");

  static int state = 0;
  rpc_port_proxy_AccountSvc_callback_s cbs = {on_connected, nullptr, on_rejected};
  if (rpc_port_proxy_AccountSvc_create(kAgentAppId, &cbs, &state, &s.proxy) != 0 ||
      rpc_port_proxy_AccountSvc_connect(s.proxy) != 0)
    fail("proxy");
  if (!run_until([] { return state != 0; }) || state != 1) fail("the agent did not connect");
}

void check_all(Setup &s) {
  char *login = nullptr;
  if (rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(s.proxy, &login) != 0 || !login ||
      strcmp(login, kLoginId) != 0)
    fail("GetDefaultAccount did not answer the seeded account");
  free(login);

  std::vector<unsigned char> req = vbench::frame(s.request_payload), in;
  if (!vbench::echo_once(s.echo, req, &in) || in.size() != s.response_payload)
    fail("the socketpair echo did not answer");

  GVariant *r = g_dbus_connection_call_sync(s.gdbus, nullptr, "/dev/velmora/Bench",
                                            "dev.velmora.Bench", "GetDefaultAccount",
                                            g_variant_new("(s)", ""), G_VARIANT_TYPE("(s)"),
                                            G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
  const gchar *answer = nullptr;
  if (r) g_variant_get(r, "(&s)", &answer);
  if (!answer || strcmp(answer, kLoginId) != 0) fail("the GDBus call did not answer");
  g_variant_unref(r);
}

void stop_all(Setup &s) {
  if (s.proxy) rpc_port_proxy_AccountSvc_destroy(s.proxy);
  // The agent this run launched, from the launcher's pid file.
  std::ifstream pidfile(s.root + "/run/" + kAgentAppId + ".pid");
  long agent = 0;
  pidfile >> agent;
  int status;
  if (agent > 0) {
    kill(static_cast<pid_t>(agent), SIGTERM);
    waitpid(static_cast<pid_t>(agent), &status, 0);
  }
  if (s.gdbus) g_object_unref(s.gdbus);
  close(s.echo.fd);
  for (pid_t child : {s.echo.pid, s.gdbus_pid}) {
    if (child <= 0) continue;
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
  }
  std::error_code ec;
  std::filesystem::remove_all(s.root, ec);
}

// CPU time a process has used so far, all its threads, in nanoseconds (/proc schedstat).
double cpu_ns(pid_t pid) {
  const std::string dir = "/proc/" + std::to_string(pid) + "/task";
  double total = 0;
  std::error_code ec;
  for (const auto &task : std::filesystem::directory_iterator(dir, ec)) {
    std::ifstream in(task.path() / "schedstat");
    double on_cpu = 0;
    if (in >> on_cpu) total += on_cpu;
  }
  return total;
}

// Measures the CPU both ends of a benchmark use per call: this process and its peer.
class CpuMeter {
 public:
  explicit CpuMeter(pid_t peer) : peer_(peer), start_(cpu_ns(getpid()) + cpu_ns(peer)) {}
  void report(benchmark::State &state) const {
    const double used = cpu_ns(getpid()) + cpu_ns(peer_) - start_;
    if (state.iterations() > 0)
      state.counters["both_ends_cpu_us"] = used / 1000.0 / static_cast<double>(state.iterations());
  }

 private:
  pid_t peer_;
  double start_;
};

pid_t agent_pid(const Setup &s) {
  std::ifstream pidfile(s.root + "/run/" + kAgentAppId + ".pid");
  long pid = 0;
  pidfile >> pid;
  return static_cast<pid_t>(pid);
}

// ---- the benchmarks ----

void BM_AccountSvc_GetDefaultAccount(benchmark::State &state) {
  CpuMeter cpu(agent_pid(setup()));
  for (auto _ : state) {
    char *login = nullptr;
    int ret = rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(setup().proxy, &login);
    if (ret != 0) state.SkipWithError("call failed");
    free(login);
  }
  cpu.report(state);
}

void BM_Socketpair_PingPong(benchmark::State &state) {
  std::vector<unsigned char> req = vbench::frame(setup().request_payload), in;
  in.reserve(setup().response_payload);
  CpuMeter cpu(setup().echo.pid);
  for (auto _ : state) {
    if (!vbench::echo_once(setup().echo, req, &in)) state.SkipWithError("echo failed");
  }
  cpu.report(state);
}

void BM_GDBus_PeerCall(benchmark::State &state) {
  CpuMeter cpu(setup().gdbus_pid);
  for (auto _ : state) {
    GVariant *r = g_dbus_connection_call_sync(setup().gdbus, nullptr, "/dev/velmora/Bench",
                                              "dev.velmora.Bench", "GetDefaultAccount",
                                              g_variant_new("(s)", ""), G_VARIANT_TYPE("(s)"),
                                              G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (!r) {
      state.SkipWithError("call failed");
      continue;
    }
    gchar *answer = nullptr;
    g_variant_get(r, "(s)", &answer);
    g_free(answer);
    g_variant_unref(r);
  }
  cpu.report(state);
}

void print_table(const vbench::Recorder &rec, const Setup &s) {
  double rpc, floor, gdbus, rpc_cpu, floor_cpu, gdbus_cpu;
  if (!rec.mean("BM_AccountSvc_GetDefaultAccount", &rpc, &rpc_cpu) ||
      !rec.mean("BM_Socketpair_PingPong", &floor, &floor_cpu) ||
      !rec.mean("BM_GDBus_PeerCall", &gdbus, &gdbus_cpu))
    return;  // filtered out
  printf(
      "\nRound trip per call (request %zu bytes, result %zu bytes): real time, and the CPU time\n"
      "both processes spent on it:\n",
      s.request_payload + 4, s.response_payload + 4);
  printf("  %-44s %9s %9s\n", "", "real us", "CPU us");
  printf("  %-44s %9.2f %9.2f\n", "socketpair ping-pong (the floor)", floor, floor_cpu);
  printf("  %-44s %9.2f %9.2f\n", "AccountSvc GetDefaultAccount (agent)", rpc, rpc_cpu);
  printf("  %-44s %9.2f %9.2f\n", "GDBus peer-to-peer call (1 string in, 1 out)", gdbus, gdbus_cpu);
  const double over_floor = rpc / floor, vs_gdbus = gdbus / rpc;
  printf("  AccountSvc / floor  = %5.2fx real, %5.2fx CPU   target <= 1.50x (real): %s\n",
         over_floor, rpc_cpu / floor_cpu, over_floor <= 1.5 ? "met" : "MISSED");
  printf("  GDBus / AccountSvc  = %5.2fx real, %5.2fx CPU   target >= 3.00x (real): %s\n", vs_gdbus,
         gdbus_cpu / rpc_cpu, vs_gdbus >= 3.0 ? "met" : "MISSED");
}

}  // namespace

int main(int argc, char **argv) {
  Setup &s = setup();
  s.root = vbench::make_temp_dir("velmora-bench-XXXXXX", true);
  if (s.root.empty()) fail("cannot make a platform root");
  measure_sizes(s);
  start_children(s);
  start_agent(s);
  check_all(s);

  benchmark::RegisterBenchmark("BM_Socketpair_PingPong", BM_Socketpair_PingPong)
      ->Unit(benchmark::kMicrosecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark("BM_AccountSvc_GetDefaultAccount", BM_AccountSvc_GetDefaultAccount)
      ->Unit(benchmark::kMicrosecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark("BM_GDBus_PeerCall", BM_GDBus_PeerCall)
      ->Unit(benchmark::kMicrosecond)
      ->UseRealTime();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    stop_all(s);
    return 1;
  }
  vbench::Recorder rec("both_ends_cpu_us");
  benchmark::RunSpecifiedBenchmarks(&rec);
  benchmark::Shutdown();
  print_table(rec, s);
  stop_all(s);
  return 0;
}
