// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the table of app-control operations, and the helpers their handlers share.
#include "app_control/operations.hh"

#include <cstdlib>

#include "app_control/extras.hh"
#include "errors.hh"
#include "operation_table.hh"

namespace vagent::appcontrol {

std::string Request::extra(const char *key) const { return extra_of(request_, key); }

bool Request::has(const char *key) const {
  char *value = nullptr;
  const bool found = app_control_get_extra_data(request_, key, &value) == APP_CONTROL_ERROR_NONE;
  free(value);
  return found;
}

Extras Request::all() const { return extras_of(request_); }

std::string Request::caller() const {
  char *id = nullptr;
  if (app_control_get_caller(request_, &id) != APP_CONTROL_ERROR_NONE || !id) return "";
  std::string out = id;
  free(id);
  return out;
}

Answer failure(int code) { return {.ok = false, .extras = error_extras(code)}; }

Answer failure(const Status &status) {
  Answer a;
  a.ok = false;
  a.extras.emplace_back("error_code", std::to_string(status.code));
  a.extras.emplace_back("error_msg", status.describe());
  return a;
}

void put(Extras *extras, const char *key, const std::string &value) {
  if (!value.empty()) extras->emplace_back(key, value);
}

const std::vector<Operation> &app_control_operations() {
  static const std::vector<Operation> table = join_areas(
      {&token_operations(), &query_operations(), &service_operations(), &place_operations(),
       &companion_operations(), &profile_operations(), &sign_in_operations()});
  return table;
}

const Operation *find_operation(const std::string &uri) {
  return find_by_uri(app_control_operations(), uri);
}

}  // namespace vagent::appcontrol
