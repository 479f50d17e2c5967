// SPDX-License-Identifier: Apache-2.0
// Velmora agent: password hashing: Argon2id (libsodium), and verifying the earlier PBKDF2 form.
#include "password_hash.hh"

#include <glib.h>
#include <sodium.h>

#include <cstdlib>

#include "secure_random.hh"

namespace vagent {

namespace {

constexpr const char *kPbkdf2Scheme = "pbkdf2-sha256";
constexpr size_t kDigest = crypto_auth_hmacsha256_BYTES;
constexpr unsigned kMaxIterations = 10000000;
constexpr size_t kPbkdf2SaltBytes = 16;
constexpr size_t kPbkdf2KeyBytes = 32;

const unsigned long long kOpsLimit = crypto_pwhash_OPSLIMIT_INTERACTIVE;
const size_t kMemLimit = crypto_pwhash_MEMLIMIT_INTERACTIVE;

bool is_argon2id(const std::string &stored) {
  return stored.rfind(crypto_pwhash_STRPREFIX, 0) == 0;
}

bool verify_pbkdf2(const std::string &password, const std::string &stored) {
  gchar **parts = g_strsplit(stored.c_str(), "$", 5);
  bool ok = false;
  if (g_strv_length(parts) == 4 && std::string(parts[0]) == kPbkdf2Scheme) {
    char *end = nullptr;
    unsigned long iterations = strtoul(parts[1], &end, 10);
    std::vector<uint8_t> salt, expected;
    if (end && *end == '\0' && iterations >= 1 && iterations <= kMaxIterations &&
        base64url_decode(parts[2], &salt) && base64url_decode(parts[3], &expected) &&
        !expected.empty()) {
      std::vector<uint8_t> actual = pbkdf2_hmac_sha256(
          password, salt.data(), salt.size(), static_cast<unsigned>(iterations), expected.size());
      ok = constant_time_equal(actual.data(), actual.size(), expected.data(), expected.size());
      sodium_memzero(actual.data(), actual.size());
    }
  }
  g_strfreev(parts);
  return ok;
}

}  // namespace

std::optional<std::string> hash_password(const std::string &password) {
  sodium_ready();
  char out[crypto_pwhash_STRBYTES];
  if (crypto_pwhash_str(out, password.data(), password.size(), kOpsLimit, kMemLimit) != 0)
    return std::nullopt;
  return std::string(out);
}

bool verify_password(const std::string &password, const std::string &stored) {
  sodium_ready();
  if (is_argon2id(stored))
    return crypto_pwhash_str_verify(stored.c_str(), password.data(), password.size()) == 0;
  return verify_pbkdf2(password, stored);
}

bool password_needs_rehash(const std::string &stored) {
  sodium_ready();
  if (!is_argon2id(stored)) return true;
  return crypto_pwhash_str_needs_rehash(stored.c_str(), kOpsLimit, kMemLimit) != 0;
}

std::vector<uint8_t> pbkdf2_hmac_sha256(const std::string &password, const uint8_t *salt,
                                        size_t salt_len, unsigned iterations, size_t key_len) {
  sodium_ready();
  std::vector<uint8_t> key;
  key.reserve(key_len);
  // The key setup is done once; each HMAC starts from a copy of the keyed state.
  crypto_auth_hmacsha256_state keyed;
  crypto_auth_hmacsha256_init(&keyed, reinterpret_cast<const unsigned char *>(password.data()),
                              password.size());
  auto hmac = [&keyed](const uint8_t *data, size_t len, uint8_t out[kDigest]) {
    crypto_auth_hmacsha256_state h = keyed;
    crypto_auth_hmacsha256_update(&h, data, len);
    crypto_auth_hmacsha256_final(&h, out);
  };
  std::vector<uint8_t> block(salt, salt + salt_len);
  block.resize(salt_len + 4);
  for (uint32_t index = 1; key.size() < key_len; ++index) {
    block[salt_len] = static_cast<uint8_t>(index >> 24);
    block[salt_len + 1] = static_cast<uint8_t>(index >> 16);
    block[salt_len + 2] = static_cast<uint8_t>(index >> 8);
    block[salt_len + 3] = static_cast<uint8_t>(index);
    uint8_t u[kDigest], t[kDigest];
    hmac(block.data(), block.size(), u);
    std::copy(u, u + kDigest, t);
    for (unsigned i = 1; i < iterations; ++i) {
      hmac(u, kDigest, u);
      for (size_t j = 0; j < kDigest; ++j) t[j] ^= u[j];
    }
    for (size_t j = 0; j < kDigest && key.size() < key_len; ++j) key.push_back(t[j]);
    sodium_memzero(u, sizeof u);
    sodium_memzero(t, sizeof t);
  }
  sodium_memzero(&keyed, sizeof keyed);
  return key;
}

std::string pbkdf2_stored_hash(const std::string &password, unsigned iterations) {
  std::vector<uint8_t> salt = secure_random_bytes(kPbkdf2SaltBytes);
  std::vector<uint8_t> key =
      pbkdf2_hmac_sha256(password, salt.data(), salt.size(), iterations, kPbkdf2KeyBytes);
  return std::string(kPbkdf2Scheme) + "$" + std::to_string(iterations) + "$" +
         base64url_encode(salt.data(), salt.size()) + "$" +
         base64url_encode(key.data(), key.size());
}

}  // namespace vagent
