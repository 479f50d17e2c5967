// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the profile's app-control reply keys parsed into a list.
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "account_record.h"
#include "app_control.h"
#include "profile_fixture.hh"
#include "profile_internal.h"

using namespace ptest;

namespace {

void parse(velmora_account_profile_list_h l, const char *key, const char *value) {
  va_profile_parse_extra(l, key, value);
}

// Parses the keys of a table, in order.
void parse(velmora_account_profile_list_h l,
           std::initializer_list<std::pair<const char *, const char *>> keys) {
  for (const auto &[key, value] : keys) parse(l, key, value);
}

}  // namespace

TEST_F(ProfileTest, PrivacyAndCountKeysSetTheirCategory) {
  List l;
  vtest::LogCapture log;
  parse(l,
        {{"names", "0"}, {"healths", "2"}, {"phoneNumbers_count", "50"}, {"nicknames_count", "1"}});
  EXPECT_EQ(l->privacy[0], 0);
  EXPECT_EQ(l->privacy[13], 2);
  EXPECT_EQ(l->count[9], 50);
  EXPECT_EQ(l->count[2], 1);
  EXPECT_TRUE(HasInfo(log, "Count, Key[phoneNumbers_count], Value[50]"));
  EXPECT_TRUE(NoErrorLine(log));
}

TEST_F(ProfileTest, CountsBeyondTheSlotsAreRefused) {
  List l;
  vtest::LogCapture log;
  parse(l, {{"phoneNumbers_count", "51"},
            {"names_count", "3"},
            {"events_count", "-1"},
            {"webAddresses_count", "two"}});
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) EXPECT_EQ(l->count[c], 0) << c;
  EXPECT_TRUE(HasInfo(log, "- Invalid, Key[phoneNumbers_count], Value[51]"));
  EXPECT_TRUE(HasInfo(log, "Count, Key[phoneNumbers_count], Value[51]"));
  EXPECT_TRUE(HasInfo(log, "- Invalid, Key[names_count], Value[3]"));
}

TEST_F(ProfileTest, ErrorKeysAreSkippedAndOtherPlainKeysLogged) {
  List l;
  vtest::LogCapture log;
  parse(l, {{"error_code", "-22"}, {"error_msg", "no"}, {"error_domain", "x"}});
  EXPECT_EQ(log.lines().size(), 0u) << log.dump();
  parse(l, "resource", "all");
  EXPECT_TRUE(HasInfo(log, "- Key[resource], Value[all]"));
  parse(l, "login_id", "me@velmora.dev");  // an underscore makes it a count key of no category
  EXPECT_TRUE(HasInfo(log, "- Invalid, Key[login_id], Value[me@velmora.dev]"));
}

TEST_F(ProfileTest, ASecondNameAloneCountsTwoWithTheFirstAbsent) {
  List l;
  parse(l, "names_2:givenName", "Ada");
  EXPECT_EQ(l->count[0], 2);
  EXPECT_EQ(va_profile_list_get_item(l, 0, 0), nullptr);
  ASSERT_NE(va_profile_list_get_item(l, 0, 1), nullptr);
  EXPECT_EQ(field(va_profile_list_get_item(l, 0, 1), 0, 1), "Ada");

  // Received as the account's profile, the category copy stops at the missing item with NONE.
  velmora_account_h account = nullptr;
  ASSERT_EQ(velmora_account_create(&account), 0);
  account->link = l.release();
  List mine;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_profile_get_profile_list(account, 0, mine), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(HasInfo(log, "NAME LIST [ 2 ]"));
  EXPECT_TRUE(HasCondition(log, "account->link->l_name[i] == NULL"));
  EXPECT_EQ(mine->count[0], 2);
  velmora_account_destroy(account);
}

