// SPDX-License-Identifier: Apache-2.0
// Velmora tests: sign-in, sign-out and confirm-user against the reference agent: signing in with an
// authorization code of the token service, signing out (store, tokens), port-mode handles, and the
// agent's refusal of credentials from anybody but its launched UI application.
#include <map>

#include "signin_fixture.hh"

namespace vtest {
namespace {

using SignInAgent = SignInTest;

velmora_account_h code_handle(velmora_account_h h, const std::string &code,
                              const char *device = kDevice) {
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_AUTHCODE, code.c_str());
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL,
                                   "https://api.velmora.dev");
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL,
                                   "https://auth.velmora.dev");
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE, device);
  return h;
}

TEST_F(SignInAgent, AnAuthorizationCodeOfTheTokenServiceSignsInOnce) {
  prepare_agent();
  run_as(kOrdinaryApp);
  const std::string code = device_code();
  Completion done;
  ASSERT_TRUE(done.run(velmora_account_sign_in, code_handle(handle({}), code)));
  ASSERT_EQ(done.result, VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kLogin);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_USER_ID), user_id_);
  EXPECT_TRUE(signed_in(kLogin));
  EXPECT_EQ(agent_test::store_summary("dev.velmora.account"), std::string(kLogin) + "*");
  Completion again;
  ASSERT_TRUE(again.run(velmora_account_sign_in, code_handle(handle({}), code)));
  EXPECT_EQ(again.result, static_cast<int>(0xC1000009u));  // AGENT_ERROR_CODE_ALREADY_USED
}

TEST_F(SignInAgent, ACodeForAnotherDeviceIsRefused) {
  prepare_agent();
  Completion done;
  ASSERT_TRUE(
      done.run(velmora_account_sign_in, code_handle(handle({}), device_code(), "other-device")));
  EXPECT_EQ(done.result, kCodeDeviceMismatch);
  EXPECT_FALSE(signed_in(kLogin));
}

TEST_F(SignInAgent, SignOutForgetsTheAccountEverywhere) {
  prepare();  // the demo user, signed in, with a client
  Completion token;
  ASSERT_TRUE(token.run(velmora_account_request_access_token, app_control_handle()));
  ASSERT_EQ(token.result, 0);
  LogCapture log;
  Completion done;
  ASSERT_TRUE(done.run(velmora_account_sign_out, app_control_handle()));
  EXPECT_EQ(done.result, VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), "<unset>");
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "Unset LOGIN_ID")) << log.dump();
  EXPECT_FALSE(signed_in(kLogin));
  EXPECT_EQ(agent_test::store_summary("dev.velmora.account"), "");
  // Its tokens are revoked with it.
  const std::string old = token.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN);
  with_state([&](vagent::AgentState &s) {
    EXPECT_EQ(s.tokens().validate(old).code(), static_cast<int>(0xC100000Cu));
  });
  // A second sign-out finds nobody.
  Completion again;
  ASSERT_TRUE(again.run(velmora_account_sign_out, app_control_handle()));
  EXPECT_EQ(again.result, kNeedSignIn);
}

TEST_F(SignInAgent, APortModeHandleSignsOutOverAppControlButCannotSignIn) {
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_PASSWORD, kPassword);
  LogCapture log;
  Completion done;
  EXPECT_EQ(velmora_account_sign_in(h, Completion::cb, &done), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "sign_in to [NIDL] Mode [ERROR_NOT_SUPPORTED]"))
      << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "VELMORA_ACCOUNT_FREE"));
  run_as(kUiApp);
  EXPECT_EQ(velmora_account_sign_in_with_2factor_authentication(h, true, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(
      log.has(kVaTag, DLOG_INFO, "sign_in_with_2factor to [NIDL] Mode [ERROR_NOT_SUPPORTED]"));
  EXPECT_EQ(velmora_account_request_authentication_for_sign_in(h, 0, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(
      log.has(kVaTag, DLOG_INFO, "request_authentication to [NIDL] Mode [ERROR_NOT_SUPPORTED]"));
  run_as(nullptr);
  ASSERT_TRUE(done.run(velmora_account_sign_out, h));
  EXPECT_EQ(done.result, VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[sign_out_result_cb]"));
  EXPECT_FALSE(signed_in(kLogin));
}

// ---- the agent takes credentials only from its launched UI application ----

TEST_F(SignInAgent, AnOrdinaryApplicationForgingTheUiOperationIsRefused) {
  prepare_agent();
  const std::map<std::string, std::string> creds = {{"login_id", kLogin}, {"pw", kPassword}};
  for (const char *caller : {kOrdinaryApp, kUiApp}) {
    // The UI application's id claimed by this process (not the instance the platform launched)
    // is refused as well.
    run_as(caller);
    for (const char *op : {REQUEST_OP_SIGNIN, REQUEST_OP_CONFIRMUSER, REQUEST_OP_2FACTOR_SMS}) {
      AppControlReply r = send_to_agent(op, creds);  // as a forging application would
      EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED) << caller << " " << op;
      EXPECT_EQ(r.extras["error_code"], "-13") << caller << " " << op;
      EXPECT_EQ(r.extras["error_msg"], "PERMISSION_DENIED");
      EXPECT_FALSE(r.extras["error_description"].empty());
    }
  }
  EXPECT_FALSE(signed_in(kLogin));
  EXPECT_TRUE(outbox().empty());
}

TEST_F(SignInAgent, ALibraryCallerPosingAsTheUiApplicationIsRefusedByTheAgent) {
  prepare_agent();
  run_as(kUiApp);
  Completion done;
  ASSERT_TRUE(done.run(velmora_account_sign_in, credentials()));
  EXPECT_EQ(done.result, kPermissionDenied);
  EXPECT_FALSE(signed_in(kLogin));
}

TEST_F(SignInAgent, TheUiApplicationOpensViewsOnlyForTheAgent) {
  prepare_agent();
  run_as(kOrdinaryApp);
  AppControlReply r = send_to_app(kUiApp, REQUEST_OP_SIGNIN_POPUP, {});
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_EQ(r.extras["error_code"], "-13");
  LoginViewDriver view;
  EXPECT_TRUE(view.views().empty());
}

}  // namespace
}  // namespace vtest
