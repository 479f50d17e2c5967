// SPDX-License-Identifier: Apache-2.0
// velmora-agent errors: lists the agent's error codes.
#include <cstdio>

#include "cli/agent_cli.hh"

namespace vagent::cli {

int run_errors(const Args &) {
  if (options().json) {
    JsonReply json;
    json.begin_array("errors");
    for (const ErrorInfo &e : error_table())
      json.begin_object(nullptr)
          .integer("code", e.code)
          .str("name", e.name)
          .str("meaning", e.meaning)
          .end_object();
    json.end_array().print();
    return kExitOk;
  }
  for (const ErrorInfo &e : error_table())
    printf("%11d  0x%08X  %-34s %s\n", e.code, static_cast<unsigned>(e.code), e.name, e.meaning);
  return kExitOk;
}

}  // namespace vagent::cli
