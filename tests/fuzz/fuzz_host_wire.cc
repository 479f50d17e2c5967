// SPDX-License-Identifier: Apache-2.0
// Velmora fuzzing: what the host platform reads from its sockets: hello and answer frames, launch
// requests and replies (app controls on the wire), and the cutting of a byte stream into frames.
//
// An input is one selector byte (which reader) and the bytes it reads. Whatever a decoder accepts
// must encode back to exactly the bytes it consumed (the formats have one encoding per value) and
// decode again to the same value; what it refuses leaves its output untouched. A decoded app
// control must read back through the app-control interface as decoded: every extra visited once,
// in order, with its value, and no string cut short by a NUL. The frame reader must cut a stream
// fed in arbitrary pieces exactly as the same stream fed at once, the frames it hands out must
// re-frame to the start of the stream, and what is left must not hold a whole frame.
//
// Seeds: VELMORA_FUZZ_WRITE_SEEDS=<dir> writes well-formed frames of each kind into <dir> and
// exits, e.g.
//   VELMORA_FUZZ_WRITE_SEEDS=tests/fuzz/corpus/host_wire build/fuzz/tests/fuzz/fuzz_host_wire
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "app_control.h"
#include "fuzz_quiet.hh"
#include "ipc_app_control.hh"
#include "ipc_frame.hh"
#include "ipc_wire.hh"

