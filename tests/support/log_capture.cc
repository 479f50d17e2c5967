// SPDX-License-Identifier: Apache-2.0
// Velmora tests: capture of the platform log.
#include "log_capture.hh"

#include <regex>
#include <sstream>

#include "velmora_host.h"

namespace vtest {

namespace {
// "<file> : <function>(<line>) > " (account client) or "<file>: <function>(<line>) > " (generated).
const std::regex &prefix_re() {
  static const std::regex re(R"(^([^ :]+) ?: ([A-Za-z_0-9]+)\((\d+)\) > )");
  return re;
}
}  // namespace

std::string LogLine::text() const {
  std::smatch m;
  if (std::regex_search(message, m, prefix_re())) return m.suffix().str();
  return message;
}

std::string LogLine::function() const {
  std::smatch m;
  if (std::regex_search(message, m, prefix_re())) return m[2].str();
  return "";
}

LogCapture::LogCapture() { velmora_host_set_log_hook(&LogCapture::hook, this); }
LogCapture::~LogCapture() { velmora_host_set_log_hook(nullptr, nullptr); }

void LogCapture::hook(int prio, const char *tag, const char *fmt, const char *message, void *self) {
  static_cast<LogCapture *>(self)->lines_.push_back(LogLine{prio, tag, fmt, message});
}

bool LogCapture::has(const std::string &tag, int prio, const std::string &text) const {
  for (const LogLine &l : lines_)
    if (l.tag == tag && l.prio == prio && l.text() == text) return true;
  return false;
}

int LogCapture::count(const std::string &text) const {
  int n = 0;
  for (const LogLine &l : lines_)
    if (l.text() == text) ++n;
  return n;
}

const LogLine *LogCapture::find(const std::string &text) const {
  for (const LogLine &l : lines_)
    if (l.text() == text) return &l;
  return nullptr;
}

std::string LogCapture::dump() const {
  std::ostringstream out;
  for (const LogLine &l : lines_) out << l.prio << " " << l.tag << " | " << l.message << "\n";
  return out.str();
}

}  // namespace vtest
