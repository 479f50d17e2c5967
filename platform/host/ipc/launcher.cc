// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: launch on demand (see ipc_launcher.hh).
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host_root.hh"
#include "ipc_frame.hh"
#include "ipc_launcher.hh"
#include "ipc_log.hh"
#include "ipc_socket.hh"
#include "registry.hh"

namespace vhost::ipc {

class LaunchWait {
 public:
  AppRecord app;
  std::string path;
  GMainContext *ctx = nullptr;
  LaunchDone done;
  long long deadline_us = 0;
  GSource *timer = nullptr;
  bool spawned = false;  // this waiter started an instance itself
  std::string root;      // the root it launches in (RootScope: the paired phone's)

  ~LaunchWait() {
    if (timer) {
      g_source_destroy(timer);
      g_source_unref(timer);
    }
    if (ctx) g_main_context_unref(ctx);
  }
};

namespace {

// How often a waiting launcher looks whether the instance listens yet.
constexpr guint kPollIntervalMs = 20;

std::string absolute_root() {
  std::string root = root_dir();
  if (g_path_is_absolute(root.c_str())) return root;
  gchar *cwd = g_get_current_dir();
  gchar *abs = g_build_filename(cwd, root.c_str(), nullptr);
  std::string result = abs;
  g_free(abs);
  g_free(cwd);
  return result;
}

// Runs in the child between fork and exec: a session of its own, so that the terminal and the
// signals of whoever caused the launch (Ctrl-C, a closed pipe) do not reach the application.
void detach_child(gpointer) { setsid(); }

// The log level of launched applications, unless VELMORA_APP_LOG_LEVEL names another.
constexpr const char *kAppLogLevel = "info";

// The environment of a launched application: only what the platform sets. The platform's own
// settings (VELMORA_*) and the sanitizer runtimes' options travel along; nothing else does. The
// log level is the one for applications (VELMORA_APP_LOG_LEVEL, default info), not the level of
// whoever caused the launch: the application's lines go to its log file.
gchar **launch_environment(const AppRecord &app) {
  gchar **env = nullptr;
  gchar **caller = g_get_environ();
  for (gchar **e = caller; *e; ++e) {
    const char *eq = strchr(*e, '=');
    if (!eq) continue;
    const std::string name(*e, eq - *e);
    if ((g_str_has_prefix(name.c_str(), "VELMORA_") && name != "VELMORA_LOG_LEVEL") ||
        name == "ASAN_OPTIONS" || name == "LSAN_OPTIONS" || name == "UBSAN_OPTIONS")
      env = g_environ_setenv(env, name.c_str(), eq + 1, TRUE);
  }
  g_strfreev(caller);
  const char *level = g_environ_getenv(env, "VELMORA_APP_LOG_LEVEL");
  env = g_environ_setenv(env, "VELMORA_LOG_LEVEL", level ? level : kAppLogLevel, TRUE);
  env = g_environ_setenv(env, "PATH", "/usr/local/bin:/usr/bin:/bin", TRUE);
  env = g_environ_setenv(env, "VELMORA_APP_ID", app.app_id.c_str(), TRUE);
  env = g_environ_setenv(env, "VELMORA_PLATFORM_ROOT", absolute_root().c_str(), TRUE);
  return env;
}

bool spawn_instance(const AppRecord &app, GMainContext *ctx, Instance *out) {
  if (app.exec.empty()) {
    IPC_LOGE("cannot launch %s: no executable registered", app.app_id.c_str());
    return false;
  }
  const int log_fd = app_log_open(app.app_id);
  if (log_fd < 0)
    IPC_LOGW("cannot open the log file of %s; its output is dropped", app.app_id.c_str());
  gchar **env = launch_environment(app);
  gchar *argv[] = {const_cast<gchar *>(app.exec.c_str()), nullptr};
  const std::string root = absolute_root();
  GPid pid = 0;
  GError *err = nullptr;
  // stdin from /dev/null; stdout and stderr to the log file (or /dev/null without one).
  const GSpawnFlags flags = static_cast<GSpawnFlags>(
      G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_STDIN_FROM_DEV_NULL |
      (log_fd < 0 ? G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL : 0));
  gboolean ok = g_spawn_async_with_pipes_and_fds(root.c_str(), argv, env, flags, detach_child,
                                                 nullptr, -1, log_fd, log_fd, nullptr, nullptr, 0,
                                                 &pid, nullptr, nullptr, nullptr, &err);
  g_strfreev(env);
  if (log_fd >= 0) close(log_fd);
  if (!ok) {
    IPC_LOGE("cannot launch %s (%s): %s", app.app_id.c_str(), app.exec.c_str(),
             err ? err->message : "unknown error");
    if (err) g_error_free(err);
    return false;
  }
  reap_when_exited(pid, ctx);
  out->pid = pid;
  out->start_time = 0;
  process_start_time(pid, &out->start_time);
  IPC_LOGI("launched %s as pid %d", app.app_id.c_str(), (int)pid);
  return true;
}

// Holds run/<app id>.lock for the life of the object.
class InstanceLock {
 public:
  explicit InstanceLock(const std::string &app_id) : fd_(instance_lock(app_id)) {}
  ~InstanceLock() {
    if (fd_ >= 0) close(fd_);
  }
  InstanceLock(const InstanceLock &) = delete;
  InstanceLock &operator=(const InstanceLock &) = delete;
  bool held() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

void finish(LaunchWait *wait, int fd) {
  LaunchDone done = std::move(wait->done);
  delete wait;
  done(fd);
}

enum class Decision { kConnected, kWait, kFailed };

// Under the instance lock: connect if somebody listens now, else start an instance unless one is
// running or starting. *spawned tells whether this call started one.
Decision connect_or_start(const AppRecord &app, const std::string &path, GMainContext *ctx, int *fd,
                          bool *spawned) {
  *spawned = false;
  InstanceLock lock(app.app_id);
  if (!lock.held()) {
    IPC_LOGE("cannot lock the instance of %s below %s", app.app_id.c_str(), root_dir().c_str());
    return Decision::kFailed;
  }
  // Another launcher may have finished while this one waited for the lock.
  if ((*fd = connect_unix(path)) >= 0) return Decision::kConnected;
  Instance instance;
  if (instance_read(app.app_id, &instance) && instance_alive(instance)) return Decision::kWait;
  if (!spawn_instance(app, ctx, &instance)) return Decision::kFailed;
  *spawned = true;
  if (!instance_write(app.app_id, instance))
    IPC_LOGW("cannot record the instance of %s", app.app_id.c_str());
  return Decision::kWait;
}

gboolean tick(gpointer data) {
  auto *wait = static_cast<LaunchWait *>(data);
  RootScope in_root(wait->root);
  const char *app_id = wait->app.app_id.c_str();
  int fd = connect_unix(wait->path);
  if (fd < 0) {
    Instance instance;
    bool alive = instance_read(wait->app.app_id, &instance) && instance_alive(instance);
    if (!alive && !wait->spawned) {
      // The instance this waiter counted on was ending, not starting: start one now (once).
      bool spawned = false;
      Decision d = connect_or_start(wait->app, wait->path, wait->ctx, &fd, &spawned);
      wait->spawned = spawned;
      alive = d != Decision::kFailed;
    }
    if (fd < 0) {
      if (alive && remaining_ms(wait->deadline_us) > 0) return G_SOURCE_CONTINUE;
      if (alive)
        IPC_LOGE("%s did not listen at %s within %d ms", app_id, wait->path.c_str(),
                 launch_timeout_ms());
      else
        IPC_LOGE("%s exited before it listened at %s", app_id, wait->path.c_str());
    }
  }
  finish(wait, fd);
  return G_SOURCE_REMOVE;
}

}  // namespace

bool launch_target_known(const std::string &app_id, AppRecord *app, LaunchStart *refused) {
  std::string refusal;
  // Only valid ids are ever registered: an invalid one is simply not found.
  if (registry_find_app(app_id, app, &refusal)) return true;
  *refused = LaunchStart::kNotFound;
  if (!refusal.empty()) {
    log_refusal(refusal);
    *refused = LaunchStart::kRefused;
  }
  return false;
}

LaunchStart launch_connect(const std::string &app_id, const std::string &socket_name,
                           GMainContext *ctx, LaunchDone done, int *fd, LaunchWait **wait) {
  AppRecord app;
  LaunchStart refused = LaunchStart::kNotFound;
  if (!launch_target_known(app_id, &app, &refused)) return refused;
  const std::string path = app_socket_path(app_id, socket_name);
  if (path.size() >= kMaxSocketPath) {
    IPC_LOGE("cannot reach %s: socket path too long (%s)", app_id.c_str(), path.c_str());
    return LaunchStart::kFailed;
  }
  if ((*fd = connect_unix(path)) >= 0) return LaunchStart::kConnected;
  bool spawned = false;
  switch (connect_or_start(app, path, ctx, fd, &spawned)) {
    case Decision::kConnected:
      return LaunchStart::kConnected;
    case Decision::kFailed:
      return LaunchStart::kFailed;
    case Decision::kWait:
      break;
  }
  auto *w = new LaunchWait;
  w->app = std::move(app);
  w->path = path;
  w->ctx = g_main_context_ref(ctx);
  w->spawned = spawned;
  w->root = root_dir();
  w->done = std::move(done);
  w->deadline_us = g_get_monotonic_time() + (long long)launch_timeout_ms() * 1000;
  w->timer = g_timeout_source_new(kPollIntervalMs);
  g_source_set_callback(w->timer, tick, w, nullptr);
  g_source_attach(w->timer, ctx);
  *wait = w;
  return LaunchStart::kPending;
}

void launch_cancel(LaunchWait *wait) { delete wait; }

}  // namespace vhost::ipc
