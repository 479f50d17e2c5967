// Velmora tests: PBKDF2-HMAC-SHA256 password hashing of the agent.
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

// Published PBKDF2-HMAC-SHA256 test vectors.
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

TEST(PasswordHash, StoredFormHasSchemeIterationsSaltAndKey) {
  const std::string hash = vagent::hash_secret("correct horse");
  EXPECT_EQ(hash.rfind("pbkdf2-sha256$10000$", 0), 0u) << hash;
  EXPECT_EQ(hash.find("correct horse"), std::string::npos);
  // scheme, iterations, 16-byte salt (22 chars), 32-byte key (43 chars)
  EXPECT_EQ(hash.size(), std::string("pbkdf2-sha256$10000$").size() + 22 + 1 + 43);
  EXPECT_GE(vagent::kPasswordIterations, 10000u);
}

TEST(PasswordHash, VerifiesTheRightSecretOnly) {
  const std::string hash = vagent::hash_secret("correct horse");
  EXPECT_TRUE(vagent::verify_secret("correct horse", hash));
  EXPECT_FALSE(vagent::verify_secret("correct horsf", hash));
  EXPECT_FALSE(vagent::verify_secret("", hash));
  EXPECT_FALSE(vagent::verify_secret("correct horse ", hash));
}

TEST(PasswordHash, SameSecretGetsDifferentSalts) {
  const std::string a = vagent::hash_secret("same");
  const std::string b = vagent::hash_secret("same");
  EXPECT_NE(a, b);
  EXPECT_TRUE(vagent::verify_secret("same", a));
  EXPECT_TRUE(vagent::verify_secret("same", b));
}

TEST(PasswordHash, MalformedStoredHashNeverMatches) {
  for (const char *stored : {"", "plain", "pbkdf2-sha256$10000$", "pbkdf2-sha256$0$AAAA$AAAA",
                             "pbkdf2-sha256$x$AAAA$AAAA", "md5$1$AAAA$AAAA",
                             "pbkdf2-sha256$1$!!$AAAA", "pbkdf2-sha256$1$AAAA$"})
    EXPECT_FALSE(vagent::verify_secret("", stored)) << stored;
}

TEST(PasswordHash, ConstantTimeEqualComparesContentAndLength) {
  const uint8_t a[] = {1, 2, 3}, b[] = {1, 2, 3}, c[] = {1, 2, 4};
  EXPECT_TRUE(vagent::constant_time_equal(a, 3, b, 3));
  EXPECT_FALSE(vagent::constant_time_equal(a, 3, c, 3));
  EXPECT_FALSE(vagent::constant_time_equal(a, 3, b, 2));
}
