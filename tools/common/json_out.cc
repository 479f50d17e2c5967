// SPDX-License-Identifier: Apache-2.0
// Velmora command-line tools: JSON output (see json_out.hh).
#include "json_out.hh"

#include <cmath>
#include <cstdio>

namespace vcli {

namespace {

std::string valid_utf8(const std::string &s) {
  gchar *valid = g_utf8_make_valid(s.data(), static_cast<gssize>(s.size()));
  std::string out = valid;
  g_free(valid);
  return out;
}

}  // namespace

JsonOut::JsonOut() : builder_(json_builder_new()) { json_builder_begin_object(builder_); }

JsonOut::~JsonOut() { g_object_unref(builder_); }

JsonOut &JsonOut::member(const char *name) {
  if (name) json_builder_set_member_name(builder_, valid_utf8(name).c_str());
  return *this;
}

JsonOut &JsonOut::str(const char *name, const std::string &value) {
  member(name);
  json_builder_add_string_value(builder_, valid_utf8(value).c_str());
  return *this;
}

JsonOut &JsonOut::integer(const char *name, long long value) {
  member(name);
  json_builder_add_int_value(builder_, value);
  return *this;
}

JsonOut &JsonOut::real(const char *name, double value) {
  member(name);
  // JSON has no NaN or infinity: such a value is null.
  if (std::isfinite(value))
    json_builder_add_double_value(builder_, value);
  else
    json_builder_add_null_value(builder_);
  return *this;
}

JsonOut &JsonOut::boolean(const char *name, bool value) {
  member(name);
  json_builder_add_boolean_value(builder_, value);
  return *this;
}

JsonOut &JsonOut::null(const char *name) {
  member(name);
  json_builder_add_null_value(builder_);
  return *this;
}

JsonOut &JsonOut::begin_object(const char *name) {
  member(name);
  json_builder_begin_object(builder_);
  return *this;
}

JsonOut &JsonOut::end_object() {
  json_builder_end_object(builder_);
  return *this;
}

JsonOut &JsonOut::begin_array(const char *name) {
  member(name);
  json_builder_begin_array(builder_);
  return *this;
}

JsonOut &JsonOut::end_array() {
  json_builder_end_array(builder_);
  return *this;
}

JsonOut &JsonOut::add_str(const std::string &value) { return str(nullptr, value); }

std::string JsonOut::text() {
  json_builder_end_object(builder_);
  JsonNode *root = json_builder_get_root(builder_);
  JsonGenerator *gen = json_generator_new();
  json_generator_set_root(gen, root);
  gchar *data = json_generator_to_data(gen, nullptr);
  std::string out = data;
  g_free(data);
  g_object_unref(gen);
  json_node_unref(root);
  return out;
}

void JsonOut::print() { printf("%s\n", text().c_str()); }

}  // namespace vcli
