// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the applications running below a root, and stopping one
// (velmora_host_list_running, velmora_host_stop_app, velmora_host_app_log_path).
#include <glib.h>
#include <glib/gstdio.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host_root.hh"
#include "ipc_launcher.hh"
#include "registry.hh"
#include "velmora_host.h"

namespace vhost::ipc {

namespace {

constexpr const char *kPidSuffix = ".pid";
constexpr guint kStopPollMs = 20;

// Waits until the instance is gone; false when it still runs after `timeout_ms`.
bool wait_gone(const Instance &instance, int timeout_ms) {
  const gint64 deadline = g_get_monotonic_time() + (gint64)timeout_ms * 1000;
  while (instance_alive(instance)) {
    if (g_get_monotonic_time() >= deadline) return false;
    g_usleep(kStopPollMs * 1000);
  }
  return true;
}

char *message(const std::string &text) { return strdup(text.c_str()); }

}  // namespace

}  // namespace vhost::ipc

using namespace vhost;
using namespace vhost::ipc;

extern "C" {

char *velmora_host_app_log_path(const char *app_id) {
  if (!app_id || !registry_valid_id(app_id)) return nullptr;
  return strdup(app_log_path(app_id).c_str());
}

int velmora_host_list_running(velmora_host_running_s **apps, size_t *count) {
  if (!apps || !count) return -EINVAL;
  *apps = nullptr;
  *count = 0;
  std::vector<std::pair<std::string, Instance>> found;
  GDir *dir = g_dir_open(root_path(kRunDir).c_str(), 0, nullptr);
  if (dir) {
    while (const gchar *name = g_dir_read_name(dir)) {
      if (!g_str_has_suffix(name, kPidSuffix)) continue;
      const std::string app_id(name, strlen(name) - strlen(kPidSuffix));
      Instance instance;
      if (registry_valid_id(app_id) && instance_read(app_id, &instance) && instance_alive(instance))
        found.emplace_back(app_id, instance);
    }
    g_dir_close(dir);
  }
  std::sort(found.begin(), found.end(),
            [](const auto &a, const auto &b) { return a.first < b.first; });
  if (found.empty()) return 0;
  auto *out = static_cast<velmora_host_running_s *>(calloc(found.size(), sizeof **apps));
  if (!out) return -ENOMEM;
  for (size_t i = 0; i < found.size(); ++i) {
    out[i].app_id = strdup(found[i].first.c_str());
    out[i].pid = found[i].second.pid;
  }
  *apps = out;
  *count = found.size();
  return 0;
}

void velmora_host_running_free(velmora_host_running_s *apps, size_t count) {
  if (!apps) return;
  for (size_t i = 0; i < count; ++i) free(apps[i].app_id);
  free(apps);
}

int velmora_host_stop_app(const char *app_id, int timeout_ms, char **error) {
  if (error) *error = nullptr;
  if (!app_id || !registry_valid_id(app_id)) {
    if (error) *error = message(std::string("'") + (app_id ? app_id : "") + "' is no app id");
    return -EINVAL;
  }
  Instance instance;
  if (!instance_read(app_id, &instance) || !instance_alive(instance)) {
    if (error) *error = message(std::string(app_id) + " is not running");
    return -ESRCH;
  }
  if (kill(instance.pid, SIGTERM) != 0 && errno != ESRCH) {
    const int saved = errno;
    if (error) *error = message("cannot stop " + std::string(app_id) + ": " + g_strerror(saved));
    return -saved;
  }
  if (!wait_gone(instance, timeout_ms)) {
    // It did not end when asked: end it.
    kill(instance.pid, SIGKILL);
    wait_gone(instance, timeout_ms);
  }
  return 0;
}

}  // extern "C"
