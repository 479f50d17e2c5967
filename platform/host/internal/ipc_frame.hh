// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: length-prefixed frames on a stream socket (see ipc_wire.hh for the
// format).
//
// Sockets are non-blocking. Reads take what is there and cut it into frames; a blocking read waits
// with poll() (never by iterating a main loop) up to a deadline. Sends never raise SIGPIPE.
#pragma once

#include <cstddef>
#include <deque>
#include <vector>

#include "rpc_port_parcel.h"

namespace vhost::ipc {

using Bytes = std::vector<unsigned char>;

inline constexpr size_t kFrameHeader = 4;
inline constexpr size_t kMaxFrame = RPC_PORT_PARCEL_MAX_SIZE;

enum class IoStatus {
  kOk,        // the stream is usable (a read may have found nothing new)
  kEof,       // the peer closed the stream
  kError,     // the socket failed
  kTooBig,    // the peer announced a frame over the maximum
  kTimedOut,  // a blocking call reached its deadline
  kFull,      // a bounded output queue would go over its limit (see ipc_outbox.hh)
};

// Cuts a byte stream into frames. A frame's buffer grows with the bytes that actually arrive (at
// most doubling), never to more than its announced length: a peer that announces a large frame
// and sends little of it costs little. A header over the maximum is refused at once.
// The first frame of a stream (a hello) may have a smaller maximum than the frames after it.
class FrameReader {
 public:
  explicit FrameReader(size_t max_payload = kMaxFrame, size_t first_max = kMaxFrame)
      : max_(max_payload), first_max_(first_max) {}
  // Appends every completed frame to *out. False when a header announces more than the maximum.
  bool feed(const unsigned char *data, size_t n, std::deque<Bytes> *out);
  // True while a frame has begun to arrive but is not complete.
  bool mid_frame() const { return header_got_ > 0 || in_payload_; }
  // Bytes of the frame that has begun to arrive.
  size_t held() const { return header_got_ + payload_.size(); }

 private:
  size_t max_;
  size_t first_max_;
  bool first_done_ = false;
  unsigned char header_[kFrameHeader] = {};
  size_t header_got_ = 0;
  Bytes payload_;
  size_t length_ = 0;  // the announced length of the frame in payload_
  bool in_payload_ = false;
};

// Reads what the non-blocking socket holds now, at most about `budget` bytes, into frames. A read
// that does not fill its buffer ends the call: the end of the stream after it is seen by the next.
IoStatus read_available(int fd, FrameReader *reader, std::deque<Bytes> *out, size_t budget);
// Waits with poll() until *out holds at least one frame, the stream ends or fails, or `timeout_ms`
// passes (kTimedOut). Frames already in *out return at once.
IoStatus read_frame_blocking(int fd, FrameReader *reader, std::deque<Bytes> *out, int timeout_ms);
// Writes one frame (header and payload). Waits with poll() while the socket is full, at most
// `timeout_ms` in all. A payload over the maximum is refused (kTooBig) without writing anything.
IoStatus send_frame(int fd, const void *payload, size_t size, int timeout_ms);

// Milliseconds left until a g_get_monotonic_time() deadline (0 when passed).
int remaining_ms(long long deadline_us);

}  // namespace vhost::ipc
