// Velmora host platform: the rpc-port stub (server end).
//
// listen() binds "run/<own app id>/rpc-<port>.sock". Every accepted stream must open with a hello
// within velmora_host_rpc_timeout_ms(); a stream whose hello is malformed or names another port is
// dropped without an answer. A peer of another user, or, once allowed app ids were added, a caller
// app id that is not among them, gets a refusal answer (the proxy's rejected event). A main and a
// callback stream with the same connection id, caller and peer process form one connection: both
// are answered, and the connected event names the caller and the connection's instance (its
// connection id). Events are delivered on the main context of the thread that created the stub,
// and the stub and its ports are used from that thread only.
//
// A stub's ports never block: rpc_port_parcel_create_from_port hands out the frame announced by
// the received event (one event per frame; a frame the callback leaves unread is dropped), and a
// send waits only while the socket is full, at most velmora_host_rpc_timeout_ms(), then gives the
// connection up.
#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>
#include <vector>

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

// Streams that may wait for their hello or their partner stream at one time.
constexpr size_t kMaxPending = 128;

struct PendingStream;
struct StubConn;

void drop_source(GSource **src) {
  if (*src) {
    g_source_destroy(*src);
    g_source_unref(*src);
    *src = nullptr;
  }
}

}  // namespace

struct rpc_port_stub_s {
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
  GSource *listen_watch = nullptr;
  std::vector<PendingStream *> pending;
  std::vector<StubConn *> conns;  // until their disconnect event is delivered

  void ref() { ++refs; }
  void unref();
};

namespace {

// An accepted stream until its hello and its partner stream arrived.
struct PendingStream {
  rpc_port_stub_s *stub = nullptr;
  int fd = -1;
  pid_t pid = 0;
  uid_t uid = 0;
  FrameReader reader{kMaxFrame, kMaxHello};
  std::deque<Bytes> frames;
  bool has_hello = false;
  Hello hello;
  GSource *watch = nullptr;
  GSource *timer = nullptr;
};

struct StubConn : LinkOwner {
  rpc_port_stub_s *stub = nullptr;
  Link *link = nullptr;
  std::string sender;
  std::string instance;
  GSource *idle = nullptr;

