// SPDX-License-Identifier: Apache-2.0
// Velmora tests: AccountSvc records and lists written to a parcel and read back.
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>

#include "dlog.h"
#include "log_capture.hh"
#include "record_table.hh"

using rtest::Bytes;
using rtest::Expect;
using rtest::TypeOps;

TEST(EncodingRoundTrip, EveryTypeKeepsEveryFieldAndReencodesIdentically) {
  for (const TypeOps &t : rtest::all_types()) {
    void *h = rtest::make(t);
    rtest::fill(t, h, 17, 3);
    Bytes bytes = rtest::encode(h);
    void *back = rtest::make(t);
    size_t left;
    {
      vtest::LogCapture log;
      left = rtest::decode_into(back, bytes);
      EXPECT_TRUE(log.lines().empty()) << t.name << "\n" << log.dump();
    }
    EXPECT_EQ(left, 0u) << t.name;  // the reader consumed exactly what the writer wrote
    EXPECT_EQ(rtest::describe(t, back), rtest::describe(t, h)) << t.name;
    EXPECT_EQ(rtest::encode(back), bytes) << t.name;
    t.destroy(back);
    t.destroy(h);
  }
}

TEST(EncodingRoundTrip, NestedListsOfAFullProfileSurvive) {
  const TypeOps &t = rtest::type("ProfileS");
  void *h = rtest::make(t);
  rtest::fill(t, h, 2, 6);
  void *back = rtest::decode(t, rtest::encode(h));
  for (const char *list : {"NameList", "BirthdayList", "MessengerList", "PhoneList", "EmailList",
                           "WebList", "EventList"}) {
    unsigned int n = 0;
    rtest::field("ProfileS", list).length(back, &n);
    EXPECT_EQ(n, 6u) << list;
  }
  EXPECT_EQ(rtest::describe(t, back), rtest::describe(t, h));
  t.destroy(back);
  t.destroy(h);
}

TEST(EncodingRoundTrip, NullStringsOfEveryTypeReadBackAsEmptyStrings) {
  for (const TypeOps &t : rtest::all_types()) {
    void *h = rtest::make(t);
    void *back = rtest::decode(t, rtest::encode(h));
    for (const rtest::FieldOps &f : t.fields) {
      if (f.kind != rtest::Kind::STRING) continue;
      char *v = nullptr;
      EXPECT_EQ(f.get_string(back, &v), 0) << t.name << "." << f.field;  // allocated, not NULL
      if (v) {
        EXPECT_STREQ(v, "");
      }
      free(v);
    }
    t.destroy(back);
    t.destroy(h);
  }
}

TEST(EncodingRoundTrip, NullNestedRecordsReadBackAsEmptyRecords) {
  const TypeOps &t = rtest::type("ProfileS");
  void *h = rtest::make(t);
  void *back = rtest::decode(t, rtest::encode(h));
  auto *p = static_cast<rpc_port_ProfileS_h>(back);
  ASSERT_NE(p->Nickname, nullptr);
  EXPECT_STREQ(p->Nickname->Value, "");
  ASSERT_NE(p->Health, nullptr);
  EXPECT_STREQ(p->Health->ActivityLevel, "");
  ASSERT_NE(p->Privacy, nullptr);
  EXPECT_EQ(p->Privacy->Health, 0);
  EXPECT_EQ(p->NameList, nullptr);
  t.destroy(back);
  t.destroy(h);
}

