// SPDX-License-Identifier: Apache-2.0
// Velmora agent: exiting when idle (see idle_exit.hh).
#include "idle_exit.hh"

#include <cerrno>
#include <cstdlib>
#include <string>

#include "dlog.h"
#include "servers.hh"
#include "velmora_host.h"

namespace vagent {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";
constexpr const char *kIdleVariable = "VELMORA_AGENT_IDLE_MS";
constexpr int kDefaultIdleMs = 120000;
constexpr long kMaxIdleMs = 24L * 3600 * 1000;

struct IdleWatch {
  GMainLoop *loop = nullptr;
  GSource *timer = nullptr;
  int idle_ms = 0;
  gint64 last_activity_us = 0;
  bool (*busy)() = nullptr;
};
IdleWatch g_watch;

int idle_period_ms() {
  const char *text = getenv(kIdleVariable);
  if (!text || !*text) return kDefaultIdleMs;
  char *end = nullptr;
  errno = 0;
  const long v = strtol(text, &end, 10);
  if (errno || *end || v < 0 || v > kMaxIdleMs) {
    dlog_print(DLOG_WARN, kLogTag, "agent: %s='%s' is not 0..%ld milliseconds; using %d",
               kIdleVariable, text, kMaxIdleMs, kDefaultIdleMs);
    return kDefaultIdleMs;
  }
  return static_cast<int>(v);
}

bool servers_busy() {
  for (const Server &s : servers())
    if (s.busy && s.busy()) return true;
  return false;
}

gboolean check_idle(gpointer) {
  const gint64 idle_us = g_get_monotonic_time() - g_watch.last_activity_us;
  if (idle_us < static_cast<gint64>(g_watch.idle_ms) * 1000 || g_watch.busy())
    return G_SOURCE_CONTINUE;
  const int ret = velmora_host_retire();
  if (ret == -EBUSY) {
    note_activity();  // a client is being accepted: serve it
    return G_SOURCE_CONTINUE;
  }
  if (ret != 0) {
    dlog_print(DLOG_WARN, kLogTag, "agent: cannot retire (%d); serving on", ret);
    note_activity();
    return G_SOURCE_CONTINUE;
  }
  dlog_print(DLOG_INFO, kLogTag, "agent: idle for %d ms, exiting", g_watch.idle_ms);
  g_main_loop_quit(g_watch.loop);
  g_watch.timer = nullptr;
  return G_SOURCE_REMOVE;
}

}  // namespace

void note_activity() { g_watch.last_activity_us = g_get_monotonic_time(); }

int idle_exit_start(GMainLoop *loop, bool (*busy)()) {
  g_watch.loop = loop;
  g_watch.busy = busy ? busy : servers_busy;
  g_watch.idle_ms = idle_period_ms();
  note_activity();
  if (g_watch.idle_ms == 0) return 0;
  // Looked at four times per period (at least every second, at most every 10 ms).
  const guint interval = static_cast<guint>(CLAMP(g_watch.idle_ms / 4, 10, 1000));
  g_watch.timer = g_timeout_source_new(interval);
  g_source_set_callback(g_watch.timer, check_idle, nullptr, nullptr);
  g_source_attach(g_watch.timer, g_main_context_get_thread_default());
  g_source_unref(g_watch.timer);
  return g_watch.idle_ms;
}

void idle_exit_stop() {
  if (g_watch.timer) g_source_destroy(g_watch.timer);
  g_watch.timer = nullptr;
  g_watch.loop = nullptr;
}

}  // namespace vagent
