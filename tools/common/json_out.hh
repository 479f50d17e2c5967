// SPDX-License-Identifier: Apache-2.0
// Velmora command-line tools: one JSON object per outcome, with json-glib. Every string is made
// valid UTF-8 first, so the output is always valid JSON.
#pragma once

#include <json-glib/json-glib.h>

#include <string>

namespace vcli {

class JsonOut {
 public:
  JsonOut();
  ~JsonOut();
  JsonOut(const JsonOut &) = delete;
  JsonOut &operator=(const JsonOut &) = delete;

  JsonOut &str(const char *name, const std::string &value);
  JsonOut &integer(const char *name, long long value);
  JsonOut &real(const char *name, double value);  // null when not finite
  JsonOut &boolean(const char *name, bool value);
  JsonOut &null(const char *name);
  // A nested object or array: begin, fill (names are ignored inside arrays), end.
  JsonOut &begin_object(const char *name);
  JsonOut &end_object();
  JsonOut &begin_array(const char *name);
  JsonOut &end_array();
  // Array elements.
  JsonOut &add_str(const std::string &value);

  // The whole object as one line.
  std::string text();
  // Prints it and a newline on stdout.
  void print();

 private:
  JsonOut &member(const char *name);
  JsonBuilder *builder_;
};

}  // namespace vcli