TEST(EncodingRoundTrip, AccountSKeepsSixtyFourBitValuesAboveTwoToTheThirtyTwo) {
  for (long long v :
       {(1LL << 32), (1LL << 32) + 1, 253402300799000LL, LLONG_MAX, LLONG_MIN, -(1LL << 33) - 1}) {
    rpc_port_AccountS_h h = nullptr;
    rpc_port_AccountS_create(&h);
    rpc_port_AccountS_set_LongExpiresIn(h, v);
    rpc_port_AccountS_set_LongIssueTime(h, ~v);
    rpc_port_AccountS_set_TokenExpiresIn(h, INT_MIN);
    rpc_port_AccountS_set_TokenIssueTime(h, INT_MAX);
    auto *back =
        static_cast<rpc_port_AccountS_h>(rtest::decode(rtest::type("AccountS"), rtest::encode(h)));
    long long a = 0, b = 0;
    int c = 0, d = 0;
    rpc_port_AccountS_get_LongExpiresIn(back, &a);
    rpc_port_AccountS_get_LongIssueTime(back, &b);
    rpc_port_AccountS_get_TokenExpiresIn(back, &c);
    rpc_port_AccountS_get_TokenIssueTime(back, &d);
    EXPECT_EQ(a, v);
    EXPECT_EQ(b, ~v);
    EXPECT_EQ(c, INT_MIN);
    EXPECT_EQ(d, INT_MAX);
    rpc_port_AccountS_destroy(back);
    rpc_port_AccountS_destroy(h);
  }
}

TEST(EncodingRoundTrip, PlaceSLatitudeAndLongitudeAreExactDoubles) {
  const double values[] = {37.566535123456789,
                           -122.41941550000001,
                           0.1 + 0.2,
                           -0.0,
                           DBL_MIN,
                           DBL_MAX,
                           5e-324,
                           -90.0,
                           NAN,
                           INFINITY};
  for (double lat : values) {
    double lon = -lat / 3.0;
    rpc_port_PlaceS_h h = nullptr;
    rpc_port_PlaceS_create(&h);
    rpc_port_PlaceS_set_Latitude(h, lat);
    rpc_port_PlaceS_set_Longitude(h, lon);
    auto *back =
        static_cast<rpc_port_PlaceS_h>(rtest::decode(rtest::type("PlaceS"), rtest::encode(h)));
    double a = 1, b = 1;
    rpc_port_PlaceS_get_Latitude(back, &a);
    rpc_port_PlaceS_get_Longitude(back, &b);
    EXPECT_EQ(memcmp(&a, &lat, sizeof a), 0) << lat;
    EXPECT_EQ(memcmp(&b, &lon, sizeof b), 0) << lon;
    rpc_port_PlaceS_destroy(back);
    rpc_port_PlaceS_destroy(h);
  }
}

TEST(EncodingRoundTrip, EmptyListOfEveryTypeReadsBackEmpty) {
  for (const TypeOps &t : rtest::all_types()) {
    if (!rtest::is_list_type(t)) continue;
    void *back = rtest::decode(t, Bytes(4, 0));
    unsigned int n = 99;
    t.fields[0].length(back, &n);
    EXPECT_EQ(n, 0u) << t.name;
    t.destroy(back);
  }
}

TEST(EncodingRoundTrip, StringsWithEmbeddedBytesAndLongTextSurvive) {
  std::string long_text(100000, 'x');
  long_text[500] = '\x01';
  long_text[501] = '\xff';
  rpc_port_list_string_h h = nullptr;
  rpc_port_list_string_create(&h);
  rpc_port_list_string_add_list_strings(h, long_text.c_str());
  rpc_port_list_string_add_list_strings(h, "\xe4\xbd\xa0\xe5\xa5\xbd");
  auto *back = static_cast<rpc_port_list_string_h>(
      rtest::decode(rtest::type("list_string"), rtest::encode(h)));
  std::vector<const void *> items;
  rtest::field("list_string", "list_strings").items(back, &items, -1);
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(std::string(static_cast<const char *>(items[0])), long_text);
  EXPECT_STREQ(static_cast<const char *>(items[1]), "\xe4\xbd\xa0\xe5\xa5\xbd");
  rpc_port_list_string_destroy(back);
  rpc_port_list_string_destroy(h);
}

