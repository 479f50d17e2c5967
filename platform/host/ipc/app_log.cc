// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the log file of a launched application.
//
// A launched application's stdout and stderr go to log/<app id>.log below the root, appended to at
// every launch. A file that has grown past kMaxLogBytes is kept as <app id>.log.1 (replacing the
// one before) and a new one begun, so that the logs of a root stay bounded.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "host_root.hh"
#include "ipc_launcher.hh"
#include "registry.hh"

namespace vhost::ipc {

namespace {

constexpr off_t kMaxLogBytes = 1 << 20;

}  // namespace

std::string app_log_path(const std::string &app_id) {
  return root_path(kLogDir) + "/" + app_id + ".log";
}

int app_log_open(const std::string &app_id) {
  std::string error;
  if (!registry_valid_id(app_id) || !private_dir(root_path(kLogDir), &error)) {
    if (!error.empty()) log_refusal(error);
    return -1;
  }
  const std::string path = app_log_path(app_id);
  struct stat st {};
  if (stat(path.c_str(), &st) == 0 && st.st_size > kMaxLogBytes)
    rename(path.c_str(), (path + ".1").c_str());
  if (!private_file(path, &error)) {
    log_refusal(error);
    return -1;
  }
  return open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOFOLLOW);
}

}  // namespace vhost::ipc
