// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the stub of the AccountSvc port.
//
// One request at a time per connection: read the method id and the arguments, look up the
// method's faults, do the work, send the result on the main port and, for a method with a reply
// delegate, push the callback on the connection's callback port. A delayed answer is sent from a
// timer; it finds its connection again by its instance name, so an answer whose connection went
// away meanwhile is dropped.
#include "port/server.hh"

#include <sys/resource.h>

#include <cstdlib>
#include <list>

#include "caller_name.hh"
#include "dlog.h"
#include "file_watch.hh"
#include "idle_exit.hh"
#include "port/methods.hh"
#include "rpc_port.h"
#include "servers.hh"

namespace vagent {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";
constexpr const char *kPortName = "AccountSvc";
// An app id no caller has: with it as the only allowed caller, the stub refuses everybody.
constexpr const char *kNobody = "dev.velmora.account.nobody";

#define NIDL_LOG(prio, ...) dlog_print(prio, kLogTag, __VA_ARGS__)

struct PendingAnswer {
  std::string instance;
  nidl::Parcel result;
  nidl::Parcel push;
  GSource *timer = nullptr;
};

struct PortServer {
  AgentState *state = nullptr;
  rpc_port_stub_h stub = nullptr;
  std::list<PendingAnswer> pending;
  int connections = 0;  // connected clients
};

PortServer g_server;

void send_answer(const std::string &instance, const nidl::Parcel &result,
                 const nidl::Parcel &push) {
  rpc_port_h main_port = nullptr;
  if (rpc_port_stub_get_port(g_server.stub, RPC_PORT_PORT_MAIN, instance.c_str(), &main_port) !=
      0) {
    NIDL_LOG(DLOG_WARN, "AccountSvc: connection %s is gone, answer dropped", instance.c_str());
    return;
  }
  if (result && rpc_port_parcel_send(result.get(), main_port) != 0) {
    NIDL_LOG(DLOG_WARN, "AccountSvc: sending a result to %s failed", instance.c_str());
    return;
  }
  if (!push) return;
  rpc_port_h callback_port = nullptr;
  if (rpc_port_stub_get_port(g_server.stub, RPC_PORT_PORT_CALLBACK, instance.c_str(),
                             &callback_port) != 0 ||
      rpc_port_parcel_send(push.get(), callback_port) != 0)
    NIDL_LOG(DLOG_WARN, "AccountSvc: pushing a callback to %s failed", instance.c_str());
}

gboolean send_delayed(gpointer data) {
  auto *answer = static_cast<PendingAnswer *>(data);
  send_answer(answer->instance, answer->result, answer->push);
  g_source_unref(answer->timer);
  g_server.pending.remove_if([answer](const PendingAnswer &p) { return &p == answer; });
  return G_SOURCE_REMOVE;
}

[[noreturn]] void crash_now(const char *method) {
  NIDL_LOG(DLOG_ERROR, "AccountSvc: crashing in %s (fault crash)", method);
  // A deliberate crash leaves no core file behind.
  struct rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  abort();
}

// Returns non-zero to close the connection.
int on_received(const char *app_id, const char *instance, rpc_port_h port, void *) {
  note_activity();
  const char *sender = caller_name(app_id);
  const WatchScope look_once;  // the configuration files are looked at once per request
  rpc_port_parcel_h raw = nullptr;
  if (rpc_port_parcel_create_from_port(&raw, port) != 0 || !raw) return -1;
  nidl::Parcel request(raw);

  int id = -1;
  rpc_port_parcel_read_int32(request.get(), &id);
  const nidl::Method *method = nidl::find_method(id);
  if (!method) {
    NIDL_LOG(DLOG_ERROR, "AccountSvc: unknown method id %d from %s, closing", id, sender);
    return -1;
  }
  nidl::NidlRequest req;
  if (!nidl::read_request(request.get(), method->args, &req)) {
    NIDL_LOG(DLOG_ERROR, "AccountSvc: malformed %s request from %s, closing", method->name, sender);
    return -1;
  }

  const Fault fault = g_server.state->faults(method->name);
  if (fault.crash) crash_now(method->name);
  if (fault.close_connection) {
    NIDL_LOG(DLOG_WARN, "AccountSvc: closing %s's connection in %s (fault close_connection)",
             sender, method->name);
    return -1;
  }
  if (fault.never_answer) {
    NIDL_LOG(DLOG_WARN, "AccountSvc: %s from %s left unanswered (fault never_answer)", method->name,
             sender);
    return 0;
  }

  nidl::Answer answer = fault.error_code ? nidl::error_answer(*method, *fault.error_code)
                                         : method->run(*g_server.state, req);
  nidl::Parcel push;
  if (method->has_delegate()) {
    answer.result = 0;  // accepted; the answer is the callback
    nidl::PushFaults pf{fault.push_unknown_delegate_id, fault.push_wrong_sequence,
                        fault.push_malformed_body};
    push = nidl::callback_parcel(req.delegate, answer.push_result, answer.push_account.get(),
                                 answer.push_places.get(), pf, answer.push_profile.get());
  }
  nidl::Parcel result = nidl::result_parcel(method->out, answer.output, answer.result);
  // A failure at info, a success only at debug (a line per request would cost a write to the log
  // on every token).
  const bool failed = answer.result != 0 || (method->has_delegate() && answer.push_result != 0);
  const log_priority level = failed ? DLOG_INFO : DLOG_DEBUG;
  if (method->has_delegate())
    NIDL_LOG(level, "AccountSvc: %s from %s: result %d, callback %d", method->name, sender,
             answer.result, answer.push_result);
  else
    NIDL_LOG(level, "AccountSvc: %s from %s: result %d", method->name, sender, answer.result);

  if (fault.delay_ms > 0) {
    PendingAnswer &p = g_server.pending.emplace_back();
    p.instance = instance;
    p.result = std::move(result);
    p.push = std::move(push);
    p.timer = g_timeout_source_new(static_cast<guint>(fault.delay_ms));
    g_source_set_callback(p.timer, send_delayed, &p, nullptr);
    g_source_attach(p.timer, g_main_context_get_thread_default());
    return 0;
  }
  send_answer(instance, result, push);
  return 0;
}

void on_connected(const char *app_id, const char *instance, void *) {
  NIDL_LOG(DLOG_INFO, "AccountSvc: %s connected (%s)", caller_name(app_id), instance);
  ++g_server.connections;
  note_activity();
}

void on_disconnected(const char *app_id, const char *instance, void *) {
  NIDL_LOG(DLOG_INFO, "AccountSvc: %s disconnected (%s)", caller_name(app_id), instance);
  if (g_server.connections > 0) --g_server.connections;
  note_activity();
}

}  // namespace

