// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the app-control reply callbacks: result of a reply, the clone handed to the
// caller's callback, the request record freed (AddressSanitizer checks that nothing leaks).
#include <gtest/gtest.h>

#include "reply_fixture.hh"

namespace vtest {
namespace {

using ReplyCallback = ReplyTest;

TEST_F(ReplyCallback, SuccessfulReplyFillsTheCloneAndDeliversNone) {
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "user@example.com");
  Received rx;
  auto *request = app_control_request(as_request_cb(Received::response), &rx);
  app_control_h reply = make_reply({{"access_token", "AT"}});
  LogCapture log;
  reply_as("access_token_result_cb", reply, APP_CONTROL_RESULT_SUCCEEDED, request);
  EXPECT_EQ(rx.calls, 1);
  EXPECT_EQ(rx.result, 0);
  ASSERT_NE(rx.account, nullptr);
  EXPECT_NE(rx.account, handle_);
  EXPECT_EQ(str_of(rx.account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "AT");
  EXPECT_EQ(str_of(rx.account, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), "user@example.com");
  // The caller's handle is untouched.
  EXPECT_EQ(str_of(handle_, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "<unset>");
  EXPECT_TRUE(log.has(kVaTag, 4, "[access_token_result_cb]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "REQUEST_HANDLE_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[access_token_result_cb] <<<< ended")) << log.dump();
  EXPECT_EQ(log.count("[CONVERT_ERROR_CODE] AppControl result fail"), 0);
  app_control_destroy(reply);
}

TEST_F(ReplyCallback, FailedReplyWithExtrasStillFillsTheCloneAndDeliversTheErrorCode) {
  Received rx;
  auto *request = app_control_request(as_request_cb(Received::response), &rx);
  app_control_h reply = make_reply(
      {{"error_code", "-1073741830"}, {"error_msg", "sign in"}, {"api_server_url", "https://api"}});
  LogCapture log;
  reply_as("auth_code_result_cb", reply, APP_CONTROL_RESULT_FAILED, request);
  EXPECT_EQ(rx.calls, 1);
  EXPECT_EQ(rx.result, VELMORA_ACCOUNT_ERROR_NEED_SIGNIN);
  EXPECT_EQ(str_of(rx.account, VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL), "https://api");
  EXPECT_TRUE(log.has(kVaTag, 4, "[CONVERT_ERROR_CODE] AppControl result fail")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "ErrorCode [-1073741830], convert[-1073741830]")) << log.dump();
  app_control_destroy(reply);
}

TEST_F(ReplyCallback, AgentCodesOutsideTheLibrarysTablePassUnchanged) {
  Received rx;
  auto *request = app_control_request(as_request_cb(Received::response), &rx);
  app_control_h reply = make_reply({{"error_code", "-1056964607"}});
  reply_as("effortless_result_cb", reply, APP_CONTROL_RESULT_FAILED, request);
  EXPECT_EQ(rx.result, -1056964607);
  app_control_destroy(reply);
}

TEST_F(ReplyCallback, FailedReplyWithoutErrorCodeDeliversNone) {
  Received rx;
  auto *request = app_control_request(as_request_cb(Received::response), &rx);
  app_control_h reply = make_reply({{"login_id", "x"}});
  LogCapture log;
  reply_as("last_access_token_result_cb", reply, APP_CONTROL_RESULT_FAILED, request);
  EXPECT_EQ(rx.calls, 1);
  EXPECT_EQ(rx.result, 0);
  EXPECT_TRUE(log.has(kVaTag, 4, "ErrorCode is NULL [(null)], value set to 0")) << log.dump();
  app_control_destroy(reply);
}

TEST_F(ReplyCallback, ErrorCodeIsReadAsADecimalPrefix) {
  const std::pair<const char *, int> cases[] = {{"abc", 0}, {"-22", -22}, {"12abc", 12}};
  for (const auto &c : cases) {
    Received rx;
    auto *request = app_control_request(as_request_cb(Received::response), &rx);
    app_control_h reply = make_reply({{"error_code", c.first}});
    reply_as("mcc_cb", reply, APP_CONTROL_RESULT_FAILED, request);
    EXPECT_EQ(rx.result, c.second) << c.first;
    app_control_destroy(reply);
  }
}

TEST_F(ReplyCallback, CanceledReplyCountsAsFailed) {
  Received rx;
  auto *request = app_control_request(as_request_cb(Received::response), &rx);
  app_control_h reply = make_reply({{"error_code", "-16"}});
  reply_as("update_tnc_cb", reply, APP_CONTROL_RESULT_CANCELED, request);
  EXPECT_EQ(rx.result, -16);
  app_control_destroy(reply);
}

TEST_F(ReplyCallback, NoReplyAtAllDeliversNoneWithAnUntouchedClone) {
  // The platform's answer when the agent died before replying: a failed result and no reply.
  set(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, "old");
  Received rx;
  auto *request = app_control_request(as_request_cb(Received::response), &rx);
  LogCapture log;
  reply_as("access_token_result_cb", nullptr, APP_CONTROL_RESULT_FAILED, request);
  EXPECT_EQ(rx.calls, 1);
  EXPECT_EQ(rx.result, 0);
  EXPECT_EQ(str_of(rx.account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "old");
  EXPECT_TRUE(log.has(kVaTag, 4, "[CONVERT_ERROR_CODE] AppControl result fail")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "Fail to app_control_foreach_extra_data")) << log.dump();
}

TEST_F(ReplyCallback, EveryMemberOfTheFamilyLogsItsOwnName) {
  // The reply names the rows of the response-callback family give (tokens, sign-in, queries,
  // account services); one generic callback serves them all.
  const std::pair<int, const char *> family[] = {
      {0, "sign_in_result_cb"},
      {0, "effortless_result_cb"},
      {0, "get_default_result_cb"},
      {0, "set_default_result_cb"},
      {0, "last_access_token_result_cb"},
      {0, "access_token_result_cb"},
      {0, "auth_code_result_cb"},
      {0, "confirm_user_result_cb"},
      {0, "mcc_cb"},
      {0, "update_tnc_cb"},
      {0, "get_account_from_property_cb"},
  };
  for (const auto &member : family) {
    Received rx;
    auto *request = app_control_request(as_request_cb(Received::response), &rx);
    app_control_h reply = make_reply({{"mcc", "450"}});
    LogCapture log;
    reply_as(member.second, reply, APP_CONTROL_RESULT_SUCCEEDED, request);
    EXPECT_EQ(rx.calls, 1) << member.second;
    EXPECT_EQ(str_of(rx.account, VELMORA_ACCOUNT_PROPERTY_MCC), "450") << member.second;
    const std::string name = member.second;
    EXPECT_TRUE(log.has(kVaTag, 4, "[" + name + "]")) << log.dump();
    EXPECT_TRUE(log.has(kVaTag, 4, "[" + name + "] <<<< ended")) << log.dump();
    const LogLine *entry = log.find("[" + name + "]");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->function(), name);
    app_control_destroy(reply);
  }
}

TEST_F(ReplyCallback, MissingRequestIsLoggedAndNothingIsCalled) {
  LogCapture log;
  app_control_h reply = make_reply({});
  reply_as("access_token_result_cb", reply, APP_CONTROL_RESULT_SUCCEEDED, nullptr);
  EXPECT_TRUE(log.has(kVaTag, 6, "request is NULL")) << log.dump();
  app_control_destroy(reply);
}

}  // namespace
}  // namespace vtest
