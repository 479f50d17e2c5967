// Velmora benchmarks: velmora_account_request_access_token from the call to its completion
// callback, in each transport, next to the floor under both measured in the same run.
//
//   BM_AccessToken_AppControl  a handle from velmora_account_create (client without a secret):
//   clone, app control with the
//                              extras, launch request to the running agent, the agent issues a
//                              token (SQLite write), reply, reply parsing, callback.
//   BM_AccessToken_Nidl        a handle from velmora_account_connect (client without a secret):
//   clone, AccountS, delegate,
//                              RequestAccessToken method call (blocking for its result), the agent
//                              issues a token, pushed callback, delegate, callback.
//   ..._WithSecret             the same for a client registered with a secret: the agent then
//                              checks the secret against its slow (PBKDF2) hash on every request,
//                              which is most of the time of those rows.
//   BM_Socketpair_RoundTrip    the floor: a Unix stream socketpair between two processes carrying
//                              one frame of the size of the RequestAccessToken request and one of
//                              the size of the pushed answer, echoed by a child that does nothing
//                              else (no parsing, no state, no main loop).
//
// The agent runs in a temporary platform root with one signed-in user and a registered client;
// each side is checked once before timing. After the runs a table prints microseconds per call
// side by side with the floor. The numbers are whatever this machine measures.
//
// The agent executable is VELMORA_AGENT_EXEC, else "../agent/velmora-agent" next to this program.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
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
#include "velmora_account.h"
#include "velmora_host.h"

namespace {

constexpr const char *kAgentAppId = "dev.velmora.account";
constexpr const char *kLogin = "bench@velmora.dev";
constexpr const char *kClient = "bench.client";        // registered with a secret
constexpr const char *kPublicClient = "bench.public";  // registered without one
constexpr const char *kScope = "read";
constexpr gint64 kWaitUs = 30 * G_USEC_PER_SEC;

[[noreturn]] void fail(const std::string &what) {
  fprintf(stderr, "bench_tokens: %s\n", what.c_str());
  exit(1);
}

// ---- set-up ----

struct Setup {
  std::string root;
  std::string secret;     // the bench client's, made by the agent
  vbench::EchoPeer echo;  // the floor
  size_t request_payload = 0;
  size_t response_payload = 0;
  velmora_account_h app_control = nullptr;  // public client
  velmora_account_h nidl = nullptr;
  velmora_account_h app_control_secret = nullptr;  // client with a secret
  velmora_account_h nidl_secret = nullptr;
  int connection_state = -1;
  int connection_state_secret = -1;
};

Setup &setup() {
  static Setup s;
  return s;
}

bool run_until(const std::function<bool()> &done) {
  const gint64 deadline = g_get_monotonic_time() + kWaitUs;
  while (!done() && g_get_monotonic_time() < deadline) g_main_context_iteration(nullptr, TRUE);
  return done();
}

std::string agent_exec() {
  if (const char *env = getenv("VELMORA_AGENT_EXEC")) return env;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
  return (self.parent_path().parent_path() / "agent" / "velmora-agent").string();
}

size_t parcel_size(rpc_port_parcel_h p) {
  const void *raw = nullptr;
  unsigned int size = 0;
  velmora_host_parcel_get_raw(p, &raw, &size);
  return size;
}

// The sizes of the RequestAccessToken request and of the pushed answer the agent sends back.
void measure_sizes(Setup &s) {
  rpc_port_AccountS_h account = nullptr;
  rpc_port_AccountS_create(&account);
  rpc_port_AccountS_set_LoginId(account, kLogin);
  rpc_port_AccountS_set_ClientId(account, kClient);
  rpc_port_AccountS_set_ClientSecret(account, std::string(43, 's').c_str());
  rpc_port_AccountS_set_Scope(account, kScope);
  rpc_port_AccountSvc_ResponseCb_h delegate =
      rpc_port_AccountSvc_ResponseCb_create(nullptr, true, nullptr);
  rpc_port_parcel_h p = nullptr;
  rpc_port_parcel_create(&p);
  rpc_port_parcel_write_int32(p, 7);
  rpc_port_parcel_write(p, reinterpret_cast<rpc_port_parcelable_t *>(account), account);
  rpc_port_parcel_write(p, reinterpret_cast<rpc_port_parcelable_t *>(delegate), delegate);
  s.request_payload = parcel_size(p);
  rpc_port_parcel_destroy(p);

  // The answer: protocol value, delegate id, sequence, once, result, and the account with a
  // 43-character token, a refresh token and the account's facts.
  rpc_port_AccountS_set_AccessToken(account, std::string(43, 'a').c_str());
  rpc_port_AccountS_set_RefreshToken(account, std::string(43, 'r').c_str());
  rpc_port_AccountS_set_UserId(account, "0123456789abcdef");
  rpc_port_AccountS_set_ApiServerUrl(account, "https://api.velmora.dev");
  rpc_port_AccountS_set_AuthServerUrl(account, "https://auth.velmora.dev");
  rpc_port_parcel_create(&p);
  for (int v : {1, 1, 1}) rpc_port_parcel_write_int32(p, v);
  rpc_port_parcel_write_bool(p, true);
  rpc_port_parcel_write_int32(p, 0);
  rpc_port_parcel_write(p, reinterpret_cast<rpc_port_parcelable_t *>(account), account);
  s.response_payload = parcel_size(p);
  rpc_port_parcel_destroy(p);
  rpc_port_AccountSvc_ResponseCb_destroy(delegate);
  rpc_port_AccountS_destroy(account);
}

void install_agent(Setup &s) {
  char *error = nullptr;
  if (velmora_host_init_root("mobile", &error) != 0) fail(error ? error : "init root");
  const std::string exec = agent_exec();
  velmora_host_app_s apps[] = {{kAgentAppId, "service", exec.c_str()}};
  velmora_host_metadata_s meta[] = {{kAgentAppId, "velmora-experience-service-api-level", "5"}};
  if (velmora_host_install_package(kAgentAppId, apps, 1, meta, 1, &error) != 0)
    fail(error ? error : "install the agent");

  const std::vector<std::string> args = {exec,         "--root",      s.root,       "seed-user",
                                         "--login-id", kLogin,        "--password", "bench-pass-1",
                                         "--sign-in",  "--client-id", kClient,      "--with-secret",
                                         "--scope",    kScope};
  std::vector<gchar *> argv;
  for (const std::string &a : args) argv.push_back(const_cast<gchar *>(a.c_str()));
  argv.push_back(nullptr);
  gint status = 0;
  gchar *out = nullptr;
  if (!g_spawn_sync(nullptr, argv.data(), nullptr, G_SPAWN_DEFAULT, nullptr, nullptr, &out, nullptr,
                    &status, nullptr) ||
      !g_spawn_check_wait_status(status, nullptr))
    fail("seeding the user failed (is " + exec + " built?)");
  // The agent made the client's secret and printed it once.
  const char *line = out ? strstr(out, "client_secret=") : nullptr;
  if (line) s.secret.assign(line + 14, strcspn(line + 14, "\n"));
  g_free(out);
  if (s.secret.size() != 43) fail("the agent made no client secret");
  const std::vector<std::string> client = {
      exec, "--root", s.root, "register-client", "--client-id", kPublicClient, "--scope", kScope};
  argv.clear();
  for (const std::string &a : client) argv.push_back(const_cast<gchar *>(a.c_str()));
  argv.push_back(nullptr);
  if (!g_spawn_sync(nullptr, argv.data(), nullptr, G_SPAWN_STDOUT_TO_DEV_NULL, nullptr, nullptr,
                    nullptr, nullptr, &status, nullptr) ||
      !g_spawn_check_wait_status(status, nullptr))
    fail("registering the public client failed");
}

void set_request(velmora_account_h h, bool secret) {
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin);
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_CLIENT_ID,
                                   secret ? kClient : kPublicClient);
  if (secret)
    velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET,
                                     setup().secret.c_str());
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_SCOPE, kScope);
}

