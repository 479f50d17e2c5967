// SPDX-License-Identifier: Apache-2.0
// Velmora tests: asserting the one log line of a generated-layer function.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "log_capture.hh"

namespace rtest {

// True when exactly one line was logged and it is this line of the generated layer in this
// function.
inline ::testing::AssertionResult LoggedOnly(const vtest::LogCapture &log, int prio,
                                             const std::string &text, const std::string &function) {
  if (log.lines().size() != 1)
    return ::testing::AssertionFailure() << "expected one line, got:\n" << log.dump();
  const vtest::LogLine &l = log.lines()[0];
  if (l.tag != vtest::kRpcTag || l.prio != prio || l.text() != text || l.function() != function)
    return ::testing::AssertionFailure()
           << "expected " << prio << " " << function << " > " << text << ", got:\n"
           << log.dump();
  return ::testing::AssertionSuccess();
}

}  // namespace rtest
