// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a second client process (see test_apps.hh).
//
//   ipc_sender proxy <app> <port>   connects a proxy, makes one "echo" round trip; exit 0 on
//   success ipc_sender appcontrol <app>     sends one launch request; exit 0 on a succeeded reply
// Exit 1 on a failure, 2 when nothing happened within 30 s.
#include <cstdlib>
#include <cstring>
#include <string>

#include "app_common.hh"
#include "app_control.h"
#include "rpc_port.h"
#include "rpc_port_parcel.h"

namespace {

GMainLoop *g_loop = nullptr;
int g_exit = 2;

void done(int code) {
  g_exit = code;
  g_main_loop_quit(g_loop);
}

void on_connected(const char *, const char *, rpc_port_h port, void *) {
  rpc_port_parcel_h req = nullptr;
  rpc_port_parcel_create(&req);
  rpc_port_parcel_write_string(req, "echo");
  rpc_port_parcel_write_string(req, "from-sender");
  int sent = rpc_port_parcel_send(req, port);
  rpc_port_parcel_destroy(req);
  rpc_port_parcel_h result = nullptr;
  if (sent != 0 || rpc_port_parcel_create_from_port(&result, port) != 0) return done(1);
  char *tag = nullptr, *text = nullptr;
  bool ok = rpc_port_parcel_read_string(result, &tag) == 0 &&
            rpc_port_parcel_read_string(result, &text) == 0 && strcmp(tag, "echo") == 0 &&
            strcmp(text, "from-sender") == 0;
  free(tag);
  free(text);
  rpc_port_parcel_destroy(result);
  done(ok ? 0 : 1);
}

void on_failed(const char *, const char *, void *) { done(1); }

void on_reply(app_control_h, app_control_h reply, app_control_result_e result, void *) {
  done(reply && result == APP_CONTROL_RESULT_SUCCEEDED ? 0 : 1);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 3) return 1;
  g_loop = g_main_loop_new(nullptr, FALSE);
  g_timeout_add(
      30000,
      [](gpointer) -> gboolean {
        done(2);
        return G_SOURCE_REMOVE;
      },
      nullptr);
  const std::string mode = argv[1];
  rpc_port_proxy_h proxy = nullptr;
  app_control_h request = nullptr;
  if (mode == "proxy" && argc >= 4) {
    rpc_port_proxy_create(&proxy);
    rpc_port_proxy_add_connected_event_cb(proxy, on_connected, nullptr);
    rpc_port_proxy_add_rejected_event_cb(proxy, on_failed, nullptr);
    rpc_port_proxy_add_disconnected_event_cb(proxy, on_failed, nullptr);
    if (rpc_port_proxy_connect(proxy, argv[2], argv[3]) != 0) return 1;
  } else if (mode == "appcontrol") {
    app_control_create(&request);
    app_control_set_app_id(request, argv[2]);
    app_control_add_extra_data(request, "mode", "reply");
    if (app_control_send_launch_request(request, on_reply, nullptr) != APP_CONTROL_ERROR_NONE)
      return 1;
  } else {
    return 1;
  }
  g_main_loop_run(g_loop);
  if (proxy) rpc_port_proxy_destroy(proxy);
  if (request) app_control_destroy(request);
  g_main_loop_unref(g_loop);
  return g_exit;
}
