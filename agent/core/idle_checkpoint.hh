// SPDX-License-Identifier: Apache-2.0
// Velmora agent: WAL checkpoints when the agent is idle, off the request path.
//
// A commit arms a timer of `idle_ms` on the thread-default main context (when none is armed).
// When it fires and a commit came in the meantime, the agent is busy: the timer waits another
// interval. When none came, the WAL is checkpointed (passive: it never waits for a reader) and the
// timer goes until the next commit. A request costs one counter increment and one test for an
// armed timer. Under load that never pauses, StateDb's bound (kWalMaxPages) checkpoints on a
// commit instead, so the WAL cannot grow without limit.
#pragma once

#include <glib.h>

#include <cstdint>

#include "state_db.hh"

namespace vagent {

// How long without a commit counts as idle.
inline constexpr unsigned kIdleCheckpointMs = 200;

class IdleCheckpoint {
 public:
  explicit IdleCheckpoint(StateDb &db, unsigned idle_ms = kIdleCheckpointMs);
  ~IdleCheckpoint();
  IdleCheckpoint(const IdleCheckpoint &) = delete;
  IdleCheckpoint &operator=(const IdleCheckpoint &) = delete;

  // Checkpoints run so far, and whether the timer is armed (tests).
  uint64_t checkpoints() const { return checkpoints_; }
  bool armed() const { return timer_ != nullptr; }

 private:
  void on_commit();
  static gboolean on_timer(gpointer self);
  void disarm();
  StateDb &db_;
  unsigned idle_ms_;
  GSource *timer_ = nullptr;
  uint64_t commits_seen_ = 0;
  uint64_t checkpoints_ = 0;
};

}  // namespace vagent
