// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: failure injection for the allocations of parcels (test builds).
#include "alloc_fault.hh"

#include <atomic>

#include "velmora_host.h"

#ifdef VELMORA_ALLOC_FAULTS
namespace {
std::atomic<long> g_fail_at{0};
std::atomic<long> g_count{0};
}  // namespace

namespace vhost {

bool allocation_fails() {
  if (g_fail_at.load(std::memory_order_relaxed) == 0) return false;
  return g_count.fetch_add(1, std::memory_order_relaxed) + 1 ==
         g_fail_at.load(std::memory_order_relaxed);
}

}  // namespace vhost
#else
namespace vhost {

bool allocation_fails() { return false; }

}  // namespace vhost
#endif

extern "C" {

bool velmora_host_alloc_fail_at(long n) {
#ifdef VELMORA_ALLOC_FAULTS
  g_count.store(0, std::memory_order_relaxed);
  g_fail_at.store(n, std::memory_order_relaxed);
  return true;
#else
  (void)n;
  return false;
#endif
}

long velmora_host_alloc_count(void) {
#ifdef VELMORA_ALLOC_FAULTS
  return g_count.load(std::memory_order_relaxed);
#else
  return 0;
#endif
}

}  // extern "C"