TEST_F(ProfileTest, ANicknamePrivacyAloneGivesPrivacyAndNoItem) {
  List l;
  parse(l, "nicknames", "1");
  EXPECT_EQ(l->privacy[2], 1);
  EXPECT_EQ(l->count[2], 0);
  velmora_account_h account = nullptr;
  ASSERT_EQ(velmora_account_create(&account), 0);
  account->link = l.release();
  List mine;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_profile_get_profile_list(account, 2, mine), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(HasInfo(log, "NICKNAME[ 0 ], Privacy only"));
  EXPECT_EQ(mine->count[2], 0);
  EXPECT_EQ(mine->privacy[2], 1);
  velmora_account_destroy(account);
}

TEST_F(ProfileTest, EveryFieldOfEveryCategoryIsReadFromItsKey) {
  List l;
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
    const va_profile_category_desc *d = va_profile_category(c);
    for (int i = 1; i <= d->limit; ++i) {
      const std::string head =
          std::string(d->resource) + (d->is_list ? "_" + std::to_string(i) : std::string()) + ":";
      for (int f = 0; f < d->string_count; ++f)
        parse(l, (head + d->wire_words[f]).c_str(),
              (std::to_string(c) + "." + std::to_string(i) + "." + std::to_string(f)).c_str());
      if (d->has_source)
        parse(l, (head + VA_PROFILE_SOURCE_WORD).c_str(), i == 1 ? "ACCOUNT" : "PROFILE");
    }
  }
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
    const va_profile_category_desc *d = va_profile_category(c);
    EXPECT_EQ(l->count[c], d->limit) << d->log_word;
    for (int i = 1; i <= d->limit; ++i) {
      void *item = va_profile_list_get_item(l, c, i - 1);
      ASSERT_NE(item, nullptr) << d->log_word << i;
      for (int f = 0; f < d->string_count; ++f)
        EXPECT_EQ(field(item, c, f),
                  std::to_string(c) + "." + std::to_string(i) + "." + std::to_string(f))
            << d->log_word << " item " << i << " " << d->wire_words[f];
      if (d->has_source) {
        EXPECT_EQ(*va_profile_item_source(item, c), i == 1 ? 0 : 1) << d->log_word;
      }
    }
  }
}

TEST_F(ProfileTest, NameFieldsAreMatchedInTheirOrderWithShortPhoneticWords) {
  List l;
  parse(l, "names_1:phoneticGivenName", "pg");
  parse(l, "names_1:phoneticGiven", "pg2");  // the word the parser looks for is the shorter one
  parse(l, "names_1:givenName", "g");
  auto *name = static_cast<va_profile_name_s *>(va_profile_list_get_item(l, 0, 0));
  ASSERT_NE(name, nullptr);
  EXPECT_STREQ(name->phonetic_given, "pg2");
  EXPECT_STREQ(name->given_name, "g");
  vtest::LogCapture log;
  parse(l, "names_1:metadata:source:type", "ACCOUNT");
  EXPECT_TRUE(HasInfo(log, "- source:type [ACCOUNT]"));
  EXPECT_EQ(name->source, 0);
  parse(l, "names_1:metadata:source:type", "SOMETHING");
  EXPECT_EQ(name->source, 1);
}

TEST_F(ProfileTest, ABirthdaySourceIsNotTakenForItsType) {
  List l;
  parse(l, "birthdays_1:metadata:source:type", "ACCOUNT");
  parse(l, "birthdays_1:type", "lunar");
  parse(l, "birthdays_1:date:day", "10");  // "birthdays" itself holds "day": the word is date:day
  auto *b = static_cast<va_profile_birthday_s *>(va_profile_list_get_item(l, 1, 0));
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(b->source, 0);
  EXPECT_STREQ(b->type, "lunar");
  EXPECT_STREQ(b->day, "10");
  EXPECT_EQ(b->date, nullptr);
  // A phone's source key matches no field of a category whose source is fixed.
  vtest::LogCapture log;
  parse(l, "phoneNumbers_1:metadata:source:type", "PROFILE");
  EXPECT_TRUE(HasInfo(log, "- Invalid, Key[phoneNumbers_1:metadata:source:type], Value[PROFILE]"));
  EXPECT_EQ(va_profile_list_get_item(l, 9, 0), nullptr);
}

