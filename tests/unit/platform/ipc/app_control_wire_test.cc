// SPDX-License-Identifier: Apache-2.0
// Velmora tests: launch requests on the wire, and peers that break the protocol.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <atomic>
#include <functional>
#include <thread>

#include "app_control_fixture.hh"
#include "dlog.h"
#include "log_capture.hh"
#include "raw_wire.hh"
#include "serve_wire.hh"

namespace {

using vtest::AppControlServeWire;
using vtest::Extras;
using vtest::IpcTest;
using vtest::Replies;
using vtest::send_request;
using vtest::apps::drain;
using vtest::apps::run_until;
using vtest::raw_callee::control;
namespace raw = vtest::raw;

using vtest::raw_callee::kCallee;

TEST_F(AppControlServeWire, RawRequestGetsTheAnswerAndTheReply) {
  int fd = raw::connect_to(path);
  ASSERT_GE(fd, 0);
  ASSERT_TRUE(raw::write_frame(fd, raw::hello(2, "test.raw", "", "")));
  ASSERT_TRUE(raw::write_frame(fd, control(kCallee, "op", {{"k", "v"}, {"result", "-2"}})));
  raw::Bytes answer, reply;
  ASSERT_TRUE(raw::read_frame(fd, &answer));
  EXPECT_EQ(answer, raw::answer(0));
  ASSERT_TRUE(raw::read_frame(fd, &reply));
  raw::Bytes expected;
  raw::put_u32(&expected, (uint32_t)APP_CONTROL_RESULT_CANCELED);
  raw::Bytes body = control(
      "", "",
      {{"k", "v"}, {"result", "-2"}, {"caller", "test.raw"}, {"operation", "op"}, {"served", "2"}});
  body[0] = 0;  // the reply names no app and no operation
  expected.insert(expected.end(), body.begin(), body.end());
  EXPECT_EQ(reply, expected);
  // The stream then takes the sender's next request, hello first, as a new stream would.
  ASSERT_TRUE(raw::write_frame(fd, raw::hello(2, "test.again", "", "")));
  ASSERT_TRUE(raw::write_frame(fd, control(kCallee, "op", {{"result", "0"}})));
  ASSERT_TRUE(raw::read_frame(fd, &answer));
  EXPECT_EQ(answer, raw::answer(0));
  ASSERT_TRUE(raw::read_frame(fd, &reply));
  expected.clear();
  raw::put_u32(&expected, (uint32_t)APP_CONTROL_RESULT_SUCCEEDED);
  body = control("", "",
                 {{"result", "0"}, {"caller", "test.again"}, {"operation", "op"}, {"served", "3"}});
  body[0] = 0;
  expected.insert(expected.end(), body.begin(), body.end());
  EXPECT_EQ(reply, expected);
  // Left idle, it ends at the hello time-out (2 s here), quietly: it brought no request, and
  // needs none.
  EXPECT_TRUE(raw::sees_end(fd));
  EXPECT_EQ(callee_log().find("did not complete its request in time"), std::string::npos)
      << callee_log();
  close(fd);
}

TEST_F(AppControlServeWire, MalformedRequestsAreDropped) {
  const std::vector<std::vector<raw::Bytes>> cases = {
      {raw::hello(2, "", "", ""), {'j', 'u', 'n', 'k'}},
      {raw::hello(0, "", "Echo", "c1"), control(kCallee, "op", {})},  // not an app-control hello
      {{'V', 'L', 'M', 'H'}, control(kCallee, "op", {})},
      {raw::hello(2, "", "", ""),
       control(kCallee, "op", {{"k", "1"}, {"k", "2"}})},                // repeated key
      {raw::hello(2, "", "", ""), control(kCallee, "op", {{"", "1"}})},  // empty key
  };
  for (size_t i = 0; i < cases.size(); ++i) {
    int fd = raw::connect_to(path);
    ASSERT_GE(fd, 0);
    for (const raw::Bytes &frame : cases[i]) raw::write_frame(fd, frame);
    EXPECT_TRUE(raw::sees_end(fd)) << "case " << i;
    close(fd);
  }
  expect_serving();
}

TEST_F(AppControlServeWire, OverSizeFramesAreDropped) {
  int fd = raw::connect_to(path);
  ASSERT_TRUE(raw::write_frame(fd, {}, 100000));  // a hello is small
  EXPECT_TRUE(raw::sees_end(fd));
  close(fd);
  fd = raw::connect_to(path);
  ASSERT_TRUE(raw::write_frame(fd, raw::hello(2, "", "", "")));
  ASSERT_TRUE(raw::write_frame(fd, {}, RPC_PORT_PARCEL_MAX_SIZE + 1));
  EXPECT_TRUE(raw::sees_end(fd));
  close(fd);
  expect_serving();
}

TEST_F(AppControlServeWire, TruncatedRequestAndSilentSenderAreDropped) {
  int fd = raw::connect_to(path);
  ASSERT_TRUE(raw::write_frame(fd, raw::hello(2, "", "", "")));
  ASSERT_TRUE(raw::write_frame(fd, raw::Bytes(5, 1), 50));
  close(fd);
  fd = raw::connect_to(path);  // sends nothing: dropped after the time-out
  EXPECT_TRUE(raw::sees_end(fd));
  close(fd);
  expect_serving();
}

TEST_F(AppControlServeWire, PeerOfAnotherUserIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to act as another user";
  for (std::string p : {root.path(), root.path() + "/run", root.path() + "/run/" + kCallee})
    ASSERT_EQ(chmod(p.c_str(), 0711), 0);
  ASSERT_EQ(chmod(path.c_str(), 0777), 0);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (setgid(65534) != 0 || setuid(65534) != 0) _exit(10);
    int fd = raw::connect_to(path);
    if (fd < 0) _exit(11);
    raw::Bytes answer;
    if (!raw::write_frame(fd, raw::hello(2, "test.intruder", "", "")) ||
        !raw::write_frame(fd, control(kCallee, "op", {})) || !raw::read_frame(fd, &answer))
      _exit(12);
    _exit(answer == raw::answer(APP_CONTROL_ERROR_PERMISSION_DENIED) ? 0 : 13);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  expect_serving();
}

// The test plays the callee: another thread answers on the application's socket.
class AppControlSendWire : public IpcTest {
 protected:
  void SetUp() override {
    install(kCallee, "ipc_quitter");  // registered; never started, since the test listens
    const std::string dir = root.path() + "/run/" + kCallee;
    g_mkdir_with_parents(dir.c_str(), 0700);
    listen_fd = raw::listen_at(dir + "/appcontrol.sock");
    ASSERT_GE(listen_fd, 0);
  }
  void TearDown() override {
    if (callee.joinable()) callee.join();
    close(listen_fd);
  }
  // Accepts one sender, reads its hello and request, writes `frames` and then the raw bytes
  // `tail`, and closes (or, without close_after, waits until the sender closes).
  void serve(std::vector<raw::Bytes> frames, bool close_after = true, raw::Bytes tail = {}) {
    callee = std::thread([this, frames, close_after, tail] {
      int fd = raw::accept_one(listen_fd);
      if (fd < 0) return;
      raw::read_frame(fd, &hello);
      raw::read_frame(fd, &request);
      for (const raw::Bytes &f : frames) raw::write_frame(fd, f);
      if (!tail.empty()) raw::write_all(fd, tail.data(), tail.size());
      if (close_after) {
        close(fd);
      } else {
        raw::sees_end(fd);
        close(fd);
      }
      served = true;
    });
  }
  // Sends a request and waits for its reply callback, which must run once, with a failure.
  void expect_one_failure() {
    Replies r;
    ASSERT_EQ(send_request(kCallee, {}, &r), APP_CONTROL_ERROR_NONE);
    EXPECT_EQ(r.calls, 0);  // sending never waits for the callee
    ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
    if (callee.joinable()) callee.join();
    drain();
    EXPECT_EQ(r.calls, 1);
    EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
    EXPECT_FALSE(r.had_reply);
  }
  // Accepts up to `times` senders one after the other (waiting `next_wait_ms` for each after the
  // first); `each(fd, i)` plays the callee on a stream, which then closes. `accepted` counts them.
  void serve_each(int times, std::function<void(int fd, int i)> each, int next_wait_ms = 20000) {
    callee = std::thread([this, times, each, next_wait_ms] {
      for (int i = 0; i < times; ++i) {
        int fd = raw::accept_one(listen_fd, i == 0 ? 20000 : next_wait_ms);
        if (fd < 0) return;
        each(fd, i);
        close(fd);
        ++accepted;
      }
    });
  }
  int listen_fd = -1;
  std::thread callee;
  raw::Bytes hello, request;
  std::atomic<bool> served{false};
  std::atomic<int> accepted{0};
};

TEST_F(AppControlSendWire, RequestHasTheDocumentedForm) {
  setenv("VELMORA_APP_ID", "test.caller", 1);
  raw::Bytes reply;
  raw::put_u32(&reply, 0);
  raw::Bytes body = control("", "", {{"r", "1"}});
  body[0] = 0;
  reply.insert(reply.end(), body.begin(), body.end());
  serve({raw::answer(0), reply});
  Replies r;
  ASSERT_EQ(send_request(kCallee, {{"a", "1"}, {"b", ""}}, &r, "op"), APP_CONTROL_ERROR_NONE);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  callee.join();
  EXPECT_EQ(hello, raw::hello(2, "test.caller", "", ""));
  EXPECT_EQ(request, control(kCallee, "op", {{"a", "1"}, {"b", ""}}));
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(r.reply, (Extras{{"r", "1"}}));
  drain();
  EXPECT_EQ(r.calls, 1);
}

// Whatever the callee answers comes back through the reply callback: the sender never waits for
// the answer.
// The reply frame of a callee that replied `value` for the key "n".
raw::Bytes reply_with(const std::string &value) {
  raw::Bytes reply;
  raw::put_u32(&reply, 0);
  raw::Bytes body = control("", "", {{"n", value}});
  body[0] = 0;
  reply.insert(reply.end(), body.begin(), body.end());
  return reply;
}

// Plays a callee on `fd` for one request: reads the hello and the request, answers and replies.
bool serve_one(int fd, const std::string &value) {
  raw::Bytes frame;
  return raw::read_frame(fd, &frame) && raw::read_frame(fd, &frame) &&
         raw::write_frame(fd, raw::answer(0)) && raw::write_frame(fd, reply_with(value));
}

// Sends a request and waits for its reply, which must succeed with "n" = `n`.
void expect_reply_n(const std::string &n) {
  Replies r;
  ASSERT_EQ(send_request(kCallee, {}, &r), APP_CONTROL_ERROR_NONE);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(r.get("n"), n);
}

TEST_F(AppControlSendWire, ASecondRequestGoesOnTheStreamOfTheFirst) {
  serve_each(1, [](int fd, int) {
    serve_one(fd, "1");
    serve_one(fd, "2");
  });
  expect_reply_n("1");
  expect_reply_n("2");
  callee.join();
  EXPECT_EQ(accepted, 1);
}

// A callee that closes a stream after its reply (as when it drops an idle one at its hello
// time-out) gets the next request on a new stream, whether or not the sender noticed the close.
TEST_F(AppControlSendWire, AStreamTheCalleeClosedIsNotUsedAgain) {
  for (bool noticed : {true, false}) {
    accepted = 0;
    serve_each(2, [](int fd, int i) { serve_one(fd, std::to_string(i)); });
    for (const char *n : {"0", "1"}) {
      expect_reply_n(n);
      if (noticed) {
        drain();
      } else {
        // Waits without running the main loop, so that the close is on the stream but not yet
        // seen by the kept stream's watch.
        for (int i = 0; i < 20000 && accepted == (n[0] == '0' ? 0 : 1); ++i) usleep(1000);
      }
    }
    callee.join();
    EXPECT_EQ(accepted, 2);
  }
}

// What the first reply's callback of the nested-dispatch test does: it waits, running the main
// loop from within, for the second request's reply.
struct RunsTheLoop {
  Replies first, *second = nullptr;
  std::atomic<bool> called{false};
  static void cb(app_control_h request, app_control_h reply, app_control_result_e result, void *d) {
    auto *self = static_cast<RunsTheLoop *>(d);
    Replies::cb(request, reply, result, &self->first);
    self->called = true;
    run_until([self] { return self->second->calls > 0; });
  }
};

// A reply callback that runs the main loop meets another reply's dispatch from within. The stream
// the first reply left for the next request must still bring that request's reply.
TEST_F(AppControlSendWire, AStreamKeptAcrossANestedDispatchStillBringsTheNextReply) {
  RunsTheLoop a;
  Replies b, c;
  a.second = &b;
  callee = std::thread([this, &a] {
    const int first = raw::accept_one(listen_fd);
    const int second = raw::accept_one(listen_fd);
    raw::Bytes frame;
    for (int fd : {first, second}) {  // each one's hello and request
      raw::read_frame(fd, &frame);
      raw::read_frame(fd, &frame);
    }
    raw::write_frame(first, raw::answer(0));
    raw::write_frame(first, reply_with("a"));
    for (int i = 0; i < 20000 && !a.called; ++i) usleep(1000);
    // The second reply comes with trailing bytes, in one write: its stream is not kept.
    raw::Bytes wire;
    for (const raw::Bytes &f : {raw::answer(0), reply_with("b")}) {
      raw::put_u32(&wire, (uint32_t)f.size());
      wire.insert(wire.end(), f.begin(), f.end());
    }
    wire.insert(wire.end(), {9, 9, 9});
    raw::write_all(second, wire.data(), wire.size());
    close(second);
    serve_one(first, "c");
    close(first);
  });
  app_control_h h = nullptr;
  app_control_create(&h);
  app_control_set_app_id(h, kCallee);
  ASSERT_EQ(app_control_send_launch_request(h, RunsTheLoop::cb, &a), APP_CONTROL_ERROR_NONE);
  ASSERT_EQ(app_control_send_launch_request(h, Replies::cb, &b), APP_CONTROL_ERROR_NONE);
  app_control_destroy(h);
  ASSERT_TRUE(run_until([&] { return a.first.calls > 0 && b.calls > 0; }));
  EXPECT_EQ(a.first.get("n"), "a");
  EXPECT_EQ(b.get("n"), "b");
  ASSERT_EQ(send_request(kCallee, {}, &c), APP_CONTROL_ERROR_NONE);
  ASSERT_TRUE(run_until([&] { return c.calls > 0; }));
  EXPECT_EQ(c.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(c.get("n"), "c");
  callee.join();
}

TEST_F(AppControlSendWire, RefusalAnswerFailsTheReplyOnce) {
  for (int32_t code : {(int32_t)APP_CONTROL_ERROR_LAUNCH_REJECTED, (int32_t)12345}) {
    serve({raw::answer(code)});
    expect_one_failure();
  }
}

TEST_F(AppControlSendWire, CalleeClosingWithTheRequestUnreadIsTriedAgainThenFails) {
  // A stream reset with the request unread comes from an instance that was ending: the sender
  // goes through the launcher again, four attempts in all, and then reports the failure.
  serve_each(4, [](int, int) { usleep(20 * 1000); });  // the request arrives and stays unread
  expect_one_failure();
  EXPECT_EQ(accepted, 4);
}

TEST_F(AppControlSendWire, CalleeThatReadTheRequestAndClosedIsNotSentItAgain) {
  // It may have acted on the request (and died doing so): sending it again could repeat that.
  serve_each(
      2,
      [](int fd, int) {
        raw::Bytes frame;
        raw::read_frame(fd, &frame);
        raw::read_frame(fd, &frame);
      },
      500);
  expect_one_failure();  // the callee thread waited in vain for a second attempt
  EXPECT_EQ(accepted, 1);
}

TEST_F(AppControlSendWire, CalleeThatStopsServingAnswersSendAgain) {
  raw::Bytes reply;
  raw::put_u32(&reply, 0);
  raw::Bytes body = control("", "", {{"second", "try"}});
  body[0] = 0;
  reply.insert(reply.end(), body.begin(), body.end());
  serve_each(2, [&reply](int fd, int i) {
    raw::Bytes frame;
    raw::read_frame(fd, &frame);
    raw::read_frame(fd, &frame);
    raw::write_frame(fd, raw::answer(i == 0 ? 1 : 0));  // the first time: "send again"
    if (i == 1) raw::write_frame(fd, reply);
  });
  Replies r;
  EXPECT_EQ(send_request(kCallee, {}, &r), APP_CONTROL_ERROR_NONE);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  callee.join();
  drain();
  EXPECT_EQ(accepted, 2);
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(r.get("second"), "try");
}

TEST_F(AppControlSendWire, GarbageAnswerFailsTheReplyOnce) {
  serve({{'V', 'L', 'M', 'A', 0}});
  expect_one_failure();
}

// A callee that is alive but hung: sending returns at once, and the request fails after the
// time-out instead of blocking the sender's main loop.
TEST_F(AppControlSendWire, CalleeThatNeverTakesTheRequestFailsItAfterTheTimeOut) {
  setenv("VELMORA_RPC_TIMEOUT_MS", "300", 1);
  serve({}, false);  // reads the request, then waits for the sender to go
  vtest::LogCapture log;
  expect_one_failure();
  EXPECT_TRUE(served);  // the sender gave the stream up
  EXPECT_TRUE(log.has("VELMORA_IPC", DLOG_ERROR,
                      std::string(kCallee) + " did not take a launch request within 300 ms"))
      << log.dump();
}

// The callee took the request and keeps it without replying (a hung agent): the reply callback
// gets a failure after the reply time-out.
TEST_F(AppControlSendWire, RequestTakenButNeverRepliedFailsAfterTheReplyTimeOut) {
  setenv("VELMORA_REPLY_TIMEOUT_MS", "300", 1);
  serve({raw::answer(0)}, false);
  vtest::LogCapture log;
  expect_one_failure();
  EXPECT_TRUE(
      log.has("VELMORA_IPC", DLOG_ERROR,
              std::string("no reply from ") + kCallee + " within 300 ms: the launch request fails"))
      << log.dump();
}

TEST(AppControlTimeOuts, ReplyTimeOutDefaultsToFiveMinutes) {
  unsetenv("VELMORA_REPLY_TIMEOUT_MS");
  EXPECT_EQ(velmora_host_reply_timeout_ms(), 300000);
  setenv("VELMORA_REPLY_TIMEOUT_MS", "soon", 1);
  EXPECT_EQ(velmora_host_reply_timeout_ms(), 300000);
  setenv("VELMORA_REPLY_TIMEOUT_MS", "1500", 1);
  EXPECT_EQ(velmora_host_reply_timeout_ms(), 1500);
  unsetenv("VELMORA_REPLY_TIMEOUT_MS");
}

TEST_F(AppControlSendWire, GarbageReplyFailsTheRequestOnce) {
  serve({raw::answer(0), {1, 2, 3}});
  Replies r;
  ASSERT_EQ(send_request(kCallee, {}, &r), 0);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  drain();
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_FALSE(r.had_reply);
}

TEST_F(AppControlSendWire, OverSizeReplyFailsTheRequestOnce) {
  raw::Bytes header;
  raw::put_u32(&header, RPC_PORT_PARCEL_MAX_SIZE + 1);
  serve({raw::answer(0)}, false, header);  // the callee keeps its end open
  Replies r;
  ASSERT_EQ(send_request(kCallee, {}, &r), 0);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  drain();
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_FALSE(r.had_reply);
  callee.join();  // the sender dropped the stream, so the callee thread saw its end
  EXPECT_TRUE(served);
}

TEST_F(AppControlSendWire, AnswerAndReplyArrivingTogetherGiveOneCallback) {
  raw::Bytes reply;
  raw::put_u32(&reply, (uint32_t)APP_CONTROL_RESULT_FAILED);
  raw::Bytes body = control("", "", {{"error_code", "-16"}});
  body[0] = 0;
  reply.insert(reply.end(), body.begin(), body.end());
  serve({raw::answer(0), reply, {9, 9, 9}});  // and trailing junk, which is ignored
  Replies r;
  ASSERT_EQ(send_request(kCallee, {}, &r), 0);
  callee.join();  // everything is written before the sender's main loop runs
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  drain();
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_EQ(r.get("error_code"), "-16");
}

}  // namespace
