// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the blocking last access token (connected handles only).
#include <gtest/gtest.h>

#include "account_fixture.hh"

namespace vtest {
namespace {

using TokensSync = AccountTest;

TEST_F(TokensSync, HandsOutANewHandleWithTheLastToken) {
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  Completion issued;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &issued), 0);
  ASSERT_TRUE(issued.wait());
  ASSERT_EQ(issued.result, 0);

  velmora_account_h response = nullptr;
  LogCapture log;
  ASSERT_EQ(velmora_account_get_last_access_token_sync(h, &response), 0) << log.dump();
  ASSERT_NE(response, nullptr);
  Completion holder;  // owns `response` from here
  holder.account = response;
  EXPECT_EQ(holder.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN),
            issued.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN));
  EXPECT_EQ(holder.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kLogin);
  EXPECT_TRUE(log.has(kVaTag, 4, "[velmora_account_create] 1.4.9")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[velmora_account_get_last_access_token_sync] <<<< ended"))
      << log.dump();
}

TEST_F(TokensSync, AgentsRefusalIsReturnedUnchanged) {
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  velmora_account_h response = nullptr;
  LogCapture log;
  // No token was handed out yet: the agent's own code.
  const int no_token = static_cast<int>(0xC100000Eu);
  EXPECT_EQ(velmora_account_get_last_access_token_sync(h, &response), no_token);
  EXPECT_EQ(response, nullptr);
  EXPECT_TRUE(log.has(kVaTag, 4,
                      "Failed to rpc_port_GetLastAccessToken. err = " + std::to_string(no_token)))
      << log.dump();
}

TEST_F(TokensSync, AppControlHandleIsNotSupportedWithoutALine) {
  prepare();
  velmora_account_h h = app_control_handle();
  velmora_account_h response = nullptr;
  LogCapture log;
  EXPECT_EQ(velmora_account_get_last_access_token_sync(h, &response),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(response, nullptr);
  for (const LogLine &line : log.lines()) EXPECT_NE(line.prio, 6) << log.dump();
  EXPECT_EQ(log.count("[velmora_account_get_last_access_token_sync] <<<< ended"), 0);
}

TEST_F(TokensSync, NullArgumentsAreInvalid) {
  prepare();
  velmora_account_h h = app_control_handle();
  velmora_account_h response = nullptr;
  LogCapture log;
  EXPECT_EQ(velmora_account_get_last_access_token_sync(nullptr, &response),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(velmora_account_get_last_access_token_sync(h, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 6, "(handle == NULL)")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 6, "(response == NULL)")) << log.dump();
}

TEST_F(TokensSync, AgentBelowLevelThreeIsALowerVersion) {
  prepare("mobile", 2, false);
  velmora_account_h response = nullptr;
  LogCapture log;
  // The level check comes before the argument checks.
  EXPECT_EQ(velmora_account_get_last_access_token_sync(nullptr, &response),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_TRUE(log.has(kVaTag, 6, "(is_lower_agent(3) == true)")) << log.dump();
}

}  // namespace
}  // namespace vtest
