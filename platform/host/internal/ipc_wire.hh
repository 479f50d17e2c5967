// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: what travels on the platform's Unix stream sockets.
//
// Every integer is little-endian; a "string" is a uint32 byte count followed by the bytes (no NUL).
//
//   frame        uint32 length, then `length` payload bytes. length <= RPC_PORT_PARCEL_MAX_SIZE;
//                a peer that announces more is dropped at once.
//
//   hello        the first frame a client writes on every stream it opens:
//                  4 bytes "VLMH", uint32 version (1), uint32 kind (0 rpc main port,
//                  1 rpc callback port, 2 app control), string caller app id ("" when the caller
//                  runs as no application), string target (the rpc port name; "" for app control),
//                  string connection id (the same on the two streams of one rpc connection;
//                  "" for app control).
//                A hello frame is at most kMaxHello bytes; a bad hello drops the stream.
//
//   answer       the first frame the server writes back on a stream:
//                  4 bytes "VLMA", int32 code: 0 accepted; 1 (app control) not taken, the callee
//                  stops serving: send the request again; otherwise refused (rpc-port:
//                  RPC_PORT_ERROR_PERMISSION_DENIED; app control: the app_control error that the
//                  sender reports); after any code but 0 the server closes the stream.
//
//   rpc-port     after both answers, every frame is the raw bytes of one parcel: requests and
//                their results on the main stream, pushed callbacks on the callback stream.
//
//   app control  the sender writes hello and then one request frame without waiting; the callee
//                answers once the request has reached its application (in the same write as the
//                reply when the application replies at once), writes at most one reply frame
//                and closes:
//                  request = control
//                  reply   = int32 result, control
//                  control = uint8 flags (1: app id set, 2: operation set), string app id,
//                            string operation, uint32 extra count, then per extra string key and
//                            string value (keys non-empty and unique, in insertion order).
#pragma once

#include <cstdint>
#include <string>

#include "ipc_frame.hh"

namespace vhost::ipc {

enum class StreamKind : uint32_t { kRpcMain = 0, kRpcCallback = 1, kAppControl = 2 };

inline constexpr uint32_t kWireVersion = 1;
inline constexpr size_t kMaxHello = 1024;
inline constexpr size_t kMaxConnectionId = 64;
// The answer code of a callee that stops serving before it took a request.
inline constexpr int32_t kAnswerSendAgain = 1;

struct Hello {
  StreamKind kind = StreamKind::kRpcMain;
  std::string caller;         // "" when the caller runs as no application
  std::string target;         // rpc port name, "" for app control
  std::string connection_id;  // pairs the two rpc streams
};

Bytes encode_hello(const Hello &hello);
// False for anything that is not a well-formed hello of this version (ids are checked too).
bool decode_hello(const Bytes &frame, Hello *out);

Bytes encode_answer(int32_t code);
bool decode_answer(const Bytes &frame, int32_t *code);

// Little-endian helpers shared by the encoders.
void put_u32(Bytes *out, uint32_t v);
void put_string(Bytes *out, const std::string &s);
// Appends `payload` as one frame (its length, then its bytes).
void append_frame(Bytes *out, const Bytes &payload);
// Cursor over a received frame; every get fails (false) instead of reading past the end.
struct WireReader {
  const Bytes &data;
  size_t pos = 0;
  bool get_u32(uint32_t *v);
  bool get_string(std::string *s, size_t max_len);
  bool get_bytes(void *dst, size_t n);
  bool at_end() const { return pos == data.size(); }
};

}  // namespace vhost::ipc
