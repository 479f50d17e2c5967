// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: app controls on the wire (see ipc_wire.hh, "control").
#include <unistd.h>

#include "ipc_app_control.hh"

namespace vhost::ipc {

namespace {
constexpr unsigned char kHasAppId = 1;
constexpr unsigned char kHasOperation = 2;
// Every extra takes at least its two string lengths.
constexpr size_t kMinExtraSize = 8;

// Strings reach C callers as NUL-terminated copies: one with a NUL inside is malformed.
bool get_text(WireReader *r, std::string *s) {
  return r->get_string(s, kMaxFrame) && s->find('\0') == std::string::npos;
}
}  // namespace

void encode_control(const app_control_s &control, Bytes *out) {
  out->push_back((unsigned char)((control.has_app_id ? kHasAppId : 0) |
                                 (control.has_operation ? kHasOperation : 0)));
  put_string(out, control.app_id);
  put_string(out, control.operation);
  put_u32(out, (uint32_t)control.extras.size());
  for (const auto &[key, value] : control.extras) {
    put_string(out, key);
    put_string(out, value);
  }
}

bool decode_control(WireReader *r, app_control_s *out) {
  unsigned char flags;
  uint32_t count;
  app_control_s c;
  if (!r->get_bytes(&flags, 1) || (flags & ~(kHasAppId | kHasOperation)) != 0) return false;
  c.has_app_id = flags & kHasAppId;
  c.has_operation = flags & kHasOperation;
  if (!get_text(r, &c.app_id) || !get_text(r, &c.operation)) return false;
  if (!r->get_u32(&count) || count > (r->data.size() - r->pos) / kMinExtraSize) return false;
  c.extras.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    std::string key, value;
    if (!get_text(r, &key) || !get_text(r, &value)) return false;
    if (key.empty() || !c.extras.add(std::move(key), std::move(value))) return false;
  }
  *out = std::move(c);
  return true;
}

}  // namespace vhost::ipc
