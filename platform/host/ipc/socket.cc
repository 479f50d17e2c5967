// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: socket paths of running applications, connecting and listening.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

#include "app_common.h"
#include "host_root.hh"
#include "ipc_socket.hh"

namespace vhost::ipc {

static_assert(sizeof(sockaddr_un{}.sun_path) == kMaxSocketPath);

namespace {

bool make_address(const std::string &path, struct sockaddr_un *addr) {
  memset(addr, 0, sizeof(*addr));
  addr->sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof(addr->sun_path)) return false;
  memcpy(addr->sun_path, path.c_str(), path.size() + 1);
  return true;
}

std::string dir_of(const std::string &path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

}  // namespace

std::string rpc_socket_name(const std::string &port_name) { return "rpc-" + port_name + ".sock"; }

std::string app_run_dir(const std::string &app_id) { return root_path(kRunDir) + "/" + app_id; }

std::string app_socket_path(const std::string &app_id, const std::string &socket_name) {
  return app_run_dir(app_id) + "/" + socket_name;
}

int connect_unix(const std::string &path) {
  struct sockaddr_un addr;
  if (!make_address(path, &addr)) {
    errno = ENAMETOOLONG;
    return -1;
  }
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  int r;
  do {
    r = connect(fd, reinterpret_cast<struct sockaddr *>(&addr), sizeof(addr));
  } while (r != 0 && errno == EINTR);
  if (r != 0) {
    int saved = errno;
    close(fd);
    errno = saved;
    return -1;
  }
  return fd;
}

namespace {

// The listeners of this process, for retiring (retire.cc).
std::mutex g_listeners_mutex;
std::vector<Listener *> g_listeners;

void remember_listener(Listener *listener) {
  std::lock_guard<std::mutex> lock(g_listeners_mutex);
  g_listeners.push_back(listener);
}

void forget_listener(Listener *listener) {
  std::lock_guard<std::mutex> lock(g_listeners_mutex);
  g_listeners.erase(std::remove(g_listeners.begin(), g_listeners.end(), listener),
                    g_listeners.end());
}

}  // namespace

std::vector<Listener *> open_listeners() {
  std::lock_guard<std::mutex> lock(g_listeners_mutex);
  return g_listeners;
}

bool listen_unix(const std::string &path, Listener *out, std::string *error) {
  struct sockaddr_un addr;
  if (!make_address(path, &addr)) {
    *error = "socket path too long: " + path;
    return false;
  }
  if (!private_dir(dir_of(path), error)) return false;
  // Two processes that start listening at once must not remove each other's socket.
  const std::string lock_path = path + ".lock";
  int lock_fd =
      open(lock_path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kPrivateFileMode);
  if (lock_fd < 0 || flock(lock_fd, LOCK_EX) != 0) {
    if (lock_fd >= 0) close(lock_fd);
    *error = "cannot lock " + lock_path;
    return false;
  }
  bool ok = false;
  int fd = -1;
  int probe = connect_unix(path);
  if (probe >= 0) {
    close(probe);
    *error = "another process already listens at " + path;
  } else if (unlink(path.c_str()) != 0 && errno != ENOENT) {
    *error = "cannot remove stale socket " + path + ": " + strerror(errno);
  } else if ((fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) < 0 ||
             bind(fd, reinterpret_cast<struct sockaddr *>(&addr), sizeof(addr)) != 0 ||
             chmod(path.c_str(), kPrivateFileMode) != 0 || listen(fd, kListenBacklog) != 0) {
    *error = "cannot listen at " + path + ": " + strerror(errno);
  } else {
    struct stat st;
    if (stat(path.c_str(), &st) == 0) {
      out->dev = st.st_dev;
      out->ino = st.st_ino;
    }
    out->fd = fd;
    out->path = path;
    ok = true;
  }
  if (!ok && fd >= 0) close(fd);
  close(lock_fd);  // releases the lock
  if (ok) remember_listener(out);
  return ok;
}

void close_listener(Listener *listener) {
  if (listener->fd < 0) return;
  forget_listener(listener);
  struct stat st;
  if (stat(listener->path.c_str(), &st) == 0 && st.st_dev == listener->dev &&
      st.st_ino == listener->ino)
    unlink(listener->path.c_str());
  close(listener->fd);
  listener->fd = -1;
}

bool peer_credentials(int fd, pid_t *pid, uid_t *uid) {
  struct ucred cred;
  socklen_t len = sizeof(cred);
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &len) != 0 || len != sizeof(cred))
    return false;
  *pid = cred.pid;
  *uid = cred.uid;
  return true;
}

std::string own_app_id() {
  char *id = nullptr;
  if (app_get_id(&id) != APP_ERROR_NONE || !id) return "";
  std::string result = id;
  free(id);
  return result;
}

}  // namespace vhost::ipc
