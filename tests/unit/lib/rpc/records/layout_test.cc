// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the wire layout of the AccountSvc records and lists, against bytes built by hand
// with the parcel primitives in the documented field order.
#include <gtest/gtest.h>

#include <climits>

#include "dlog.h"
#include "log_capture.hh"
#include "record_table.hh"

using rtest::Bytes;
using rtest::Expect;

namespace {

// The encoding of a record of type t with nothing set: "" for strings, zeros, empty lists and
// every nested record in its own empty form. Built from the test-side table.
void expect_empty(const rtest::TypeOps &t, Expect &e) {
  for (const rtest::FieldOps &f : t.fields) {
    switch (f.kind) {
      case rtest::Kind::STRING:
        e.str("");
        break;
      case rtest::Kind::INT:
        e.i32(0);
        break;
      case rtest::Kind::LLONG:
        e.i64(0);
        break;
      case rtest::Kind::DOUBLE:
        e.dbl(0.0);
        break;
      case rtest::Kind::RECORD:
        expect_empty(rtest::type(f.item), e);
        break;
      case rtest::Kind::LIST:
      case rtest::Kind::STRLIST:
        e.count(0);
        break;
    }
  }
}

}  // namespace

TEST(EncodingLayout, AccountSIsTwentyStringsThreeInt32TwoInt64InOrder) {
  rpc_port_AccountS_h h = nullptr;
  rpc_port_AccountS_create(&h);
  rpc_port_AccountS_set_AccessToken(h, "s00");
  rpc_port_AccountS_set_ApiServerUrl(h, "s01");
  rpc_port_AccountS_set_AuthCode(h, "s02");
  rpc_port_AccountS_set_AuthServerUrl(h, "s03");
  rpc_port_AccountS_set_ClientId(h, "s04");
  rpc_port_AccountS_set_ClientSecret(h, "s05");
  rpc_port_AccountS_set_CountryCode(h, "s06");
  rpc_port_AccountS_set_DeviceUniqueCode(h, "s07");
  rpc_port_AccountS_set_LastAccessToken(h, "s08");
  rpc_port_AccountS_set_LoginId(h, "s09");
  rpc_port_AccountS_set_Mcc(h, "s10");
  rpc_port_AccountS_set_Password(h, "s11");
  rpc_port_AccountS_set_RefreshToken(h, "s12");
  rpc_port_AccountS_set_Scope(h, "s13");
  rpc_port_AccountS_set_UserId(h, "s14");
  rpc_port_AccountS_set_SigninAppMessage(h, "s15");
  rpc_port_AccountS_set_Aaa(h, "s16");
  rpc_port_AccountS_set_Bbb(h, "s17");
  rpc_port_AccountS_set_Ccc(h, "s18");
  rpc_port_AccountS_set_Reserved(h, "s19");
  rpc_port_AccountS_set_TncStatus(h, 1);
  rpc_port_AccountS_set_TokenExpiresIn(h, -2);
  rpc_port_AccountS_set_TokenIssueTime(h, 3);
  rpc_port_AccountS_set_LongExpiresIn(h, (1LL << 40) + 5);
  rpc_port_AccountS_set_LongIssueTime(h, -(1LL << 35));

  Expect e;
  for (int i = 0; i < 20; ++i) {
    char s[8];
    snprintf(s, sizeof(s), "s%02d", i);
    e.str(s);
  }
  e.i32(1).i32(-2).i32(3).i64((1LL << 40) + 5).i64(-(1LL << 35));
  Bytes got = rtest::encode(h);
  EXPECT_EQ(got, e.bytes());
  // The last int64 is little-endian: -(2^35) = 0xFFFFFFF800000000.
  ASSERT_GE(got.size(), 8u);
  const Bytes tail(got.end() - 8, got.end());
  EXPECT_EQ(tail, (Bytes{0x00, 0x00, 0x00, 0x00, 0xF8, 0xFF, 0xFF, 0xFF}));
  rpc_port_AccountS_destroy(h);
}

TEST(EncodingLayout, AccountSWithEveryStringNullIsTwentyEmptyStrings) {
  rpc_port_AccountS_h h = nullptr;
  rpc_port_AccountS_create(&h);
  Bytes got = rtest::encode(h);
  EXPECT_EQ(got.size(), 20u * 4 + 3 * 4 + 2 * 8);
  EXPECT_EQ(got, Bytes(108, 0));
  rpc_port_AccountS_destroy(h);
}

