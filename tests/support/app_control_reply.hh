// SPDX-License-Identifier: Apache-2.0
// Velmora tests: launch requests sent straight to an application (the agent), without the library,
// and the reply they got: its result and its extras.
#pragma once

#include <cstdlib>
#include <map>
#include <string>

#include "app_control.h"

namespace vtest {

struct AppControlReply {
  bool done = false;
  app_control_result_e result = APP_CONTROL_RESULT_APP_STARTED;
  std::map<std::string, std::string> extras;

  // The reply callback: user_data is the AppControlReply.
  static void on_reply(app_control_h, app_control_h reply, app_control_result_e result,
                       void *user_data) {
    auto *r = static_cast<AppControlReply *>(user_data);
    r->done = true;
    r->result = result;
    if (reply == nullptr) return;
    app_control_foreach_extra_data(
        reply,
        [](app_control_h h, const char *key, void *data) -> bool {
          char *value = nullptr;
          if (app_control_get_extra_data(h, key, &value) == APP_CONTROL_ERROR_NONE && value)
            (*static_cast<std::map<std::string, std::string> *>(data))[key] = value;
          free(value);
          return true;
        },
        &r->extras);
  }
};

// Sends `operation` with `extras` to `app_id`; the reply lands in *reply (on the main loop). The
// launch request's own result.
inline int send_app_control(const char *app_id, const char *operation,
                            const std::map<std::string, std::string> &extras,
                            AppControlReply *reply) {
  app_control_h request = nullptr;
  int ret = app_control_create(&request);
  if (ret != APP_CONTROL_ERROR_NONE) return ret;
  app_control_set_app_id(request, app_id);
  app_control_set_operation(request, operation);
  for (const auto &[k, v] : extras) app_control_add_extra_data(request, k.c_str(), v.c_str());
  ret = app_control_send_launch_request(request, AppControlReply::on_reply, reply);
  app_control_destroy(request);
  return ret;
}

}  // namespace vtest
