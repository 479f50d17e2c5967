// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the checks of the profile requests, their result codes and log lines, in both
// transports.
#include <gtest/gtest.h>

#include "profile_fixture.hh"

namespace vtest {
namespace {

class ProfileChecks : public ProfileOpsTest {
 protected:
  // A handle from velmora_account_create with only the string property `property` set.
  velmora_account_h handle_with_only(int property, const char *value) {
    velmora_account_h h = nullptr;
    EXPECT_EQ(velmora_account_create(&h), 0);
    if (h == nullptr) return nullptr;
    created_.push_back(h);
    EXPECT_EQ(velmora_account_set_property_str(h, property, value), 0);
    return h;
  }
};

TEST_F(ProfileChecks, SubscriptionsOverThePortAreNotSupported) {
  prepare();
  velmora_account_h port = connected_handle();
  Completion done;
  LogCapture log;
  EXPECT_EQ(velmora_account_profile_subscribe(port, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(
      log.has(kVaTag, 4, "Request ProfileSubscirbe to [NIDL] Mode [VA_ERROR_NOT_SUPPORTED]"))
      << log.dump();
  EXPECT_EQ(velmora_account_profile_unsubscribe(port, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(
      log.has(kVaTag, 4, "Request ProfileUnsubscribe to [NIDL] Mode [VA_ERROR_NOT_SUPPORTED]"))
      << log.dump();
  settle();
  EXPECT_EQ(done.calls, 0);
}

TEST_F(ProfileChecks, ASubscriptionNeedsALoginId) {
  prepare();
  velmora_account_h h = handle_with_only(VELMORA_ACCOUNT_PROPERTY_CLIENT_ID, kClient);
  ASSERT_NE(h, nullptr);
  Completion done;
  LogCapture log;
  EXPECT_EQ(velmora_account_profile_subscribe(h, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(velmora_account_profile_unsubscribe(h, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(log.count("Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]"), 2)
      << log.dump();
}

TEST_F(ProfileChecks, RequestsNeedLoginAndClientIdsWithTheirLines) {
  prepare();
  velmora_account_h h = handle_with_only(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin);
  ASSERT_NE(h, nullptr);
  OwnedList list;
  Completion done;
  ListCompletion listed;
  LogCapture log;
  const int invalid = VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  EXPECT_EQ(velmora_account_profile_request_profile(h, 0, ListCompletion::cb, &listed), invalid);
  EXPECT_EQ(velmora_account_profile_request_privacy(h, ListCompletion::cb, &listed), invalid);
  EXPECT_EQ(velmora_account_profile_request_info(h, Completion::cb, &done), invalid);
  EXPECT_EQ(velmora_account_profile_update_privacy(h, list.h, Completion::cb, &done), invalid);
  EXPECT_EQ(
      log.count("Invalid Property, login_id/client_id is not set. [VA_ERROR_INVALID_PARAMETER]"), 4)
      << log.dump();
  EXPECT_EQ(velmora_account_profile_update_info(h, list.h, Completion::cb, &done), invalid);
  EXPECT_EQ(
      log.count("Invalid Property, loginId/clientId is not set. [VA_ERROR_INVALID_PARAMETER]"), 1)
      << log.dump();
  settle();
  EXPECT_EQ(done.calls + listed.calls, 0);
}

TEST_F(ProfileChecks, NullArgumentsAreRefusedWithTheirConditions) {
  prepare();
  velmora_account_h h = app_control_handle();
  OwnedList list;
  Completion done;
  LogCapture log;
  const int invalid = VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  EXPECT_EQ(velmora_account_profile_request_info(nullptr, Completion::cb, &done), invalid);
  EXPECT_TRUE(log.has(kVaTag, 6, "(handle == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_profile_request_info(h, nullptr, &done), invalid);
  EXPECT_TRUE(log.has(kVaTag, 6, "(callback == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_profile_update_info(h, nullptr, Completion::cb, &done), invalid);
  EXPECT_TRUE(log.has(kVaTag, 6, "(list == NULL)")) << log.dump();
}

TEST_F(ProfileChecks, AnAgentBelowLevel3CannotAnswerOneCategoryOrThePrivacy) {
  prepare("mobile", 2);
  velmora_account_h h = app_control_handle();
  ListCompletion listed;
  LogCapture log;
  EXPECT_EQ(velmora_account_profile_request_profile(h, 0, ListCompletion::cb, &listed),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(velmora_account_profile_request_privacy(h, ListCompletion::cb, &listed),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(log.count("(is_lower_agent(3) == true)"), 2) << log.dump();
  // Level 2 is enough to subscribe and to read the whole profile.
  Completion info;
  request_info(h, &info);
  EXPECT_EQ(info.result, 0);
}

TEST_F(ProfileChecks, AnAgentBelowLevel2CannotTakeSubscriptions) {
  prepare("mobile", 1);
  velmora_account_h h = app_control_handle();
  Completion done;
  LogCapture log;
  EXPECT_EQ(velmora_account_profile_subscribe(h, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(velmora_account_profile_unsubscribe(h, Completion::cb, &done),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(log.count("(is_lower_agent(2) == true)"), 2) << log.dump();
}

TEST_F(ProfileChecks, TheRequestToServerFlagTravelsInEitherTransport) {
  prepare();
  velmora_account_h ac = app_control_handle();
  velmora_account_h port = connected_handle();
  for (velmora_account_h h : {ac, port})
    ASSERT_EQ(
        velmora_account_set_property_bool(h, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, true),
        0);
  LogCapture log;
  for (velmora_account_h h : {ac, port}) {
    ListCompletion listed;
    ASSERT_EQ(velmora_account_profile_request_profile(h, VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE,
                                                      ListCompletion::cb, &listed),
              0);
    ASSERT_TRUE(listed.wait());
    EXPECT_EQ(listed.result, 0);
  }
  // Over the port the library says so; the agent saw it in both.
  EXPECT_EQ(log.count("--> REQUEST_TO_SERVER property"), 1) << log.dump();
  const std::string agent = agent_log();
  EXPECT_NE(
      agent.find("profile: phoneNumbers asked of the server (request_to_server, app control)"),
      std::string::npos)
      << agent;
  EXPECT_NE(agent.find("profile: phoneNumbers asked of the server (request_to_server, port)"),
            std::string::npos)
      << agent;
}

TEST_F(ProfileChecks, AnAgentFailureReachesTheCallbackWithItsCode) {
  prepare();
  set_fault("getuserprofile", "error_code", "-22");
  velmora_account_h ac = app_control_handle();
  ListCompletion listed;
  LogCapture log;
  ASSERT_EQ(velmora_account_profile_request_privacy(ac, ListCompletion::cb, &listed), 0);
  ASSERT_TRUE(listed.wait());
  EXPECT_EQ(listed.calls, 1);
  EXPECT_EQ(listed.result, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  // The failed reply is parsed all the same: the list comes.
  EXPECT_NE(listed.list, nullptr);
  EXPECT_TRUE(log.has(kVaTag, 4, "[CONVERT_ERROR_CODE] AppControl result fail")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[privacy_response_cb] foreach_profile_cb")) << log.dump();
}

}  // namespace
}  // namespace vtest