TEST(EncodingLayout, PlaceSIsSixStringsThreeInt32TwoDoublesAndReserved) {
  rpc_port_PlaceS_h h = nullptr;
  rpc_port_PlaceS_create(&h);
  rpc_port_PlaceS_set_Name(h, "Home");
  rpc_port_PlaceS_set_Address(h, "1 Main St");
  rpc_port_PlaceS_set_WifiName(h, "wifi");
  rpc_port_PlaceS_set_WifiBssid(h, "00:11:22:33:44:55");
  rpc_port_PlaceS_set_BtName(h, "bt");
  rpc_port_PlaceS_set_BtAddress(h, "AA:BB");
  rpc_port_PlaceS_set_Category(h, 4);
  rpc_port_PlaceS_set_Type(h, 5);
  rpc_port_PlaceS_set_LocationSource(h, 6);
  rpc_port_PlaceS_set_Latitude(h, 37.566535);
  rpc_port_PlaceS_set_Longitude(h, 126.9779692);
  rpc_port_PlaceS_set_Reserved(h, "r");
  Expect e;
  e.str("Home").str("1 Main St").str("wifi").str("00:11:22:33:44:55").str("bt").str("AA:BB");
  e.i32(4).i32(5).i32(6).dbl(37.566535).dbl(126.9779692).str("r");
  EXPECT_EQ(rtest::encode(h), e.bytes());
  rpc_port_PlaceS_destroy(h);
}

TEST(EncodingLayout, PlaceInfoSIsSizeReservedThenCountedPlaces) {
  rpc_port_PlaceInfoS_h h = nullptr;
  rpc_port_PlaceInfoS_create(&h);
  rpc_port_PlaceInfoS_set_size(h, 2);
  rpc_port_PlaceInfoS_set_Reserved(h, "res");
  for (const char *name : {"A", "B"}) {
    rpc_port_PlaceS_h p = nullptr;
    rpc_port_PlaceS_create(&p);
    rpc_port_PlaceS_set_Name(p, name);
    rpc_port_PlaceS_set_Latitude(p, -1.5);
    rpc_port_PlaceInfoS_add_PlaceList(h, p);
    rpc_port_PlaceS_destroy(p);
  }
  Expect e;
  e.i32(2).str("res").count(2);
  for (const char *name : {"A", "B"}) {
    e.str(name).str("").str("").str("").str("").str("");
    e.i32(0).i32(0).i32(0).dbl(-1.5).dbl(0.0).str("");
  }
  EXPECT_EQ(rtest::encode(h), e.bytes());
  rpc_port_PlaceInfoS_destroy(h);
}

TEST(EncodingLayout, PrivacySIsFourteenInt32InOrder) {
  rpc_port_PrivacyS_h h = nullptr;
  rpc_port_PrivacyS_create(&h);
  rpc_port_PrivacyS_set_Name(h, 1);
  rpc_port_PrivacyS_set_Birthday(h, 2);
  rpc_port_PrivacyS_set_Messenger(h, 3);
  rpc_port_PrivacyS_set_Phone(h, 4);
  rpc_port_PrivacyS_set_Email(h, 5);
  rpc_port_PrivacyS_set_Web(h, 6);
  rpc_port_PrivacyS_set_Event(h, 7);
  rpc_port_PrivacyS_set_Nickname(h, 8);
  rpc_port_PrivacyS_set_Photo(h, 9);
  rpc_port_PrivacyS_set_Organization(h, 10);
  rpc_port_PrivacyS_set_Gender(h, 11);
  rpc_port_PrivacyS_set_Status(h, 12);
  rpc_port_PrivacyS_set_Note(h, 13);
  rpc_port_PrivacyS_set_Health(h, 14);
  Expect e;
  for (int i = 1; i <= 14; ++i) e.i32(i);
  EXPECT_EQ(rtest::encode(h), e.bytes());
  rpc_port_PrivacyS_destroy(h);
}

