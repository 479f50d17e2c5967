// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: launch on demand.
//
// Reaching an application (an rpc-port stub or its launch-request socket) first tries to connect.
// When nobody listens, the launcher starts the registered executable, unless an instance is
// already running or starting, and then waits, on a GLib timeout source and so without blocking
// the main loop, until the socket accepts a connection, the instance dies, or the launch time-out
// (VELMORA_LAUNCH_TIMEOUT_MS, default 10000) passes. A waiter that found another launcher's
// instance running, and sees it end without listening (it was quitting, not starting), starts one
// instance itself; an instance it started itself that ends without listening is a failed launch.
//
// Instances: "run/<app id>.lock" is flock'ed while one launcher decides and starts, and
// "run/<app id>.pid" holds "<pid> <start time>" of the instance it started (the start time, in
// clock ticks since boot as /proc gives it, tells a live instance from a reused pid). A started
// executable is detached from whoever caused the launch: it runs in a session of its own, in the
// root directory, with stdin /dev/null and stdout and stderr appended to log/<app id>.log, and an
// environment of only VELMORA_APP_ID=<app id>, VELMORA_PLATFORM_ROOT=<root>, a fixed PATH, the
// platform's settings (VELMORA_*) and the sanitizer runtimes' options. The launching process reaps
// it when it exits.
#pragma once

#include <glib.h>
#include <sys/types.h>

#include <functional>
#include <string>

#include "registry.hh"

namespace vhost::ipc {

int launch_timeout_ms();

enum class LaunchStart {
  kConnected,  // somebody listens: *fd is a connected socket, the caller owns it
  kPending,    // an instance is starting: `done` runs later on `ctx` (unless cancelled)
  kNotFound,   // the application is not registered
  kRefused,    // the platform root cannot be trusted (logged; see host_root.hh)
  kFailed,     // its executable could not be started
};

class LaunchWait;
// Called once on the waiting context: a connected socket (the callee owns it), or -1 when the
// instance died before listening or did not listen in time.
using LaunchDone = std::function<void(int fd)>;

// Whether `app_id` is registered in the current root, as launch_connect finds it: true, or false
// with *refused set to kNotFound or kRefused (logged).
bool launch_target_known(const std::string &app_id, AppRecord *app, LaunchStart *refused);
LaunchStart launch_connect(const std::string &app_id, const std::string &socket_name,
                           GMainContext *ctx, LaunchDone done, int *fd, LaunchWait **wait);
// Stops waiting; `done` will not run. The started instance keeps running.
void launch_cancel(LaunchWait *wait);

// ---- the log file of a launched application (app_log.cc) ----
std::string app_log_path(const std::string &app_id);
// Opens it for appending (0600), keeping an over-long one as <path>.1; -1 on failure.
int app_log_open(const std::string &app_id);

// ---- instances ----
struct Instance {
  pid_t pid = 0;
  unsigned long long start_time = 0;
};
// The instance the pid file names (false when there is no readable pid file).
bool instance_read(const std::string &app_id, Instance *out);
bool instance_write(const std::string &app_id, const Instance &instance);
void instance_remove(const std::string &app_id);
// Takes "run/<app id>.lock" (waiting for it): the locked descriptor (close-on-exec; closing it
// releases the lock), or -1.
int instance_lock(const std::string &app_id);
// True while that process runs (a zombie or a reused pid counts as gone).
bool instance_alive(const Instance &instance);
// The start time of a running process; false when it is gone or a zombie.
bool process_start_time(pid_t pid, unsigned long long *start_time);

// Reaps a child started by the launcher once it exits, from `ctx` (no thread, no signal handler
// where the kernel offers process file descriptors).
void reap_when_exited(pid_t pid, GMainContext *ctx);

}  // namespace vhost::ipc
