// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the app control record and its encoding (see ipc_wire.hh, "control").
#pragma once

#include <glib.h>
#include <sys/types.h>

#include <memory>
#include <string>

#include "app_control.h"
#include "ipc_accept.hh"
#include "ipc_extras.hh"
#include "ipc_frame.hh"
#include "ipc_wire.hh"

namespace vhost::ipc {

// The callee's end of a received launch request: the sender's stream, shared by the request and
// every clone of it, so that any of them can reply (once). When the last of them goes without a
// reply, the stream closes and the sender's reply callback runs with APP_CONTROL_RESULT_FAILED.
struct ReplyChannel {
  int fd = -1;
  bool replied = false;
  bool answered = false;        // the accept answer went out
  GMainContext *ctx = nullptr;  // where a reply the socket cannot take at once is written
  PeerSlot slot;                // the stream counts for its peer while it is open
  pid_t pid = 0;                // the sender, for the stream's next request
  uid_t uid = 0;
  unsigned serving = 0;  // which serving took the request (0: none)
  // The stream's input watch, parked while the request is served (Acceptor::take_over): it goes
  // back to the acceptor with the stream after a reply, and is destroyed before the stream closes.
  GSource *watch = nullptr;
  // Closes the stream (after its watch), if it is still open.
  void close_stream();
  ~ReplyChannel();
};

}  // namespace vhost::ipc

struct app_control_s {
  bool has_app_id = false;
  std::string app_id;
  bool has_operation = false;
  std::string operation;
  vhost::ipc::Extras extras;
  // Received launch requests only.
  bool received = false;
  std::string caller;
  pid_t sender_pid = 0;  // the peer's process, from the socket's credentials
  std::shared_ptr<vhost::ipc::ReplyChannel> channel;
};

namespace vhost::ipc {

void encode_control(const app_control_s &control, Bytes *out);
// Reads a control; false for anything malformed (empty or repeated keys included).
bool decode_control(WireReader *reader, app_control_s *out);

}  // namespace vhost::ipc
