// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the rpc-port stub (server end).
//
// listen() binds "run/<own app id>/rpc-<port>.sock" and accepts through ipc_accept.hh (caps per
// peer process, the hello deadline, the pause when descriptors run out). Every accepted stream
// must open with a hello and find its partner stream within the hello time-out; a stream whose
// hello is malformed or names another port is dropped without an answer. A peer of another user,
// or, once allowed app ids were added, a caller app id that is not among them, gets a refusal
// answer (the proxy's rejected event). A main and a callback stream with the same connection id,
// caller and peer process form one connection: both are answered, and the connected event names
// the caller and the connection's instance (its connection id). Events are delivered on the main
// context of the thread that created the stub, and the stub and its ports are used from that
// thread only.
//
// A stub's ports never block: rpc_port_parcel_create_from_port hands out the frame announced by
// the received event (one event per frame; a frame the callback leaves unread is dropped), and a
// send that the socket does not take at once waits in the port's outbox; a peer that lets the
// outbox go over its limit is dropped (ipc_outbox.hh), so that no client can stall the others.
#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>
#include <vector>

#include "ipc_accept.hh"
#include "ipc_log.hh"
#include "ipc_port.hh"
#include "ipc_socket.hh"
#include "ipc_watch.hh"
#include "ipc_wire.hh"
#include "registry.hh"
#include "rpc_port.h"
#include "velmora_host.h"

using namespace vhost::ipc;

namespace {

// What a stream may send before it is answered: its hello, and requests that a raw client sends
// right behind it.
constexpr size_t kPendingBudget = kMaxHello + 64 * 1024;

struct StubConn;

}  // namespace

struct rpc_port_stub_s : vhost::ipc::AcceptorOwner {
  int refs = 1;
  bool destroyed = false;
  GMainContext *ctx = nullptr;
  std::string port_name;
  std::vector<std::string> allowed;

  rpc_port_stub_connected_event_cb connected_cb = nullptr;
  void *connected_data = nullptr;
  rpc_port_stub_disconnected_event_cb disconnected_cb = nullptr;
  void *disconnected_data = nullptr;
  rpc_port_stub_received_event_cb received_cb = nullptr;
  void *received_data = nullptr;

  Listener listener;
  std::shared_ptr<Acceptor> acceptor;
  std::vector<StubConn *> conns;  // until their disconnect event is delivered

  void ref() { ++refs; }
  void unref();
  void on_pending_frames(Pending *p) override;
};

namespace {

struct StubConn : LinkOwner {
  rpc_port_stub_s *stub = nullptr;
  Link *link = nullptr;
  PeerSlot main_slot;  // both streams count for their peer while the connection stands
  PeerSlot callback_slot;
  std::string sender;
  std::string instance;
  GSource *idle = nullptr;

