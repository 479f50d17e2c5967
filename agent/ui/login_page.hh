// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: the HTML of the login views.
//
// Plain forms that work without JavaScript: the fields post to the view's own address with the
// view's CSRF token; Cancel is a button of the same form. While a form is shown, a hidden frame
// reloads itself (meta refresh) every heartbeat: that is how the view learns that its page is
// still open. Every text that comes from elsewhere (the caller's id, a login id typed before, a
// message) is escaped. Elements have ids for tests: login_id, password, number, trust, submit,
// resend, cancel, message (an error), outcome (the text of a finished view).
#pragma once

#include <string>

namespace vagent::ui {

enum class ViewKind { kSignIn, kConfirmUser };

struct PageContext {
  ViewKind kind = ViewKind::kSignIn;
  std::string base;     // the view's path: "/login/<id>/"
  std::string csrf;     // the view's CSRF token
  std::string caller;   // the application that asked ("" for none)
  std::string message;  // an error to show above the form ("" for none)
  int heartbeat_s = 5;  // the presence frame's reload period
};

// The login id and password form; `login_id` is filled in again after an error.
std::string credentials_page(const PageContext &page, const std::string &login_id);
// The one-time number form of a second factor.
std::string number_page(const PageContext &page, const std::string &login_id);
// A finished view: `title` and its text (shown as the outcome).
std::string outcome_page(const std::string &title, const std::string &text);
// The presence frame's document.
std::string presence_page(int heartbeat_s);

// Escapes &, <, >, " and ' for HTML text and attribute values.
std::string html_escape(const std::string &text);

}  // namespace vagent::ui