TEST(EncodingLayout, ProfileSIsStringsThenSevenListsThenEightRecords) {
  rpc_port_ProfileS_h h = nullptr;
  rpc_port_ProfileS_create(&h);
  rpc_port_ProfileS_set_Type(h, "t");
  rpc_port_ProfileS_set_Resource(h, "all");
  rpc_port_ProfileS_set_UpdateType(h, "u");
  rpc_port_ProfileS_set_Reserved(h, "r");
  rpc_port_NameS_h name = nullptr;
  rpc_port_NameS_create(&name);
  rpc_port_NameS_set_FamilyName(name, "Lovelace");
  rpc_port_NameS_set_Source(name, "src");
  rpc_port_ProfileS_add_NameList(h, name);
  rpc_port_NameS_destroy(name);
  rpc_port_WebS_h web = nullptr;
  rpc_port_WebS_create(&web);
  rpc_port_WebS_set_Value(web, "https://x");
  rpc_port_ProfileS_add_WebList(h, web);
  rpc_port_ProfileS_add_WebList(h, web);
  rpc_port_WebS_destroy(web);
  rpc_port_NicknameS_h nick = nullptr;
  rpc_port_NicknameS_create(&nick);
  rpc_port_NicknameS_set_Value(nick, "Ada");
  rpc_port_NicknameS_set_Verified(nick, "Y");
  rpc_port_ProfileS_set_Nickname(h, nick);
  rpc_port_NicknameS_destroy(nick);
  rpc_port_HealthS_h health = nullptr;
  rpc_port_HealthS_create(&health);
  rpc_port_HealthS_set_Weight(health, "60");
  rpc_port_ProfileS_set_Health(h, health);
  rpc_port_HealthS_destroy(health);
  rpc_port_PrivacyS_h privacy = nullptr;
  rpc_port_PrivacyS_create(&privacy);
  rpc_port_PrivacyS_set_Health(privacy, 3);
  rpc_port_ProfileS_set_Privacy(h, privacy);
  rpc_port_PrivacyS_destroy(privacy);

  Expect e;
  e.str("t").str("all").str("u").str("r");
  e.count(1).str("Lovelace");  // NameList: one NameS of ten strings
  for (int i = 0; i < 8; ++i) e.str("");
  e.str("src");
  e.count(0).count(0).count(0).count(0);        // Birthday, Messenger, Phone, Email
  e.count(2).str("https://x").str("").str("");  // WebList
  e.str("https://x").str("").str("");
  e.count(0);                             // EventList
  e.str("Ada").str("Y");                  // Nickname
  for (int i = 0; i < 5; ++i) e.str("");  // Photo (unset: empty record)
  for (int i = 0; i < 4; ++i) e.str("");  // Organization
  e.str("").str("");                      // Gender
  e.str("").str("");                      // Status
  e.str("").str("");                      // Note
  e.str("").str("60").str("").str("");    // Health
  for (int i = 0; i < 13; ++i) e.i32(0);  // Privacy
  e.i32(3);
  EXPECT_EQ(rtest::encode(h), e.bytes());
  rpc_port_ProfileS_destroy(h);
}

TEST(EncodingLayout, ListStringIsCountThenStrings) {
  rpc_port_list_string_h h = nullptr;
  rpc_port_list_string_create(&h);
  rpc_port_list_string_add_list_strings(h, "alice@example.com");
  rpc_port_list_string_add_list_strings(h, "");
  rpc_port_list_string_add_list_strings(h, "bob");
  Expect e;
  e.count(3).str("alice@example.com").str("").str("bob");
  EXPECT_EQ(rtest::encode(h), e.bytes());
  rpc_port_list_string_destroy(h);
}

TEST(EncodingLayout, RecordListIsCountThenRecords) {
  rpc_port_list_EmailS_h h = nullptr;
  rpc_port_list_EmailS_create(&h);
  rpc_port_EmailS_h mail = nullptr;
  rpc_port_EmailS_create(&mail);
  rpc_port_EmailS_set_Value(mail, "a@b");
  rpc_port_EmailS_set_Verified(mail, "N");
  rpc_port_list_EmailS_add_list_EmailSs(h, mail);
  rpc_port_EmailS_destroy(mail);
  Expect e;
  e.count(1).str("a@b").str("").str("").str("").str("N");
  EXPECT_EQ(rtest::encode(h), e.bytes());
  rpc_port_list_EmailS_destroy(h);
}

TEST(EncodingLayout, EmptyListIsACountOfZero) {
  for (const rtest::TypeOps &t : rtest::all_types()) {
    if (!rtest::is_list_type(t)) continue;
    void *h = rtest::make(t);
    EXPECT_EQ(rtest::encode(h), Bytes(4, 0)) << t.name;
    t.destroy(h);
  }
}

TEST(EncodingLayout, UnsetRecordOfEveryTypeEncodesAsItsEmptyForm) {
  for (const rtest::TypeOps &t : rtest::all_types()) {
    void *h = rtest::make(t);
    Expect e;
    expect_empty(t, e);
    EXPECT_EQ(rtest::encode(h), e.bytes()) << t.name;
    t.destroy(h);
  }
}

