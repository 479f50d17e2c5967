// SPDX-License-Identifier: Apache-2.0
// Velmora agent: secure random bytes and token text forms (libsodium).
#include "secure_random.hh"

#include <sodium.h>

#include <cstdio>
#include <cstdlib>

namespace vagent {

namespace {
constexpr int kVariant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
}

void sodium_ready() {
  static const bool ready = sodium_init() >= 0;
  if (!ready) {
    fprintf(stderr, "velmora-agent: libsodium cannot be initialised\n");
    abort();
  }
}

std::vector<uint8_t> secure_random_bytes(size_t n) {
  sodium_ready();
  std::vector<uint8_t> out(n);
  if (n > 0) randombytes_buf(out.data(), n);
  return out;
}

std::string base64url_encode(const uint8_t *data, size_t n) {
  std::string out(sodium_base64_ENCODED_LEN(n, kVariant), '\0');
  sodium_bin2base64(out.data(), out.size(), data, n, kVariant);
  out.resize(out.size() - 1);  // the terminating NUL
  return out;
}

bool base64url_decode(const std::string &text, std::vector<uint8_t> *out) {
  sodium_ready();
  out->assign(text.size() * 3 / 4 + 1, 0);
  size_t len = 0;
  const char *end = nullptr;
  if (sodium_base642bin(out->data(), out->size(), text.data(), text.size(), nullptr, &len, &end,
                        kVariant) != 0 ||
      end != text.data() + text.size()) {
    out->clear();
    return false;
  }
  out->resize(len);
  return true;
}

std::string hex_encode(const uint8_t *data, size_t n) {
  std::string out(n * 2 + 1, '\0');
  sodium_bin2hex(out.data(), out.size(), data, n);
  out.resize(n * 2);
  return out;
}

std::string random_base64url(size_t n) {
  std::vector<uint8_t> bytes = secure_random_bytes(n);
  return base64url_encode(bytes.data(), bytes.size());
}

std::string random_digits(size_t n) {
  sodium_ready();
  std::string out(n, '0');
  for (char &c : out) c = static_cast<char>('0' + randombytes_uniform(10));
  return out;
}

std::string random_hex(size_t n) {
  std::vector<uint8_t> bytes = secure_random_bytes(n);
  return hex_encode(bytes.data(), bytes.size());
}

bool constant_time_equal(const void *a, size_t a_len, const void *b, size_t b_len) {
  sodium_ready();
  return a_len == b_len && (a_len == 0 || sodium_memcmp(a, b, a_len) == 0);
}

}  // namespace vagent
