// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the extras of a launch request or of its reply: reading them, and those a refusal
// carries.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "app_control.h"

namespace vagent {

// Key and value pairs, in the order the sender added them.
using Extras = std::vector<std::pair<std::string, std::string>>;

// Every extra of `ac` that has a value (nothing for nullptr).
Extras extras_of(app_control_h ac);

// The extra `key` of `ac`, or "" when it has none (or `ac` is nullptr).
std::string extra_of(app_control_h ac, const char *key);

// What a refusal carries: "error_code", "error_msg" (the code's name) and, for a code the agent
// knows, "error_description" (what it means, for people).
Extras error_extras(int code);

}  // namespace vagent
