// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the link of one rpc-port connection and its two watched ports.
#include <glib-unix.h>
#include <unistd.h>

#include <utility>

#include "ipc_log.hh"
#include "ipc_port.hh"
#include "ipc_timeouts.hh"
#include "ipc_watch.hh"

namespace vhost::ipc {

namespace {

// Bytes one wake-up of a watch reads before it lets other sources run.
constexpr size_t kReadBudget = 256 * 1024;

void stop_port(rpc_port_s *port) {
  drop_source(&port->watch);
  drop_source(&port->frame_timer);
  if (port->out) port->out->stop();
  if (port->fd >= 0) {
    ::close(port->fd);
    port->fd = -1;
  }
}

}  // namespace

Link::Link(GMainContext *ctx, int main_fd, int callback_fd, bool blocking_main, LinkOwner *owner)
    : ctx_(ctx), owner_(owner), blocking_main_(blocking_main) {
  g_main_context_ref(ctx_);
  main.link = this;
  main.type = RPC_PORT_PORT_MAIN;
  main.fd = main_fd;
  callback.link = this;
  callback.type = RPC_PORT_PORT_CALLBACK;
  callback.fd = callback_fd;
  if (!blocking_main_) {
    for (rpc_port_s *port : {&main, &callback}) {
      port->out = std::make_unique<Outbox>(ctx_, port->fd);
      port->out->on_failed = [this](IoStatus) {
        ref();
        close();
        unref();
      };
    }
  }
}

Link::~Link() {
  stop_port(&main);
  stop_port(&callback);
  g_main_context_unref(ctx_);
}

void Link::unref() {
  if (--refs_ == 0) delete this;
}

void Link::watch(rpc_port_s *port) {
  if (port->fd < 0 || port->watch) return;
  port->watch = g_unix_fd_source_new(port->fd, (GIOCondition)(G_IO_IN | G_IO_HUP | G_IO_ERR));
  g_source_set_callback(port->watch,
                        reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(on_readable)),
                        port, nullptr);
  dispatch_unblocked(port->watch);  // on_readable stands down when a handler runs the loop
  g_source_attach(port->watch, ctx_);
}

// A frame that has begun to arrive must be whole within the frame time-out: a peer may not hold
// a half-sent frame (and the buffer for it) open for ever.
void Link::time_frame(rpc_port_s *port) {
  if (!port->reader.mid_frame()) {
    drop_source(&port->frame_timer);
    return;
  }
  if (port->frame_timer) return;
  port->frame_timer = g_timeout_source_new((guint)frame_timeout_ms());
  g_source_set_callback(port->frame_timer, on_frame_expired, port, nullptr);
  g_source_attach(port->frame_timer, ctx_);
}

gboolean Link::on_frame_expired(gpointer data) {
  auto *port = static_cast<rpc_port_s *>(data);
  Link *link = port->link;
  g_source_unref(port->frame_timer);
  port->frame_timer = nullptr;
  IPC_LOGE("dropping a connection: a frame did not arrive whole within %d ms", frame_timeout_ms());
  link->ref();
  link->close();
  link->unref();
  return G_SOURCE_REMOVE;
}

void Link::start() {
  if (closed_) return;
  watch(&main);
  watch(&callback);
}

void Link::close() {
  if (closed_) return;
  closed_ = true;
  stop_port(&main);
  stop_port(&callback);
  if (owner_) owner_->on_closed(this);
}

gboolean Link::on_readable(gint, GIOCondition, gpointer data) {
  auto *port = static_cast<rpc_port_s *>(data);
  Link *link = port->link;
  if (link->closed_) return G_SOURCE_REMOVE;
  if (port->reading) {
    // A handler runs the main context from within this very call: the stream is left alone until
    // the outer call is over (as a blocked source would be), then watched again.
    drop_source(&port->watch);
    port->rewatch = true;
    return G_SOURCE_REMOVE;
  }
  link->ref();
  port->reading = true;
  IoStatus status = read_available(port->fd, &port->reader, &port->frames, kReadBudget);
  if (status == IoStatus::kTooBig)
    IPC_LOGE("dropping a connection: the peer sent a frame over %zu bytes", kMaxFrame);
  if (!port->frames.empty() && link->owner_) link->owner_->on_frames(link, port);
  if (!link->closed_ && port->frames.size() > kMaxQueuedFrames) {
    IPC_LOGE("dropping a connection: more than %zu frames nobody reads", kMaxQueuedFrames);
    status = IoStatus::kError;
  }
  port->reading = false;
  if (status != IoStatus::kOk) link->close();
  if (!link->closed_) link->time_frame(port);
  bool keep = !link->closed_;
  if (keep && std::exchange(port->rewatch, false)) {
    link->watch(port);  // this source was dropped from within: a new one takes over
    keep = false;
  }
  link->unref();
  return keep ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

}  // namespace vhost::ipc