  void on_frames(Link *l, rpc_port_s *port) override;
  void on_closed(Link *l) override;
  static gboolean deliver_disconnected(gpointer data);
};

// Removes a pending stream; closes its socket unless `keep_fd`.
void forget_pending(PendingStream *ps, bool keep_fd) {
  auto &list = ps->stub->pending;
  list.erase(std::remove(list.begin(), list.end(), ps), list.end());
  drop_source(&ps->watch);
  drop_source(&ps->timer);
  if (!keep_fd && ps->fd >= 0) close(ps->fd);
  delete ps;
}

void refuse(PendingStream *ps, const char *why) {
  IPC_LOGW("port %s refused caller '%s' (pid %d): %s", ps->stub->port_name.c_str(),
           ps->hello.caller.c_str(), (int)ps->pid, why);
  Bytes answer = encode_answer(RPC_PORT_ERROR_PERMISSION_DENIED);
  send_frame(ps->fd, answer.data(), answer.size(), velmora_host_rpc_timeout_ms());
  forget_pending(ps, false);
}

bool instance_in_use(rpc_port_stub_s *stub, const std::string &instance) {
  return std::any_of(stub->conns.begin(), stub->conns.end(),
                     [&](StubConn *c) { return c->instance == instance; });
}

// Joins a main and a callback stream into one connection and announces it.
void join(PendingStream *main_ps, PendingStream *callback_ps) {
  rpc_port_stub_s *stub = main_ps->stub;
  if (instance_in_use(stub, main_ps->hello.connection_id)) {
    IPC_LOGW("port %s: connection id reused, dropping both streams", stub->port_name.c_str());
    forget_pending(main_ps, false);
    forget_pending(callback_ps, false);
    return;
  }
  auto *conn = new StubConn;
  conn->stub = stub;
  conn->sender = main_ps->hello.caller;
  conn->instance = main_ps->hello.connection_id;
  conn->link = new Link(stub->ctx, main_ps->fd, callback_ps->fd, false, conn);
  conn->link->main.reader = std::move(main_ps->reader);
  conn->link->main.frames = std::move(main_ps->frames);
  conn->link->callback.reader = std::move(callback_ps->reader);
  forget_pending(main_ps, true);
  forget_pending(callback_ps, true);
  stub->conns.push_back(conn);

  Link *link = conn->link;
  const Bytes answer = encode_answer(0);
  const int timeout = velmora_host_rpc_timeout_ms();
  if (send_frame(link->main.fd, answer.data(), answer.size(), timeout) != IoStatus::kOk ||
      send_frame(link->callback.fd, answer.data(), answer.size(), timeout) != IoStatus::kOk) {
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
void on_hello(PendingStream *ps) {
  rpc_port_stub_s *stub = ps->stub;
  if (ps->uid != geteuid()) return refuse(ps, "peer of another user");
  if (!stub->allowed.empty() && std::find(stub->allowed.begin(), stub->allowed.end(),
                                          ps->hello.caller) == stub->allowed.end())
    return refuse(ps, "caller not allowed");
  for (PendingStream *other : stub->pending) {
    if (other == ps || !other->has_hello) continue;
    if (other->hello.connection_id != ps->hello.connection_id) continue;
    if (other->hello.kind == ps->hello.kind || other->pid != ps->pid ||
        other->hello.caller != ps->hello.caller) {
      IPC_LOGW("port %s: streams of one connection do not match", stub->port_name.c_str());
      forget_pending(other, false);
      forget_pending(ps, false);
      return;
    }
    if (ps->hello.kind == StreamKind::kRpcMain)
      join(ps, other);
    else
      join(other, ps);
    return;
  }
}

gboolean pending_readable(gint, GIOCondition, gpointer data) {
  auto *ps = static_cast<PendingStream *>(data);
  IoStatus status = read_available(ps->fd, &ps->reader, &ps->frames, 4 * kMaxHello);
  if (status != IoStatus::kOk || ps->frames.size() > kMaxQueuedFrames) {
    forget_pending(ps, false);
    return G_SOURCE_REMOVE;
  }
  if (ps->has_hello || ps->frames.empty()) return G_SOURCE_CONTINUE;
  Hello hello;
  if (!decode_hello(ps->frames.front(), &hello) ||
      (hello.kind != StreamKind::kRpcMain && hello.kind != StreamKind::kRpcCallback) ||
      hello.target != ps->stub->port_name) {
    IPC_LOGW("port %s: dropping a stream without a valid hello", ps->stub->port_name.c_str());
    forget_pending(ps, false);
    return G_SOURCE_REMOVE;
  }
  ps->frames.pop_front();
  ps->hello = std::move(hello);
  ps->has_hello = true;
  // on_hello may free `ps` (and its watch): the source is then already destroyed.
  on_hello(ps);
  return G_SOURCE_CONTINUE;
}

gboolean pending_expired(gpointer data) {
  auto *ps = static_cast<PendingStream *>(data);
  IPC_LOGW("port %s: dropping a stream that did not complete its connection",
           ps->stub->port_name.c_str());
  g_source_unref(ps->timer);
  ps->timer = nullptr;
  forget_pending(ps, false);
  return G_SOURCE_REMOVE;
}

gboolean on_accept(gint fd, GIOCondition, gpointer data) {
  auto *stub = static_cast<rpc_port_stub_s *>(data);
  for (;;) {
    int c = accept4(fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (c < 0) {
      if (errno == EINTR) continue;
      break;
    }
    auto *ps = new PendingStream;
    ps->stub = stub;
    ps->fd = c;
    if (stub->pending.size() >= kMaxPending || !peer_credentials(c, &ps->pid, &ps->uid)) {
      close(c);
      delete ps;
      continue;
    }
    stub->pending.push_back(ps);
    ps->watch = fd_watch(c, pending_readable, ps, stub->ctx);
    ps->timer = g_timeout_source_new((guint)velmora_host_rpc_timeout_ms());
    g_source_set_callback(ps->timer, pending_expired, ps, nullptr);
    g_source_attach(ps->timer, stub->ctx);
  }
  return G_SOURCE_CONTINUE;
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
  drop_source(&h->listen_watch);
  close_listener(&h->listener);
  while (!h->pending.empty()) forget_pending(h->pending.back(), false);
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
  h->listen_watch = fd_watch(h->listener.fd, on_accept, h, h->ctx);
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
