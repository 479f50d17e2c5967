// SPDX-License-Identifier: Apache-2.0
// Velmora tests: reading the one JSON object a command printed (json-glib).
#pragma once

#include <glib.h>
#include <json-glib/json-glib.h>

#include <string>
#include <vector>

namespace vtest {

// The JSON object of a run's output, parsed; valid() is false when it is not one valid object.
// Members that are missing or of another type read as "<none>", -999, false or an empty list.
class Json {
 public:
  explicit Json(const std::string &text) : parser_(json_parser_new()) {
    if (json_parser_load_from_data(parser_, text.c_str(), -1, nullptr)) {
      JsonNode *root = json_parser_get_root(parser_);
      if (root && JSON_NODE_HOLDS_OBJECT(root)) object_ = json_node_get_object(root);
    }
  }
  ~Json() { g_object_unref(parser_); }
  Json(const Json &) = delete;
  Json &operator=(const Json &) = delete;

  bool valid() const { return object_ != nullptr; }
  bool has(const char *name) const { return object_ && json_object_has_member(object_, name); }
  std::string str(const char *name) const {
    return has(name) && JSON_NODE_HOLDS_VALUE(json_object_get_member(object_, name))
               ? json_object_get_string_member(object_, name)
               : "<none>";
  }
  bool is_null(const char *name) const {
    return has(name) && JSON_NODE_HOLDS_NULL(json_object_get_member(object_, name));
  }
  long long integer(const char *name) const {
    return has(name) ? json_object_get_int_member(object_, name) : -999;
  }
  bool boolean(const char *name) const {
    return has(name) && JSON_NODE_HOLDS_VALUE(json_object_get_member(object_, name)) &&
           json_object_get_boolean_member(object_, name);
  }
  // The object itself, and an array member (nullptr when missing or not an array), for what the
  // helpers here do not read.
  JsonObject *object() const { return object_; }
  JsonArray *array(const char *name) const {
    return has(name) && JSON_NODE_HOLDS_ARRAY(json_object_get_member(object_, name))
               ? json_object_get_array_member(object_, name)
               : nullptr;
  }
  // The strings of an array member.
  std::vector<std::string> strings(const char *name) const {
    std::vector<std::string> out;
    if (!has(name) || !JSON_NODE_HOLDS_ARRAY(json_object_get_member(object_, name))) return out;
    JsonArray *array = json_object_get_array_member(object_, name);
    for (guint i = 0; i < json_array_get_length(array); ++i)
      out.emplace_back(json_array_get_string_element(array, i));
    return out;
  }
  // A string member of the object "account".
  std::string account(const char *name) const {
    if (!has("account")) return "<none>";
    JsonObject *a = json_object_get_object_member(object_, "account");
    return json_object_has_member(a, name) &&
                   JSON_NODE_HOLDS_VALUE(json_object_get_member(a, name)) &&
                   json_node_get_value_type(json_object_get_member(a, name)) == G_TYPE_STRING
               ? json_object_get_string_member(a, name)
               : "<none>";
  }
  // A boolean member of the object "account" (false when missing).
  bool account_flag(const char *name) const {
    if (!has("account")) return false;
    JsonObject *a = json_object_get_object_member(object_, "account");
    return json_object_has_member(a, name) && json_object_get_boolean_member(a, name);
  }
  bool account_has(const char *name) const {
    return has("account") &&
           json_object_has_member(json_object_get_object_member(object_, "account"), name);
  }

 private:
  JsonParser *parser_;
  JsonObject *object_ = nullptr;
};

}  // namespace vtest
