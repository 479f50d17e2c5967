// Velmora tests: the two send paths, driven by a table of the test's own, with method calls
// replaced by the test so that every failure code can be produced.
#include <gtest/gtest.h>

#include <string>

#include "account_svc_proxy.h"
#include "reply_fixture.hh"
#include "request_send.h"
#include "velmora_account_request_op.h"

#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace vtest {
namespace {

using RequestSend = ReplyTest;

// What the replaced method call saw, and what it answers.
struct FakeCall {
  int answer = 0;
  int calls = 0;
  std::string login_id, client_id, scope, secret, password;
};
FakeCall g_call;

std::string field(int (*get)(rpc_port_AccountS_h, char **), rpc_port_AccountS_h s) {
  char *value = nullptr;
  if (get(s, &value) != 0) return "<unset>";
  std::string out = value;
  free(value);
  return out;
}

int fake_invoke(rpc_port_proxy_AccountSvc_h, rpc_port_AccountS_h s,
                rpc_port_AccountSvc_ResponseCb_h) {
  ++g_call.calls;
  g_call.login_id = field(rpc_port_AccountS_get_LoginId, s);
  g_call.client_id = field(rpc_port_AccountS_get_ClientId, s);
  g_call.scope = field(rpc_port_AccountS_get_Scope, s);
  g_call.secret = field(rpc_port_AccountS_get_ClientSecret, s);
  g_call.password = field(rpc_port_AccountS_get_Password, s);
  return g_call.answer;
}

constexpr va_extra_s kExtras[] = {
    {.key = "login_id",
     .field = rpc_port_AccountS_set_LoginId,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_LOGIN_ID,
     .need = VA_EXTRA_REQUIRED},
    {.key = "client_secret",
     .field = rpc_port_AccountS_set_ClientSecret,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET,
     .need = VA_EXTRA_REQUIRED_ON_TV,
     .set_log = "Set property, client_secret",
     .unset_log = "PROPERTY_CLIENT_SESRET is NULL"},
    {.key = "scope",
     .field = rpc_port_AccountS_set_Scope,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_SCOPE,
     .need = VA_EXTRA_OPTIONAL,
     .set_log = "Set property, scope",
     .log_value = true,
     .unset_log = "PROPERTY_SCOPE is NULL"},
    {.key = "partner",
     .field = rpc_port_AccountS_set_Password,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID},
    {.key = "flag",
     .source = VA_SOURCE_FLAG_YN,
     .property = VELMORA_ACCOUNT_PROPERTY_BOOL_REGISTER_TRUSTED_DEVICE},
    {.key = "fixed", .source = VA_SOURCE_CONST, .value = "1"},
};

const va_request_op_s kOp = {
    .name = "test_operation",
    .app_control_mode_log = "Request Test to [APP_CONTROL] Mode",
    .app_id = "dev.velmora.account",
    .operation = &REQUEST_OP_GETACCESSTOKEN,
    .reply_cb = access_token_result_cb,
    .required_check = VA_CHECK_AFTER_APP_ID,
    .invalid_property_log = "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .nidl_mode_log = "Request Test to [NIDL] Mode",
    .delegate_cb = NidlAccessTokenCb,
    .invoke = fake_invoke,
    .invoke_name = "rpc_port__Test",
    .extras = kExtras,
    .extra_count = sizeof(kExtras) / sizeof(kExtras[0]),
};

velmora_account_request_cb response_cb() { return as_request_cb(Received::response); }

TEST_F(RequestSend, ValuesAreReadFromTheHandleBySource) {
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me");
  EXPECT_STREQ(va_extra_value(&kExtras[0], handle_), "me");
  EXPECT_EQ(va_extra_value(&kExtras[1], handle_), nullptr);
  // Flags: "Y" only when true; "N" when false or never set.
  EXPECT_STREQ(va_extra_value(&kExtras[4], handle_), "N");
  ASSERT_EQ(velmora_account_set_property_bool(handle_, 1, false), 0);
  EXPECT_STREQ(va_extra_value(&kExtras[4], handle_), "N");
  ASSERT_EQ(velmora_account_set_property_bool(handle_, 1, true), 0);
  EXPECT_STREQ(va_extra_value(&kExtras[4], handle_), "Y");
  EXPECT_STREQ(va_extra_value(&kExtras[5], handle_), "1");
}

TEST_F(RequestSend, MissingTellsRequiredFromOptional) {
  EXPECT_TRUE(va_request_missing(&kOp, handle_, VA_EXTRA_REQUIRED));
  EXPECT_TRUE(va_request_missing(&kOp, handle_, VA_EXTRA_REQUIRED_ON_TV));
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me");
  set(VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET, "s");
  EXPECT_FALSE(va_request_missing(&kOp, handle_, VA_EXTRA_REQUIRED));
  EXPECT_FALSE(va_request_missing(&kOp, handle_, VA_EXTRA_REQUIRED_ON_TV));
}

TEST_F(RequestSend, AccountSHoldsOnlyTheSetValues) {
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me");
  set(VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID, "partner");
  rpc_port_AccountS_h s = va_request_account_s_from(&kOp, handle_);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(field(rpc_port_AccountS_get_LoginId, s), "me");
  EXPECT_EQ(field(rpc_port_AccountS_get_Password, s), "partner");
  EXPECT_EQ(field(rpc_port_AccountS_get_Scope, s), "<unset>");
  rpc_port_AccountS_destroy(s);
}

TEST_F(RequestSend, AppControlRequiredValueCheckedAfterTheTargetIsSet) {
  velmora_account_h clone = nullptr;
  ASSERT_EQ(velmora_account_clone(handle_, &clone), 0);
  Received rx;
  LogCapture log;
  EXPECT_EQ(va_request_send_app_control(&kOp, handle_, clone, response_cb(), &rx, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 4, "Request Test to [APP_CONTROL] Mode")) << log.dump();
  EXPECT_TRUE(
      log.has(kVaTag, 4, "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]"))
      << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "VELMORA_ACCOUNT_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "APP_CONTROL_FREE")) << log.dump();
  EXPECT_EQ(log.count("[test_operation] <<<< ended"), 0);
  const LogLine *line = log.find("VELMORA_ACCOUNT_FREE");
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->function(), "test_operation");
  EXPECT_EQ(rx.calls, 0);
}

