// SPDX-License-Identifier: Apache-2.0
// Velmora tests: serving launch requests in the test process itself (it runs as an application).
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <valgrind/valgrind.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>

#include "app_control_fixture.hh"
#include "context_wake_ups.hh"
#include "log_capture.hh"
#include "raw_wire.hh"
#include "serve_wire.hh"
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
  // The stream's end was seen once while the request was held; nothing keeps the loop busy.
  vtest::run_pending();
  EXPECT_FALSE(g_main_context_pending(nullptr));
  app_control_h reply = nullptr;
  app_control_create(&reply);
  EXPECT_EQ(
      app_control_reply_to_launch_request(reply, served.kept[0], APP_CONTROL_RESULT_SUCCEEDED),
      APP_CONTROL_ERROR_IO_ERROR);
  app_control_destroy(reply);
}

// A sender that sends its next request before the reply to the one before: the next one waits,
// unread and without keeping the loop busy, and is served after that reply, on the same stream.
TEST_F(AppControlServe, ARequestSentBeforeTheReplyToTheOneBeforeIsServedAfterIt) {
  namespace raw = vtest::raw;
  served.keep = true;
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  const int fd = raw::connect_to(root.path_of(std::string("run/") + kSelf + "/appcontrol.sock"));
  ASSERT_GE(fd, 0);
  ASSERT_TRUE(raw::write_frame(fd, raw::hello(2, "test.early", "", "")));
  ASSERT_TRUE(raw::write_frame(fd, vtest::raw_callee::control(kSelf, "op", {{"n", "1"}})));
  ASSERT_TRUE(run_until([&] { return served.kept.size() == 1; }));
  ASSERT_TRUE(raw::write_frame(fd, raw::hello(2, "test.early", "", "")));
  ASSERT_TRUE(raw::write_frame(fd, vtest::raw_callee::control(kSelf, "op", {{"n", "2"}})));
  run_until([] { return false; }, 100);  // a moment for it to arrive
  vtest::run_pending();
  EXPECT_FALSE(g_main_context_pending(nullptr));
  EXPECT_EQ(served.requests.size(), 1u);
  // The reply, from the main loop (a stream goes on to a next request only from there).
  int replied = -1;
  struct Later {
    app_control_h request;
    int *replied;
  } later{served.kept[0], &replied};
  g_idle_add(
      [](gpointer data) -> gboolean {
        auto *l = static_cast<Later *>(data);
        app_control_h reply = nullptr;
        app_control_create(&reply);
        *l->replied =
            app_control_reply_to_launch_request(reply, l->request, APP_CONTROL_RESULT_SUCCEEDED);
        app_control_destroy(reply);
        return G_SOURCE_REMOVE;
      },
      &later);
  ASSERT_TRUE(run_until([&] { return served.kept.size() == 2; }));
  EXPECT_EQ(replied, APP_CONTROL_ERROR_NONE);
  EXPECT_EQ(served.requests[1], (Extras{{"n", "2"}}));
  raw::Bytes frame;
  ASSERT_TRUE(raw::read_frame(fd, &frame));
  EXPECT_EQ(frame, raw::answer(0));  // the first request's, when its callback returned
  ASSERT_TRUE(raw::read_frame(fd, &frame));
  EXPECT_EQ(raw::get_u32(frame, 0), (uint32_t)APP_CONTROL_RESULT_SUCCEEDED);
  ASSERT_TRUE(raw::read_frame(fd, &frame));
  EXPECT_EQ(frame, raw::answer(0));  // the second request's
  close(fd);
}

