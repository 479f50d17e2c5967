// Velmora host platform: receiving launch requests (the callee side) and replying to them.
//
// velmora_host_app_control_serve listens on "run/<own app id>/appcontrol.sock". A sender's stream
// must bring its hello and its request within velmora_host_rpc_timeout_ms(), else it is dropped;
// malformed ones are dropped without an answer. A peer of another user is refused with
// APP_CONTROL_ERROR_PERMISSION_DENIED, every request while refusing (see
// velmora_host_app_control_set_refusing) with APP_CONTROL_ERROR_LAUNCH_REJECTED; the callback does
// not see refused requests. An accepted request reaches the callback on the main context of the
// thread that started serving; app_control_get_caller gives the caller id of its hello.
#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <new>
#include <vector>

#include "app_control.h"
#include "ipc_app_control.hh"
#include "ipc_log.hh"
#include "ipc_socket.hh"
#include "ipc_watch.hh"
#include "ipc_wire.hh"
#include "registry.hh"
#include "velmora_host.h"

using namespace vhost::ipc;

namespace {

constexpr size_t kMaxIncoming = 128;

struct Incoming {
  int fd = -1;
  pid_t pid = 0;
  uid_t uid = 0;
  FrameReader reader{kMaxFrame, kMaxHello};
  std::deque<Bytes> frames;
  GSource *watch = nullptr;
  GSource *timer = nullptr;
};

struct Serving {
  GMainContext *ctx = nullptr;
  velmora_host_launch_request_cb callback = nullptr;
  void *user_data = nullptr;
  Listener listener;
  GSource *listen_watch = nullptr;
  std::vector<Incoming *> incoming;
};

Serving *g_serving = nullptr;
std::atomic<bool> g_refusing{false};

void drop_source(GSource **src) {
  if (*src) {
    g_source_destroy(*src);
    g_source_unref(*src);
    *src = nullptr;
  }
}

void forget(Incoming *in, bool keep_fd) {
  auto &list = g_serving->incoming;
  list.erase(std::remove(list.begin(), list.end(), in), list.end());
  drop_source(&in->watch);
  drop_source(&in->timer);
  if (!keep_fd && in->fd >= 0) close(in->fd);
  delete in;
}

void refuse(Incoming *in, int32_t code, const char *why, const std::string &caller) {
  IPC_LOGW("launch request from '%s' (pid %d) refused: %s", caller.c_str(), (int)in->pid, why);
  Bytes answer = encode_answer(code);
  send_frame(in->fd, answer.data(), answer.size(), velmora_host_rpc_timeout_ms());
  forget(in, false);
}

// Hello and request are in: answer, and hand the request to the callback.
void deliver(Incoming *in) {
  Hello hello;
  auto request = std::make_unique<app_control_s>();
  WireReader r{in->frames[1]};
  if (!decode_hello(in->frames[0], &hello) || hello.kind != StreamKind::kAppControl ||
      !decode_control(&r, request.get()) || !r.at_end()) {
    IPC_LOGW("dropping a malformed launch request (pid %d)", (int)in->pid);
    forget(in, false);
    return;
  }
  if (in->uid != geteuid())
    return refuse(in, APP_CONTROL_ERROR_PERMISSION_DENIED, "peer of another user", hello.caller);
  if (g_refusing.load())
    return refuse(in, APP_CONTROL_ERROR_LAUNCH_REJECTED, "refusing requests", hello.caller);
  Bytes answer = encode_answer(0);
  if (send_frame(in->fd, answer.data(), answer.size(), velmora_host_rpc_timeout_ms()) !=
      IoStatus::kOk) {
    forget(in, false);
    return;
  }
  auto channel = std::make_shared<ReplyChannel>();
  channel->fd = in->fd;
  forget(in, true);
  request->received = true;
  request->caller = hello.caller;
  request->channel = std::move(channel);
  // The request is lent to the callback; a clone it keeps shares the reply channel.
  g_serving->callback(request.get(), g_serving->user_data);
}

gboolean incoming_readable(gint, GIOCondition, gpointer data) {
  auto *in = static_cast<Incoming *>(data);
  IoStatus status = read_available(in->fd, &in->reader, &in->frames, 256 * 1024);
  if (in->frames.size() >= 2) {
    deliver(in);  // frees `in`
    return G_SOURCE_REMOVE;
  }
  if (status != IoStatus::kOk) {
    forget(in, false);
    return G_SOURCE_REMOVE;
  }
  return G_SOURCE_CONTINUE;
}

gboolean incoming_expired(gpointer data) {
  auto *in = static_cast<Incoming *>(data);
  g_source_unref(in->timer);
  in->timer = nullptr;
  IPC_LOGW("dropping a launch request stream that sent no request (pid %d)", (int)in->pid);
  forget(in, false);
  return G_SOURCE_REMOVE;
}

gboolean on_accept(gint fd, GIOCondition, gpointer) {
  for (;;) {
    int c = accept4(fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (c < 0) {
      if (errno == EINTR) continue;
      break;
    }
    auto *in = new Incoming;
    in->fd = c;
    if (g_serving->incoming.size() >= kMaxIncoming || !peer_credentials(c, &in->pid, &in->uid)) {
      close(c);
      delete in;
      continue;
    }
    g_serving->incoming.push_back(in);
    in->watch = fd_watch(c, incoming_readable, in, g_serving->ctx);
    in->timer = g_timeout_source_new((guint)velmora_host_rpc_timeout_ms());
    g_source_set_callback(in->timer, incoming_expired, in, nullptr);
    g_source_attach(in->timer, g_serving->ctx);
  }
  return G_SOURCE_CONTINUE;
}

}  // namespace

extern "C" {

int velmora_host_app_control_serve(velmora_host_launch_request_cb callback, void *user_data) {
  if (!callback || g_serving) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  const std::string app_id = own_app_id();
  if (app_id.empty() || !vhost::registry_valid_id(app_id)) {
    IPC_LOGE("only an application serves launch requests (VELMORA_APP_ID is not set)");
    return APP_CONTROL_ERROR_INVALID_PARAMETER;
  }
  auto *serving = new (std::nothrow) Serving;
  if (!serving) return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  std::string error;
  if (!listen_unix(app_socket_path(app_id, kAppControlSocket), &serving->listener, &error)) {
    IPC_LOGE("%s", error.c_str());
    delete serving;
    return APP_CONTROL_ERROR_IO_ERROR;
  }
  serving->ctx = g_main_context_ref_thread_default();
  serving->callback = callback;
  serving->user_data = user_data;
  serving->listen_watch = fd_watch(serving->listener.fd, on_accept, nullptr, serving->ctx);
  g_serving = serving;
  return APP_CONTROL_ERROR_NONE;
}

void velmora_host_app_control_stop(void) {
  if (!g_serving) return;
  drop_source(&g_serving->listen_watch);
  close_listener(&g_serving->listener);
  while (!g_serving->incoming.empty()) forget(g_serving->incoming.back(), false);
  g_main_context_unref(g_serving->ctx);
  delete g_serving;
  g_serving = nullptr;
}

void velmora_host_app_control_set_refusing(bool refusing) { g_refusing.store(refusing); }

int app_control_reply_to_launch_request(app_control_h reply, app_control_h request,
                                        app_control_result_e result) {
  if (!reply || !request || !request->channel) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  ReplyChannel *channel = request->channel.get();
  if (channel->replied) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  channel->replied = true;
  if (channel->fd < 0) return APP_CONTROL_ERROR_IO_ERROR;
  Bytes body;
  int ret = APP_CONTROL_ERROR_NONE;
  try {
    put_u32(&body, (uint32_t)(int32_t)result);
    encode_control(*reply, &body);
  } catch (const std::bad_alloc &) {
    ret = APP_CONTROL_ERROR_OUT_OF_MEMORY;
  }
  if (ret == APP_CONTROL_ERROR_NONE) {
    IoStatus status =
        send_frame(channel->fd, body.data(), body.size(), velmora_host_rpc_timeout_ms());
    if (status == IoStatus::kTooBig)
      ret = APP_CONTROL_ERROR_INVALID_PARAMETER;
    else if (status != IoStatus::kOk)
      ret = APP_CONTROL_ERROR_IO_ERROR;
  }
  // One reply per request: the stream ends here, whatever happened (the sender then sees the
  // reply, or the end of the stream and a failed request).
  close(channel->fd);
  channel->fd = -1;
  return ret;
}

}  // extern "C"
