// velmora-agent errors: lists the agent's error codes.
#include <cstdio>

#include "cli/cli.hh"

namespace vagent::cli {

int cmd_errors(const Args &args) {
  if (!args.empty()) return usage_error("errors takes no arguments");
  for (const ErrorInfo &e : error_table())
    printf("%11d  0x%08X  %-34s %s\n", e.code, static_cast<unsigned>(e.code), e.name, e.meaning);
  return 0;
}

}  // namespace vagent::cli
