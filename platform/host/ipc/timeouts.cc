// Velmora host platform: the time-outs of the inter-process parts, read from the environment.
#include <cstdlib>

#include "ipc_launcher.hh"
#include "velmora_host.h"

namespace {

constexpr int kDefaultMs = 10000;

// A positive decimal number of milliseconds from `name`, else the default.
int env_ms(const char *name) {
  const char *text = getenv(name);
  if (!text || !*text) return kDefaultMs;
  char *end = nullptr;
  long v = strtol(text, &end, 10);
  if (end == text || *end != '\0' || v <= 0 || v > 24L * 3600 * 1000) return kDefaultMs;
  return (int)v;
}

}  // namespace

namespace vhost::ipc {
int launch_timeout_ms() { return env_ms("VELMORA_LAUNCH_TIMEOUT_MS"); }
}  // namespace vhost::ipc

extern "C" int velmora_host_rpc_timeout_ms(void) { return env_ms("VELMORA_RPC_TIMEOUT_MS"); }
