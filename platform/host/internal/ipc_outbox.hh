// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the bounded output queue of a non-blocking stream.
//
// A server never waits for a peer to read. A frame is written at once as far as the socket takes
// it; the rest waits in the outbox and is written from a main-loop watch as the peer reads. Frames
// keep their order. The queue is bounded: while frames wait, a frame that would take the waiting
// bytes over the limit is refused (kFull) and the owner gives the peer up instead of waiting for
// it. A frame that finds the queue empty is always taken, so the limit only needs to hold one
// frame of the maximum size.
#pragma once

#include <glib.h>

#include <cstddef>
#include <deque>
#include <functional>

#include "ipc_frame.hh"

namespace vhost::ipc {

// What an outbox of a connection may hold: two frames of the maximum size.
inline constexpr size_t kMaxOutbox = 2 * (kMaxFrame + kFrameHeader);

class Outbox {
 public:
  // `fd` stays the caller's; the outbox only writes to it, watching it on `ctx` while bytes wait.
  Outbox(GMainContext *ctx, int fd, size_t limit = kMaxOutbox);
  ~Outbox();
  Outbox(const Outbox &) = delete;
  Outbox &operator=(const Outbox &) = delete;

  // Runs from the watch when a later write fails (kEof or kError). It may destroy the outbox.
  std::function<void(IoStatus)> on_failed;
  // Runs from the watch when the last waiting byte was written. It may destroy the outbox.
  std::function<void()> on_drained;

  // Queues one frame (header and payload) and writes what the socket takes now. kOk: written or
  // waiting; kTooBig: a payload over the maximum frame, nothing queued; kFull: over the limit,
  // nothing queued; kEof or kError: the socket failed.
  IoStatus push(const void *payload, size_t size);
  // The same for bytes that already hold whole frames.
  IoStatus push_raw(const Bytes &bytes);
  // Bytes waiting to be written.
  size_t waiting() const { return bytes_; }
  // Stops writing and watching (the stream is about to close).
  void stop();

 private:
  IoStatus write_now(const struct iovec *iov, int count, size_t total, size_t *written);
  IoStatus flush();
  void watch();
  void unwatch();
  static gboolean on_writable(gint fd, GIOCondition cond, gpointer data);

  GMainContext *ctx_;
  int fd_;
  size_t limit_;
  bool stopped_ = false;
  std::deque<Bytes> queue_;
  size_t head_written_ = 0;  // bytes of queue_.front() already written
  size_t bytes_ = 0;         // bytes waiting in all
  GSource *watch_ = nullptr;
};

}  // namespace vhost::ipc
