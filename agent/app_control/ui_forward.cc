// SPDX-License-Identifier: Apache-2.0
// Velmora agent: login-view requests go to the UI application (ui_forward.hh).
#include "app_control/ui_forward.hh"

#include <cstdlib>
#include <utility>

#include "config.hh"
#include "dlog.h"

namespace vagent::appcontrol {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";

void on_ui_reply(app_control_h, app_control_h reply, app_control_result_e result, void *data) {
  auto *respond = static_cast<Respond *>(data);
  Answer a;
  a.extras = extras_of(reply);
  a.ok = result == APP_CONTROL_RESULT_SUCCEEDED;
  const bool has_code = !a.extras.empty() && [&a] {
    for (const auto &kv : a.extras)
      if (kv.first == "error_code") return true;
    return false;
  }();
  if (!a.ok && !has_code) {
    dlog_print(DLOG_WARN, kLogTag, "login view: the UI application went away without an answer");
    a = failure(errc::kLoginViewUnavailable);
  }
  (*respond)(std::move(a));
  delete respond;
}

}  // namespace

void forward_to_ui(const Request &request, const char *operation, Respond respond) {
  app_control_h ui = nullptr;
  if (app_control_create(&ui) != APP_CONTROL_ERROR_NONE) {
    respond(failure(errc::kOutOfMemory));
    return;
  }
  app_control_set_app_id(ui, kAgentUiAppId);
  app_control_set_operation(ui, operation);
  const std::string caller = request.caller();
  if (!caller.empty()) app_control_add_extra_data(ui, "caller_id", caller.c_str());
  auto *kept = new Respond(std::move(respond));
  const int ret = app_control_send_launch_request(ui, on_ui_reply, kept);
  app_control_destroy(ui);
  if (ret != APP_CONTROL_ERROR_NONE) {
    dlog_print(DLOG_WARN, kLogTag, "login view: the UI application cannot be reached (%d)", ret);
    (*kept)(failure(errc::kLoginViewUnavailable));
    delete kept;
  }
}

}  // namespace vagent::appcontrol
