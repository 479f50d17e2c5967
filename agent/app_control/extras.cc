// SPDX-License-Identifier: Apache-2.0
// Velmora agent: reading every extra of a launch request or of its reply (extras.hh).
#include "app_control/extras.hh"

#include <cstdlib>

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

}  // namespace vagent
