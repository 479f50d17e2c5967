// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the rpc-port wire format, and peers that break it (over-size, short, garbage).
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <atomic>
#include <thread>

#include "ipc_fixture.hh"
#include "raw_wire.hh"
#include "stub_wire.hh"

namespace {

using vtest::Client;
using vtest::IpcTest;
using vtest::Result;
using vtest::RpcPortStubWire;
using vtest::apps::drain;
using vtest::apps::run_until;
namespace raw = vtest::raw;

constexpr const char *kApp = "test.echo";
constexpr uint32_t kMax = RPC_PORT_PARCEL_MAX_SIZE;

struct Hello {
  std::string magic;
  uint32_t version = 0, kind = 99;
  std::string caller, target, connection_id;
};

bool parse_hello(const raw::Bytes &b, Hello *h) {
  size_t at = 0;
  auto str = [&](std::string *out) {
    if (b.size() - at < 4) return false;
    uint32_t n = raw::get_u32(b, at);
    at += 4;
    if (b.size() - at < n) return false;
    out->assign(b.begin() + (long)at, b.begin() + (long)(at + n));
    at += n;
    return true;
  };
  if (b.size() < 12) return false;
  h->magic.assign(b.begin(), b.begin() + 4);
  h->version = raw::get_u32(b, 4);
  h->kind = raw::get_u32(b, 8);
  at = 12;
  return str(&h->caller) && str(&h->target) && str(&h->connection_id) && at == b.size();
}

// The test plays the stub: it listens on the application's socket itself.
class RpcPortProxyWire : public IpcTest {
 protected:
  void SetUp() override {
    install(kApp, "ipc_quitter");  // registered; never started, since the test listens
    const std::string dir = root.path() + "/run/" + kApp;
    g_mkdir_with_parents(dir.c_str(), 0700);
    listen_fd = raw::listen_at(dir + "/rpc-Echo.sock");
    ASSERT_GE(listen_fd, 0);
  }
  void TearDown() override {
    for (int fd : {main_fd, callback_fd, listen_fd})
      if (fd >= 0) close(fd);
  }
  // Lets `c` connect and takes its two streams and hellos.
  void accept_streams(Client *c) {
    ASSERT_EQ(c->connect(kApp), 0);
    main_fd = raw::accept_one(listen_fd);
    callback_fd = raw::accept_one(listen_fd);
    ASSERT_GE(main_fd, 0);
    ASSERT_GE(callback_fd, 0);
    raw::Bytes a, b;
    ASSERT_TRUE(raw::read_frame(main_fd, &a));
    ASSERT_TRUE(raw::read_frame(callback_fd, &b));
    ASSERT_TRUE(parse_hello(a, &main_hello));
    ASSERT_TRUE(parse_hello(b, &callback_hello));
  }
  void accept_and_answer(Client *c) {
    accept_streams(c);
    ASSERT_TRUE(raw::write_frame(main_fd, raw::answer(0)));
    ASSERT_TRUE(raw::write_frame(callback_fd, raw::answer(0)));
    ASSERT_TRUE(run_until([&] { return c->ended(); }));
    ASSERT_EQ(c->connected, 1);
  }

