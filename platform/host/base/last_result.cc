// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the per-thread last result.
#include "platform_result.h"

namespace {
thread_local int t_last_result = 0;
}

extern "C" void set_last_result(int result) { t_last_result = result; }
extern "C" int get_last_result(void) { return t_last_result; }
