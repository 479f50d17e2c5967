// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the extras of a launch request or of its reply (extras.hh).
#include "app_control/extras.hh"

#include <cstdlib>

#include "errors.hh"

namespace vagent {

Extras extras_of(app_control_h ac) {
  Extras out;
  if (ac == nullptr) return out;
  app_control_foreach_extra_data(
      ac,
      [](app_control_h from, const char *key, void *data) {
        char *value = nullptr;
        if (app_control_get_extra_data(from, key, &value) == APP_CONTROL_ERROR_NONE && value)
          static_cast<Extras *>(data)->emplace_back(key, value);
        free(value);
        return true;
      },
      &out);
  return out;
}

std::string extra_of(app_control_h ac, const char *key) {
  char *value = nullptr;
  if (ac == nullptr || app_control_get_extra_data(ac, key, &value) != APP_CONTROL_ERROR_NONE ||
      value == nullptr)
    return "";
  std::string out = value;
  free(value);
  return out;
}

Extras error_extras(int code) {
  Extras out{{"error_code", std::to_string(code)}, {"error_msg", error_name(code)}};
  if (const ErrorInfo *info = find_error(code))
    out.emplace_back("error_description", info->meaning);
  return out;
}

}  // namespace vagent
