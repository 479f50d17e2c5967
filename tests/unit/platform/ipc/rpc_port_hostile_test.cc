// SPDX-License-Identifier: Apache-2.0
// Velmora tests: peers of the rpc-port stub that try to stall it or eat its memory. Each test
// plays the attack on the raw wire against the echo stub application and shows that the stub drops
// the attacker and keeps serving everyone else.
//
// The stub runs with a long method time-out (60 s) where a stub that waited for its peers would
// stall for that long: the tests then see the difference within their usual bounded waits.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "stub_wire.hh"

namespace {

using vtest::RpcPortStubWire;
using vtest::apps::exit_status;
using vtest::apps::run_until;
namespace raw = vtest::raw;
using vtest::raw_stub::kApp;

constexpr int kLongMs = 60000;

raw::Bytes request(const std::vector<vtest::Arg> &args) {
  raw::Bytes b;
  for (const vtest::Arg &a : args) {
    if (a.is_string)
      raw::put_string(&b, a.text);
    else
      raw::put_u32(&b, (uint32_t)a.number);
  }
  return b;
}

class RpcPortHostile : public RpcPortStubWire {
 protected:
  void before_launch() override {
    setenv("VELMORA_RPC_TIMEOUT_MS", std::to_string(kLongMs).c_str(), 1);
  }
  void TearDown() override {
    for (int fd : fds) close(fd);
  }
  // Another process connects a proxy and makes a round trip: its exit status (0: it worked).
  int round_trip_from_another_process() {
    GPid pid = vtest::apps::spawn("ipc_sender", {"proxy", kApp, "Echo"});
    int status = -1;
    EXPECT_TRUE(run_until([&] { return status >= 0 || (status = exit_status(pid)) >= 0; }, 40000));
    return status;
  }
  pid_t stub_pid() { return vtest::apps::instance_pid(root.path(), kApp); }
  std::vector<int> fds;
};

// A client that sends requests and never reads their results: the stub's sends do not wait for it.
// Its results pile up in the stub's bounded outbox until the stub gives it up; meanwhile every
// other client is served at once.
TEST_F(RpcPortHostile, ClientThatNeverReadsIsDroppedAndOthersAreServed) {
  int m, cb;
  ASSERT_TRUE(handshake(&m, &cb));
  fds = {m, cb};
  // Requests for 16 MiB of results, twice what the outbox holds. A stub that serves faster than
  // this client writes gives it up before the last requests are written: the first write that
  // fails ends the attack. It cannot give up before 8 results of 1 MiB, which the outbox holds.
  int written = 0;
  while (written < 16 && raw::write_frame(m, request({"big", 1 << 20}))) ++written;
  EXPECT_GE(written, 8);
  EXPECT_EQ(round_trip_from_another_process(), 0);
  EXPECT_TRUE(raw::sees_end(cb));  // dropped, not waited for
  expect_serving();
}

// Streams that never say hello: one peer's idle streams count against that peer only.
TEST_F(RpcPortHostile, IdleStreamsOfOnePeerDoNotLockOutOthers) {
  for (int i = 0; i < 200; ++i) {
    int fd = raw::connect_to(path);
    ASSERT_GE(fd, 0) << i;
    fds.push_back(fd);
  }
  // Over its cap of pending streams, the peer's newest streams are closed at once.
  EXPECT_TRUE(raw::sees_end(fds.back(), 5000));
  EXPECT_EQ(round_trip_from_another_process(), 0);
}

// The hello deadline is short, whatever the method time-out.
TEST_F(RpcPortHostile, StreamWithoutAHelloIsDroppedAtTheHelloDeadline) {
  int fd = raw::connect_to(path);
  ASSERT_GE(fd, 0);
  fds.push_back(fd);
  EXPECT_TRUE(raw::sees_end(fd));  // waits at most 20 s, the stub's method time-out is 60 s
  expect_serving();
}

// A connection may not hold more than a peer's share of the stub.
TEST_F(RpcPortHostile, ConnectionsPerPeerAreBounded) {
  int accepted = 0;
  bool refused = false;
  for (int i = 0; i < 200 && !refused; ++i) {
    int m = -1, cb = -1;
    const bool ok = handshake(&m, &cb, "conn-" + std::to_string(i));
    if (m >= 0) fds.push_back(m);
    if (cb >= 0) fds.push_back(cb);
    if (ok)
      ++accepted;
    else
      refused = true;
  }
  EXPECT_TRUE(refused);
  EXPECT_EQ(accepted, 128);  // 256 streams: two per connection
  EXPECT_EQ(round_trip_from_another_process(), 0);
}

// Frames that announce the maximum size and send a few bytes: the stub's memory grows with what
// arrives, not with what is announced, and a half-sent frame is dropped at the frame deadline.
class RpcPortHalfSentFrames : public RpcPortHostile {
 protected:
  void before_launch() override { setenv("VELMORA_RPC_TIMEOUT_MS", "3000", 1); }
};

TEST_F(RpcPortHalfSentFrames, CostOnlyWhatArrivesAndAreDroppedAtTheDeadline) {
  const pid_t pid = stub_pid();
  ASSERT_GT(pid, 0);
  const long before = vtest::apps::resident_kib(pid);
  ASSERT_GT(before, 0);
  std::vector<int> mains;
  for (int i = 0; i < 100; ++i) {
    int m = -1, cb = -1;
    ASSERT_TRUE(handshake(&m, &cb, "big-" + std::to_string(i))) << i;
    fds.push_back(m);
    fds.push_back(cb);
    mains.push_back(m);
    ASSERT_TRUE(raw::write_frame(m, raw::Bytes(10, 'x'), RPC_PORT_PARCEL_MAX_SIZE));
  }
  // Every announcement has been read once the stub answers a request after them.
  expect_serving();
  const long after = vtest::apps::resident_kib(pid);
  // 100 frames of 4 MiB would be 400 MiB; what arrived is 1 KiB.
  EXPECT_LT(after - before, 64 * 1024) << "resident KiB before " << before << ", after " << after;
  for (int m : mains) EXPECT_TRUE(raw::sees_end(m));
  expect_serving();
}

}  // namespace

// A handler that runs the main loop itself does not meet its own connection again: the request
// that arrives meanwhile waits until the handler is done, and the results keep their order.
TEST_F(RpcPortHostile, AHandlerRunningTheLoopIsNotEnteredAgainByItsConnection) {
  int m = -1, cb = -1;
  ASSERT_TRUE(handshake(&m, &cb));
  fds = {m, cb};
  const std::string marker = root.path() + "/nested.marker";
  ASSERT_TRUE(raw::write_frame(m, request({"nest", marker})));
  // The second request arrives while the first one's handler runs the loop.
  ASSERT_TRUE(
      run_until([&] { return g_file_test((marker + ".entered").c_str(), G_FILE_TEST_EXISTS); }));
  ASSERT_TRUE(raw::write_frame(m, request({"echo", "after"})));
  ASSERT_TRUE(g_file_set_contents(marker.c_str(), "", 0, nullptr));
  raw::Bytes first, second;
  ASSERT_TRUE(raw::read_frame(m, &first));
  ASSERT_TRUE(raw::read_frame(m, &second));
  raw::Bytes nested;
  raw::put_string(&nested, "nested");
  raw::put_u32(&nested, 0);  // no request handled from within
  EXPECT_EQ(first, nested);
  raw::Bytes echoed;
  raw::put_string(&echoed, "echo");
  raw::put_string(&echoed, "after");
  EXPECT_EQ(second, echoed);
  expect_serving();
}
