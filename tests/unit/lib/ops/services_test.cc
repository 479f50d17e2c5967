// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the checks of the account services (velmora_account_set_tnc,
// velmora_account_update_tnc_info, velmora_account_request_mcc,
// velmora_account_request_account_linking_info) before anything is sent.
#include <gtest/gtest.h>

#include "log_capture.hh"
#include "platform_root.hh"
#include "velmora_account.h"

namespace {

using vtest::kVaTag;

void no_callback(int, velmora_account_h, void *) {}

class ServicesChecks : public ::testing::Test {
 protected:
  void SetUp() override {
    root_.install_agent(5);
    ASSERT_EQ(velmora_account_create(&h_), 0);
  }
  void TearDown() override { velmora_account_destroy(h_); }
  void set(int property, const char *value) {
    ASSERT_EQ(velmora_account_set_property_str(h_, property, value), 0);
  }
  vtest::PlatformRoot root_;
  velmora_account_h h_ = nullptr;
};

TEST_F(ServicesChecks, SetTncRefusesAnythingButOneConsentBit) {
  ASSERT_EQ(velmora_account_set_tnc(h_, 1, true), 0);
  ASSERT_EQ(velmora_account_set_tnc(h_, 8, true), 0);
  vtest::LogCapture log;
  for (int bad : {3, 0, 5, 6, 7, 9, 16, -1}) {
    EXPECT_EQ(velmora_account_set_tnc(h_, bad, true), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER)
        << bad;
  }
  EXPECT_TRUE(log.has(kVaTag, 6, "INVALID_PARAMETER [type : 3]")) << log.dump();
  // The bitmask is unchanged by the refusals: clearing bit 8 leaves bit 1 alone.
  log.clear();
  ASSERT_EQ(velmora_account_set_tnc(h_, 8, false), 0);
  EXPECT_TRUE(log.has(kVaTag, 4, "velmora_account_set_tnc [tnc : 1]")) << log.dump();
  EXPECT_EQ(velmora_account_set_tnc(nullptr, 1, true), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
}

TEST_F(ServicesChecks, UpdateTncWithOnlyTheServiceConsentIsInvalid) {
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "alice");
  set(VELMORA_ACCOUNT_PROPERTY_MCC, "450");
  ASSERT_EQ(velmora_account_set_tnc(h_, 1, true), 0);
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_update_tnc_info(h_, no_callback, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 4, "Invalid TNC status [1], [VA_ERROR_INVALID_PARAMETER]"))
      << log.dump();
  EXPECT_EQ(log.count("VELMORA_ACCOUNT_FREE"), 0);  // refused before the clone
}

TEST_F(ServicesChecks, UpdateTncNeedsTheMccAndTheLoginIdFirst) {
  ASSERT_EQ(velmora_account_set_tnc(h_, 1, true), 0);
  ASSERT_EQ(velmora_account_set_tnc(h_, 2, true), 0);
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_update_tnc_info(h_, no_callback, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(
      log.has(kVaTag, 4, "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]"))
      << log.dump();
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "alice");
  EXPECT_EQ(velmora_account_update_tnc_info(h_, no_callback, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 4, "Invalid TNC status [3], [VA_ERROR_INVALID_PARAMETER]"));
}

TEST_F(ServicesChecks, LinkingNeedsEveryMandatoryProperty) {
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "alice");
  set(VELMORA_ACCOUNT_PROPERTY_CLIENT_ID, "app.one");
  set(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, "token");
  set(VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL, "https://auth");
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_request_account_linking_info(h_, no_callback, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 4,
                      "Invalid Property, mandatory property is not set. "
                      "[VA_ERROR_INVALID_PARAMETER]"))
      << log.dump();
}

TEST_F(ServicesChecks, MccNeedsALoginId) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_request_mcc(h_, no_callback, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(
      log.has(kVaTag, 4, "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]"))
      << log.dump();
  EXPECT_EQ(velmora_account_request_mcc(h_, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 6, "(callback == NULL)"));
}

TEST(ServicesChecksLowerAgent, MccAndTncUpdateNeedLevelThreeButLinkingDoesNot) {
  vtest::PlatformRoot root;
  root.install_agent(2);
  velmora_account_h h = nullptr;
  ASSERT_EQ(velmora_account_create(&h), 0);
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_request_mcc(h, no_callback, nullptr),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(velmora_account_update_tnc_info(h, no_callback, nullptr),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_TRUE(log.has(kVaTag, 6, "(is_lower_agent(3) == true)")) << log.dump();
  // No level check: it fails on the missing properties instead.
  EXPECT_EQ(velmora_account_request_account_linking_info(h, no_callback, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  velmora_account_destroy(h);
}

}  // namespace
