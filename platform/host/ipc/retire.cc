// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: an application launched on demand retiring when idle
// (velmora_host_retire).
//
// Under the launch lock of its app id (the one launchers hold while they decide to start an
// instance), the application moves its socket files aside, so that nobody can connect any more,
// and looks whether a client is already waiting in a listen queue. If one is, everything is put
// back and the application serves on. If none is, the socket files and the pid file are removed
// and the lock stays held until the process exits: a launcher that finds no socket waits for the
// lock and then starts a new instance, so no request is lost to an instance that is going away.
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "host_root.hh"
#include "ipc_launcher.hh"
#include "ipc_log.hh"
#include "ipc_socket.hh"
#include "velmora_host.h"

namespace vhost::ipc {

namespace {

constexpr const char *kAsideSuffix = ".retiring";

// True when the socket file at `path` is still this listener's.
bool owns_path(const Listener &l, const std::string &path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0 && st.st_dev == l.dev && st.st_ino == l.ino;
}

bool someone_waits(const std::vector<Listener *> &listeners) {
  std::vector<pollfd> fds;
  for (const Listener *l : listeners) fds.push_back({l->fd, POLLIN, 0});
  int r;
  do {
    r = poll(fds.data(), fds.size(), 0);
  } while (r < 0 && errno == EINTR);
  return r != 0;  // a waiting client, or poll failing: do not retire on a guess
}

}  // namespace

}  // namespace vhost::ipc

extern "C" int velmora_host_retire(void) {
  using namespace vhost;
  using namespace vhost::ipc;
  const std::string app_id = own_app_id();
  if (app_id.empty()) return -EINVAL;
  const int lock = instance_lock(app_id);
  if (lock < 0) return -EIO;

  std::vector<Listener *> aside;
  for (Listener *l : open_listeners())
    if (owns_path(*l, l->path) && rename(l->path.c_str(), (l->path + kAsideSuffix).c_str()) == 0)
      aside.push_back(l);
  if (someone_waits(open_listeners())) {
    for (Listener *l : aside) rename((l->path + kAsideSuffix).c_str(), l->path.c_str());
    close(lock);
    return -EBUSY;
  }
  for (Listener *l : aside) unlink((l->path + kAsideSuffix).c_str());
  Instance instance;
  if (instance_read(app_id, &instance) && instance.pid == getpid()) instance_remove(app_id);
  IPC_LOGI("%s retires: it no longer listens; the next request launches it again", app_id.c_str());
  // `lock` stays open (close-on-exec) until the process exits.
  return 0;
}
