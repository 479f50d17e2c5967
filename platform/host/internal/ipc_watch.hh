// Velmora host platform: a main-loop watch on a socket, shared by the servers of the host.
#pragma once

#include <glib-unix.h>
#include <glib.h>

namespace vhost::ipc {

// Attaches to `ctx` a source that calls `fn(fd, condition, data)` on input, hang-up or error.
template <typename F>
GSource *fd_watch(int fd, F *fn, void *data, GMainContext *ctx) {
  GSource *src = g_unix_fd_source_new(fd, (GIOCondition)(G_IO_IN | G_IO_HUP | G_IO_ERR));
  g_source_set_callback(src, reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(fn)), data,
                        nullptr);
  g_source_attach(src, ctx);
  return src;
}

}  // namespace vhost::ipc
