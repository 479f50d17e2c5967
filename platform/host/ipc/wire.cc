// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the hello and answer frames that open every stream.
#include <glib.h>

#include <cstring>

#include "ipc_wire.hh"
#include "registry.hh"

namespace vhost::ipc {

namespace {

constexpr unsigned char kHelloMagic[4] = {'V', 'L', 'M', 'H'};
constexpr unsigned char kAnswerMagic[4] = {'V', 'L', 'M', 'A'};
constexpr size_t kMaxId = 255;

bool valid_connection_id(const std::string &id) {
  if (id.size() > kMaxConnectionId) return false;
  for (char c : id)
    if (!g_ascii_isalnum(c) && c != '-') return false;
  return true;
}

}  // namespace

void put_u32(Bytes *out, uint32_t v) {
  for (int i = 0; i < 4; ++i) out->push_back((unsigned char)(v >> (8 * i)));
}

void put_string(Bytes *out, const std::string &s) {
  put_u32(out, (uint32_t)s.size());
  out->insert(out->end(), s.begin(), s.end());
}

void append_frame(Bytes *out, const Bytes &payload) {
  put_u32(out, (uint32_t)payload.size());
  out->insert(out->end(), payload.begin(), payload.end());
}

bool WireReader::get_bytes(void *dst, size_t n) {
  if (data.size() - pos < n) return false;
  memcpy(dst, data.data() + pos, n);
  pos += n;
  return true;
}

bool WireReader::get_u32(uint32_t *v) {
  unsigned char b[4];
  if (!get_bytes(b, 4)) return false;
  *v = (uint32_t)b[0] | (uint32_t)b[1] << 8 | (uint32_t)b[2] << 16 | (uint32_t)b[3] << 24;
  return true;
}

bool WireReader::get_string(std::string *s, size_t max_len) {
  uint32_t len;
  if (!get_u32(&len)) return false;
  if (len > max_len || data.size() - pos < len) return false;
  s->assign(reinterpret_cast<const char *>(data.data() + pos), len);
  pos += len;
  return true;
}

Bytes encode_hello(const Hello &hello) {
  Bytes out(kHelloMagic, kHelloMagic + 4);
  put_u32(&out, kWireVersion);
  put_u32(&out, (uint32_t)hello.kind);
  put_string(&out, hello.caller);
  put_string(&out, hello.target);
  put_string(&out, hello.connection_id);
  return out;
}

bool decode_hello(const Bytes &frame, Hello *out) {
  if (frame.size() > kMaxHello) return false;
  WireReader r{frame};
  unsigned char magic[4];
  uint32_t version, kind;
  Hello h;
  if (!r.get_bytes(magic, 4) || memcmp(magic, kHelloMagic, 4) != 0) return false;
  if (!r.get_u32(&version) || version != kWireVersion) return false;
  if (!r.get_u32(&kind) || kind > (uint32_t)StreamKind::kAppControl) return false;
  h.kind = (StreamKind)kind;
  if (!r.get_string(&h.caller, kMaxId) || !r.get_string(&h.target, kMaxId) ||
      !r.get_string(&h.connection_id, kMaxConnectionId) || !r.at_end())
    return false;
  if (!h.caller.empty() && !registry_valid_id(h.caller)) return false;
  if (!valid_connection_id(h.connection_id)) return false;
  if (h.kind == StreamKind::kAppControl) {
    if (!h.target.empty() || !h.connection_id.empty()) return false;
  } else if (!registry_valid_id(h.target) || h.connection_id.empty()) {
    return false;
  }
  *out = std::move(h);
  return true;
}

Bytes encode_answer(int32_t code) {
  Bytes out(kAnswerMagic, kAnswerMagic + 4);
  put_u32(&out, (uint32_t)code);
  return out;
}

bool decode_answer(const Bytes &frame, int32_t *code) {
  WireReader r{frame};
  unsigned char magic[4];
  uint32_t v;
  if (!r.get_bytes(magic, 4) || memcmp(magic, kAnswerMagic, 4) != 0) return false;
  if (!r.get_u32(&v) || !r.at_end()) return false;
  *code = (int32_t)v;
  return true;
}

}  // namespace vhost::ipc
