// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the time-outs of the inter-process parts, read from the environment.
#include <cstdlib>

#include "ipc_launcher.hh"
#include "ipc_timeouts.hh"
#include "velmora_host.h"

namespace {

// A positive decimal number of milliseconds from `name`, else `fallback`.
int env_ms(const char *name, int fallback) {
  const char *text = getenv(name);
  if (!text || !*text) return fallback;
  char *end = nullptr;
  long v = strtol(text, &end, 10);
  if (end == text || *end != '\0' || v <= 0 || v > 24L * 3600 * 1000) return fallback;
  return (int)v;
}

}  // namespace

namespace vhost::ipc {
int launch_timeout_ms() { return env_ms("VELMORA_LAUNCH_TIMEOUT_MS", 10000); }
int frame_timeout_ms() { return velmora_host_rpc_timeout_ms(); }
int hello_timeout_ms() { return env_ms("VELMORA_HELLO_TIMEOUT_MS", 2000); }
int reply_timeout_ms() { return velmora_host_reply_timeout_ms(); }
}  // namespace vhost::ipc

extern "C" int velmora_host_rpc_timeout_ms(void) { return env_ms("VELMORA_RPC_TIMEOUT_MS", 10000); }
extern "C" int velmora_host_reply_timeout_ms(void) {
  return env_ms("VELMORA_REPLY_TIMEOUT_MS", 5 * 60 * 1000);
}
