// SPDX-License-Identifier: Apache-2.0
// Velmora tests: tokens and authorization codes over the AccountSvc port, against the agent.
#include <gtest/gtest.h>

#include "account_fixture.hh"
#include "dlog.h"
#include "rpc_port_parcel.h"

namespace vtest {
namespace {

using TokensNidl = AccountTest;

TEST_F(TokensNidl, AccessTokenArrivesThroughTheDelegate) {
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  Completion done;
  LogCapture log;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.calls, 1);
  ASSERT_EQ(done.result, 0) << log.dump();
  EXPECT_NE(done.account, h);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN).size(), 43u);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_USER_ID), user_id_);
  EXPECT_EQ(done.integer(VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN), 3600);
  // The clone keeps what the caller set and the reply did not bring.
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET), secret_);
  for (const char *text :
       {"[velmora_account_request_access_token]", "Request AccessToken to [NIDL] Mode",
        "[__create_nidl_request]", "[velmora_account_request_access_token] <<<< ended",
        "[NidlAccessTokenCb]", "[NidlAccessTokenCb] <<<< ended"})
    EXPECT_TRUE(log.has(kVaTag, 4, text)) << text << "\n" << log.dump();
  // The app-control lines of the optional values do not belong to this transport.
  EXPECT_EQ(log.count("Set property, client_secret"), 0);
  EXPECT_EQ(log.count("Request AccessToken to [APP_CONTROL] Mode"), 0);
}

// A property too large for a parcel fails the whole call; the agent never gets a request with the
// field missing (it would issue a token for a scope nobody asked for).
TEST_F(TokensNidl, PropertyTooLargeForAParcelFailsTheWholeCall) {
  setenv("VELMORA_RPC_TIMEOUT_MS", "1000",
         1);  // the call still waits for a result that never comes
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  const std::string scope(RPC_PORT_PARCEL_MAX_SIZE, 's');
  ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_SCOPE, scope.c_str()), 0);
  Completion done;
  LogCapture log;
  EXPECT_EQ(velmora_account_request_access_token(h, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_TRUE(log.has(kRpcTag, DLOG_ERROR, "Failed to send parcel. result(-22)")) << log.dump();
  EXPECT_EQ(done.calls, 0);
  unsetenv("VELMORA_RPC_TIMEOUT_MS");
}

TEST_F(TokensNidl, AuthCodeAndEffortlessCodeArriveThroughTheDelegate) {
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  Completion code, effortless;
  LogCapture log;
  ASSERT_EQ(velmora_account_request_auth_code(h, Completion::cb, &code), 0);
  ASSERT_EQ(velmora_account_request_auth_code_for_effortless_login(h, Completion::cb, &effortless),
            0);
  ASSERT_TRUE(run_until([&] { return code.calls > 0 && effortless.calls > 0; }));
  EXPECT_EQ(code.result, 0);
  EXPECT_EQ(effortless.result, 0);
  EXPECT_EQ(code.str(VELMORA_ACCOUNT_PROPERTY_AUTHCODE).size(), 32u);
  EXPECT_EQ(effortless.str(VELMORA_ACCOUNT_PROPERTY_AUTHCODE).size(), 32u);
  EXPECT_NE(code.str(VELMORA_ACCOUNT_PROPERTY_AUTHCODE),
            effortless.str(VELMORA_ACCOUNT_PROPERTY_AUTHCODE));
  for (const char *text : {"Request AuthCode to [NIDL] Mode", "Request Effortless to [NIDL] Mode",
                           "[NidlAuthCodeCb]", "[NidlEffortlessCb]"})
    EXPECT_TRUE(log.has(kVaTag, 4, text)) << text << "\n" << log.dump();
}

TEST_F(TokensNidl, AgentsFailureCodeReachesTheCallbackUnchanged) {
  prepare("mobile", 5, false);
  seed_user(kLogin, /*sign_in=*/false);
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  Completion done;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, VELMORA_ACCOUNT_ERROR_NEED_SIGNIN);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "<unset>");
}

