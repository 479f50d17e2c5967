// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: receiving launch requests (the callee side) and replying to them.
//
// velmora_host_app_control_serve listens on "run/<own app id>/appcontrol.sock" and accepts
// through ipc_accept.hh (caps per peer process, the hello deadline, the pause when descriptors run
// out). A sender's stream must bring its hello within the hello time-out and its request within
// the frame time-out after that; malformed ones are dropped without an answer. A peer of another
// user is refused with APP_CONTROL_ERROR_PERMISSION_DENIED, every request while refusing with
// APP_CONTROL_ERROR_LAUNCH_REJECTED; the callback does not see refused requests. While refusing,
// the file "run/<app id>/appcontrol.refusing" tells senders so before they send anything.
//
// An accepted request reaches the callback on the main context of the thread that started
// serving; app_control_get_caller gives the caller id of its hello. The accept answer is folded
// into the reply: a callback that replies at once sends the answer and the reply in one write;
// otherwise the answer leaves as soon as the callback returns. Nothing here waits for a sender: a
// reply its socket cannot take at once is written from the main loop, and given up when it is not
// written within the frame time-out; the stream then closes. A stream whose reply went out at once
// waits for the sender's next request (a new hello and request) as a newly accepted stream would,
// and closes at the hello time-out: a sender asking again soon reuses it. Streams still waiting
// for a request when serving stops are answered "send again", so that their senders reach the
// next instance.
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <new>
#include <utility>

#include "app_control.h"
#include "host_root.hh"
#include "ipc_accept.hh"
#include "ipc_app_control.hh"
#include "ipc_launcher.hh"
#include "ipc_log.hh"
#include "ipc_outbox.hh"
#include "ipc_socket.hh"
#include "ipc_timeouts.hh"
#include "ipc_watch.hh"
#include "ipc_wire.hh"
#include "registry.hh"
#include "velmora_host.h"

using namespace vhost::ipc;

namespace {

// What a pending stream may hold: its hello and one request.
constexpr size_t kPendingBudget = kMaxHello + kMaxFrame + 2 * kFrameHeader;

struct Serving : AcceptorOwner {
  unsigned id = 0;  // tells this serving from an earlier one of the process
  GMainContext *ctx = nullptr;
  velmora_host_launch_request_cb callback = nullptr;
  void *user_data = nullptr;
  std::string app_id;
  uid_t euid = 0;  // the user whose senders are served, taken once when serving starts
  Listener listener;
  std::shared_ptr<Acceptor> acceptor;

