// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: sending launch requests and receiving their replies.
//
// app_control_send_launch_request returns at once and never waits for the callee. It decides
// synchronously what it can:
//   - no target app id, or a target that is not registered: APP_CONTROL_ERROR_APP_NOT_FOUND;
//   - a platform root that cannot be trusted (host_root.hh): APP_CONTROL_ERROR_PERMISSION_DENIED;
//   - a target that is not running and whose executable cannot be started:
//     APP_CONTROL_ERROR_LAUNCH_FAILED;
//   - a running target that refuses requests (it says so in its run directory):
//     APP_CONTROL_ERROR_LAUNCH_REJECTED.
// Otherwise the request is handed over from the main loop: connecting is immediate on a Unix
// socket, and the hello and the request are written as far as the socket takes them at once and
// then from a watch. A target that is starting is waited for on the main loop.
//
// The reply callback runs once, on the main context of the sending thread, with a copy of the sent
// app control, the reply (lent) and the callee's result; with reply NULL and
// APP_CONTROL_RESULT_FAILED when the request fails later: the target dies or never listens, refuses
// it, does not take it within velmora_host_rpc_timeout_ms(), closes or dies before it replies, or
// does not reply within the reply time-out (VELMORA_REPLY_TIMEOUT_MS, default 5 minutes: long
// enough for a person in a login view, short enough that no request waits forever on a callee that
// is alive but hung).
//
// A stream that ends before the callee took the request (reset with the request unread, refused
// for writing, or answered "send again" by a callee that stops serving) means an instance that was
// ending: the request goes through the launcher again, a few times, before it fails. A callee that
// read the request and closed without a reply is not sent it again: it may have acted on it.
//
// A stream whose reply came whole is kept (one per callee, root and main context, a few in all)
// for the next request to the same callee: that request skips connecting and the callee's accept.
// A kept stream on which anything arrives (the callee closing it at its hello time-out, or
// answering "send again" as it stops) is closed. A request on a kept stream that the callee closed
// meanwhile finds it reset or refused for writing, and goes through the launcher like any other.
#include <glib-unix.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "app_control.h"
#include "host_root.hh"
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

// The answer frame's size, the largest first frame a callee may send.
constexpr size_t kMaxAnswer = 64;
// Streams kept for a next request, in all.
constexpr size_t kMaxKeptStreams = 8;
// Attempts at a target that ends before it takes the request, and the first pause between them.
constexpr int kMaxAttempts = 4;
constexpr guint kRetryPauseMs = 20;

struct Sender {
  GMainContext *ctx = nullptr;
  app_control_h request = nullptr;  // a copy of the sent app control, for the reply callback
  app_control_reply_cb callback = nullptr;
  void *user_data = nullptr;
  Bytes wire;  // the hello and the request, as frames
  int fd = -1;
  std::unique_ptr<Outbox> out;
  FrameReader reader{kMaxFrame, kMaxAnswer};
  std::deque<Bytes> frames;
  bool answered = false;
  int attempts = 1;
  std::string root;  // the root the target lives in (RootScope: the paired phone's)
  LaunchWait *launching = nullptr;
  GSource *watch = nullptr;
  GSource *retry = nullptr;
  GSource *answer_timer = nullptr;
  GSource *reply_timer = nullptr;

  void close_stream() {
    drop_source(&watch);
    drop_source(&answer_timer);
    out.reset();
    if (fd >= 0) close(fd);
    fd = -1;
  }
  ~Sender() {
    close_stream();
    launch_cancel(launching);
    drop_source(&retry);
    drop_source(&reply_timer);
    delete request;
    if (ctx) g_main_context_unref(ctx);
  }
};

// ---- streams kept for the next request ----

struct KeptStream {
  GMainContext *ctx = nullptr;
  std::string root;
  std::string app_id;
  int fd = -1;
  GSource *watch = nullptr;  // its input watch, handed on to the next sender
};

std::mutex g_kept_mutex;
std::vector<KeptStream *> g_kept;  // oldest first

// Set when a sender's watch went to a kept stream during its own dispatch: it stays attached.
// Each dispatch keeps its own value (a reply callback may run the main loop, and so another
// dispatch, from within).
thread_local bool t_watch_kept = false;