namespace {

using vhost::ipc::Bytes;
using vhost::ipc::FrameReader;
using vhost::ipc::Hello;
using vhost::ipc::WireReader;

enum Reader : uint8_t { kHello, kAnswer, kRequest, kReply, kFrames, kReaderCount };

[[noreturn]] void fail(const char *what) {
  fprintf(stderr, "%s\n", what);
  abort();
}

bool same_hello(const Hello &a, const Hello &b) {
  return a.kind == b.kind && a.caller == b.caller && a.target == b.target &&
         a.connection_id == b.connection_id;
}

bool same_control(const app_control_s &a, const app_control_s &b) {
  return a.has_app_id == b.has_app_id && a.app_id == b.app_id &&
         a.has_operation == b.has_operation && a.operation == b.operation && a.extras == b.extras;
}

void check_hello(const Bytes &in) {
  Hello h;
  h.caller = "untouched";
  if (!vhost::ipc::decode_hello(in, &h)) {
    if (h.caller != "untouched" || !h.target.empty())
      fail("hello: a refused frame changed the output");
    return;
  }
  const Bytes out = vhost::ipc::encode_hello(h);
  if (out != in) fail("hello: re-encoding differs from the accepted frame");
  Hello again;
  if (!vhost::ipc::decode_hello(out, &again) || !same_hello(h, again))
    fail("hello: the re-encoded frame decodes differently");
}

void check_answer(const Bytes &in) {
  int32_t code = 12345;
  if (!vhost::ipc::decode_answer(in, &code)) {
    if (code != 12345) fail("answer: a refused frame changed the output");
    return;
  }
  if (vhost::ipc::encode_answer(code) != in) fail("answer: re-encoding differs");
}

// The decoded control as a caller of the app-control interface sees it.
void check_interface(const app_control_s &c) {
  app_control_h h = nullptr;
  if (app_control_create(&h) != APP_CONTROL_ERROR_NONE) abort();
  *h = c;
  char *text = nullptr;
  if (app_control_get_app_id(h, &text) != APP_CONTROL_ERROR_NONE ||
      (text != nullptr) != c.has_app_id || (text && text != c.app_id))
    fail("control: the app id does not read back");
  free(text);
  text = nullptr;
  if (app_control_get_operation(h, &text) != APP_CONTROL_ERROR_NONE ||
      (text != nullptr) != c.has_operation || (text && text != c.operation))
    fail("control: the operation does not read back");
  free(text);

  struct Walk {
    const app_control_s *c;
    size_t next = 0;
    bool bad = false;
  } walk{&c};
  app_control_foreach_extra_data(
      h,
      [](app_control_h a, const char *key, void *data) {
        auto *w = static_cast<Walk *>(data);
        char *value = nullptr;
        if (w->next >= w->c->extras.size() || w->c->extras[w->next].first != key ||
            app_control_get_extra_data(a, key, &value) != APP_CONTROL_ERROR_NONE ||
            w->c->extras[w->next].second != value)
          w->bad = true;
        free(value);
        ++w->next;
        return true;
      },
      &walk);
  if (walk.bad || walk.next != c.extras.size()) fail("control: the extras do not read back");
  app_control_destroy(h);
}

// A launch request (the control alone) or a reply (int32 result, then the control), read as the
// callee and the sender read them: the whole frame or nothing.
void check_control(const Bytes &in, bool reply) {
  WireReader r{in};
  uint32_t result = 0;
  app_control_s c;
  c.app_id = "untouched";
  if ((reply && !r.get_u32(&result)) || !vhost::ipc::decode_control(&r, &c)) {
    if (c.app_id != "untouched" || c.has_app_id || !c.extras.empty())
      fail("control: a refused frame changed the output");
    return;
  }
  // The control alone may be followed by more bytes; it must re-encode to what it consumed.
  Bytes out;
  if (reply) vhost::ipc::put_u32(&out, result);
  vhost::ipc::encode_control(c, &out);
  if (out.size() != r.pos || memcmp(out.data(), in.data(), r.pos) != 0)
    fail("control: re-encoding differs from the consumed bytes");
  WireReader again{out};
  uint32_t result2 = 0;
  app_control_s c2;
  if ((reply && (!again.get_u32(&result2) || result2 != result)) ||
      !vhost::ipc::decode_control(&again, &c2) || !again.at_end() || !same_control(c, c2))
    fail("control: the re-encoded bytes decode differently");
  for (const auto &[key, value] : c.extras)
    if (key.empty() || key.find('\0') != std::string::npos || value.find('\0') != std::string::npos)
      fail("control: an empty key or a NUL inside a string was accepted");
  if (c.app_id.find('\0') != std::string::npos || c.operation.find('\0') != std::string::npos)
    fail("control: a NUL inside a string was accepted");
  check_interface(c);
}

// The three ways the platform cuts streams: the callee (a hello first), the sender (an answer
// first), and small limits so that refusals are reached quickly.
struct Limits {
  size_t max;
  size_t first_max;
};
constexpr Limits kLimits[] = {
    {vhost::ipc::kMaxFrame, vhost::ipc::kMaxHello}, {vhost::ipc::kMaxFrame, 64}, {256, 16}};

uint32_t le32(const unsigned char *p) {
  return (uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24;
}

// Input: limits byte, piece-size seed byte, then the stream.
void check_frames(const Bytes &in) {
  if (in.size() < 2) return;
  const Limits &limits = kLimits[in[0] % (sizeof(kLimits) / sizeof(kLimits[0]))];
  uint32_t seed = in[1] * 2654435761u + 1;
  const unsigned char *stream = in.data() + 2;
  const size_t n = in.size() - 2;

  FrameReader whole(limits.max, limits.first_max);
  std::deque<Bytes> frames_whole;
  const bool ok_whole = whole.feed(stream, n, &frames_whole);

  FrameReader pieces(limits.max, limits.first_max);
  std::deque<Bytes> frames_pieces;
  bool ok_pieces = true;
  for (size_t done = 0; done < n && ok_pieces;) {
    seed = seed * 1103515245u + 12345u;
    const size_t take = std::min<size_t>(n - done, (seed >> 16) % 9);  // 0 to 8 bytes
    ok_pieces = pieces.feed(stream + done, take, &frames_pieces);
    done += take;
  }
  if (ok_whole != ok_pieces || frames_whole != frames_pieces)
    fail("frames: feeding in pieces cuts differently");

  // Re-framing the frames gives the start of the stream.
  size_t pos = 0;
  for (size_t i = 0; i < frames_whole.size(); ++i) {
    const Bytes &f = frames_whole[i];
    if (f.size() > (i == 0 ? limits.first_max : limits.max)) fail("frames: a frame over its limit");
    if (n - pos < 4 + f.size() || le32(stream + pos) != f.size() ||
        (!f.empty() && memcmp(stream + pos + 4, f.data(), f.size()) != 0))
      fail("frames: a frame is not the stream's bytes");
    pos += 4 + f.size();
  }
  // What is left is an incomplete frame, or (refused) a header over the limit.
  const size_t left = n - pos;
  if (left >= 4) {
    const size_t len = le32(stream + pos);
    const size_t limit = frames_whole.empty() ? limits.first_max : limits.max;
    if (ok_whole != (len <= limit)) fail("frames: refusal does not match the announced length");
    if (ok_whole && left >= 4 + len) fail("frames: a whole frame was left uncut");
  } else if (!ok_whole) {
    fail("frames: refused without a header");
  }
}

int run(const uint8_t *data, size_t size) {
  if (size < 1) return 0;
  const Bytes in(data + 1, data + size);
  switch (data[0] % kReaderCount) {
    case kHello:
      check_hello(in);
      break;
    case kAnswer:
      check_answer(in);
      break;
    case kRequest:
      check_control(in, false);
      break;
    case kReply:
      check_control(in, true);
      break;
    case kFrames:
      check_frames(in);
      break;
  }
  return 0;
}

// ---- seeds ----

void write_seed(const std::string &dir, const char *name, uint8_t reader, const Bytes &bytes) {
  const std::string path = dir + "/" + name;
  FILE *f = fopen(path.c_str(), "wb");
  if (!f) {
    perror(path.c_str());
    exit(1);
  }
  fputc(reader, f);
  fwrite(bytes.data(), 1, bytes.size(), f);
  fclose(f);
}

Bytes framed(const std::vector<Bytes> &frames) {
  Bytes out;
  for (const Bytes &f : frames) {
    vhost::ipc::put_u32(&out, (uint32_t)f.size());
    out.insert(out.end(), f.begin(), f.end());
  }
  return out;
}

void maybe_write_seeds() {
  const char *dir = getenv("VELMORA_FUZZ_WRITE_SEEDS");
  if (!dir) return;
  Hello app{vhost::ipc::StreamKind::kAppControl, "dev.velmora.example", "", ""};
  Hello port{vhost::ipc::StreamKind::kRpcMain, "dev.velmora.example", "AccountSvc", "conn-1a2b"};
  Hello callback = port;
  callback.kind = vhost::ipc::StreamKind::kRpcCallback;
  write_seed(dir, "hello-app-control", kHello, vhost::ipc::encode_hello(app));
  write_seed(dir, "hello-rpc-main", kHello, vhost::ipc::encode_hello(port));
  write_seed(dir, "hello-rpc-callback", kHello, vhost::ipc::encode_hello(callback));
  write_seed(dir, "answer-accepted", kAnswer, vhost::ipc::encode_answer(0));
  write_seed(dir, "answer-refused", kAnswer, vhost::ipc::encode_answer(-13));

  app_control_s request;
  request.has_app_id = true;
  request.app_id = "dev.velmora.account";
  request.has_operation = true;
  request.operation = "http://velmora.dev/appcontrol/operation/getaccesstoken";
  request.extras = {{"client_id", "abc123"}, {"login_id", "user@example.com"}, {"scope", ""}};
  Bytes request_bytes;
  vhost::ipc::encode_control(request, &request_bytes);
  write_seed(dir, "request", kRequest, request_bytes);

  app_control_s reply;
  reply.extras = {{"access_token", "t0k3n"}, {"access_token_expires_in", "3600"}};
  Bytes reply_bytes;
  vhost::ipc::put_u32(&reply_bytes, 0);
  vhost::ipc::encode_control(reply, &reply_bytes);
  write_seed(dir, "reply", kReply, reply_bytes);

  Bytes stream = {0, 3};  // the callee's limits; pieces of varying size
  const Bytes hello_and_request = framed({vhost::ipc::encode_hello(app), request_bytes});
  stream.insert(stream.end(), hello_and_request.begin(), hello_and_request.end());
  write_seed(dir, "stream-launch", kFrames, stream);
  Bytes answer_stream = {1, 7};  // the sender's limits
  const Bytes answer_and_reply = framed({vhost::ipc::encode_answer(0), reply_bytes});
  answer_stream.insert(answer_stream.end(), answer_and_reply.begin(), answer_and_reply.end());
  write_seed(dir, "stream-reply", kFrames, answer_stream);
  printf("wrote 10 seeds to %s\n", dir);
  exit(0);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  vfuzz::quiet_log();
  maybe_write_seeds();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) { return run(data, size); }