// After the first request, which connects, a request and its reply are I/O on the kept stream
// only: neither the sending nor the serving side changes what its main context polls, so neither
// wakes it (here both sides share one context, the test's).
TEST_F(AppControlServe, RequestsOnAKeptStreamDoNotWakeTheContextOfEitherSide) {
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  Replies first;
  ASSERT_EQ(vtest::send_request(kSelf, {{"n", "0"}}, &first), APP_CONTROL_ERROR_NONE);
  ASSERT_TRUE(run_until([&] { return first.calls > 0; }));
  vtest::run_pending();
  GMainContext *ctx = g_main_context_default();
  vtest::ContextWakeUps wake_ups(ctx);
  g_main_context_wakeup(ctx);  // the counter sees a wake-up when there is one
  vtest::run_pending();
  ASSERT_TRUE(wake_ups.saw_wake_up_fd());
  ASSERT_EQ(wake_ups.count(), 1);
  for (int i = 1; i <= 5; ++i) {
    Replies r;
    ASSERT_EQ(vtest::send_request(kSelf, {{"n", std::to_string(i)}}, &r), APP_CONTROL_ERROR_NONE);
    ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
    EXPECT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  }
  vtest::run_pending();
  EXPECT_EQ(wake_ups.count(), 1);
  EXPECT_EQ(served.requests.size(), 6u);
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

// The refusal marker follows changes only: setting the same state again (as the agent does on
// every request) leaves the file alone, and the refusal still takes effect and ends.
TEST_F(AppControlServe, SettingTheSameRefusalAgainLeavesTheMarkerAlone) {
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  const std::string marker = root.path_of(std::string("run/") + kSelf + "/appcontrol.refusing");
  EXPECT_FALSE(std::filesystem::exists(marker));
  velmora_host_app_control_set_refusing(true);
  ASSERT_TRUE(std::filesystem::exists(marker));
  const auto old_time = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
  std::filesystem::last_write_time(marker, old_time);
  velmora_host_app_control_set_refusing(true);
  EXPECT_EQ(std::filesystem::last_write_time(marker), old_time);  // not written again
  EXPECT_EQ(request_from_another_process(), 1);
  velmora_host_app_control_set_refusing(false);
  EXPECT_FALSE(std::filesystem::exists(marker));
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

// Nothing waits for the callee, so a thread that serves launch requests may send one to its own
// application: the request and its reply go through its main loop.
TEST_F(AppControlServe, SendingToItsOwnApplicationIsServed) {
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  Replies r;
  EXPECT_EQ(vtest::send_request(kSelf, {{"to", "self"}}, &r), APP_CONTROL_ERROR_NONE);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  drain();
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  ASSERT_EQ(served.requests.size(), 1u);
  EXPECT_EQ(served.requests[0], (Extras{{"to", "self"}}));
  EXPECT_EQ(served.callers[0], kSelf);
}

// Out of file descriptors: the accept loop neither spins nor stops serving the streams it has,
// says so once, and accepts again by itself once descriptors are free.
TEST_F(AppControlServe, OutOfDescriptorsBacksOffKeepsServingAndRecovers) {
  namespace raw = vtest::raw;
  // Under valgrind the descriptor limit is valgrind's own: the kernel still accepts a connection
  // above it, and valgrind closes that descriptor and reports EMFILE, so the waiting caller this
  // test serves later is gone. The sanitized run (make check) runs it.
  if (RUNNING_ON_VALGRIND) GTEST_SKIP() << "valgrind drops connections accepted above its limit";
  ASSERT_EQ(velmora_host_app_control_serve(Served::cb, &served), APP_CONTROL_ERROR_NONE);
  const std::string path = root.path() + "/run/" + kSelf + "/appcontrol.sock";
  // One whole request first: the sanitizers check an object's type through a pipe the first time
  // they meet it, which they could not open later.
  int first_fd = raw::connect_to(path);
  ASSERT_GE(first_fd, 0);
  ASSERT_TRUE(raw::write_frame(first_fd, raw::hello(2, "test.first", "", "")));
  ASSERT_TRUE(raw::write_frame(first_fd, vtest::raw_callee::control(kSelf, "op", {})));
  ASSERT_TRUE(run_until([&] { return served.requests.size() == 1; }));
  close(first_fd);
  served.requests.clear();
  // A stream accepted before the descriptors run out (its hello is in, its request not yet).
  int open_fd = raw::connect_to(path);
  ASSERT_GE(open_fd, 0);
  ASSERT_TRUE(raw::write_frame(open_fd, raw::hello(2, "test.open", "", "")));
  drain();
  // A caller that comes while they are out: its socket is made now and connected later.
  int late_fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_GE(late_fd, 0);
  struct rlimit saved;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &saved), 0);
  struct rlimit low = saved;
  low.rlim_cur = 512;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
  std::vector<int> fillers;
  for (int fd; (fd = dup(late_fd)) >= 0;) fillers.push_back(fd);
  ASSERT_EQ(errno, EMFILE);

  vtest::LogCapture log;
  struct sockaddr_un addr = {};
  addr.sun_family = AF_UNIX;
  strncpy(addr.sun_path, path.c_str(), sizeof(addr.sun_path) - 1);
  ASSERT_EQ(connect(late_fd, reinterpret_cast<struct sockaddr *>(&addr), sizeof(addr)), 0);
  ASSERT_TRUE(raw::write_frame(late_fd, raw::hello(2, "test.late", "", "")));
  ASSERT_TRUE(
      raw::write_frame(late_fd, vtest::raw_callee::control(kSelf, "op", {{"who", "late"}})));
  ASSERT_TRUE(
      raw::write_frame(open_fd, vtest::raw_callee::control(kSelf, "op", {{"who", "open"}})));
  // A loop that retried accept() at once would find the listening socket ready on every turn.
  GMainContext *ctx = g_main_context_ref_thread_default();
  int busy = 0;
  for (int i = 0; i < 200; ++i)
    if (g_main_context_iteration(ctx, FALSE)) ++busy;
  g_main_context_unref(ctx);
  EXPECT_LT(busy, 20) << "the accept loop spins";
  // The stream it had is served meanwhile.
  raw::Bytes answer, reply;
  ASSERT_TRUE(raw::read_frame(open_fd, &answer));
  EXPECT_EQ(answer, raw::answer(0));
  ASSERT_TRUE(raw::read_frame(open_fd, &reply));
  ASSERT_EQ(served.requests.size(), 1u);
  EXPECT_EQ(served.requests[0], (Extras{{"who", "open"}}));
  // That stream's descriptor is free again: take it too, then let several pauses pass.
  for (int fd; (fd = dup(late_fd)) >= 0;) fillers.push_back(fd);
  run_until([] { return false; }, 500);
  EXPECT_EQ(served.requests.size(), 1u);

  for (int fd : fillers) close(fd);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &saved), 0);
  ASSERT_TRUE(run_until([&] { return served.requests.size() == 2; }));
  EXPECT_EQ(served.requests[1], (Extras{{"who", "late"}}));
  ASSERT_TRUE(raw::read_frame(late_fd, &answer));
  EXPECT_EQ(answer, raw::answer(0));
  const std::string out = "launch requests of " + std::string(kSelf) +
                          ": cannot accept connections (Too many open files): trying again in a "
                          "moment, still serving the open ones";
  EXPECT_EQ(log.count(out), 1) << log.dump();
  EXPECT_EQ(log.count("launch requests of " + std::string(kSelf) + ": accepting connections again"),
            1)
      << log.dump();
  close(open_fd);
  close(late_fd);
}

}  // namespace
