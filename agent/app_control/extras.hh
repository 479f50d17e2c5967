// SPDX-License-Identifier: Apache-2.0
// Velmora agent: reading every extra of a launch request or of its reply.
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

}  // namespace vagent
