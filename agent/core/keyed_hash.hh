// SPDX-License-Identifier: Apache-2.0
// Velmora agent: a fast keyed hash (libsodium's BLAKE2b under the state's own 32-byte key) for
// values that are high-entropy already: machine-generated client secrets, refresh tokens, codes.
// Passwords, which people choose, take the slow hash of password_hash.hh instead.
//
// Each use has its own purpose word, so that a digest made for one use never matches in another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vagent {

class KeyedHash {
 public:
  static constexpr size_t kKeyBytes = 32;
  static constexpr size_t kDigestBytes = 32;

  // Without a key every digest is made under a key of zeros (tests of other parts only).
  KeyedHash() = default;
  // `key` is kKeyBytes long (the identity record's); any other length aborts.
  explicit KeyedHash(std::string key);

  // kDigestBytes raw bytes.
  std::string digest(std::string_view purpose, std::string_view value) const;
  // True when `value` has the digest `stored`, compared in constant time.
  bool matches(std::string_view purpose, std::string_view value, const std::string &stored) const;

  // A fresh random key.
  static std::string new_key();

 private:
  std::string key_ = std::string(kKeyBytes, '\0');
};

}  // namespace vagent
