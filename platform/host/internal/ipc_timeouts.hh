// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the time limits of the inter-process parts, from the environment.
//
// Each is a positive number of milliseconds (at most a day); anything else gives the default.
//   VELMORA_RPC_TIMEOUT_MS      10000   a method call's wait for its result; a frame that started
//                                       to arrive must be complete within it
//   VELMORA_HELLO_TIMEOUT_MS    2000    a new stream's time to bring its hello (and, for a launch
//                                       request, to start sending the request)
//   VELMORA_REPLY_TIMEOUT_MS    300000  a launch request's wait for its reply (long enough for a
//                                       person in a login view)
//   VELMORA_LAUNCH_TIMEOUT_MS   10000   a launch on demand's wait for the application to listen
#pragma once

namespace vhost::ipc {

int frame_timeout_ms();
int hello_timeout_ms();
int reply_timeout_ms();

}  // namespace vhost::ipc
