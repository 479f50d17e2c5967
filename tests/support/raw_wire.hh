// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the platform's socket protocol written out by hand, to play a misbehaving peer.
//
// Independent of the platform's own code on purpose: it follows the format documented in
// platform/host/internal/ipc_wire.hh, so the tests also pin that format down.
#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace vtest::raw {

using Bytes = std::vector<unsigned char>;

inline void put_u32(Bytes *b, uint32_t v) {
  for (int i = 0; i < 4; ++i) b->push_back((unsigned char)(v >> (8 * i)));
}
inline void put_string(Bytes *b, const std::string &s) {
  put_u32(b, (uint32_t)s.size());
  b->insert(b->end(), s.begin(), s.end());
}
inline uint32_t get_u32(const Bytes &b, size_t at) {
  return (uint32_t)b[at] | (uint32_t)b[at + 1] << 8 | (uint32_t)b[at + 2] << 16 |
         (uint32_t)b[at + 3] << 24;
}

// kind: 0 rpc main, 1 rpc callback, 2 app control.
inline Bytes hello(uint32_t kind, const std::string &caller, const std::string &target,
                   const std::string &connection_id) {
  Bytes b = {'V', 'L', 'M', 'H'};
  put_u32(&b, 1);
  put_u32(&b, kind);
  put_string(&b, caller);
  put_string(&b, target);
  put_string(&b, connection_id);
  return b;
}

inline Bytes answer(int32_t code) {
  Bytes b = {'V', 'L', 'M', 'A'};
  put_u32(&b, (uint32_t)code);
  return b;
}

inline bool write_all(int fd, const void *data, size_t n) {
  const auto *p = static_cast<const unsigned char *>(data);
  while (n > 0) {
    ssize_t w = send(fd, p, n, MSG_NOSIGNAL);
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) return false;
    p += w;
    n -= (size_t)w;
  }
  return true;
}

// Writes a frame header announcing `length` and then `payload` (which may be shorter or longer).
inline bool write_frame(int fd, const Bytes &payload, uint32_t length) {
  Bytes header;
  put_u32(&header, length);
  return write_all(fd, header.data(), header.size()) &&
         (payload.empty() || write_all(fd, payload.data(), payload.size()));
}
inline bool write_frame(int fd, const Bytes &payload) {
  return write_frame(fd, payload, (uint32_t)payload.size());
}

// Reads exactly n bytes, waiting at most timeout_ms for each chunk. False on end or time-out.
inline bool read_exact(int fd, unsigned char *out, size_t n, int timeout_ms = 20000) {
  while (n > 0) {
    struct pollfd p = {fd, POLLIN, 0};
    if (poll(&p, 1, timeout_ms) <= 0) return false;
    ssize_t r = recv(fd, out, n, 0);
    if (r < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (r <= 0) return false;
    out += r;
    n -= (size_t)r;
  }
  return true;
}

inline bool read_frame(int fd, Bytes *payload, int timeout_ms = 20000) {
  unsigned char header[4];
  if (!read_exact(fd, header, 4, timeout_ms)) return false;
  Bytes h(header, header + 4);
  payload->assign(get_u32(h, 0), 0);
  return payload->empty() || read_exact(fd, payload->data(), payload->size(), timeout_ms);
}

// True when the peer closes the stream (all data before the end is skipped) within timeout_ms.
inline bool sees_end(int fd, int timeout_ms = 20000) {
  unsigned char buf[4096];
  for (;;) {
    struct pollfd p = {fd, POLLIN, 0};
    if (poll(&p, 1, timeout_ms) <= 0) return false;
    ssize_t r = recv(fd, buf, sizeof(buf), 0);
    if (r == 0) return true;
    if (r < 0 && errno != EINTR && errno != EAGAIN) return true;  // reset counts as the end
  }
}

inline int connect_to(const std::string &path) {
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  struct sockaddr_un addr = {};
  addr.sun_family = AF_UNIX;
  strncpy(addr.sun_path, path.c_str(), sizeof(addr.sun_path) - 1);
  if (connect(fd, reinterpret_cast<struct sockaddr *>(&addr), sizeof(addr)) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

inline int listen_at(const std::string &path) {
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  struct sockaddr_un addr = {};
  addr.sun_family = AF_UNIX;
  strncpy(addr.sun_path, path.c_str(), sizeof(addr.sun_path) - 1);
  unlink(path.c_str());
  if (bind(fd, reinterpret_cast<struct sockaddr *>(&addr), sizeof(addr)) != 0 ||
      listen(fd, 8) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

// Accepts a pending connection, waiting at most timeout_ms.
inline int accept_one(int listen_fd, int timeout_ms = 20000) {
  struct pollfd p = {listen_fd, POLLIN, 0};
  if (poll(&p, 1, timeout_ms) <= 0) return -1;
  return accept4(listen_fd, nullptr, nullptr, SOCK_CLOEXEC);
}

}  // namespace vtest::raw