TEST_F(ProfileTest, ItemNumbersBeyondTheSlotsAreRefused) {
  List l;
  vtest::LogCapture log;
  parse(l, {{"names_3:givenName", "x"},
            {"names_0:givenName", "x"},
            {"phoneNumbers_51:value", "x"},
            {"phoneNumbers_-1:value", "x"},
            {"phoneNumbers_1x:value", "x"},
            {"phoneNumbers_99999999999999:value", "x"}});
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) EXPECT_EQ(l->count[c], 0) << c;
  EXPECT_TRUE(HasInfo(log, "- Invalid, Key[names_3:givenName], Value[x]"));
  EXPECT_TRUE(HasInfo(log, "- Invalid, Key[phoneNumbers_51:value], Value[x]"));
  parse(l, "phoneNumbers_50:value", "last");
  EXPECT_EQ(l->count[9], 50);
  EXPECT_EQ(field(va_profile_list_get_item(l, 9, 49), 9, 0), "last");
}

TEST_F(ProfileTest, UnknownFieldsAndCategoriesChangeNothing) {
  List l;
  vtest::LogCapture log;
  parse(l, "nicknames_1:value", "x");  // "names" is in "nicknames": a NAME key without a NAME word
  parse(l, "names_1:nickname", "x");
  parse(l, "photos_1:url", "x");  // numbered words are those of the list categories
  parse(l, "planets:value", "x");
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) EXPECT_EQ(l->count[c], 0) << c;
  EXPECT_EQ(log.count("- Invalid, Key[nicknames_1:value], Value[x]"), 1) << log.dump();
  EXPECT_TRUE(NoErrorLine(log));
}

TEST_F(ProfileTest, AListKeyWithoutANumberNamesTheFirstItem) {
  List l;
  parse(l, "names:givenName", "first");
  EXPECT_EQ(l->count[0], 1);
  EXPECT_EQ(field(va_profile_list_get_item(l, 0, 0), 0, 1), "first");
}

TEST_F(ProfileTest, ItemKeysNeedAListAndAValue) {
  vtest::LogCapture log;
  parse(nullptr, "names_1:givenName", "x");
  EXPECT_TRUE(HasCondition(log, "list == NULL"));
  List l;
  parse(l, "names_1:givenName", nullptr);
  EXPECT_TRUE(HasCondition(log, "value == NULL"));
  EXPECT_EQ(l->count[0], 0);
}

TEST_F(ProfileTest, TheExtrasVisitorReadsEveryKeyOfAReply) {
  app_control_h reply = nullptr;
  ASSERT_EQ(app_control_create(&reply), 0);
  const std::vector<std::pair<const char *, const char *>> extras = {
      {"error_code", "0"},        {"nicknames", "1"},          {"nicknames_count", "1"},
      {"nicknames:value", "Ada"}, {"phoneNumbers_count", "1"}, {"phoneNumbers_1:value", "+1"}};
  for (const auto &[k, v] : extras) ASSERT_EQ(app_control_add_extra_data(reply, k, v), 0);
  List l;
  vtest::LogCapture log;
  ASSERT_EQ(app_control_foreach_extra_data(reply, va_profile_foreach_extra_cb, l.get()), 0);
  for (const auto &[k, v] : extras) EXPECT_TRUE(HasInfo(log, std::string("Key[") + k + "]"));
  EXPECT_EQ(l->privacy[2], 1);
  EXPECT_EQ(l->count[2], 1);
  EXPECT_EQ(field(l->l_nickname, 2, 0), "Ada");
  EXPECT_EQ(field(va_profile_list_get_item(l, 9, 0), 9, 0), "+1");
  app_control_destroy(reply);
}
