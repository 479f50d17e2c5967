// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent's password hashing (Argon2id, and the earlier PBKDF2 form it still
// verifies).
#include "password_hash.hh"

#include <gtest/gtest.h>

#include <string>

#include "secure_random.hh"

namespace {

std::string pbkdf2_hex(const std::string &password, const std::string &salt, unsigned iterations,
                       size_t len) {
  auto key = vagent::pbkdf2_hmac_sha256(password, reinterpret_cast<const uint8_t *>(salt.data()),
                                        salt.size(), iterations, len);
  return vagent::hex_encode(key.data(), key.size());
}

}  // namespace

TEST(PasswordHash, NewHashesAreArgon2idWithTheirParameters) {
  const std::optional<std::string> hash = vagent::hash_password("correct horse");
  ASSERT_TRUE(hash.has_value());
  EXPECT_EQ(hash->rfind("$argon2id$v=19$m=", 0), 0u) << *hash;
  EXPECT_EQ(hash->find("correct horse"), std::string::npos);
  EXPECT_FALSE(vagent::password_needs_rehash(*hash));
}

TEST(PasswordHash, VerifiesTheRightPasswordOnly) {
  const std::string hash = vagent::hash_password("correct horse").value();
  EXPECT_TRUE(vagent::verify_password("correct horse", hash));
  EXPECT_FALSE(vagent::verify_password("correct horsf", hash));
  EXPECT_FALSE(vagent::verify_password("", hash));
  EXPECT_FALSE(vagent::verify_password("correct horse ", hash));
}

TEST(PasswordHash, SamePasswordGetsDifferentSalts) {
  const std::string a = vagent::hash_password("same").value();
  const std::string b = vagent::hash_password("same").value();
  EXPECT_NE(a, b);
  EXPECT_TRUE(vagent::verify_password("same", a));
  EXPECT_TRUE(vagent::verify_password("same", b));
}

// Published PBKDF2-HMAC-SHA256 test vectors: hashes of earlier agents keep verifying.
TEST(PasswordHash, Pbkdf2MatchesKnownVectors) {
  EXPECT_EQ(pbkdf2_hex("password", "salt", 1, 32),
            "120fb6cffcf8b32c43e7225256c4f837a86548c92ccc35480805987cb70be17b");
  EXPECT_EQ(pbkdf2_hex("password", "salt", 2, 32),
            "ae4d0c95af6b46d32d0adff928f06dd02a303f8ef3c251dfd6e2d85a95474c43");
  EXPECT_EQ(pbkdf2_hex("password", "salt", 4096, 32),
            "c5e478d59288c841aa530db6845c4c8d962893a001ce4e11a4963873aa98134a");
  // A key longer than one digest takes a second block.
  EXPECT_EQ(pbkdf2_hex("passwd", "salt", 1, 64),
            "55ac046e56e3089fec1691c22544b605f94185216dde0465e68b9d57c20dacbc"
            "49ca9cccf179b645991664b39d77ef317c71b845b1e30bd509112041d3a19783");
}

TEST(PasswordHash, EarlierPbkdf2HashesVerifyAndAskForARehash) {
  const std::string old = vagent::pbkdf2_stored_hash("correct horse", 1000);
  EXPECT_EQ(old.rfind("pbkdf2-sha256$1000$", 0), 0u) << old;
  EXPECT_TRUE(vagent::verify_password("correct horse", old));
  EXPECT_FALSE(vagent::verify_password("correct horsf", old));
  EXPECT_TRUE(vagent::password_needs_rehash(old));
}

TEST(PasswordHash, MalformedStoredHashNeverMatches) {
  for (const char *stored :
       {"", "plain", "pbkdf2-sha256$10000$", "pbkdf2-sha256$0$AAAA$AAAA",
        "pbkdf2-sha256$x$AAAA$AAAA", "md5$1$AAAA$AAAA", "pbkdf2-sha256$1$!!$AAAA",
        "pbkdf2-sha256$1$AAAA$", "$argon2id$v=19$m=65536,t=2,p=1$", "$argon2id$garbage"})
    EXPECT_FALSE(vagent::verify_password("", stored)) << stored;
}
