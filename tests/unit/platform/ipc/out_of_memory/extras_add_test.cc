// SPDX-License-Identifier: Apache-2.0
// Velmora tests: an extra added to an app control's extras when memory runs out.
//
// This executable replaces the global operator new with one that can be told to throw at its n-th
// allocation (the operator forwards to malloc otherwise; it is alone in its executable so that no
// other test runs on it). Adding a key allocates for the index (its node, its copy of the key, a
// larger bucket array) and, when the ordered list is full, for the list; each of those is made to
// fail in turn, for extras of 0 to 16 keys, so that among them the list's growth fails after the
// index took the key, and the add must take the key out of the index again. Every add that throws
// must leave the extras as they were: the same keys in the same order, each found with its value,
// the new key absent and addable afterwards.
#include <gtest/gtest.h>
#include <valgrind/valgrind.h>

#include <cstdlib>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "ipc_extras.hh"

namespace {

long g_fail_at = 0;  // 0: nothing fails
long g_count = 0;

// From now on the n-th allocation throws std::bad_alloc (0: none); the count starts again.
void fail_allocation(long n) {
  g_count = 0;
  g_fail_at = n;
}

}  // namespace

void *operator new(std::size_t size) {
  if (g_fail_at != 0 && ++g_count == g_fail_at) throw std::bad_alloc();
  void *p = std::malloc(size != 0 ? size : 1);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}
void *operator new[](std::size_t size) { return operator new(size); }
void operator delete(void *p) noexcept { std::free(p); }
void operator delete[](void *p) noexcept { std::free(p); }
void operator delete(void *p, std::size_t) noexcept { std::free(p); }
void operator delete[](void *p, std::size_t) noexcept { std::free(p); }

namespace {

using vhost::ipc::Extras;
using Entries = std::vector<std::pair<std::string, std::string>>;

// Keys longer than a string keeps in place, so that the index's copy of a key allocates too.
std::string key(int i) { return "app_control_extra_key_" + std::to_string(i); }
std::string value(int i) { return "value of extra number " + std::to_string(i); }

Entries entries_of(const Extras &extras) { return Entries(extras.begin(), extras.end()); }

// The extras hold exactly `expected`, in its order, and find each of its keys with its value.
void expect_holds(const Extras &extras, const Entries &expected) {
  EXPECT_EQ(entries_of(extras), expected);
  for (const auto &[k, v] : expected) {
    const std::string *found = extras.find(k);
    ASSERT_NE(found, nullptr) << k;
    EXPECT_EQ(*found, v) << k;
  }
}

// Adds key `n` to extras holding keys 0 .. n-1, with the fail_at-th allocation of the add
// failing; returns the allocations the add made (up to the failing one) and whether it threw.
std::pair<long, bool> add_failing(Extras &extras, int n, long fail_at) {
  std::string k = key(n), v = value(n);  // made before: the add moves them in
  bool threw = false;
  fail_allocation(fail_at);
  try {
    extras.add(std::move(k), std::move(v));
  } catch (const std::bad_alloc &) {
    threw = true;
  }
  const long made = g_count;
  fail_allocation(0);
  return {made, threw};
}

Extras extras_of_size(int n) {
  Extras extras;
  for (int i = 0; i < n; ++i) extras.add(key(i), value(i));
  return extras;
}

TEST(ExtrasOutOfMemory, AnAddThatRunsOutOfMemoryLeavesTheExtrasAsTheyWere) {
  // Valgrind puts its own allocator in place of operator new, so the replacement above is never
  // called and no allocation can be made to fail.
  if (RUNNING_ON_VALGRIND) GTEST_SKIP() << "valgrind replaces operator new with its own";
  int list_growths_failed = 0;
  for (int n = 0; n <= 16; ++n) {
    SCOPED_TRACE("extras of " + std::to_string(n) + " keys");
    // The allocations of one add, counted with nothing failing (-1 is never reached), and whether
    // its list grew: then its entries moved, and a list of none was made.
    Extras counted = extras_of_size(n);
    const auto *first = n > 0 ? &counted[0] : nullptr;
    const auto [total, counted_threw] = add_failing(counted, n, -1);
    ASSERT_FALSE(counted_threw);
    ASSERT_GE(total, 1);
    const bool list_grew = first == nullptr || first != &counted[0];

    for (long fail_at = 1; fail_at <= total; ++fail_at) {
      SCOPED_TRACE("allocation " + std::to_string(fail_at) + " of " + std::to_string(total));
      Extras extras = extras_of_size(n);
      const Entries before = entries_of(extras);
      const auto [made, threw] = add_failing(extras, n, fail_at);
      ASSERT_TRUE(threw);  // every allocation of an add is needed
      ASSERT_EQ(made, fail_at);
      expect_holds(extras, before);
      EXPECT_EQ(extras.find(key(n)), nullptr);
      // The index kept no trace of the key: it can be added now, at the end.
      ASSERT_TRUE(extras.add(key(n), value(n)));
      Entries after = before;
      after.emplace_back(key(n), value(n));
      expect_holds(extras, after);
      // A list that grows does so with the last allocation of the add, after the index took the
      // key: this run took the key out of the index again.
      if (fail_at == total && list_grew) ++list_growths_failed;
    }
  }
  // The list had to grow several times on the way to 17 keys.
  EXPECT_GE(list_growths_failed, 3);
}

}  // namespace
