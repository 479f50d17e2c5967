// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: rpc-port ports and the link (the two streams of one proxy connection).
//
// A link owns the main and the callback stream of one connection, watches both on the GLib main
// context of its owner (the proxy, or one connection of a stub) and cuts what arrives into frames
// queued on the port. A link without blocking reads (a stub's) never waits to send: what the
// socket does not take at once waits in the port's outbox (ipc_outbox.hh). Whatever ends the link
// (end of stream, a socket error, an over-size frame, a frame that does not arrive whole within the
// frame time-out, a failed send, an outbox over its limit, a blocking read that timed out) closes
// both streams at once and tells the owner once; the owner then delivers its disconnect event from
// its main loop. The rpc_port_h handles are the link's two ports and stay valid as long as the
// owner keeps its reference to the link, which it does until its disconnect event has been
// delivered.
#pragma once

#include <glib.h>

#include <cstdint>
#include <deque>
#include <memory>

#include "ipc_frame.hh"
#include "ipc_outbox.hh"
#include "rpc_port.h"

namespace vhost::ipc {
class Link;
}

struct rpc_port_s {
  vhost::ipc::Link *link = nullptr;
  rpc_port_port_type_e type = RPC_PORT_PORT_MAIN;
  int fd = -1;
  vhost::ipc::FrameReader reader;
  std::deque<vhost::ipc::Bytes> frames;  // complete frames not taken yet
  uint64_t taken = 0;                    // frames taken by rpc_port_parcel_create_from_port
  GSource *watch = nullptr;
  bool reading = false;  // its watch's callback is running
  bool rewatch = false;  // called again from within: watch afresh when the outer call ends
  GSource *frame_timer = nullptr;  // while a frame has begun to arrive
  // Sends that never wait (ports of a link without blocking reads, i.e. the stub's); without it a
  // send waits while the socket is full, up to the time-out.
  std::unique_ptr<vhost::ipc::Outbox> out;
};

namespace vhost::ipc {

class LinkOwner {
 public:
  virtual ~LinkOwner() = default;
  // Frames wait in port->frames (called from the port's watch, on the owner's context).
  virtual void on_frames(Link *link, rpc_port_s *port) = 0;
  // The link closed. Called once, possibly from inside a read or send of the application: never
  // deliver events from here, schedule them on the main context.
  virtual void on_closed(Link *link) = 0;
};

class Link {
 public:
  // Takes both sockets. `blocking_main`: reads on the main port wait for a frame (proxy side).
  Link(GMainContext *ctx, int main_fd, int callback_fd, bool blocking_main, LinkOwner *owner);
  Link(const Link &) = delete;
  Link &operator=(const Link &) = delete;

  void ref() { ++refs_; }
  void unref();
  // Starts watching both streams.
  void start();
  // Closes both streams (idempotent) and tells the owner, unless detached.
  void close();
  // The owner goes away: no more calls to it.
  void detach() { owner_ = nullptr; }
  bool closed() const { return closed_; }
  bool blocking_main() const { return blocking_main_; }

  rpc_port_s main;
  rpc_port_s callback;

 private:
  ~Link();
  static gboolean on_readable(gint fd, GIOCondition cond, gpointer data);
  static gboolean on_frame_expired(gpointer data);
  void watch(rpc_port_s *port);
  void time_frame(rpc_port_s *port);

  GMainContext *ctx_;
  LinkOwner *owner_;
  bool blocking_main_;
  bool closed_ = false;
  int refs_ = 1;
};

// Queued frames a port may hold that nobody has taken; a peer that pushes more is dropped.
inline constexpr size_t kMaxQueuedFrames = 64;

}  // namespace vhost::ipc
