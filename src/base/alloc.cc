// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the library's own allocations, and the failure injection of test builds.
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "va_alloc.h"

namespace {

#ifdef VELMORA_ALLOC_FAULTS
std::atomic<long> g_fail_at{0};
std::atomic<long> g_count{0};

// True when this allocation is the one chosen to fail.
bool chosen_to_fail() {
  if (g_fail_at.load(std::memory_order_relaxed) == 0) return false;
  return g_count.fetch_add(1, std::memory_order_relaxed) + 1 ==
         g_fail_at.load(std::memory_order_relaxed);
}
#else
constexpr bool chosen_to_fail() { return false; }
#endif

}  // namespace

extern "C" {

void *va_calloc(size_t count, size_t size) {
  if (chosen_to_fail()) return nullptr;
  return calloc(count, size);
}

char *va_strdup(const char *s) {
  if (chosen_to_fail()) return nullptr;
  return strdup(s);
}

bool va_alloc_fail_at(long n) {
#ifdef VELMORA_ALLOC_FAULTS
  g_count.store(0, std::memory_order_relaxed);
  g_fail_at.store(n, std::memory_order_relaxed);
  return true;
#else
  (void)n;
  return false;
#endif
}

long va_alloc_count(void) {
#ifdef VELMORA_ALLOC_FAULTS
  return g_count.load(std::memory_order_relaxed);
#else
  return 0;
#endif
}

}  // extern "C"
