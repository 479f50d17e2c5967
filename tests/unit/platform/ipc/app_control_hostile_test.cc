// SPDX-License-Identifier: Apache-2.0
// Velmora tests: senders that try to stall a callee or eat its memory. Each test plays the attack
// on the raw wire against the callee application and shows that the callee drops the attacker and
// keeps serving everyone else.
//
// The callee runs with a long method time-out (60 s) where a callee that waited for its peers
// would stall for that long: the tests then see the difference within their usual bounded waits.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "serve_wire.hh"
#include "velmora_host.h"

namespace {

using vtest::AppControlServeWire;
using vtest::Extras;
using vtest::apps::exit_status;
using vtest::apps::run_until;
using vtest::raw_callee::control;
using vtest::raw_callee::kCallee;
namespace raw = vtest::raw;

class AppControlHostile : public AppControlServeWire {
 protected:
  void before_launch() override { setenv("VELMORA_RPC_TIMEOUT_MS", "60000", 1); }
  void TearDown() override {
    for (int fd : fds) close(fd);
  }
  // Another process sends a launch request: its exit status (0: a succeeded reply).
  int request_from_another_process() {
    GPid pid = vtest::apps::spawn("ipc_sender", {"appcontrol", kCallee});
    int status = -1;
    EXPECT_TRUE(run_until([&] { return status >= 0 || (status = exit_status(pid)) >= 0; }, 40000));
    return status;
  }
  bool send_raw(int fd, const Extras &extras) {
    return raw::write_frame(fd, raw::hello(2, "test.raw", "", "")) &&
           raw::write_frame(fd, control(kCallee, "op", extras));
  }
  pid_t callee_pid() { return vtest::apps::instance_pid(root.path(), kCallee); }
  std::vector<int> fds;
};

// A sender that never reads its (large) reply: the callee does not wait for it, and serves the
// others at once.
TEST_F(AppControlHostile, SenderThatDoesNotReadItsReplyDoesNotStallOthers) {
  for (int i = 0; i < 4; ++i) {
    int fd = raw::connect_to(path);
    ASSERT_GE(fd, 0);
    fds.push_back(fd);
    ASSERT_TRUE(send_raw(fd, {{"blob", std::string(3 << 20, 'b')}}));  // echoed in the reply
  }
  EXPECT_EQ(request_from_another_process(), 0);
  expect_serving();
}

// Streams that never say hello: one peer's idle streams count against that peer only.
TEST_F(AppControlHostile, IdleStreamsOfOnePeerDoNotLockOutOthers) {
  for (int i = 0; i < 200; ++i) {
    int fd = raw::connect_to(path);
    ASSERT_GE(fd, 0) << i;
    fds.push_back(fd);
  }
  EXPECT_TRUE(raw::sees_end(fds.back(), 5000));  // over the peer's cap: closed at once
  EXPECT_EQ(request_from_another_process(), 0);
}

TEST_F(AppControlHostile, StreamWithoutAHelloIsDroppedAtTheHelloDeadline) {
  int fd = raw::connect_to(path);
  ASSERT_GE(fd, 0);
  fds.push_back(fd);
  EXPECT_TRUE(raw::sees_end(fd));  // waits at most 20 s; the callee's method time-out is 60 s
  EXPECT_NE(callee_log().find("that did not complete its request in time"), std::string::npos)
      << callee_log();
  expect_serving();
}

// Requests the callee keeps without a reply hold their streams: a peer holds a bounded number.
TEST_F(AppControlHostile, HeldRequestsPerPeerAreBounded) {
  const std::string held = root.path() + "/test-markers/" + kCallee + ".held";
  // The stream this process kept after its earlier requests would count as one of the 256.
  velmora_host_app_control_close_kept_streams();
  int taken = 0;
  for (int i = 0; i < 300; ++i) {
    int fd = raw::connect_to(path);
    ASSERT_GE(fd, 0);
    fds.push_back(fd);
    if (!send_raw(fd, {{"mode", "never"}})) break;
    raw::Bytes answer;
    if (!raw::read_frame(fd, &answer, 5000)) break;  // closed: over the cap
    ASSERT_EQ(answer, raw::answer(0));
    ++taken;
  }
  EXPECT_EQ(taken, 256);
  EXPECT_EQ(request_from_another_process(), 0);
}

// Requests that announce the maximum size and send a few bytes: the callee's memory grows with
// what arrives, and a half-sent request is dropped at the frame deadline.
class AppControlHalfSentRequests : public AppControlHostile {
 protected:
  void before_launch() override { setenv("VELMORA_RPC_TIMEOUT_MS", "3000", 1); }
};

TEST_F(AppControlHalfSentRequests, CostOnlyWhatArrivesAndAreDroppedAtTheDeadline) {
  const pid_t pid = callee_pid();
  ASSERT_GT(pid, 0);
  const long before = vtest::apps::resident_kib(pid);
  ASSERT_GT(before, 0);
  for (int i = 0; i < 30; ++i) {  // within the peer's cap of pending streams
    int fd = raw::connect_to(path);
    ASSERT_GE(fd, 0);
    fds.push_back(fd);
    ASSERT_TRUE(raw::write_frame(fd, raw::hello(2, "test.raw", "", "")));
    ASSERT_TRUE(raw::write_frame(fd, raw::Bytes(10, 1), RPC_PORT_PARCEL_MAX_SIZE));
  }
  expect_serving();  // the callee has read every announcement before this request
  const long after = vtest::apps::resident_kib(pid);
  // 30 frames of 4 MiB would be 120 MiB; what arrived is a few hundred bytes.
  EXPECT_LT(after - before, 48 * 1024) << "resident KiB before " << before << ", after " << after;
  for (int fd : fds) EXPECT_TRUE(raw::sees_end(fd));
  expect_serving();
}

// 500 callers connect at once while the callee is busy (stopped): the listen backlog holds them
// all, and every one of them is served once it runs again. They are 50 processes of 10 streams,
// as legitimate callers are, within the caps of a peer.
TEST_F(AppControlHostile, BurstOf500ConnectsIsServedWhole) {
  int somaxconn = 0;
  std::ifstream("/proc/sys/net/core/somaxconn") >> somaxconn;
  if (somaxconn < 500) GTEST_SKIP() << "net.core.somaxconn is " << somaxconn << " here";
  const pid_t callee = callee_pid();
  ASSERT_GT(callee, 0);
  ASSERT_EQ(kill(callee, SIGSTOP), 0);
  constexpr int kProcesses = 50, kEach = 10;
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  std::vector<pid_t> kids;
  for (int i = 0; i < kProcesses; ++i) {
    pid_t kid = fork();
    ASSERT_GE(kid, 0);
    if (kid == 0) {
      close(ready[0]);
      std::vector<int> streams;
      for (int j = 0; j < kEach; ++j) {
        int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
        struct sockaddr_un addr = {};
        addr.sun_family = AF_UNIX;
        strncpy(addr.sun_path, path.c_str(), sizeof(addr.sun_path) - 1);
        if (connect(fd, reinterpret_cast<struct sockaddr *>(&addr), sizeof(addr)) != 0)
          _exit(10);  // refused: the backlog was full
        fcntl(fd, F_SETFL, 0);
        if (!send_raw(fd, {{"n", std::to_string(i * kEach + j)}})) _exit(11);
        streams.push_back(fd);
      }
      if (write(ready[1], "x", 1) != 1) _exit(12);
      for (int fd : streams) {
        raw::Bytes answer, reply;
        if (!raw::read_frame(fd, &answer, 30000) || answer != raw::answer(0) ||
            !raw::read_frame(fd, &reply, 30000))
          _exit(13);
      }
      _exit(0);
    }
    kids.push_back(kid);
  }
  close(ready[1]);
  int connected = 0;
  char c;
  while (connected < kProcesses && read(ready[0], &c, 1) == 1) ++connected;
  close(ready[0]);
  EXPECT_EQ(connected, kProcesses);
  ASSERT_EQ(kill(callee, SIGCONT), 0);
  for (pid_t kid : kids) {
    int status = 0;
    ASSERT_EQ(waitpid(kid, &status, 0), kid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
  }
  expect_serving();
}

}  // namespace
