// SPDX-License-Identifier: Apache-2.0
// Velmora agent: slow, salted, memory-hard hashes of passwords.
//
// New hashes are Argon2id, made and checked by libsodium (crypto_pwhash_str, with its INTERACTIVE
// limits): the stored text is libsodium's own "$argon2id$v=19$m=...,t=...,p=1$<salt>$<hash>",
// which carries its parameters. Hashes that earlier agents stored, "pbkdf2-sha256$<iterations>$
// <salt>$<key>" (PBKDF2-HMAC-SHA256, salt and key in base64url), are still verified; the agent
// replaces one with an Argon2id hash on the next successful sign-in (password_needs_rehash).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vagent {

// A new Argon2id hash of `password` with a fresh salt; nullopt when memory runs out.
std::optional<std::string> hash_password(const std::string &password);

// True when `password` matches the stored hash (Argon2id, or the earlier PBKDF2 scheme). A
// malformed stored hash never matches.
bool verify_password(const std::string &password, const std::string &stored);

// True when the stored hash is not an Argon2id hash with this agent's limits: replace it.
bool password_needs_rehash(const std::string &stored);

// ---- the earlier scheme, verified only ----

// PBKDF2 (RFC 8018) over libsodium's HMAC-SHA256.
std::vector<uint8_t> pbkdf2_hmac_sha256(const std::string &password, const uint8_t *salt,
                                        size_t salt_len, unsigned iterations, size_t key_len);
// A hash in the earlier stored form, as earlier agents wrote it (tests of the upgrade).
std::string pbkdf2_stored_hash(const std::string &password, unsigned iterations = 10000);

}  // namespace vagent
