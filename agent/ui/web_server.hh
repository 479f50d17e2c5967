// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: the HTTP server of the login views (libsoup 3), on the loopback interface only.
//
// It listens on 127.0.0.1 (port VELMORA_LOGIN_VIEW_PORT, default any free one) from the first view
// on, in the GLib main loop, and hands every request below "/login/" to one handler. What it does
// for every page: refuses a Host header that is not its own address (a page of another site that
// resolves its name to 127.0.0.1 gets nothing), refuses request bodies over kMaxBodyBytes before
// reading them, and sends pages that no cache keeps, no other site may frame, and that load
// nothing from anywhere. It logs no path, query or body: paths hold the views' one-time ids.
#pragma once

#include <libsoup/soup.h>

#include <string>

namespace vagent::ui {

inline constexpr goffset kMaxBodyBytes = 8 * 1024;

// Handles a request below "/login/": `rest` is the path after "/login/".
using WebHandler = void (*)(SoupServerMessage *msg, const std::string &rest);

// Starts the server (once; later calls return true). False with *error when it cannot listen.
bool web_start(WebHandler handler, std::string *error);
// "http://127.0.0.1:<port>"; "" before web_start.
const std::string &web_origin();
void web_stop();

// How a page may be shown.
enum class Framing {
  kTopOnly,   // a page: no frame may hold it
  kSameSite,  // a part of a page (the presence frame): only the views' own pages may frame it
};

// Sets a complete HTML response with the views' security headers.
void respond_html(SoupServerMessage *msg, guint status, const std::string &html,
                  Framing framing = Framing::kTopOnly);
// The fields of an application/x-www-form-urlencoded body (a new table the caller unrefs), or
// nullptr when the body is not one.
GHashTable *form_fields(SoupServerMessage *msg);

}  // namespace vagent::ui
