// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the extras of a profile update, and the port's records of a profile.
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "app_control.h"
#include "profile_fixture.hh"
#include "profile_internal.h"

using namespace ptest;

namespace {

using Extras = std::vector<std::pair<std::string, std::string>>;

// The extras the update body adds, in order.
Extras body_of(velmora_account_profile_list_h list) {
  app_control_h ac = nullptr;
  EXPECT_EQ(app_control_create(&ac), 0);
  EXPECT_EQ(va_profile_add_update_body(ac, list), VELMORA_ACCOUNT_ERROR_NONE);
  Extras out;
  app_control_foreach_extra_data(
      ac,
      [](app_control_h a, const char *key, void *data) {
        char *value = nullptr;
        app_control_get_extra_data(a, key, &value);
        static_cast<Extras *>(data)->emplace_back(key, value ? value : "");
        free(value);
        return true;
      },
      &out);
  app_control_destroy(ac);
  return out;
}

}  // namespace

TEST_F(ProfileTest, AnUpdateOfANicknameAndTwoPhonesSendsOnlyTheNickname) {
  List l;
  Profile phone(VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE);
  phone.set(VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_VALUE, "+1");
  ASSERT_EQ(velmora_account_profile_list_append(l, phone), 0);
  ASSERT_EQ(velmora_account_profile_list_append(l, phone), 0);
  Profile nick(VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME);
  nick.set(VELMORA_ACCOUNT_PROFILE_ITEM_NICKNAME_VALUE, "Ada");
  ASSERT_EQ(velmora_account_profile_list_append(l, nick), 0);
  vtest::LogCapture log;
  const Extras expected = {{"resource", "nicknames"},
                           {"nicknames:value", "Ada"},
                           {"nicknames:metadata:source:type", "ACCOUNT"}};
  EXPECT_EQ(body_of(l), expected);
  EXPECT_TRUE(HasInfo(log, "CreateBody NICKNAME"));
}

TEST_F(ProfileTest, ElevenPhonesUseTheSuffixesOfTheSmallBuffer) {
  List l;
  Profile phone(VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE);
  for (int i = 0; i < 11; ++i) {
    phone.set(VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_VALUE, "p" + std::to_string(i));
    ASSERT_EQ(velmora_account_profile_list_append(l, phone), 0);
  }
  const char *suffixes[] = {"", "_2", "_3", "_4", "_5", "_6", "_7", "_8", "_9", "_1", "_11"};
  Extras expected = {{"resource", "phoneNumbers"}};
  for (int i = 0; i < 11; ++i) {
    const std::string head = std::string("phoneNumbers") + suffixes[i] + ":";
    expected.emplace_back(head + "value", "p" + std::to_string(i));
    expected.emplace_back(head + "metadata:source:type", "PROFILE");
  }
  EXPECT_EQ(body_of(l), expected);
}

TEST_F(ProfileTest, NameAndBirthdayBodiesCarryEveryFieldButVerified) {
  List l;
  Profile name(VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME);
  for (int id = 0x100; id <= 0x107; ++id) name.set(id, "n" + std::to_string(id - 0x100));
  name->name->verified = strdup("Y");  // as if a reply had filled it: never sent
  ASSERT_EQ(velmora_account_profile_list_append(l, name), 0);
  ASSERT_EQ(velmora_account_profile_set_item_source(name, 0x109, 1), 0);
  ASSERT_EQ(velmora_account_profile_list_append(l, name), 0);
  const Extras expected = {{"resource", "names"},
                           {"names:prefixName", "n0"},
                           {"names:givenName", "n1"},
                           {"names:middleName", "n2"},
                           {"names:familyName", "n3"},
                           {"names:suffixName", "n4"},
                           {"names:phoneticGivenName", "n5"},
                           {"names:phoneticMiddleName", "n6"},
                           {"names:phoneticFamilyName", "n7"},
                           // the first item's source is not set: no source key
                           {"names_2:prefixName", "n0"},
                           {"names_2:givenName", "n1"},
                           {"names_2:middleName", "n2"},
                           {"names_2:familyName", "n3"},
                           {"names_2:suffixName", "n4"},
                           {"names_2:phoneticGivenName", "n5"},
                           {"names_2:phoneticMiddleName", "n6"},
                           {"names_2:phoneticFamilyName", "n7"},
                           {"names_2:metadata:source:type", "PROFILE"}};
  EXPECT_EQ(body_of(l), expected);

  List b;
  Profile birthday(VELMORA_ACCOUNT_PROFILE_CATEGORY_BIRTHDAY);
  birthday.set(0x110, "1990").set(0x111, "12").set(0x112, "10").set(0x113, "1990-12-10");
  birthday.set(0x114, "solar");
  ASSERT_EQ(velmora_account_profile_set_item_source(birthday, 0x116, 0), 0);
  ASSERT_EQ(velmora_account_profile_list_append(b, birthday), 0);
  const Extras birthday_body = {{"resource", "birthdays"},
                                {"birthdays:date:year", "1990"},
                                {"birthdays:date:month", "12"},
                                {"birthdays:date:day", "10"},
                                {"birthdays:value", "1990-12-10"},
                                {"birthdays:type", "solar"},
                                {"birthdays:metadata:source:type", "ACCOUNT"}};
  EXPECT_EQ(body_of(b), birthday_body);
}

