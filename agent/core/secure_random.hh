// Velmora agent: random bytes from the kernel's secure source, and the text forms of tokens.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vagent {

// `n` bytes from getrandom(2) (or /dev/urandom where getrandom is missing). Aborts if the kernel
// cannot give random bytes at all: the agent must never hand out guessable credentials.
std::vector<uint8_t> secure_random_bytes(size_t n);

// `n` random bytes as unpadded base64url ("A-Za-z0-9-_"): 32 bytes give 43 characters.
std::string random_base64url(size_t n);
// `n` random bytes as lower-case hex: 2n characters.
std::string random_hex(size_t n);

// Text forms of bytes.
std::string base64url_encode(const uint8_t *data, size_t n);
std::string hex_encode(const uint8_t *data, size_t n);
// False for malformed input.
bool base64url_decode(const std::string &text, std::vector<uint8_t> *out);

// SHA-256 of a text, as lower-case hex: how tokens that are never shown again are stored.
std::string sha256_hex(const std::string &text);

}  // namespace vagent