void on_connection(int, int state, void *user_data) { *static_cast<int *>(user_data) = state; }

velmora_account_h connect(int *state) {
  velmora_account_h h = nullptr;
  if (velmora_account_connect(&h, on_connection, state) != 0) fail("velmora_account_connect");
  if (!run_until([&] { return *state >= 0; }) ||
      *state != VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED)
    fail("the agent did not accept the connection");
  return h;
}

void open_handles(Setup &s) {
  if (velmora_account_create(&s.app_control) != 0 ||
      velmora_account_create(&s.app_control_secret) != 0)
    fail("velmora_account_create");
  set_request(s.app_control, false);
  set_request(s.app_control_secret, true);
  s.nidl = connect(&s.connection_state);
  s.nidl_secret = connect(&s.connection_state_secret);
  set_request(s.nidl, false);
  set_request(s.nidl_secret, true);
}

// One request, from the call to its callback. False when it failed.
struct Outcome {
  bool done = false;
  int result = -1;
  bool has_token = false;
};

void on_token(int result, velmora_account_h account, void *user_data) {
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

bool request_token(velmora_account_h h) {
  Outcome o;
  if (velmora_account_request_access_token(h, on_token, &o) != 0) return false;
  while (!o.done) g_main_context_iteration(nullptr, TRUE);
  return o.result == 0 && o.has_token;
}

void check_all(Setup &s) {
  for (velmora_account_h h : {s.app_control, s.app_control_secret})
    if (!request_token(h)) fail("no access token over app control");
  for (velmora_account_h h : {s.nidl, s.nidl_secret})
    if (!request_token(h)) fail("no access token over the port");
  std::vector<unsigned char> in;
  if (!vbench::echo_once(s.echo, vbench::frame(s.request_payload), &in) ||
      in.size() != s.response_payload)
    fail("the socketpair echo did not answer");
}

void stop_all(Setup &s) {
  for (velmora_account_h h : {s.app_control, s.app_control_secret})
    if (h) velmora_account_destroy(h);
  for (velmora_account_h h : {s.nidl, s.nidl_secret})
    if (h) velmora_account_disconnect(h);
  std::ifstream pidfile(s.root + "/run/" + kAgentAppId + ".pid");
  long agent = 0;
  pidfile >> agent;
  int status;
  if (agent > 0) {
    kill(static_cast<pid_t>(agent), SIGTERM);
    waitpid(static_cast<pid_t>(agent), &status, 0);
  }
  close(s.echo.fd);
  if (s.echo.pid > 0) {
    kill(s.echo.pid, SIGKILL);
    waitpid(s.echo.pid, &status, 0);
  }
  std::error_code ec;
  std::filesystem::remove_all(s.root, ec);
}

// ---- the benchmarks ----

void BM_AccessToken_AppControl(benchmark::State &state) {
  for (auto _ : state)
    if (!request_token(setup().app_control)) state.SkipWithError("request failed");
}

void BM_AccessToken_Nidl(benchmark::State &state) {
  for (auto _ : state)
    if (!request_token(setup().nidl)) state.SkipWithError("request failed");
}

void BM_AccessToken_AppControl_WithSecret(benchmark::State &state) {
  for (auto _ : state)
    if (!request_token(setup().app_control_secret)) state.SkipWithError("request failed");
}

void BM_AccessToken_Nidl_WithSecret(benchmark::State &state) {
  for (auto _ : state)
    if (!request_token(setup().nidl_secret)) state.SkipWithError("request failed");
}

void BM_Socketpair_RoundTrip(benchmark::State &state) {
  const std::vector<unsigned char> req = vbench::frame(setup().request_payload);
  std::vector<unsigned char> in;
  in.reserve(setup().response_payload);
  for (auto _ : state)
    if (!vbench::echo_once(setup().echo, req, &in)) state.SkipWithError("echo failed");
}

void print_table(const vbench::Recorder &rec, const Setup &s) {
  double floor = 0;
  const bool have_floor = rec.mean("BM_Socketpair_RoundTrip", &floor);
  printf("\nvelmora_account_request_access_token, call to callback, microseconds (real time):\n");
  printf("  %-52s %10s %10s\n", "", "us/call", "x floor");
  if (have_floor)
    printf("  %-52s %10.2f %10s\n", "socketpair round trip (the floor)", floor, "1.00");
  const std::pair<const char *, const char *> rows[] = {
      {"BM_AccessToken_AppControl", "over app control"},
      {"BM_AccessToken_Nidl", "over the AccountSvc port"},
      {"BM_AccessToken_AppControl_WithSecret", "over app control, client secret checked"},
      {"BM_AccessToken_Nidl_WithSecret", "over the AccountSvc port, client secret checked"},
  };
  for (const auto &[name, label] : rows) {
    double us = 0;
    if (!rec.mean(name, &us)) continue;
    if (have_floor)
      printf("  %-52s %10.2f %9.1fx\n", label, us, us / floor);
    else
      printf("  %-52s %10.2f %10s\n", label, us, "-");
  }
  printf("  (floor frames: request %zu bytes, answer %zu bytes, length prefixes included)\n",
         s.request_payload + 4, s.response_payload + 4);
}

}  // namespace

