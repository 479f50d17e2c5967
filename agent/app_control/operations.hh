// SPDX-License-Identifier: Apache-2.0
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

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "agent_state.hh"
#include "app_control.h"
#include "app_control/extras.hh"

namespace vagent::appcontrol {

using vagent::Extras;

// A launch request as the handlers see it.
class Request {
 public:
  explicit Request(app_control_h request) : request_(request) {}
  // The extra `key`, or "" when the request has none.
  std::string extra(const char *key) const;
  bool has(const char *key) const;
  // Every extra, in the order the sender added them.
  Extras all() const;
  // The id of the application that sent it ("" for a sender that runs as no application).
  std::string caller() const;

 private:
  app_control_h request_;
};

// What the agent replies: success with extras, or failure with "error_code" (the agent's error,
// errors.hh), "error_msg" (its name), "error_description" (what it means, for people) and any
// further extras.
struct Answer {
  bool ok = true;
  Extras extras;
};

// A failed answer carrying `code` ("error_msg": its name).
Answer failure(int code);
// A failed answer carrying the status's code and, in "error_msg", its name and message.
Answer failure(const Status &status);
// Adds key=value when the value is not empty.
void put(Extras *extras, const char *key, const std::string &value);

// The account facts every reply about an account carries: "login_id", "user_id", "cc", "mcc",
// "api_server_url", "auth_server_url" (those that are set).
template <typename T>
void put_facts(Extras *e, const T &facts) {
  put(e, "login_id", facts.login_id);
  put(e, "user_id", facts.user_id);
  put(e, "cc", facts.country_code);
  put(e, "mcc", facts.mcc);
  put(e, "api_server_url", facts.api_server_url);
  put(e, "auth_server_url", facts.auth_server_url);
}

// What a failed answer tells of the core's status.
enum class Tell {
  kMessage,   // failure(status): the code's name and the status's message
  kCodeOnly,  // failure(code): the code's name and description, nothing of the message (sign-in,
              // companion: a message may name a user or a lock-out to a caller that only tried)
};

// The answer of a core result: success with the extras `fill(Extras *, const T &)` puts from its
// value (put_facts<T> for an account's facts), or its failure as `tell` says.
template <typename T, typename Fill>
Answer answer(const Result<T> &r, Fill fill, Tell tell = Tell::kMessage) {
  if (!r.ok()) return tell == Tell::kCodeOnly ? failure(r.code()) : failure(r.status());
  Answer a;
  fill(&a.extras, r.value());
  return a;
}

// Gives the answer of an operation that answers later (exactly once, on the main loop).
using Respond = std::function<void(Answer)>;

// Who may send an operation. The caller is the application id the platform gives for the
// request, never a value in the request.
enum class Callers {
  kAny,
  kUiOnly,  // only the agent's UI application (credentials travel only from there)
};

struct Operation {
  const char *const *uri;  // &REQUEST_OP_...
  const char *fault_name;  // its group in faults.conf: "getaccesstoken"
  Answer (*run)(AgentState &state, const Request &request);
  // Instead of run, for an operation that waits for something (the paired phone, the person at a
  // login view): starts the work and calls `respond` once with the answer. A fault's delay or
  // error code replaces it as for run. The agent does not exit while such an answer is owed.
  void (*start)(AgentState &state, const Request &request, Respond respond) = nullptr;
  Callers callers = Callers::kAny;
};

// Access tokens and authorization codes (app_control/tokens.cc).
const std::vector<Operation> &token_operations();
// Signed-in accounts, the default account, the account of a user id (app_control/queries.cc).
const std::vector<Operation> &query_operations();
// The current MCC, terms consents, account linking (app_control/services.cc).
const std::vector<Operation> &service_operations();
// Saved places (app_control/places.cc).
const std::vector<Operation> &place_operations();
// Companion accounts: a wearable's requests and the paired phone's answers to them
// (app_control/companion.cc).
const std::vector<Operation> &companion_operations();
// Work the companion operations still wait for (the idle exit waits for it).
bool companion_busy();
// The user's profile, its privacy and change notification (app_control/profile.cc).
const std::vector<Operation> &profile_operations();
// Sign-in, second factors, sign-out, confirm user, the login views (app_control/sign_in.cc).
const std::vector<Operation> &sign_in_operations();

// Every operation served, in lookup order.
const std::vector<Operation> &app_control_operations();
// The row of `uri`, or nullptr.
const Operation *find_operation(const std::string &uri);

}  // namespace vagent::appcontrol
