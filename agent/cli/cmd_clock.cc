// SPDX-License-Identifier: Apache-2.0
// velmora-agent clock: shows or moves the agent's time (for tests).
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "cli/agent_cli.hh"
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

int print_offset(int64_t seconds) {
  if (options().json)
    JsonReply().integer("offset_s", seconds).print();
  else
    printf("offset_s=%lld\n", static_cast<long long>(seconds));
  return kExitOk;
}

}  // namespace

int run_clock(const Args &args) {
  const std::string root = velmora_host_root();
  const std::string &verb = args[0];
  if (args.size() == 1 && verb == "show") return print_offset(clock_offset(root));
  if (args.size() == 1 && verb == "reset") {
    Status st = set_clock_offset(root, 0);
    return st.ok() ? print_offset(0) : failed(st);
  }
  if (args.size() == 2 && (verb == "advance" || verb == "set-offset")) {
    int64_t seconds = 0;
    if (!parse_seconds(args[1], &seconds)) return usage_error("'" + args[1] + "' is not seconds");
    if (verb == "advance") seconds += clock_offset(root);
    Status st = set_clock_offset(root, seconds);
    if (st.code == errc::kInvalidParameter) return usage_error(st.message);
    if (!st.ok()) return failed(st);
    return print_offset(seconds);
  }
  return usage_error("clock show | reset | advance SECONDS | set-offset SECONDS");
}

}  // namespace vagent::cli
