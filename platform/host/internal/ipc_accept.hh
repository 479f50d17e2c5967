// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: accepting streams on a listening socket, shared by the servers of the
// host (the app-control server and the rpc-port stub).
//
// An Acceptor watches a listening socket on a main context. Every accepted stream is a Pending
// until its owner takes it or drops it: the peer's credentials, the frames read so far (the first
// one, the hello, at most kMaxHello bytes) and a deadline by which the owner must have taken it
// (velmora_host_hello_timeout_ms(); the owner may set another one, for the frame that follows the
// hello). A pending stream that holds more than the acceptor's byte budget, ends or fails, or
// misses its deadline is dropped.
//
// Caps are per peer process, so that one peer cannot use them up for the others: a peer may have
// at most kMaxPendingPerPeer streams pending and kMaxStreamsPerPeer streams in all (a stream the
// owner took keeps its PeerSlot for as long as it is open). A stream over a cap is closed at once;
// that is logged once per peer until it is under the caps again.
//
// When accept() fails for want of file descriptors (or memory), the acceptor stops watching the
// listening socket and looks again after a pause (50 ms, doubling up to 1 s): it neither spins
// nor stops serving the streams it has, and it recovers by itself once descriptors are free. The
// condition is logged once when it starts and once when accepting works again. Connections that
// arrive meanwhile wait in the listen backlog (kListenBacklog).
#pragma once

#include <glib.h>
#include <sys/types.h>

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ipc_frame.hh"
#include "ipc_wire.hh"

namespace vhost::ipc {

inline constexpr size_t kMaxPendingPerPeer = 32;
inline constexpr size_t kMaxStreamsPerPeer = 256;

// Open streams per peer process, shared by an acceptor and the slots it hands out.
class PeerTally {
 public:
  size_t count(pid_t pid) const;
  void add(pid_t pid) { ++counts_[pid]; }
  void remove(pid_t pid);
  // True the first time a peer goes over a cap (until it is under the caps again).
  bool warn_once(pid_t pid) { return warned_.insert(pid).second; }

 private:
  std::map<pid_t, size_t> counts_;
  std::set<pid_t> warned_;
};

// One stream's place in its peer's tally, for as long as the stream is open.
class PeerSlot {
 public:
  PeerSlot() = default;
  PeerSlot(std::shared_ptr<PeerTally> tally, pid_t pid);
  PeerSlot(PeerSlot &&other) noexcept;
  PeerSlot &operator=(PeerSlot &&other) noexcept;
  ~PeerSlot() { reset(); }
  void reset();

 private:
  std::shared_ptr<PeerTally> tally_;
  pid_t pid_ = 0;
};

class Acceptor;

struct Pending {
  int fd = -1;
  pid_t pid = 0;
  uid_t uid = 0;
  FrameReader reader{kMaxFrame, kMaxHello};
  std::deque<Bytes> frames;  // complete frames not taken by the owner yet
  bool has_hello = false;    // for the owner: the hello was read and taken from `frames`
  Hello hello;
  PeerSlot slot;
  bool kept = false;  // a stream taken back after a reply, waiting for a next request

 private:
  friend class Acceptor;
  Acceptor *acceptor_ = nullptr;
  GSource *watch_ = nullptr;
  GSource *timer_ = nullptr;
};

class AcceptorOwner {
 public:
  virtual ~AcceptorOwner() = default;
  // Frames arrived on `p` (p->frames is not empty). The owner may release `p` here.
  virtual void on_pending_frames(Pending *p) = 0;
};

// Held through a shared_ptr: an owner callback may let the owner, and its reference, go.
class Acceptor : public std::enable_shared_from_this<Acceptor> {
 public:
  // `name` names the server in log lines; `budget` bounds the bytes a pending stream may hold.
  Acceptor(GMainContext *ctx, std::string name, size_t budget, AcceptorOwner *owner);
  ~Acceptor();
  // Drops every pending stream and stops watching (the listening socket stays the caller's); the
  // owner is not called any more.
  void shutdown();
  Acceptor(const Acceptor &) = delete;
  Acceptor &operator=(const Acceptor &) = delete;

  void start(int listen_fd);
  // Takes back a stream whose request was answered, to wait for the sender's next hello as a
  // newly accepted one would (the hello deadline, the same caps); it keeps its peer slot.
  // `watch` is the stream's parked watch (take_over()), if the owner still has it: it watches
  // the stream again, so that taking the stream back adds nothing to the context's poll set.
  void adopt(int fd, pid_t pid, uid_t uid, PeerSlot slot, GSource *watch = nullptr);
  // Forgets `p` (it is freed): its stream is closed unless `keep_fd` (the owner took it, and
  // moved p->slot out if the stream should keep counting for its peer).
  void release(Pending *p, bool keep_fd);
  // Forgets `p` as release(p, true) does, and hands its input watch to the owner, parked: it
  // calls nobody, and destroys itself when anything arrives on the stream (or the stream ends)
  // before the owner gives it back through adopt(). The owner destroys it (drop_source()) before
  // it closes the stream, or frees it when the stream moves on without it. Destroying a watch and
  // attaching a new one each wake the context (an eventfd write each, and one more poll): a
  // stream that goes back and forth between the acceptor and its owner keeps one watch instead.
  GSource *take_over(Pending *p);
  // Sets a new deadline for `p`, `ms` from now.
  void set_deadline(Pending *p, int ms);
  const std::vector<Pending *> &pending() const { return pending_; }
  const std::string &name() const { return name_; }

 private:
  static gboolean on_accept(gint fd, GIOCondition cond, gpointer data);
  static gboolean on_readable(gint fd, GIOCondition cond, gpointer data);
  static gboolean on_parked(gint fd, GIOCondition cond, gpointer data);
  static gboolean on_expired(gpointer data);
  static gboolean on_resume(gpointer data);
  void watch_listener();
  void pause(int err);
  bool admit(pid_t pid);
  size_t pending_of(pid_t pid) const;
  // A pending stream on `fd`, watched (by `watch`, when it is given and still attached), with the
  // hello deadline.
  Pending *pend(int fd, pid_t pid, uid_t uid, PeerSlot slot, GSource *watch = nullptr);

  GMainContext *ctx_;
  std::string name_;
  size_t budget_;
  AcceptorOwner *owner_;
  int listen_fd_ = -1;
  GSource *listen_watch_ = nullptr;
  GSource *resume_timer_ = nullptr;
  bool paused_ = false;
  guint pause_ms_ = 0;
  std::shared_ptr<PeerTally> tally_ = std::make_shared<PeerTally>();
  std::vector<Pending *> pending_;
  Pending *dispatching_ = nullptr;  // the stream whose frames the owner is looking at
  bool released_dispatching_ = false;
  bool took_over_dispatching_ = false;  // ... and its watch went on with it (take_over())
};

// Writes a small frame (an answer) without waiting: true when the socket took all of it, as a
// fresh stream's always does.
bool send_small(int fd, const Bytes &frame);

}  // namespace vhost::ipc
