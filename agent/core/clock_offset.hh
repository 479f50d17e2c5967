// Velmora agent: a clock offset set per platform root in "<root>/agent/clock.conf", so that tests
// of a running agent move its time forward (to expire tokens and codes) instead of waiting.
//
//   [clock]
//   offset_s=3600
//
// The agent adds the offset to wall-clock time; the file is read afresh each time the agent looks
// at the clock. A missing or malformed file is an offset of 0.
#pragma once

#include <cstdint>
#include <string>

#include "result.hh"

namespace vagent {

std::string clock_offset_path(const std::string &root);
int64_t clock_offset(const std::string &root);
// Sets the offset (0 removes the file). INVALID_PARAMETER beyond +-10 years.
Status set_clock_offset(const std::string &root, int64_t offset_s);

}  // namespace vagent
