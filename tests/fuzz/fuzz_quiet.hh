// SPDX-License-Identifier: Apache-2.0
// Velmora fuzzing: targets run quietly.
//
// The library and the platform log what they refuse (those lines are part of their behaviour);
// over the millions of inputs of a fuzz run that is a flood which hides what matters. A target
// therefore calls quiet_log() first thing: nothing is printed unless VELMORA_LOG_LEVEL asks for it.
// Log hooks still see every line.
#pragma once

#include <cstdlib>

namespace vfuzz {

inline void quiet_log() { setenv("VELMORA_LOG_LEVEL", "silent", 0); }

}  // namespace vfuzz