void close_kept(KeptStream *k) {
  drop_source(&k->watch);
  if (k->fd >= 0) close(k->fd);
  g_main_context_unref(k->ctx);
  delete k;
}

// Anything on a kept stream ends it: the callee closed it, or stops serving.
gboolean on_kept_readable(gint, GIOCondition, gpointer data) {
  auto *k = static_cast<KeptStream *>(data);
  {
    std::lock_guard<std::mutex> lock(g_kept_mutex);
    g_kept.erase(std::remove(g_kept.begin(), g_kept.end(), k), g_kept.end());
  }
  g_source_unref(std::exchange(k->watch, nullptr));  // returning REMOVE destroys it
  close_kept(k);
  return G_SOURCE_REMOVE;
}

// Keeps the stream of a sender whose reply came whole, with its watch; one per callee, root and
// context. The sender no longer has it.
void keep_stream(Sender *s) {
  auto *k = new (std::nothrow) KeptStream;
  if (!k) return;
  k->ctx = g_main_context_ref(s->ctx);
  k->root = s->root;
  k->app_id = s->request->app_id;
  k->fd = std::exchange(s->fd, -1);
  k->watch = std::exchange(s->watch, nullptr);
  set_watch_callback(k->watch, on_kept_readable, k);
  t_watch_kept = true;
  std::vector<KeptStream *> dropped;
  {
    std::lock_guard<std::mutex> lock(g_kept_mutex);
    for (KeptStream *other : g_kept)
      if (other->ctx == k->ctx && other->root == k->root && other->app_id == k->app_id)
        dropped.push_back(other);
    if (g_kept.size() - dropped.size() >= kMaxKeptStreams &&
        std::find(dropped.begin(), dropped.end(), g_kept.front()) == dropped.end())
      dropped.push_back(g_kept.front());
    for (KeptStream *d : dropped)
      g_kept.erase(std::remove(g_kept.begin(), g_kept.end(), d), g_kept.end());
    g_kept.push_back(k);
  }
  // A kept stream of another context is closed on this thread: only its own source is destroyed.
  for (KeptStream *d : dropped) close_kept(d);
}

// A kept stream to `app_id` in `root` for `ctx`, taken from the keep; nullptr when there is none
// still open.
KeptStream *take_stream(GMainContext *ctx, const std::string &root, const std::string &app_id) {
  KeptStream *k = nullptr;
  {
    std::lock_guard<std::mutex> lock(g_kept_mutex);
    auto it = std::find_if(g_kept.begin(), g_kept.end(), [&](const KeptStream *e) {
      return e->ctx == ctx && e->root == root && e->app_id == app_id;
    });
    if (it == g_kept.end()) return nullptr;
    k = *it;
    g_kept.erase(it);
  }
  // Its watch may not have run yet: a stream with anything to read has ended.
  struct pollfd p = {k->fd, POLLIN, 0};
  if (poll(&p, 1, 0) != 0) {
    close_kept(k);
    return nullptr;
  }
  return k;
}

// Runs the reply callback (once: the sender is freed with it).
void finish(Sender *s, app_control_h reply, app_control_result_e result) {
  s->close_stream();
  if (s->callback) s->callback(s->request, reply, result, s->user_data);
  delete s;
}

void fail(Sender *s) { finish(s, nullptr, APP_CONTROL_RESULT_FAILED); }

void launch(Sender *s);

gboolean on_retry(gpointer data) {
  auto *s = static_cast<Sender *>(data);
  g_source_unref(s->retry);
  s->retry = nullptr;
  launch(s);
  return G_SOURCE_REMOVE;
}

// The stream ended before the callee took the request: go through the launcher again after a
// pause, or fail when the attempts are used up.
void try_again(Sender *s) {
  if (s->attempts >= kMaxAttempts) return fail(s);
  s->close_stream();
  s->reader = FrameReader(kMaxFrame, kMaxAnswer);
  s->frames.clear();
  s->answered = false;
  s->retry = g_timeout_source_new(kRetryPauseMs << (s->attempts - 1));
  ++s->attempts;
  g_source_set_callback(s->retry, on_retry, s, nullptr);
  g_source_attach(s->retry, s->ctx);
}

