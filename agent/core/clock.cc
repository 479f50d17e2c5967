// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the agent's clock.
#include "clock.hh"

#include <glib.h>

namespace vagent {

int64_t Clock::wall() { return g_get_real_time() / G_USEC_PER_SEC; }

int64_t Clock::now() const { return source_ ? source_() : wall(); }

}  // namespace vagent
