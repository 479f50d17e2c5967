// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: accepting streams, per-peer caps, the hello deadline and the back-off
// when descriptors run out (see ipc_accept.hh).
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "ipc_accept.hh"
#include "ipc_log.hh"
#include "ipc_socket.hh"
#include "ipc_timeouts.hh"
#include "ipc_watch.hh"

namespace vhost::ipc {

namespace {

// Bytes one wake-up reads from a pending stream.
constexpr size_t kReadBudget = 64 * 1024;
constexpr guint kFirstPauseMs = 50;
constexpr guint kLongestPauseMs = 1000;

size_t held_bytes(const Pending *p) {
  size_t n = p->reader.held();
  for (const Bytes &f : p->frames) n += f.size();
  return n;
}

}  // namespace

size_t PeerTally::count(pid_t pid) const {
  auto it = counts_.find(pid);
  return it == counts_.end() ? 0 : it->second;
}

void PeerTally::remove(pid_t pid) {
  auto it = counts_.find(pid);
  if (it == counts_.end()) return;
  if (--it->second == 0) counts_.erase(it);
  if (count(pid) < kMaxStreamsPerPeer) warned_.erase(pid);
}

PeerSlot::PeerSlot(std::shared_ptr<PeerTally> tally, pid_t pid)
    : tally_(std::move(tally)), pid_(pid) {
  tally_->add(pid_);
}

PeerSlot::PeerSlot(PeerSlot &&other) noexcept : tally_(std::move(other.tally_)), pid_(other.pid_) {}

PeerSlot &PeerSlot::operator=(PeerSlot &&other) noexcept {
  if (this != &other) {
    reset();
    tally_ = std::move(other.tally_);
    pid_ = other.pid_;
  }
  return *this;
}

void PeerSlot::reset() {
  if (tally_) tally_->remove(pid_);
  tally_.reset();
}

bool send_small(int fd, const Bytes &frame) {
  Bytes bytes;
  put_u32(&bytes, (uint32_t)frame.size());
  bytes.insert(bytes.end(), frame.begin(), frame.end());
  ssize_t n;
  do {
    n = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  } while (n < 0 && errno == EINTR);
  return n == (ssize_t)bytes.size();
}

Acceptor::Acceptor(GMainContext *ctx, std::string name, size_t budget, AcceptorOwner *owner)
    : ctx_(g_main_context_ref(ctx)), name_(std::move(name)), budget_(budget), owner_(owner) {}

Acceptor::~Acceptor() {
  shutdown();
  g_main_context_unref(ctx_);
}

void Acceptor::shutdown() {
  owner_ = nullptr;
  drop_source(&listen_watch_);
  drop_source(&resume_timer_);
  while (!pending_.empty()) release(pending_.back(), false);
}

void Acceptor::start(int listen_fd) {
  listen_fd_ = listen_fd;
  watch_listener();
}

void Acceptor::adopt(int fd, pid_t pid, uid_t uid, PeerSlot slot, GSource *watch) {
  Pending *p = pend(fd, pid, uid, std::move(slot), watch);
  p->kept = true;
}

Pending *Acceptor::pend(int fd, pid_t pid, uid_t uid, PeerSlot slot, GSource *watch) {
  auto *p = new Pending;
  p->acceptor_ = this;
  p->fd = fd;
  p->pid = pid;
  p->uid = uid;
  p->slot = std::move(slot);
  pending_.push_back(p);
  if (watch && !g_source_is_destroyed(watch)) {
    p->watch_ = watch;
    set_watch_callback(watch, on_readable, p);
  } else {
    if (watch) g_source_unref(watch);  // it destroyed itself while parked
    p->watch_ = fd_watch(fd, on_readable, p, ctx_);
    // The owner releases the stream (or parks this watch) before it hands a request to other
    // code.
    dispatch_unblocked(p->watch_);
  }
  set_deadline(p, hello_timeout_ms());
  return p;
}

void Acceptor::watch_listener() {
  if (listen_watch_ || !owner_) return;
  listen_watch_ = fd_watch(listen_fd_, on_accept, this, ctx_);
  dispatch_unblocked(listen_watch_);  // on_accept runs nobody else's code
}

void Acceptor::release(Pending *p, bool keep_fd) {
  pending_.erase(std::remove(pending_.begin(), pending_.end(), p), pending_.end());
  drop_source(&p->watch_);
  drop_source(&p->timer_);
  if (!keep_fd && p->fd >= 0) close(p->fd);
  if (p == dispatching_) released_dispatching_ = true;
  delete p;
}

GSource *Acceptor::take_over(Pending *p) {
  GSource *watch = std::exchange(p->watch_, nullptr);
  if (watch) set_watch_callback(watch, on_parked, nullptr);
  if (p == dispatching_ && watch) took_over_dispatching_ = true;
  release(p, true);
  return watch;
}

gboolean Acceptor::on_parked(gint, GIOCondition, gpointer) {
  // Input or an end while the owner has the stream: what arrived stays unread, for the next
  // pending stream to read when the owner gives the stream back. The owner's reference keeps the
  // watch, destroyed, until then.
  return G_SOURCE_REMOVE;
}

void Acceptor::set_deadline(Pending *p, int ms) {
  drop_source(&p->timer_);
  p->timer_ = g_timeout_source_new((guint)ms);
  g_source_set_callback(p->timer_, on_expired, p, nullptr);
  g_source_attach(p->timer_, ctx_);
}

size_t Acceptor::pending_of(pid_t pid) const {
  return (size_t)std::count_if(pending_.begin(), pending_.end(),
                               [pid](const Pending *p) { return p->pid == pid; });
}

bool Acceptor::admit(pid_t pid) {
  const size_t streams = tally_->count(pid);
  const size_t pending = pending_of(pid);
  if (streams < kMaxStreamsPerPeer && pending < kMaxPendingPerPeer) return true;
  if (tally_->warn_once(pid))
    IPC_LOGW(
        "%s: pid %d has %zu streams open, %zu of them not started (at most %zu and %zu): "
        "closing its new ones",
        name_.c_str(), (int)pid, streams, pending, kMaxStreamsPerPeer, kMaxPendingPerPeer);
  return false;
}

void Acceptor::pause(int err) {
  drop_source(&listen_watch_);
  if (!paused_) {
    IPC_LOGE(
        "%s: cannot accept connections (%s): trying again in a moment, still serving the "
        "open ones",
        name_.c_str(), strerror(err));
    pause_ms_ = kFirstPauseMs;
  } else {
    pause_ms_ = std::min(pause_ms_ * 2, kLongestPauseMs);
  }
  paused_ = true;
  resume_timer_ = g_timeout_source_new(pause_ms_);
  g_source_set_callback(resume_timer_, on_resume, this, nullptr);
  g_source_attach(resume_timer_, ctx_);
}

gboolean Acceptor::on_resume(gpointer data) {
  auto *a = static_cast<Acceptor *>(data);
  g_source_unref(a->resume_timer_);
  a->resume_timer_ = nullptr;
  a->watch_listener();  // fires at once when connections wait
  return G_SOURCE_REMOVE;
}

gboolean Acceptor::on_accept(gint fd, GIOCondition, gpointer data) {
  auto *a = static_cast<Acceptor *>(data);
  for (;;) {
    int c = accept4(fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (c < 0) {
      if (errno == EINTR || errno == ECONNABORTED) continue;
      if (errno == EAGAIN || errno == EWOULDBLOCK) break;
      // Out of descriptors or memory (EMFILE, ENFILE, ENOBUFS, ENOMEM) or anything unexpected.
      // accept() wants a descriptor before it looks for a connection: without one waiting there
      // is nothing to refuse yet.
      const int err = errno;
      struct pollfd waiting = {fd, POLLIN, 0};
      if (poll(&waiting, 1, 0) <= 0) break;
      // The listening socket stays readable, so watching it now would spin.
      a->pause(err);
      return G_SOURCE_REMOVE;  // the watch is gone (pause dropped it)
    }
    if (a->paused_) {
      a->paused_ = false;
      IPC_LOGI("%s: accepting connections again", a->name_.c_str());
    }
    pid_t pid = 0;
    uid_t uid = 0;
    if (!peer_credentials(c, &pid, &uid) || !a->admit(pid)) {
      close(c);
      continue;
    }
    a->pend(c, pid, uid, PeerSlot(a->tally_, pid));
  }
  return G_SOURCE_CONTINUE;
}

gboolean Acceptor::on_readable(gint, GIOCondition, gpointer data) {
  auto *p = static_cast<Pending *>(data);
  Acceptor *a = p->acceptor_;
  std::shared_ptr<Acceptor> keep = a->shared_from_this();  // the owner may let it go meanwhile
  IoStatus status = read_available(p->fd, &p->reader, &p->frames, kReadBudget);
  if (status == IoStatus::kTooBig || held_bytes(p) > a->budget_) {
    IPC_LOGW("%s: dropping a stream of pid %d: it sent more than it may before it is answered",
             a->name_.c_str(), (int)p->pid);
    a->release(p, false);
    return G_SOURCE_REMOVE;
  }
  if (!p->frames.empty() && a->owner_) {
    // The owner may hand a request to code that runs the main loop, and so this from within:
    // each dispatch keeps its own account of what became of its stream.
    Pending *const outer = std::exchange(a->dispatching_, p);
    const bool outer_released = std::exchange(a->released_dispatching_, false);
    const bool outer_took_over = std::exchange(a->took_over_dispatching_, false);
    a->owner_->on_pending_frames(p);
    const bool gone = a->released_dispatching_;
    const bool watch_lives = a->took_over_dispatching_;
    a->dispatching_ = outer;
    a->released_dispatching_ = outer_released;
    a->took_over_dispatching_ = outer_took_over;
    // Its watch went with it, unless the owner took it over (parked, or watching the stream
    // again for its next request).
    if (gone) return watch_lives ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
  }
  if (status != IoStatus::kOk) {
    a->release(p, false);
    return G_SOURCE_REMOVE;
  }
  return G_SOURCE_CONTINUE;
}

gboolean Acceptor::on_expired(gpointer data) {
  auto *p = static_cast<Pending *>(data);
  Acceptor *a = p->acceptor_;
  g_source_unref(p->timer_);
  p->timer_ = nullptr;
  // A stream kept after a reply that brought nothing more is simply no longer needed.
  if (!p->kept || p->has_hello || !p->frames.empty() || p->reader.held() > 0)
    IPC_LOGW("%s: dropping a stream of pid %d that did not complete its request in time",
             a->name_.c_str(), (int)p->pid);
  a->release(p, false);
  return G_SOURCE_REMOVE;
}

}  // namespace vhost::ipc
