// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the profile when the library runs out of memory. Every allocation of a profile's
// and a profile list's life (create, set and read items, append, walk, destroy), of reading reply
// keys and the port's profile record into a list, and of building the port's record of an update
// is made to fail in turn (tests/support/alloc_faults.hh): each step reports
// VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY (or NULL where it makes a record) or does all it should,
// nothing crashes and nothing leaks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "alloc_faults.hh"
#include "profile_fixture.hh"
#include "profile_internal.h"

namespace {

using ptest::field;

constexpr int kOom = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
constexpr int kNone = VELMORA_ACCOUNT_ERROR_NONE;

// The value the tests store in field `f` of category `c`.
std::string value_of(int c, int f) { return std::to_string(c) + "." + std::to_string(f); }

// The fields an application may set: every string field but the last ("verified").
int settable(const va_profile_category_desc *d) { return d->string_count - 1; }

bool none_or_oom(int r) { return r == kNone || r == kOom; }

// One item of every category, every settable field set, appended to a new list (false: a step
// ran out of memory, which it reported). The list is returned in *out, or NULL.
bool fill_list(velmora_account_profile_list_h *out) {
  *out = nullptr;
  const int created = velmora_account_profile_list_create(out);
  EXPECT_TRUE(none_or_oom(created)) << created;
  if (created != kNone) return false;
  bool complete = true;
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
    const va_profile_category_desc *d = va_profile_category(c);
    velmora_account_profile_h p = nullptr;
    const int made = velmora_account_profile_create(c, &p);
    EXPECT_TRUE(none_or_oom(made)) << d->log_word << ": " << made;
    if (made != kNone) {
      complete = false;
      continue;
    }
    for (int f = 0; f < settable(d); ++f) {
      const int set =
          velmora_account_profile_set_item_str(p, d->item_base + f, value_of(c, f).c_str());
      EXPECT_TRUE(none_or_oom(set)) << d->log_word << " " << f << ": " << set;
      complete = complete && set == kNone;
    }
    char *first = nullptr;
    const int got = velmora_account_profile_get_item_str(p, d->item_base, &first);
    // NO_DATA: the field's own set ran out of memory.
    EXPECT_TRUE(none_or_oom(got) || got == VELMORA_ACCOUNT_ERROR_NO_DATA) << got;
    if (got == kNone) EXPECT_EQ(std::string(first), value_of(c, 0));
    free(first);
    EXPECT_EQ(velmora_account_profile_set_privacy(p, c, 1), kNone);
    const int appended = velmora_account_profile_list_append(*out, p);
    EXPECT_TRUE(none_or_oom(appended)) << d->log_word << ": " << appended;
    complete = complete && appended == kNone;
    EXPECT_EQ(velmora_account_profile_destroy(p), kNone);
  }
  return complete;
}

// Every settable field of every category's first item is in the list.
void expect_whole(velmora_account_profile_list_h list) {
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
    const va_profile_category_desc *d = va_profile_category(c);
    EXPECT_EQ(list->count[c], 1) << d->log_word;
    void *item = va_profile_list_get_item(list, c, 0);
    ASSERT_NE(item, nullptr) << d->log_word;
    for (int f = 0; f < settable(d); ++f)
      EXPECT_EQ(field(item, c, f), value_of(c, f)) << d->log_word;
  }
}

using ProfileOutOfMemory = vtest::LibraryOutOfMemoryTest;

}  // namespace

