// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the account handle when the library runs out of memory. Every allocation of one
// life of a handle (create, every string property set and read, the clone an asynchronous call
// makes, destroy) is made to fail in turn (tests/support/alloc_faults.hh): each call returns
// VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY or succeeds, a failed set leaves the old value, a clone is
// whole or absent, nothing crashes and nothing leaks beyond the documented kept leak of destroy.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "account_record.h"
#include "alloc_faults.hh"
#include "platform_root.hh"
#include "velmora_account.h"

namespace {

constexpr int kStrings = 21;  // string properties 0 .. 20

std::string value_of(int property) { return "value-" + std::to_string(property) + "-\xc3\xa9"; }

// The string property, or "<none>" (no data, or no memory to copy it out).
std::string str(velmora_account_h h, int property) {
  char *value = nullptr;
  const int ret = velmora_account_get_property_str(h, property, &value);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
    EXPECT_TRUE(ret == VELMORA_ACCOUNT_ERROR_NO_DATA || ret == VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY)
        << ret;
    EXPECT_EQ(value, nullptr);
    return "<none>";
  }
  std::string s = value;
  free(value);
  return s;
}

void one_life(long n) {
  velmora_account_h h = nullptr;
  const int created = velmora_account_create(&h);
  if (created != VELMORA_ACCOUNT_ERROR_NONE) {
    EXPECT_EQ(created, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
    EXPECT_EQ(h, nullptr);
    return;
  }
  bool set[kStrings] = {};
  for (int p = 0; p < kStrings; ++p) {
    const int ret = velmora_account_set_property_str(h, p, value_of(p).c_str());
    EXPECT_TRUE(ret == VELMORA_ACCOUNT_ERROR_NONE || ret == VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY)
        << ret;
    set[p] = ret == VELMORA_ACCOUNT_ERROR_NONE;
  }
  for (int p = 0; p < kStrings; ++p) {
    const std::string got = str(h, p);
    // A value that was set reads back (or cannot be copied out); one that failed stays unset.
    if (set[p]) {
      EXPECT_TRUE(got == value_of(p) || got == "<none>") << p << ": " << got;
    } else {
      EXPECT_EQ(got, "<none>") << p;
    }
  }
  velmora_account_h clone = nullptr;
  const int cloned = va_account_clone(h, &clone);
  if (cloned == VELMORA_ACCOUNT_ERROR_NONE) {
    ASSERT_NE(clone, nullptr);
    velmora_account_destroy(clone);
  } else {
    EXPECT_EQ(cloned, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
    EXPECT_EQ(clone, nullptr);
  }
  if (n == 0) {
    for (int p = 0; p < kStrings; ++p) EXPECT_TRUE(set[p]) << p;
  }
  EXPECT_EQ(velmora_account_destroy(h), VELMORA_ACCOUNT_ERROR_NONE);
}

TEST(AccountOutOfMemory, EveryAllocationOfAHandlesLifeMayFail) {
  if (!vtest::allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  vtest::PlatformRoot root;
  root.install_agent(5);
  const long total = vtest::each_failing_allocation(vtest::kLibraryAllocations, one_life);
  EXPECT_GE(total, 1 + kStrings);
}

}  // namespace