int main(int argc, char **argv) {
  Setup &s = setup();
  gchar *dir = g_dir_make_tmp("velmora-bench-tokens-XXXXXX", nullptr);
  if (!dir) fail("cannot make a platform root");
  s.root = dir;
  g_free(dir);
  setenv("VELMORA_PLATFORM_ROOT", s.root.c_str(), 1);
  // The library logs every call at info; printing them would measure the terminal.
  setenv("VELMORA_LOG_LEVEL", "silent", 0);
  measure_sizes(s);
  // Before this process has a thread or a main loop of its own.
  if (!vbench::start_echo_peer(s.response_payload, &s.echo)) fail("cannot start the echo peer");
  install_agent(s);
  open_handles(s);
  check_all(s);

  benchmark::RegisterBenchmark("BM_Socketpair_RoundTrip", BM_Socketpair_RoundTrip)
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("BM_AccessToken_AppControl", BM_AccessToken_AppControl)
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("BM_AccessToken_Nidl", BM_AccessToken_Nidl)
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("BM_AccessToken_AppControl_WithSecret",
                               BM_AccessToken_AppControl_WithSecret)
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("BM_AccessToken_Nidl_WithSecret", BM_AccessToken_Nidl_WithSecret)
      ->Unit(benchmark::kMicrosecond);
  benchmark::Initialize(&argc, argv);
  vbench::Recorder recorder;
  benchmark::RunSpecifiedBenchmarks(&recorder);
  print_table(recorder, s);
  benchmark::Shutdown();
  stop_all(s);
  return 0;
}