  void on_frames(Link *l, rpc_port_s *port) override;
  void on_closed(Link *l) override;
  static gboolean deliver_disconnected(gpointer data);
};

void refuse(Pending *ps, rpc_port_stub_s *stub, const char *why) {
  IPC_LOGW("port %s refused caller '%s' (pid %d): %s", stub->port_name.c_str(),
           ps->hello.caller.c_str(), (int)ps->pid, why);
  send_small(ps->fd, encode_answer(RPC_PORT_ERROR_PERMISSION_DENIED));
  stub->acceptor->release(ps, false);
}

bool instance_in_use(rpc_port_stub_s *stub, const std::string &instance) {
  return std::any_of(stub->conns.begin(), stub->conns.end(),
                     [&](StubConn *c) { return c->instance == instance; });
}

// Joins a main and a callback stream into one connection and announces it.
void join(rpc_port_stub_s *stub, Pending *main_ps, Pending *callback_ps) {
  Acceptor *acceptor = stub->acceptor.get();
  if (instance_in_use(stub, main_ps->hello.connection_id)) {
    IPC_LOGW("port %s: connection id reused, dropping both streams", stub->port_name.c_str());
    acceptor->release(main_ps, false);
    acceptor->release(callback_ps, false);
    return;
  }
  auto *conn = new StubConn;
  conn->stub = stub;
  conn->sender = main_ps->hello.caller;
  conn->instance = main_ps->hello.connection_id;
  conn->main_slot = std::move(main_ps->slot);
  conn->callback_slot = std::move(callback_ps->slot);
  conn->link = new Link(stub->ctx, main_ps->fd, callback_ps->fd, false, conn);
  conn->link->main.reader = std::move(main_ps->reader);
  conn->link->main.frames = std::move(main_ps->frames);
  conn->link->callback.reader = std::move(callback_ps->reader);
  acceptor->release(main_ps, true);
  acceptor->release(callback_ps, true);
  stub->conns.push_back(conn);

  Link *link = conn->link;
  const Bytes answer = encode_answer(0);
  if (link->main.out->push(answer.data(), answer.size()) != IoStatus::kOk ||
      link->callback.out->push(answer.data(), answer.size()) != IoStatus::kOk) {
    link->close();  // the disconnect event follows the connected event below
  } else {
    link->start();
  }
  stub->ref();
  if (stub->connected_cb)
    stub->connected_cb(conn->sender.c_str(), conn->instance.c_str(), stub->connected_data);
  // Requests that came right behind the hello.
  if (!stub->destroyed && !link->closed() && !link->main.frames.empty())
    conn->on_frames(link, &link->main);
  stub->unref();
}

// The hello of `ps` is in: check the caller and look for the partner stream.
void on_hello(rpc_port_stub_s *stub, Pending *ps) {
  if (ps->uid != geteuid()) return refuse(ps, stub, "peer of another user");
  if (!stub->allowed.empty() && std::find(stub->allowed.begin(), stub->allowed.end(),
                                          ps->hello.caller) == stub->allowed.end())
    return refuse(ps, stub, "caller not allowed");
  for (Pending *other : stub->acceptor->pending()) {
    if (other == ps || !other->has_hello) continue;
    if (other->hello.connection_id != ps->hello.connection_id) continue;
    if (other->hello.kind == ps->hello.kind || other->pid != ps->pid ||
        other->hello.caller != ps->hello.caller) {
      IPC_LOGW("port %s: streams of one connection do not match", stub->port_name.c_str());
      stub->acceptor->release(other, false);
      stub->acceptor->release(ps, false);
      return;
    }
    if (ps->hello.kind == StreamKind::kRpcMain)
      join(stub, ps, other);
    else
      join(stub, other, ps);
    return;
  }
}

void StubConn::on_frames(Link *l, rpc_port_s *port) {
  if (stub->destroyed) return;
  if (port == &l->callback) {
    port->frames.clear();  // the proxy has nothing to say on the callback stream
    return;
  }
  stub->ref();
  while (!stub->destroyed && !l->closed() && !port->frames.empty()) {
    const uint64_t taken = port->taken;
    int ret = stub->received_cb
                  ? stub->received_cb(sender.c_str(), instance.c_str(), port, stub->received_data)
                  : 0;
    if (stub->destroyed) break;
    if (port->taken == taken && !port->frames.empty()) {
      port->frames.pop_front();
      ++port->taken;
    }
    if (ret != 0) {
      l->close();
      break;
    }
  }
  stub->unref();
}

void StubConn::on_closed(Link *) {
  if (stub->destroyed || idle) return;
  idle = g_idle_source_new();
  g_source_set_callback(idle, deliver_disconnected, this, nullptr);
  g_source_attach(idle, stub->ctx);
}

gboolean StubConn::deliver_disconnected(gpointer data) {
  auto *conn = static_cast<StubConn *>(data);
  rpc_port_stub_s *stub = conn->stub;
  g_source_unref(conn->idle);
  conn->idle = nullptr;
  auto &conns = stub->conns;
  conns.erase(std::remove(conns.begin(), conns.end(), conn), conns.end());
  stub->ref();
  if (stub->disconnected_cb)
    stub->disconnected_cb(conn->sender.c_str(), conn->instance.c_str(), stub->disconnected_data);
  conn->link->detach();
  conn->link->unref();
  delete conn;
  stub->unref();
  return G_SOURCE_REMOVE;
}

}  // namespace

void rpc_port_stub_s::on_pending_frames(Pending *ps) {
  if (ps->has_hello) {
    // Requests behind the hello wait for the partner stream, within the budget.
    if (ps->frames.size() > kMaxQueuedFrames) acceptor->release(ps, false);
    return;
  }
  Hello hello;
  if (!decode_hello(ps->frames.front(), &hello) ||
      (hello.kind != StreamKind::kRpcMain && hello.kind != StreamKind::kRpcCallback) ||
      hello.target != port_name) {
    IPC_LOGW("port %s: dropping a stream without a valid hello", port_name.c_str());
    acceptor->release(ps, false);
    return;
  }
  ps->frames.pop_front();
  ps->hello = std::move(hello);
  ps->has_hello = true;
  on_hello(this, ps);  // may release `ps`
}