TEST_F(ProfileTest, TheSingleCategoriesComeFirstInTheirOrder) {
  const struct {
    int category;
    Extras body;
  } cases[] = {
      {3,
       {{"resource", "photos"},
        {"photos:url", "f0"},
        {"photos:createIndex", "f1"},
        {"photos:createTime", "f2"},
        {"photos:hash", "f3"},
        {"photos:metadata:source:type", "ACCOUNT"}}},
      {4,
       {{"resource", "organizations"},
        {"organizations:company", "f0"},
        {"organizations:department", "f1"},
        {"organizations:title", "f2"},
        {"organizations:metadata:source:type", "ACCOUNT"}}},
      {6,
       {{"resource", "statusMessages"},
        {"statusMessages:value", "f0"},
        {"statusMessages:metadata:source:type", "PROFILE"}}},
      {13,
       {{"resource", "healths"},
        {"healths:height", "f0"},
        {"healths:weight", "f1"},
        {"healths:activityLevel", "f2"},
        {"healths:metadata:source:type", "ACCOUNT"}}},
      {11,
       {{"resource", "webAddresses"},
        {"webAddresses:value", "f0"},
        {"webAddresses:key", "f1"},
        {"webAddresses:metadata:source:type", "PROFILE"}}},
  };
  for (const auto &c : cases) {
    List l;
    const va_profile_category_desc *d = va_profile_category(c.category);
    Profile p(c.category);
    for (int f = 0; f + 1 < d->string_count; ++f) p.set(d->item_base + f, "f" + std::to_string(f));
    ASSERT_EQ(velmora_account_profile_list_append(l, p), 0);
    // A later category in the list does not change what is sent.
    Profile event(VELMORA_ACCOUNT_PROFILE_CATEGORY_EVENT);
    event.set(VELMORA_ACCOUNT_PROFILE_ITEM_EVENT_VALUE, "e");
    if (c.category != 11) {
      ASSERT_EQ(velmora_account_profile_list_append(l, event), 0);
    }
    EXPECT_EQ(body_of(l), c.body) << d->log_word;
  }
}