TEST_F(RequestSend, AppControlLaunchToAMissingAgentIsNotSupportedAndReleasesEverything) {
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me");
  set(VELMORA_ACCOUNT_PROPERTY_SCOPE, "read");
  // The agent is known to be installed (cached) but its package is gone by now.
  root_.remove_package("dev.velmora.account");
  velmora_account_h clone = nullptr;
  ASSERT_EQ(velmora_account_clone(handle_, &clone), 0);
  Received rx;
  LogCapture log;
  void *holder = calloc(1, 16);  // freed with the failed request
  EXPECT_EQ(va_request_send_app_control(&kOp, handle_, clone, response_cb(), &rx, holder),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(log.has(kVaTag, 4, "PROPERTY_CLIENT_SESRET is NULL")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "Set property, scope [read]")) << log.dump();
  EXPECT_TRUE(log.has(
      kVaTag, 4,
      "app_control_send_launch_request failed [-17825759][APP_CONTROL_ERROR_APP_NOT_FOUND]"))
      << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "REQUEST_HANDLE_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "VELMORA_ACCOUNT_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "APP_CONTROL_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[test_operation] <<<< ended")) << log.dump();
  EXPECT_EQ(rx.calls, 0);
}

TEST_F(RequestSend, NidlSendsTheSetValuesAndMapsMinusOneToOutOfMemory) {
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me");
  set(VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET, "s3cr3t");
  velmora_account_h clone = nullptr;
  ASSERT_EQ(velmora_account_clone(handle_, &clone), 0);
  g_call = FakeCall{.answer = -1};
  Received rx;
  LogCapture log;
  EXPECT_EQ(va_request_send_nidl(&kOp, handle_, clone, response_cb(), &rx),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(g_call.calls, 1);
  EXPECT_EQ(g_call.login_id, "me");
  EXPECT_EQ(g_call.secret, "s3cr3t");
  EXPECT_EQ(g_call.scope, "<unset>");
  EXPECT_TRUE(log.has(kVaTag, 4, "Request Test to [NIDL] Mode")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "Failed to rpc_port__Test. err = -1")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[test_operation] <<<< ended")) << log.dump();
  // The optional-value lines belong to the app-control form only; no secret is logged.
  EXPECT_EQ(log.count("PROPERTY_SCOPE is NULL"), 0);
  for (const LogLine &line : log.lines())
    EXPECT_EQ(line.message.find("s3cr3t"), std::string::npos) << line.message;
  EXPECT_EQ(rx.calls, 0);
}

TEST_F(RequestSend, NidlOtherFailureCodesPassUnchanged) {
  for (int code : {-13, -5, -22, 1, static_cast<int>(0xC1000001u)}) {
    velmora_account_h clone = nullptr;
    ASSERT_EQ(velmora_account_clone(handle_, &clone), 0);
    g_call = FakeCall{.answer = code};
    Received rx;
    EXPECT_EQ(va_request_send_nidl(&kOp, handle_, clone, response_cb(), &rx), code);
    EXPECT_EQ(rx.calls, 0);
  }
}

TEST_F(RequestSend, NidlCommonAccountWithoutAProxyFails) {
  va_request_op_s op = kOp;
  op.invoke = nullptr;
  op.common_type = 6;
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me");
  velmora_account_h clone = nullptr;
  ASSERT_EQ(velmora_account_clone(handle_, &clone), 0);
  Received rx;
  LogCapture log;
  // A handle from velmora_account_create has no proxy: the method call cannot be made.
  EXPECT_EQ(va_request_send_nidl(&op, handle_, clone, response_cb(), &rx),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_TRUE(log.has(kVaTag, 4, "Failed to rpc_port_CommonAccount[6]. err = -1")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "REQUEST_HANDLE_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "VELMORA_ACCOUNT_FREE")) << log.dump();
}

}  // namespace
}  // namespace vtest
