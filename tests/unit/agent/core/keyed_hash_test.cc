// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the keyed hash of client secrets, refresh tokens and codes.
#include "keyed_hash.hh"

#include <gtest/gtest.h>

TEST(KeyedHash, DigestDependsOnKeyPurposeAndValue) {
  const vagent::KeyedHash one(vagent::KeyedHash::new_key());
  const vagent::KeyedHash two(vagent::KeyedHash::new_key());
  const std::string d = one.digest("code", "abc");
  EXPECT_EQ(d.size(), vagent::KeyedHash::kDigestBytes);
  EXPECT_EQ(one.digest("code", "abc"), d);
  EXPECT_NE(one.digest("code", "abd"), d);
  EXPECT_NE(one.digest("refresh-token", "abc"), d);
  EXPECT_NE(two.digest("code", "abc"), d);
  // The purpose and the value cannot trade bytes.
  EXPECT_NE(one.digest("cod", "eabc"), d);
}

TEST(KeyedHash, MatchesOnlyItsOwnDigest) {
  const vagent::KeyedHash h(vagent::KeyedHash::new_key());
  const std::string d = h.digest("code", "abc");
  EXPECT_TRUE(h.matches("code", "abc", d));
  EXPECT_FALSE(h.matches("code", "abd", d));
  EXPECT_FALSE(h.matches("code", "abc", d.substr(1)));
  EXPECT_FALSE(h.matches("code", "abc", ""));
}

TEST(KeyedHash, KeysAreRandom) {
  EXPECT_EQ(vagent::KeyedHash::new_key().size(), vagent::KeyedHash::kKeyBytes);
  EXPECT_NE(vagent::KeyedHash::new_key(), vagent::KeyedHash::new_key());
}