TEST_F(ProfileTest, AnEmptyListAddsNoKeyAtAll) {
  List l;
  EXPECT_TRUE(body_of(l).empty());
  vtest::LogCapture log;
  EXPECT_EQ(va_profile_add_update_body(nullptr, l), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(HasCondition(log, "app_control == NULL"));
  app_control_h ac = nullptr;
  ASSERT_EQ(app_control_create(&ac), 0);
  EXPECT_EQ(va_profile_add_update_body(ac, nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(HasCondition(log, "list_h == NULL"));
  app_control_destroy(ac);
}

// ---- the port's records ----

TEST_F(ProfileTest, AListGoesToTheRecordsOfThePortAndBackFieldByField) {
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
    const va_profile_category_desc *d = va_profile_category(c);
    List l;
    ASSERT_EQ(velmora_account_profile_set_privacy(Profile(c).get(), 0, 1), 0);
    Profile p(c);
    ASSERT_EQ(velmora_account_profile_set_privacy(p, 0, 2), 0);
    for (int i = 0; i < d->limit; ++i) {
      for (int f = 0; f + 1 < d->string_count; ++f)
        p.set(d->item_base + f, std::to_string(i) + "." + std::to_string(f));
      if (d->has_source) {
        ASSERT_EQ(velmora_account_profile_set_item_source(p, d->item_base + d->string_count, i % 2),
                  0);
      }
      ASSERT_EQ(velmora_account_profile_list_append(l, p), 0);
    }
    ASSERT_EQ(va_profile_update_category(l), c);
    rpc_port_ProfileS_h record = va_profile_nidl_from_list(l, c);
    ASSERT_NE(record, nullptr);
    char *resource = nullptr;
    ASSERT_EQ(rpc_port_ProfileS_get_Resource(record, &resource), 0);
    EXPECT_STREQ(resource, d->resource);
    free(resource);

    List back;
    va_profile_list_from_nidl(back, record);
    EXPECT_EQ(back->count[c], d->limit) << d->log_word;
    EXPECT_EQ(back->privacy[c], 2) << d->log_word;
    for (int i = 0; i < d->limit; ++i) {
      void *item = va_profile_list_get_item(back, c, i);
      ASSERT_NE(item, nullptr);
      for (int f = 0; f + 1 < d->string_count; ++f)
        EXPECT_EQ(field(item, c, f), std::to_string(i) + "." + std::to_string(f)) << d->log_word;
      EXPECT_EQ(field(item, c, d->string_count - 1), "");  // verified never travels this way
      if (d->has_source) {
        EXPECT_EQ(*va_profile_item_source(item, c), i % 2) << d->log_word;
      }
    }
    for (int other = 0; other < VA_PROFILE_CATEGORY_COUNT; ++other)
      if (other != c) {
        EXPECT_EQ(back->count[other], 0) << d->log_word << " " << other;
      }
    rpc_port_ProfileS_destroy(record);
  }
}

TEST_F(ProfileTest, TheReaderStopsAtTheSlotsAndReadsSourceWords) {
  rpc_port_ProfileS_h record = nullptr;
  ASSERT_EQ(rpc_port_ProfileS_create(&record), 0);
  for (int i = 0; i < 60; ++i) {
    rpc_port_PhoneS_h phone = nullptr;
    rpc_port_PhoneS_create(&phone);
    rpc_port_PhoneS_set_Value(phone, ("p" + std::to_string(i)).c_str());
    rpc_port_ProfileS_add_PhoneList(record, phone);
    rpc_port_PhoneS_destroy(phone);
  }
  const char *sources[] = {"ACCOUNT", "PROFILE", ""};
  for (const char *s : sources) {
    rpc_port_NameS_h name = nullptr;
    rpc_port_NameS_create(&name);
    rpc_port_NameS_set_GivenName(name, s);
    if (*s) rpc_port_NameS_set_Source(name, s);
    rpc_port_ProfileS_add_NameList(record, name);
    rpc_port_NameS_destroy(name);
  }
  rpc_port_NicknameS_h nick = nullptr;
  rpc_port_NicknameS_create(&nick);
  rpc_port_NicknameS_set_Value(nick, "Ada");
  rpc_port_NicknameS_set_Verified(nick, "Y");
  rpc_port_ProfileS_set_Nickname(record, nick);
  rpc_port_NicknameS_destroy(nick);

  List l;
  va_profile_list_from_nidl(l, record);
  EXPECT_EQ(l->count[9], 50);
  EXPECT_EQ(field(va_profile_list_get_item(l, 9, 49), 9, 0), "p49");
  EXPECT_EQ(l->count[0], 2);  // two of three: NAME holds two
  EXPECT_EQ(*va_profile_item_source(va_profile_list_get_item(l, 0, 0), 0), 0);
  EXPECT_EQ(*va_profile_item_source(va_profile_list_get_item(l, 0, 1), 0), 1);
  EXPECT_EQ(l->count[2], 1);
  EXPECT_EQ(field(l->l_nickname, 2, 0), "Ada");
  EXPECT_EQ(field(l->l_nickname, 2, 1), "Y");
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c)
    EXPECT_EQ(l->privacy[c], VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN);  // no Privacy record
  EXPECT_EQ(va_profile_source_from_text(nullptr), 2);
  EXPECT_EQ(va_profile_source_from_text(""), 2);
  EXPECT_EQ(va_profile_source_from_text("elsewhere"), 1);
  rpc_port_ProfileS_destroy(record);
}
