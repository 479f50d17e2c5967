// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the agent's notion of "now" (unix seconds), replaceable so that tests can move
// time instead of waiting for it.
#pragma once

#include <cstdint>
#include <functional>

namespace vagent {

class Clock {
 public:
  // The time source's time; wall-clock time without one.
  int64_t now() const;
  // Replaces the time source (nullptr: wall-clock time).
  void set(std::function<int64_t()> source) { source_ = std::move(source); }
  // Wall-clock time.
  static int64_t wall();

 private:
  std::function<int64_t()> source_;
};

}  // namespace vagent
