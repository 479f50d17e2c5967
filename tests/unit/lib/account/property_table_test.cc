// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the account handle's property table (account_record.h), which create, clone,
// destroy and every accessor read: one row per public property id, in record order, saying what a
// clone copies and what destroy releases.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "account_record.h"
#include "velmora_account.h"

namespace {

std::set<std::string> members_where(bool (*keep)(const va_property_s &)) {
  int count = 0;
  const va_property_s *table = va_account_property_table(&count);
  std::set<std::string> out;
  for (int i = 0; i < count; ++i)
    if (keep(table[i])) out.insert(table[i].member);
  return out;
}

TEST(PropertyTable, EveryPublicIdHasExactlyOneRow) {
  EXPECT_EQ(va_account_property_ids(VA_PROPERTY_STR),
            VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID + 1);
  EXPECT_EQ(va_account_property_ids(VA_PROPERTY_INT), VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT + 1);
  EXPECT_EQ(va_account_property_ids(VA_PROPERTY_FLAG),
            VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS + 1);
  for (va_property_type_e type : {VA_PROPERTY_STR, VA_PROPERTY_INT, VA_PROPERTY_FLAG}) {
    for (int id = 0; id < va_account_property_ids(type); ++id)
      ASSERT_NE(va_account_property(type, id), nullptr) << type << " " << id;
    EXPECT_EQ(va_account_property(type, va_account_property_ids(type)), nullptr);
    EXPECT_EQ(va_account_property(type, -1), nullptr);
  }
  EXPECT_STREQ(
      va_account_property(VA_PROPERTY_STR, VELMORA_ACCOUNT_PROPERTY_LAST_ACCESS_TOKEN)->member,
      "expired_access_token");
  EXPECT_STREQ(
      va_account_property(VA_PROPERTY_FLAG, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST)
          ->member,
      "mobile_account_exist");
}

TEST(PropertyTable, RowsAreInRecordOrder) {
  int count = 0;
  const va_property_s *table = va_account_property_table(&count);
  ASSERT_EQ(count, 30);  // 21 strings, 3 ints, the terms bits, 5 flags
  for (int i = 1; i < count; ++i)
    EXPECT_LT(table[i - 1].offset, table[i].offset) << table[i].member;
  EXPECT_STREQ(table[0].member, "access_token");
  EXPECT_STREQ(table[23].member, "tnc_status");
  EXPECT_STREQ(table[29].member, "account_linking_status");
}

TEST(PropertyTable, CloneCopiesTheFirstSixteenStringsTheTokenTimesAndTheTermsBits) {
  const std::set<std::string> cloned =
      members_where([](const va_property_s &p) { return p.cloned; });
  const std::set<std::string> expected = {"access_token",
                                          "api_server_url",
                                          "authcode",
                                          "auth_server_url",
                                          "client_id",
                                          "client_secret",
                                          "cc",
                                          "device_unique_code",
                                          "expired_access_token",
                                          "login_id",
                                          "mcc",
                                          "password",
                                          "refresh_token",
                                          "scope",
                                          "user_id",
                                          "signin_app_message",
                                          "access_token_expires_in",
                                          "access_token_issue_time",
                                          "tnc_status"};
  EXPECT_EQ(cloned, expected);
}

TEST(PropertyTable, DestroyKeepsExactlyTheLastThreeStrings) {
  const std::set<std::string> kept = members_where(
      [](const va_property_s &p) { return p.type == VA_PROPERTY_STR && !p.released; });
  EXPECT_EQ(kept, (std::set<std::string>{"authentication_token", "authentication_code",
                                         "partner_client_id"}));
}

TEST(PropertyTable, UnsetConditionNamesTheField) {
  EXPECT_STREQ(va_account_property(VA_PROPERTY_STR, VELMORA_ACCOUNT_PROPERTY_MCC)->unset_condition,
               "data->mcc == NULL");
  EXPECT_EQ(va_account_property(VA_PROPERTY_INT, 0)->unset_condition, nullptr);
}

}  // namespace
