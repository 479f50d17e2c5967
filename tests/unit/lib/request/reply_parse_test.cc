// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the extras of an app-control reply, copied into the request's account clone.
#include <gtest/gtest.h>

#include "reply_fixture.hh"

namespace vtest {
namespace {

using ReplyParse = ReplyTest;

TEST_F(ReplyParse, CopiesEveryKnownKeyIntoTheAccount) {
  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  app_control_h reply = make_reply({
      {"access_token", "AT-SECRET-VALUE"},
      {"access_token_expires_in", "3600"},
      {"access_token_issue_time", "1700000000"},
      {"api_server_url", "https://api"},
      {"authcode", "CODE"},
      {"auth_server_url", "https://auth"},
      {"cc", "KR"},
      {"login_id", "user@example.com"},
      {"mcc", "450"},
      {"refresh_token", "RT-SECRET-VALUE"},
      {"user_id", "guid"},
      {"signin_app_message", "hello"},
      {"customizedservice", "cs"},
      {"id_token", "IDT"},
      {"authenticate_token", "AUTHT"},
      {"request_to_server", "Y"},
      {"account_linking_status", "N"},
      {"some_unknown_key", "ignored"},
  });
  LogCapture log;
  EXPECT_EQ(app_control_foreach_extra_data(reply, va_foreach_extra_cb, account), 0);

  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "AT-SECRET-VALUE");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL), "https://api");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_AUTHCODE), "CODE");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL), "https://auth");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_CC), "KR");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), "user@example.com");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_MCC), "450");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN), "RT-SECRET-VALUE");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_USER_ID), "guid");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_SIGNIN_APP_MESSAGE), "hello");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_CUSTOMIZEDSERVICE), "cs");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_ID_TOKEN), "IDT");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN), "AUTHT");
  int n = 0;
  EXPECT_EQ(va_account_get_int(account, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN, &n),
            0);
  EXPECT_EQ(n, 3600);
  EXPECT_EQ(va_account_get_int(account, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_ISSUE_TIME, &n),
            0);
  EXPECT_EQ(n, 1700000000);
  bool flag = false;
  EXPECT_EQ(va_account_get_flag(account, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, &flag),
            0);
  EXPECT_TRUE(flag);
  flag = true;
  EXPECT_EQ(
      va_account_get_flag(account, VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS, &flag), 0);
  EXPECT_FALSE(flag);

  // Every key read is logged by name; the values (tokens) are not.
  EXPECT_TRUE(log.has(kVaTag, 4, "Key[access_token]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "Key[some_unknown_key]")) << log.dump();
  for (const LogLine &line : log.lines())
    EXPECT_EQ(line.message.find("SECRET"), std::string::npos) << line.message;
  app_control_destroy(reply);
  velmora_account_destroy(account);
}

TEST_F(ReplyParse, RefreshTokenMinusOneKeepsTheHandlesRefreshToken) {
  set(VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN, "caller-refresh");
  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  app_control_h reply = make_reply({{"refresh_token", "-1"}, {"access_token", "AT"}});
  LogCapture log;
  app_control_foreach_extra_data(reply, va_foreach_extra_cb, account);
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN), "caller-refresh");
  // The walk went on after the skipped key.
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "AT");
  EXPECT_TRUE(log.has(kVaTag, 4, "Skip refresh_token [-1]")) << log.dump();
  app_control_destroy(reply);
  velmora_account_destroy(account);
}

TEST_F(ReplyParse, RequestToServerLowerCaseYLeavesTheFlag) {
  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  ASSERT_EQ(va_account_set_flag(account, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, false),
            0);
  app_control_h reply = make_reply({{"request_to_server", "y"}});
  app_control_foreach_extra_data(reply, va_foreach_extra_cb, account);
  bool flag = true;
  EXPECT_EQ(va_account_get_flag(account, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, &flag),
            0);
  EXPECT_FALSE(flag);

  app_control_h yes = make_reply({{"request_to_server", "Y"}});
  app_control_foreach_extra_data(yes, va_foreach_extra_cb, account);
  EXPECT_EQ(va_account_get_flag(account, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, &flag),
            0);
  EXPECT_TRUE(flag);

  app_control_h other = make_reply({{"request_to_server", "yes"}, {"account_linking_status", "n"}});
  app_control_foreach_extra_data(other, va_foreach_extra_cb, account);
  EXPECT_EQ(va_account_get_flag(account, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, &flag),
            0);
  EXPECT_TRUE(flag);
  app_control_destroy(reply);
  app_control_destroy(yes);
  app_control_destroy(other);
  velmora_account_destroy(account);
}

TEST_F(ReplyParse, BothDeviceCodeKeysFillTheDeviceUniqueCode) {
  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  app_control_h first = make_reply({{"device_physical_address", "aa:bb"}});
  app_control_foreach_extra_data(first, va_foreach_extra_cb, account);
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE), "aa:bb");
  app_control_h second = make_reply({{"device_security_code", "sec"}});
  app_control_foreach_extra_data(second, va_foreach_extra_cb, account);
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE), "sec");
  app_control_destroy(first);
  app_control_destroy(second);
  velmora_account_destroy(account);
}

TEST_F(ReplyParse, KeysAreComparedExactly) {
  set(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, "mine");
  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  app_control_h reply =
      make_reply({{"Access_token", "X"}, {"access_token ", "Y"}, {"access_tokens", "Z"}});
  app_control_foreach_extra_data(reply, va_foreach_extra_cb, account);
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "mine");
  app_control_destroy(reply);
  velmora_account_destroy(account);
}

TEST_F(ReplyParse, NullKeyIsLoggedAndTheWalkGoesOn) {
  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  LogCapture log;
  EXPECT_TRUE(va_foreach_extra_cb(nullptr, nullptr, account));
  EXPECT_TRUE(log.has(kVaTag, 4, "Error. key is null")) << log.dump();
  velmora_account_destroy(account);
}

TEST_F(ReplyParse, UnreadableKeyStopsTheWalk) {
  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  app_control_h reply = make_reply({{"access_token", "AT"}});
  LogCapture log;
  // A key the reply does not hold cannot be read.
  EXPECT_FALSE(va_foreach_extra_cb(reply, "mcc", account));
  EXPECT_TRUE(
      log.has(kVaTag, 4, "foreach_extra_cb failed.APP_CONTROL_ERROR_KEY_NOT_FOUND [key : mcc]"))
      << log.dump();
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_MCC), "<unset>");
  app_control_destroy(reply);
  velmora_account_destroy(account);
}

}  // namespace
}  // namespace vtest
