// SPDX-License-Identifier: Apache-2.0
// Velmora tests: launch requests to test applications, their replies and their failures.
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>

#include "app_control_fixture.hh"

namespace {

using vtest::Extras;
using vtest::IpcTest;
using vtest::Replies;
using vtest::send_request;
using vtest::apps::drain;
using vtest::apps::run_until;

constexpr const char *kCallee = "test.callee";

class AppControlLaunch : public IpcTest {
 protected:
  void SetUp() override { install(kCallee, "ipc_callee"); }
};

TEST_F(AppControlLaunch, UnknownTargetIsAppNotFound) {
  Replies r;
  EXPECT_EQ(send_request("test.nobody", {}, &r), APP_CONTROL_ERROR_APP_NOT_FOUND);
  EXPECT_EQ(send_request("../bad id", {}, &r), APP_CONTROL_ERROR_APP_NOT_FOUND);
  app_control_h h = nullptr;
  app_control_create(&h);
  EXPECT_EQ(app_control_send_launch_request(h, Replies::cb, &r), APP_CONTROL_ERROR_APP_NOT_FOUND);
  app_control_destroy(h);
  EXPECT_EQ(app_control_send_launch_request(nullptr, Replies::cb, &r),
            APP_CONTROL_ERROR_INVALID_PARAMETER);
  drain();
  EXPECT_EQ(r.calls, 0);
}

TEST_F(AppControlLaunch, ExecutableThatCannotStartIsLaunchFailed) {
  install_exec("test.missing", root.path_of("no-such-program"));
  Replies r;
  EXPECT_EQ(send_request("test.missing", {}, &r), APP_CONTROL_ERROR_LAUNCH_FAILED);
  drain();
  EXPECT_EQ(r.calls, 0);
}

TEST_F(AppControlLaunch, TargetExitingBeforeItListensFailsTheReplyOnce) {
  install("test.quitter", "ipc_quitter");
  Replies r;
  ASSERT_EQ(send_request("test.quitter", {}, &r), APP_CONTROL_ERROR_NONE);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  drain();
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_FALSE(r.had_reply);
}

TEST_F(AppControlLaunch, ReplyCarriesExtrasInOrderAndTheResult) {
  Replies r;
  ASSERT_EQ(send_request(kCallee, {{"zeta", "last letter"}, {"alpha", "first"}, {"empty", ""}}, &r),
            APP_CONTROL_ERROR_NONE);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  drain();
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  ASSERT_TRUE(r.had_reply);
  EXPECT_EQ(r.reply, (Extras{{"zeta", "last letter"},
                             {"alpha", "first"},
                             {"empty", ""},
                             {"caller", ""},
                             {"operation", "http://velmora.dev/appcontrol/operation/test"},
                             {"served", "1"}}));
  // The callback gets the request as it was sent, though the sender destroyed its own copy.
  EXPECT_EQ(r.request_app_id, kCallee);
  EXPECT_EQ(r.request_operation, "http://velmora.dev/appcontrol/operation/test");
  EXPECT_EQ(r.request, (Extras{{"zeta", "last letter"}, {"alpha", "first"}, {"empty", ""}}));
  // The callee was launched for it, with its own id.
  auto lines = starts(kCallee);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find(std::string(" ") + kCallee + " "), std::string::npos);
}

TEST_F(AppControlLaunch, FailedResultWithExtrasIsPassedThrough) {
  Replies r;
  ASSERT_EQ(send_request(kCallee, {{"result", "-1"}, {"error_code", "-22"}}, &r), 0);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  ASSERT_TRUE(r.had_reply);
  EXPECT_EQ(r.get("error_code"), "-22");
}

TEST_F(AppControlLaunch, CalleeLearnsTheCallerId) {
  setenv("VELMORA_APP_ID", "test.caller", 1);
  Replies r;
  ASSERT_EQ(send_request(kCallee, {}, &r), 0);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.get("caller"), "test.caller");
}

TEST_F(AppControlLaunch, ACallerIdAloneIsNotALaunchedCaller) {
  install("test.other", "ipc_callee");
  setenv("VELMORA_APP_ID", "test.other", 1);  // registered, but this process was not launched as it
  Replies r;
  ASSERT_EQ(send_request(kCallee, {{"mode", "whois"}}, &r), 0);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.get("caller"), "test.other");
  EXPECT_EQ(r.get("caller_launched"), "N");
}

TEST_F(AppControlLaunch, TheLaunchedInstanceOfAnAppIsALaunchedCaller) {
  install("test.relay", "ipc_callee");
  Replies r;
  ASSERT_EQ(send_request("test.relay", {{"mode", "relay"}, {"relay_to", kCallee}}, &r), 0);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(r.get("caller"), "test.relay");
  EXPECT_EQ(r.get("caller_launched"), "Y");
}

