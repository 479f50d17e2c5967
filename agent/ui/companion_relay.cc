// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: companion requests that reach the UI application are answered by the agent.
//
// A wearable application asks the agent's UI application whether the paired phone has an account
// (REQUEST_OP_COMPANION_ACCOUNT_EXIST). The UI application keeps no account state: it passes the
// request on to the agent (kAgentAppId) with the same operation and every extra, and answers with
// the agent's reply as it came, its result and all its extras. When the agent cannot be reached
// the caller gets AGENT_ERROR_NOT_SUPPORTED, as a library does for a missing agent.
#include <memory>

#include "config.hh"
#include "dlog.h"
#include "errors.hh"
#include "ui/operations.hh"
#include "velmora_account_request_op.h"

namespace vagent::ui {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT_UI";

int g_relays = 0;  // requests passed to the agent whose reply has not come yet

void on_agent_reply(app_control_h, app_control_h reply, app_control_result_e result, void *data) {
  auto *kept = static_cast<std::shared_ptr<UiRequest> *>(data);
  (*kept)->pass_on(result == APP_CONTROL_RESULT_SUCCEEDED, extras_of(reply));
  --g_relays;
  delete kept;
}

void relay(const std::shared_ptr<UiRequest> &request) {
  app_control_h to_agent = nullptr;
  if (app_control_create(&to_agent) != APP_CONTROL_ERROR_NONE) {
    request->fail(errc::kOutOfMemory);
    return;
  }
  app_control_set_app_id(to_agent, kAgentAppId);
  app_control_set_operation(to_agent, REQUEST_OP_COMPANION_ACCOUNT_EXIST);
  for (const auto &kv : request->extras())
    app_control_add_extra_data(to_agent, kv.first.c_str(), kv.second.c_str());
  auto *kept = new std::shared_ptr<UiRequest>(request);
  const int ret = app_control_send_launch_request(to_agent, on_agent_reply, kept);
  app_control_destroy(to_agent);
  if (ret != APP_CONTROL_ERROR_NONE) {
    delete kept;
    dlog_print(DLOG_WARN, kLogTag, "ui: the agent cannot be reached (%d)", ret);
    request->fail(errc::kNotSupported);
    return;
  }
  ++g_relays;
}

}  // namespace

bool relays_pending() { return g_relays > 0; }

const std::vector<UiOperation> &companion_relay_operations() {
  static const std::vector<UiOperation> table = {
      {&REQUEST_OP_COMPANION_ACCOUNT_EXIST, "companion_accountexist", UiCallers::kAny, relay},
  };
  return table;
}

}  // namespace vagent::ui
