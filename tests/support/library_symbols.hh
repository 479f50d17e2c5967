// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the symbols a built library defines, as nm lists them, and the names of the
// public interface (velmora_account_*, rpc_port_*, REQUEST_OP_*).
#pragma once

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace vtest {

inline bool starts_with(const std::string &s, const std::string &prefix) {
  return s.rfind(prefix, 0) == 0;
}

inline bool public_name(const std::string &name) {
  return starts_with(name, "velmora_account_") || starts_with(name, "rpc_port_") ||
         starts_with(name, "REQUEST_OP_");
}

// The symbols `nm <options> <file>` lists as defined, without version suffixes ("name@VER"),
// keeping those whose type letter is in `types` ("" keeps every type).
inline std::vector<std::string> nm_symbols(const std::string &options, const std::string &file,
                                           const std::string &types = "") {
  std::vector<std::string> names;
  const std::string command = "nm " + options + " --defined-only '" + file + "' 2>/dev/null";
  FILE *pipe = popen(command.c_str(), "r");
  if (!pipe) return names;
  char line[2048];
  while (fgets(line, sizeof line, pipe)) {
    std::istringstream fields(line);
    std::string address, type, name;
    if (!(fields >> address >> type >> name)) continue;  // archive member headers
    if (!types.empty() && (type.size() != 1 || types.find(type[0]) == std::string::npos)) continue;
    if (const size_t at = name.find('@'); at != std::string::npos) name.resize(at);
    names.push_back(name);
  }
  pclose(pipe);
  return names;
}

}  // namespace vtest
