// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent's random tokens and their text forms.
#include "secure_random.hh"

#include <gtest/gtest.h>

#include <set>
#include <string>

TEST(SecureRandom, TokensAreDistinctAndOfTheRightLength) {
  std::set<std::string> seen;
  for (int i = 0; i < 200; ++i) {
    std::string t = vagent::random_base64url(32);
    EXPECT_EQ(t.size(), 43u);
    EXPECT_EQ(
        t.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"),
        std::string::npos);
    seen.insert(t);
  }
  EXPECT_EQ(seen.size(), 200u);
  EXPECT_EQ(vagent::random_hex(8).size(), 16u);
  EXPECT_EQ(vagent::random_base64url(24).size(), 32u);
}

TEST(SecureRandom, Base64UrlRoundTrips) {
  for (size_t n = 0; n < 10; ++n) {
    std::vector<uint8_t> bytes = vagent::secure_random_bytes(n);
    std::string text = vagent::base64url_encode(bytes.data(), bytes.size());
    std::vector<uint8_t> back;
    ASSERT_TRUE(vagent::base64url_decode(text, &back)) << text;
    EXPECT_EQ(back, bytes);
  }
  const uint8_t hello[] = {'h', 'e', 'l', 'l', 'o', 0xfb, 0xff};
  EXPECT_EQ(vagent::base64url_encode(hello, sizeof hello), "aGVsbG_7_w");
  std::vector<uint8_t> out;
  EXPECT_FALSE(vagent::base64url_decode("a+b/", &out));
  EXPECT_FALSE(vagent::base64url_decode("abcde", &out));
}

TEST(SecureRandom, HexOfKnownBytes) {
  const uint8_t bytes[] = {0x00, 0x7f, 0xab, 0xff};
  EXPECT_EQ(vagent::hex_encode(bytes, sizeof bytes), "007fabff");
}

TEST(SecureRandom, ConstantTimeEqualComparesContentAndLength) {
  const uint8_t a[] = {1, 2, 3}, b[] = {1, 2, 3}, c[] = {1, 2, 4};
  EXPECT_TRUE(vagent::constant_time_equal(a, 3, b, 3));
  EXPECT_FALSE(vagent::constant_time_equal(a, 3, c, 3));
  EXPECT_FALSE(vagent::constant_time_equal(a, 3, b, 2));
  EXPECT_TRUE(vagent::constant_time_equal(a, 0, c, 0));
}
