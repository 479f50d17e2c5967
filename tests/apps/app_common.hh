// SPDX-License-Identifier: Apache-2.0
// Velmora tests: what every test application does at start (see test_apps.hh).
#pragma once

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace vtest::app {

inline std::string env_or(const char *name, const std::string &fallback) {
  const char *v = getenv(name);
  return v && *v ? v : fallback;
}

inline int env_int(const char *name, int fallback) {
  const char *v = getenv(name);
  return v && *v ? atoi(v) : fallback;
}

// Appends "<pid> <app id> <root>" to <root>/test-markers/<app id>.starts.
inline void mark_start() {
  const std::string app_id = env_or("VELMORA_APP_ID", "");
  const std::string root = env_or("VELMORA_PLATFORM_ROOT", "");
  if (root.empty()) return;
  const std::string dir = root + "/test-markers";
  g_mkdir_with_parents(dir.c_str(), 0700);
  const std::string file = dir + "/" + (app_id.empty() ? std::string("none") : app_id) + ".starts";
  const std::string line = std::to_string(getpid()) + " " + app_id + " " + root + "\n";
  int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (fd < 0) return;
  if (write(fd, line.data(), line.size()) < 0) {
  }
  close(fd);
}

// Ends the process after VELMORA_TEST_APP_LIFETIME_MS, so that no test leaves an application
// behind.
inline void limit_lifetime() {
  g_timeout_add((guint)env_int("VELMORA_TEST_APP_LIFETIME_MS", 60000),
                [](gpointer) -> gboolean {
                  _exit(0);
                  return G_SOURCE_REMOVE;
                },
                nullptr);
}

}  // namespace vtest::app