  void on_pending_frames(Pending *p) override;
  void deliver(Pending *p);
};

Serving *g_serving = nullptr;
unsigned g_servings = 0;
std::atomic<bool> g_refusing{false};

// After a reply: the stream waits for the sender's next request, when the serving that took the
// request still serves, on this thread. False when it is to close instead.
bool keep_stream(int fd, ReplyChannel *channel) {
  Serving *s = g_serving;
  if (!s || s->id != channel->serving || g_refusing.load() || !g_main_context_is_owner(s->ctx))
    return false;
  s->acceptor->adopt(fd, channel->pid, channel->uid, std::move(channel->slot),
                     std::exchange(channel->watch, nullptr));
  return true;
}

// Tells senders (or stops telling them) that this application refuses launch requests.
void mark_refusing(const std::string &app_id, bool refusing) {
  const std::string path = app_socket_path(app_id, kRefusingMarker);
  std::string error;
  if (!refusing)
    unlink(path.c_str());
  else if (!vhost::private_write(path, "", 0, &error))
    IPC_LOGW("%s", error.c_str());
}

void refuse(Acceptor *a, Pending *p, int32_t code, const char *why) {
  IPC_LOGW("launch request from '%s' (pid %d) refused: %s", p->hello.caller.c_str(), (int)p->pid,
           why);
  send_small(p->fd, encode_answer(code));
  a->release(p, false);
}

void Serving::on_pending_frames(Pending *p) {
  if (!p->has_hello) {
    Hello hello;
    if (!decode_hello(p->frames.front(), &hello) || hello.kind != StreamKind::kAppControl) {
      IPC_LOGW("dropping a malformed launch request (pid %d)", (int)p->pid);
      acceptor->release(p, false);
      return;
    }
    p->frames.pop_front();
    p->hello = std::move(hello);
    p->has_hello = true;
    acceptor->set_deadline(p, frame_timeout_ms());  // for the request, which may be large
  }
  if (!p->frames.empty()) deliver(p);
}

// Hello and request are in: hand the request to the callback.
void Serving::deliver(Pending *p) {
  Acceptor *a = acceptor.get();
  auto request = std::unique_ptr<app_control_s>(new (std::nothrow) app_control_s);
  std::shared_ptr<ReplyChannel> channel;
  try {
    WireReader r{p->frames.front()};
    if (!request || !decode_control(&r, request.get()) || !r.at_end()) {
      IPC_LOGW("dropping a malformed launch request (pid %d)", (int)p->pid);
      a->release(p, false);
      return;
    }
    if (p->uid != euid)
      return refuse(a, p, APP_CONTROL_ERROR_PERMISSION_DENIED, "peer of another user");
    if (g_refusing.load())
      return refuse(a, p, APP_CONTROL_ERROR_LAUNCH_REJECTED, "refusing requests");
    channel = std::make_shared<ReplyChannel>();
    request->caller = p->hello.caller;
    request->sender_pid = p->pid;
  } catch (const std::bad_alloc &) {
    a->release(p, false);
    return;
  }
  channel->fd = p->fd;
  channel->slot = std::move(p->slot);
  channel->ctx = g_main_context_ref(ctx);
  channel->pid = p->pid;
  channel->uid = p->uid;
  channel->serving = id;
  channel->watch = a->take_over(p);
  request->received = true;
  request->channel = channel;
  // The request is lent to the callback; a clone it keeps shares the reply channel. The callback
  // may stop serving: nothing of `this` is used after it.
  callback(request.get(), user_data);
  if (!channel->replied && !channel->answered && channel->fd >= 0) {
    channel->answered = true;
    if (!send_small(channel->fd, encode_answer(0))) channel->close_stream();
  }
}

// A reply the sender's socket could not take at once: written from the main loop, then the
// stream closes. It frees itself.
class Flusher {
 public:
  static void start(int fd, PeerSlot slot, GMainContext *ctx, std::unique_ptr<Outbox> out) {
    auto *f = new Flusher;
    f->fd_ = fd;
    f->slot_ = std::move(slot);
    f->out_ = std::move(out);
    f->out_->on_drained = [f] { f->end(); };
    f->out_->on_failed = [f](IoStatus) { f->end(); };
    f->timer_ = g_timeout_source_new((guint)frame_timeout_ms());
    g_source_set_callback(f->timer_, expired, f, nullptr);
    g_source_attach(f->timer_, ctx);
  }

 private:
  static gboolean expired(gpointer data) {
    auto *f = static_cast<Flusher *>(data);
    IPC_LOGW("giving up a reply its sender does not read (%zu bytes left)", f->out_->waiting());
    f->end();
    return G_SOURCE_REMOVE;
  }
  void end() {
    g_source_destroy(timer_);
    g_source_unref(timer_);
    out_.reset();
    close(fd_);
    delete this;
  }
  int fd_ = -1;
  PeerSlot slot_;
  std::unique_ptr<Outbox> out_;
  GSource *timer_ = nullptr;
};

}  // namespace

