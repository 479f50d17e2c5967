// Velmora host platform: sending launch requests and receiving their replies.
//
// app_control_send_launch_request decides synchronously what it can:
//   - no target app id, or a target that is not registered: APP_CONTROL_ERROR_APP_NOT_FOUND;
//   - a platform root that cannot be trusted (host_root.hh): APP_CONTROL_ERROR_PERMISSION_DENIED;
//   - a target that is not running and whose executable cannot be started:
//     APP_CONTROL_ERROR_LAUNCH_FAILED;
//   - a running target: the request is handed over at once and the callee's answer awaited
//     (poll, at most velmora_host_rpc_timeout_ms()): a refusal gives its error
//     (APP_CONTROL_ERROR_LAUNCH_REJECTED, or APP_CONTROL_ERROR_PERMISSION_DENIED for a peer of
//     another user), no answer APP_CONTROL_ERROR_TIMED_OUT, a callee that closes without an
//     answer APP_CONTROL_ERROR_LAUNCH_FAILED.
// A target that is starting is waited for on the main loop; if it dies or never listens, or
// refuses the request then, the reply callback runs with APP_CONTROL_RESULT_FAILED. A target that
// closes the stream before it answers was most likely ending while the request reached it: the
// request then goes through the launcher again (a few times, on the main loop) before it fails.
//
// The reply callback runs once, on the main context of the sending thread, with a copy of the sent
// app control, the reply (lent) and the callee's result; with reply NULL and
// APP_CONTROL_RESULT_FAILED when the callee closes, dies, or drops the request without replying.
// A callee that is alive and keeps the request without replying keeps the request waiting: there
// is no time-out on replies (the agent may legitimately wait for a user) and no cancellation.
//
// The answer to a request for a running target is awaited without running the main loop, so a
// thread that serves launch requests must not send one to its own application: it would wait for
// the answer until velmora_host_rpc_timeout_ms() passes (APP_CONTROL_ERROR_TIMED_OUT).
#include <glib-unix.h>
#include <unistd.h>

#include <memory>
#include <new>

#include "app_control.h"
#include "ipc_app_control.hh"
#include "ipc_launcher.hh"
#include "ipc_log.hh"
#include "ipc_socket.hh"
#include "ipc_wire.hh"
#include "registry.hh"
#include "velmora_host.h"

using namespace vhost::ipc;

namespace {

// The answer frame's size, the largest first frame a callee may send.
constexpr size_t kMaxAnswer = 64;
// Attempts at a target that closes before it answers, and the first pause between them.
constexpr int kMaxAttempts = 4;
constexpr guint kRetryPauseMs = 20;

void drop_source(GSource **src) {
  if (*src) {
    g_source_destroy(*src);
    g_source_unref(*src);
    *src = nullptr;
  }
}

struct Sender {
  GMainContext *ctx = nullptr;
  app_control_h request = nullptr;  // a copy of the sent app control, for the reply callback
  app_control_reply_cb callback = nullptr;
  void *user_data = nullptr;
  Bytes hello;
  Bytes body;
  int fd = -1;
  FrameReader reader{kMaxFrame, kMaxAnswer};
  std::deque<Bytes> frames;
  bool answered = false;
  IoStatus ended = IoStatus::kOk;  // how the stream ended while the answer was read
  int attempts = 1;
  GSource *watch = nullptr;
  GSource *idle = nullptr;
  GSource *retry = nullptr;

