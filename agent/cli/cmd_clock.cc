// velmora-agent clock: moves the agent's time (for tests).
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "cli/cli.hh"
#include "clock_offset.hh"
#include "velmora_host.h"

namespace vagent::cli {

namespace {

bool parse_seconds(const std::string &text, int64_t *out) {
  char *end = nullptr;
  errno = 0;
  long long v = strtoll(text.c_str(), &end, 10);
  if (text.empty() || errno || *end) return false;
  *out = v;
  return true;
}

}  // namespace

int cmd_clock(const Args &args) {
  const std::string root = velmora_host_root();
  if (args.size() == 1 && args[0] == "show") {
    printf("offset_s=%lld\n", static_cast<long long>(clock_offset(root)));
    return 0;
  }
  if (args.size() == 1 && args[0] == "reset") {
    Status st = set_clock_offset(root, 0);
    return st.ok() ? 0 : failed(st);
  }
  if (args.size() == 2 && (args[0] == "advance" || args[0] == "set-offset")) {
    int64_t seconds = 0;
    if (!parse_seconds(args[1], &seconds)) return usage_error("'" + args[1] + "' is not seconds");
    if (args[0] == "advance") seconds += clock_offset(root);
    Status st = set_clock_offset(root, seconds);
    if (st.code == errc::kInvalidParameter) return usage_error(st.message);
    if (!st.ok()) return failed(st);
    printf("offset_s=%lld\n", static_cast<long long>(seconds));
    return 0;
  }
  return usage_error("usage: clock show|reset|advance SECONDS|set-offset SECONDS");
}

}  // namespace vagent::cli
