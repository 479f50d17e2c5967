// SPDX-License-Identifier: Apache-2.0
// Velmora tests: what velmora_account_sign_out and velmora_account_request_confirm_user send, with
// their checks and log lines (against a stand-in agent that records every request).
#include "signin_fixture.hh"

namespace vtest {
namespace {

using SignOutForms = SignInTest;
using ConfirmUserForms = SignInTest;

TEST_F(SignOutForms, TheLoginIdIsSentAndTheResponseHasNone) {
  prepare_recorder();
  LogCapture log;
  Completion done;
  ASSERT_TRUE(done.run(velmora_account_sign_out, credentials()));
  EXPECT_EQ(done.result, VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(recorded(),
            std::vector<std::string>{std::string(REQUEST_OP_SIGNOUT) + "\tlogin_id=" + kLogin});
  // The stand-in echoes the login id; the response handle still has none.
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), "<unset>");
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[sign_out_result_cb]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "Unset LOGIN_ID"));
}

TEST_F(SignOutForms, WithoutALoginIdItIsInvalid) {
  prepare_recorder();
  LogCapture log;
  Completion done;
  EXPECT_EQ(velmora_account_sign_out(handle({}), Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO,
                      "Invalid Property, login_id is not sets. [VA_ERROR_INVALID_PARAMETER]"))
      << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "VELMORA_ACCOUNT_FREE"));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "APP_CONTROL_FREE"));
  run_pending();
  EXPECT_TRUE(recorded().empty());
}

TEST_F(ConfirmUserForms, TheUiApplicationSendsLoginIdAndPassword) {
  prepare_recorder();
  run_as(kUiApp);
  LogCapture log;
  Completion done;
  ASSERT_TRUE(done.run(velmora_account_request_confirm_user, credentials()));
  EXPECT_TRUE(
      log.has(kVaTag, DLOG_INFO, "UI [dev.velmora.account.ui] called confirm_user() with ID/PW"))
      << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[confirm_user_result_cb]"));
  EXPECT_EQ(recorded(), std::vector<std::string>{std::string(REQUEST_OP_CONFIRMUSER) +
                                                 "\tlogin_id=" + kLogin + "\tpw=" + kPassword});
}

TEST_F(ConfirmUserForms, TheUiApplicationNeedsLoginIdAndPassword) {
  prepare_recorder();
  run_as(kUiApp);
  LogCapture log;
  Completion done;
  EXPECT_EQ(velmora_account_request_confirm_user(
                handle({{VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin}}), Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO,
                      "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]"))
      << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "APP_CONTROL_FREE"));
  run_pending();
  EXPECT_TRUE(recorded().empty());
}

TEST_F(ConfirmUserForms, AnOrdinaryApplicationGetsTheLoginViewOrIsRefused) {
  prepare_recorder();
  run_as(kOrdinaryApp);
  LogCapture log;
  Completion done;
  EXPECT_EQ(velmora_account_request_confirm_user(credentials(), Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "RETV_IF_NOT_SUPPORTED, [ERROR_NOT_SUPPORTED]"))
      << log.dump();
  ASSERT_TRUE(done.run(velmora_account_request_confirm_user,
                       handle({{VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin}})));
  EXPECT_EQ(log.count("[dev.example.notes] called confirm_user() to show Login view"), 2);
  EXPECT_EQ(recorded(), std::vector<std::string>{std::string(REQUEST_OP_CONFIRMUSER_POPUP)});
}

}  // namespace
}  // namespace vtest
