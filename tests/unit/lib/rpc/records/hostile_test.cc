// SPDX-License-Identifier: Apache-2.0
// Velmora tests: decoding AccountSvc records and lists from short, malformed and hostile bytes.
// Nothing may crash, read out of bounds or leak (the sanitizers watch), and lying counts must not
// make the reader allocate for items that are not there.
#include <gtest/gtest.h>

#include <climits>
#include <random>

#include "dlog.h"
#include "log_capture.hh"
#include "record_table.hh"

using rtest::Bytes;
using rtest::Expect;
using rtest::TypeOps;

namespace {

unsigned int list_length(const TypeOps &t, void *h) {
  unsigned int n = 12345;
  t.fields.at(0).length(h, &n);
  return n;
}

// Decoding `bytes` gives a value whose own encoding decodes back to that same encoding, unless it
// holds a NULL list item (counted but not written, so the stream announces more than it holds).
::testing::AssertionResult StableAfterOneRoundTrip(const TypeOps &t, const Bytes &bytes) {
  void *first = rtest::decode(t, bytes);
  const va::rec::RecordDesc *d = va::rec::find_type(t.name);
  bool null_items = va::rec::has_null_items(*d, first);
  Bytes e1 = rtest::encode(first);
  void *second = rtest::decode(t, e1);
  Bytes e2 = rtest::encode(second);
  t.destroy(second);
  t.destroy(first);
  if (null_items || e1 == e2) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << t.name << ": re-encoding differs after " << bytes.size() << " input bytes";
}

}  // namespace

TEST(EncodingHostile, NegativeCountDecodesToAnEmptyList) {
  for (const TypeOps &t : rtest::all_types()) {
    if (!rtest::is_list_type(t)) continue;
    for (int count : {-1, -5, INT_MIN}) {
      Expect e;
      e.count(count).str("x").str("y");
      void *h = rtest::decode(t, e.bytes());
      EXPECT_EQ(list_length(t, h), 0u) << t.name << " " << count;
      t.destroy(h);
    }
  }
}

TEST(EncodingHostile, NegativeCountInsideARecordReadsNothingMoreForThatList) {
  Expect e;
  e.str("t").str("r").str("u").str("x");
  e.count(-3);  // NameList
  e.count(1);   // BirthdayList: one BirthdayS
  for (int i = 0; i < 7; ++i) e.str(i == 0 ? "31" : "");
  rpc_port_ProfileS_h h = nullptr;
  rpc_port_ProfileS_create(&h);
  rtest::decode_into(h, e.bytes());
  EXPECT_EQ(h->NameList, nullptr);
  ASSERT_EQ(g_list_length(h->BirthdayList), 1u);
  EXPECT_STREQ(static_cast<rpc_port_BirthdayS_h>(h->BirthdayList->data)->Day, "31");
  rpc_port_ProfileS_destroy(h);
}

// 2^31 - 1 items announced in a 20-byte parcel: the parcel refuses the count, so the list reader
// sees 0 and allocates nothing (a reader that believed it would run out of memory here).
TEST(EncodingHostile, HugeCountInASmallParcelIsRefusedAndAllocatesNothing) {
  for (const TypeOps &t : rtest::all_types()) {
    if (!rtest::is_list_type(t)) continue;
    Expect e;
    e.count(INT_MAX).i32(0).i32(0).i32(0).i32(0);
    Bytes bytes = e.bytes();
    ASSERT_EQ(bytes.size(), 20u);
    void *h = rtest::decode(t, bytes);
    EXPECT_EQ(list_length(t, h), 0u) << t.name;
    t.destroy(h);
  }
  // The same inside records with list fields.
  for (const char *name : {"ProfileS", "PlaceInfoS"}) {
    const TypeOps &t = rtest::type(name);
    Expect e;
    for (int i = 0; i < 8; ++i) e.count(0x7ffffff0);
    void *h = rtest::decode(t, e.bytes());
    for (const rtest::FieldOps &f : t.fields)
      if (f.kind == rtest::Kind::LIST) {
        unsigned int n = 1;
        f.length(h, &n);
        EXPECT_EQ(n, 0u) << name << "." << f.field;
      }
    t.destroy(h);
  }
}

