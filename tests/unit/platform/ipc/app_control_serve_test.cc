// Velmora tests: serving launch requests in the test process itself (it runs as an application).
#include <gtest/gtest.h>
#include <signal.h>

#include "app_control_fixture.hh"
#include "velmora_host.h"

namespace {

using vtest::Extras;
using vtest::IpcTest;
using vtest::Replies;
using vtest::apps::drain;
using vtest::apps::exit_status;
using vtest::apps::run_until;

constexpr const char *kSelf = "test.self";

struct Served {
  std::vector<Extras> requests;
  std::vector<std::string> callers;
  std::vector<app_control_h> kept;  // clones kept for a later reply
  bool keep = false;

  static void cb(app_control_h request, void *d) {
    auto *s = static_cast<Served *>(d);
    s->requests.push_back(vtest::extras_of(request));
    char *caller = nullptr;
    EXPECT_EQ(app_control_get_caller(request, &caller), APP_CONTROL_ERROR_NONE);
    s->callers.push_back(caller ? caller : "<null>");
    free(caller);
    if (s->keep) {
      app_control_h clone = nullptr;
      ASSERT_EQ(app_control_clone(&clone, request), APP_CONTROL_ERROR_NONE);
      s->kept.push_back(clone);
      return;
    }
    app_control_h reply = nullptr;
    app_control_create(&reply);
    EXPECT_EQ(app_control_reply_to_launch_request(reply, request, APP_CONTROL_RESULT_SUCCEEDED),
              APP_CONTROL_ERROR_NONE);
    app_control_destroy(reply);
  }
};

class AppControlServe : public IpcTest {
 protected:
  void SetUp() override {
    install(kSelf, "ipc_quitter");  // registered, so that senders may reach it; never launched
    setenv("VELMORA_APP_ID", kSelf, 1);
  }
  void TearDown() override {
    velmora_host_app_control_stop();
    for (app_control_h h : served.kept) app_control_destroy(h);
  }
  // Another process sends one launch request to this one; its exit status (0: succeeded reply).
  int request_from_another_process() {
    unsetenv("VELMORA_APP_ID");  // the sender runs as no application
    GPid pid = vtest::apps::spawn("ipc_sender", {"appcontrol", kSelf});
    setenv("VELMORA_APP_ID", kSelf, 1);
    int status = -1;
    EXPECT_TRUE(run_until([&] { return status >= 0 || (status = exit_status(pid)) >= 0; }));
    return status;
  }
  Served served;
};

TEST_F(AppControlServe, ServeChecksItsArguments) {
  EXPECT_EQ(velmora_host_app_control_serve(nullptr, nullptr), APP_CONTROL_ERROR_INVALID_PARAMETER);
  unsetenv("VELMORA_APP_ID");
  EXPECT_EQ(velmora_host_app_control_serve(Served::cb, &served),
            APP_CONTROL_ERROR_INVALID_PARAMETER);
  setenv("VELMORA_APP_ID", kSelf, 1);
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  EXPECT_EQ(velmora_host_app_control_serve(Served::cb, &served),
            APP_CONTROL_ERROR_INVALID_PARAMETER);
  velmora_host_app_control_stop();
  velmora_host_app_control_stop();  // stopping twice is harmless
  EXPECT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
}

TEST_F(AppControlServe, RequestFromAnotherProcessReachesTheCallback) {
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  EXPECT_EQ(request_from_another_process(), 0);
  ASSERT_EQ(served.requests.size(), 1u);
  EXPECT_EQ(served.requests[0], (Extras{{"mode", "reply"}}));
  EXPECT_EQ(served.callers[0], "");
}

TEST_F(AppControlServe, KeptCloneAnswersLaterAndOnlyOnce) {
  served.keep = true;
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  unsetenv("VELMORA_APP_ID");
  GPid pid = vtest::apps::spawn("ipc_sender", {"appcontrol", kSelf});
  setenv("VELMORA_APP_ID", kSelf, 1);
  ASSERT_TRUE(run_until([&] { return served.kept.size() == 1; }));
  app_control_h second_clone = nullptr;
  ASSERT_EQ(app_control_clone(&second_clone, served.kept[0]), 0);
  app_control_h reply = nullptr;
  app_control_create(&reply);
  EXPECT_EQ(
      app_control_reply_to_launch_request(reply, served.kept[0], APP_CONTROL_RESULT_SUCCEEDED),
      APP_CONTROL_ERROR_NONE);
  EXPECT_EQ(
      app_control_reply_to_launch_request(reply, served.kept[0], APP_CONTROL_RESULT_SUCCEEDED),
      APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_reply_to_launch_request(reply, second_clone, APP_CONTROL_RESULT_SUCCEEDED),
            APP_CONTROL_ERROR_INVALID_PARAMETER);
  app_control_destroy(reply);
  app_control_destroy(second_clone);
  int status = -1;
  ASSERT_TRUE(run_until([&] { return status >= 0 || (status = exit_status(pid)) >= 0; }));
  EXPECT_EQ(status, 0);
}

TEST_F(AppControlServe, ReplyAfterTheSenderWentAwayFails) {
  served.keep = true;
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  unsetenv("VELMORA_APP_ID");
  GPid pid = vtest::apps::spawn("ipc_sender", {"appcontrol", kSelf});
  setenv("VELMORA_APP_ID", kSelf, 1);
  ASSERT_TRUE(run_until([&] { return served.kept.size() == 1; }));
  kill(pid, SIGKILL);
  int status = -1;
  ASSERT_TRUE(run_until([&] { return status >= 0 || (status = exit_status(pid)) >= 0; }));
  app_control_h reply = nullptr;
  app_control_create(&reply);
  EXPECT_EQ(
      app_control_reply_to_launch_request(reply, served.kept[0], APP_CONTROL_RESULT_SUCCEEDED),
      APP_CONTROL_ERROR_IO_ERROR);
  app_control_destroy(reply);
}

TEST_F(AppControlServe, RefusingHidesRequestsFromTheCallback) {
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  velmora_host_app_control_set_refusing(true);
  EXPECT_EQ(request_from_another_process(), 1);
  EXPECT_TRUE(served.requests.empty());
  velmora_host_app_control_set_refusing(false);
  EXPECT_EQ(request_from_another_process(), 0);
  EXPECT_EQ(served.requests.size(), 1u);
}

TEST_F(AppControlServe, StoppedServingIsNotReached) {
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  velmora_host_app_control_stop();
  // The socket is gone: a sender goes through the launcher, which starts the registered
  // executable (it exits at once), so the request fails.
  Replies r;
  ASSERT_EQ(vtest::send_request(kSelf, {}, &r), APP_CONTROL_ERROR_NONE);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_TRUE(served.requests.empty());
}

TEST_F(AppControlServe, SendingToItsOwnApplicationTimesOut) {
  setenv("VELMORA_RPC_TIMEOUT_MS", "300", 1);
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  Replies r;
  EXPECT_EQ(vtest::send_request(kSelf, {}, &r), APP_CONTROL_ERROR_TIMED_OUT);
  // The abandoned request never reaches the callback (its sender is gone when it is read), and
  // no reply callback runs.
  drain();
  EXPECT_TRUE(served.requests.empty());
  EXPECT_EQ(r.calls, 0);
}

}  // namespace
