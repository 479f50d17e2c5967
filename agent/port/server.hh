// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the AccountSvc port, the agent's end of NIDL mode.
//
// A stub on port "AccountSvc" that decodes each request, answers it from the agent's state
// (port/methods.hh) and pushes the reply callbacks, with the fault injection of faults.hh applied
// per method (the method's name is the operation name; "AccountSvc" names the port itself for
// reject_connection, read when the agent starts).
#pragma once

#include <string>

namespace vagent {

struct ServerContext;

bool account_svc_start(ServerContext &context, std::string *error);
void account_svc_stop();
// True while a client is connected or an answer is still to be sent.
bool account_svc_busy();

}  // namespace vagent
