// SPDX-License-Identifier: Apache-2.0
// Velmora tests: what the second-factor calls send, and their checks: API level 5, no port-mode
// handle, only the UI application (when the platform can tell the caller), required values.
#include "signin_fixture.hh"

namespace vtest {
namespace {

class TwoFactor : public SignInTest {
 protected:
  velmora_account_h with_number(bool token) {
    velmora_account_h h = credentials();
    velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_CODE, "123456");
    if (token)
      velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN, "tok");
    return h;
  }
  std::string sent_prefix() const {
    return std::string(REQUEST_OP_SIGNIN) + "\tlogin_id=" + kLogin + "\tpw=" + kPassword;
  }
};

TEST_F(TwoFactor, WithTheTokenEveryValueIsSentInOrder) {
  prepare_recorder();
  run_as(kUiApp);
  LogCapture log;
  Completion done;
  velmora_account_h h = with_number(true);
  ASSERT_EQ(velmora_account_set_property_bool(
                h, VELMORA_ACCOUNT_PROPERTY_BOOL_REGISTER_TRUSTED_DEVICE, true),
            0);
  ASSERT_TRUE(done.run(velmora_account_sign_in_with_2factor_authentication, h, false));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "sign_in_with_2factor to [APP_CONTROL] Mode"))
      << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[sign_in_result_cb]"));
  EXPECT_EQ(recorded(),
            std::vector<std::string>{sent_prefix() +
                                     "\tauthenticate_token=tok\tauthenticate_number=123456"
                                     "\tcheck_2factor_authentication=Y\tregister_trusted_device=Y"
                                     "\tauthenticate_type=1"});
}

TEST_F(TwoFactor, SkippingTheTokenSendsNoTokenAndNoType) {
  prepare_recorder();
  run_as(kUiApp);
  Completion done;
  ASSERT_TRUE(
      done.run(velmora_account_sign_in_with_2factor_authentication, with_number(false), true));
  // The unset token adds no value (the platform takes no extra without one).
  EXPECT_EQ(recorded(),
            std::vector<std::string>{sent_prefix() +
                                     "\tauthenticate_number=123456\tcheck_2factor_authentication=Y"
                                     "\tregister_trusted_device=N"});
}

TEST_F(TwoFactor, RequiredValuesAreChecked) {
  prepare_recorder();
  run_as(kUiApp);
  Completion done;
  EXPECT_EQ(velmora_account_sign_in_with_2factor_authentication(with_number(false), false,
                                                                Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(velmora_account_sign_in_with_2factor_authentication(credentials(), true, Completion::cb,
                                                                &done),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  velmora_account_h no_password = handle({{VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin},
                                          {VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_CODE, "1"}});
  EXPECT_EQ(
      velmora_account_sign_in_with_2factor_authentication(no_password, true, Completion::cb, &done),
      VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  run_pending();
  EXPECT_TRUE(recorded().empty());
  EXPECT_EQ(done.calls, 0);
}

TEST_F(TwoFactor, AnotherCallerIsRefused) {
  prepare_recorder();
  run_as(kOrdinaryApp);
  LogCapture log;
  Completion done;
  EXPECT_EQ(velmora_account_sign_in_with_2factor_authentication(with_number(true), false,
                                                                Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(
      log.has(kVaTag, DLOG_INFO, "Invalid caller_id[dev.example.notes] [ERROR_NOT_SUPPORTED]"))
      << log.dump();
  EXPECT_EQ(
      velmora_account_request_authentication_for_sign_in(credentials(), 0, Completion::cb, &done),
      VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(log.count("Invalid caller_id[dev.example.notes] [ERROR_NOT_SUPPORTED]"), 2);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "request_authentication to [APP_CONTROL] Mode"));
  run_pending();
  EXPECT_TRUE(recorded().empty());
}

TEST_F(TwoFactor, WithoutACallerIdBothCallsProceed) {
  prepare_recorder();
  run_as(nullptr);
  LogCapture log;
  Completion a, b;
  ASSERT_EQ(velmora_account_sign_in_with_2factor_authentication(with_number(true), false,
                                                                Completion::cb, &a),
            VELMORA_ACCOUNT_ERROR_NONE);
  ASSERT_EQ(
      velmora_account_request_authentication_for_sign_in(credentials(), 0, Completion::cb, &b),
      VELMORA_ACCOUNT_ERROR_NONE);
  ASSERT_TRUE(a.wait());
  ASSERT_TRUE(b.wait());
  EXPECT_EQ(recorded().size(), 2u);
  for (const LogLine &l : log.lines())
    EXPECT_EQ(l.text().find("Invalid caller_id"), std::string::npos) << l.message;
}

TEST_F(TwoFactor, BothCallsNeedAgentLevelFive) {
  prepare_recorder(4);
  run_as(kUiApp);
  LogCapture log;
  Completion done;
  EXPECT_EQ(velmora_account_sign_in_with_2factor_authentication(with_number(true), false,
                                                                Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(
      velmora_account_request_authentication_for_sign_in(credentials(), 0, Completion::cb, &done),
      VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(log.count("(is_lower_agent(5) == true)"), 2) << log.dump();
  EXPECT_EQ(VELMORA_ACCOUNT_ERROR_LOWER_VERSION, -1073741837);
}

TEST_F(TwoFactor, RequestingANumberSendsTheLoginIdOnly) {
  prepare_recorder();
  run_as(kUiApp);
  LogCapture log;
  Completion done;
  ASSERT_TRUE(done.run(velmora_account_request_authentication_for_sign_in, credentials(), 0));
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "request_authentication to [APP_CONTROL] Mode"))
      << log.dump();
  EXPECT_EQ(recorded(),
            std::vector<std::string>{std::string(REQUEST_OP_2FACTOR_SMS) + "\tlogin_id=" + kLogin});
}

TEST_F(TwoFactor, OnlyTheSmsTypeIsAccepted) {
  prepare_recorder();
  run_as(kUiApp);
  Completion done;
  EXPECT_EQ(
      velmora_account_request_authentication_for_sign_in(credentials(), 1, Completion::cb, &done),
      VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(
      velmora_account_request_authentication_for_sign_in(handle({}), 0, Completion::cb, &done),
      VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  run_pending();
  EXPECT_TRUE(recorded().empty());
}

}  // namespace
}  // namespace vtest
