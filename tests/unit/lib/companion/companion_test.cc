// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the companion handle, its accessors and the checks and sending of the two
// companion requests. The agent here is the test callee (tests/apps/ipc_callee.cc), which
// answers with the extras it received, so the test sees exactly what was sent.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "account_record.h"
#include "app_control.h"
#include "companion_record.h"
#include "dlog.h"
#include "log_capture.hh"
#include "platform_root.hh"
#include "request_operation.h"
#include "request_record.h"
#include "request_reply.h"
#include "test_apps.hh"
#include "velmora_account.h"
#include "velmora_account_companion.h"

using vtest::kVaTag;

namespace {

struct Reply {
  int calls = 0;
  int result = 12345;
  int exists_ret = 12345;
  bool exists = false;
  static void cb(int result, velmora_account_h account, velmora_account_companion_h companion,
                 void *user_data) {
    auto *self = static_cast<Reply *>(user_data);
    ++self->calls;
    self->result = result;
    if (account) velmora_account_destroy(account);
    if (companion) {
      self->exists_ret = velmora_account_companion_get_property_bool(
          companion, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, &self->exists);
      velmora_account_companion_destroy(companion);
    }
  }
};

class Companion : public ::testing::Test {
 protected:
  void SetUp() override {
    root_.set_profile("wearable");
    root_.install_agent(5, vtest::apps::path("ipc_callee"));
  }
  void TearDown() override {
    if (handle_) velmora_account_destroy(handle_);
    vtest::apps::kill_instances(root_.path());
  }
  velmora_account_h handle() {
    if (!handle_) EXPECT_EQ(velmora_account_create(&handle_), 0);
    return handle_;
  }
  vtest::PlatformRoot root_;
  velmora_account_h handle_ = nullptr;
};

}  // namespace

// ---- the handle ----

TEST_F(Companion, CreateLeavesBothTriStatesUnknown) {
  velmora_account_companion_h c = nullptr;
  ASSERT_EQ(velmora_account_companion_create(&c), 0);
  EXPECT_EQ(c->mobile_account_exist, VA_TRISTATE_UNSET);
  EXPECT_EQ(c->register_trusted_device, VA_TRISTATE_UNSET);
  EXPECT_FALSE(c->connected);
  bool value = true;
  EXPECT_EQ(velmora_account_companion_get_property_bool(
                c, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, &value),
            VELMORA_ACCOUNT_ERROR_NO_DATA);
  EXPECT_EQ(velmora_account_companion_destroy(c), 0);
}

