// Velmora host platform: main-loop sources of the inter-process parts: a watch on a socket, and
// letting a source go.
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

// Destroys and releases *src, if any, and clears it.
inline void drop_source(GSource **src) {
  if (*src) {
    g_source_destroy(*src);
    g_source_unref(*src);
    *src = nullptr;
  }
}

}  // namespace vhost::ipc
