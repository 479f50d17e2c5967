// Velmora agent: PBKDF2-HMAC-SHA256 password hashing on GLib's GHmac.
#include "password_hash.hh"

#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "secure_random.hh"

namespace vagent {

namespace {

constexpr const char *kScheme = "pbkdf2-sha256";
constexpr size_t kDigest = 32;  // SHA-256
constexpr unsigned kMaxIterations = 10000000;

struct HmacDeleter {
  void operator()(GHmac *h) const { g_hmac_unref(h); }
};
using Hmac = std::unique_ptr<GHmac, HmacDeleter>;

// HMAC of `data` under the key already in `keyed` (a copy is used, the key setup is done once).
void hmac(GHmac *keyed, const uint8_t *data, size_t len, uint8_t out[kDigest]) {
  Hmac h(g_hmac_copy(keyed));
  g_hmac_update(h.get(), data, static_cast<gssize>(len));
  gsize out_len = kDigest;
  g_hmac_get_digest(h.get(), out, &out_len);
}

}  // namespace

std::vector<uint8_t> pbkdf2_hmac_sha256(const std::string &password, const uint8_t *salt,
                                        size_t salt_len, unsigned iterations, size_t key_len) {
  std::vector<uint8_t> key;
  key.reserve(key_len);
  Hmac keyed(g_hmac_new(G_CHECKSUM_SHA256, reinterpret_cast<const guchar *>(password.data()),
                        password.size()));
  std::vector<uint8_t> block(salt, salt + salt_len);
  block.resize(salt_len + 4);
  for (uint32_t index = 1; key.size() < key_len; ++index) {
    block[salt_len] = static_cast<uint8_t>(index >> 24);
    block[salt_len + 1] = static_cast<uint8_t>(index >> 16);
    block[salt_len + 2] = static_cast<uint8_t>(index >> 8);
    block[salt_len + 3] = static_cast<uint8_t>(index);
    uint8_t u[kDigest], t[kDigest];
    hmac(keyed.get(), block.data(), block.size(), u);
    std::copy(u, u + kDigest, t);
    for (unsigned i = 1; i < iterations; ++i) {
      hmac(keyed.get(), u, kDigest, u);
      for (size_t j = 0; j < kDigest; ++j) t[j] ^= u[j];
    }
    for (size_t j = 0; j < kDigest && key.size() < key_len; ++j) key.push_back(t[j]);
  }
  return key;
}

std::string hash_secret(const std::string &secret, unsigned iterations) {
  std::vector<uint8_t> salt = secure_random_bytes(kPasswordSaltBytes);
  std::vector<uint8_t> key =
      pbkdf2_hmac_sha256(secret, salt.data(), salt.size(), iterations, kPasswordKeyBytes);
  return std::string(kScheme) + "$" + std::to_string(iterations) + "$" +
         base64url_encode(salt.data(), salt.size()) + "$" +
         base64url_encode(key.data(), key.size());
}

bool verify_secret(const std::string &secret, const std::string &stored) {
  gchar **parts = g_strsplit(stored.c_str(), "$", 5);
  bool ok = false;
  if (g_strv_length(parts) == 4 && std::string(parts[0]) == kScheme) {
    char *end = nullptr;
    unsigned long iterations = strtoul(parts[1], &end, 10);
    std::vector<uint8_t> salt, expected;
    if (end && *end == '\0' && iterations >= 1 && iterations <= kMaxIterations &&
        base64url_decode(parts[2], &salt) && base64url_decode(parts[3], &expected) &&
        !expected.empty()) {
      std::vector<uint8_t> actual = pbkdf2_hmac_sha256(
          secret, salt.data(), salt.size(), static_cast<unsigned>(iterations), expected.size());
      ok = constant_time_equal(actual.data(), actual.size(), expected.data(), expected.size());
    }
  }
  g_strfreev(parts);
  return ok;
}

bool constant_time_equal(const uint8_t *a, size_t a_len, const uint8_t *b, size_t b_len) {
  if (a_len != b_len) return false;
  volatile uint8_t diff = 0;
  for (size_t i = 0; i < a_len; ++i) diff = static_cast<uint8_t>(diff | (a[i] ^ b[i]));
  return diff == 0;
}

}  // namespace vagent
