// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the replies that are not account properties: the signed-in status and the list of
// signed-in login ids.
#include <gtest/gtest.h>

#include <string>

#include "reply_fixture.hh"

namespace vtest {
namespace {

using SignedInStatusReply = ReplyTest;
using AccountListReply = ReplyTest;

va_signed_in_status_s *new_status() {
  return static_cast<va_signed_in_status_s *>(calloc(1, sizeof(va_signed_in_status_s)));
}
va_account_id_list_s *new_ids() {
  return static_cast<va_account_id_list_s *>(calloc(1, sizeof(va_account_id_list_s)));
}

TEST_F(SignedInStatusReply, TrueOnlyForTheExactValueTrue) {
  const std::pair<const char *, bool> cases[] = {
      {"true", true}, {"TRUE", false}, {"false", false}, {"1", false}};
  for (const auto &c : cases) {
    Received rx;
    auto *request = app_control_request(as_request_cb(Received::status), &rx, new_status());
    app_control_h reply = make_reply({{"login_id", "u"}, {"is_signin", c.first}});
    reply_as("signed_in_status_cb", reply, APP_CONTROL_RESULT_SUCCEEDED, request);
    EXPECT_EQ(rx.calls, 1);
    EXPECT_EQ(rx.result, 0);
    EXPECT_EQ(rx.signed_in, c.second) << c.first;
    // The status reply does not fill the account.
    EXPECT_EQ(str_of(rx.account, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), "<unset>");
    app_control_destroy(reply);
  }
}

TEST_F(SignedInStatusReply, WithoutTheKeyTheStatusIsFalse) {
  Received rx;
  auto *request = app_control_request(as_request_cb(Received::status), &rx, new_status());
  app_control_h reply = make_reply({{"error_code", "-1073741830"}});
  reply_as("signed_in_status_cb", reply, APP_CONTROL_RESULT_FAILED, request);
  EXPECT_EQ(rx.result, VELMORA_ACCOUNT_ERROR_NEED_SIGNIN);
  EXPECT_FALSE(rx.signed_in);
  app_control_destroy(reply);
}

TEST_F(SignedInStatusReply, VisitorStopsAtIsSignin) {
  va_signed_in_status_s status = {};
  app_control_h reply = make_reply({{"is_signin", "true"}});
  EXPECT_TRUE(va_foreach_signed_in_status_cb(reply, "other", &status));
  EXPECT_FALSE(status.is_signed_in);
  EXPECT_FALSE(va_foreach_signed_in_status_cb(reply, "is_signin", &status));
  EXPECT_TRUE(status.is_signed_in);
  app_control_destroy(reply);
}

TEST_F(AccountListReply, TwelveLoginIdsGiveTheFirstTen) {
  std::vector<std::pair<std::string, std::string>> extras;
  for (int i = 0; i < 12; ++i)
    extras.emplace_back("login_id" + std::to_string(i), "user" + std::to_string(i));
  Received rx;
  auto *request = app_control_request(as_request_cb(Received::list), &rx, new_ids());
  app_control_h reply = make_reply(extras);
  LogCapture log;
  reply_as("account_list_cb", reply, APP_CONTROL_RESULT_SUCCEEDED, request);
  EXPECT_EQ(rx.calls, 1);
  EXPECT_EQ(rx.result, 0);
  ASSERT_EQ(rx.length, 10);
  ASSERT_EQ(rx.ids.size(), 10u);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(rx.ids[i], "user" + std::to_string(i));
  EXPECT_TRUE(log.has(kVaTag, 4, "Invalid list index [10]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[__velmora_account_destroy_accountId] [length = 10]"))
      << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "foreach_signed_in_account_cb [user0]")) << log.dump();
  app_control_destroy(reply);
}

TEST_F(AccountListReply, AnyKeyContainingLoginIdCounts) {
  Received rx;
  auto *request = app_control_request(as_request_cb(Received::list), &rx, new_ids());
  app_control_h reply = make_reply({{"login_id", "a"},
                                    {"x_login_id", "b"},
                                    {"login_id_y", "c"},
                                    {"prelogin_idpost", "d"},
                                    {"loginid", "no"},
                                    {"LOGIN_ID", "no"},
                                    {"user_id", "no"}});
  reply_as("account_list_cb", reply, APP_CONTROL_RESULT_SUCCEEDED, request);
  ASSERT_EQ(rx.length, 4);
  EXPECT_EQ(rx.ids, (std::vector<std::string>{"a", "b", "c", "d"}));
  app_control_destroy(reply);
}

TEST_F(AccountListReply, NoLoginIdsGiveAnEmptyList) {
  Received rx;
  auto *request = app_control_request(as_request_cb(Received::list), &rx, new_ids());
  app_control_h reply = make_reply({{"count", "0"}});
  reply_as("account_list_cb", reply, APP_CONTROL_RESULT_SUCCEEDED, request);
  EXPECT_EQ(rx.result, 0);
  EXPECT_EQ(rx.length, 0);
  app_control_destroy(reply);
}

TEST_F(AccountListReply, FailedWalkDeliversNoDataAndNoList) {
  // Without a reply (the agent went away) the walk itself fails.
  Received rx;
  auto *request = app_control_request(as_request_cb(Received::list), &rx, new_ids());
  LogCapture log;
  reply_as("account_list_cb", nullptr, APP_CONTROL_RESULT_FAILED, request);
  EXPECT_EQ(rx.calls, 1);
  EXPECT_EQ(rx.result, VELMORA_ACCOUNT_ERROR_NO_DATA);
  EXPECT_TRUE(rx.list_null);
  EXPECT_EQ(rx.length, 0);
  EXPECT_TRUE(log.has(kVaTag, 4, "Fail to app_control_foreach_extra_data")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[__velmora_account_destroy_accountId] [length = 0]"))
      << log.dump();
}

}  // namespace
}  // namespace vtest