TEST_F(AppControlLaunch, RunningCalleeIsNotStartedAgain) {
  Replies first, second;
  ASSERT_EQ(send_request(kCallee, {}, &first), 0);
  ASSERT_TRUE(run_until([&] { return first.calls > 0; }));
  ASSERT_EQ(send_request(kCallee, {}, &second), 0);
  ASSERT_TRUE(run_until([&] { return second.calls > 0; }));
  EXPECT_EQ(second.get("served"), "2");
  EXPECT_EQ(starts(kCallee).size(), 1u);
}

TEST_F(AppControlLaunch, RequestWithoutCallbackIsStillDelivered) {
  ASSERT_EQ(send_request(kCallee, {{"tag", "unanswered"}}, nullptr), 0);
  // Later requests report the tags the callee received; one of them shows the first arrived.
  std::string tags;
  ASSERT_TRUE(run_until([&] {
    Replies r;
    if (send_request(kCallee, {{"tag", "probe"}}, &r) != 0) return false;
    if (!run_until([&] { return r.calls > 0; })) return false;
    tags = r.get("tags");
    return tags.find("unanswered") != std::string::npos;
  }));
  EXPECT_EQ(starts(kCallee).size(), 1u);
}

TEST_F(AppControlLaunch, RefusingCalleeIsLaunchRejected) {
  setenv("VELMORA_TEST_REFUSE", "1", 1);
  Replies launching;
  // Refused after it had to be started: known only later, through the callback.
  ASSERT_EQ(send_request(kCallee, {}, &launching), APP_CONTROL_ERROR_NONE);
  ASSERT_TRUE(run_until([&] { return launching.calls > 0; }));
  drain();
  EXPECT_EQ(launching.calls, 1);
  EXPECT_EQ(launching.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_FALSE(launching.had_reply);
  // Refused while running: known at once.
  Replies running;
  EXPECT_EQ(send_request(kCallee, {}, &running), APP_CONTROL_ERROR_LAUNCH_REJECTED);
  drain();
  EXPECT_EQ(running.calls, 0);
}

TEST_F(AppControlLaunch, CalleeDyingBeforeItRepliesFailsTheReplyOnce) {
  Replies r;
  ASSERT_EQ(send_request(kCallee, {{"mode", "die"}}, &r), 0);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  drain();
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_FALSE(r.had_reply);
}

TEST_F(AppControlLaunch, CalleeDroppingTheRequestFailsTheReplyOnce) {
  Replies r;
  ASSERT_EQ(send_request(kCallee, {{"mode", "drop"}}, &r), 0);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  drain();
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_FALSE(r.had_reply);
}

TEST_F(AppControlLaunch, HeldRequestWaitsUntilTheCalleeDies) {
  Replies held, other;
  ASSERT_EQ(send_request(kCallee, {{"mode", "never"}}, &held), 0);
  // The second request goes out only once the callee holds the first, so the order is known.
  const std::string held_marker = root.path() + "/test-markers/" + kCallee + ".held";
  ASSERT_TRUE(run_until([&] { return g_file_test(held_marker.c_str(), G_FILE_TEST_EXISTS); }));
  ASSERT_EQ(send_request(kCallee, {}, &other), 0);
  ASSERT_TRUE(run_until([&] { return other.calls > 0; }));
  EXPECT_EQ(other.get("served"), "2");  // the held request was received before it
  drain();
  EXPECT_EQ(held.calls, 0);
  const pid_t pid = vtest::apps::instance_pid(root.path(), kCallee);
  ASSERT_GT(pid, 0);
  ASSERT_EQ(kill(pid, SIGKILL), 0);
  ASSERT_TRUE(run_until([&] { return held.calls > 0; }));
  drain();
  EXPECT_EQ(held.calls, 1);
  EXPECT_EQ(held.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_FALSE(held.had_reply);
}

TEST_F(AppControlLaunch, KeptCloneRepliesLaterAndASecondReplyFails) {
  Replies r;
  ASSERT_EQ(send_request(kCallee, {{"mode", "later"}, {"x", "1"}}, &r), 0);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(r.get("x"), "1");
  const std::string marker = root.path() + "/test-markers/" + kCallee + ".second";
  ASSERT_TRUE(run_until([&] { return g_file_test(marker.c_str(), G_FILE_TEST_EXISTS); }));
  int second = 0;
  ASSERT_TRUE(run_until([&] {
    std::ifstream in(marker);
    return static_cast<bool>(in >> second);
  }));
  EXPECT_EQ(second, APP_CONTROL_ERROR_INVALID_PARAMETER);
  drain();
  EXPECT_EQ(r.calls, 1);
}

}  // namespace
