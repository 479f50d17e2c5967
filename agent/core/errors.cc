// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the agent's error codes, from the one table of result codes that the library,
// the agent and the tools share (velmora_account_error_name; src/base's va_error_table). The
// agent's names drop the library's "VELMORA_ACCOUNT_ERROR_" prefix ("NEED_SIGNIN"), as its
// "error_msg" reply extra has always carried them.
#include "errors.hh"

#include <cstring>

#include "va_error_table.h"

namespace vagent {

namespace {

constexpr const char *kLibraryPrefix = "VELMORA_ACCOUNT_ERROR_";

const char *agent_name(const char *name) {
  const size_t n = strlen(kLibraryPrefix);
  return strncmp(name, kLibraryPrefix, n) == 0 ? name + n : name;
}

}  // namespace

const std::vector<ErrorInfo> &error_table() {
  static const std::vector<ErrorInfo> table = [] {
    std::vector<ErrorInfo> out;
    size_t count = 0;
    const va_error_info *all = va_error_table(&count);
    for (size_t i = 0; i < count; ++i)
      if (all[i].agent_sends) out.push_back({all[i].code, agent_name(all[i].name), all[i].message});
    return out;
  }();
  return table;
}

const ErrorInfo *find_error(int code) {
  for (const ErrorInfo &e : error_table())
    if (e.code == code) return &e;
  return nullptr;
}

std::string error_name(int code) {
  const ErrorInfo *e = find_error(code);
  return e ? e->name : "error " + std::to_string(code);
}

}  // namespace vagent
