// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the extras of an app control find a key through their index: the number of key
// comparisons per lookup stays small and does not grow with the number of keys (a walk over the
// list would compare half of them on average), and the index stays right through removals.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "ipc_extras.hh"

namespace {

long compares = 0;

struct CountingEqual {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const {
    ++compares;
    return a == b;
  }
};

using CountedExtras = vhost::ipc::BasicExtras<CountingEqual>;

std::string key(int i) { return "profile_key_" + std::to_string(i); }

// Comparisons per lookup, on average, over every key present and as many absent.
double compares_per_lookup(int n) {
  CountedExtras extras;
  for (int i = 0; i < n; ++i) extras.set(key(i), std::to_string(i));
  compares = 0;
  for (int i = 0; i < n; ++i) {
    const std::string *v = extras.find(key(i));
    EXPECT_TRUE(v && *v == std::to_string(i)) << key(i);
    EXPECT_EQ(extras.find(key(n + i)), nullptr);
  }
  return static_cast<double>(compares) / (2.0 * n);
}

TEST(ExtrasIndex, ALookupComparesAFewKeysWhateverTheirNumber) {
  for (int n : {100, 1000, 4000}) {
    const double per_lookup = compares_per_lookup(n);
    EXPECT_LT(per_lookup, 3.0) << n << " keys";
  }
}

TEST(ExtrasIndex, ReplacingAKeyComparesAFewKeys) {
  CountedExtras extras;
  for (int i = 0; i < 2000; ++i) extras.set(key(i), "a");
  compares = 0;
  for (int i = 0; i < 2000; ++i) extras.set(key(i), "b");
  EXPECT_LT(compares, 3 * 2000);
  EXPECT_EQ(extras.size(), 2000u);
  EXPECT_EQ(*extras.find(key(1999)), "b");
  EXPECT_EQ(extras[0].first, key(0));  // replaced where it was
}

TEST(ExtrasIndex, RemovalsKeepTheIndexRightAndTheOrder) {
  vhost::ipc::Extras extras;
  for (int i = 0; i < 300; ++i) extras.set(key(i), std::to_string(i));
  for (int i = 0; i < 300; i += 3) EXPECT_TRUE(extras.erase(key(i)));
  EXPECT_FALSE(extras.erase(key(0)));
  ASSERT_EQ(extras.size(), 200u);
  size_t at = 0;
  for (int i = 0; i < 300; ++i) {
    const std::string *v = extras.find(key(i));
    if (i % 3 == 0) {
      EXPECT_EQ(v, nullptr) << key(i);
      continue;
    }
    ASSERT_NE(v, nullptr) << key(i);
    EXPECT_EQ(*v, std::to_string(i));
    EXPECT_EQ(extras[at++].first, key(i));
  }
  extras.set(key(0), "back");  // goes to the end
  EXPECT_EQ(extras[200].first, key(0));
  EXPECT_EQ(*extras.find(key(0)), "back");
  EXPECT_FALSE(extras.add(key(1), "again"));  // add never replaces
  EXPECT_EQ(*extras.find(key(1)), "1");
}

TEST(ExtrasIndex, ACopyHasItsOwnIndex) {
  vhost::ipc::Extras a{{"x", "1"}, {"y", "2"}, {"z", "3"}};
  vhost::ipc::Extras b = a;
  EXPECT_TRUE(a == b);
  a.erase("x");
  a.set("w", "4");
  EXPECT_EQ(*b.find("x"), "1");
  EXPECT_EQ(b.find("w"), nullptr);
  EXPECT_EQ(*a.find("z"), "3");
  EXPECT_EQ(b[2].first, "z");
  EXPECT_FALSE(a == b);
}

}  // namespace
