// SPDX-License-Identifier: Apache-2.0
// Velmora agent: scope strings.
#include "scopes.hh"

#include <algorithm>

namespace vagent {

std::vector<std::string> parse_scopes(const std::string &text) {
  std::vector<std::string> out;
  std::string current;
  auto flush = [&] {
    if (!current.empty() && std::find(out.begin(), out.end(), current) == out.end())
      out.push_back(current);
    current.clear();
  };
  for (char c : text) {
    if (c == ' ' || c == ',' || c == '\t' || c == '\n')
      flush();
    else
      current += c;
  }
  flush();
  return out;
}

std::string join_scopes(const std::vector<std::string> &scopes) {
  std::string out;
  for (const std::string &s : scopes) out += (out.empty() ? "" : " ") + s;
  return out;
}

std::vector<std::string> missing_scopes(const std::vector<std::string> &requested,
                                        const std::vector<std::string> &allowed) {
  std::vector<std::string> missing;
  for (const std::string &s : requested)
    if (std::find(allowed.begin(), allowed.end(), s) == allowed.end()) missing.push_back(s);
  return missing;
}

}  // namespace vagent