  ~Sender() {
    drop_source(&watch);
    drop_source(&idle);
    drop_source(&retry);
    if (fd >= 0) close(fd);
    delete request;
    if (ctx) g_main_context_unref(ctx);
  }
};

// Runs the reply callback (once: the sender is freed with it).
void finish(Sender *s, app_control_h reply, app_control_result_e result) {
  drop_source(&s->watch);
  drop_source(&s->idle);
  drop_source(&s->retry);
  if (s->fd >= 0) {
    close(s->fd);
    s->fd = -1;
  }
  if (s->callback) s->callback(s->request, reply, result, s->user_data);
  delete s;
}

bool hand_over(Sender *s) {
  const int timeout = velmora_host_rpc_timeout_ms();
  return send_frame(s->fd, s->hello.data(), s->hello.size(), timeout) == IoStatus::kOk &&
         send_frame(s->fd, s->body.data(), s->body.size(), timeout) == IoStatus::kOk;
}

// The callee's answer: 0 accepted, else the error of its refusal. False when it is no answer.
bool take_answer(Sender *s, int32_t *code) {
  Bytes frame = std::move(s->frames.front());
  s->frames.pop_front();
  if (!decode_answer(frame, code)) return false;
  if (*code != 0 && *code != APP_CONTROL_ERROR_PERMISSION_DENIED)
    *code = APP_CONTROL_ERROR_LAUNCH_REJECTED;
  s->answered = true;
  return true;
}

bool try_again(Sender *s);

// Handles the frames that arrived and then the state of the stream. False when `s` is gone.
bool pump(Sender *s, IoStatus status) {
  while (!s->frames.empty()) {
    if (!s->answered) {
      int32_t code = 0;
      const bool ok = take_answer(s, &code);
      if (!ok || code != 0) {
        if (ok)
          IPC_LOGW("launch request to %s refused (%d)", s->request->app_id.c_str(), (int)code);
        finish(s, nullptr, APP_CONTROL_RESULT_FAILED);
        return false;
      }
      if (!s->callback) {  // nobody waits for a reply
        delete s;
        return false;
      }
      continue;
    }
    Bytes frame = std::move(s->frames.front());
    s->frames.pop_front();
    WireReader r{frame};
    uint32_t result;
    auto *reply = new app_control_s;
    if (r.get_u32(&result) && decode_control(&r, reply) && r.at_end()) {
      finish(s, reply, (app_control_result_e)(int32_t)result);
    } else {
      IPC_LOGE("malformed reply from %s", s->request->app_id.c_str());
      finish(s, nullptr, APP_CONTROL_RESULT_FAILED);
    }
    delete reply;
    return false;
  }
  if (status != IoStatus::kOk) {
    if (!s->answered && status != IoStatus::kTooBig && try_again(s)) return false;
    finish(s, nullptr, APP_CONTROL_RESULT_FAILED);
    return false;
  }
  return true;
}

gboolean on_readable(gint, GIOCondition, gpointer data) {
  auto *s = static_cast<Sender *>(data);
  IoStatus status = read_available(s->fd, &s->reader, &s->frames, 256 * 1024);
  return pump(s, status) ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

gboolean on_idle(gpointer data) {
  auto *s = static_cast<Sender *>(data);
  g_source_unref(s->idle);
  s->idle = nullptr;
  pump(s, s->ended);
  return G_SOURCE_REMOVE;
}

void watch(Sender *s) {
  if (s->ended == IoStatus::kOk) {
    s->watch = g_unix_fd_source_new(s->fd, (GIOCondition)(G_IO_IN | G_IO_HUP | G_IO_ERR));
    g_source_set_callback(s->watch,
                          reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(on_readable)),
                          s, nullptr);
    g_source_attach(s->watch, s->ctx);
  }
  if (!s->frames.empty() || s->ended != IoStatus::kOk) {  // more came with the answer
    s->idle = g_idle_source_new();
    g_source_set_callback(s->idle, on_idle, s, nullptr);
    g_source_attach(s->idle, s->ctx);
  }
}

void launch(Sender *s);

gboolean on_retry(gpointer data) {
  auto *s = static_cast<Sender *>(data);
  g_source_unref(s->retry);
  s->retry = nullptr;
  launch(s);
  return G_SOURCE_REMOVE;
}

// The target closed before it answered: go through the launcher again after a pause. False when
// the attempts are used up. The stream is given up here; the caller returns without touching it.
bool try_again(Sender *s) {
  if (s->attempts >= kMaxAttempts) return false;
  drop_source(&s->watch);
  drop_source(&s->idle);
  if (s->fd >= 0) close(s->fd);
  s->fd = -1;
  s->reader = FrameReader(kMaxFrame, kMaxAnswer);
  s->frames.clear();
  s->ended = IoStatus::kOk;
  s->retry = g_timeout_source_new(kRetryPauseMs << (s->attempts - 1));
  ++s->attempts;
  g_source_set_callback(s->retry, on_retry, s, nullptr);
  g_source_attach(s->retry, s->ctx);
  return true;
}

// The target started and listens (fd), or it could not be reached (-1).
void launched(Sender *s, int fd) {
  s->fd = fd;
  if (fd < 0 || (!hand_over(s) && !try_again(s))) {
    finish(s, nullptr, APP_CONTROL_RESULT_FAILED);
    return;
  }
  if (s->fd >= 0) watch(s);  // else a retry is scheduled
}

// Reaches the target again from the main loop (a retry).
void launch(Sender *s) {
  int fd = -1;
  LaunchWait *wait = nullptr;
  switch (launch_connect(
      s->request->app_id, kAppControlSocket, s->ctx,
      [s](int connected_fd) { launched(s, connected_fd); }, &fd, &wait)) {
    case LaunchStart::kNotFound:
    case LaunchStart::kFailed:
    case LaunchStart::kRefused:
      finish(s, nullptr, APP_CONTROL_RESULT_FAILED);
      break;
    case LaunchStart::kPending:
      break;  // the launch wait owns the sender until it calls back
    case LaunchStart::kConnected:
      launched(s, fd);
      break;
  }
}

// Hands the request to a running target and waits for its answer.
int send_now(std::unique_ptr<Sender> s, int fd) {
  s->fd = fd;
  const bool handed = hand_over(s.get());
  IoStatus status =
      handed ? read_frame_blocking(s->fd, &s->reader, &s->frames, velmora_host_rpc_timeout_ms())
             : IoStatus::kEof;
  if (status == IoStatus::kTimedOut) return APP_CONTROL_ERROR_TIMED_OUT;
  if (s->frames.empty() && (status == IoStatus::kEof || status == IoStatus::kError)) {
    // Closed before it answered: an ending instance, most likely. Retry from the main loop.
    try_again(s.release());
    return APP_CONTROL_ERROR_NONE;
  }
  // The stream may have ended or failed right behind a complete answer: the answer counts, the
  // end is reported through the callback.
  int32_t code;
  if (s->frames.empty() || !take_answer(s.get(), &code)) return APP_CONTROL_ERROR_LAUNCH_FAILED;
  if (code != 0) return code;
  s->ended = status;
  if (s->callback) watch(s.release());
  return APP_CONTROL_ERROR_NONE;
}

}  // namespace

