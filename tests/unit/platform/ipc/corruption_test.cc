// SPDX-License-Identifier: Apache-2.0
// Velmora tests: corrupted streams from the other side of the platform's sockets.
//
// A well-formed stream (the committed wire seeds of tests/fuzz/corpus/host_wire where they fit) is
// corrupted in every way of a kind and played on a real socket, one stream after the other:
//   - every truncation, and every length or count field set to 0, 1, rest - 1, rest, rest + 1,
//     max - 1, max, max + 1, 2^31 - 1 and 2^32 - 1 (rest: the bytes its frame has after it; max:
//     the largest frame): each is refused, every time (the stream ends without an answer, or the
//     launch request fails once);
//   - every single-byte flip: refused, or served as a whole, well-formed exchange.
// The peer closes its writing side after the stream, so nothing waits for a time-out; the server
// must keep serving with the same instance (it never crashed) and nothing may hang.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "app_control_fixture.hh"
#include "fuzz_seeds.hh"
#include "serve_wire.hh"
#include "stub_wire.hh"

namespace {

namespace raw = vtest::raw;
using raw::Bytes;
using vtest::Replies;
using vtest::apps::drain;
using vtest::apps::run_until;

constexpr uint32_t kMax = RPC_PORT_PARCEL_MAX_SIZE;

// The stream of a "stream-*" wire seed (after its reader, limits and piece-size bytes).
Bytes seed_stream(const char *name) {
  Bytes b = vtest::fuzz_seed("host_wire", name);
  return b.size() > 3 ? Bytes(b.begin() + 3, b.end()) : Bytes{};
}

Bytes framed(const std::vector<Bytes> &frames) {
  Bytes out;
  for (const Bytes &f : frames) {
    raw::put_u32(&out, (uint32_t)f.size());
    out.insert(out.end(), f.begin(), f.end());
  }
  return out;
}

enum class Frame { kHello, kAnswer, kRequest, kReply, kOpaque };

// A length or count field of a well-formed stream, and the bytes its frame has after it.
struct Field {
  size_t at;
  uint32_t rest;
};

// The length and count fields of a well-formed stream of the given frames: every frame length,
// the three strings of a hello, and in a launch request or reply its two strings, its extra count
// and every key and value (the formats of platform/host/internal/ipc_wire.hh).
std::vector<Field> length_fields(const Bytes &s, const std::vector<Frame> &frames) {
  std::vector<Field> out;
  size_t at = 0;
  for (Frame f : frames) {
    const size_t end = at + 4 + raw::get_u32(s, at);
    out.push_back({at, (uint32_t)(s.size() - at - 4)});
    size_t p = at + 4;
    auto field = [&] {
      out.push_back({p, (uint32_t)(end - p - 4)});
      const uint32_t v = raw::get_u32(s, p);
      p += 4;
      return v;
    };
    auto string = [&] { p += field(); };
    switch (f) {
      case Frame::kHello:
        p += 12;  // magic, version, kind
        string(), string(), string();
        break;
      case Frame::kReply:
        p += 4;  // the result
        [[fallthrough]];
      case Frame::kRequest: {
        p += 1;  // flags
        string(), string();
        for (uint32_t n = field(); n > 0; --n) string(), string();
        break;
      }
      case Frame::kAnswer:
      case Frame::kOpaque:
        p = end;
        break;
    }
    EXPECT_EQ(p, end) << "the stream is not the frames it should be";
    at = end;
  }
  EXPECT_EQ(at, s.size());
  return out;
}

struct Case {
  std::string what;
  Bytes bytes;
};

// Every truncation and every changed length or count.
std::vector<Case> structural_corruptions(const Bytes &s, const std::vector<Frame> &frames) {
  std::vector<Case> out;
  for (size_t k = 0; k < s.size(); ++k)
    out.push_back(
        {"cut to " + std::to_string(k) + " bytes", Bytes(s.begin(), s.begin() + (long)k)});
  for (const Field &f : length_fields(s, frames)) {
    const uint32_t original = raw::get_u32(s, f.at);
    const uint32_t values[] = {0,        1,    f.rest - 1, f.rest,     f.rest + 1,
                               kMax - 1, kMax, kMax + 1,   0x7fffffff, 0xffffffff};
    for (uint32_t v : values) {
      if (v == original) continue;
      Bytes b = s;
      for (int i = 0; i < 4; ++i) b[f.at + i] = (unsigned char)(v >> (8 * i));
      out.push_back({"field at " + std::to_string(f.at) + " set to " + std::to_string(v), b});
    }
  }
  return out;
}

std::vector<Case> byte_flips(const Bytes &s) {
  std::vector<Case> out;
  for (size_t i = 0; i < s.size(); ++i) {
    Bytes b = s;
    b[i] ^= 0xff;
    out.push_back({"byte " + std::to_string(i) + " flipped", b});
  }
  return out;
}

// Writes `bytes` on a new stream to `path`, ends the writing side and collects what the server
// writes until it ends the stream (false when it does not within the wait).
bool exchange(const std::string &path, const Bytes &bytes, Bytes *got, int peer = -1) {
  got->clear();
  int fd = raw::connect_to(path);
  if (fd < 0) return false;
  raw::write_all(fd, bytes.data(), bytes.size());  // the server may drop it before the end
  shutdown(fd, SHUT_WR);
  bool ended = false;
  unsigned char buf[4096];
  for (;;) {
    struct pollfd p = {fd, POLLIN, 0};
    if (poll(&p, 1, 20000) <= 0) break;
    ssize_t r = recv(fd, buf, sizeof buf, 0);
    if (r > 0) {
      got->insert(got->end(), buf, buf + r);
      continue;
    }
    if (r < 0 && errno == EINTR) continue;
    ended = true;  // end of stream, or reset
    break;
  }
  close(fd);
  if (peer >= 0) close(peer);
  return ended;
}

// The frames of a byte stream; false when it does not end on a frame boundary.
bool cut_frames(const Bytes &s, std::vector<Bytes> *frames) {
  frames->clear();
  size_t at = 0;
  while (s.size() - at >= 4) {
    const uint32_t n = raw::get_u32(s, at);
    if (s.size() - at - 4 < n) return false;
    frames->emplace_back(s.begin() + (long)at + 4, s.begin() + (long)(at + 4 + n));
    at += 4 + n;
  }
  return at == s.size();
}

// ---- launch requests, played against the callee application ----

class LaunchRequestCorruption : public vtest::AppControlServeWire {
 protected:
  // A served request: the accepting answer and one reply frame, nothing else.
  static bool served_whole(const Bytes &got) {
    std::vector<Bytes> frames;
    return cut_frames(got, &frames) && frames.size() == 2 && frames[0] == raw::answer(0) &&
           frames[1].size() >= 4 + 1 + 4 + 4 + 4;
  }
  const Bytes stream = seed_stream("stream-launch");
};

TEST_F(LaunchRequestCorruption, TheSeedItselfIsServed) {
  ASSERT_FALSE(stream.empty());
  Bytes got;
  ASSERT_TRUE(exchange(path, stream, &got));
  EXPECT_TRUE(served_whole(got));
}

TEST_F(LaunchRequestCorruption, EveryTruncationAndChangedLengthIsDropped) {
  ASSERT_FALSE(stream.empty());
  const auto cases = structural_corruptions(stream, {Frame::kHello, Frame::kRequest});
  ASSERT_GT(cases.size(), stream.size());
  size_t bad = 0;
  for (const Case &c : cases) {
    Bytes got;
    const bool ended = exchange(path, c.bytes, &got);
    if (!ended || !got.empty()) {
      if (++bad <= 5)
        ADD_FAILURE() << c.what << ": " << (ended ? "answered" : "not ended") << " (" << got.size()
                      << " bytes back)";
    }
  }
  EXPECT_EQ(bad, 0u) << "of " << cases.size();
  expect_serving();
}

TEST_F(LaunchRequestCorruption, EveryByteFlipIsDroppedOrServedWhole) {
  ASSERT_FALSE(stream.empty());
  size_t bad = 0, served = 0;
  for (const Case &c : byte_flips(stream)) {
    Bytes got;
    const bool ended = exchange(path, c.bytes, &got);
    const bool ok = ended && (got.empty() || served_whole(got));
    served += ok && !got.empty();
    if (!ok && ++bad <= 5) ADD_FAILURE() << c.what << ": " << got.size() << " bytes back";
  }
  EXPECT_EQ(bad, 0u);
  EXPECT_GT(served, 0u);  // flips inside names and values still make requests
  expect_serving();
}

// ---- answers and replies, played against a sender of launch requests ----

class ReplyCorruption : public vtest::IpcTest {
 protected:
  static constexpr const char *kCallee = "test.callee";
  void SetUp() override {
    setenv("VELMORA_RPC_TIMEOUT_MS", "2000", 1);
    install(kCallee, "ipc_quitter");  // registered; never started, since the test listens
    const std::string dir = root.path() + "/run/" + kCallee;
    g_mkdir_with_parents(dir.c_str(), 0700);
    listen_fd = raw::listen_at(dir + "/appcontrol.sock");
    ASSERT_GE(listen_fd, 0);
    // Plays the callee: reads the hello and the request of each sender, writes the bytes of the
    // current case and closes.
    callee = std::thread([this] {
      while (!stop) {
        int fd = raw::accept_one(listen_fd, 100);
        if (fd < 0) continue;
        Bytes hello, request, bytes;
        raw::read_frame(fd, &hello);
        raw::read_frame(fd, &request);
        {
          std::lock_guard<std::mutex> lock(mutex);
          bytes = current;
        }
        raw::write_all(fd, bytes.data(), bytes.size());
        close(fd);
      }
    });
  }
  void TearDown() override {
    stop = true;
    if (callee.joinable()) callee.join();
    close(listen_fd);
  }
  // Sends a launch request answered with `bytes`; what its reply callback saw.
  Replies send(const Bytes &bytes) {
    {
      std::lock_guard<std::mutex> lock(mutex);
      current = bytes;
    }
    Replies r;
    EXPECT_EQ(vtest::send_request(kCallee, {{"client_id", "abc"}}, &r), APP_CONTROL_ERROR_NONE);
    EXPECT_TRUE(run_until([&] { return r.calls > 0; }));
    drain();
    return r;
  }
  const Bytes stream = seed_stream("stream-reply");
  int listen_fd = -1;
  std::thread callee;
  std::mutex mutex;
  Bytes current;
  std::atomic<bool> stop{false};
};

TEST_F(ReplyCorruption, TheSeedItselfIsAReply) {
  ASSERT_FALSE(stream.empty());
  Replies r = send(stream);
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(r.get("access_token"), "t0k3n");
}

TEST_F(ReplyCorruption, EveryTruncationAndChangedLengthFailsTheRequestOnce) {
  ASSERT_FALSE(stream.empty());
  const auto cases = structural_corruptions(stream, {Frame::kAnswer, Frame::kReply});
  size_t bad = 0;
  for (const Case &c : cases) {
    Replies r = send(c.bytes);
    if ((r.calls != 1 || r.result != APP_CONTROL_RESULT_FAILED || r.had_reply) && ++bad <= 5)
      ADD_FAILURE() << c.what << ": " << r.calls << " calls, result " << r.result
                    << (r.had_reply ? ", with a reply" : "");
  }
  EXPECT_EQ(bad, 0u) << "of " << cases.size();
}

TEST_F(ReplyCorruption, EveryByteFlipGivesOneCallback) {
  ASSERT_FALSE(stream.empty());
  size_t bad = 0, replies = 0;
  for (const Case &c : byte_flips(stream)) {
    Replies r = send(c.bytes);
    const bool ok = r.calls == 1 && (r.had_reply || r.result == APP_CONTROL_RESULT_FAILED);
    replies += ok && r.had_reply;
    if (!ok && ++bad <= 5) ADD_FAILURE() << c.what << ": " << r.calls << " calls";
  }
  EXPECT_EQ(bad, 0u);
  EXPECT_GT(replies, 0u);  // flips inside keys and values still make replies
}

// ---- rpc-port streams, played against the echo stub ----

// The hello of a main stream is corrupted; the "echo" request that follows it is not (what a
// parcel holds is the application's business, see the corruption suite of the fuzz seeds).
class PortStreamCorruption : public vtest::RpcPortStubWire {
 protected:
  static Bytes hello(const std::string &id) { return framed({raw::hello(0, "", "Echo", id)}); }
  static Bytes request() {
    Bytes r;
    raw::put_string(&r, "echo");
    raw::put_string(&r, "x");
    return framed({r});
  }
  static Bytes then_request(Bytes hello_bytes) {
    const Bytes r = request();
    hello_bytes.insert(hello_bytes.end(), r.begin(), r.end());
    return hello_bytes;
  }
  // Opens the callback stream of connection `id` (a proper one), for the main stream to pair with.
  int callback_stream(const std::string &id) {
    int fd = raw::connect_to(path);
    if (fd >= 0) raw::write_frame(fd, raw::hello(1, "", "Echo", id));
    return fd;
  }
  // The accepting answer, then the echo's result.
  static bool answered_and_echoed(const Bytes &got) {
    std::vector<Bytes> frames;
    Bytes echo;
    raw::put_string(&echo, "echo");
    raw::put_string(&echo, "x");
    return cut_frames(got, &frames) && frames.size() == 2 && frames[0] == raw::answer(0) &&
           frames[1] == echo;
  }
};

TEST_F(PortStreamCorruption, TheStreamItselfIsServed) {
  Bytes got;
  ASSERT_TRUE(exchange(path, then_request(hello("seed")), &got, callback_stream("seed")));
  EXPECT_TRUE(answered_and_echoed(got));
}

TEST_F(PortStreamCorruption, EveryTruncationAndChangedLengthOfTheHelloIsRefused) {
  const std::string id = "c-1";
  const auto cases = structural_corruptions(hello(id), {Frame::kHello});
  size_t bad = 0;
  for (const Case &c : cases) {
    Bytes got;
    const bool ended = exchange(path, then_request(c.bytes), &got, callback_stream(id));
    if ((!ended || !got.empty()) && ++bad <= 5)
      ADD_FAILURE() << c.what << ": " << (ended ? "answered" : "not ended") << " (" << got.size()
                    << " bytes back)";
  }
  EXPECT_EQ(bad, 0u) << "of " << cases.size();
  expect_serving();
}

TEST_F(PortStreamCorruption, EveryByteFlipOfTheHelloIsRefusedOrServedWhole) {
  const std::string id = "c-1";
  size_t bad = 0;
  for (const Case &c : byte_flips(hello(id))) {
    Bytes got;
    const bool ended = exchange(path, then_request(c.bytes), &got, callback_stream(id));
    if ((!ended || !(got.empty() || answered_and_echoed(got))) && ++bad <= 5)
      ADD_FAILURE() << c.what << ": " << got.size() << " bytes back";
  }
  EXPECT_EQ(bad, 0u);
  expect_serving();
}

}  // namespace