void rpc_port_stub_s::unref() {
  if (--refs > 0) return;
  for (StubConn *conn : conns) {
    drop_source(&conn->idle);
    conn->link->detach();
    conn->link->unref();
    delete conn;
  }
  if (ctx) g_main_context_unref(ctx);
  delete this;
}

extern "C" {

int rpc_port_stub_create(rpc_port_stub_h *h, const char *port_name) {
  if (!h || !port_name || !vhost::registry_valid_id(port_name))
    return RPC_PORT_ERROR_INVALID_PARAMETER;
  auto *stub = new (std::nothrow) rpc_port_stub_s;
  if (!stub) return RPC_PORT_ERROR_OUT_OF_MEMORY;
  stub->port_name = port_name;
  stub->ctx = g_main_context_ref_thread_default();
  *h = stub;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_stub_destroy(rpc_port_stub_h h) {
  if (!h || h->destroyed) return RPC_PORT_ERROR_INVALID_PARAMETER;
  h->destroyed = true;
  if (h->acceptor) h->acceptor->shutdown();
  close_listener(&h->listener);
  for (StubConn *conn : h->conns) {
    drop_source(&conn->idle);
    conn->link->detach();
    conn->link->close();
  }
  h->unref();  // the connections go with the last reference
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_stub_listen(rpc_port_stub_h h) {
  if (!h || h->destroyed || h->listener.fd >= 0) return RPC_PORT_ERROR_INVALID_PARAMETER;
  const std::string app_id = own_app_id();
  if (app_id.empty() || !vhost::registry_valid_id(app_id)) {
    IPC_LOGE("a stub listens only in an application (VELMORA_APP_ID is not set)");
    return RPC_PORT_ERROR_INVALID_PARAMETER;
  }
  std::string error;
  if (!listen_unix(app_socket_path(app_id, rpc_socket_name(h->port_name)), &h->listener, &error)) {
    IPC_LOGE("%s", error.c_str());
    return RPC_PORT_ERROR_IO_ERROR;
  }
  h->acceptor = std::make_shared<Acceptor>(h->ctx, "port " + h->port_name, kPendingBudget, h);
  h->acceptor->start(h->listener.fd);
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_stub_add_allowed_app(rpc_port_stub_h h, const char *app_id) {
  if (!h || !app_id || !*app_id) return RPC_PORT_ERROR_INVALID_PARAMETER;
  h->allowed.emplace_back(app_id);
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_stub_add_connected_event_cb(rpc_port_stub_h h, rpc_port_stub_connected_event_cb cb,
                                         void *user_data) {
  if (!h || !cb) return RPC_PORT_ERROR_INVALID_PARAMETER;
  h->connected_cb = cb;
  h->connected_data = user_data;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_stub_add_disconnected_event_cb(rpc_port_stub_h h,
                                            rpc_port_stub_disconnected_event_cb cb,
                                            void *user_data) {
  if (!h || !cb) return RPC_PORT_ERROR_INVALID_PARAMETER;
  h->disconnected_cb = cb;
  h->disconnected_data = user_data;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_stub_add_received_event_cb(rpc_port_stub_h h, rpc_port_stub_received_event_cb cb,
                                        void *user_data) {
  if (!h || !cb) return RPC_PORT_ERROR_INVALID_PARAMETER;
  h->received_cb = cb;
  h->received_data = user_data;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_stub_get_port(rpc_port_stub_h h, rpc_port_port_type_e type, const char *instance,
                           rpc_port_h *port) {
  if (!h || !instance || !port || (type != RPC_PORT_PORT_MAIN && type != RPC_PORT_PORT_CALLBACK))
    return RPC_PORT_ERROR_INVALID_PARAMETER;
  for (StubConn *conn : h->conns) {
    if (conn->instance != instance) continue;
    *port = type == RPC_PORT_PORT_MAIN ? &conn->link->main : &conn->link->callback;
    return RPC_PORT_ERROR_NONE;
  }
  return RPC_PORT_ERROR_INVALID_PARAMETER;
}

}  // extern "C"
