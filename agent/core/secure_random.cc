// Velmora agent: secure random bytes and token text forms.
#include "secure_random.hh"

#include <fcntl.h>
#include <glib.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vagent {

namespace {

constexpr char kBase64Url[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

bool read_urandom(uint8_t *out, size_t n) {
  int fd = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  size_t done = 0;
  while (done < n) {
    ssize_t r = read(fd, out + done, n - done);
    if (r < 0 && errno == EINTR) continue;
    if (r <= 0) break;
    done += static_cast<size_t>(r);
  }
  close(fd);
  return done == n;
}

}  // namespace

std::vector<uint8_t> secure_random_bytes(size_t n) {
  std::vector<uint8_t> out(n);
  size_t done = 0;
  while (done < n) {
    ssize_t r = getrandom(out.data() + done, n - done, 0);
    if (r < 0 && errno == EINTR) continue;
    if (r < 0) {
      if (errno == ENOSYS && read_urandom(out.data() + done, n - done)) return out;
      fprintf(stderr, "velmora-agent: no secure random source\n");
      abort();
    }
    done += static_cast<size_t>(r);
  }
  return out;
}

std::string base64url_encode(const uint8_t *data, size_t n) {
  std::string out;
  out.reserve((n * 4 + 2) / 3);
  size_t i = 0;
  for (; i + 3 <= n; i += 3) {
    uint32_t v = (uint32_t{data[i]} << 16) | (uint32_t{data[i + 1]} << 8) | data[i + 2];
    for (int shift = 18; shift >= 0; shift -= 6) out += kBase64Url[(v >> shift) & 63];
  }
  if (n - i == 1) {
    uint32_t v = uint32_t{data[i]} << 16;
    out += kBase64Url[(v >> 18) & 63];
    out += kBase64Url[(v >> 12) & 63];
  } else if (n - i == 2) {
    uint32_t v = (uint32_t{data[i]} << 16) | (uint32_t{data[i + 1]} << 8);
    out += kBase64Url[(v >> 18) & 63];
    out += kBase64Url[(v >> 12) & 63];
    out += kBase64Url[(v >> 6) & 63];
  }
  return out;
}

bool base64url_decode(const std::string &text, std::vector<uint8_t> *out) {
  out->clear();
  if (text.size() % 4 == 1) return false;
  uint32_t acc = 0;
  int bits = 0;
  for (char c : text) {
    const char *p = c ? strchr(kBase64Url, c) : nullptr;
    if (!p) return false;
    acc = (acc << 6) | static_cast<uint32_t>(p - kBase64Url);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out->push_back(static_cast<uint8_t>((acc >> bits) & 0xff));
    }
  }
  return true;
}

std::string hex_encode(const uint8_t *data, size_t n) {
  static const char kHex[] = "0123456789abcdef";
  std::string out;
  out.reserve(n * 2);
  for (size_t i = 0; i < n; ++i) {
    out += kHex[data[i] >> 4];
    out += kHex[data[i] & 15];
  }
  return out;
}

std::string random_base64url(size_t n) {
  std::vector<uint8_t> bytes = secure_random_bytes(n);
  return base64url_encode(bytes.data(), bytes.size());
}

std::string random_hex(size_t n) {
  std::vector<uint8_t> bytes = secure_random_bytes(n);
  return hex_encode(bytes.data(), bytes.size());
}

std::string sha256_hex(const std::string &text) {
  gchar *sum = g_compute_checksum_for_string(G_CHECKSUM_SHA256, text.data(),
                                             static_cast<gssize>(text.size()));
  std::string out = sum ? sum : "";
  g_free(sum);
  return out;
}

}  // namespace vagent
