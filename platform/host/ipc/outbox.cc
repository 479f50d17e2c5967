// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the bounded output queue of a non-blocking stream (see ipc_outbox.hh).
#include <glib-unix.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "ipc_outbox.hh"

namespace vhost::ipc {

Outbox::Outbox(GMainContext *ctx, int fd, size_t limit)
    : ctx_(g_main_context_ref(ctx)), fd_(fd), limit_(limit) {}

Outbox::~Outbox() {
  unwatch();
  g_main_context_unref(ctx_);
}

void Outbox::stop() {
  stopped_ = true;
  unwatch();
  queue_.clear();
  bytes_ = 0;
  head_written_ = 0;
}

void Outbox::watch() {
  if (watch_) return;
  watch_ = g_unix_fd_source_new(fd_, (GIOCondition)(G_IO_OUT | G_IO_HUP | G_IO_ERR));
  g_source_set_callback(watch_,
                        reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(on_writable)),
                        this, nullptr);
  g_source_attach(watch_, ctx_);
}

void Outbox::unwatch() {
  if (!watch_) return;
  g_source_destroy(watch_);
  g_source_unref(watch_);
  watch_ = nullptr;
}

IoStatus Outbox::write_now(const struct iovec *iov, int count, size_t total, size_t *written) {
  *written = 0;
  while (*written < total) {
    // Skip what is written already.
    struct iovec rest[2];
    int n = 0;
    size_t skip = *written;
    for (int i = 0; i < count; ++i) {
      if (skip >= iov[i].iov_len) {
        skip -= iov[i].iov_len;
        continue;
      }
      rest[n++] = {static_cast<unsigned char *>(iov[i].iov_base) + skip, iov[i].iov_len - skip};
      skip = 0;
    }
    struct msghdr msg = {};
    msg.msg_iov = rest;
    msg.msg_iovlen = (size_t)n;
    ssize_t r = sendmsg(fd_, &msg, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (r > 0) {
      *written += (size_t)r;
      continue;
    }
    if (r < 0 && errno == EINTR) continue;
    if (r < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return IoStatus::kOk;
    return (r < 0 && (errno == EPIPE || errno == ECONNRESET)) ? IoStatus::kEof : IoStatus::kError;
  }
  return IoStatus::kOk;
}

IoStatus Outbox::push(const void *payload, size_t size) {
  if (size > kMaxFrame) return IoStatus::kTooBig;
  unsigned char header[kFrameHeader];
  for (size_t i = 0; i < kFrameHeader; ++i) header[i] = (unsigned char)(size >> (8 * i));
  const size_t total = kFrameHeader + size;
  if (stopped_) return IoStatus::kError;
  if (bytes_ > 0 && bytes_ + total > limit_) return IoStatus::kFull;
  size_t written = 0;
  if (bytes_ == 0) {
    struct iovec iov[2] = {{header, kFrameHeader}, {const_cast<void *>(payload), size}};
    IoStatus st = write_now(iov, size ? 2 : 1, total, &written);
    if (st != IoStatus::kOk) return st;
    if (written == total) return IoStatus::kOk;
  }
  try {
    Bytes rest;
    rest.reserve(total - written);
    for (size_t i = written; i < kFrameHeader; ++i) rest.push_back(header[i]);
    const auto *p = static_cast<const unsigned char *>(payload);
    const size_t from = written > kFrameHeader ? written - kFrameHeader : 0;
    rest.insert(rest.end(), p + from, p + size);
    bytes_ += rest.size();
    queue_.push_back(std::move(rest));
  } catch (const std::bad_alloc &) {
    return IoStatus::kError;
  }
  watch();
  return IoStatus::kOk;
}

IoStatus Outbox::push_raw(const Bytes &bytes) {
  if (stopped_) return IoStatus::kError;
  if (bytes_ > 0 && bytes_ + bytes.size() > limit_) return IoStatus::kFull;
  size_t written = 0;
  if (bytes_ == 0) {
    struct iovec iov[1] = {{const_cast<unsigned char *>(bytes.data()), bytes.size()}};
    IoStatus st = write_now(iov, 1, bytes.size(), &written);
    if (st != IoStatus::kOk) return st;
    if (written == bytes.size()) return IoStatus::kOk;
  }
  try {
    queue_.emplace_back(bytes.begin() + (long)written, bytes.end());
  } catch (const std::bad_alloc &) {
    return IoStatus::kError;
  }
  bytes_ += bytes.size() - written;
  watch();
  return IoStatus::kOk;
}

IoStatus Outbox::flush() {
  while (!queue_.empty()) {
    Bytes &head = queue_.front();
    struct iovec iov[1] = {{head.data() + head_written_, head.size() - head_written_}};
    size_t written = 0;
    IoStatus st = write_now(iov, 1, iov[0].iov_len, &written);
    head_written_ += written;
    bytes_ -= written;
    if (st != IoStatus::kOk) return st;
    if (head_written_ < head.size()) return IoStatus::kOk;  // the socket is full again
    queue_.pop_front();
    head_written_ = 0;
  }
  return IoStatus::kOk;
}

gboolean Outbox::on_writable(gint, GIOCondition, gpointer data) {
  auto *box = static_cast<Outbox *>(data);
  IoStatus st = box->flush();
  if (st == IoStatus::kOk && box->bytes_ > 0) return G_SOURCE_CONTINUE;
  // Done or failed: the watch goes first, since the owner may destroy the outbox.
  box->unwatch();
  if (st != IoStatus::kOk) {
    box->stopped_ = true;
    auto failed = box->on_failed;
    if (failed) failed(st);
  } else {
    auto drained = box->on_drained;
    if (drained) drained();
  }
  return G_SOURCE_REMOVE;
}

}  // namespace vhost::ipc
