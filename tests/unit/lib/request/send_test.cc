// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the two send paths, driven by a table of the test's own, with method calls
// replaced by the test so that every failure code can be produced.
#include <gtest/gtest.h>

#include <string>

#include "account_svc_proxy.h"
#include "reply_fixture.hh"
#include "request_operation.h"
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

int fake_invoke(const va_op_call_s *, rpc_port_proxy_AccountSvc_h, rpc_port_AccountS_h s, void *) {
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

const va_operation_s kOp = {
    .name = "test_operation",
    .extras = kExtras,
    .extra_count = sizeof(kExtras) / sizeof(kExtras[0]),
    .check_at = VA_CHECK_AFTER_TARGET,
    .invalid_property_log = "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.mode_log = "Request Test to [APP_CONTROL] Mode",
                    .app_id = "dev.velmora.account",
                    .operation = &REQUEST_OP_GETACCESSTOKEN,
                    .reply_name = "access_token_result_cb"},
    .port = {.invoke = fake_invoke,
             .mode_log = "Request Test to [NIDL] Mode",
             .fail_name = "rpc_port__Test",
             .reply_name = "NidlAccessTokenCb"},
};

velmora_account_request_cb response_cb() { return as_request_cb(Received::response); }

// A call of `op` on `handle` as va_operation_run makes it, with `clone` (and `holder`) made.
va_op_call_s call_of(const va_operation_s *op, velmora_account_h handle, velmora_account_h clone,
                     Received *rx, void *holder = nullptr) {
  va_op_call_s call = {};
  call.op = op;
  call.handle = handle;
  call.callback = response_cb();
  call.user_data = rx;
  call.clone = clone;
  call.holder = holder;
  return call;
}

// A call without a clone, for reading values.
va_op_call_s values_of(velmora_account_h handle) { return call_of(&kOp, handle, nullptr, nullptr); }

TEST_F(RequestSend, ValuesAreReadFromTheHandleBySource) {
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me");
  const va_op_call_s call = values_of(handle_);
  EXPECT_STREQ(va_extra_value(&kExtras[0], &call), "me");
  EXPECT_EQ(va_extra_value(&kExtras[1], &call), nullptr);
  // Flags: "Y" only when true; "N" when false or never set.
  EXPECT_STREQ(va_extra_value(&kExtras[4], &call), "N");
  ASSERT_EQ(velmora_account_set_property_bool(handle_, 1, false), 0);
  EXPECT_STREQ(va_extra_value(&kExtras[4], &call), "N");
  ASSERT_EQ(velmora_account_set_property_bool(handle_, 1, true), 0);
  EXPECT_STREQ(va_extra_value(&kExtras[4], &call), "Y");
  EXPECT_STREQ(va_extra_value(&kExtras[5], &call), "1");
}

TEST_F(RequestSend, MissingTellsRequiredFromOptional) {
  const va_op_call_s call = values_of(handle_);
  EXPECT_TRUE(va_operation_missing(&call, VA_EXTRA_REQUIRED));
  EXPECT_TRUE(va_operation_missing(&call, VA_EXTRA_REQUIRED_ON_TV));
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me");
  set(VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET, "s");
  EXPECT_FALSE(va_operation_missing(&call, VA_EXTRA_REQUIRED));
  EXPECT_FALSE(va_operation_missing(&call, VA_EXTRA_REQUIRED_ON_TV));
}

TEST_F(RequestSend, AccountSHoldsOnlyTheSetValues) {
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me");
  set(VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID, "partner");
  const va_op_call_s call = values_of(handle_);
  rpc_port_AccountS_h s = va_operation_account_s(&call);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(field(rpc_port_AccountS_get_LoginId, s), "me");
  EXPECT_EQ(field(rpc_port_AccountS_get_Password, s), "partner");
  EXPECT_EQ(field(rpc_port_AccountS_get_Scope, s), "<unset>");
  rpc_port_AccountS_destroy(s);
}

TEST_F(RequestSend, AppControlRequiredValueCheckedAfterTheTargetIsSet) {
  velmora_account_h clone = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &clone), 0);
  Received rx;
  LogCapture log;
  va_op_call_s call = call_of(&kOp, handle_, clone, &rx);
  EXPECT_EQ(va_send_app_control(&call), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
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
  ASSERT_EQ(va_account_clone(handle_, &clone), 0);
  Received rx;
  LogCapture log;
  void *holder = calloc(1, 16);  // freed with the failed request
  va_op_call_s call = call_of(&kOp, handle_, clone, &rx, holder);
  EXPECT_EQ(va_send_app_control(&call), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
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
  ASSERT_EQ(va_account_clone(handle_, &clone), 0);
  g_call = FakeCall{.answer = -1};
  Received rx;
  LogCapture log;
  va_op_call_s call = call_of(&kOp, handle_, clone, &rx);
  EXPECT_EQ(va_send_port(&call), VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
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
    ASSERT_EQ(va_account_clone(handle_, &clone), 0);
    g_call = FakeCall{.answer = code};
    Received rx;
    va_op_call_s call = call_of(&kOp, handle_, clone, &rx);
    EXPECT_EQ(va_send_port(&call), code);
    EXPECT_EQ(rx.calls, 0);
  }
}

TEST_F(RequestSend, NidlCommonAccountWithoutAProxyFails) {
  va_operation_s op = kOp;
  op.port.invoke = va_invoke_common_account;
  op.port.request_type = 6;
  op.port.fail_name = "rpc_port_CommonAccount";
  op.port.fail_type = true;
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me");
  velmora_account_h clone = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &clone), 0);
  Received rx;
  LogCapture log;
  // A handle from velmora_account_create has no proxy: the method call cannot be made.
  va_op_call_s call = call_of(&op, handle_, clone, &rx);
  EXPECT_EQ(va_send_port(&call), VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_TRUE(log.has(kVaTag, 4, "Failed to rpc_port_CommonAccount[6]. err = -1")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "REQUEST_HANDLE_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "VELMORA_ACCOUNT_FREE")) << log.dump();
}

}  // namespace
}  // namespace vtest
