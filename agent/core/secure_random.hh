// SPDX-License-Identifier: Apache-2.0
// Velmora agent: random bytes and the text forms of tokens, on libsodium.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vagent {

// Initialises libsodium once; aborts when it cannot (the agent must never hand out guessable
// credentials). Every function of this file and of keyed_hash.hh / password_hash.hh calls it.
void sodium_ready();

// `n` bytes from libsodium's secure random source.
std::vector<uint8_t> secure_random_bytes(size_t n);

// `n` random bytes as unpadded base64url ("A-Za-z0-9-_"): 32 bytes give 43 characters.
std::string random_base64url(size_t n);
// `n` random bytes as lower-case hex: 2n characters.
std::string random_hex(size_t n);

// `n` random decimal digits, each uniform (one-time numbers sent by SMS).
std::string random_digits(size_t n);

// Text forms of bytes.
std::string base64url_encode(const uint8_t *data, size_t n);
std::string hex_encode(const uint8_t *data, size_t n);
// False for malformed input (padding, characters outside the alphabet, stray bits).
bool base64url_decode(const std::string &text, std::vector<uint8_t> *out);

// Compares two byte strings in time that depends only on their lengths.
bool constant_time_equal(const void *a, size_t a_len, const void *b, size_t b_len);

}  // namespace vagent