TEST_F(ProfileOutOfMemory, EveryAllocationOfProfilesAndAListMayFail) {
  const long total = vtest::each_failing_allocation(vtest::kLibraryAllocations, [](long n) {
    velmora_account_profile_list_h list = nullptr;
    const bool complete = fill_list(&list);
    if (n == 0) EXPECT_TRUE(complete);
    if (list == nullptr) return;
    if (complete) expect_whole(list);
    // The walk makes its view record once: NONE with every item, or OUT_OF_MEMORY before any.
    int seen = 0;
    const int walked = velmora_account_profile_list_foreach(
        list,
        [](int, velmora_account_profile_h, int, void *user_data) {
          ++*static_cast<int *>(user_data);
          return true;
        },
        &seen);
    EXPECT_TRUE(none_or_oom(walked)) << walked;
    if (walked == kOom) EXPECT_EQ(seen, 0);
    if (walked == kNone && complete) EXPECT_EQ(seen, VA_PROFILE_CATEGORY_COUNT);
    EXPECT_EQ(velmora_account_profile_list_destroy(list), kNone);
  });
  EXPECT_GT(total, 50);
}

TEST_F(ProfileOutOfMemory, EveryAllocationOfReadingReplyKeysMayFail) {
  // The keys of one item of every category, as the agent sends them.
  std::vector<std::pair<std::string, std::string>> keys;
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
    const va_profile_category_desc *d = va_profile_category(c);
    const std::string head = std::string(d->resource) + (d->is_list ? "_1" : "");
    for (int f = 0; f < settable(d); ++f)
      keys.emplace_back(head + ":" + d->wire_words[f], value_of(c, f));
    keys.emplace_back(d->resource, "1");
  }
  const long total = vtest::each_failing_allocation(vtest::kLibraryAllocations, [&keys](long n) {
    velmora_account_profile_list_h list = va_profile_list_new();
    if (list == nullptr) return;
    bool complete = true;
    for (const auto &[key, value] : keys) {
      const int r = va_profile_parse_extra(list, key.c_str(), value.c_str());
      EXPECT_TRUE(none_or_oom(r)) << key << ": " << r;
      complete = complete && r == kNone;
    }
    if (n == 0) EXPECT_TRUE(complete);
    if (complete) expect_whole(list);
    for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) EXPECT_EQ(list->privacy[c], 1);
    va_profile_list_release(list);
  });
  EXPECT_GT(total, 50);
}

TEST_F(ProfileOutOfMemory, EveryAllocationOfThePortsRecordBothWaysMayFail) {
  velmora_account_profile_list_h full = nullptr;
  ASSERT_TRUE(fill_list(&full));
  // One record per category, as updates send them; made before the walk of the reading.
  std::vector<rpc_port_ProfileS_h> records;
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
    records.push_back(va_profile_nidl_from_list(full, c));
    ASSERT_NE(records.back(), nullptr);
  }
  const long total = vtest::each_failing_allocation(vtest::kLibraryAllocations, [&](long n) {
    // Building: a whole record or none.
    rpc_port_ProfileS_h built =
        va_profile_nidl_from_list(full, VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME);
    if (built) rpc_port_ProfileS_destroy(built);
    if (n == 0) EXPECT_NE(built, nullptr);
    // Reading, each record into a list of its own: NONE with every item, or OUT_OF_MEMORY.
    for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
      const va_profile_category_desc *d = va_profile_category(c);
      velmora_account_profile_list_h list = va_profile_list_new();
      if (list == nullptr) continue;
      const int r = va_profile_list_from_nidl(list, records[c]);
      EXPECT_TRUE(none_or_oom(r)) << d->log_word << ": " << r;
      if (n == 0) EXPECT_EQ(r, kNone) << d->log_word;
      if (r == kNone) {
        EXPECT_EQ(list->count[c], 1) << d->log_word;
        void *item = va_profile_list_get_item(list, c, 0);
        EXPECT_NE(item, nullptr) << d->log_word;
        for (int f = 0; item && f < settable(d); ++f)
          EXPECT_EQ(field(item, c, f), value_of(c, f)) << d->log_word;
      }
      va_profile_list_release(list);
    }
  });
  for (rpc_port_ProfileS_h record : records) rpc_port_ProfileS_destroy(record);
  velmora_account_profile_list_destroy(full);
  EXPECT_GT(total, 50);
}
