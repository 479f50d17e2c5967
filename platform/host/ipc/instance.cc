// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the pid file of a launched application and whether that instance lives.
#include <fcntl.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "host_root.hh"
#include "ipc_launcher.hh"

namespace vhost::ipc {

namespace {

std::string pid_path(const std::string &app_id) {
  return root_path(kRunDir) + "/" + app_id + ".pid";
}

}  // namespace

bool process_start_time(pid_t pid, unsigned long long *start_time) {
  if (pid <= 0) return false;
  gchar *contents = nullptr;
  gsize len = 0;
  const std::string stat_path = "/proc/" + std::to_string(pid) + "/stat";
  if (!g_file_get_contents(stat_path.c_str(), &contents, &len, nullptr)) return false;
  // "pid (comm) state ppid ...": comm may hold blanks and parentheses, so parse after the last ')'.
  bool ok = false;
  const char *close_paren = strrchr(contents, ')');
  if (close_paren) {
    // Fields after comm, from 3: state, ppid, ... and 22: starttime.
    gchar **fields = g_strsplit(g_strstrip(const_cast<char *>(close_paren + 1)), " ", -1);
    constexpr int kState = 0, kStartTime = 22 - 3;
    if (g_strv_length(fields) > (guint)kStartTime) {
      const char state = fields[kState][0];
      gchar *end = nullptr;
      unsigned long long start = g_ascii_strtoull(fields[kStartTime], &end, 10);
      if (end && *end == '\0' && state != 'Z' && state != 'X' && state != 'x') {
        *start_time = start;
        ok = true;
      }
    }
    g_strfreev(fields);
  }
  g_free(contents);
  return ok;
}

bool instance_read(const std::string &app_id, Instance *out) {
  gchar *contents = nullptr;
  if (!g_file_get_contents(pid_path(app_id).c_str(), &contents, nullptr, nullptr)) return false;
  long long pid = 0;
  unsigned long long start = 0;
  bool ok = sscanf(contents, "%lld %llu", &pid, &start) == 2 && pid > 0 && pid < G_MAXINT;
  g_free(contents);
  if (!ok) return false;
  out->pid = (pid_t)pid;
  out->start_time = start;
  return true;
}

bool instance_write(const std::string &app_id, const Instance &instance) {
  const std::string text =
      std::to_string(instance.pid) + " " + std::to_string(instance.start_time) + "\n";
  std::string error;
  return private_write(pid_path(app_id), text.data(), text.size(), &error);
}

int instance_lock(const std::string &app_id) {
  const std::string run = root_path(kRunDir);
  std::string error;
  if (!private_dir(run, &error)) {
    log_refusal(error);
    return -1;
  }
  const int fd = open((run + "/" + app_id + ".lock").c_str(),
                      O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kPrivateFileMode);
  if (fd < 0) return -1;
  int r;
  do {
    r = flock(fd, LOCK_EX);
  } while (r != 0 && errno == EINTR);
  if (r != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

void instance_remove(const std::string &app_id) { g_unlink(pid_path(app_id).c_str()); }

bool instance_alive(const Instance &instance) {
  unsigned long long start = 0;
  return process_start_time(instance.pid, &start) && start == instance.start_time;
}

}  // namespace vhost::ipc
