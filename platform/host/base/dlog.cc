// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the platform log.
//
// Lines at or above VELMORA_LOG_LEVEL ("debug", "info", "warn", "error", "silent" or a number 3..8;
// default "error"; an unknown name is reported once and taken as "error") go to stderr as
// "<letter>/<tag>: <message>", one line per call: control characters in the message are escaped
// (see escape_controls). A hook installed by a test sees every line, whatever the level, as it is
// printed.
#include "dlog.h"

#include <glib.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "velmora_host.h"

namespace {

int parse_level(const char *text) {
  if (!text || !*text) return DLOG_ERROR;
  struct Named {
    const char *name;
    int level;
  };
  static const Named kNames[] = {{"debug", DLOG_DEBUG}, {"info", DLOG_INFO},
                                 {"warn", DLOG_WARN},   {"error", DLOG_ERROR},
                                 {"fatal", DLOG_FATAL}, {"silent", DLOG_SILENT}};
  for (const Named &n : kNames)
    if (strcmp(text, n.name) == 0) return n.level;
  char *end = nullptr;
  long v = strtol(text, &end, 10);
  if (end != text && *end == '\0' && v >= DLOG_VERBOSE && v <= DLOG_SILENT) return (int)v;
  // Said once per process, so that a misspelt level does not go unnoticed.
  fprintf(stderr,
          "velmora: unknown VELMORA_LOG_LEVEL '%s' (debug, info, warn, error, fatal, silent or a "
          "number %d..%d); printing error and above\n",
          text, DLOG_VERBOSE, DLOG_SILENT);
  return DLOG_ERROR;
}

int print_level() {
  static const int level = parse_level(getenv("VELMORA_LOG_LEVEL"));
  return level;
}

std::mutex g_hook_mutex;
velmora_host_log_hook_cb g_hook = nullptr;
void *g_hook_data = nullptr;

// A logged value may come from the other side (a scope, an app id): a newline in it would start a
// forged line, an escape sequence would drive the terminal. Control characters (C0, DEL and the
// C1 range, and the line and paragraph separators) and bytes that are not UTF-8 are written as
// escapes: \n \r \t \e, else \xNN (a byte) or \uNNNN (a character). Everything else, backslashes
// included, is kept as it is.
std::string escape_controls(const std::string &in) {
  bool plain = true;
  for (unsigned char c : in)
    if (c < 0x20 || c >= 0x7f) {
      plain = false;
      break;
    }
  if (plain) return in;
  std::string out;
  out.reserve(in.size() + 16);
  const char *p = in.data();
  const char *end = p + in.size();
  char buf[16];
  while (p < end) {
    const unsigned char c = (unsigned char)*p;
    if (c >= 0x20 && c < 0x7f) {
      out += (char)c;
      ++p;
      continue;
    }
    if (c >= 0x80) {
      gunichar u = g_utf8_get_char_validated(p, end - p);
      if (u != (gunichar)-1 && u != (gunichar)-2) {
        const char *next = g_utf8_next_char(p);
        if ((u >= 0x80 && u < 0xa0) || u == 0x2028 || u == 0x2029) {
          snprintf(buf, sizeof(buf), "\\u%04x", (unsigned)u);
          out += buf;
        } else {
          out.append(p, next);
        }
        p = next;
        continue;
      }
    }
    switch (c) {
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      case 0x1b:
        out += "\\e";
        break;
      default:
        snprintf(buf, sizeof(buf), "\\x%02x", c);
        out += buf;
    }
    ++p;
  }
  return out;
}

char priority_letter(int prio) {
  static const char kLetters[] = "??VDIWEFS";
  return (prio >= 0 && prio <= DLOG_SILENT) ? kLetters[prio] : '?';
}

}  // namespace

extern "C" void velmora_host_set_log_hook(velmora_host_log_hook_cb hook, void *user_data) {
  std::lock_guard<std::mutex> lock(g_hook_mutex);
  g_hook = hook;
  g_hook_data = user_data;
}

extern "C" int dlog_print(log_priority prio, const char *tag, const char *fmt, ...) {
  if (!tag || !fmt) return -22;
  velmora_host_log_hook_cb hook;
  void *hook_data;
  {
    std::lock_guard<std::mutex> lock(g_hook_mutex);
    hook = g_hook;
    hook_data = g_hook_data;
  }
  const bool print = prio >= print_level() && print_level() < DLOG_SILENT;
  if (!hook && !print) return 0;  // nobody looks: skip the formatting

  va_list ap;
  va_start(ap, fmt);
  va_list ap2;
  va_copy(ap2, ap);
  int n = vsnprintf(nullptr, 0, fmt, ap);
  va_end(ap);
  std::string line;
  if (n > 0) {
    line.resize((size_t)n + 1);
    vsnprintf(line.data(), line.size(), fmt, ap2);
    line.resize((size_t)n);
  }
  va_end(ap2);
  line = escape_controls(line);

  if (hook) hook(prio, tag, fmt, line.c_str(), hook_data);
  if (print)
    fprintf(stderr, "%c/%s: %s\n", priority_letter(prio), escape_controls(tag).c_str(),
            line.c_str());
  return n;
}
