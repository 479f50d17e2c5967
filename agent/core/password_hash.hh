// Velmora agent: slow salted hashes of passwords and client secrets (PBKDF2-HMAC-SHA256).
//
// A stored hash is one text: "pbkdf2-sha256$<iterations>$<salt>$<derived key>" with salt (16 random
// bytes) and key (32 bytes) in base64url. The iteration count travels with the hash, so it can be
// raised later without breaking stored hashes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vagent {

inline constexpr unsigned kPasswordIterations = 10000;
inline constexpr size_t kPasswordSaltBytes = 16;
inline constexpr size_t kPasswordKeyBytes = 32;

// PBKDF2 with HMAC-SHA256 (RFC 8018), built on GLib's GHmac.
std::vector<uint8_t> pbkdf2_hmac_sha256(const std::string &password, const uint8_t *salt,
                                        size_t salt_len, unsigned iterations, size_t key_len);

// A new hash of `secret` with a fresh random salt.
std::string hash_secret(const std::string &secret, unsigned iterations = kPasswordIterations);

// True when `secret` matches the stored hash. The comparison of the derived keys takes the same
// time wherever they differ; a malformed stored hash never matches.
bool verify_secret(const std::string &secret, const std::string &stored);

// Compares two byte strings in time that depends only on their lengths.
bool constant_time_equal(const uint8_t *a, size_t a_len, const uint8_t *b, size_t b_len);

}  // namespace vagent
