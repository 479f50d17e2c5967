// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the app-control operations, the agent's end of APP_CONTROL mode.
//
// Every launch request sent to the agent reaches the server, which looks its operation URI up in
// the table of app_control/operations.hh and replies SUCCEEDED with the operation's extras, or
// FAILED with "error_code" and "error_msg". An operation the agent does not know is answered FAILED
// with error_code VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED (0xC0000002, "AGENT_ERROR_NOT_SUPPORTED").
// An operation only the agent's UI application may send (Callers::kUiOnly) is refused with
// PERMISSION_DENIED (-13) when the platform names another caller; the request's extras do not
// count. The login views are answered when the UI application has an outcome (Operation::start);
// the agent does not exit while it owes an answer.
//
// Faults (faults.hh) apply per operation, under the name of its table row ("getaccesstoken", ...):
//   delay_ms      the reply is sent that much later
//   error_code    the reply is FAILED with that code instead of the work; it still carries what the
//                 agent knows of the request's login id (user_id, cc, mcc, the server URLs), so a
//                 client's handling of a failed reply that has extras can be exercised
//   never_answer  the request is kept and never answered (the sender hears of it when the agent
//                 exits)
//   crash         the agent aborts before replying
// and, for the whole server, under the name "AppControl" (or "*"):
//   reject_connection  every launch request is refused by the platform (the sender gets
//                      APP_CONTROL_ERROR_LAUNCH_REJECTED); read at start and after every request.
#pragma once

#include <string>

namespace vagent {

struct ServerContext;

bool app_control_start(ServerContext &context, std::string *error);
void app_control_stop();
// True while a request is held for a later answer or a started operation owes its answer.
bool app_control_busy();

}  // namespace vagent
