// SPDX-License-Identifier: Apache-2.0
// Velmora tests: counting the wake-ups of a main context.
//
// A context is woken through an eventfd in its own poll set whenever the descriptors it polls
// change: a watch attached or destroyed, a source blocked or unblocked around its dispatch. Each
// wake-up is a write, a read and one more poll. ContextWakeUps sets a poll function on the context
// that counts the polls which find that eventfd readable, for as long as it lives (one at a time).
#pragma once

#include <glib.h>
#include <unistd.h>

#include <climits>
#include <string>

namespace vtest {

class ContextWakeUps {
 public:
  explicit ContextWakeUps(GMainContext *ctx)
      : ctx_(ctx), previous_(g_main_context_get_poll_func(ctx)) {
    current_ = this;
    g_main_context_set_poll_func(ctx_, poll);
  }
  ~ContextWakeUps() {
    g_main_context_set_poll_func(ctx_, previous_);
    current_ = nullptr;
  }
  ContextWakeUps(const ContextWakeUps &) = delete;
  ContextWakeUps &operator=(const ContextWakeUps &) = delete;

  // Polls that found the context's wake-up eventfd readable.
  int count() const { return wake_ups_; }
  // Whether any poll had an eventfd in its set (without one, count() could not see anything).
  bool saw_wake_up_fd() const { return saw_fd_; }

 private:
  static bool is_eventfd(int fd) {
    char target[PATH_MAX];
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t n = readlink(link.c_str(), target, sizeof target - 1);
    return n > 0 && std::string(target, (size_t)n) == "anon_inode:[eventfd]";
  }
  static gint poll(GPollFD *fds, guint n, gint timeout) {
    ContextWakeUps *self = current_;
    const gint ready = self->previous_(fds, n, timeout);
    for (guint i = 0; i < n; ++i) {
      if (!is_eventfd(fds[i].fd)) continue;
      self->saw_fd_ = true;
      if (fds[i].revents & G_IO_IN) ++self->wake_ups_;
    }
    return ready;
  }

  GMainContext *ctx_;
  GPollFunc previous_;
  int wake_ups_ = 0;
  bool saw_fd_ = false;
  static inline ContextWakeUps *current_ = nullptr;
};

}  // namespace vtest
