// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the token operations when the agent misbehaves (fault injection of the agent):
// failed replies that still carry extras, delays, refusals, an agent that never answers or dies in
// the middle of a request. Every wait is bounded; nothing may hang.
#include <gtest/gtest.h>

#include <cstdlib>

#include "account_fixture.hh"

namespace vtest {
namespace {

using TokensFaults = AccountTest;

constexpr int kAgentCode = static_cast<int>(0xC1000001u);

TEST_F(TokensFaults, FailedReplyStillHasItsExtrasCopied) {
  prepare();
  set_fault("getaccesstoken", "error_code", "0xC1000001");
  velmora_account_h h = app_control_handle();
  Completion done;
  LogCapture log;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, kAgentCode);
  // The failed reply carried the account's facts: they are in the response handle.
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_USER_ID), user_id_);
  EXPECT_NE(done.str(VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL), "<unset>");
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "<unset>");
  EXPECT_TRUE(log.has(kVaTag, 4, "[CONVERT_ERROR_CODE] AppControl result fail")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "Key[user_id]")) << log.dump();
}

TEST_F(TokensFaults, DelegateDeliversTheInjectedCode) {
  prepare();
  set_fault("RequestAuthcodeEffortless", "error_code", "0xC1000001");
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  Completion done;
  ASSERT_EQ(velmora_account_request_auth_code_for_effortless_login(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, kAgentCode);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_AUTHCODE), "<unset>");
}

TEST_F(TokensFaults, DelayedReplyStillArrivesOnce) {
  prepare();
  set_fault("getauthcode", "delay_ms", "300");
  set_fault("RequestAuthcode", "delay_ms", "300");
  velmora_account_h a = app_control_handle();
  velmora_account_h n = connected_handle();
  ASSERT_NE(n, nullptr);
  Completion over_app_control, over_port;
  ASSERT_EQ(velmora_account_request_auth_code(a, Completion::cb, &over_app_control), 0);
  ASSERT_EQ(velmora_account_request_auth_code(n, Completion::cb, &over_port), 0);
  ASSERT_TRUE(run_until([&] { return over_app_control.calls > 0 && over_port.calls > 0; }));
  EXPECT_EQ(over_app_control.result, 0);
  EXPECT_EQ(over_port.result, 0);
  EXPECT_EQ(over_app_control.calls, 1);
  EXPECT_EQ(over_port.calls, 1);
}

TEST_F(TokensFaults, RefusedLaunchIsResourceBusy) {
  prepare();
  set_fault("AppControl", "reject_connection", "true");
  // Start the agent through its port; it refuses launch requests from its start on.
  ASSERT_NE(connected_handle(), nullptr);
  velmora_account_h h = app_control_handle();
  Completion done;
  LogCapture log;
  EXPECT_EQ(velmora_account_request_access_token(h, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY);
  EXPECT_TRUE(log.has(kVaTag, 4,
                      "app_control_send_launch_request failed [-17825757]"
                      "[APP_CONTROL_ERROR_LAUNCH_REJECTED]"))
      << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "REQUEST_HANDLE_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "VELMORA_ACCOUNT_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "APP_CONTROL_FREE")) << log.dump();
  EXPECT_EQ(done.calls, 0);
}

TEST_F(TokensFaults, AgentCrashingOverAppControlStillAnswersTheCallbackOnce) {
  prepare();
  set_fault("getaccesstoken", "crash", "true");
  velmora_account_h h = app_control_handle();
  Completion done;
  LogCapture log;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.calls, 1);
  // A failed launch without a reply: no "error_code", which reads as 0; nothing was filled.
  EXPECT_EQ(done.result, 0);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "<unset>");
  EXPECT_TRUE(log.has(kVaTag, 4, "[CONVERT_ERROR_CODE] AppControl result fail")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "Fail to app_control_foreach_extra_data")) << log.dump();
}

TEST_F(TokensFaults, AgentKilledMidRequestOverAppControlStillAnswersTheCallback) {
  prepare();
  velmora_account_h h = app_control_handle();
  Completion first;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &first), 0);
  ASSERT_TRUE(first.wait());
  ASSERT_EQ(first.result, 0);

  set_fault("getaccesstoken", "never_answer", "true");
  Completion pending;
  LogCapture log;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &pending), 0);
  // Sending does not wait for the agent to take the request. Once a later request is answered,
  // the agent has taken the pending one (it reads its streams in the order they came), so the kill
  // lands in the middle of it rather than before it (a request the agent never read is sent to
  // the next instance).
  Completion later;
  ASSERT_EQ(velmora_account_request_auth_code(h, Completion::cb, &later), 0);
  ASSERT_TRUE(later.wait());
  kill_agent(SIGKILL);
  ASSERT_TRUE(pending.wait());
  EXPECT_EQ(pending.calls, 1);
  EXPECT_EQ(pending.result, 0);
  EXPECT_EQ(pending.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "<unset>");
  EXPECT_TRUE(log.has(kVaTag, 4, "[CONVERT_ERROR_CODE] AppControl result fail")) << log.dump();
}

TEST_F(TokensFaults, AgentCrashingOverThePortFailsTheCallAndDisconnects) {
  prepare();
  set_fault("RequestAccessToken", "crash", "true");
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  connection_.events = 0;
  Completion done;
  LogCapture log;
  // The agent dies before its result: the call ends without one (-1), reported as -12, and the
  // request is released at once (AddressSanitizer checks that nothing is left).
  EXPECT_EQ(velmora_account_request_access_token(h, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_TRUE(log.has(kVaTag, 4, "Failed to rpc_port__RequestAccessToken. err = -1")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "REQUEST_HANDLE_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "VELMORA_ACCOUNT_FREE")) << log.dump();
  ASSERT_TRUE(run_until([this] { return connection_.events > 0; }));
  EXPECT_EQ(connection_.last_state, VELMORA_ACCOUNT_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(done.calls, 0);
}

TEST_F(TokensFaults, AgentThatNeverAnswersThePortDoesNotHangTheCaller) {
  prepare();
  setenv("VELMORA_RPC_TIMEOUT_MS", "1000", 1);
  set_fault("RequestAccessToken", "never_answer", "true");
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  Completion done;
  LogCapture log;
  EXPECT_EQ(velmora_account_request_access_token(h, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_TRUE(log.has(kVaTag, 4, "Failed to rpc_port__RequestAccessToken. err = -1")) << log.dump();
  EXPECT_EQ(done.calls, 0);
  unsetenv("VELMORA_RPC_TIMEOUT_MS");
}

}  // namespace
}  // namespace vtest
