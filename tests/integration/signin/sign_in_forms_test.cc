// SPDX-License-Identifier: Apache-2.0
// Velmora tests: what velmora_account_sign_in sends for each caller and each form, with the result
// codes and log lines of its checks (against a stand-in agent that records every request).
#include "signin_fixture.hh"

namespace vtest {
namespace {

using SignInForms = SignInTest;

std::string line(const char *operation, const std::string &extras = "") {
  return std::string(operation) + extras;
}

TEST_F(SignInForms, AnOrdinaryApplicationWithCredentialsIsRefused) {
  prepare_recorder();
  run_as(kOrdinaryApp);
  LogCapture log;
  Completion done;
  EXPECT_EQ(velmora_account_sign_in(credentials(), Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "sign_in to [APP_CONTROL] Mode")) << log.dump();
  EXPECT_TRUE(
      log.has(kVaTag, DLOG_INFO, "[dev.example.notes] called sign_in() to show Login view"));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "RETV_IF_NOT_SUPPORTED, [ERROR_NOT_SUPPORTED]"));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "VELMORA_ACCOUNT_FREE"));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "APP_CONTROL_FREE"));
  EXPECT_EQ(log.count("[velmora_account_sign_in] <<<< ended"), 0);
  run_pending();
  EXPECT_EQ(done.calls, 0);
  EXPECT_TRUE(recorded().empty());
}

TEST_F(SignInForms, AnOrdinaryApplicationWithoutThePasswordAsksForTheLoginView) {
  prepare_recorder();
  run_as(kOrdinaryApp);
  LogCapture log;
  Completion done;
  ASSERT_EQ(velmora_account_sign_in(handle({{VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin}}),
                                    Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_sign_in]")) << log.dump();
  EXPECT_TRUE(
      log.has(kVaTag, DLOG_INFO, "[dev.example.notes] called sign_in() to show Login view"));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_sign_in] <<<< ended"));
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[sign_in_result_cb]"));
  // No extras: the agent shows its login view.
  EXPECT_EQ(recorded(), std::vector<std::string>{line(REQUEST_OP_SIGNIN_POPUP)});
}

TEST_F(SignInForms, WithoutACallerIdSignInFallsBackToTheLoginView) {
  prepare_recorder();
  run_as(nullptr);
  LogCapture log;
  Completion done;
  EXPECT_EQ(velmora_account_sign_in(credentials(), Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[(null)] called sign_in() to show Login view"))
      << log.dump();
  ASSERT_TRUE(done.run(velmora_account_sign_in, handle({})));
  EXPECT_EQ(recorded(), std::vector<std::string>{line(REQUEST_OP_SIGNIN_POPUP)});
}

TEST_F(SignInForms, TheUiApplicationSendsLoginIdPasswordAndTheSecondFactorFlag) {
  prepare_recorder();
  run_as(kUiApp);
  LogCapture log;
  Completion first, second;
  velmora_account_h h = credentials();
  ASSERT_TRUE(first.run(velmora_account_sign_in, h));
  ASSERT_EQ(velmora_account_set_property_bool(
                h, VELMORA_ACCOUNT_PROPERTY_BOOL_CHECK_2FACTOR_AUTHENTICATION, true),
            0);
  ASSERT_TRUE(second.run(velmora_account_sign_in, h));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "UI [dev.velmora.account.ui] called sign_in() with ID/PW"))
      << log.dump();
  const std::string sent =
      std::string("\tlogin_id=") + kLogin + "\tpw=" + kPassword + "\tcheck_2factor_authentication=";
  EXPECT_EQ(recorded(), (std::vector<std::string>{line(REQUEST_OP_SIGNIN, sent + "N"),
                                                  line(REQUEST_OP_SIGNIN, sent + "Y")}));
  for (const LogLine &l : log.lines())
    EXPECT_EQ(l.message.find(kPassword), std::string::npos) << l.message;
}

