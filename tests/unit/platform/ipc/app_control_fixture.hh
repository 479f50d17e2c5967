// SPDX-License-Identifier: Apache-2.0
// Velmora tests: sending launch requests and recording their replies.
#pragma once

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "app_control.h"
#include "ipc_fixture.hh"

namespace vtest {

using Extras = std::vector<std::pair<std::string, std::string>>;

inline Extras extras_of(app_control_h h) {
  Extras out;
  app_control_foreach_extra_data(
      h,
      [](app_control_h c, const char *key, void *d) {
        char *v = nullptr;
        app_control_get_extra_data(c, key, &v);
        static_cast<Extras *>(d)->emplace_back(key, v ? v : "<none>");
        free(v);
        return true;
      },
      &out);
  return out;
}

// What the reply callback saw.
struct Replies {
  int calls = 0;
  int result = 999;
  bool had_reply = false;
  Extras reply;
  Extras request;
  std::string request_app_id;
  std::string request_operation;

  static void cb(app_control_h request, app_control_h reply, app_control_result_e result, void *d) {
    auto *r = static_cast<Replies *>(d);
    ++r->calls;
    r->result = result;
    r->had_reply = reply != nullptr;
    if (reply) r->reply = extras_of(reply);
    if (request) {
      r->request = extras_of(request);
      char *v = nullptr;
      app_control_get_app_id(request, &v);
      r->request_app_id = v ? v : "";
      free(v);
      v = nullptr;
      app_control_get_operation(request, &v);
      r->request_operation = v ? v : "";
      free(v);
    }
  }
  std::string get(const std::string &key) const {
    for (const auto &[k, v] : reply)
      if (k == key) return v;
    return "<missing>";
  }
};

// Sends a launch request as the library does: the app control is destroyed right after sending.
inline int send_request(const std::string &app, const Extras &extras, Replies *replies,
                        const char *operation = "http://velmora.dev/appcontrol/operation/test") {
  app_control_h h = nullptr;
  app_control_create(&h);
  app_control_set_app_id(h, app.c_str());
  app_control_set_operation(h, operation);
  for (const auto &[k, v] : extras) app_control_add_extra_data(h, k.c_str(), v.c_str());
  int ret = app_control_send_launch_request(h, replies ? Replies::cb : nullptr, replies);
  app_control_destroy(h);
  return ret;
}

}  // namespace vtest
