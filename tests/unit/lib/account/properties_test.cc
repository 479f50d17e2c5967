// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the account handle's string, integer and boolean properties.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "account_record.h"
#include "dlog.h"
#include "log_capture.hh"
#include "platform_root.hh"
#include "velmora_account.h"

using vtest::kVaTag;

namespace {

class AccountProperties : public ::testing::Test {
 protected:
  void SetUp() override {
    root_.install_agent(5);
    ASSERT_EQ(velmora_account_create(&h_), 0);
  }
  void TearDown() override {
    if (h_) {
      EXPECT_EQ(velmora_account_destroy(h_), 0);
    }
  }
  vtest::PlatformRoot root_;
  velmora_account_h h_ = nullptr;
};

// The condition logged when a string property is not set, by id.
const char *const kUnsetCondition[21] = {
    "data->access_token == NULL",
    "data->api_server_url == NULL",
    "data->authcode == NULL",
    "data->auth_server_url == NULL",
    "data->client_id == NULL",
    "data->client_secret == NULL",
    "data->cc == NULL",
    "data->device_unique_code == NULL",
    "data->expired_access_token == NULL",
    "data->login_id == NULL",
    "data->mcc == NULL",
    "data->password == NULL",
    "data->refresh_token == NULL",
    "data->scope == NULL",
    "data->user_id == NULL",
    "data->signin_app_message == NULL",
    "data->customizedservice == NULL",
    "data->id_token == NULL",
    "data->authentication_token == NULL",
    "data->authentication_code == NULL",
    "data->partner_client_id == NULL",
};

}  // namespace

// ---- string properties ----

TEST_F(AccountProperties, NewHandleHasNoStringProperty) {
  for (int p = 0; p < 21; ++p) {
    vtest::LogCapture log;
    char *value = nullptr;
    EXPECT_EQ(velmora_account_get_property_str(h_, p, &value), VELMORA_ACCOUNT_ERROR_NO_DATA) << p;
    EXPECT_EQ(value, nullptr);
    EXPECT_TRUE(log.has(kVaTag, DLOG_INFO,
                        "[velmora_account_get_property_str] property : " + std::to_string(p)));
    EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, std::string("(") + kUnsetCondition[p] + ")"))
        << log.dump();
  }
}

TEST_F(AccountProperties, EveryStringPropertyHasItsOwnField) {
  for (int p = 0; p < 21; ++p)
    ASSERT_EQ(velmora_account_set_property_str(h_, p, ("value-" + std::to_string(p)).c_str()), 0);
  for (int p = 0; p < 21; ++p) {
    char *value = nullptr;
    ASSERT_EQ(velmora_account_get_property_str(h_, p, &value), 0) << p;
    EXPECT_EQ(std::string(value), "value-" + std::to_string(p));
    free(value);
  }
  // Spot checks of the id-to-field mapping.
  EXPECT_STREQ(h_->access_token, "value-0");
  EXPECT_STREQ(h_->cc, "value-6");
  EXPECT_STREQ(h_->expired_access_token, "value-8");
  EXPECT_STREQ(h_->login_id, "value-9");
  EXPECT_STREQ(h_->customizedservice, "value-16");
  EXPECT_STREQ(h_->partner_client_id, "value-20");
}

TEST_F(AccountProperties, SetStoresACopyAndGetHandsOutACopy) {
  std::string mine = "scope-a";
  ASSERT_EQ(velmora_account_set_property_str(h_, VELMORA_ACCOUNT_PROPERTY_SCOPE, mine.c_str()), 0);
  mine[0] = 'X';
  char *value = nullptr;
  ASSERT_EQ(velmora_account_get_property_str(h_, VELMORA_ACCOUNT_PROPERTY_SCOPE, &value), 0);
  EXPECT_STREQ(value, "scope-a");
  EXPECT_NE(value, h_->scope);
  free(value);
}

