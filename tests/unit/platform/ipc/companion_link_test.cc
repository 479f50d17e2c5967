// SPDX-License-Identifier: Apache-2.0
// Velmora tests: pairing a wearable's platform root with a phone's, and launch requests to the
// paired phone's applications.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "app_control.h"
#include "platform_root.hh"
#include "test_apps.hh"
#include "velmora_host.h"

namespace {

std::string take(char *s) {
  std::string out = s ? s : "";
  free(s);
  return out;
}

class CompanionLink : public ::testing::Test {
 protected:
  void SetUp() override {
    phone_root_ = phone_.path();
    setenv("VELMORA_PLATFORM_ROOT", phone_root_.c_str(), 1);
    phone_.set_profile("mobile");
    setenv("VELMORA_PLATFORM_ROOT", wearable_.path().c_str(), 1);
    wearable_.set_profile("wearable");
  }
  void TearDown() override {
    vtest::apps::kill_instances(phone_root_);
    vtest::apps::kill_instances(wearable_.path());
  }
  vtest::PlatformRoot phone_;
  vtest::PlatformRoot wearable_;  // the current root
  std::string phone_root_;
};

}  // namespace

TEST_F(CompanionLink, PairingIsRecordedOnBothSides) {
  char *error = nullptr;
  ASSERT_EQ(velmora_host_pair_phone(phone_root_.c_str(), &error), 0) << take(error);
  char *peer = nullptr;
  ASSERT_EQ(velmora_host_paired_phone(&peer), 0);
  EXPECT_EQ(take(peer), phone_root_);
  setenv("VELMORA_PLATFORM_ROOT", phone_root_.c_str(), 1);
  ASSERT_EQ(velmora_host_paired_wearable(&peer), 0);
  EXPECT_EQ(take(peer), wearable_.path());
  EXPECT_EQ(velmora_host_paired_phone(&peer), VELMORA_HOST_NOT_PAIRED);
  setenv("VELMORA_PLATFORM_ROOT", wearable_.path().c_str(), 1);

  ASSERT_EQ(velmora_host_unpair(&error), 0) << take(error);
  EXPECT_EQ(velmora_host_paired_phone(&peer), VELMORA_HOST_NOT_PAIRED);
  EXPECT_EQ(peer, nullptr);
  setenv("VELMORA_PLATFORM_ROOT", phone_root_.c_str(), 1);
  EXPECT_EQ(velmora_host_paired_wearable(&peer), VELMORA_HOST_NOT_PAIRED);
  setenv("VELMORA_PLATFORM_ROOT", wearable_.path().c_str(), 1);
}

TEST_F(CompanionLink, OnlyAWearablePairsAndOnlyWithAPhone) {
  char *error = nullptr;
  EXPECT_EQ(velmora_host_pair_phone(wearable_.path().c_str(), &error), -22);
  EXPECT_NE(take(error).find("itself"), std::string::npos);
  EXPECT_EQ(velmora_host_pair_phone(nullptr, &error), -22);
  free(error);
  error = nullptr;
  EXPECT_EQ(velmora_host_pair_phone("/nonexistent/velmora-root", &error), -22);
  EXPECT_NE(take(error).find("is not a platform root"), std::string::npos);

  setenv("VELMORA_PLATFORM_ROOT", phone_root_.c_str(), 1);
  phone_.set_profile("tv");
  setenv("VELMORA_PLATFORM_ROOT", wearable_.path().c_str(), 1);
  EXPECT_EQ(velmora_host_pair_phone(phone_root_.c_str(), &error), -22);
  EXPECT_NE(take(error).find("not a mobile"), std::string::npos);

  wearable_.set_profile("mobile");
  EXPECT_EQ(velmora_host_pair_phone(phone_root_.c_str(), &error), -22);
  EXPECT_NE(take(error).find("not a wearable"), std::string::npos);
  char *peer = nullptr;
  EXPECT_EQ(velmora_host_paired_phone(&peer), VELMORA_HOST_NOT_PAIRED);
}

TEST_F(CompanionLink, WithoutAPairingNothingIsSent) {
  app_control_h request = nullptr;
  ASSERT_EQ(app_control_create(&request), 0);
  app_control_set_app_id(request, "dev.velmora.account");
  EXPECT_EQ(velmora_host_companion_send_launch_request(request, nullptr, nullptr),
            VELMORA_HOST_NOT_PAIRED);
  app_control_destroy(request);
}

namespace {
struct Reply {
  int calls = 0;
  int result = -100;
  std::string root;
  static void cb(app_control_h, app_control_h reply, app_control_result_e result, void *data) {
    auto *self = static_cast<Reply *>(data);
    ++self->calls;
    self->result = result;
    char *caller = nullptr;
    if (reply && app_control_get_extra_data(reply, "caller", &caller) == 0) self->root = "replied";
    free(caller);
  }
};
}  // namespace

TEST_F(CompanionLink, ARequestReachesTheAppOfThePhoneAndNotTheWearables) {
  // Only the phone has the callee: the request can be answered only in the phone's root.
  setenv("VELMORA_PLATFORM_ROOT", phone_root_.c_str(), 1);
  phone_.install_package("test.callee",
                         {{"test.callee", "service", vtest::apps::path("ipc_callee")}});
  setenv("VELMORA_PLATFORM_ROOT", wearable_.path().c_str(), 1);
  char *error = nullptr;
  ASSERT_EQ(velmora_host_pair_phone(phone_root_.c_str(), &error), 0) << take(error);

  app_control_h request = nullptr;
  ASSERT_EQ(app_control_create(&request), 0);
  app_control_set_app_id(request, "test.callee");
  Reply r;
  // Sent in the wearable's own root, it is not found.
  EXPECT_EQ(app_control_send_launch_request(request, Reply::cb, &r),
            APP_CONTROL_ERROR_APP_NOT_FOUND);
  ASSERT_EQ(velmora_host_companion_send_launch_request(request, Reply::cb, &r), 0);
  ASSERT_TRUE(vtest::apps::run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(r.root, "replied");
  // The callee was launched in the phone's root.
  EXPECT_FALSE(vtest::apps::starts(phone_root_, "test.callee").empty());
  EXPECT_TRUE(vtest::apps::starts(wearable_.path(), "test.callee").empty());
  app_control_destroy(request);
}
