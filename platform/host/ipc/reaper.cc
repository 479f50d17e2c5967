// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: reaping the applications the launcher started, so that none stays a
// zombie.
//
// A process file descriptor becomes readable when the child exits; a GLib fd source on the
// launching context then collects it with waitpid(). Without process file descriptors GLib's child
// watch does the same.
#include <glib-unix.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "ipc_launcher.hh"

namespace vhost::ipc {

namespace {

struct Reap {
  pid_t pid;
  int pidfd;
};

gboolean child_exited(gint fd, GIOCondition, gpointer data) {
  auto *reap = static_cast<Reap *>(data);
  int status;
  pid_t r;
  do {
    r = waitpid(reap->pid, &status, WNOHANG);
  } while (r < 0 && errno == EINTR);
  // 0: the fd woke up early (should not happen); keep watching.
  return r == 0 ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void free_reap(gpointer data) {
  auto *reap = static_cast<Reap *>(data);
  close(reap->pidfd);
  delete reap;
}

void child_watch_done(GPid, gint, gpointer) {}

}  // namespace

void reap_when_exited(pid_t pid, GMainContext *ctx) {
#ifdef SYS_pidfd_open
  int pidfd = (int)syscall(SYS_pidfd_open, pid, 0);
  if (pidfd >= 0) {
    auto *reap = new Reap{pid, pidfd};
    GSource *src = g_unix_fd_source_new(pidfd, G_IO_IN);
    g_source_set_callback(src,
                          reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(child_exited)),
                          reap, free_reap);
    g_source_attach(src, ctx);
    g_source_unref(src);
    return;
  }
#endif
  GSource *src = g_child_watch_source_new(pid);
  g_source_set_callback(
      src, reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(child_watch_done)), nullptr,
      nullptr);
  g_source_attach(src, ctx);
  g_source_unref(src);
}

}  // namespace vhost::ipc
