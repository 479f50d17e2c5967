// SPDX-License-Identifier: Apache-2.0
// Velmora agent: keyed BLAKE2b digests (libsodium crypto_generichash).
#include "keyed_hash.hh"

#include <sodium.h>

#include <cstdlib>

#include "secure_random.hh"

namespace vagent {

static_assert(KeyedHash::kKeyBytes >= crypto_generichash_KEYBYTES_MIN &&
              KeyedHash::kKeyBytes <= crypto_generichash_KEYBYTES_MAX);
static_assert(KeyedHash::kDigestBytes >= crypto_generichash_BYTES_MIN &&
              KeyedHash::kDigestBytes <= crypto_generichash_BYTES_MAX);

KeyedHash::KeyedHash(std::string key) : key_(std::move(key)) {
  if (key_.size() != kKeyBytes) abort();
}

std::string KeyedHash::digest(std::string_view purpose, std::string_view value) const {
  sodium_ready();
  crypto_generichash_state state;
  crypto_generichash_init(&state, reinterpret_cast<const unsigned char *>(key_.data()), key_.size(),
                          kDigestBytes);
  // The purpose word and its terminating NUL, then the value: no two (purpose, value) pairs
  // give the same input.
  crypto_generichash_update(&state, reinterpret_cast<const unsigned char *>(purpose.data()),
                            purpose.size());
  const unsigned char nul = 0;
  crypto_generichash_update(&state, &nul, 1);
  crypto_generichash_update(&state, reinterpret_cast<const unsigned char *>(value.data()),
                            value.size());
  std::string out(kDigestBytes, '\0');
  crypto_generichash_final(&state, reinterpret_cast<unsigned char *>(out.data()), out.size());
  return out;
}

bool KeyedHash::matches(std::string_view purpose, std::string_view value,
                        const std::string &stored) const {
  const std::string actual = digest(purpose, value);
  return constant_time_equal(actual.data(), actual.size(), stored.data(), stored.size());
}

std::string KeyedHash::new_key() {
  std::vector<uint8_t> bytes = secure_random_bytes(kKeyBytes);
  return std::string(bytes.begin(), bytes.end());
}

}  // namespace vagent
