// SPDX-License-Identifier: Apache-2.0
// velmora-agent serve: runs the agent's servers until SIGTERM or SIGINT (what the platform
// launches).
#include <glib-unix.h>
#include <glib.h>

#include <csignal>
#include <cstdlib>

#include "cli/agent_cli.hh"
#include "config.hh"
#include "dlog.h"
#include "file_watch.hh"
#include "idle_checkpoint.hh"
#include "idle_exit.hh"
#include "servers.hh"
#include "ui/serve.hh"

namespace vagent::cli {

namespace {

gboolean on_quit_signal(gpointer loop) {
  dlog_print(DLOG_INFO, kLogTag, "agent: signal received, quitting");
  g_main_loop_quit(static_cast<GMainLoop *>(loop));
  return G_SOURCE_CONTINUE;
}

// `what` (a server of the application `app_id`) did not start, as every command fails: the
// message goes to stderr and, under --json, into the one object on stdout. The usual causes: the
// process does not run as the application (VELMORA_APP_ID), or another instance serves the root.
int not_started(const std::string &what, const char *app_id, const std::string &error) {
  const std::string id = app_id;
  return vcli::fail(
      vcli::kErrorFailed,
      "serve failed: " + what + " did not start: " + error + "; it serves as " + id +
          ", one instance in a platform root: let a request launch it, or " +
          "serve by hand with VELMORA_APP_ID=" + id +
          " once no other instance runs (velmora-platform ps; velmora-platform stop " + id + ")");
}

}  // namespace

int run_serve(const Args &) {
  // Launched as the agent's UI application: the login views, not the agent's servers.
  if (ui::running_as_ui()) {
    std::string error;
    return ui::serve(&error) ? kExitOk : not_started("the UI application", kAgentUiAppId, error);
  }
  const char *app_id = getenv("VELMORA_APP_ID");
  auto state = open_state();
  if (!state.ok()) {
    dlog_print(DLOG_ERROR, kLogTag, "agent: cannot open its state: %s",
               state.status().describe().c_str());
    return failed(state.status());
  }
  GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
  guint term = g_unix_signal_add(SIGTERM, on_quit_signal, loop);
  guint intr = g_unix_signal_add(SIGINT, on_quit_signal, loop);
  // A client that goes away mid-write must not kill the agent.
  signal(SIGPIPE, SIG_IGN);

  // Configuration files are looked at through the watch the loop drains: no read per request.
  const WatchFromLoop watch_from_loop(g_main_loop_get_context(loop));
  // WAL checkpoints happen when no request has committed for a while, not on a request.
  IdleCheckpoint idle_checkpoint(state.value()->db());
  ServerContext context{*state.value(), loop};
  size_t started = 0;
  int status = 0;
  for (const Server &server : servers()) {
    std::string error;
    if (!server.start(context, &error)) {
      dlog_print(DLOG_ERROR, kLogTag, "agent: server %s did not start: %s", server.name,
                 error.c_str());
      status = not_started(std::string("server ") + server.name, kAgentAppId, error);
      break;
    }
    ++started;
  }
  if (status == 0) {
    dlog_print(DLOG_INFO, kLogTag, "agent: serving as %s under %s", app_id ? app_id : "(no app id)",
               state.value()->root().c_str());
    // Only an agent launched by the platform exits when idle; one started by hand serves on.
    if (app_id) idle_exit_start(loop);
    g_main_loop_run(loop);
    idle_exit_stop();
  }
  while (started > 0) servers()[--started].stop();
  g_source_remove(term);
  g_source_remove(intr);
  g_main_loop_unref(loop);
  dlog_print(DLOG_INFO, kLogTag, "agent: stopped");
  return status;
}

}  // namespace vagent::cli
