// SPDX-License-Identifier: Apache-2.0
// Velmora agent: a clock offset set per platform root in "<root>/agent/clock.conf", so that tests
// of a running agent move its time forward (to expire tokens and codes) instead of waiting.
//
//   [clock]
//   offset_s=3600
//
// The agent adds the offset to wall-clock time; it reads the file again after it changed
// (ClockOffsetFile), not each time it looks at the clock. A missing or malformed file is an offset
// of 0.
#pragma once

#include <cstdint>
#include <string>

#include "file_watch.hh"
#include "result.hh"

namespace vagent {

std::string clock_offset_path(const std::string &root);
int64_t clock_offset(const std::string &root);
// Sets the offset (0 removes the file). INVALID_PARAMETER beyond +-10 years.
Status set_clock_offset(const std::string &root, int64_t offset_s);

// The clock offset of one root, read once and again only after the file changed.
class ClockOffsetFile {
 public:
  explicit ClockOffsetFile(const std::string &root)
      : root_(root), watch_(clock_offset_path(root)) {}
  int64_t offset();
  // How many times the file was read (tests).
  uint64_t reads() const { return reads_; }

 private:
  std::string root_;
  WatchedFile watch_;
  int64_t offset_ = 0;
  uint64_t reads_ = 0;
};

}  // namespace vagent