// The callee's answer: true when the request may go on (taken); false when `s` is gone.
bool take_answer(Sender *s) {
  Bytes frame = std::move(s->frames.front());
  s->frames.pop_front();
  int32_t code = 0;
  if (!decode_answer(frame, &code)) {
    IPC_LOGE("%s sent no valid answer to a launch request", s->request->app_id.c_str());
    fail(s);
    return false;
  }
  if (code == kAnswerSendAgain) {
    try_again(s);
    return false;
  }
  if (code != 0) {
    IPC_LOGW("launch request to %s refused (%d)", s->request->app_id.c_str(), (int)code);
    fail(s);
    return false;
  }
  s->answered = true;
  drop_source(&s->answer_timer);
  if (!s->callback) {  // nobody waits for a reply
    delete s;
    return false;
  }
  return true;
}

// Handles the frames that arrived and then the state of the stream. False when `s` is gone.
bool pump(Sender *s, IoStatus status) {
  while (!s->frames.empty()) {
    if (!s->answered) {
      if (!take_answer(s)) return false;
      continue;
    }
    Bytes frame = std::move(s->frames.front());
    s->frames.pop_front();
    WireReader r{frame};
    uint32_t result;
    auto *reply = new app_control_s;
    if (r.get_u32(&result) && decode_control(&r, reply) && r.at_end()) {
      // The reply came whole and nothing else is on the stream: it can take the next request.
      if (status == IoStatus::kOk && s->frames.empty() && s->reader.held() == 0 && s->out &&
          s->out->waiting() == 0)
        keep_stream(s);
      finish(s, reply, (app_control_result_e)(int32_t)result);
    } else {
      IPC_LOGE("malformed reply from %s", s->request->app_id.c_str());
      fail(s);
    }
    delete reply;
    return false;
  }
  if (status == IoStatus::kOk) return true;
  // Reset with the request unread (an instance that was ending): send it again. A plain end of
  // stream means the callee read the request, and perhaps acted on it.
  if (!s->answered && status == IoStatus::kError)
    try_again(s);
  else
    fail(s);
  return false;
}

gboolean on_readable(gint, GIOCondition, gpointer data) {
  auto *s = static_cast<Sender *>(data);
  IoStatus status = read_available(s->fd, &s->reader, &s->frames, 256 * 1024);
  const bool outer = std::exchange(t_watch_kept, false);
  const bool more = pump(s, status);
  const bool kept = std::exchange(t_watch_kept, outer);
  // The watch is gone with the stream or the sender, unless a kept stream took it.
  return more || kept ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

gboolean on_answer_expired(gpointer data) {
  auto *s = static_cast<Sender *>(data);
  IPC_LOGE("%s did not take a launch request within %d ms", s->request->app_id.c_str(),
           velmora_host_rpc_timeout_ms());
  g_source_unref(s->answer_timer);
  s->answer_timer = nullptr;
  fail(s);
  return G_SOURCE_REMOVE;
}

gboolean on_reply_expired(gpointer data) {
  auto *s = static_cast<Sender *>(data);
  IPC_LOGE("no reply from %s within %d ms: the launch request fails", s->request->app_id.c_str(),
           reply_timeout_ms());
  g_source_unref(s->reply_timer);
  s->reply_timer = nullptr;
  fail(s);
  return G_SOURCE_REMOVE;
}

// Writes the hello and the request to a connected target and watches for its answer and reply
// (with `watch`, the input watch of a kept stream, when it is one).
void hand_over(Sender *s, int fd, GSource *watch = nullptr) {
  s->fd = fd;
  s->watch = watch;
  if (watch) set_watch_callback(watch, on_readable, s);
  s->out = std::make_unique<Outbox>(s->ctx, fd, s->wire.size());
  s->out->on_failed = [s](IoStatus) { try_again(s); };  // it never took the whole request
  if (s->out->push_raw(s->wire) != IoStatus::kOk) return try_again(s);
  if (!s->watch) {
    s->watch = fd_watch(fd, on_readable, s, s->ctx);
    // The reply callback runs from this watch, and may run the main loop. The watch never meets
    // its own sender again there: the stream is closed (and the watch gone) before the callback,
    // or the watch went to a kept stream, whose handlers stand on their own.
    dispatch_unblocked(s->watch);
  }
  s->answer_timer = g_timeout_source_new((guint)velmora_host_rpc_timeout_ms());
  g_source_set_callback(s->answer_timer, on_answer_expired, s, nullptr);
  g_source_attach(s->answer_timer, s->ctx);
  if (!s->reply_timer && s->callback) {
    s->reply_timer = g_timeout_source_new((guint)reply_timeout_ms());
    g_source_set_callback(s->reply_timer, on_reply_expired, s, nullptr);
    g_source_attach(s->reply_timer, s->ctx);
  }
}

// True when the running target says that it refuses launch requests.
bool refusing(const std::string &app_id) {
  return access(app_socket_path(app_id, kRefusingMarker).c_str(), F_OK) == 0;
}

// Reaches the target again from the main loop (a retry).
void launch(Sender *s) {
  vhost::RootScope in_root(s->root);
  int fd = -1;
  LaunchWait *wait = nullptr;
  switch (launch_connect(
      s->request->app_id, kAppControlSocket, s->ctx,
      [s](int connected_fd) {
        s->launching = nullptr;
        if (connected_fd < 0) return fail(s);
        hand_over(s, connected_fd);
      },
      &fd, &wait)) {
    case LaunchStart::kNotFound:
    case LaunchStart::kFailed:
    case LaunchStart::kRefused:
      fail(s);
      break;
    case LaunchStart::kPending:
      s->launching = wait;
      break;
    case LaunchStart::kConnected:
      if (refusing(s->request->app_id)) {
        close(fd);
        return fail(s);
      }
      hand_over(s, fd);
      break;
  }
}

// The result of a launch request that the launcher could not start.
int launch_error(LaunchStart start) {
  switch (start) {
    case LaunchStart::kRefused:
      return APP_CONTROL_ERROR_PERMISSION_DENIED;
    case LaunchStart::kFailed:
      return APP_CONTROL_ERROR_LAUNCH_FAILED;
    default:
      return APP_CONTROL_ERROR_APP_NOT_FOUND;
  }
}

}  // namespace