namespace vhost::ipc {

void ReplyChannel::close_stream() {
  drop_source(&watch);
  if (fd >= 0) close(fd);
  fd = -1;
}

ReplyChannel::~ReplyChannel() {
  close_stream();
  if (ctx) g_main_context_unref(ctx);
}

}  // namespace vhost::ipc

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
  // Before listening, so that no sender finds this instance without its refusal.
  mark_refusing(app_id, g_refusing.load());
  if (!listen_unix(app_socket_path(app_id, kAppControlSocket), &serving->listener, &error)) {
    IPC_LOGE("%s", error.c_str());
    delete serving;
    return APP_CONTROL_ERROR_IO_ERROR;
  }
  serving->id = ++g_servings;
  serving->ctx = g_main_context_ref_thread_default();
  serving->callback = callback;
  serving->user_data = user_data;
  serving->app_id = app_id;
  serving->euid = geteuid();
  serving->acceptor = std::make_shared<Acceptor>(serving->ctx, "launch requests of " + app_id,
                                                 kPendingBudget, serving);
  serving->acceptor->start(serving->listener.fd);
  g_serving = serving;
  return APP_CONTROL_ERROR_NONE;
}

void velmora_host_app_control_stop(void) {
  Serving *s = g_serving;
  if (!s) return;
  g_serving = nullptr;
  for (Pending *p : s->acceptor->pending()) send_small(p->fd, encode_answer(kAnswerSendAgain));
  s->acceptor->shutdown();
  s->acceptor.reset();
  close_listener(&s->listener);
  mark_refusing(s->app_id, false);
  g_main_context_unref(s->ctx);
  delete s;
}

void velmora_host_app_control_set_refusing(bool refusing) {
  // The marker follows changes only: serving writes (or removes) it for the state it starts in,
  // so setting the same state again, as a caller may do on every request, touches no file.
  if (g_refusing.exchange(refusing) != refusing && g_serving)
    mark_refusing(g_serving->app_id, refusing);
}

int app_control_reply_to_launch_request(app_control_h reply, app_control_h request,
                                        app_control_result_e result) {
  if (!reply || !request || !request->channel) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  ReplyChannel *channel = request->channel.get();
  if (channel->replied) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  channel->replied = true;
  if (channel->fd < 0) return APP_CONTROL_ERROR_IO_ERROR;
  // One reply per request. The stream goes on to the sender's next request only when the reply
  // went out whole at once; otherwise it ends with it, whatever happens (the sender then sees the
  // reply, or the end of the stream and a failed request).
  Bytes wire;
  try {
    Bytes body;
    put_u32(&body, (uint32_t)(int32_t)result);
    encode_control(*reply, &body);
    if (body.size() > kMaxFrame) {
      channel->close_stream();
      return APP_CONTROL_ERROR_INVALID_PARAMETER;
    }
    if (!channel->answered) append_frame(&wire, encode_answer(0));
    append_frame(&wire, body);
  } catch (const std::bad_alloc &) {
    channel->close_stream();
    return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  }
  channel->answered = true;
  const int fd = channel->fd;
  auto out = std::unique_ptr<Outbox>(new (std::nothrow) Outbox(channel->ctx, fd, wire.size()));
  IoStatus status = out ? out->push_raw(wire) : IoStatus::kError;
  if (status == IoStatus::kOk && out->waiting() > 0) {
    // The stream ends with this reply: the flusher writes the rest and closes it.
    drop_source(&channel->watch);
    channel->fd = -1;
    Flusher::start(fd, std::move(channel->slot), channel->ctx, std::move(out));
    return APP_CONTROL_ERROR_NONE;
  }
  out.reset();
  if (status == IoStatus::kOk && keep_stream(fd, channel))
    channel->fd = -1;  // the acceptor has it, with its watch
  else
    channel->close_stream();
  return status == IoStatus::kOk ? APP_CONTROL_ERROR_NONE : APP_CONTROL_ERROR_IO_ERROR;
}

bool velmora_host_app_control_caller_is_launched(app_control_h app_control) {
  if (!app_control || !app_control->received || app_control->caller.empty() ||
      app_control->sender_pid <= 0 || !vhost::registry_valid_id(app_control->caller))
    return false;
  Instance instance;
  return instance_read(app_control->caller, &instance) && instance.pid == app_control->sender_pid &&
         instance_alive(instance);
}

}  // extern "C"
