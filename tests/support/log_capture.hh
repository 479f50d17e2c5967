// SPDX-License-Identifier: Apache-2.0
// Velmora tests: capture of the platform log, to assert the library's exact lines.
#pragma once

#include <string>
#include <vector>

namespace vtest {

struct LogLine {
  int prio;
  std::string tag;
  std::string fmt;      // the format as the library gave it
  std::string message;  // the formatted line
  // The part after the "<file> : <function>(<line>) > " prefix (or the whole line without one).
  std::string text() const;
  // The function named in the prefix ("" without one).
  std::string function() const;
};

// Captures every log line from construction to destruction (one capture at a time).
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture &) = delete;
  LogCapture &operator=(const LogCapture &) = delete;

  const std::vector<LogLine> &lines() const { return lines_; }
  void clear() { lines_.clear(); }
  // True when a line with this tag, priority and text (after the prefix) was logged.
  bool has(const std::string &tag, int prio, const std::string &text) const;
  // Number of lines whose text equals `text` (any tag, any priority).
  int count(const std::string &text) const;
  // The first line with this text, or nullptr.
  const LogLine *find(const std::string &text) const;
  // All lines, one per row, for failure messages.
  std::string dump() const;

 private:
  static void hook(int prio, const char *tag, const char *fmt, const char *message, void *self);
  std::vector<LogLine> lines_;
};

// The two prefixes' formats, to assert that a line has the library's shape.
inline constexpr const char *kVaTag = "VelmoraAccount_CAPI";
inline constexpr const char *kRpcTag = "RPC_PORT_PROXY";

}  // namespace vtest