TEST_F(SignInForms, TheUiApplicationSendsWhateverIsSetWithoutChecking) {
  prepare_recorder();
  run_as(kUiApp);
  Completion done;
  ASSERT_TRUE(done.run(velmora_account_sign_in, handle({})));
  EXPECT_EQ(recorded(),
            std::vector<std::string>{line(REQUEST_OP_SIGNIN, "\tcheck_2factor_authentication=N")});
}

velmora_account_h with_authcode(velmora_account_h h) {
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_AUTHCODE, "the-code");
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL, "https://api");
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL, "https://auth");
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE, kDevice);
  return h;
}

TEST_F(SignInForms, TheAuthorizationCodeFormWinsEvenForTheUiApplication) {
  prepare_recorder();
  run_as(kUiApp);
  LogCapture log;
  Completion done;
  ASSERT_TRUE(done.run(velmora_account_sign_in, with_authcode(credentials())));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "sign-in with authcode")) << log.dump();
  EXPECT_EQ(log.count("UI [dev.velmora.account.ui] called sign_in() with ID/PW"), 0);
  EXPECT_EQ(recorded(), std::vector<std::string>{
                            line(REQUEST_OP_SIGNINWITHAUTHCODE,
                                 std::string("\tlogin_id=") + kLogin +
                                     "\tauthcode=the-code\tapi_server_url=https://api"
                                     "\tauth_server_url=https://auth\tdevice_security_code=" +
                                     kDevice)});
}

TEST_F(SignInForms, AnAuthorizationCodeWithoutLoginIdNeedsLevelFour) {
  prepare_recorder(5);
  Completion done;
  ASSERT_TRUE(done.run(velmora_account_sign_in, with_authcode(handle({}))));
  EXPECT_EQ(recorded(), std::vector<std::string>{line(
                            REQUEST_OP_SIGNINWITHAUTHCODE,
                            std::string("\tauthcode=the-code\tapi_server_url=https://api"
                                        "\tauth_server_url=https://auth\tdevice_security_code=") +
                                kDevice)});
}

TEST_F(SignInForms, AnAuthorizationCodeWithoutLoginIdIsInvalidBelowLevelFour) {
  prepare_recorder(3);
  LogCapture log;
  Completion done;
  EXPECT_EQ(velmora_account_sign_in(with_authcode(handle({})), Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "sign-in with authcode")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "VELMORA_ACCOUNT_FREE"));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "APP_CONTROL_FREE"));
  run_pending();
  EXPECT_TRUE(recorded().empty());
}

TEST_F(SignInForms, ThreeOfTheFourCodeValuesAreNotTheCodeForm) {
  prepare_recorder();
  run_as(kOrdinaryApp);
  velmora_account_h h = with_authcode(handle({}));
  ASSERT_EQ(velmora_account_unset_property_str(h, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE), 0);
  Completion done;
  ASSERT_TRUE(done.run(velmora_account_sign_in, h));
  EXPECT_EQ(recorded(), std::vector<std::string>{line(REQUEST_OP_SIGNIN_POPUP)});
}

TEST_F(SignInForms, CommonChecksComeFirst) {
  prepare_recorder();
  LogCapture log;
  Completion done;
  EXPECT_EQ(velmora_account_sign_in(nullptr, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(handle == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_sign_in(credentials(), nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(callback == NULL)"));
}

TEST_F(SignInForms, WithoutTheAgentEveryOperationIsNotSupported) {
  root_.set_profile("mobile");
  LogCapture log;
  // The agent check comes before the argument checks (without the agent no handle can be made).
  EXPECT_EQ(velmora_account_sign_in(nullptr, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_sign_in_with_2factor_authentication(nullptr, true, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_request_authentication_for_sign_in(nullptr, 0, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_sign_out(nullptr, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_request_confirm_user(nullptr, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(log.count("(is_agent_installed() == false)"), 5) << log.dump();
}

}  // namespace
}  // namespace vtest
