// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: the agent's UI application (kAgentUiAppId), what velmora-agent runs when the
// platform launches it under that id.
//
// It serves the launch requests of ui/operations.hh (the login views of ui/login_view.hh) on the
// GLib main loop, shows the views as web pages on the loopback interface, and exits when idle
// (idle_exit.hh) once no view is open, or on SIGTERM / SIGINT.
#pragma once

#include <string>

namespace vagent::ui {

// True when this process runs as the UI application (VELMORA_APP_ID).
bool running_as_ui();
// Serves until the loop quits. False, with *error saying why, when it cannot serve at all.
bool serve(std::string *error);

}  // namespace vagent::ui
