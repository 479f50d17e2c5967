// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the rpc-port proxy (client end of a connection).
//
// connect() returns at once. The proxy then reaches the stub's socket, launching the stub
// application when it is registered but not running (ipc_launcher.hh), opens the main and the
// callback stream, each with a hello, and waits for the stub's answer on both. Outcomes, all
// delivered on the main context of the thread that created the proxy:
//   - both streams accepted: connected event (with the main port);
//   - the stub application closes a stream before it answers (it was ending while the proxy
//     reached it): the proxy goes through the launcher again, a few times, before it gives up;
//   - the application is not registered, cannot be started, never listens, refuses this caller,
//     dies or does not answer within velmora_host_rpc_timeout_ms(): rejected event;
//   - a connected link that ends (end of stream or failure on either port, a read that timed out):
//     disconnected event, once.
// After a rejected or disconnected event the proxy may connect again.
//
// Destroying the proxy, also from inside one of its own event callbacks, closes everything at
// once; no event is delivered afterwards.
//
// A proxy and its ports belong to the thread that created it: calls on them (connect, sends,
// blocking reads, destroy) are made from that thread, whose main context runs their events.
// Nothing here is locked.
#include <unistd.h>

#include <new>
#include <string>

#include "ipc_launcher.hh"
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

enum class State {
  kIdle,       // not connected; connect() allowed
  kLaunching,  // waiting for the stub application to listen
  kHandshake,  // streams open, waiting for the stub's answers
  kConnected,  // connected event delivered (or about to be)
  kEnding,     // rejected or disconnected event scheduled
};

enum class Event { kRejected, kDisconnected };

// Attempts at a stub that closes before it answers, and the first pause between them.
constexpr int kMaxAttempts = 4;
constexpr guint kRetryPauseMs = 20;

}  // namespace

struct rpc_port_proxy_s : LinkOwner {
  int refs = 1;
  bool destroyed = false;
  GMainContext *ctx = nullptr;

  rpc_port_proxy_connected_event_cb connected_cb = nullptr;
  void *connected_data = nullptr;
  rpc_port_proxy_disconnected_event_cb disconnected_cb = nullptr;
  void *disconnected_data = nullptr;
  rpc_port_proxy_rejected_event_cb rejected_cb = nullptr;
  void *rejected_data = nullptr;
  rpc_port_proxy_received_event_cb received_cb = nullptr;
  void *received_data = nullptr;

  State state = State::kIdle;
  std::string appid;
  std::string port_name;
  LaunchWait *launch = nullptr;
  Link *link = nullptr;
  bool main_accepted = false;
  bool callback_accepted = false;
  bool no_retry = false;  // the stub refused or did not answer in time
  int attempts = 0;
  Link *stale = nullptr;  // the link of a failed attempt, released before the next one
  GSource *retry_timer = nullptr;
  GSource *handshake_timer = nullptr;
  GSource *pending = nullptr;
  Event pending_event = Event::kRejected;

  void ref() { ++refs; }
  void unref() {
    if (--refs == 0) delete this;
  }

  ~rpc_port_proxy_s() override {
    if (ctx) g_main_context_unref(ctx);
  }

  void on_frames(Link *l, rpc_port_s *port) override;
  void on_closed(Link *l) override;

  void begin_launch();
  void retry_or_reject();
  void release_stale();
  void start_handshake(int main_fd);
  bool take_answer(rpc_port_s *port, bool *accepted);
  void deliver_received(Link *l);
  void schedule(Event event);
  void stop_timer();
  static gboolean deliver_pending(gpointer data);
  static gboolean handshake_expired(gpointer data);
  static gboolean retry_now(gpointer data);
};

void rpc_port_proxy_s::stop_timer() { drop_source(&handshake_timer); }

void rpc_port_proxy_s::release_stale() {
  if (!stale) return;
  stale->detach();
  stale->unref();
  stale = nullptr;
}

void rpc_port_proxy_s::begin_launch() {
  state = State::kLaunching;
  int fd = -1;
  LaunchWait *wait = nullptr;
  LaunchStart start = launch_connect(
      appid, rpc_socket_name(port_name), ctx,
      [this](int connected_fd) {
        launch = nullptr;
        if (connected_fd < 0)
          schedule(Event::kRejected);
        else
          start_handshake(connected_fd);
      },
      &fd, &wait);
  switch (start) {
    case LaunchStart::kConnected:
      start_handshake(fd);
      break;
    case LaunchStart::kPending:
      launch = wait;
      break;
    case LaunchStart::kNotFound:
      IPC_LOGE("%s is not registered", appid.c_str());
      schedule(Event::kRejected);
      break;
    case LaunchStart::kFailed:
    case LaunchStart::kRefused:
      schedule(Event::kRejected);
      break;
  }
}

gboolean rpc_port_proxy_s::retry_now(gpointer data) {
  auto *p = static_cast<rpc_port_proxy_s *>(data);
  g_source_unref(p->retry_timer);
  p->retry_timer = nullptr;
  p->release_stale();
  p->begin_launch();
  return G_SOURCE_REMOVE;
}

