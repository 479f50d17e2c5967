// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: serving launch requests as the UI application (serve.hh).
#include "ui/serve.hh"

#include <glib-unix.h>
#include <glib.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>

#include "config.hh"
#include "dlog.h"
#include "errors.hh"
#include "idle_exit.hh"
#include "ui/login_view.hh"
#include "ui/operations.hh"
#include "velmora_host.h"

namespace vagent::ui {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT_UI";

std::string caller_of(app_control_h request) {
  char *caller = nullptr;
  if (app_control_get_caller(request, &caller) != APP_CONTROL_ERROR_NONE || !caller) return "";
  std::string out = caller;
  free(caller);
  return out;
}

bool caller_allowed(const UiOperation &op, app_control_h request, const std::string &caller) {
  if (op.callers == UiCallers::kAny) return true;
  return caller == kAgentAppId && velmora_host_app_control_caller_is_launched(request);
}

void on_launch_request(app_control_h request, void *) {
  note_activity();
  char *operation = nullptr;
  app_control_get_operation(request, &operation);
  const std::string uri = operation ? operation : "";
  free(operation);
  const std::string caller = caller_of(request);
  std::shared_ptr<UiRequest> kept = UiRequest::keep(request, caller);
  if (!kept) return;  // out of memory: the sender gets a failed reply when the request goes
  const UiOperation *op = find_ui_operation(uri);
  if (op == nullptr) {
    dlog_print(DLOG_WARN, kLogTag, "ui: unknown operation '%s' from '%s'", uri.c_str(),
               caller.c_str());
    kept->fail(errc::kNotSupported);
    return;
  }
  if (!caller_allowed(*op, request, caller)) {
    dlog_print(DLOG_WARN, kLogTag, "ui: %s refused: caller '%s' is not the agent", op->name,
               caller.c_str());
    kept->fail(errc::kPermissionDenied);
    return;
  }
  op->handle(kept);
}

gboolean on_quit_signal(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop *>(loop));
  return G_SOURCE_CONTINUE;
}

}  // namespace

bool running_as_ui() {
  const char *app_id = getenv("VELMORA_APP_ID");
  return app_id != nullptr && strcmp(app_id, kAgentUiAppId) == 0;
}

bool serve(std::string *error) {
  GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
  const guint term = g_unix_signal_add(SIGTERM, on_quit_signal, loop);
  const guint intr = g_unix_signal_add(SIGINT, on_quit_signal, loop);
  signal(SIGPIPE, SIG_IGN);
  bool served = true;
  const int ret = velmora_host_app_control_serve(on_launch_request, nullptr);
  if (ret != APP_CONTROL_ERROR_NONE) {
    dlog_print(DLOG_ERROR, kLogTag, "ui: cannot serve launch requests (%d)", ret);
    *error = "cannot serve launch requests (" + std::to_string(ret) + ")";
    served = false;
  } else {
    dlog_print(DLOG_INFO, kLogTag, "ui: serving as %s under %s", kAgentUiAppId,
               velmora_host_root());
    idle_exit_start(loop, [] { return login_views_open() || relays_pending(); });
    g_main_loop_run(loop);
    idle_exit_stop();
    velmora_host_app_control_stop();
  }
  close_login_views();
  g_source_remove(term);
  g_source_remove(intr);
  g_main_loop_unref(loop);
  dlog_print(DLOG_INFO, kLogTag, "ui: stopped");
  return served;
}

}  // namespace vagent::ui