  int listen_fd = -1, main_fd = -1, callback_fd = -1;
  Hello main_hello, callback_hello;
};

TEST_F(RpcPortProxyWire, HellosHaveTheDocumentedForm) {
  setenv("VELMORA_APP_ID", "test.caller", 1);
  Client c;
  accept_streams(&c);
  EXPECT_EQ(main_hello.magic, "VLMH");
  EXPECT_EQ(main_hello.version, 1u);
  EXPECT_EQ(main_hello.kind, 0u);
  EXPECT_EQ(callback_hello.kind, 1u);
  EXPECT_EQ(main_hello.caller, "test.caller");
  EXPECT_EQ(callback_hello.caller, "test.caller");
  EXPECT_EQ(main_hello.target, "Echo");
  EXPECT_FALSE(main_hello.connection_id.empty());
  EXPECT_LE(main_hello.connection_id.size(), 64u);
  EXPECT_EQ(main_hello.connection_id, callback_hello.connection_id);
  // Frames after the answers are parcels: a request written by the proxy arrives as its bytes.
  ASSERT_TRUE(raw::write_frame(main_fd, raw::answer(0)));
  ASSERT_TRUE(raw::write_frame(callback_fd, raw::answer(0)));
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  ASSERT_EQ(vtest::send_request(c.main_port, {"ab", 7}), 0);
  raw::Bytes request;
  ASSERT_TRUE(raw::read_frame(main_fd, &request));
  EXPECT_EQ(request, (raw::Bytes{2, 0, 0, 0, 'a', 'b', 7, 0, 0, 0}));
}

TEST_F(RpcPortProxyWire, ResultFrameIsReadAsAParcel) {
  Client c;
  accept_and_answer(&c);
  raw::Bytes result;
  raw::put_string(&result, "done");
  ASSERT_TRUE(raw::write_frame(main_fd, result));
  rpc_port_parcel_h p = nullptr;
  ASSERT_EQ(rpc_port_parcel_create_from_port(&p, c.main_port), 0);
  EXPECT_EQ(vtest::take_string(p), "done");
  rpc_port_parcel_destroy(p);
}

TEST_F(RpcPortProxyWire, OverSizeCallbackFrameDropsTheConnection) {
  Client c;
  accept_and_answer(&c);
  ASSERT_TRUE(raw::write_frame(callback_fd, {}, kMax + 1));
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  drain();
  EXPECT_EQ(c.disconnected, 1);
  EXPECT_EQ(c.received, 0);
  EXPECT_TRUE(raw::sees_end(main_fd));
  EXPECT_TRUE(raw::sees_end(callback_fd));
}

TEST_F(RpcPortProxyWire, OverSizeResultFailsTheReadAndDropsTheConnection) {
  Client c;
  accept_and_answer(&c);
  ASSERT_TRUE(raw::write_frame(main_fd, {}, 0xFFFFFFFFu));
  rpc_port_parcel_h p = nullptr;
  EXPECT_EQ(rpc_port_parcel_create_from_port(&p, c.main_port), RPC_PORT_ERROR_IO_ERROR);
  EXPECT_EQ(p, nullptr);
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  EXPECT_TRUE(raw::sees_end(main_fd));
}

TEST_F(RpcPortProxyWire, FrameOfTheMaximumSizeIsAccepted) {
  Client c;
  unsigned int size = 0;
  c.on_received = [&] {
    rpc_port_parcel_h p = nullptr;
    ASSERT_EQ(rpc_port_parcel_create_from_port(&p, c.callback_port), 0);
    const void *bytes = nullptr;
    velmora_host_parcel_get_raw(p, &bytes, &size);
    rpc_port_parcel_destroy(p);
  };
  accept_and_answer(&c);
  // More than the socket holds: written by another thread while the main loop reads.
  bool written = false;
  std::thread writer([&] { written = raw::write_frame(callback_fd, raw::Bytes(kMax, 0x5a)); });
  EXPECT_TRUE(run_until([&] { return c.received > 0; }));
  writer.join();
  EXPECT_TRUE(written);
  EXPECT_EQ(size, kMax);
  EXPECT_EQ(c.disconnected, 0);
}

TEST_F(RpcPortProxyWire, GarbageAndEmptyCallbackFramesArriveAsTheirBytes) {
  Client c;
  std::vector<unsigned int> sizes;
  std::vector<int> string_reads;
  c.on_received = [&] {
    rpc_port_parcel_h p = nullptr;
    ASSERT_EQ(rpc_port_parcel_create_from_port(&p, c.callback_port), 0);
    const void *bytes = nullptr;
    unsigned int size = 0;
    velmora_host_parcel_get_raw(p, &bytes, &size);
    sizes.push_back(size);
    char *s = nullptr;
    string_reads.push_back(rpc_port_parcel_read_string(p, &s));
    free(s);
    rpc_port_parcel_destroy(p);
  };
  accept_and_answer(&c);
  ASSERT_TRUE(raw::write_frame(callback_fd, {}));
  ASSERT_TRUE(raw::write_frame(callback_fd, {0xff, 0xff, 0xff, 0x7f, 1, 2, 3}));
  ASSERT_TRUE(run_until([&] { return c.received >= 2; }));
  EXPECT_EQ(sizes, (std::vector<unsigned int>{0, 7}));
  EXPECT_EQ(string_reads, (std::vector<int>{RPC_PORT_ERROR_IO_ERROR, RPC_PORT_ERROR_IO_ERROR}));
  EXPECT_EQ(c.disconnected, 0);
}

TEST_F(RpcPortProxyWire, TruncatedFrameThenEndOfStreamDisconnects) {
  Client c;
  accept_and_answer(&c);
  ASSERT_TRUE(raw::write_frame(callback_fd, raw::Bytes(10, 1), 100));
  close(callback_fd);
  callback_fd = -1;
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  drain();
  EXPECT_EQ(c.received, 0);
  EXPECT_EQ(c.disconnected, 1);
}

TEST_F(RpcPortProxyWire, GarbageAnswerIsRejected) {
  Client c;
  accept_streams(&c);
  ASSERT_TRUE(raw::write_frame(main_fd, {'n', 'o', 'p', 'e'}));
  ASSERT_TRUE(raw::write_frame(callback_fd, raw::answer(0)));
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  EXPECT_EQ(c.rejected, 1);
  EXPECT_EQ(c.connected, 0);
}

TEST_F(RpcPortProxyWire, RefusalAnswerIsRejected) {
  Client c;
  accept_streams(&c);
  ASSERT_TRUE(raw::write_frame(main_fd, raw::answer(0)));
  ASSERT_TRUE(raw::write_frame(callback_fd, raw::answer(RPC_PORT_ERROR_PERMISSION_DENIED)));
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  EXPECT_EQ(c.rejected, 1);
}

TEST_F(RpcPortProxyWire, StubThatNeverAnswersIsRejectedAfterTheTimeOut) {
  setenv("VELMORA_RPC_TIMEOUT_MS", "300", 1);
  Client c;
  accept_streams(&c);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  EXPECT_EQ(c.rejected, 1);
}

TEST_F(RpcPortProxyWire, StubClosingBeforeItAnswersIsTriedAgainThenRejected) {
  // A stub that closes before it answers is taken for one that was ending: the proxy goes
  // through the launcher again, four attempts in all, and then reports the rejection.
  std::atomic<int> attempts{0};
  std::thread stub([&] {
    for (int i = 0; i < 4; ++i) {
      int m = raw::accept_one(listen_fd);
      int cb = raw::accept_one(listen_fd);
      if (m < 0 || cb < 0) return;
      raw::Bytes frame;
      raw::read_frame(m, &frame);
      close(m);
      close(cb);
      ++attempts;
    }
  });
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  stub.join();
  drain();
  EXPECT_EQ(attempts, 4);
  EXPECT_EQ(c.rejected, 1);
  EXPECT_EQ(c.connected, 0);
}

TEST_F(RpcPortProxyWire, StubClosingOnceBeforeItAnswersIsReachedOnTheNextAttempt) {
  std::thread stub([&] {
    int m = raw::accept_one(listen_fd);
    int cb = raw::accept_one(listen_fd);
    close(m);  // the first attempt meets an ending instance
    close(cb);
    main_fd = raw::accept_one(listen_fd);
    callback_fd = raw::accept_one(listen_fd);
    raw::Bytes frame;
    raw::read_frame(main_fd, &frame);
    raw::read_frame(callback_fd, &frame);
    raw::write_frame(main_fd, raw::answer(0));
    raw::write_frame(callback_fd, raw::answer(0));
  });
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  stub.join();
  EXPECT_EQ(c.connected, 1);
  EXPECT_EQ(c.rejected, 0);
}

TEST_F(RpcPortStubWire, RawHandshakeAndRequestAreServed) {
  int m, cb;
  ASSERT_TRUE(handshake(&m, &cb));
  raw::Bytes request;
  raw::put_string(&request, "echo");
  raw::put_string(&request, "raw");
  ASSERT_TRUE(raw::write_frame(m, request));
  raw::Bytes result, expected;
  raw::put_string(&expected, "echo");
  raw::put_string(&expected, "raw");
  ASSERT_TRUE(raw::read_frame(m, &result));
  EXPECT_EQ(result, expected);
  close(m);
  close(cb);
}

TEST_F(RpcPortStubWire, OverSizeRequestDropsTheConnection) {
  int m, cb;
  ASSERT_TRUE(handshake(&m, &cb));
  ASSERT_TRUE(raw::write_frame(m, {}, kMax + 1));
  EXPECT_TRUE(raw::sees_end(m));
  EXPECT_TRUE(raw::sees_end(cb));
  close(m);
  close(cb);
  expect_serving();
}

TEST_F(RpcPortStubWire, GarbageHelloIsDropped) {
  int fd = raw::connect_to(path);
  ASSERT_GE(fd, 0);
  ASSERT_TRUE(raw::write_frame(fd, {'g', 'a', 'r', 'b', 'a', 'g', 'e'}));
  EXPECT_TRUE(raw::sees_end(fd));
  close(fd);
  expect_serving();
}

TEST_F(RpcPortStubWire, OverSizeHelloIsDropped) {
  int fd = raw::connect_to(path);
  ASSERT_GE(fd, 0);
  ASSERT_TRUE(raw::write_frame(fd, {}, 4096));
  EXPECT_TRUE(raw::sees_end(fd));
  close(fd);
  expect_serving();
}

TEST_F(RpcPortStubWire, TruncatedHelloAndEarlyCloseAreSurvived) {
  int fd = raw::connect_to(path);
  ASSERT_GE(fd, 0);
  raw::Bytes h = raw::hello(0, "", "Echo", "cut");
  ASSERT_TRUE(raw::write_frame(fd, raw::Bytes(h.begin(), h.begin() + 9), (uint32_t)h.size()));
  close(fd);
  int bare = raw::connect_to(path);
  close(bare);
  expect_serving();
}

TEST_F(RpcPortStubWire, HelloForAnotherPortOrKindIsDropped) {
  int fd = raw::connect_to(path);
  ASSERT_TRUE(raw::write_frame(fd, raw::hello(0, "", "Other", "x1")));
  EXPECT_TRUE(raw::sees_end(fd));
  close(fd);
  fd = raw::connect_to(path);
  ASSERT_TRUE(raw::write_frame(fd, raw::hello(2, "", "", "")));
  EXPECT_TRUE(raw::sees_end(fd));
  close(fd);
  expect_serving();
}

TEST_F(RpcPortStubWire, StreamsThatDoNotMatchAreDropped) {
  int m = raw::connect_to(path);
  int cb = raw::connect_to(path);
  ASSERT_TRUE(raw::write_frame(m, raw::hello(0, "test.one", "Echo", "pair")));
  ASSERT_TRUE(raw::write_frame(cb, raw::hello(1, "test.two", "Echo", "pair")));
  EXPECT_TRUE(raw::sees_end(m));
  EXPECT_TRUE(raw::sees_end(cb));
  close(m);
  close(cb);
  expect_serving();
}

TEST_F(RpcPortStubWire, ConnectionIdInUseIsRefused) {
  int m, cb;
  ASSERT_TRUE(handshake(&m, &cb, "same-id"));
  int m2, cb2;
  EXPECT_FALSE(handshake(&m2, &cb2, "same-id"));
  EXPECT_TRUE(raw::sees_end(m2));
  for (int fd : {m, cb, m2, cb2}) close(fd);
  expect_serving();
}

TEST_F(RpcPortStubWire, PeerOfAnotherUserIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to act as another user";
  // Let another user reach the socket at all.
  for (std::string p : {root.path(), root.path() + "/run", root.path() + "/run/" + kApp})
    ASSERT_EQ(chmod(p.c_str(), 0711), 0);
  ASSERT_EQ(chmod(path.c_str(), 0777), 0);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (setgid(65534) != 0 || setuid(65534) != 0) _exit(10);
    int fd = raw::connect_to(path);
    if (fd < 0) _exit(11);
    raw::Bytes answer;
    if (!raw::write_frame(fd, raw::hello(0, "", "Echo", "other-user")) ||
        !raw::read_frame(fd, &answer, 20000))
      _exit(12);
    _exit(answer == raw::answer(RPC_PORT_ERROR_PERMISSION_DENIED) ? 0 : 13);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  expect_serving();
}

}  // namespace
