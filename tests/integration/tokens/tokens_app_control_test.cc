// SPDX-License-Identifier: Apache-2.0
// Velmora tests: tokens and authorization codes over app control, against the agent.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "account_fixture.hh"
#include "velmora_account_request_op.h"

namespace vtest {
namespace {

using TokensAppControl = AccountTest;

TEST_F(TokensAppControl, AccessTokenReachesTheCallbackInAClone) {
  prepare();
  velmora_account_h h = app_control_handle();
  Completion done;
  LogCapture log;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.calls, 1);
  ASSERT_EQ(done.result, 0) << log.dump();
  ASSERT_NE(done.account, nullptr);
  EXPECT_NE(done.account, h);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN).size(), 43u);
  EXPECT_NE(done.str(VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN), "<unset>");
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_USER_ID), user_id_);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kLogin);
  EXPECT_EQ(done.integer(VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN), 3600);
  EXPECT_GT(done.integer(VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_ISSUE_TIME), 0);

  // The caller's handle is never changed.
  char *token = nullptr;
  EXPECT_EQ(velmora_account_get_property_str(h, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, &token),
            VELMORA_ACCOUNT_ERROR_NO_DATA);

  // The request's lines, in the library's words.
  for (const char *text :
       {"[velmora_account_request_access_token]", "Request AccessToken to [APP_CONTROL] Mode",
        "Set property, client_secret", "PROPERTY_LAST_ACCESS_TOKEN is NULL",
        "Set property, scope [read]", "APP_CONTROL_FREE",
        "[velmora_account_request_access_token] <<<< ended", "[access_token_result_cb]",
        "Key[access_token]", "REQUEST_HANDLE_FREE", "[access_token_result_cb] <<<< ended"})
    EXPECT_TRUE(log.has(kVaTag, 4, text)) << text << "\n" << log.dump();
  // The secret and the token never reach the log.
  const std::string issued = done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN);
  for (const LogLine &line : log.lines()) {
    EXPECT_EQ(line.message.find(secret_), std::string::npos) << line.message;
    EXPECT_EQ(line.message.find(issued), std::string::npos) << line.message;
  }
}

TEST_F(TokensAppControl, PhoneSendsNoClientSecretWhenNoneIsSet) {
  prepare("mobile");
  velmora_account_h h = app_control_handle(/*secret=*/false, /*scope=*/nullptr);
  Completion done;
  LogCapture log;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, 0) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "PROPERTY_CLIENT_SESRET is NULL")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "PROPERTY_SCOPE is NULL")) << log.dump();
  EXPECT_EQ(log.count("Set property, client_secret"), 0);
}

// A handle with login id and client id but no client secret asks for an access token on a
// `profile` device, from a stand-in agent that records what it receives.
class TokensWithoutSecret : public AccountTest {
 protected:
  void ask(const char *profile) {
    prepare_recorder(5, profile);
    velmora_account_h h = app_control_handle(/*secret=*/false, /*scope=*/nullptr);
    LogCapture log;
    ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &done_), 0);
    ASSERT_TRUE(done_.wait());
    EXPECT_EQ(done_.result, 0) << log.dump();
    EXPECT_TRUE(log.has(kVaTag, 4, "PROPERTY_CLIENT_SESRET is NULL")) << log.dump();
    EXPECT_EQ(recorded(),
              std::vector<std::string>{std::string(REQUEST_OP_GETACCESSTOKEN) +
                                       "\tlogin_id=" + kLogin + "\tclient_id=" + kClient});
  }
  Completion done_;
};

TEST_F(TokensWithoutSecret, APhoneSendsTheRequestWithoutAClientSecretExtra) { ask("mobile"); }

TEST_F(TokensWithoutSecret, AWearableSendsTheRequestWithoutAClientSecretExtra) { ask("wearable"); }

TEST_F(TokensWithoutSecret, ATvRefusesTheSameHandleAndSendsNothing) {
  prepare_recorder(5, "tv");
  velmora_account_h h = app_control_handle(/*secret=*/false, /*scope=*/nullptr);
  LogCapture log;
  EXPECT_EQ(velmora_account_request_access_token(h, Completion::cb, &done_),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 4,
                      "Invalid Property, client_secret is not set. [VA_ERROR_INVALID_PARAMETER]"))
      << log.dump();
  run_pending();
  EXPECT_EQ(done_.calls, 0);
  EXPECT_TRUE(recorded().empty());
}

