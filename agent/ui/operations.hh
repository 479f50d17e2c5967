// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: the launch requests the agent's UI application (kAgentUiAppId) serves, as a
// table.
//
// Each row is an operation URI, a name for the log, who may send it, and the function that handles
// it. A handler gets the request kept as a UiRequest and answers it exactly once, at once or later
// (a login view answers when the person is done); a request dropped unanswered is answered with
// AGENT_ERROR_LOGIN_VIEW_UNAVAILABLE, so the sender always hears back once.
//
// ---- Where operations are added ----
// Write the handler in ui/<area>.cc (`void handle(const std::shared_ptr<UiRequest> &request)`),
// list it in that area's table function, declared below, and add the function to ui_operations()
// in ui/operations.cc. Nothing else changes: the server (ui/serve.cc) looks every request up in
// that table and checks its caller rule first.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app_control.h"
#include "app_control/extras.hh"

namespace vagent::ui {

using vagent::Extras;

// A launch request kept until it is answered.
class UiRequest {
 public:
  // Keeps a clone of `request` (lent by the platform); nullptr when out of memory.
  static std::shared_ptr<UiRequest> keep(app_control_h request, std::string caller);
  ~UiRequest();
  UiRequest(const UiRequest &) = delete;
  UiRequest &operator=(const UiRequest &) = delete;

  // The extra `key`, or "" when the request has none.
  std::string extra(const char *key) const;
  // Every extra, in the order the sender added them.
  Extras extras() const;
  // The application that sent the request, as the platform tells it ("" for none).
  const std::string &caller() const { return caller_; }
  bool answered() const { return answered_; }

  // Answers SUCCEEDED with `extras`. Only the first answer counts.
  void succeed(const Extras &extras);
  // Answers FAILED with "error_code", "error_msg", "error_description" (errors.hh) and `extras`.
  void fail(int code, const Extras &extras = {});
  // Answers with `ok` and exactly `extras`: a reply that came from elsewhere, passed on as it is.
  void pass_on(bool ok, const Extras &extras) { answer(ok, extras); }

 private:
  UiRequest(app_control_h request, std::string caller)
      : request_(request), caller_(std::move(caller)) {}
  void answer(bool ok, const Extras &extras);
  app_control_h request_;
  std::string caller_;
  bool answered_ = false;
};

// Who may send an operation (the caller id the platform gives, never a value in the request).
enum class UiCallers {
  kAgent,  // only the agent application, as the platform launched it
  kAny,    // any application of this user, or a program running as none
};

struct UiOperation {
  const char *const *uri;  // the operation URI (a REQUEST_OP_... or one of the UI's own)
  const char *name;        // for the log: "signin_view"
  UiCallers callers;
  void (*handle)(const std::shared_ptr<UiRequest> &request);
};

// The login views: sign-in, confirm user, and their listing (ui/login_view.cc).
const std::vector<UiOperation> &login_view_operations();

// Companion requests passed on to the agent, which holds the account state (ui/companion_relay.cc).
const std::vector<UiOperation> &companion_relay_operations();
// True while a passed-on request waits for the agent's reply.
bool relays_pending();

// Every operation served, in lookup order.
const std::vector<UiOperation> &ui_operations();
// The row of `uri`, or nullptr.
const UiOperation *find_ui_operation(const std::string &uri);

}  // namespace vagent::ui
