// SPDX-License-Identifier: Apache-2.0
// Velmora tests: subscribing to a profile's changes. This test process runs as an application
// that serves launch requests; the change is made by another process (the agent's admin command)
// and reaches the process as a launch request carrying it.
#include <glib.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "profile_fixture.hh"
#include "velmora_host.h"

namespace vtest {
namespace {

constexpr const char *kWatcher = "dev.example.profilewatcher";
constexpr const char *kChangedOperation =
    "http://dev.velmora.account/appcontrol/operation/userprofilechanged";

using Extras = std::map<std::string, std::string>;

struct Notifications {
  std::vector<std::string> operations;
  std::vector<Extras> extras;

  static bool add(app_control_h request, const char *key, void *data) {
    char *value = nullptr;
    if (app_control_get_extra_data(request, key, &value) == APP_CONTROL_ERROR_NONE)
      (*static_cast<Extras *>(data))[key] = value;
    free(value);
    return true;
  }
  static void cb(app_control_h request, void *data) {
    auto *self = static_cast<Notifications *>(data);
    char *operation = nullptr;
    app_control_get_operation(request, &operation);
    self->operations.push_back(operation ? operation : "");
    free(operation);
    Extras extras;
    app_control_foreach_extra_data(request, add, &extras);
    self->extras.push_back(extras);
    app_control_h reply = nullptr;
    app_control_create(&reply);
    app_control_reply_to_launch_request(reply, request, APP_CONTROL_RESULT_SUCCEEDED);
    app_control_destroy(reply);
  }
};

class ProfileNotify : public ProfileOpsTest {
 protected:
  void SetUp() override {
    prepare();
    root_.install_package(kWatcher, {{kWatcher, "service", "/bin/true"}});
    setenv("VELMORA_APP_ID", kWatcher, 1);
    ASSERT_EQ(velmora_host_app_control_serve(Notifications::cb, &seen_), APP_CONTROL_ERROR_NONE);
  }
  void TearDown() override {
    velmora_host_app_control_stop();
    unsetenv("VELMORA_APP_ID");
    ProfileOpsTest::TearDown();
  }

  // (Un)subscribes with an app-control handle; returns the answer's result.
  int subscription(bool subscribe, Completion *done) {
    velmora_account_h h = app_control_handle();
    const int ret = subscribe ? velmora_account_profile_subscribe(h, Completion::cb, done)
                              : velmora_account_profile_unsubscribe(h, Completion::cb, done);
    if (ret != 0) return ret;
    EXPECT_TRUE(done->wait());
    return done->result;
  }

  // Runs `velmora-agent profile ARGS...` as another process while this one serves; its exit status.
  int agent_command(const std::vector<std::string> &args) {
    std::vector<std::string> argv = {PlatformRoot::agent_exec(), "--root", root_.path(), "profile"};
    argv.insert(argv.end(), args.begin(), args.end());
    const GPid pid = spawn(argv);
    return pid ? wait_exit(pid) : -1;
  }

  Notifications seen_;
};

TEST_F(ProfileNotify, ASubscriberIsToldOfAChangeMadeByAnotherProcess) {
  Completion subscribed;
  LogCapture log;
  ASSERT_EQ(subscription(true, &subscribed), 0) << log.dump();
  EXPECT_EQ(subscribed.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kLogin);
  for (const char *text : {"Request ProfileSubscirbe to [APP_CONTROL] Mode",
                           "[profile_subscribe_result_cb] foreach_cb"})
    EXPECT_TRUE(log.has(kVaTag, 4, text)) << text << "\n" << log.dump();

  ASSERT_EQ(agent_command({"set", "--login-id", kLogin, "--category", "phoneNumbers",
                           "phoneNumbers:value=+1 555 0100", "phoneNumbers_2:value=+1 555 0101"}),
            0);
  ASSERT_TRUE(run_until([this] { return !seen_.extras.empty(); }));
  ASSERT_EQ(seen_.extras.size(), 1u);
  EXPECT_EQ(seen_.operations[0], kChangedOperation);
  Extras &change = seen_.extras[0];
  EXPECT_EQ(change["login_id"], kLogin);
  EXPECT_EQ(change["category"], "profile");
  EXPECT_EQ(change["resource"], "phoneNumbers");
  EXPECT_EQ(change["phoneNumbers_count"], "2");
  EXPECT_EQ(change["phoneNumbers_1:value"], "+1 555 0100");
  EXPECT_EQ(change["phoneNumbers_2:value"], "+1 555 0101");

  // The change reads as a profile reply does.
  OwnedList list;
  app_control_h as_reply = nullptr;
  ASSERT_EQ(app_control_create(&as_reply), 0);
  for (const auto &[key, value] : change)
    app_control_add_extra_data(as_reply, key.c_str(), value.c_str());
  app_control_foreach_extra_data(as_reply, va_profile_foreach_extra_cb, list.h);
  app_control_destroy(as_reply);
  EXPECT_EQ(list.h->count[VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE], 2);
}

TEST_F(ProfileNotify, APrivacyChangeIsToldAsPrivacy) {
  Completion subscribed;
  ASSERT_EQ(subscription(true, &subscribed), 0);
  ASSERT_EQ(agent_command({"privacy", "--login-id", kLogin, "nicknames=2"}), 0);
  ASSERT_TRUE(run_until([this] { return !seen_.extras.empty(); }));
  Extras &change = seen_.extras[0];
  EXPECT_EQ(change["category"], "privacy");
  EXPECT_EQ(change["resource"], "nicknames");
  EXPECT_EQ(change["nicknames"], "2");
}

TEST_F(ProfileNotify, AnUnsubscribedApplicationIsToldNothing) {
  Completion subscribed;
  ASSERT_EQ(subscription(true, &subscribed), 0);
  Completion unsubscribed;
  LogCapture log;
  ASSERT_EQ(subscription(false, &unsubscribed), 0) << log.dump();
  EXPECT_EQ(unsubscribed.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kLogin);
  EXPECT_TRUE(log.has(kVaTag, 4, "[profile_unsubscribe_result_cb] foreach_cb")) << log.dump();

  ASSERT_EQ(agent_command(
                {"set", "--login-id", kLogin, "--category", "nicknames", "nicknames:value=Quiet"}),
            0);
  // The admin command waits for every subscriber it told; none was, so nothing is on its way.
  settle();
  EXPECT_TRUE(seen_.extras.empty());
}

TEST_F(ProfileNotify, AChangeThroughTheLibraryIsToldToo) {
  Completion subscribed;
  ASSERT_EQ(subscription(true, &subscribed), 0);
  velmora_account_h port = connected_handle();
  set_category(port, VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, 1);
  ASSERT_TRUE(run_until([this] { return !seen_.extras.empty(); }));
  EXPECT_EQ(seen_.extras[0]["resource"], "nicknames");
  EXPECT_EQ(seen_.extras[0]["nicknames:value"],
            field_value(VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, 0, 0));
}

}  // namespace
}  // namespace vtest
