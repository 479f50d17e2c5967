// SPDX-License-Identifier: Apache-2.0
// Velmora agent: whether a file changed since it was last read, told without reading it.
//
// One inotify instance per process watches the directories asked for: a file written and
// closed, renamed into or out of the directory, created or removed, and the directory's own
// removal. Asking drains the queue with one non-blocking read and touches no file, so a value
// kept from the file is read again only after the file changed. A change made before the
// question is asked is always seen (the kernel queues the event before the writer goes on): a
// test that changes faults.conf and then sends a request sees that request use the new faults.
// Where no watch can be set (no inotify, a directory that does not exist yet), every question
// answers "changed" and the caller simply reads afresh.
//
// Not for files written in place by a process that keeps them open (only closed writes count).
//
// A server handling a request holds a WatchScope: within it the queue is drained once, by the
// first question, so a request that looks at three files costs one read. While a WatchFromLoop
// lives, the main loop drains the queue instead and a request costs no read at all.
#pragma once

#include <glib.h>

#include <cstdint>
#include <string>

namespace vagent {

class WatchedFile {
 public:
  explicit WatchedFile(const std::string &path);
  WatchedFile(const WatchedFile &) = delete;
  WatchedFile &operator=(const WatchedFile &) = delete;

  // True the first time, then whenever the file may have changed since the last true.
  bool changed();

 private:
  std::string dir_;
  std::string name_;
  uint64_t seen_ = 0;  // the generation last answered; 0 before the first question
};

// While one lives (on this thread's behalf: the agent serves from one thread), only the first
// question drains the queue.
class WatchScope {
 public:
  WatchScope();
  ~WatchScope();
  WatchScope(const WatchScope &) = delete;
  WatchScope &operator=(const WatchScope &) = delete;
};

// While one lives, the main loop of `ctx` drains the queue whenever it holds events, and questions
// only look at what was drained. The loop's source runs at high priority: when a change and a
// request are both waiting, the change is drained first, so a request sent after a change still
// sees it. The agent holds one while it serves (on the thread that runs the loop).
class WatchFromLoop {
 public:
  explicit WatchFromLoop(GMainContext *ctx);
  ~WatchFromLoop();
  WatchFromLoop(const WatchFromLoop &) = delete;
  WatchFromLoop &operator=(const WatchFromLoop &) = delete;

 private:
  GSource *source_ = nullptr;
};

}  // namespace vagent
