// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a platform root with the test applications, and clients that record events.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "platform_root.hh"
#include "rpc_port.h"
#include "rpc_port_parcel.h"
#include "test_apps.hh"
#include "velmora_host.h"

namespace vtest {

// Every test gets its own root; the applications it launched are killed when it ends.
class IpcTest : public ::testing::Test {
 protected:
  IpcTest() {
    for (const char *name :
         {"VELMORA_APP_ID", "VELMORA_TEST_PORT", "VELMORA_TEST_ALLOWED", "VELMORA_TEST_NO_LISTEN",
          "VELMORA_TEST_START_DELAY_MS", "VELMORA_TEST_REFUSE", "VELMORA_RPC_TIMEOUT_MS",
          "VELMORA_LAUNCH_TIMEOUT_MS", "VELMORA_HELLO_TIMEOUT_MS", "VELMORA_REPLY_TIMEOUT_MS"})
      unsetenv(name);
  }
  ~IpcTest() override { apps::kill_instances(root.path()); }

  // Installs a package of one service application running the test application `exe`.
  void install(const std::string &app_id, const std::string &exe) {
    root.install_package(app_id, {{app_id, "service", apps::path(exe)}});
  }
  void install_exec(const std::string &app_id, const std::string &exec) {
    root.install_package(app_id, {{app_id, "service", exec}});
  }
  std::vector<std::string> starts(const std::string &app_id) {
    return apps::starts(root.path(), app_id);
  }

  PlatformRoot root;
};

// A parcel of strings and ints, in order.
struct Arg {
  Arg(const char *s) : is_string(true), text(s) {}
  Arg(const std::string &s) : is_string(true), text(s) {}
  Arg(int v) : is_string(false), number(v) {}
  bool is_string;
  std::string text;
  int number = 0;
};

inline int send_request(rpc_port_h port, const std::vector<Arg> &args) {
  rpc_port_parcel_h p = nullptr;
  rpc_port_parcel_create(&p);
  for (const Arg &a : args) {
    if (a.is_string)
      rpc_port_parcel_write_string(p, a.text.c_str());
    else
      rpc_port_parcel_write_int32(p, a.number);
  }
  int ret = rpc_port_parcel_send(p, port);
  rpc_port_parcel_destroy(p);
  return ret;
}

inline std::string take_string(rpc_port_parcel_h p) {
  char *s = nullptr;
  if (rpc_port_parcel_read_string(p, &s) != 0) return "<none>";
  std::string out = s;
  free(s);
  return out;
}

inline int take_int(rpc_port_parcel_h p) {
  int v = -12345;
  rpc_port_parcel_read_int32(p, &v);
  return v;
}

// A proxy that records its events. The received handler reads each pushed parcel from the
// callback port as "<text>:<i>" (the echo stub's "push" form) unless on_received is set.
struct Client {
  rpc_port_proxy_h proxy = nullptr;
  int connected = 0;
  int disconnected = 0;
  int rejected = 0;
  int received = 0;
  rpc_port_h main_port = nullptr;
  rpc_port_h callback_port = nullptr;
  std::string endpoint;
  std::string port_name;
  std::vector<std::string> pushed;
  std::function<void()> on_connected;
  std::function<void()> on_disconnected;
  std::function<void()> on_received;

  Client() {
    EXPECT_EQ(rpc_port_proxy_create(&proxy), RPC_PORT_ERROR_NONE);
    rpc_port_proxy_add_connected_event_cb(proxy, connected_cb, this);
    rpc_port_proxy_add_disconnected_event_cb(proxy, disconnected_cb, this);
    rpc_port_proxy_add_rejected_event_cb(proxy, rejected_cb, this);
    rpc_port_proxy_add_received_event_cb(proxy, received_cb, this);
  }
  ~Client() { destroy(); }
  Client(const Client &) = delete;
  Client &operator=(const Client &) = delete;

  void destroy() {
    if (proxy) rpc_port_proxy_destroy(proxy);
    proxy = nullptr;
  }
  int connect(const std::string &app, const std::string &port = "Echo") {
    return rpc_port_proxy_connect(proxy, app.c_str(), port.c_str());
  }
  bool ended() const { return connected + rejected > 0; }

  static void connected_cb(const char *endpoint, const char *port_name, rpc_port_h port, void *d) {
    auto *c = static_cast<Client *>(d);
    ++c->connected;
    c->endpoint = endpoint;
    c->port_name = port_name;
    c->main_port = port;
    rpc_port_proxy_get_port(c->proxy, RPC_PORT_PORT_CALLBACK, &c->callback_port);
    if (c->on_connected) c->on_connected();
  }
  static void disconnected_cb(const char *, const char *, void *d) {
    auto *c = static_cast<Client *>(d);
    ++c->disconnected;
    if (c->on_disconnected) c->on_disconnected();
    c->main_port = nullptr;
  }
  static void rejected_cb(const char *endpoint, const char *port_name, void *d) {
    auto *c = static_cast<Client *>(d);
    ++c->rejected;
    c->endpoint = endpoint;
    c->port_name = port_name;
  }
  static void received_cb(const char *, const char *, void *d) {
    auto *c = static_cast<Client *>(d);
    ++c->received;
    if (c->on_received) return c->on_received();
    rpc_port_h port = nullptr;
    rpc_port_parcel_h p = nullptr;
    if (rpc_port_proxy_get_port(c->proxy, RPC_PORT_PORT_CALLBACK, &port) != 0 ||
        rpc_port_parcel_create_from_port(&p, port) != 0) {
      c->pushed.push_back("<read failed>");
      return;
    }
    std::string tag = take_string(p);
    std::string text = take_string(p);
    int i = take_int(p);
    c->pushed.push_back(tag == "push" ? text + ":" + std::to_string(i) : "<" + tag + ">");
    rpc_port_parcel_destroy(p);
  }
};

// One request on the main port and its result, read blocking. nullptr when no result came.
struct Result {
  rpc_port_parcel_h parcel = nullptr;
  int status = -1;
  Result(rpc_port_h port, const std::vector<Arg> &args) {
    status = send_request(port, args);
    if (status == 0) status = rpc_port_parcel_create_from_port(&parcel, port);
  }
  ~Result() {
    if (parcel) rpc_port_parcel_destroy(parcel);
  }
  Result(const Result &) = delete;
  Result &operator=(const Result &) = delete;
};

}  // namespace vtest
