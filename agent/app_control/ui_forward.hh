// SPDX-License-Identifier: Apache-2.0
// Velmora agent: handing a login-view request to the agent's UI application.
//
// The agent sends the UI application (kAgentUiAppId) a launch request
// with the same operation and "caller_id" (the application that asked, for the person to see), and
// answers the caller with the UI application's reply: its result and all its extras. When the UI
// application cannot be reached, or goes away without an answer, the caller gets
// AGENT_ERROR_LOGIN_VIEW_UNAVAILABLE. Either way the caller gets exactly one answer.
#pragma once

#include "app_control/operations.hh"

namespace vagent::appcontrol {

// Forwards `request` as `operation` and gives the UI application's answer to `respond`, once.
void forward_to_ui(const Request &request, const char *operation, Respond respond);

}  // namespace vagent::appcontrol
