// SPDX-License-Identifier: Apache-2.0
// Velmora tests: waiting on the main loop, the one way every test waits.
//
// run_until() dispatches the thread-default main context until a condition holds or a deadline
// passes. It wakes up every few milliseconds even when no source is ready, so a condition that
// depends on something the loop does not watch (another process, a pipe, a file) is seen as soon
// as it holds, not when the deadline ends the wait. The deadline only bounds a wait that fails.
#pragma once

#include <glib.h>

#include <functional>

namespace vtest {

// The bound of every wait: generous, since sanitized builds start the agent slowly. A wait that
// reaches it has failed; nothing asserts on how long a wait took.
inline constexpr int kWaitMs = 30000;

// How often a waiting loop looks at its condition when nothing else wakes it.
inline constexpr unsigned kWakeUpMs = 5;

// Runs the thread-default main context until `done()` is true or `timeout_ms` passed; returns
// done().
inline bool run_until(const std::function<bool()> &done, int timeout_ms = kWaitMs) {
  GMainContext *ctx = g_main_context_ref_thread_default();
  const gint64 deadline = g_get_monotonic_time() + static_cast<gint64>(timeout_ms) * 1000;
  GSource *wake_up = g_timeout_source_new(kWakeUpMs);
  g_source_set_callback(
      wake_up, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
  g_source_attach(wake_up, ctx);
  while (!done() && g_get_monotonic_time() < deadline) g_main_context_iteration(ctx, TRUE);
  g_source_destroy(wake_up);
  g_source_unref(wake_up);
  g_main_context_unref(ctx);
  return done();
}

// Dispatches what is ready on the thread-default main context now, without waiting (bounded, so
// that a source that is always ready cannot keep it going).
inline void run_pending() {
  GMainContext *ctx = g_main_context_ref_thread_default();
  for (int i = 0; i < 1000 && g_main_context_iteration(ctx, FALSE); ++i) {
  }
  g_main_context_unref(ctx);
}

}  // namespace vtest