// The handshake failed without a refusal: try again after a pause, or give up.
void rpc_port_proxy_s::retry_or_reject() {
  if (no_retry || attempts + 1 >= kMaxAttempts) {
    schedule(Event::kRejected);
    return;
  }
  stop_timer();
  if (link) {
    release_stale();
    stale = link;  // may be inside its own close(): released from the retry timer
    link = nullptr;
  }
  state = State::kLaunching;
  retry_timer = g_timeout_source_new(kRetryPauseMs << attempts);
  ++attempts;
  g_source_set_callback(retry_timer, retry_now, this, nullptr);
  g_source_attach(retry_timer, ctx);
}

void rpc_port_proxy_s::schedule(Event event) {
  state = State::kEnding;
  stop_timer();
  drop_source(&pending);
  pending_event = event;
  pending = g_idle_source_new();
  g_source_set_callback(pending, deliver_pending, this, nullptr);
  g_source_attach(pending, ctx);
}

gboolean rpc_port_proxy_s::deliver_pending(gpointer data) {
  auto *p = static_cast<rpc_port_proxy_s *>(data);
  p->ref();
  g_source_unref(p->pending);
  p->pending = nullptr;
  // The ports stay valid through the callback; the link goes after it. The proxy is idle again
  // before the callback, so that the callback may connect anew.
  Link *old = p->link;
  p->link = nullptr;
  p->state = State::kIdle;
  if (p->pending_event == Event::kRejected) {
    IPC_LOGW("connection to %s/%s rejected", p->appid.c_str(), p->port_name.c_str());
    if (p->rejected_cb) p->rejected_cb(p->appid.c_str(), p->port_name.c_str(), p->rejected_data);
  } else if (p->disconnected_cb) {
    p->disconnected_cb(p->appid.c_str(), p->port_name.c_str(), p->disconnected_data);
  }
  if (old) {
    old->detach();
    old->unref();
  }
  if (!p->destroyed && p->state != State::kHandshake) p->release_stale();
  p->unref();
  return G_SOURCE_REMOVE;
}

gboolean rpc_port_proxy_s::handshake_expired(gpointer data) {
  auto *p = static_cast<rpc_port_proxy_s *>(data);
  IPC_LOGE("%s/%s did not answer within %d ms", p->appid.c_str(), p->port_name.c_str(),
           velmora_host_rpc_timeout_ms());
  g_source_unref(p->handshake_timer);
  p->handshake_timer = nullptr;
  p->no_retry = true;
  if (p->link) p->link->close();  // -> on_closed -> rejected
  return G_SOURCE_REMOVE;
}

void rpc_port_proxy_s::start_handshake(int main_fd) {
  const std::string path = app_socket_path(appid, rpc_socket_name(port_name));
  int callback_fd = connect_unix(path);
  if (callback_fd < 0) {
    ::close(main_fd);
    retry_or_reject();
    return;
  }
  state = State::kHandshake;
  main_accepted = callback_accepted = false;
  link = new Link(ctx, main_fd, callback_fd, true, this);
  gchar *uuid = g_uuid_string_random();
  Hello hello;
  hello.caller = own_app_id();
  hello.target = port_name;
  hello.connection_id = uuid;
  g_free(uuid);
  const int timeout = velmora_host_rpc_timeout_ms();
  hello.kind = StreamKind::kRpcMain;
  Bytes main_hello = encode_hello(hello);
  hello.kind = StreamKind::kRpcCallback;
  Bytes callback_hello = encode_hello(hello);
  if (send_frame(link->main.fd, main_hello.data(), main_hello.size(), timeout) != IoStatus::kOk ||
      send_frame(link->callback.fd, callback_hello.data(), callback_hello.size(), timeout) !=
          IoStatus::kOk) {
    link->close();  // -> on_closed -> retry or rejected
    return;
  }
  handshake_timer = g_timeout_source_new((guint)timeout);
  g_source_set_callback(handshake_timer, handshake_expired, this, nullptr);
  g_source_attach(handshake_timer, ctx);
  link->start();
}

// Reads the stub's answer, the first frame of a stream. False when the link was closed.
bool rpc_port_proxy_s::take_answer(rpc_port_s *port, bool *accepted) {
  if (*accepted || port->frames.empty()) return true;
  Bytes frame = std::move(port->frames.front());
  port->frames.pop_front();
  int32_t code = -1;
  if (!decode_answer(frame, &code)) {
    IPC_LOGE("%s/%s sent no valid answer", appid.c_str(), port_name.c_str());
    no_retry = true;
    link->close();
    return false;
  }
  if (code != 0) {
    IPC_LOGE("%s/%s refused the connection (%d)", appid.c_str(), port_name.c_str(), (int)code);
    no_retry = true;
    link->close();
    return false;
  }
  *accepted = true;
  return true;
}