// A NULL nested record is written as the empty record of its type, so that the fields after it
// stay where the reader expects them.
TEST(EncodingLayout, NullNestedRecordIsWrittenAsAnEmptyRecord) {
  rpc_port_ProfileS_h unset = nullptr;
  rpc_port_ProfileS_create(&unset);
  rpc_port_ProfileS_h empty = nullptr;
  rpc_port_ProfileS_create(&empty);
  const rtest::TypeOps &profile = rtest::type("ProfileS");
  for (const rtest::FieldOps &f : profile.fields) {
    if (f.kind != rtest::Kind::RECORD) continue;
    void *item = rtest::make(rtest::type(f.item));
    f.set_record(empty, item);
    rtest::type(f.item).destroy(item);
  }
  vtest::LogCapture log;
  EXPECT_EQ(rtest::encode(unset), rtest::encode(empty));
  EXPECT_TRUE(log.lines().empty()) << log.dump();
  rpc_port_ProfileS_destroy(unset);
  rpc_port_ProfileS_destroy(empty);
}

TEST(EncodingLayout, NullItemIsCountedButNotWritten) {
  // "a", NULL, NULL: made by decoding a list whose last two strings cannot be read.
  Expect src;
  src.count(3).str("a").i32(1000).i32(0);
  rpc_port_list_string_h h = nullptr;
  rpc_port_list_string_create(&h);
  rtest::decode_into(h, src.bytes());
  unsigned int len = 0;
  rpc_port_list_string_get_list_strings_length(h, &len);
  ASSERT_EQ(len, 3u);

  vtest::LogCapture log;
  Expect e;
  e.count(3).str("a");
  EXPECT_EQ(rtest::encode(h), e.bytes());
  ASSERT_EQ(log.lines().size(), 2u) << log.dump();
  for (const vtest::LogLine &l : log.lines()) {
    EXPECT_EQ(l.tag, vtest::kRpcTag);
    EXPECT_EQ(l.prio, DLOG_WARN);
    EXPECT_EQ(l.text(), "Warning: value is NULL");
    EXPECT_EQ(l.function(), "__list_string_to");
  }
  rpc_port_list_string_destroy(h);
}

TEST(EncodingWrite, NullParcelOrRecordIsInvalidAndWritesNothing) {
  for (const va::rec::RecordDesc *d : va::rec::all_types()) {
    const rtest::TypeOps &t = rtest::type(d->name);
    void *h = rtest::make(t);
    rpc_port_parcel_h p = nullptr;
    rpc_port_parcel_create(&p);
    const std::string fn = std::string("__") + d->name + "_to";
    for (int i = 0; i < 2; ++i) {
      vtest::LogCapture log;
      if (i == 0)
        va::rec::parcelable_of(h)->to(nullptr, h);
      else
        va::rec::parcelable_of(h)->to(p, nullptr);
      ASSERT_EQ(log.lines().size(), 1u) << log.dump();
      EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Invalid parameter")) << log.dump();
      EXPECT_EQ(log.lines()[0].function(), fn);
    }
    EXPECT_TRUE(rtest::parcel_bytes(p).empty()) << d->name;
    rpc_port_parcel_destroy(p);
    t.destroy(h);
  }
}

TEST(EncodingRead, NullParcelOrRecordIsInvalidAndReadsNothing) {
  for (const va::rec::RecordDesc *d : va::rec::all_types()) {
    const rtest::TypeOps &t = rtest::type(d->name);
    void *h = rtest::make(t);
    Bytes bytes = rtest::encode(h);
    rpc_port_parcel_h p = nullptr;
    velmora_host_parcel_create_from_raw(&p, bytes.data(), (unsigned int)bytes.size());
    const std::string fn = std::string("__") + d->name + "_from";
    for (int i = 0; i < 2; ++i) {
      vtest::LogCapture log;
      if (i == 0)
        va::rec::parcelable_of(h)->from(nullptr, h);
      else
        va::rec::parcelable_of(h)->from(p, nullptr);
      ASSERT_EQ(log.lines().size(), 1u) << log.dump();
      EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Invalid parameter")) << log.dump();
      EXPECT_EQ(log.lines()[0].function(), fn);
    }
    // Nothing was consumed: the first int32 is still there to read.
    int first = -1;
    EXPECT_EQ(rpc_port_parcel_read_int32(p, &first), 0) << d->name;
    rpc_port_parcel_destroy(p);
    t.destroy(h);
  }
}
