// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: length-prefixed frames on non-blocking stream sockets.
#include <glib.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "ipc_frame.hh"

namespace vhost::ipc {

namespace {

constexpr size_t kChunk = 64 * 1024;

uint32_t le32(const unsigned char *p) {
  return (uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24;
}

// One recv() into `buf`: >0 bytes, 0 would block, -1 end of stream, -2 failure.
long recv_once(int fd, unsigned char *buf, size_t size) {
  for (;;) {
    ssize_t n = recv(fd, buf, size, MSG_DONTWAIT);
    if (n > 0) return n;
    if (n == 0) return -1;
    if (errno == EINTR) continue;
    if (errno == EAGAIN || errno == EWOULDBLOCK) return 0;
    return -2;
  }
}

bool wait_fd(int fd, short events, int timeout_ms) {
  struct pollfd p = {fd, events, 0};
  for (;;) {
    int r = poll(&p, 1, timeout_ms);
    if (r >= 0) return r > 0;
    if (errno != EINTR) return false;
  }
}

}  // namespace

int remaining_ms(long long deadline_us) {
  long long left = deadline_us - g_get_monotonic_time();
  if (left <= 0) return 0;
  return (int)std::min<long long>((left + 999) / 1000, G_MAXINT);
}

bool FrameReader::feed(const unsigned char *data, size_t n, std::deque<Bytes> *out) {
  while (n > 0) {
    if (!in_payload_) {
      size_t take = std::min(n, kFrameHeader - header_got_);
      memcpy(header_ + header_got_, data, take);
      header_got_ += take;
      data += take;
      n -= take;
      if (header_got_ < kFrameHeader) return true;
      uint32_t len = le32(header_);
      if (len > (first_done_ ? max_ : first_max_)) return false;
      first_done_ = true;
      header_got_ = 0;
      payload_ = Bytes();
      length_ = len;
      in_payload_ = true;
    }
    size_t take = std::min(n, length_ - payload_.size());
    if (take) {
      const size_t need = payload_.size() + take;
      if (need > payload_.capacity())
        payload_.reserve(std::min(length_, std::max(need, 2 * payload_.capacity())));
      payload_.insert(payload_.end(), data, data + take);
    }
    data += take;
    n -= take;
    if (payload_.size() == length_) {
      out->push_back(std::move(payload_));
      payload_ = Bytes();
      in_payload_ = false;
    }
  }
  return true;
}

IoStatus read_available(int fd, FrameReader *reader, std::deque<Bytes> *out, size_t budget) {
  unsigned char buf[kChunk];
  size_t total = 0;
  while (total < budget) {
    long n = recv_once(fd, buf, sizeof(buf));
    if (n == 0) return IoStatus::kOk;
    if (n == -1) return IoStatus::kEof;
    if (n < 0) return IoStatus::kError;
    try {
      if (!reader->feed(buf, (size_t)n, out)) return IoStatus::kTooBig;
    } catch (const std::bad_alloc &) {
      return IoStatus::kError;
    }
    total += (size_t)n;
    // A read that did not fill the buffer took all there was: asking again would only hear that
    // nothing is left. What arrives later (or the end of the stream) wakes the watch again.
    if ((size_t)n < sizeof(buf)) break;
  }
  return IoStatus::kOk;
}

IoStatus read_frame_blocking(int fd, FrameReader *reader, std::deque<Bytes> *out, int timeout_ms) {
  const long long deadline = g_get_monotonic_time() + (long long)timeout_ms * 1000;
  unsigned char buf[kChunk];
  while (out->empty()) {
    long n = recv_once(fd, buf, sizeof(buf));
    if (n == -1) return IoStatus::kEof;
    if (n < 0) return IoStatus::kError;
    if (n == 0) {
      int left = remaining_ms(deadline);
      if (left == 0) return IoStatus::kTimedOut;
      wait_fd(fd, POLLIN, left);
      continue;
    }
    try {
      if (!reader->feed(buf, (size_t)n, out)) return IoStatus::kTooBig;
    } catch (const std::bad_alloc &) {
      return IoStatus::kError;
    }
  }
  return IoStatus::kOk;
}

IoStatus send_frame(int fd, const void *payload, size_t size, int timeout_ms) {
  if (size > kMaxFrame) return IoStatus::kTooBig;
  if (fd < 0) return IoStatus::kError;
  unsigned char header[kFrameHeader];
  for (size_t i = 0; i < kFrameHeader; ++i) header[i] = (unsigned char)(size >> (8 * i));
  const long long deadline = g_get_monotonic_time() + (long long)timeout_ms * 1000;
  size_t sent = 0;  // bytes of header + payload already written
  const size_t total = kFrameHeader + size;
  while (sent < total) {
    struct iovec iov[2];
    int count = 0;
    if (sent < kFrameHeader) {
      iov[count++] = {header + sent, kFrameHeader - sent};
      if (size) iov[count++] = {const_cast<void *>(payload), size};
    } else {
      iov[count++] = {(unsigned char *)const_cast<void *>(payload) + (sent - kFrameHeader),
                      total - sent};
    }
    struct msghdr msg = {};
    msg.msg_iov = iov;
    msg.msg_iovlen = count;
    ssize_t n = sendmsg(fd, &msg, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n > 0) {
      sent += (size_t)n;
      continue;
    }
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      int left = remaining_ms(deadline);
      if (left == 0) return IoStatus::kTimedOut;
      wait_fd(fd, POLLOUT, left);
      continue;
    }
    return (n < 0 && (errno == EPIPE || errno == ECONNRESET)) ? IoStatus::kEof : IoStatus::kError;
  }
  return IoStatus::kOk;
}

}  // namespace vhost::ipc