TEST(EncodingHostile, CountBackedOnlyByFourBytesPerItemMakesEmptyItems) {
  // Four items announced, sixteen bytes behind the count: accepted, but each NameS needs forty.
  Expect e;
  e.count(4).str("").str("a").i32(0).i32(0);
  rpc_port_list_NameS_h h = nullptr;
  rpc_port_list_NameS_create(&h);
  rtest::decode_into(h, e.bytes());
  ASSERT_EQ(g_list_length(h->list_NameSs), 4u);
  auto *first = static_cast<rpc_port_NameS_h>(h->list_NameSs->data);
  EXPECT_STREQ(first->FamilyName, "");
  EXPECT_STREQ(first->MiddleName, "a");
  EXPECT_STREQ(first->GivenName, "");
  EXPECT_STREQ(first->PhoneticFamily, "");
  EXPECT_EQ(first->PhoneticMiddle, nullptr);  // the bytes ran out here
  auto *last = static_cast<rpc_port_NameS_h>(g_list_last(h->list_NameSs)->data);
  EXPECT_EQ(last->FamilyName, nullptr);
  rpc_port_list_NameS_destroy(h);
}

TEST(EncodingHostile, FailedStringReadInAStringListAppendsNull) {
  Expect e;
  e.count(2).str("first").i32(-1).i32(0);  // second string: length 0xFFFFFFFF
  rpc_port_list_string_h h = nullptr;
  rpc_port_list_string_create(&h);
  vtest::LogCapture log;
  rtest::decode_into(h, e.bytes());
  EXPECT_TRUE(log.lines().empty()) << log.dump();  // read results are not checked, not logged
  ASSERT_EQ(g_list_length(h->list_strings), 2u);
  EXPECT_STREQ(static_cast<const char *>(h->list_strings->data), "first");
  EXPECT_EQ(h->list_strings->next->data, nullptr);
  rpc_port_list_string_destroy(h);
}

TEST(EncodingHostile, StringLengthBeyondTheParcelLeavesTheFieldUnset) {
  Expect e;
  e.i32(INT_MAX).i32(1).i32(2);
  rpc_port_NoteS_h h = nullptr;
  rpc_port_NoteS_create(&h);
  rtest::decode_into(h, e.bytes());
  EXPECT_EQ(h->Value, nullptr);
  EXPECT_EQ(h->Verified, nullptr);
  rpc_port_NoteS_destroy(h);
}

TEST(EncodingHostile, EveryTruncationOfEveryTypeDecodesSafely) {
  for (const TypeOps &t : rtest::all_types()) {
    void *h = rtest::make(t);
    rtest::fill(t, h, 4, 2);
    Bytes full = rtest::encode(h);
    t.destroy(h);
    for (size_t n = 0; n < full.size(); ++n) {
      Bytes cut(full.begin(), full.begin() + (long)n);
      EXPECT_TRUE(StableAfterOneRoundTrip(t, cut));
    }
    EXPECT_TRUE(StableAfterOneRoundTrip(t, full));
  }
}

TEST(EncodingHostile, TruncatedAccountSKeepsTheStringsBeforeTheCut) {
  const TypeOps &t = rtest::type("AccountS");
  void *h = rtest::make(t);
  rtest::fill(t, h, 8);
  Bytes full = rtest::encode(h);
  // Cut after the fifth string: the first five are read, the sixth onwards stay unset.
  size_t cut = 0;
  auto *a = static_cast<rpc_port_AccountS_h>(h);
  for (const char *s :
       {a->AccessToken, a->ApiServerUrl, a->AuthCode, a->AuthServerUrl, a->ClientId})
    cut += 4 + strlen(s);
  auto *back = static_cast<rpc_port_AccountS_h>(
      rtest::decode(t, Bytes(full.begin(), full.begin() + (long)cut)));
  EXPECT_STREQ(back->AccessToken, a->AccessToken);
  EXPECT_STREQ(back->ClientId, a->ClientId);
  EXPECT_EQ(back->ClientSecret, nullptr);
  EXPECT_EQ(back->Reserved, nullptr);
  EXPECT_EQ(back->LongIssueTime, 0);
  t.destroy(back);
  t.destroy(h);
}

TEST(EncodingHostile, RandomBytesDecodeSafelyIntoEveryType) {
  std::mt19937 rng(20240611);
  for (const TypeOps &t : rtest::all_types()) {
    for (int round = 0; round < 200; ++round) {
      Bytes bytes(rng() % 160);
      for (auto &b : bytes) {
        // Mostly small values, so that lengths and counts are often plausible.
        unsigned r = rng();
        b = (unsigned char)(r % 4 == 0 ? r >> 8 : r % 3);
      }
      EXPECT_TRUE(StableAfterOneRoundTrip(t, bytes));
    }
  }
}