TEST_F(TokensNidl, LastAccessTokenOnAConnectedHandleStillGoesOverAppControl) {
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  Completion issued;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &issued), 0);
  ASSERT_TRUE(issued.wait());
  ASSERT_EQ(issued.result, 0);

  Completion last;
  LogCapture log;
  ASSERT_EQ(velmora_account_get_last_access_token(h, Completion::cb, &last), 0);
  ASSERT_TRUE(last.wait());
  EXPECT_EQ(last.result, 0) << log.dump();
  EXPECT_EQ(last.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN),
            issued.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN));
  EXPECT_TRUE(log.has(kVaTag, 4, "[last_access_token_result_cb]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "APP_CONTROL_FREE")) << log.dump();
  EXPECT_EQ(log.count("[__create_nidl_request]"), 0) << log.dump();
}

TEST_F(TokensNidl, AfterTheDisconnectedEventTheMethodCallFailsAsOutOfMemory) {
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  connection_.events = 0;
  kill_agent(SIGKILL);
  ASSERT_TRUE(run_until([this] { return connection_.events > 0; }));
  EXPECT_EQ(connection_.last_state, VELMORA_ACCOUNT_CONNECTION_STATE_DISCONNECTED);

  Completion done;
  LogCapture log;
  // The proxy is gone: the call cannot be made (-1), which the operation reports as -12.
  EXPECT_EQ(velmora_account_request_access_token(h, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_TRUE(log.has(kVaTag, 4, "Failed to rpc_port__RequestAccessToken. err = -1")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[velmora_account_request_access_token] <<<< ended"))
      << log.dump();
  EXPECT_EQ(velmora_account_request_auth_code(h, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_TRUE(log.has(kVaTag, 4, "Failed to rpc_port_RequestAuthcode. err = -1")) << log.dump();
  log.clear();
  EXPECT_EQ(velmora_account_request_auth_code_for_effortless_login(h, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  // The effortless request reports its failure in the auth-code words.
  EXPECT_TRUE(log.has(kVaTag, 4, "Failed to rpc_port_RequestAuthcode. err = -1")) << log.dump();
  EXPECT_EQ(done.calls, 0);
}

// The agent's log names the caller of a port request: its application id, or, for a process that
// runs as no application, a stand-in rather than an empty name.
class TokensNidlCaller : public AccountTest {
 protected:
  // The agent's log after a port request from this process running as `app_id` (nullptr: as no
  // application). The request fails, so that the agent logs it at its default level.
  std::string log_of_a_failed_request(const char *app_id) {
    prepare();
    set_fault("RequestAccessToken", "error_code", "-22");
    if (app_id) setenv("VELMORA_APP_ID", app_id, 1);
    velmora_account_h h = connected_handle();
    unsetenv("VELMORA_APP_ID");
    EXPECT_NE(h, nullptr);
    Completion done;
    EXPECT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), 0);
    EXPECT_TRUE(done.wait());
    EXPECT_EQ(done.result, -22);
    return agent_log();
  }
};

TEST_F(TokensNidlCaller, WithoutAnApplicationIdIsAnUnnamedCaller) {
  const std::string log = log_of_a_failed_request(nullptr);
  EXPECT_NE(log.find("AccountSvc: an unnamed caller connected ("), std::string::npos) << log;
  EXPECT_NE(
      log.find("AccountSvc: RequestAccessToken from an unnamed caller: result 0, callback -22\n"),
      std::string::npos)
      << log;
  EXPECT_EQ(log.find(" from : "), std::string::npos) << log;
}

TEST_F(TokensNidlCaller, IsNamedByItsApplicationId) {
  const std::string log = log_of_a_failed_request("dev.velmora.test.port_caller");
  EXPECT_NE(log.find("AccountSvc: dev.velmora.test.port_caller connected ("), std::string::npos)
      << log;
  EXPECT_NE(log.find("AccountSvc: RequestAccessToken from dev.velmora.test.port_caller: result 0, "
                     "callback -22\n"),
            std::string::npos)
      << log;
  EXPECT_EQ(log.find("an unnamed caller"), std::string::npos) << log;
}

}  // namespace
}  // namespace vtest
