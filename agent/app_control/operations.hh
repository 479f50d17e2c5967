// Velmora agent: the app-control operations the agent serves, as a table.
//
// Each row is an operation URI (the library's REQUEST_OP_* value), the name under which its faults
// are set in faults.conf, and the function that answers it from the agent's state. The rows of one
// area of the library live in app_control/<area>.cc; app_control_operations() lists the areas.
//
// ---- Where operations are added ----
// Write the handlers in app_control/<area>.cc, declare its area function below, and add the area
// to app_control_operations() in app_control/operations.cc. The same area's AccountSvc methods
// live in port/<area>.cc.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "agent_state.hh"
#include "app_control.h"

namespace vagent::appcontrol {

using Extras = std::vector<std::pair<std::string, std::string>>;

// A launch request as the handlers see it.
class Request {
 public:
  explicit Request(app_control_h request) : request_(request) {}
  // The extra `key`, or "" when the request has none.
  std::string extra(const char *key) const;
  bool has(const char *key) const;

 private:
  app_control_h request_;
};

// What the agent replies: success with extras, or failure with "error_code" (the agent's error,
// errors.hh), "error_msg" (its name) and any further extras.
struct Answer {
  bool ok = true;
  Extras extras;
};

// A failed answer carrying `code`.
Answer failure(int code);
// Adds key=value when the value is not empty.
void put(Extras *extras, const char *key, const std::string &value);

struct Operation {
  const char *const *uri;  // &REQUEST_OP_...
  const char *fault_name;  // its group in faults.conf: "getaccesstoken"
  Answer (*run)(AgentState &state, const Request &request);
};

// Access tokens and authorization codes (app_control/tokens.cc).
const std::vector<Operation> &token_operations();

// Every operation served, in lookup order.
const std::vector<Operation> &app_control_operations();
// The row of `uri`, or nullptr.
const Operation *find_operation(const std::string &uri);

}  // namespace vagent::appcontrol