TEST_F(AccountProperties, SetReplacesTheOldValue) {
  ASSERT_EQ(velmora_account_set_property_str(h_, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "one"), 0);
  ASSERT_EQ(velmora_account_set_property_str(h_, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "two"), 0);
  EXPECT_STREQ(h_->login_id, "two");
}

TEST_F(AccountProperties, EmptyStringIsAValue) {
  ASSERT_EQ(velmora_account_set_property_str(h_, VELMORA_ACCOUNT_PROPERTY_MCC, ""), 0);
  char *value = nullptr;
  ASSERT_EQ(velmora_account_get_property_str(h_, VELMORA_ACCOUNT_PROPERTY_MCC, &value), 0);
  EXPECT_STREQ(value, "");
  free(value);
}

TEST_F(AccountProperties, SetStringWithIdTwentyOneIsRefusedWithItsLine) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_set_property_str(h_, 21, "x"), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_set_property_str] property : 21"));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "INVALID_PARAMETER [type : 21]")) << log.dump();
}

TEST_F(AccountProperties, GetStringWithIdTwentyOneIsRefusedWithoutThatLine) {
  vtest::LogCapture log;
  char *value = nullptr;
  EXPECT_EQ(velmora_account_get_property_str(h_, 21, &value),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(log.count("INVALID_PARAMETER [type : 21]"), 0) << log.dump();
  ASSERT_EQ(log.lines().size(), 1u) << log.dump();  // only the entry line
}

TEST_F(AccountProperties, NegativeStringIdsAreRefused) {
  char *value = nullptr;
  EXPECT_EQ(velmora_account_get_property_str(h_, -1, &value),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(velmora_account_set_property_str(h_, -1, "x"), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(velmora_account_unset_property_str(h_, -1), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
}

TEST_F(AccountProperties, StringAccessorsRefuseNullArguments) {
  vtest::LogCapture log;
  char *value = nullptr;
  EXPECT_EQ(velmora_account_get_property_str(nullptr, 0, &value),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(handle == NULL)")) << log.dump();
  log.clear();
  EXPECT_EQ(velmora_account_get_property_str(h_, 0, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(value == NULL)")) << log.dump();
  log.clear();
  EXPECT_EQ(velmora_account_set_property_str(nullptr, 0, "x"),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(handle == NULL)")) << log.dump();
  log.clear();
  EXPECT_EQ(velmora_account_set_property_str(h_, 0, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(value == NULL)")) << log.dump();
  log.clear();
  EXPECT_EQ(velmora_account_unset_property_str(nullptr, 0),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(handle == NULL)")) << log.dump();
}

TEST_F(AccountProperties, FailedSetLeavesTheValue) {
  ASSERT_EQ(velmora_account_set_property_str(h_, VELMORA_ACCOUNT_PROPERTY_SCOPE, "kept"), 0);
  EXPECT_NE(velmora_account_set_property_str(h_, VELMORA_ACCOUNT_PROPERTY_SCOPE, nullptr), 0);
  EXPECT_STREQ(h_->scope, "kept");
}

TEST_F(AccountProperties, UnsetClearsAString) {
  ASSERT_EQ(velmora_account_set_property_str(h_, VELMORA_ACCOUNT_PROPERTY_SCOPE, "s"), 0);
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_unset_property_str(h_, VELMORA_ACCOUNT_PROPERTY_SCOPE), 0);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_unset_property_str]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_unset_property_str] property : 13"));
  EXPECT_EQ(log.count("Unset LOGIN_ID"), 0);
  EXPECT_EQ(h_->scope, nullptr);
}

TEST_F(AccountProperties, UnsetOfAnUnsetPropertySucceeds) {
  EXPECT_EQ(velmora_account_unset_property_str(h_, VELMORA_ACCOUNT_PROPERTY_PASSWORD), 0);
}

TEST_F(AccountProperties, UnsetLoginIdSaysSo) {
  ASSERT_EQ(velmora_account_set_property_str(h_, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me"), 0);
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_unset_property_str(h_, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), 0);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "Unset LOGIN_ID")) << log.dump();
  char *value = nullptr;
  EXPECT_EQ(velmora_account_get_property_str(h_, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, &value),
            VELMORA_ACCOUNT_ERROR_NO_DATA);
}

TEST_F(AccountProperties, UnsetWithIdTwentyOneIsRefusedWithItsLine) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_unset_property_str(h_, 21), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "INVALID_PARAMETER [type : 21]")) << log.dump();
}

TEST_F(AccountProperties, UnsetFreesAnUnreleasedField) {
  // Unset releases the fields destroy leaves alone.
  ASSERT_EQ(
      velmora_account_set_property_str(h_, VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN, "t"), 0);
  EXPECT_EQ(velmora_account_unset_property_str(h_, VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN),
            0);
  EXPECT_EQ(h_->authentication_token, nullptr);
}

// ---- integer properties ----

TEST_F(AccountProperties, NewHandleHasNoIntegerProperty) {
  for (int p = 0; p < 3; ++p) {
    int value = 42;
    EXPECT_EQ(velmora_account_get_property_int(h_, p, &value), VELMORA_ACCOUNT_ERROR_NO_DATA) << p;
    EXPECT_EQ(value, 42);
  }
}

TEST_F(AccountProperties, IntegerPropertiesMapToTheirFields) {
  vtest::LogCapture log;
  ASSERT_EQ(velmora_account_set_property_int(
                h_, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN, 10),
            0);
  ASSERT_EQ(velmora_account_set_property_int(
                h_, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_ISSUE_TIME, 20),
            0);
  ASSERT_EQ(velmora_account_set_property_int(h_, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, 30), 0);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_set_property_int]")) << log.dump();
  EXPECT_EQ(h_->access_token_expires_in, 10);
  EXPECT_EQ(h_->access_token_issue_time, 20);
  EXPECT_EQ(h_->api_timeout, 30);
  EXPECT_EQ(h_->tnc_status, 0);
  int value = 0;
  EXPECT_EQ(velmora_account_get_property_int(h_, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, &value),
            0);
  EXPECT_EQ(value, 30);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_get_property_int]")) << log.dump();
}

TEST_F(AccountProperties, ZeroOrNegativeIntegerReadsBackAsNoData) {
  int value = 0;
  ASSERT_EQ(velmora_account_set_property_int(h_, 0, 0), 0);
  EXPECT_EQ(velmora_account_get_property_int(h_, 0, &value), VELMORA_ACCOUNT_ERROR_NO_DATA);
  ASSERT_EQ(velmora_account_set_property_int(h_, 1, -5), 0);
  EXPECT_EQ(h_->access_token_issue_time, -5);  // stored as given
  EXPECT_EQ(velmora_account_get_property_int(h_, 1, &value), VELMORA_ACCOUNT_ERROR_NO_DATA);
  ASSERT_EQ(velmora_account_set_property_int(h_, 1, 1), 0);
  EXPECT_EQ(velmora_account_get_property_int(h_, 1, &value), 0);
  EXPECT_EQ(value, 1);
}

TEST_F(AccountProperties, UnknownIntegerIdsAreRefused) {
  int value = 0;
  EXPECT_EQ(velmora_account_get_property_int(h_, 3, &value),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(velmora_account_set_property_int(h_, 3, 1), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(velmora_account_set_property_int(h_, -1, 1), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
}

TEST_F(AccountProperties, IntegerAccessorsRefuseNullArguments) {
  vtest::LogCapture log;
  int value = 0;
  EXPECT_EQ(velmora_account_get_property_int(nullptr, 0, &value),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(handle == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_get_property_int(h_, 0, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(value == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_set_property_int(nullptr, 0, 1),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
}

// ---- boolean properties ----

TEST_F(AccountProperties, NewHandleHasNoBooleanProperty) {
  for (int p = 0; p < 5; ++p) {
    bool value = true;
    EXPECT_EQ(velmora_account_get_property_bool(h_, p, &value), VELMORA_ACCOUNT_ERROR_NO_DATA) << p;
  }
}

TEST_F(AccountProperties, FalseReadsBackAsFalseNotNoData) {
  ASSERT_EQ(
      velmora_account_set_property_bool(h_, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, false),
      0);
  bool value = true;
  EXPECT_EQ(velmora_account_get_property_bool(h_, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER,
                                              &value),
            0);
  EXPECT_FALSE(value);
}

TEST_F(AccountProperties, BooleanIdsMapToTheirFieldsOutOfStorageOrder) {
  ASSERT_EQ(
      velmora_account_set_property_bool(h_, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, true),
      0);
  EXPECT_EQ(h_->request_to_server, 1);
  ASSERT_EQ(velmora_account_set_property_bool(
                h_, VELMORA_ACCOUNT_PROPERTY_BOOL_REGISTER_TRUSTED_DEVICE, true),
            0);
  EXPECT_EQ(h_->register_trusted_device, 1);
  ASSERT_EQ(velmora_account_set_property_bool(
                h_, VELMORA_ACCOUNT_PROPERTY_BOOL_CHECK_2FACTOR_AUTHENTICATION, false),
            0);
  EXPECT_EQ(h_->check_2factor_authentication, 0);
  ASSERT_EQ(velmora_account_set_property_bool(
                h_, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, true),
            0);
  EXPECT_EQ(h_->mobile_account_exist, 1);
  EXPECT_EQ(h_->account_linking_status, 2);
  ASSERT_EQ(velmora_account_set_property_bool(
                h_, VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS, true),
            0);
  EXPECT_EQ(h_->account_linking_status, 1);
}

TEST_F(AccountProperties, AnyNonZeroStoredFlagReadsTrue) {
  h_->mobile_account_exist = 5;  // only 2 means not set
  bool value = false;
  EXPECT_EQ(velmora_account_get_property_bool(
                h_, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, &value),
            0);
  EXPECT_TRUE(value);
}

TEST_F(AccountProperties, UnknownBooleanIdsAreRefused) {
  bool value = false;
  EXPECT_EQ(velmora_account_get_property_bool(h_, 5, &value),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_set_property_bool(h_, 5, true),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(log.count("INVALID_PARAMETER [type : 5]"), 0) << log.dump();
}

TEST_F(AccountProperties, BooleanAccessorsRefuseNullArguments) {
  vtest::LogCapture log;
  bool value = false;
  EXPECT_EQ(velmora_account_get_property_bool(nullptr, 0, &value),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(handle == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_get_property_bool(h_, 0, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(value == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_set_property_bool(nullptr, 0, true),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
}

// ---- the property logic without the agent check ----

TEST_F(AccountProperties, UtilFunctionsRefuseANullRecord) {
  vtest::LogCapture log;
  char *s = nullptr;
  int i = 0;
  bool b = false;
  EXPECT_EQ(va_account_get_str(nullptr, 0, &s), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(va_account_set_str(nullptr, 0, "x"), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(va_account_get_int(nullptr, 0, &i), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(va_account_set_int(nullptr, 0, 1), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(va_account_get_flag(nullptr, 0, &b), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(va_account_set_flag(nullptr, 0, true), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(log.count("(data == NULL)"), 6) << log.dump();
}

// ---- without the agent ----

TEST(AccountPropertiesWithoutAgent, EveryPublicAccessorIsNotSupported) {
  vtest::PlatformRoot root;
  velmora_account_s record{};  // never reached: the agent check comes first
  char *s = nullptr;
  int i = 0;
  bool b = false;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_get_property_str(&record, 0, &s), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_set_property_str(&record, 0, "x"), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_unset_property_str(&record, 0), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_get_property_int(&record, 0, &i), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_set_property_int(&record, 0, 1), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_get_property_bool(&record, 0, &b), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_set_property_bool(&record, 0, true),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(log.count("(is_agent_installed() == false)"), 7) << log.dump();
  EXPECT_EQ(record.access_token, nullptr);
}