TEST(EncodingRoundTrip, RecordsFollowEachOtherInOneParcel) {
  // A method parcel carries several records back to back; each reader stops where its record ends.
  rpc_port_AccountS_h account = nullptr;
  rpc_port_AccountS_create(&account);
  rpc_port_AccountS_set_LoginId(account, "user@example.com");
  rpc_port_PrivacyS_h privacy = nullptr;
  rpc_port_PrivacyS_create(&privacy);
  rpc_port_PrivacyS_set_Phone(privacy, 2);
  rpc_port_parcel_h p = nullptr;
  rpc_port_parcel_create(&p);
  rpc_port_parcel_write_int32(p, 13);
  rpc_port_parcel_write(p, va::rec::parcelable_of(account), account);
  rpc_port_parcel_write(p, va::rec::parcelable_of(privacy), privacy);
  rpc_port_parcel_write_int32(p, 77);

  int id = 0, tail = 0;
  rpc_port_AccountS_h a = nullptr;
  rpc_port_AccountS_create(&a);
  rpc_port_PrivacyS_h b = nullptr;
  rpc_port_PrivacyS_create(&b);
  EXPECT_EQ(rpc_port_parcel_read_int32(p, &id), 0);
  EXPECT_EQ(rpc_port_parcel_read(p, va::rec::parcelable_of(a), a), 0);
  EXPECT_EQ(rpc_port_parcel_read(p, va::rec::parcelable_of(b), b), 0);
  EXPECT_EQ(rpc_port_parcel_read_int32(p, &tail), 0);
  EXPECT_EQ(id, 13);
  EXPECT_EQ(tail, 77);
  EXPECT_STREQ(a->LoginId, "user@example.com");
  EXPECT_EQ(b->Phone, 2);
  rpc_port_parcel_destroy(p);
  rpc_port_AccountS_destroy(a);
  rpc_port_AccountS_destroy(account);
  rpc_port_PrivacyS_destroy(b);
  rpc_port_PrivacyS_destroy(privacy);
}

TEST(EncodingRead, StringReadIntoASetFieldReplacesTheOldValue) {
  const TypeOps &t = rtest::type("AccountS");
  void *h = rtest::make(t);
  rtest::fill(t, h, 1);
  void *src = rtest::make(t);
  rtest::fill(t, src, 2);
  rtest::decode_into(h, rtest::encode(src));  // the old strings must be freed (leak checker)
  EXPECT_EQ(rtest::describe(t, h), rtest::describe(t, src));
  t.destroy(src);
  t.destroy(h);
}

TEST(EncodingRead, IntoAPopulatedProfileReplacesRecordsAndAppendsListItems) {
  const TypeOps &t = rtest::type("ProfileS");
  void *h = rtest::make(t);
  rtest::fill(t, h, 1, 2);
  void *src = rtest::make(t);
  rtest::fill(t, src, 2, 3);
  rtest::decode_into(h, rtest::encode(src));
  auto *p = static_cast<rpc_port_ProfileS_h>(h);
  auto *s = static_cast<rpc_port_ProfileS_h>(src);
  EXPECT_EQ(g_list_length(p->NameList), 5u);
  EXPECT_EQ(g_list_length(p->PhoneList), 5u);
  EXPECT_STREQ(p->Type, s->Type);
  EXPECT_STREQ(p->Nickname->Value, s->Nickname->Value);
  EXPECT_EQ(p->Privacy->Web, s->Privacy->Web);
  t.destroy(src);
  t.destroy(h);
}

TEST(EncodingRead, FailedReadsLeaveTheRemainingFieldsAsTheyWere) {
  rpc_port_AccountS_h h = nullptr;
  rpc_port_AccountS_create(&h);
  rpc_port_AccountS_set_AccessToken(h, "old-token");
  rpc_port_AccountS_set_ApiServerUrl(h, "old-url");
  rpc_port_AccountS_set_AuthCode(h, "old-code");
  rpc_port_AccountS_set_Reserved(h, "old-reserved");
  rpc_port_AccountS_set_TncStatus(h, 9);
  rpc_port_AccountS_set_LongIssueTime(h, 1LL << 50);
  Expect e;
  e.str("new-token").str("new-url");  // the parcel ends after two strings
  rtest::decode_into(h, e.bytes());
  EXPECT_STREQ(h->AccessToken, "new-token");
  EXPECT_STREQ(h->ApiServerUrl, "new-url");
  EXPECT_STREQ(h->AuthCode, "old-code");
  EXPECT_STREQ(h->Reserved, "old-reserved");
  EXPECT_EQ(h->ClientId, nullptr);
  EXPECT_EQ(h->TncStatus, 9);
  EXPECT_EQ(h->LongIssueTime, 1LL << 50);
  rpc_port_AccountS_destroy(h);
}
