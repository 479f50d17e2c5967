// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: the login views, web pages on the loopback interface where a person signs in
// (or confirms who they are) for an application that asked the agent.
//
// The agent hands the UI application each login-view request it gets (REQUEST_OP_SIGNIN_POPUP,
// REQUEST_OP_CONFIRMUSER_POPUP); the UI application opens a view for it: a page under a one-time
// path "/login/<id>/" (24 random bytes) with a CSRF token of its own, served by web_server.hh. The
// person enters the login id and password (and, for a user with a second factor, the number sent
// by SMS); the UI application signs in through the client library as the UI caller and answers
// the request with the outcome: the account's values, or "error_code" with a clear error:
//   AGENT_ERROR_CANCELED           the person pressed Cancel
//   AGENT_ERROR_LOGIN_VIEW_CLOSED  the page was open and went away (its presence frame stopped
//                                  reloading for three heartbeats and a second)
//   AGENT_ERROR_LOGIN_VIEW_TIMED_OUT  nobody finished within VELMORA_LOGIN_VIEW_TIMEOUT_MS
//                                  (default 240000, under the platform's five minutes for a reply)
//   AGENT_ERROR_LOGIN_VIEW_UNAVAILABLE  too many views open (kMaxLoginViews), no server, or the
//                                  UI application stops
// Wrong passwords and numbers are shown on the page, which stays open for another try. Each
// request is answered exactly once. Passwords are kept only in memory, from the password step to
// the number step, and wiped when the view ends; nothing typed is logged or put in a URL.
// VELMORA_LOGIN_VIEW_HEARTBEAT_MS (default 5000, whole seconds) sets the presence frame's period.
#pragma once

#include <cstddef>

namespace vagent::ui {

inline constexpr size_t kMaxLoginViews = 8;

// True while a login view is open (the UI application does not exit then).
bool login_views_open();
// Ends every open view with AGENT_ERROR_LOGIN_VIEW_UNAVAILABLE and stops the web server.
void close_login_views();

}  // namespace vagent::ui