TEST_F(TokensAppControl, ExpiredTokenIsSentAndReplaced) {
  prepare();
  velmora_account_h h = app_control_handle();
  Completion first;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &first), 0);
  ASSERT_TRUE(first.wait());
  ASSERT_EQ(first.result, 0);
  const std::string old_token = first.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN);
  ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_LAST_ACCESS_TOKEN,
                                             old_token.c_str()),
            0);
  Completion second;
  LogCapture log;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &second), 0);
  ASSERT_TRUE(second.wait());
  EXPECT_EQ(second.result, 0);
  EXPECT_NE(second.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), old_token);
  EXPECT_TRUE(log.has(kVaTag, 4, "Set property, expired_access_token")) << log.dump();
}

TEST_F(TokensAppControl, LastAccessTokenIsTheOneHandedOutWithoutARefreshToken) {
  prepare();
  velmora_account_h h = app_control_handle();
  Completion issued;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &issued), 0);
  ASSERT_TRUE(issued.wait());
  ASSERT_EQ(issued.result, 0);

  // The agent sends "refresh_token" = "-1" with the last token: the caller's value stays.
  ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN, "mine"), 0);
  Completion last;
  LogCapture log;
  ASSERT_EQ(velmora_account_get_last_access_token(h, Completion::cb, &last), 0);
  ASSERT_TRUE(last.wait());
  EXPECT_EQ(last.result, 0) << log.dump();
  EXPECT_EQ(last.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN),
            issued.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN));
  EXPECT_EQ(last.str(VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN), "mine");
  EXPECT_TRUE(log.has(kVaTag, 4, "Skip refresh_token [-1]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[last_access_token_result_cb]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "Set property, scope [read]")) << log.dump();
}

TEST_F(TokensAppControl, LastAccessTokenBeforeAnyTokenFailsWithTheAgentsCode) {
  prepare();
  velmora_account_h h = app_control_handle();
  Completion last;
  LogCapture log;
  ASSERT_EQ(velmora_account_get_last_access_token(h, Completion::cb, &last), 0);
  ASSERT_TRUE(last.wait());
  EXPECT_EQ(last.result, static_cast<int>(0xC100000Eu));  // the agent's "no token"
  EXPECT_TRUE(log.has(kVaTag, 4, "[CONVERT_ERROR_CODE] AppControl result fail")) << log.dump();
}

TEST_F(TokensAppControl, AuthCodeCarriesTheDeviceCode) {
  prepare();
  velmora_account_h h = app_control_handle();
  ASSERT_EQ(
      velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE, "device-1"),
      0);
  Completion done;
  LogCapture log;
  ASSERT_EQ(velmora_account_request_auth_code(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, 0) << log.dump();
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_AUTHCODE).size(), 32u);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_USER_ID), user_id_);
  for (const char *text :
       {"Request AuthCode to [APP_CONTROL] Mode", "Set property, device_unique_code",
        "Set property, scope [read]", "[auth_code_result_cb]",
        "[velmora_account_request_auth_code] <<<< ended"})
    EXPECT_TRUE(log.has(kVaTag, 4, text)) << text << "\n" << log.dump();
}

TEST_F(TokensAppControl, EffortlessCodeIsACodeOfItsOwn) {
  prepare();
  velmora_account_h h = app_control_handle(true, nullptr);
  Completion done;
  LogCapture log;
  ASSERT_EQ(velmora_account_request_auth_code_for_effortless_login(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, 0) << log.dump();
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_AUTHCODE).size(), 32u);
  for (const char *text : {"Request Effortless to [APP_CONTROL] Mode", "PROPERTY_SCOPE is NULL",
                           "[effortless_result_cb]"})
    EXPECT_TRUE(log.has(kVaTag, 4, text)) << text << "\n" << log.dump();
}

TEST_F(TokensAppControl, UserNotSignedInGetsTheAgentsCode) {
  prepare("mobile", 5, false);
  seed_user(kLogin, /*sign_in=*/false);
  velmora_account_h h = app_control_handle();
  Completion done;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, VELMORA_ACCOUNT_ERROR_NEED_SIGNIN);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "<unset>");
}

TEST_F(TokensAppControl, ScopeTheClientLacksIsRefused) {
  prepare();
  velmora_account_h h = app_control_handle(true, "admin");
  Completion done;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, static_cast<int>(0xC1000006u));  // the agent's "scope not allowed"
}

// A launch request from a process that runs as no application (this test) is logged with a
// stand-in name for its caller, not an empty one.
TEST_F(TokensAppControl, TheAgentLogNamesACallerWithoutAnApplicationId) {
  prepare();
  set_fault("getaccesstoken", "error_code", "-22");
  velmora_account_h h = app_control_handle();
  Completion done;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, -22);
  const std::string log = agent_log();
  EXPECT_NE(log.find("app control: getaccesstoken from an unnamed caller: failed, error_code "),
            std::string::npos)
      << log;
  EXPECT_EQ(log.find(" from : "), std::string::npos) << log;
}

}  // namespace
}  // namespace vtest