TEST_F(Companion, AccessorsReachTheAccountProperties) {
  velmora_account_companion_h c = nullptr;
  ASSERT_EQ(velmora_account_companion_create(&c), 0);
  vtest::LogCapture log;
  ASSERT_EQ(velmora_account_companion_set_property_str(c, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me"),
            0);
  EXPECT_TRUE(
      log.has(kVaTag, DLOG_INFO, "[velmora_account_companion_set_property_str] property : 9"))
      << log.dump();
  char *s = nullptr;
  ASSERT_EQ(velmora_account_companion_get_property_str(c, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, &s),
            0);
  EXPECT_STREQ(s, "me");
  free(s);
  EXPECT_TRUE(
      log.has(kVaTag, DLOG_INFO, "[velmora_account_companion_get_property_str] property : 9"))
      << log.dump();
  ASSERT_EQ(
      velmora_account_companion_set_property_int(c, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, 30),
      0);
  int i = 0;
  ASSERT_EQ(
      velmora_account_companion_get_property_int(c, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, &i),
      0);
  EXPECT_EQ(i, 30);
  ASSERT_EQ(velmora_account_companion_set_property_bool(
                c, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, true),
            0);
  bool b = false;
  ASSERT_EQ(velmora_account_companion_get_property_bool(
                c, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, &b),
            0);
  EXPECT_TRUE(b);
  // Every string is freed by destroy, the three that velmora_account_destroy keeps included.
  ASSERT_EQ(velmora_account_companion_set_property_str(
                c, VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID, "partner"),
            0);
  EXPECT_EQ(velmora_account_companion_destroy(c), 0);
}

TEST_F(Companion, AccessorsCheckTheirArguments) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_companion_create(nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(velmora_account_companion_destroy(nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(data == NULL)")) << log.dump();
  velmora_account_companion_h c = va_companion_new();
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(velmora_account_companion_get_property_str(c, 9, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(value == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_companion_set_property_str(nullptr, 9, "x"),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(handle == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_companion_get_property_int(c, 2, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(velmora_account_companion_get_property_bool(c, 3, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  va_companion_free(c);
}

TEST(CompanionGate, BelowLevelFiveNothingIsAllocated) {
  vtest::PlatformRoot root;
  root.set_profile("wearable");
  root.install_agent(4);
  vtest::LogCapture log;
  velmora_account_companion_h c = nullptr;
  EXPECT_EQ(velmora_account_companion_create(&c), VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(c, nullptr);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(is_lower_agent(5) == true)")) << log.dump();
  velmora_account_h h = nullptr;
  ASSERT_EQ(velmora_account_create(&h), 0);
  EXPECT_EQ(velmora_account_companion_get_account(h, Reply::cb, nullptr),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(velmora_account_companion_sign_in(h, Reply::cb, nullptr),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  velmora_account_destroy(h);
}

TEST(CompanionGate, WithoutAgentNotSupported) {
  vtest::PlatformRoot root;
  vtest::LogCapture log;
  velmora_account_companion_h c = nullptr;
  EXPECT_EQ(velmora_account_companion_create(&c), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_companion_get_account(nullptr, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(is_agent_installed() == false)")) << log.dump();
}

TEST(CompanionGate, OnAPhoneBothRequestsAreRefusedBeforeAnyAllocation) {
  vtest::PlatformRoot root;
  root.set_profile("mobile");
  root.install_agent(5);
  velmora_account_h h = nullptr;
  ASSERT_EQ(velmora_account_create(&h), 0);
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_companion_get_account(h, Reply::cb, nullptr),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_companion_sign_in(h, Reply::cb, nullptr),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(log.count("wearable, [ERROR_NOT_SUPPORTED]"), 2) << log.dump();
  EXPECT_EQ(log.count("(clone == NULL)"), 0);
  EXPECT_EQ(log.count("companion_get_account [Wearable]"), 0);  // logged only after the clone
  velmora_account_destroy(h);
}

TEST_F(Companion, RequestsCheckHandleAndCallback) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_companion_sign_in(nullptr, Reply::cb, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(handle == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_companion_get_account(handle(), nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(callback == NULL)")) << log.dump();
}

TEST_F(Companion, ATimeOutAboveThreeHundredIsRefused) {
  ASSERT_EQ(
      velmora_account_set_property_int(handle(), VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, 301), 0);
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_companion_sign_in(handle(), Reply::cb, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "Timeout [301], [ERROR_INVALID_PARAMETER]"))
      << log.dump();
}

TEST_F(Companion, ATimeOutOfThreeHundredIsSentAsItIs) {
  ASSERT_EQ(
      velmora_account_set_property_int(handle(), VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, 300), 0);
  vtest::LogCapture log;
  Reply r;
  ASSERT_EQ(velmora_account_companion_sign_in(handle(), Reply::cb, &r), 0);
  ASSERT_TRUE(vtest::apps::run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.result, 0);
  // The callee answers with what it received.
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "Key[api_timeout], Value[300]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "Get mobile_account_exist [Wearable]")) << log.dump();
  // A reply without "check_mobile_account_exist" leaves the state unknown.
  EXPECT_EQ(r.exists_ret, VELMORA_ACCOUNT_ERROR_NO_DATA);
}

TEST_F(Companion, NoTimeOutSendsNoTimeOut) {
  vtest::LogCapture log;
  Reply r;
  ASSERT_EQ(velmora_account_companion_sign_in(handle(), Reply::cb, &r), 0);
  ASSERT_TRUE(vtest::apps::run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(log.count("Key[api_timeout]"), 0) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO,
                      "Key[operation], Value[http://dev.velmora.account/appcontrol/operation/"
                      "companion_signin]"))
      << log.dump();
}

TEST_F(Companion, TheAccountCheckGoesToTheUiApplication) {
  vtest::LogCapture log;
  Reply r;
  ASSERT_EQ(velmora_account_companion_get_account(handle(), Reply::cb, &r), 0);
  ASSERT_TRUE(vtest::apps::run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.result, 0);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "companion_get_account [Wearable]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO,
                      "Key[operation], Value[http://dev.velmora.account/appcontrol/operation/"
                      "companion_accountexist]"))
      << log.dump();
  EXPECT_FALSE(vtest::apps::starts(root_.path(), "dev.velmora.account.ui").empty());
}

TEST_F(Companion, TheReplyStateFollowsTrueAndFalseOnly) {
  for (const char *value : {"true", "false", "TRUE", ""}) {
    velmora_account_companion_h c = va_companion_new();
    app_control_h reply = nullptr;
    ASSERT_EQ(app_control_create(&reply), 0);
    app_control_add_extra_data(reply, "check_mobile_account_exist", value);
    app_control_foreach_extra_data(reply, va_foreach_companion_extra_cb, c);
    const int want = std::string(value) == "true"    ? VA_TRISTATE_TRUE
                     : std::string(value) == "false" ? VA_TRISTATE_FALSE
                                                     : VA_TRISTATE_UNSET;
    EXPECT_EQ(c->mobile_account_exist, want) << value;
    app_control_destroy(reply);
    va_companion_free(c);
  }
}

TEST(CompanionGate, BelowLevelFiveEveryAccessorIsALowerVersion) {
  vtest::PlatformRoot root;
  root.set_profile("wearable");
  root.install_agent(4);
  velmora_account_companion_h c = va_companion_new();
  ASSERT_NE(c, nullptr);
  vtest::LogCapture log;
  char *s = nullptr;
  int i = 0;
  bool b = false;
  const int lower = VELMORA_ACCOUNT_ERROR_LOWER_VERSION;
  EXPECT_EQ(velmora_account_companion_get_property_str(c, 9, &s), lower);
  EXPECT_EQ(velmora_account_companion_set_property_str(c, 9, "x"), lower);
  EXPECT_EQ(velmora_account_companion_get_property_int(c, 2, &i), lower);
  EXPECT_EQ(velmora_account_companion_set_property_int(c, 2, 1), lower);
  EXPECT_EQ(velmora_account_companion_get_property_bool(c, 3, &b), lower);
  EXPECT_EQ(velmora_account_companion_set_property_bool(c, 3, true), lower);
  EXPECT_EQ(velmora_account_companion_destroy(c), lower);
  EXPECT_EQ(log.count("(is_lower_agent(5) == true)"), 7) << log.dump();
  EXPECT_EQ(c->login_id, nullptr);  // nothing was set
  va_companion_free(c);
}

TEST_F(Companion, AZeroOrNegativeTimeOutSendsNoTimeOut) {
  for (int timeout : {0, -5}) {
    ASSERT_EQ(velmora_account_set_property_int(handle(), VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT,
                                               timeout),
              0);
    vtest::LogCapture log;
    Reply r;
    ASSERT_EQ(velmora_account_companion_sign_in(handle(), Reply::cb, &r), 0);
    ASSERT_TRUE(vtest::apps::run_until([&] { return r.calls > 0; }));
    EXPECT_EQ(r.result, 0) << timeout;
    EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "Get mobile_account_exist [Wearable]")) << log.dump();
    EXPECT_EQ(log.count("Key[api_timeout]"), 0) << timeout << "\n" << log.dump();
  }
}

// ---- the reply callback with the companion parser ----

namespace {

// The function that logged the first line holding `text`.
std::string function_of(const vtest::LogCapture &log, const char *text) {
  const vtest::LogLine *line = log.find(text);
  return line ? line->function() : std::string("<no line: ") + text + ">";
}

// A request record as the app-control send leaves it, for a reply named `reply_name`.
struct SentRequest {
  va_operation_s row = {};
  velmora_account_request_h request = nullptr;

  SentRequest(const char *reply_name, Reply *r) {
    row.name = "velmora_account_companion_get_account";
    row.app_control.reply_name = reply_name;
    row.app_control.parser = va_companion_reply_parser;
    request = static_cast<velmora_account_request_h>(calloc(1, sizeof *request));
    EXPECT_EQ(velmora_account_create(&request->account), 0);
    request->op = &row;
    request->app_control_cb = VA_REQUEST_CB(Reply::cb);
    request->user_data = r;
  }
};

}  // namespace

TEST_F(Companion, ASuccessfulReplySetsTheStateAndLogsEveryKey) {
  Reply r;
  SentRequest sent("companion_get_account_cb", &r);
  app_control_h reply = nullptr;
  ASSERT_EQ(app_control_create(&reply), 0);
  app_control_add_extra_data(reply, "login_id", "me@velmora.dev");
  app_control_add_extra_data(reply, "check_mobile_account_exist", "true");
  vtest::LogCapture log;
  va_reply_app_control_cb(nullptr, reply, APP_CONTROL_RESULT_SUCCEEDED, sent.request);
  app_control_destroy(reply);
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.exists_ret, 0);
  EXPECT_TRUE(r.exists);
  EXPECT_EQ(function_of(log, "[companion_get_account_cb]"), "companion_get_account_cb");
  EXPECT_EQ(function_of(log, "Key[login_id]"), "foreach_companion_extra_cb");
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "Key[login_id], Value[me@velmora.dev]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "Key[check_mobile_account_exist], Value[true]"))
      << log.dump();
  EXPECT_EQ(function_of(log, "REQUEST_HANDLE_FREE"), "companion_get_account_cb");
}

TEST_F(Companion, AFailedReplyPassesTheCompanionUnfilledWithTheConvertedError) {
  Reply r;
  SentRequest sent("companion_sign_in_result_cb", &r);
  app_control_h reply = nullptr;
  ASSERT_EQ(app_control_create(&reply), 0);
  app_control_add_extra_data(reply, "error_code", "-1056964574");
  app_control_add_extra_data(reply, "check_mobile_account_exist", "true");
  vtest::LogCapture log;
  va_reply_app_control_cb(nullptr, reply, APP_CONTROL_RESULT_FAILED, sent.request);
  app_control_destroy(reply);
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, -1056964574);
  EXPECT_EQ(r.exists_ret, VELMORA_ACCOUNT_ERROR_NO_DATA);  // not walked: still unknown
  EXPECT_EQ(function_of(log, "[CONVERT_ERROR_CODE] AppControl result fail"),
            "companion_sign_in_result_cb");
  EXPECT_EQ(log.count("Key[check_mobile_account_exist]"), 0) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "REQUEST_HANDLE_FREE")) << log.dump();
}

TEST_F(Companion, AFailedReplyWithoutAnErrorCodeIsNotReadAndGivesZero) {
  // A failed launch whose reply says nothing of the error, and one without a reply at all (the
  // agent went away before it answered): neither is walked.
  for (const char *reply_name : {"companion_get_account_cb", "companion_sign_in_result_cb"}) {
    for (bool with_reply : {true, false}) {
      SCOPED_TRACE(std::string(reply_name) + (with_reply ? " with a reply" : " without a reply"));
      Reply r;
      SentRequest sent(reply_name, &r);
      app_control_h reply = nullptr;
      if (with_reply) {
        ASSERT_EQ(app_control_create(&reply), 0);
        app_control_add_extra_data(reply, "check_mobile_account_exist", "true");
      }
      vtest::LogCapture log;
      va_reply_app_control_cb(nullptr, reply, APP_CONTROL_RESULT_FAILED, sent.request);
      if (reply) app_control_destroy(reply);
      EXPECT_EQ(r.calls, 1);
      EXPECT_EQ(r.result, VELMORA_ACCOUNT_ERROR_NONE);         // no "error_code": converted to 0
      EXPECT_EQ(r.exists_ret, VELMORA_ACCOUNT_ERROR_NO_DATA);  // not walked: still unknown
      EXPECT_EQ(function_of(log, "[CONVERT_ERROR_CODE] AppControl result fail"), reply_name);
      EXPECT_EQ(function_of(log, "ErrorCode is NULL [(null)], value set to 0"),
                "_velmora_account_convert_error");
      for (const vtest::LogLine &line : log.lines())
        EXPECT_NE(line.text().rfind("Key[", 0), 0u) << "the reply was walked: " << line.message;
      EXPECT_EQ(log.count("Fail to app_control_foreach_extra_data"), 0) << log.dump();
      EXPECT_EQ(function_of(log, "REQUEST_HANDLE_FREE"), reply_name);
    }
  }
}

TEST_F(Companion, AReplyThatCannotBeWalkedGivesTheWalksResult) {
  Reply r;
  SentRequest sent("companion_get_account_cb", &r);
  vtest::LogCapture log;
  va_reply_app_control_cb(nullptr, nullptr, APP_CONTROL_RESULT_SUCCEEDED, sent.request);
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(r.exists_ret, VELMORA_ACCOUNT_ERROR_NO_DATA);
  EXPECT_EQ(function_of(log, "Fail to app_control_foreach_extra_data"), "companion_get_account_cb");
}
