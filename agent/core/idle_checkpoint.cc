// SPDX-License-Identifier: Apache-2.0
// Velmora agent: idle WAL checkpoints.
#include "idle_checkpoint.hh"

namespace vagent {

IdleCheckpoint::IdleCheckpoint(StateDb &db, unsigned idle_ms) : db_(db), idle_ms_(idle_ms) {
  db_.set_commit_listener([this] { on_commit(); });
}

IdleCheckpoint::~IdleCheckpoint() {
  db_.set_commit_listener(nullptr);
  disarm();
}

void IdleCheckpoint::on_commit() {
  if (timer_) return;  // the timer looks at the commit count when it fires
  commits_seen_ = db_.commits();
  timer_ = g_timeout_source_new(idle_ms_);
  g_source_set_callback(timer_, on_timer, this, nullptr);
  g_source_attach(timer_, g_main_context_get_thread_default());
}

gboolean IdleCheckpoint::on_timer(gpointer data) {
  auto *self = static_cast<IdleCheckpoint *>(data);
  if (self->db_.commits() != self->commits_seen_) {
    self->commits_seen_ = self->db_.commits();
    return G_SOURCE_CONTINUE;  // busy: look again after another interval
  }
  Status st = self->db_.checkpoint();
  if (st.ok()) ++self->checkpoints_;
  g_source_unref(self->timer_);
  self->timer_ = nullptr;
  return G_SOURCE_REMOVE;
}

void IdleCheckpoint::disarm() {
  if (!timer_) return;
  g_source_destroy(timer_);
  g_source_unref(timer_);
  timer_ = nullptr;
}

}  // namespace vagent
