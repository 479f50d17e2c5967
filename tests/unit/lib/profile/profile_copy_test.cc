// SPDX-License-Identifier: Apache-2.0
// Velmora tests: copying one category of the account's received profile into a list, and walking a
// list.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "account_record.h"
#include "profile_fixture.hh"

using namespace ptest;

namespace {

// An account handle whose link is a list the test fills.
class CopyTest : public ProfileTest {
 protected:
  void SetUp() override {
    ProfileTest::SetUp();
    ASSERT_EQ(velmora_account_create(&account_), VELMORA_ACCOUNT_ERROR_NONE);
    account_->link = va_profile_list_new();
    ASSERT_NE(account_->link, nullptr);
  }
  void TearDown() override { velmora_account_destroy(account_); }  // releases the link

  velmora_account_profile_list_s *link() { return account_->link; }
  // Stores a list item of `category` at `index` with the given strings in field order.
  void put(int category, int index, const std::vector<const char *> &strings, int source = -1) {
    void *item = va_profile_list_get_item(link(), category, index);
    if (!item) {
      item = va_profile_item_new(category);
      ASSERT_TRUE(va_profile_list_set_item(link(), category, index, item));
    }
    for (size_t f = 0; f < strings.size(); ++f)
      if (strings[f])
        *va_profile_item_str(item, category, static_cast<int>(f)) = strdup(strings[f]);
    if (source >= 0) *va_profile_item_source(item, category) = source;
  }

  velmora_account_h account_ = nullptr;
};

}  // namespace

TEST_F(CopyTest, WithoutALinkThereIsNoData) {
  va_profile_list_release(account_->link);
  account_->link = nullptr;
  List l;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_profile_get_profile_list(account_, 2, l),
            VELMORA_ACCOUNT_ERROR_NO_DATA);
  EXPECT_TRUE(HasInfo(log, "velmora_account_profile_get_profile_list [category : 2]"));
  EXPECT_TRUE(HasInfo(log, "VELMORA_ACCOUNT_ERROR_NO_DATA [account handle]"));
}

