// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: the table of operations the UI application serves, and kept requests.
#include "ui/operations.hh"

#include <cstdlib>

#include "dlog.h"
#include "errors.hh"
#include "operation_table.hh"

namespace vagent::ui {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT_UI";

}  // namespace

std::shared_ptr<UiRequest> UiRequest::keep(app_control_h request, std::string caller) {
  app_control_h clone = nullptr;
  if (app_control_clone(&clone, request) != APP_CONTROL_ERROR_NONE) return nullptr;
  return std::shared_ptr<UiRequest>(new UiRequest(clone, std::move(caller)));
}

Extras UiRequest::extras() const { return extras_of(request_); }

UiRequest::~UiRequest() {
  if (!answered_) {
    dlog_print(DLOG_WARN, kLogTag, "ui: a request was dropped without an answer");
    fail(errc::kLoginViewUnavailable);
  }
  app_control_destroy(request_);
}

std::string UiRequest::extra(const char *key) const { return extra_of(request_, key); }

void UiRequest::succeed(const Extras &extras) { answer(true, extras); }

void UiRequest::fail(int code, const Extras &extras) {
  Extras all = error_extras(code);
  all.insert(all.end(), extras.begin(), extras.end());
  answer(false, all);
}

void UiRequest::answer(bool ok, const Extras &extras) {
  if (answered_) return;
  answered_ = true;
  app_control_h reply = nullptr;
  if (app_control_create(&reply) != APP_CONTROL_ERROR_NONE) return;
  for (const auto &kv : extras)
    if (!kv.second.empty()) app_control_add_extra_data(reply, kv.first.c_str(), kv.second.c_str());
  const int ret = app_control_reply_to_launch_request(
      reply, request_, ok ? APP_CONTROL_RESULT_SUCCEEDED : APP_CONTROL_RESULT_FAILED);
  if (ret != APP_CONTROL_ERROR_NONE)
    dlog_print(DLOG_WARN, kLogTag, "ui: the reply could not be sent (%d)", ret);
  app_control_destroy(reply);
}

const std::vector<UiOperation> &ui_operations() {
  static const std::vector<UiOperation> table =
      join_areas({&login_view_operations(), &companion_relay_operations()});
  return table;
}

const UiOperation *find_ui_operation(const std::string &uri) {
  return find_by_uri(ui_operations(), uri);
}

}  // namespace vagent::ui