bool account_svc_busy() { return g_server.connections > 0 || !g_server.pending.empty(); }

bool account_svc_start(ServerContext &context, std::string *error) {
  g_server.state = &context.state;
  if (rpc_port_stub_create(&g_server.stub, kPortName) != 0) {
    *error = "cannot create the AccountSvc stub";
    return false;
  }
  rpc_port_stub_add_connected_event_cb(g_server.stub, on_connected, nullptr);
  rpc_port_stub_add_disconnected_event_cb(g_server.stub, on_disconnected, nullptr);
  rpc_port_stub_add_received_event_cb(g_server.stub, on_received, nullptr);
  if (context.state.faults(kPortName).reject_connection) {
    NIDL_LOG(DLOG_WARN, "AccountSvc: refusing every caller (fault reject_connection)");
    rpc_port_stub_add_allowed_app(g_server.stub, kNobody);
  }
  int ret = rpc_port_stub_listen(g_server.stub);
  if (ret != 0) {
    *error = "cannot listen on AccountSvc (" + std::to_string(ret) + ")";
    rpc_port_stub_destroy(g_server.stub);
    g_server.stub = nullptr;
    return false;
  }
  return true;
}

void account_svc_stop() {
  for (PendingAnswer &p : g_server.pending) {
    g_source_destroy(p.timer);
    g_source_unref(p.timer);
  }
  g_server.pending.clear();
  if (g_server.stub) rpc_port_stub_destroy(g_server.stub);
  g_server.stub = nullptr;
  g_server.state = nullptr;
}

}  // namespace vagent
