// SPDX-License-Identifier: Apache-2.0
// Velmora tests: running an operation from its table row (va_operation_run): the shared checks in
// their order, the hooks a row may name, the reply holder, call arguments, and the choice of
// transport. Method calls are replaced by the test's own, so no agent runs.
#include <gtest/gtest.h>

#include <string>

#include "account_svc_proxy.h"
#include "reply_fixture.hh"
#include "va_log.h"
#include "velmora_account_request_op.h"

#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace vtest {
namespace {

using Operation = ReplyTest;

struct Seen {
  int checks = 0;
  int prepares = 0;
  int invokes = 0;
  bool clone_existed_at_check = false;
  std::string login_id;
};
Seen g_seen;

int check_hook(const va_op_call_s *call) {
  ++g_seen.checks;
  g_seen.clone_existed_at_check = call->clone != nullptr;
  return call->args != nullptr && call->args->values[1] != nullptr
             ? VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED
             : VELMORA_ACCOUNT_ERROR_NONE;
}

int fake_invoke(const va_op_call_s *, rpc_port_proxy_AccountSvc_h, rpc_port_AccountS_h s, void *) {
  ++g_seen.invokes;
  char *login = nullptr;
  if (rpc_port_AccountS_get_LoginId(s, &login) == 0) g_seen.login_id = login;
  free(login);
  return -5;
}

constexpr va_extra_s kExtras[] = {
    {.key = "login_id",
     .field = rpc_port_AccountS_set_LoginId,
     .source = VA_SOURCE_ARG,
     .property = 0,
     .need = VA_EXTRA_REQUIRED,
     .set_log = "Set argument, login_id",
     .log_value = true},
};

constexpr va_extra_s kOtherFormExtras[] = {
    {.key = "mode", .source = VA_SOURCE_CONST, .value = "other", .set_log = "Other form"},
};

const va_operation_s kOtherForm = {
    .name = "test_operation",
    .extras = kOtherFormExtras,
    .extra_count = 1,
    .app_control = {.app_id = "dev.velmora.account",
                    .operation = &REQUEST_OP_SIGNIN_POPUP,
                    .reply_name = "other_form_cb"},
};

int prepare_hook(va_op_call_s *call, app_control_h, const va_operation_s **form) {
  ++g_seen.prepares;
  if (call->args != nullptr && call->args->values[2] != nullptr) {
    VA_LOG_AS(DLOG_INFO, call->op->name, "prepare refuses");
    return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;
  }
  *form = &kOtherForm;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

const va_operation_s kOp = {
    .name = "test_operation",
    .api_level = 4,
    .extras = kExtras,
    .extra_count = 1,
    .invalid_property_log = "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .check = check_hook,
    .holder_size = 32,
    .app_control = {.mode_log = "Request Test to [APP_CONTROL] Mode",
                    .app_id = "dev.velmora.account",
                    .operation = &REQUEST_OP_GETACCESSTOKEN,
                    .prepare = prepare_hook,
                    .reply_name = "test_result_cb"},
};

velmora_account_request_cb response_cb() { return as_request_cb(Received::response); }

int run(const va_operation_s *op, velmora_account_h handle, const va_op_args_s *args,
        Received *rx) {
  g_seen = Seen{};
  return va_operation_run(op, handle, response_cb(), rx, args);
}

TEST_F(Operation, ChecksComeInTheSharedOrderUnderTheOperationsName) {
  Received rx;
  const va_op_args_s args = {.values = {"me"}};
  {
    LogCapture log;
    EXPECT_EQ(va_operation_run(&kOp, nullptr, nullptr, &rx, &args),
              VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
    EXPECT_TRUE(log.has(kVaTag, 4, "[test_operation]")) << log.dump();
    EXPECT_TRUE(log.has(kVaTag, 6, "(handle == NULL)")) << log.dump();
    EXPECT_EQ(log.find("(handle == NULL)")->function(), "test_operation");
    EXPECT_EQ(log.count("(callback == NULL)"), 0);
  }
  {
    LogCapture log;
    EXPECT_EQ(va_operation_run(&kOp, handle_, nullptr, &rx, &args),
              VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
    EXPECT_TRUE(log.has(kVaTag, 6, "(callback == NULL)")) << log.dump();
  }
  {
    LogCapture log;
    EXPECT_EQ(run(&kOp, handle_, nullptr, &rx), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
    EXPECT_TRUE(
        log.has(kVaTag, 4, "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]"))
        << log.dump();
    EXPECT_EQ(g_seen.checks, 0) << "the hook runs after the table's values";
  }
  EXPECT_EQ(rx.calls, 0);
}

TEST_F(Operation, CheckHookRunsBeforeTheClone) {
  Received rx;
  const va_op_args_s args = {.values = {"me", "refuse"}};
  LogCapture log;
  EXPECT_EQ(run(&kOp, handle_, &args, &rx), VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED);
  EXPECT_EQ(g_seen.checks, 1);
  EXPECT_FALSE(g_seen.clone_existed_at_check);
  EXPECT_EQ(log.count("[velmora_account_clone]"), 0) << log.dump();
}

TEST_F(Operation, AgentBelowTheRowsLevelIsALowerVersion) {
  root_.install_agent(3, "/nonexistent/velmora-agent");
  Received rx;
  const va_op_args_s args = {.values = {"me"}};
  LogCapture log;
  // The probe caches per process: this test's process saw no level yet.
  EXPECT_EQ(run(&kOp, handle_, &args, &rx), VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_TRUE(log.has(kVaTag, 6, "(is_lower_agent(4) == true)")) << log.dump();
  EXPECT_EQ(log.find("(is_lower_agent(4) == true)")->function(), "test_operation");
}

TEST_F(Operation, PrepareHookFailureReleasesTheCloneTheAppControlAndTheHolder) {
  Received rx;
  const va_op_args_s args = {.values = {"me", nullptr, "refuse"}};
  LogCapture log;
  EXPECT_EQ(run(&kOp, handle_, &args, &rx), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(g_seen.prepares, 1);
  EXPECT_TRUE(log.has(kVaTag, 4, "Request Test to [APP_CONTROL] Mode")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "prepare refuses")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "VELMORA_ACCOUNT_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "APP_CONTROL_FREE")) << log.dump();
  EXPECT_EQ(log.count("[test_operation] <<<< ended"), 0);
  EXPECT_EQ(rx.calls, 0);  // the holder's release is checked by the leak checker
}

TEST_F(Operation, PrepareHookPicksTheFormWhoseExtrasAreSent) {
  // The agent's package is gone by now: the launch fails and everything made is released.
  root_.remove_package("dev.velmora.account");
  Received rx;
  const va_op_args_s args = {.values = {"me"}};
  LogCapture log;
  EXPECT_EQ(run(&kOp, handle_, &args, &rx), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(log.has(kVaTag, 4, "Other form")) << log.dump();
  EXPECT_EQ(log.count("Set argument, login_id [me]"), 0) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "REQUEST_HANDLE_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[test_operation] <<<< ended")) << log.dump();
}

TEST_F(Operation, ArgumentsAreValuesOfTheCall) {
  const va_op_args_s args = {.values = {"me"}};
  va_op_call_s call = {};
  call.op = &kOp;
  call.handle = handle_;
  EXPECT_EQ(va_extra_value(&kExtras[0], &call), nullptr);
  call.args = &args;
  EXPECT_STREQ(va_extra_value(&kExtras[0], &call), "me");
}

TEST_F(Operation, ConnectedHandleGoesOverThePortOnlyWhenTheRowHasAPortForm) {
  va_operation_s op = kOp;
  op.api_level = 0;
  op.check = nullptr;
  op.app_control.prepare = nullptr;
  handle_->connected = true;  // as velmora_account_connect leaves it (no proxy needed here)
  root_.remove_package("dev.velmora.account");
  Received rx;
  const va_op_args_s args = {.values = {"me"}};
  {
    LogCapture log;
    EXPECT_EQ(run(&op, handle_, &args, &rx), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
    EXPECT_TRUE(log.has(kVaTag, 4, "Request Test to [APP_CONTROL] Mode")) << log.dump();
    EXPECT_EQ(g_seen.invokes, 0);
  }
  op.port = {.invoke = fake_invoke,
             .mode_log = "Request Test to [NIDL] Mode",
             .fail_name = "rpc_port_Test",
             .delegate = VA_DELEGATE_PLACE};
  {
    LogCapture log;
    // A place delegate this time: made, handed to the method, withdrawn when the call fails.
    EXPECT_EQ(run(&op, handle_, &args, &rx), -5);
    EXPECT_EQ(g_seen.invokes, 1);
    EXPECT_EQ(g_seen.login_id, "me");
    EXPECT_TRUE(log.has(kVaTag, 4, "Request Test to [NIDL] Mode")) << log.dump();
    EXPECT_TRUE(log.has(kVaTag, 4, "Failed to rpc_port_Test. err = -5")) << log.dump();
    EXPECT_TRUE(log.has(kVaTag, 4, "VELMORA_ACCOUNT_FREE")) << log.dump();
  }
  handle_->connected = false;
  EXPECT_EQ(rx.calls, 0);
}

}  // namespace
}  // namespace vtest