extern "C" void velmora_host_app_control_close_kept_streams(void) {
  std::vector<KeptStream *> all;
  {
    std::lock_guard<std::mutex> lock(g_kept_mutex);
    all.swap(g_kept);
  }
  for (KeptStream *k : all) close_kept(k);
}

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
    Bytes body;
    encode_control(*app_control, &body);
    if (body.size() > kMaxFrame) return APP_CONTROL_ERROR_INVALID_PARAMETER;
    append_frame(&s->wire, encode_hello(hello));
    append_frame(&s->wire, body);
  } catch (const std::bad_alloc &) {
    return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  }
  s->ctx = g_main_context_ref_thread_default();
  s->root = vhost::root_dir();
  s->callback = callback;
  s->user_data = user_data;

  int fd = -1;
  GSource *watch = nullptr;  // a kept stream's
  if (KeptStream *k = take_stream(s->ctx, s->root, app_control->app_id)) {
    // The target must still be registered, as for a new connection.
    vhost::AppRecord app;
    LaunchStart refused = LaunchStart::kNotFound;
    const bool known = launch_target_known(app_control->app_id, &app, &refused);
    if (known) {
      fd = std::exchange(k->fd, -1);
      watch = std::exchange(k->watch, nullptr);
    }
    close_kept(k);  // what is left of it
    if (!known) return launch_error(refused);
  } else {
    LaunchWait *wait = nullptr;
    Sender *raw = s.get();
    const LaunchStart start = launch_connect(
        app_control->app_id, kAppControlSocket, s->ctx,
        [raw](int connected_fd) {
          raw->launching = nullptr;
          if (connected_fd < 0) return fail(raw);
          hand_over(raw, connected_fd);
        },
        &fd, &wait);
    if (start == LaunchStart::kPending) {
      s.release()->launching = wait;  // the launch wait calls back
      return APP_CONTROL_ERROR_NONE;
    }
    if (start != LaunchStart::kConnected) return launch_error(start);
  }
  if (refusing(app_control->app_id)) {
    drop_source(&watch);
    close(fd);
    IPC_LOGW("launch request to %s refused: it refuses launch requests",
             app_control->app_id.c_str());
    return APP_CONTROL_ERROR_LAUNCH_REJECTED;
  }
  hand_over(s.release(), fd, watch);
  return APP_CONTROL_ERROR_NONE;
}
