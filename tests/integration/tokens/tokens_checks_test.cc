// SPDX-License-Identifier: Apache-2.0
// Velmora tests: what the token operations refuse before anything is sent, in their order.
#include <gtest/gtest.h>

#include <algorithm>

#include "account_fixture.hh"

namespace vtest {
namespace {

using TokensChecks = AccountTest;
using TokensTv = AccountTest;

constexpr int kInvalid = VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;

using AsyncOp = int (*)(velmora_account_h, velmora_account_response_cb, void *);

struct OpCase {
  AsyncOp op;
  const char *name;
  const char *missing_line;  // logged when login id or client id is missing
};

const OpCase kOps[] = {
    {velmora_account_request_access_token, "velmora_account_request_access_token",
     "Invalid Property, login_id/client_id is not set. [VA_ERROR_INVALID_PARAMETER]"},
    {velmora_account_get_last_access_token, "velmora_account_get_last_access_token",
     "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]"},
    {velmora_account_request_auth_code, "velmora_account_request_auth_code",
     "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]"},
    {velmora_account_request_auth_code_for_effortless_login,
     "velmora_account_request_auth_code_for_effortless_login",
     "Invalid Property, login_id/client_id is not set. [VA_ERROR_INVALID_PARAMETER]"},
};

TEST_F(TokensChecks, WithoutTheAgentEveryOperationIsNotSupported) {
  prepare("mobile", std::nullopt);
  LogCapture log;
  for (const OpCase &c : kOps) {
    // The agent check comes before the argument checks.
    EXPECT_EQ(c.op(nullptr, nullptr, nullptr), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED) << c.name;
  }
  velmora_account_h response = nullptr;
  EXPECT_EQ(velmora_account_get_last_access_token_sync(nullptr, &response),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(log.count("(is_agent_installed() == false)"), 5) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 6, "(is_agent_installed() == false)"));
}

TEST_F(TokensChecks, NullHandleThenNullCallback) {
  prepare();
  velmora_account_h h = app_control_handle();
  for (const OpCase &c : kOps) {
    LogCapture log;
    EXPECT_EQ(c.op(nullptr, Completion::cb, nullptr), kInvalid) << c.name;
    EXPECT_TRUE(log.has(kVaTag, 6, "(handle == NULL)")) << log.dump();
    log.clear();
    EXPECT_EQ(c.op(h, nullptr, nullptr), kInvalid) << c.name;
    EXPECT_TRUE(log.has(kVaTag, 6, "(callback == NULL)")) << log.dump();
    const LogLine *entry = log.find(std::string("[") + c.name + "]");
    ASSERT_NE(entry, nullptr) << log.dump();
    EXPECT_EQ(entry->function(), c.name);
  }
}

TEST_F(TokensChecks, MissingLoginIdOrClientIdIsRefusedWithTheOperationsLine) {
  prepare();
  for (int missing : {VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, VELMORA_ACCOUNT_PROPERTY_CLIENT_ID}) {
    velmora_account_h h = app_control_handle();
    ASSERT_EQ(velmora_account_unset_property_str(h, missing), 0);
    for (const OpCase &c : kOps) {
      Completion done;
      LogCapture log;
      EXPECT_EQ(c.op(h, Completion::cb, &done), kInvalid) << c.name;
      EXPECT_TRUE(log.has(kVaTag, 4, c.missing_line)) << c.name << "\n" << log.dump();
      EXPECT_EQ(log.count(std::string("[") + c.name + "] <<<< ended"), 0) << log.dump();
      EXPECT_EQ(done.calls, 0);
    }
  }
}

TEST_F(TokensChecks, LastAccessTokenChecksItsValuesOnlyAfterCloning) {
  prepare();
  velmora_account_h h = app_control_handle();
  ASSERT_EQ(velmora_account_unset_property_str(h, VELMORA_ACCOUNT_PROPERTY_CLIENT_ID), 0);
  Completion done;
  LogCapture log;
  EXPECT_EQ(velmora_account_get_last_access_token(h, Completion::cb, &done), kInvalid);
  // The clone and the app control were made, and are released after the line.
  std::vector<std::string> texts;
  for (const LogLine &l : log.lines()) texts.push_back(l.text());
  const auto at = [&](const std::string &t) {
    return std::find(texts.begin(), texts.end(), t) - texts.begin();
  };
  const auto line = at("Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]");
  ASSERT_LT(line, static_cast<long>(texts.size())) << log.dump();
  EXPECT_LT(at("[velmora_account_clone]"), line) << log.dump();
  EXPECT_GT(at("VELMORA_ACCOUNT_FREE"), line) << log.dump();
  EXPECT_GT(at("APP_CONTROL_FREE"), at("VELMORA_ACCOUNT_FREE")) << log.dump();
  EXPECT_LT(at("APP_CONTROL_FREE"), static_cast<long>(texts.size())) << log.dump();
}

TEST_F(TokensTv, AccessTokenNeedsTheClientSecretOnATv) {
  prepare("tv");
  velmora_account_h h = app_control_handle(/*secret=*/false);
  Completion done;
  LogCapture log;
  EXPECT_EQ(velmora_account_request_access_token(h, Completion::cb, &done), kInvalid);
  EXPECT_TRUE(log.has(kVaTag, 4,
                      "Invalid Property, client_secret is not set. [VA_ERROR_INVALID_PARAMETER]"))
      << log.dump();
  EXPECT_EQ(done.calls, 0);

  // The code operations have no such rule on a TV.
  Completion code;
  EXPECT_EQ(velmora_account_request_auth_code(h, Completion::cb, &code), 0);
  ASSERT_TRUE(code.wait());
  EXPECT_EQ(code.result, 0);

  ASSERT_EQ(
      velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET, secret_.c_str()),
      0);
  Completion with_secret;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &with_secret), 0);
  ASSERT_TRUE(with_secret.wait());
  EXPECT_EQ(with_secret.result, 0);
  EXPECT_EQ(with_secret.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN).size(), 43u);
}

TEST_F(TokensTv, ConnectAndTheBlockingLastTokenAreNotOfferedOnATv) {
  prepare("tv");
  velmora_account_h h = app_control_handle();
  velmora_account_h response = nullptr;
  LogCapture log;
  EXPECT_EQ(velmora_account_get_last_access_token_sync(h, &response),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(log.has(kVaTag, 6, "(is_tv_profile())")) << log.dump();
  EXPECT_EQ(response, nullptr);
}

}  // namespace
}  // namespace vtest
