// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the test applications of tests/apps and what tests need to drive them.
//
// The applications are started by the host platform's launcher (a test installs them into its own
// platform root) and are steered by environment variables that the test sets before the launch,
// since a launched application inherits the launcher's environment:
//
//   ipc_echo_stub   serves the rpc-port stub VELMORA_TEST_PORT (default "Echo"). Requests are
//   parcels
//                   starting with a command string (see ipc_echo_stub.cc). VELMORA_TEST_ALLOWED
//                   (comma-separated) restricts the callers; VELMORA_TEST_START_DELAY_MS delays
//                   listening; VELMORA_TEST_NO_LISTEN=1 makes it run without ever listening.
//   ipc_callee      serves launch requests; the request's "mode" extra chooses what it does (see
//                   ipc_callee.cc). VELMORA_TEST_REFUSE=1 makes it refuse every request;
//                   VELMORA_TEST_START_DELAY_MS delays serving; VELMORA_TEST_NO_LISTEN=1: it never
//                   serves.
//   ipc_quitter     exits at once with status 3, without listening.
//   ipc_sender      a second client process: "proxy <app> <port>" or "appcontrol <app>"; exits 0
//                   when its round trip succeeded.
//
// Every application appends "<pid> <VELMORA_APP_ID> <VELMORA_PLATFORM_ROOT>" to
// "<root>/test-markers/<app id>.starts" when it starts, and exits by itself after
// VELMORA_TEST_APP_LIFETIME_MS (default 60000) in case a test leaves it behind.
#pragma once

#include <glib.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "main_loop.hh"

namespace vtest::apps {

inline std::string build_dir() {
  const char *dir = getenv("VELMORA_BUILD_DIR");
  return dir && *dir ? dir : ".";
}

// The path of a built test application.
inline std::string path(const std::string &name) { return build_dir() + "/tests/apps/" + name; }

// Waiting on the main loop (main_loop.hh), under the names these tests use.
using ::vtest::run_until;
inline void drain() { ::vtest::run_pending(); }

// The start lines an application wrote below `root`.
inline std::vector<std::string> starts(const std::string &root, const std::string &app_id) {
  std::vector<std::string> lines;
  std::ifstream in(root + "/test-markers/" + app_id + ".starts");
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) lines.push_back(line);
  return lines;
}

// The pid the launcher recorded for an application (0 without one).
inline pid_t instance_pid(const std::string &root, const std::string &app_id) {
  std::ifstream in(root + "/run/" + app_id + ".pid");
  long long pid = 0;
  in >> pid;
  return (pid_t)pid;
}

// True while a process exists (a zombie counts until it is reaped).
inline bool process_exists(pid_t pid) { return pid > 0 && (kill(pid, 0) == 0 || errno == EPERM); }

// Kills every application instance the launcher recorded below `root`, and collects those that
// are children of this process.
inline void kill_instances(const std::string &root) {
  GDir *dir = g_dir_open((root + "/run").c_str(), 0, nullptr);
  if (!dir) return;
  while (const gchar *name = g_dir_read_name(dir)) {
    std::string file = name;
    const std::string suffix = ".pid";
    if (file.size() <= suffix.size() ||
        file.compare(file.size() - suffix.size(), suffix.size(), suffix) != 0)
      continue;
    pid_t pid = instance_pid(root, file.substr(0, file.size() - suffix.size()));
    if (pid <= 0 || !process_exists(pid)) continue;
    // Only this test's applications run with this root in their environment.
    std::ifstream env("/proc/" + std::to_string(pid) + "/environ");
    std::stringstream text;
    text << env.rdbuf();
    if (text.str().find("VELMORA_PLATFORM_ROOT=" + root + std::string(1, '\0')) ==
        std::string::npos)
      continue;
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);  // fails at once for a process that is not our child
  }
  g_dir_close(dir);
}

// Starts a test application directly (not through the launcher) with extra arguments.
inline GPid spawn(const std::string &name, const std::vector<std::string> &args) {
  std::vector<gchar *> argv;
  std::string exe = path(name);
  argv.push_back(const_cast<gchar *>(exe.c_str()));
  for (const std::string &a : args) argv.push_back(const_cast<gchar *>(a.c_str()));
  argv.push_back(nullptr);
  GPid pid = 0;
  GError *err = nullptr;
  if (!g_spawn_async(nullptr, argv.data(), nullptr, G_SPAWN_DO_NOT_REAP_CHILD, nullptr, nullptr,
                     &pid, &err)) {
    g_clear_error(&err);
    return 0;
  }
  return pid;
}

// Resident memory of a process in KiB (-1 when unknown).
inline long resident_kib(pid_t pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(in, line);)
    if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
  return -1;
}

// The exit status of a child once it ended (-1 while it runs); the child is collected.
inline int exit_status(GPid pid) {
  int status = 0;
  if (waitpid(pid, &status, WNOHANG) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace vtest::apps
