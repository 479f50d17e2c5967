// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent's profile keys: replies written, update bodies and privacy read.
#include "app_control/profile_keys.hh"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "app_control.h"
#include "errors.hh"
#include "profile_internal.h"
#include "profile_record.h"

using vagent::ProfileChange;
using vagent::ProfileItem;
using vagent::UserProfile;
using vagent::appcontrol::Extras;

namespace {

ProfileItem item(int category, const std::string &tag, int source = vagent::kSourceUnset) {
  ProfileItem it = vagent::empty_profile_item(category);
  for (size_t f = 0; f + 1 < it.fields.size(); ++f) it.fields[f] = tag + std::to_string(f);
  it.source = source;
  return it;
}

// What the library's update body makes of a list holding `items` of `category`.
Extras library_body(int category, const std::vector<ProfileItem> &items) {
  velmora_account_profile_list_s *list = va_profile_list_new();
  const va_profile_category_desc *d = va_profile_category(category);
  for (size_t i = 0; i < items.size(); ++i) {
    void *to = va_profile_list_item_at(list, category, static_cast<int>(i), nullptr);
    for (int f = 0; f < d->string_count; ++f)
      if (!items[i].fields[f].empty())
        *va_profile_item_str(to, category, f) = strdup(items[i].fields[f].c_str());
    if (d->has_source) *va_profile_item_source(to, category) = items[i].source;
  }
  list->count[category] = static_cast<int>(items.size());
  app_control_h ac = nullptr;
  app_control_create(&ac);
  EXPECT_EQ(va_profile_add_update_body(ac, list), 0);
  Extras out;
  app_control_foreach_extra_data(
      ac,
      [](app_control_h a, const char *key, void *data) {
        char *value = nullptr;
        app_control_get_extra_data(a, key, &value);
        static_cast<Extras *>(data)->emplace_back(key, value);
        free(value);
        return true;
      },
      &out);
  app_control_destroy(ac);
  va_profile_list_release(list);
  return out;
}

}  // namespace

TEST(AgentProfileKeys, TheLibrarysBodyOf50PhonesReadsBackInOrder) {
  std::vector<ProfileItem> phones;
  for (int i = 0; i < 50; ++i) phones.push_back(item(9, "p" + std::to_string(i) + "."));
  const Extras body = library_body(9, phones);
  auto change = vagent::appcontrol::read_update_body(body);
  ASSERT_TRUE(change.ok()) << change.status().describe();
  ASSERT_EQ(change->items.count(9), 1u);
  EXPECT_EQ(change->items.at(9), phones);  // the tenth item's "_1" is its own item, in its place
}

TEST(AgentProfileKeys, EveryCategoryOfTheLibrarysBodiesReadsBack) {
  for (int c = 0; c < vagent::kProfileCategories; ++c) {
    const va_profile_category_desc *d = va_profile_category(c);
    std::vector<ProfileItem> items;
    for (int i = 0; i < d->limit; ++i)
      items.push_back(
          item(c, std::to_string(i) + ".", d->has_source ? i % 2 : vagent::kSourceUnset));
    auto change = vagent::appcontrol::read_update_body(library_body(c, items));
    ASSERT_TRUE(change.ok()) << d->log_word << " " << change.status().describe();
    EXPECT_EQ(change->items.at(c), items) << d->log_word;
  }
}

TEST(AgentProfileKeys, BadBodiesAreRefused) {
  const struct {
    const char *what;
    Extras body;
    int code;
  } cases[] = {
      {"no resource", {{"phoneNumbers:value", "1"}}, vagent::errc::kInvalidParameter},
      {"unknown resource", {{"resource", "planets"}}, vagent::errc::kInvalidParameter},
      {"another category",
       {{"resource", "phoneNumbers"}, {"emailAddresses:value", "x"}},
       vagent::errc::kInvalidParameter},
      {"unknown field",
       {{"resource", "notes"}, {"notes:colour", "x"}},
       vagent::errc::kInvalidParameter},
      {"verified", {{"resource", "notes"}, {"notes:verified", "Y"}}, vagent::errc::kReadOnlyField},
      {"bad source",
       {{"resource", "names"}, {"names:metadata:source:type", "SERVER"}},
       vagent::errc::kInvalidParameter},
      {"three names",
       {{"resource", "names"},
        {"names:givenName", "a"},
        {"names_2:givenName", "b"},
        {"names_3:givenName", "c"}},
       vagent::errc::kProfileLimit},
      {"two nicknames",
       {{"resource", "nicknames"}, {"nicknames:value", "a"}, {"nicknames_2:value", "b"}},
       vagent::errc::kProfileLimit},
      {"a signed number",
       {{"resource", "phoneNumbers"}, {"phoneNumbers_-2:value", "a"}},
       vagent::errc::kInvalidParameter},
  };
  for (const auto &c : cases) {
    auto change = vagent::appcontrol::read_update_body(c.body);
    EXPECT_EQ(change.code(), c.code) << c.what;
  }
}

TEST(AgentProfileKeys, PrivacyBodiesTakeZeroToTwo) {
  auto change = vagent::appcontrol::read_privacy_body(
      {{"login_id", "x"}, {"category", "privacy"}, {"names", "0"}, {"healths", "2"}});
  ASSERT_TRUE(change.ok());
  EXPECT_EQ(change->privacy, (std::map<int, int>{{0, 0}, {13, 2}}));
  EXPECT_EQ(vagent::appcontrol::read_privacy_body({{"names", "3"}}).code(),
            vagent::errc::kInvalidParameter);
  EXPECT_EQ(vagent::appcontrol::read_privacy_body({{"names", "-1"}}).code(),
            vagent::errc::kInvalidParameter);
  EXPECT_EQ(vagent::appcontrol::read_privacy_body({{"login_id", "x"}}).code(),
            vagent::errc::kInvalidParameter);
}

TEST(AgentProfileKeys, ARepliedProfileIsWhatTheLibraryParses) {
  UserProfile profile;
  for (int c = 0; c < vagent::kProfileCategories; ++c) {
    const va_profile_category_desc *d = va_profile_category(c);
    for (int i = 0; i < d->limit; ++i) {
      ProfileItem it =
          item(c, std::to_string(i) + ".", d->has_source ? i % 2 : vagent::kSourceUnset);
      it.fields.back() = i % 2 ? "Y" : "";  // verified, as the agent may set it
      profile.categories[c].items.push_back(it);
    }
    profile.categories[c].privacy = c % 3;
  }
  Extras extras;
  vagent::appcontrol::put_profile(&extras, profile);
  velmora_account_profile_list_s *list = va_profile_list_new();
  for (const auto &[k, v] : extras) va_profile_parse_extra(list, k.c_str(), v.c_str());
  for (int c = 0; c < vagent::kProfileCategories; ++c) {
    const va_profile_category_desc *d = va_profile_category(c);
    EXPECT_EQ(list->privacy[c], c % 3);
    ASSERT_EQ(list->count[c], d->limit);
    for (int i = 0; i < d->limit; ++i) {
      void *got = va_profile_list_get_item(list, c, i);
      ASSERT_NE(got, nullptr);
      const ProfileItem &want = profile.categories[c].items[i];
      for (int f = 0; f < d->string_count; ++f) {
        const char *value = *va_profile_item_str(got, c, f);
        EXPECT_EQ(value ? value : "", want.fields[f]) << d->log_word << " " << i << " " << f;
      }
      if (d->has_source) {
        EXPECT_EQ(*va_profile_item_source(got, c), want.source);
      }
    }
  }
  va_profile_list_release(list);
}
