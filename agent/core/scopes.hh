// SPDX-License-Identifier: Apache-2.0
// Velmora agent: scope strings ("a b c", blank- or comma-separated) and the check against a
// client's allowed scopes.
#pragma once

#include <string>
#include <vector>

namespace vagent {

// The scopes of a text, in order, without duplicates or empty entries.
std::vector<std::string> parse_scopes(const std::string &text);
// Scopes joined by one blank.
std::string join_scopes(const std::vector<std::string> &scopes);
// The scopes of `requested` that `allowed` lacks (empty: all allowed).
std::vector<std::string> missing_scopes(const std::vector<std::string> &requested,
                                        const std::vector<std::string> &allowed);

}  // namespace vagent
