// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: what the UI application tells about its open login views, for the command-line
// tools and scripts.
//
// Any application of this user (or a program running as none) may ask the UI application
// (kAgentUiAppId) with the launch request kListLoginViewsOperation; the reply lists the views:
// "view_count" = n and, for i = 1..n in the order they were opened, "view_<i>_url" (the page),
// "view_<i>_kind" ("sign-in" or "confirm-user"), "view_<i>_caller" (the application that asked;
// absent for none) and "view_<i>_opened_at" (unix seconds). The URL is the one-time address of the
// page: whoever has it can sign in there, like anybody at the device's screen.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vagent::ui {

// The agent's operation prefix with the path of the listing.
inline constexpr const char *kListLoginViewsOperation =
    "http://dev.velmora.account/internal/loginviews";

struct LoginViewInfo {
  std::string url;
  std::string kind;
  std::string caller;
  int64_t opened_at = 0;
};

// Asks the UI application for its open login views (launching it when it does not run) and runs
// the thread-default main context until the reply comes or `timeout_ms` passed. 0 with *views; a
// negative app-control error, or -110 (ETIMEDOUT), with a message in *error.
int list_login_views(int timeout_ms, std::vector<LoginViewInfo> *views, std::string *error);

}  // namespace vagent::ui
