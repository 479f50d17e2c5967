// SPDX-License-Identifier: Apache-2.0
// Velmora tests: account records in memory (fields, custom values, NULL arguments).
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "account_store.h"

namespace {

struct Account {
  account_h h = nullptr;
  Account() { EXPECT_EQ(account_create(&h), ACCOUNT_ERROR_NONE); }
  ~Account() { account_destroy(h); }
};

std::string take(char *s) {
  std::string v = s ? s : "(null)";
  free(s);
  return v;
}

}  // namespace

TEST(StoreRecord, FieldsReadBackAsCopies) {
  Account a;
  ASSERT_EQ(account_set_user_name(a.h, "alice@velmora.dev"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(account_set_package_name(a.h, "dev.velmora.account"), ACCOUNT_ERROR_NONE);
  char *v = nullptr;
  ASSERT_EQ(account_get_user_name(a.h, &v), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(take(v), "alice@velmora.dev");
  ASSERT_EQ(account_get_package_name(a.h, &v), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(take(v), "dev.velmora.account");
}

TEST(StoreRecord, UnsetUserNameReadsAsNull) {
  Account a;
  char *v = reinterpret_cast<char *>(0x1);
  ASSERT_EQ(account_get_user_name(a.h, &v), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(v, nullptr);
}

TEST(StoreRecord, MissingCustomKeyIsRecordNotFound) {
  Account a;
  char *v = nullptr;
  EXPECT_EQ(account_get_custom(a.h, "default", &v), ACCOUNT_ERROR_RECORD_NOT_FOUND);
  EXPECT_EQ(v, nullptr);
  ASSERT_EQ(account_set_custom(a.h, "default", "true"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(account_get_custom(a.h, "default", &v), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(take(v), "true");
  EXPECT_EQ(account_get_custom(a.h, "Default", &v), ACCOUNT_ERROR_RECORD_NOT_FOUND);
}

TEST(StoreRecord, SettingACustomKeyAgainReplacesItsValue) {
  Account a;
  ASSERT_EQ(account_set_custom(a.h, "default", "true"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(account_set_custom(a.h, "default", "false"), ACCOUNT_ERROR_NONE);
  char *v = nullptr;
  ASSERT_EQ(account_get_custom(a.h, "default", &v), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(take(v), "false");
}

TEST(StoreRecord, NullArgumentsAreInvalidParameter) {
  Account a;
  char *v = nullptr;
  EXPECT_EQ(account_create(nullptr), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_destroy(nullptr), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_set_user_name(nullptr, "x"), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_set_user_name(a.h, nullptr), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_set_package_name(a.h, nullptr), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_set_custom(a.h, nullptr, "v"), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_set_custom(a.h, "k", nullptr), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_get_user_name(a.h, nullptr), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_get_user_name(nullptr, &v), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_get_package_name(nullptr, &v), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_get_custom(a.h, nullptr, &v), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_get_custom(a.h, "k", nullptr), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_insert_to_db(nullptr, nullptr), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_update_to_db_by_user_name(nullptr, "u", "p"), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_update_to_db_by_user_name(a.h, nullptr, "p"), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_update_to_db_by_user_name(a.h, "u", nullptr), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_delete_from_db_by_user_name(nullptr, "p"), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_delete_from_db_by_user_name("u", nullptr), ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(v, nullptr);
}
