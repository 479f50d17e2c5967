// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the table of app-control operations, and the helpers their handlers share.
#include "app_control/operations.hh"

#include <cstdlib>

#include "app_control/extras.hh"
#include "errors.hh"

namespace vagent::appcontrol {

std::string Request::extra(const char *key) const {
  char *value = nullptr;
  if (app_control_get_extra_data(request_, key, &value) != APP_CONTROL_ERROR_NONE || !value)
    return "";
  std::string out = value;
  free(value);
  return out;
}

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

Answer failure(int code) {
  Answer a;
  a.ok = false;
  a.extras.emplace_back("error_code", std::to_string(code));
  a.extras.emplace_back("error_msg", error_name(code));
  const ErrorInfo *info = find_error(code);
  if (info != nullptr) a.extras.emplace_back("error_description", info->meaning);
  return a;
}

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
  static const std::vector<Operation> table = [] {
    std::vector<Operation> all;
    for (const auto *group :
         {&token_operations(), &query_operations(), &service_operations(), &place_operations(),
          &companion_operations(), &profile_operations(), &sign_in_operations()})
      all.insert(all.end(), group->begin(), group->end());
    return all;
  }();
  return table;
}

const Operation *find_operation(const std::string &uri) {
  for (const Operation &op : app_control_operations())
    if (uri == *op.uri) return &op;
  return nullptr;
}

}  // namespace vagent::appcontrol
