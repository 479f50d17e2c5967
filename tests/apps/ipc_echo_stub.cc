// SPDX-License-Identifier: Apache-2.0
// Velmora tests: an application serving one rpc-port stub (see test_apps.hh).
//
// A request is a parcel that starts with a command string:
//   "echo" s            -> result "echo", s
//   "push" s n          -> result "pushed", then n parcels "push", s, i (i = 0..n-1) on the
//                          connection's callback port
//   "big" n             -> result "big", a string of n 'x'
//   "pid"               -> result int32 pid of this process
//   "info"              -> result sender, instance, number of connected events seen for it
//   "hang"              -> no result (the process goes on serving)
//   "retire"            -> result int32 of velmora_host_retire; the process exits when it is 0
//   "exit"              -> the process exits at once, without a result
//   "close"             -> the received callback returns non-zero (the connection closes)
//   "nest" path         -> makes the file `path`.entered, runs the main loop from inside the
//                          handler until the file `path` exists (and a few iterations more), then
//                          results "nested" and the number of requests handled meanwhile (int32)
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>
#include <string>

#include "app_common.hh"
#include "rpc_port.h"
#include "rpc_port_parcel.h"
#include "velmora_host.h"

namespace {

rpc_port_stub_h g_stub = nullptr;
std::map<std::string, int> g_connected;
int g_handled = 0;  // requests that reached on_received

std::string read_string(rpc_port_parcel_h p) {
  char *s = nullptr;
  if (rpc_port_parcel_read_string(p, &s) != 0) return "";
  std::string out = s;
  free(s);
  return out;
}

void send_and_free(rpc_port_parcel_h p, rpc_port_h port) {
  if (rpc_port_parcel_send(p, port) != 0) fprintf(stderr, "ipc_echo_stub: send failed\n");
  rpc_port_parcel_destroy(p);
}

int on_received(const char *sender, const char *instance, rpc_port_h port, void *) {
  rpc_port_parcel_h req = nullptr;
  if (rpc_port_parcel_create_from_port(&req, port) != 0) return 0;
  const std::string cmd = read_string(req);
  ++g_handled;
  rpc_port_parcel_h out = nullptr;
  rpc_port_parcel_create(&out);
  int ret = 0;
  if (cmd == "echo") {
    rpc_port_parcel_write_string(out, "echo");
    rpc_port_parcel_write_string(out, read_string(req).c_str());
    send_and_free(out, port);
  } else if (cmd == "push") {
    const std::string text = read_string(req);
    int n = 0;
    rpc_port_parcel_read_int32(req, &n);
    rpc_port_parcel_write_string(out, "pushed");
    send_and_free(out, port);
    rpc_port_h callback = nullptr;
    if (rpc_port_stub_get_port(g_stub, RPC_PORT_PORT_CALLBACK, instance, &callback) == 0) {
      for (int i = 0; i < n; ++i) {
        rpc_port_parcel_h push = nullptr;
        rpc_port_parcel_create(&push);
        rpc_port_parcel_write_string(push, "push");
        rpc_port_parcel_write_string(push, text.c_str());
        rpc_port_parcel_write_int32(push, i);
        send_and_free(push, callback);
      }
    }
  } else if (cmd == "big") {
    int n = 0;
    rpc_port_parcel_read_int32(req, &n);
    rpc_port_parcel_write_string(out, "big");
    rpc_port_parcel_write_string(out, std::string((size_t)(n > 0 ? n : 0), 'x').c_str());
    send_and_free(out, port);
  } else if (cmd == "pid") {
    rpc_port_parcel_write_int32(out, (int)getpid());
    send_and_free(out, port);
  } else if (cmd == "info") {
    rpc_port_parcel_write_string(out, sender);
    rpc_port_parcel_write_string(out, instance);
    rpc_port_parcel_write_int32(out, g_connected[instance]);
    send_and_free(out, port);
  } else if (cmd == "retire") {
    const int retired = velmora_host_retire();
    rpc_port_parcel_write_int32(out, retired);
    send_and_free(out, port);
    if (retired == 0) _exit(0);
  } else if (cmd == "nest") {
    const std::string marker = read_string(req);
    const int before = g_handled;
    g_file_set_contents((marker + ".entered").c_str(), "", 0, nullptr);
    for (int i = 0; i < 20000 && access(marker.c_str(), F_OK) != 0; ++i) {
      g_main_context_iteration(nullptr, FALSE);
      usleep(1000);
    }
    for (int i = 0; i < 50; ++i) {  // whatever arrived before the file is seen by now
      g_main_context_iteration(nullptr, FALSE);
      usleep(1000);
    }
    rpc_port_parcel_write_string(out, "nested");
    rpc_port_parcel_write_int32(out, g_handled - before);
    send_and_free(out, port);
  } else if (cmd == "exit") {
    _exit(0);
  } else {
    rpc_port_parcel_destroy(out);
    ret = cmd == "close" ? -1 : 0;  // "hang" and unknown commands get no result
  }
  rpc_port_parcel_destroy(req);
  return ret;
}

void on_connected(const char *, const char *instance, void *) { ++g_connected[instance]; }
void on_disconnected(const char *, const char *instance, void *) { g_connected.erase(instance); }

}  // namespace

int main() {
  vtest::app::mark_start();
  vtest::app::limit_lifetime();
  GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
  if (vtest::app::env_int("VELMORA_TEST_NO_LISTEN", 0)) {
    g_main_loop_run(loop);
    return 0;
  }
  const int delay = vtest::app::env_int("VELMORA_TEST_START_DELAY_MS", 0);
  if (delay > 0) g_usleep((gulong)delay * 1000);
  const std::string port = vtest::app::env_or("VELMORA_TEST_PORT", "Echo");
  if (rpc_port_stub_create(&g_stub, port.c_str()) != 0) return 2;
  std::stringstream allowed(vtest::app::env_or("VELMORA_TEST_ALLOWED", ""));
  for (std::string id; std::getline(allowed, id, ',');)
    if (!id.empty()) rpc_port_stub_add_allowed_app(g_stub, id.c_str());
  rpc_port_stub_add_received_event_cb(g_stub, on_received, nullptr);
  rpc_port_stub_add_connected_event_cb(g_stub, on_connected, nullptr);
  rpc_port_stub_add_disconnected_event_cb(g_stub, on_disconnected, nullptr);
  if (rpc_port_stub_listen(g_stub) != 0) return 2;
  g_main_loop_run(loop);
  rpc_port_stub_destroy(g_stub);
  g_main_loop_unref(loop);
  return 0;
}