void rpc_port_proxy_s::on_frames(Link *l, rpc_port_s *port) {
  if (destroyed || l != link) return;
  if (state == State::kHandshake) {
    if (!take_answer(port, port == &l->main ? &main_accepted : &callback_accepted)) return;
    if (!main_accepted || !callback_accepted) return;
    stop_timer();
    state = State::kConnected;
    ref();
    if (connected_cb) connected_cb(appid.c_str(), port_name.c_str(), &l->main, connected_data);
    // Callbacks the stub pushed right after its answer follow the connected event.
    if (!destroyed && link == l) deliver_received(l);
    unref();
    return;
  }
  if (state == State::kConnected && port == &l->callback) deliver_received(l);
  // Frames on the main port wait for the blocking read of a method call.
}

// One received event per frame on the callback port. A frame the callback does not read is
// dropped, so that the next event announces the next frame.
void rpc_port_proxy_s::deliver_received(Link *l) {
  ref();
  rpc_port_s *port = &l->callback;
  while (!destroyed && link == l && state == State::kConnected && !port->frames.empty()) {
    const uint64_t taken = port->taken;
    if (received_cb) received_cb(appid.c_str(), port_name.c_str(), received_data);
    if (port->taken == taken && !port->frames.empty()) {
      port->frames.pop_front();
      ++port->taken;
    }
  }
  unref();
}

void rpc_port_proxy_s::on_closed(Link *l) {
  if (destroyed || l != link) return;
  if (state == State::kHandshake)
    retry_or_reject();
  else if (state == State::kConnected)
    schedule(Event::kDisconnected);
}

extern "C" {

int rpc_port_proxy_create(rpc_port_proxy_h *h) {
  if (!h) return RPC_PORT_ERROR_INVALID_PARAMETER;
  auto *p = new (std::nothrow) rpc_port_proxy_s;
  if (!p) return RPC_PORT_ERROR_OUT_OF_MEMORY;
  p->ctx = g_main_context_ref_thread_default();
  *h = p;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_proxy_destroy(rpc_port_proxy_h h) {
  if (!h || h->destroyed) return RPC_PORT_ERROR_INVALID_PARAMETER;
  h->destroyed = true;
  launch_cancel(h->launch);
  h->launch = nullptr;
  drop_source(&h->handshake_timer);
  drop_source(&h->retry_timer);
  drop_source(&h->pending);
  h->release_stale();
  if (h->link) {
    h->link->detach();
    h->link->close();
    h->link->unref();
    h->link = nullptr;
  }
  h->unref();
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_proxy_connect(rpc_port_proxy_h h, const char *appid, const char *port_name) {
  if (!h || !appid || !port_name || h->destroyed || h->state != State::kIdle)
    return RPC_PORT_ERROR_INVALID_PARAMETER;
  if (!vhost::registry_valid_id(appid) || !vhost::registry_valid_id(port_name))
    return RPC_PORT_ERROR_INVALID_PARAMETER;
  h->appid = appid;
  h->port_name = port_name;
  h->attempts = 0;
  h->no_retry = false;
  h->begin_launch();
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_proxy_add_connected_event_cb(rpc_port_proxy_h h, rpc_port_proxy_connected_event_cb cb,
                                          void *user_data) {
  if (!h || !cb) return RPC_PORT_ERROR_INVALID_PARAMETER;
  h->connected_cb = cb;
  h->connected_data = user_data;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_proxy_add_disconnected_event_cb(rpc_port_proxy_h h,
                                             rpc_port_proxy_disconnected_event_cb cb,
                                             void *user_data) {
  if (!h || !cb) return RPC_PORT_ERROR_INVALID_PARAMETER;
  h->disconnected_cb = cb;
  h->disconnected_data = user_data;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_proxy_add_rejected_event_cb(rpc_port_proxy_h h, rpc_port_proxy_rejected_event_cb cb,
                                         void *user_data) {
  if (!h || !cb) return RPC_PORT_ERROR_INVALID_PARAMETER;
  h->rejected_cb = cb;
  h->rejected_data = user_data;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_proxy_add_received_event_cb(rpc_port_proxy_h h, rpc_port_proxy_received_event_cb cb,
                                         void *user_data) {
  if (!h || !cb) return RPC_PORT_ERROR_INVALID_PARAMETER;
  h->received_cb = cb;
  h->received_data = user_data;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_proxy_get_port(rpc_port_proxy_h h, rpc_port_port_type_e type, rpc_port_h *port) {
  if (!h || !port || (type != RPC_PORT_PORT_MAIN && type != RPC_PORT_PORT_CALLBACK))
    return RPC_PORT_ERROR_INVALID_PARAMETER;
  // Connected, or disconnected with the event not delivered yet (the ports are still valid).
  if (!h->link || !h->main_accepted || !h->callback_accepted) return RPC_PORT_ERROR_IO_ERROR;
  *port = type == RPC_PORT_PORT_MAIN ? &h->link->main : &h->link->callback;
  return RPC_PORT_ERROR_NONE;
}

}  // extern "C"
