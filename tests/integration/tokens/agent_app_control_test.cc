// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent's app-control operations for tokens, talked to directly with app-control
// launch requests (no library in between): the keys of its replies, its failures, and an operation
// it does not know.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "account_fixture.hh"
#include "app_control.h"
#include "app_control_reply.hh"
#include "velmora_account_request_op.h"

namespace vtest {
namespace {

using AgentAppControl = AccountTest;

using Reply = AppControlReply;

TEST_F(AgentAppControl, AccessTokenReplyCarriesTheKeysTheLibraryReads) {
  prepare();
  Reply r = send_to_agent(REQUEST_OP_GETACCESSTOKEN, {{"login_id", kLogin},
                                                      {"client_id", kClient},
                                                      {"client_secret", secret_},
                                                      {"scope", "read"}});
  ASSERT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  for (const char *key :
       {"access_token", "access_token_expires_in", "access_token_issue_time", "refresh_token",
        "login_id", "user_id", "cc", "mcc", "api_server_url", "auth_server_url"})
    EXPECT_EQ(r.extras.count(key), 1u) << key;
  EXPECT_EQ(r.extras["access_token_expires_in"], "3600");
  EXPECT_EQ(r.extras["user_id"], user_id_);
  EXPECT_EQ(r.extras.count("error_code"), 0u);
}

TEST_F(AgentAppControl, WrongSecretIsAFailureWithErrorCodeAndName) {
  prepare();
  Reply r =
      send_to_agent(REQUEST_OP_GETACCESSTOKEN,
                    {{"login_id", kLogin}, {"client_id", kClient}, {"client_secret", "wrong"}});
  ASSERT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_EQ(r.extras["error_code"], std::to_string(static_cast<int>(0xC1000005u)));
  EXPECT_FALSE(r.extras["error_msg"].empty());
  EXPECT_EQ(r.extras.count("access_token"), 0u);
}

TEST_F(AgentAppControl, AuthCodeAndEffortlessCodeAreDistinctCodes) {
  prepare();
  Reply a = send_to_agent(REQUEST_OP_GETAUTHCODE, {{"login_id", kLogin}, {"client_id", kClient}});
  Reply b = send_to_agent(REQUEST_OP_GETAUTHCODE_EFFORTLESS,
                          {{"login_id", kLogin}, {"client_id", kClient}});
  ASSERT_EQ(a.result, APP_CONTROL_RESULT_SUCCEEDED);
  ASSERT_EQ(b.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(a.extras["authcode"].size(), 32u);
  EXPECT_EQ(b.extras["authcode"].size(), 32u);
  EXPECT_NE(a.extras["authcode"], b.extras["authcode"]);
}

TEST_F(AgentAppControl, LastAccessTokenNeedsBothIds) {
  prepare();
  Reply r = send_to_agent(REQUEST_OP_GETLASTACCESSTOKEN, {{"login_id", kLogin}});
  ASSERT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_EQ(r.extras["error_code"], "-22");
}

TEST_F(AgentAppControl, UnknownOperationIsNotSupported) {
  prepare();
  Reply r = send_to_agent("http://velmora.dev/appcontrol/operation/nosuchthing", {});
  ASSERT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_EQ(r.extras["error_code"], std::to_string(VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED));
}

}  // namespace
}  // namespace vtest