extern "C" int app_control_send_launch_request(app_control_h app_control,
                                               app_control_reply_cb callback, void *user_data) {
  if (!app_control) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  if (!app_control->has_app_id || !vhost::registry_valid_id(app_control->app_id))
    return APP_CONTROL_ERROR_APP_NOT_FOUND;
  auto s = std::unique_ptr<Sender>(new (std::nothrow) Sender);
  if (!s) return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  try {
    s->request = new app_control_s;
    s->request->has_app_id = app_control->has_app_id;
    s->request->app_id = app_control->app_id;
    s->request->has_operation = app_control->has_operation;
    s->request->operation = app_control->operation;
    s->request->extras = app_control->extras;
    Hello hello;
    hello.kind = StreamKind::kAppControl;
    hello.caller = own_app_id();
    s->hello = encode_hello(hello);
    encode_control(*app_control, &s->body);
  } catch (const std::bad_alloc &) {
    return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  }
  if (s->body.size() > kMaxFrame) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  s->ctx = g_main_context_ref_thread_default();
  s->callback = callback;
  s->user_data = user_data;

  int fd = -1;
  LaunchWait *wait = nullptr;
  Sender *raw = s.get();
  switch (launch_connect(
      app_control->app_id, kAppControlSocket, s->ctx,
      [raw](int connected_fd) { launched(raw, connected_fd); }, &fd, &wait)) {
    case LaunchStart::kNotFound:
      return APP_CONTROL_ERROR_APP_NOT_FOUND;
    case LaunchStart::kFailed:
      return APP_CONTROL_ERROR_LAUNCH_FAILED;
    case LaunchStart::kRefused:
      return APP_CONTROL_ERROR_PERMISSION_DENIED;
    case LaunchStart::kPending:
      s.release();  // owned by the launch wait's callback from here on
      return APP_CONTROL_ERROR_NONE;
    case LaunchStart::kConnected:
      break;
  }
  return send_now(std::move(s), fd);
}
