// SPDX-License-Identifier: Apache-2.0
// Velmora agent: exiting when idle.
//
// Launched on demand, the agent need not run for ever: after VELMORA_AGENT_IDLE_MS milliseconds
// (default 120000; 0 never) without a request or a connection event, with no client connected and
// no answer held back, it retires from the platform (velmora_host_retire) and quits its main loop.
// Its state is on disk, so the next request, which launches it again, finds everything as it was.
#pragma once

#include <glib.h>

namespace vagent {

// The servers call this on every request and connection event.
void note_activity();

// Reads the idle period and, unless it is 0, watches for idleness on the thread-default main
// context; quits `loop` when the agent has retired. `busy` says whether the application still has
// clients or answers to give (nullptr: the agent's servers, servers.hh). Returns the period (0:
// never exits when idle).
int idle_exit_start(GMainLoop *loop, bool (*busy)() = nullptr);
void idle_exit_stop();

}  // namespace vagent
