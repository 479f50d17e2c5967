// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: main-loop sources of the inter-process parts: a watch on a socket, and
// letting a source go.
#pragma once

#include <glib-unix.h>
#include <glib.h>

namespace vhost::ipc {

// Makes a watch call `fn(fd, condition, data)` from now on.
template <typename F>
void set_watch_callback(GSource *src, F *fn, void *data) {
  g_source_set_callback(src, reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(fn)), data,
                        nullptr);
}

// Attaches to `ctx` a source that calls `fn(fd, condition, data)` on input, hang-up or error.
template <typename F>
GSource *fd_watch(int fd, F *fn, void *data, GMainContext *ctx) {
  GSource *src = g_unix_fd_source_new(fd, (GIOCondition)(G_IO_IN | G_IO_HUP | G_IO_ERR));
  set_watch_callback(src, fn, data);
  g_source_attach(src, ctx);
  return src;
}

// Lets GLib dispatch `src` without blocking it first. Blocking takes the source's descriptors out
// of the poll set and puts them back after the callback, which wakes the context twice (an eventfd
// write each) and costs one more poll per dispatch. Only for a watch whose callback never meets
// itself again: it does not run the main context, or (Link::on_readable) stands down when it is
// called again from within itself.
inline void dispatch_unblocked(GSource *src) { g_source_set_can_recurse(src, TRUE); }

// Destroys and releases *src, if any, and clears it.
inline void drop_source(GSource **src) {
  if (*src) {
    g_source_destroy(*src);
    g_source_unref(*src);
    *src = nullptr;
  }
}

}  // namespace vhost::ipc