TEST_F(CopyTest, NullArgumentsAndABadCategoryAreRefused) {
  List l;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_profile_get_profile_list(nullptr, 2, l),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(HasCondition(log, "handle == NULL"));
  EXPECT_EQ(velmora_account_profile_get_profile_list(account_, 2, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(HasCondition(log, "ll == NULL"));
  log.clear();
  EXPECT_EQ(velmora_account_profile_get_profile_list(account_, 14, l),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(HasInfo(log, "Invalid profile category [14]"));
}

TEST_F(CopyTest, ASingleCategoryIsCopiedWithItsLine) {
  const struct {
    int category;
    const char *line;
  } cases[] = {{2, "get profile list [NICKNAME]"},     {3, "get profile list [PHOTO]"},
               {4, "get profile list [ORGANIZATION]"}, {5, "get profile list [GENDER]"},
               {6, "get_profile list [STATUS]"},       {7, "get prifile list [NOTE]"},
               {13, "get profile list [HEALTH]"}};
  for (const auto &c : cases) {
    put(c.category, 0, {"first", "second"});
    link()->count[c.category] = 1;
    link()->privacy[c.category] = 2;
    List l;
    vtest::LogCapture log;
    ASSERT_EQ(velmora_account_profile_get_profile_list(account_, c.category, l),
              VELMORA_ACCOUNT_ERROR_NONE);
    EXPECT_TRUE(HasInfo(log, c.line));
    EXPECT_EQ(l->count[c.category], 1);
    EXPECT_EQ(l->privacy[c.category], 2);
    void *item = va_profile_list_slot(l, c.category);
    EXPECT_EQ(field(item, c.category, 0), "first");
    EXPECT_EQ(field(item, c.category, 1), "second");
    EXPECT_NE(*va_profile_item_str(item, c.category, 0),
              *va_profile_item_str(va_profile_list_slot(link(), c.category), c.category, 0));
  }
}

TEST_F(CopyTest, ANicknameWithOnlyAPrivacyIsNoneWithCountZero) {
  const struct {
    int category;
    const char *privacy_only, *no_data;
  } cases[] = {
      {2, "NICKNAME[ 0 ], Privacy only", "VELMORA_ACCOUNT_ERROR_NO_DATA [NICKNAME]"},
      {3, "PHOTO[ 0 ], Privacy only", "VELMORA_ACCOUNT_ERROR_NO_DATA [PHOTO]"},
      {4, "ORGANIZATION[ 0 ], Privacy only", "VELMORA_ACCOUNT_ERROR_NO_DATA [ORGANIZATION]"},
      {5, "GENDER[ 0 ], Privacy only", "VELMORA_ACCOUNT_ERROR_NO_DATA [GENDER]"},
      {6, "STATUS [ 0 ], Privacy only", "VELMORA_ACCOUNT_ERROR_NO_DATA [STATUS]"},
      {7, "NOTE[ 0 ], Privacy only", "VELMORA_ACCOUNT_ERROR_NO_DATA [NOTE]"},
      {13, "HEALTH[ 0 ], Privacy only", "VELMORA_ACCOUNT_ERROR_NO_DATA [HEALTH]"}};
  for (const auto &c : cases) {
    List l;
    // Neither item nor privacy: no data, and the list's record of the category goes.
    {
      vtest::LogCapture log;
      EXPECT_EQ(velmora_account_profile_get_profile_list(account_, c.category, l),
                VELMORA_ACCOUNT_ERROR_NO_DATA);
      EXPECT_TRUE(HasInfo(log, c.no_data));
      EXPECT_EQ(va_profile_list_slot(l, c.category), nullptr);
    }
    link()->privacy[c.category] = 1;
    List l2;
    vtest::LogCapture log;
    EXPECT_EQ(velmora_account_profile_get_profile_list(account_, c.category, l2),
              VELMORA_ACCOUNT_ERROR_NONE);
    EXPECT_TRUE(HasInfo(log, c.privacy_only));
    EXPECT_EQ(l2->count[c.category], 0);
    EXPECT_EQ(l2->privacy[c.category], 1);
  }
}

TEST_F(CopyTest, AListCategoryIsCopiedItemByItem) {
  const char *words[] = {"NAME",  "BIRTHDAY",  nullptr, nullptr, nullptr, nullptr, nullptr,
                         nullptr, "MESSENGER", "PHONE", "EMAIL", "WEB",   "EVENT"};
  for (int c : {0, 1, 8, 9, 10, 11, 12}) {
    const int n = c <= 1 ? 2 : 50;
    for (int i = 0; i < n; ++i) put(c, i, {("a" + std::to_string(i)).c_str(), "b"});
    link()->count[c] = n;
    List l;
    vtest::LogCapture log;
    ASSERT_EQ(velmora_account_profile_get_profile_list(account_, c, l), VELMORA_ACCOUNT_ERROR_NONE);
    EXPECT_TRUE(HasInfo(log, std::string(words[c]) + " LIST [ " + std::to_string(n) + " ]"));
    EXPECT_EQ(l->count[c], n);
    EXPECT_EQ(l->privacy[c], VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN);
    for (int i = 0; i < n; ++i) {
      void *item = va_profile_list_get_item(l, c, i);
      ASSERT_NE(item, nullptr) << c << " " << i;
      EXPECT_EQ(field(item, c, 0), "a" + std::to_string(i));
      EXPECT_EQ(field(item, c, 1), "b");
    }
  }
}

TEST_F(CopyTest, AnEmptyListCategoryIsNoDataUnlessAPrivacyIsKnown) {
  List l;
  {
    vtest::LogCapture log;
    EXPECT_EQ(velmora_account_profile_get_profile_list(account_, 9, l),
              VELMORA_ACCOUNT_ERROR_NO_DATA);
    EXPECT_TRUE(HasInfo(log, "PHONE LIST [ 0 ]"));
    EXPECT_TRUE(HasInfo(log, "VELMORA_ACCOUNT_ERROR_NO_DATA [PHONE]"));
  }
  link()->privacy[9] = 0;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_profile_get_profile_list(account_, 9, l), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(l->count[9], 0);
  EXPECT_EQ(l->privacy[9], 0);
  EXPECT_EQ(log.count("VELMORA_ACCOUNT_ERROR_NO_DATA [PHONE]"), 0);
}

TEST_F(CopyTest, AMissingItemStopsTheCopyWithNoneKeepingTheCount) {
  // As a reply with only names_2:givenName leaves it: count 2, item 0 absent.
  put(0, 1, {nullptr, "Second"});
  link()->count[0] = 2;
  List l;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_profile_get_profile_list(account_, 0, l), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(HasCondition(log, "account->link->l_name[i] == NULL"));
  EXPECT_EQ(l->count[0], 2);
  EXPECT_EQ(va_profile_list_get_item(l, 0, 0), nullptr);
  EXPECT_EQ(va_profile_list_get_item(l, 0, 1), nullptr);
}

TEST_F(CopyTest, BirthdaysAreCopiedWithoutTheirType) {
  put(1, 0, {"1990", "12", "10", "1990-12-10", "lunar", "Y"}, 1);
  link()->count[1] = 1;
  List l;
  vtest::LogCapture log;
  ASSERT_EQ(velmora_account_profile_get_profile_list(account_, 1, l), VELMORA_ACCOUNT_ERROR_NONE);
  void *b = va_profile_list_get_item(l, 1, 0);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(field(b, 1, 0), "1990");
  EXPECT_EQ(field(b, 1, 1), "12");
  EXPECT_EQ(field(b, 1, 2), "10");
  EXPECT_EQ(field(b, 1, 3), "1990-12-10");
  EXPECT_EQ(field(b, 1, 4), "");  // no type
  EXPECT_EQ(field(b, 1, 5), "Y");
  EXPECT_EQ(*va_profile_item_source(b, 1), 1);
  EXPECT_TRUE(HasInfo(log, "source_type 0 th [1, 1]"));
}

TEST_F(CopyTest, SourcesAboveProfileAreCopiedAsNotSet) {
  put(0, 0, {"a"}, 0);
  put(0, 1, {"b"}, 7);
  link()->count[0] = 2;
  List l;
  vtest::LogCapture log;
  ASSERT_EQ(velmora_account_profile_get_profile_list(account_, 0, l), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(*va_profile_item_source(va_profile_list_get_item(l, 0, 0), 0), 0);
  EXPECT_EQ(*va_profile_item_source(va_profile_list_get_item(l, 0, 1), 0), 2);
  EXPECT_TRUE(HasInfo(log, "source_type 0 th [0, 0]"));
  EXPECT_TRUE(HasInfo(log, "source_type 1 th [7, 2]"));
}

TEST_F(CopyTest, TheCopyLeavesTheLinkAlone) {
  put(9, 0, {"+1"});
  link()->count[9] = 1;
  velmora_account_profile_list_s *before = link();
  List l;
  ASSERT_EQ(velmora_account_profile_get_profile_list(account_, 9, l), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(link(), before);
  EXPECT_EQ(field(va_profile_list_get_item(link(), 9, 0), 9, 0), "+1");
}

// ---- the list walk ----

namespace {

struct Call {
  int result, category, privacy;
  std::string first_field;  // "" when the profile holds no item
  bool has_item;
};

bool record(int result, velmora_account_profile_h profile, int category, void *user_data) {
  auto *calls = static_cast<std::vector<Call> *>(user_data);
  void *item = va_profile_get_item(profile, category);
  calls->push_back(
      {result, category, profile->privacy, item ? field(item, category, 0) : "", item != nullptr});
  char *value = nullptr;
  // The view answers the accessors like any profile.
  if (item &&
      velmora_account_profile_get_item_str(profile, va_profile_category(category)->item_base,
                                           &value) == VELMORA_ACCOUNT_ERROR_NONE)
    free(value);
  return true;
}

}  // namespace

TEST_F(ProfileTest, WalkingAFreshListMakesNoCall) {
  List l;
  std::vector<Call> calls;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_profile_list_foreach(l, record, &calls), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(calls.empty());
  EXPECT_TRUE(HasInfo(log, "[velmora_account_profile_list_foreach]"));
  EXPECT_TRUE(HasInfo(log, "[size = 0_0_0_0_0  0_0_0_0_0  0_0_0_0]"));
}

TEST_F(ProfileTest, TheWalkVisitsItemsInCategoryOrderAndPrivacyOnlyEntries) {
  List l;
  Profile phone(VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE);
  phone.set(VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_VALUE, "p1");
  ASSERT_EQ(velmora_account_profile_list_append(l, phone), VELMORA_ACCOUNT_ERROR_NONE);
  phone.set(VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_VALUE, "p2");
  ASSERT_EQ(velmora_account_profile_list_append(l, phone), VELMORA_ACCOUNT_ERROR_NONE);
  Profile nick(VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME);
  nick.set(VELMORA_ACCOUNT_PROFILE_ITEM_NICKNAME_VALUE, "n");
  ASSERT_EQ(velmora_account_profile_list_append(l, nick), VELMORA_ACCOUNT_ERROR_NONE);
  l->privacy[13] = 0;  // HEALTH: a privacy, no item
  std::vector<Call> calls;
  vtest::LogCapture log;
  ASSERT_EQ(velmora_account_profile_list_foreach(l, record, &calls), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(HasInfo(log, "[size = 0_0_1_0_0  0_0_0_0_2  0_0_0_0]"));
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[0].category, 2);
  EXPECT_EQ(calls[0].first_field, "n");
  EXPECT_EQ(calls[1].category, 9);
  EXPECT_EQ(calls[1].first_field, "p1");
  EXPECT_EQ(calls[2].first_field, "p2");
  EXPECT_EQ(calls[3].category, 13);
  EXPECT_FALSE(calls[3].has_item);
  EXPECT_EQ(calls[3].privacy, 0);
  for (const Call &c : calls) EXPECT_EQ(c.result, VELMORA_ACCOUNT_ERROR_NONE);
  // Between walks the view points at nothing.
  ASSERT_NE(l->cb, nullptr);
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c)
    EXPECT_EQ(va_profile_get_item(l->cb, c), nullptr);
}

TEST_F(ProfileTest, ACallbackReturningFalseEndsTheWalkWithNone) {
  List l;
  Profile phone(VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE);
  phone.set(VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_VALUE, "p");
  for (int i = 0; i < 3; ++i) ASSERT_EQ(velmora_account_profile_list_append(l, phone), 0);
  int calls = 0;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_profile_list_foreach(
                l,
                [](int, velmora_account_profile_h, int, void *n) {
                  ++*static_cast<int *>(n);
                  return false;
                },
                &calls),
            VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(HasInfo(log, "break out of the loop"));
}

TEST_F(ProfileTest, TheWalkRefusesNullArguments) {
  List l;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_profile_list_foreach(nullptr, record, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(HasCondition(log, "list == NULL"));
  EXPECT_EQ(velmora_account_profile_list_foreach(l, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(HasCondition(log, "callback == NULL"));
}
