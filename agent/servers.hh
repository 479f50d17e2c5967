// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the servers the agent runs while it serves, started in table order and stopped in
// reverse order by main.cc.
//
// ---- Where servers are added ----
// A server is a pair of functions: start (called once, on the main thread, before the main loop
// runs; returns false with a message to make the agent exit) and stop (called once after the loop
// has quit, only for servers that started). To add one, include its header below and append a row
// to the table in servers(). busy tells the idle exit (idle_exit.hh) that the server still has
// clients or answers to give, so the agent must not exit yet.
#pragma once

#include <glib.h>

#include <string>
#include <vector>

#include "agent_state.hh"
#include "app_control/server.hh"
#include "port/server.hh"

namespace vagent {

// What a server gets when it starts: the state it works on and the main loop it runs in (servers
// attach their sources to the thread-default main context).
struct ServerContext {
  AgentState &state;
  GMainLoop *loop;
};

struct Server {
  const char *name;
  bool (*start)(ServerContext &context, std::string *error);
  void (*stop)();
  bool (*busy)();
};

inline const std::vector<Server> &servers() {
  static const std::vector<Server> table = {
      {"account-svc", account_svc_start, account_svc_stop, account_svc_busy},  // AccountSvc port
      {"app-control", app_control_start, app_control_stop, app_control_busy},  // app control
  };
  return table;
}

}  // namespace vagent
