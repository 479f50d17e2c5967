// SPDX-License-Identifier: Apache-2.0
// Velmora tests: an operation run again and again, each time with another of its allocations
// failing (the library's va_alloc_fail_at, the platform's velmora_host_alloc_fail_at).
//
//   vtest::each_failing_allocation(vtest::kLibraryAllocations, [&](long n) { ... });
//
// The operation runs once with nothing failing (n = 0), which counts its allocations, and then
// once for each n from 1 to that count with the n-th failing (an AllocationRun lets it end the
// counted part early, before it reads its results back). It checks its own results: a
// documented failure or a complete result, never a crash; what it took must be freed again (the
// leak checker of the sanitized build sees every run). VELMORA_ALLOC_FAULTS_STRIDE=k runs only
// every k-th n (1, 1+k, ...), for quick loops.
#pragma once

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <functional>

#include "main_loop.hh"
#include "platform_root.hh"
#include "va_alloc.h"
#include "velmora_account_error.h"
#include "velmora_host.h"

namespace vtest {

struct AllocationHook {
  const char *name;
  bool (*fail_at)(long n);
  long (*count)();
};

inline constexpr AllocationHook kLibraryAllocations{"library", va_alloc_fail_at, va_alloc_count};
inline constexpr AllocationHook kPlatformAllocations{"platform", velmora_host_alloc_fail_at,
                                                     velmora_host_alloc_count};

// True when this build makes allocations fail on request (else the tests that need it skip).
inline bool allocation_faults_built() {
  return va_alloc_fail_at(0) && velmora_host_alloc_fail_at(0);
}

// Ends the failing (and the counting) of the current run early: what the operation does after
// it (reading its result back) allocates normally. Without it the run ends when `op` returns.
// begin_after lets it begin late instead.
class AllocationRun {
 public:
  AllocationRun(const AllocationHook &hook, long fail_at) : hook_(hook), fail_at_(fail_at) {}
  // Runs `untouched` with nothing failing and starts the count after it: the walk covers only
  // what follows (the reply to a request that `untouched` sent, say). Call it first thing.
  template <typename F>
  void begin_after(F &&untouched) {
    hook_.fail_at(0);
    untouched();
    hook_.fail_at(fail_at_);
  }
  void stop() {
    if (stopped_) return;
    made_ = hook_.count();
    hook_.fail_at(0);
    stopped_ = true;
  }
  long made() const { return made_; }

 private:
  const AllocationHook &hook_;
  long fail_at_;
  long made_ = 0;
  bool stopped_ = false;
};

// Returns the number of allocations of the complete run.
inline long each_failing_allocation(const AllocationHook &hook,
                                    const std::function<void(long n, AllocationRun &run)> &op) {
  auto one_run = [&](long fail_at, long n) {
    AllocationRun run(hook, fail_at);
    hook.fail_at(fail_at);
    op(n, run);
    run.stop();
    return run.made();
  };
  const long total = one_run(LONG_MAX, 0);  // counts, never fails
  const char *stride_env = getenv("VELMORA_ALLOC_FAULTS_STRIDE");
  const long stride = stride_env != nullptr && atol(stride_env) > 0 ? atol(stride_env) : 1;
  for (long n = 1; n <= total; n += stride) {
    SCOPED_TRACE(std::string(hook.name) + " allocation " + std::to_string(n) + " of " +
                 std::to_string(total) + " fails");
    // The run reached the allocation chosen to fail (runs are repeatable).
    EXPECT_GE(one_run(n, n), n);
    if (::testing::Test::HasFailure()) break;  // the first broken run says enough
  }
  return total;
}

// The same for an operation that needs no early stop.
inline long each_failing_allocation(const AllocationHook &hook,
                                    const std::function<void(long n)> &op) {
  return each_failing_allocation(hook, [&](long n, AllocationRun &) { op(n); });
}

// Walks the allocations of `hook` made once `send` has sent a request: its answer coming in and
// being read. Every run must be answered exactly once: the run with nothing failing with
// VELMORA_ACCOUNT_ERROR_NONE and what `whole` checks, every other one with
// VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY. `Answer` counts its callbacks in `calls` and keeps the last
// `result`; `send` may hand it the run, so that its callback ends the walked part before reading
// the answer back. Returns the number of allocations of the complete run.
template <typename Answer>
long each_failing_allocation_of_answer(const AllocationHook &hook,
                                       const std::function<int(Answer &, AllocationRun &)> &send,
                                       const std::function<void(const Answer &)> &whole) {
  return each_failing_allocation(hook, [&](long n, AllocationRun &run) {
    Answer answer;
    int sent = -1;
    run.begin_after([&] { sent = send(answer, run); });
    ASSERT_EQ(sent, VELMORA_ACCOUNT_ERROR_NONE);
    const bool answered = run_until([&] { return answer.calls > 0; });
    run.stop();
    ASSERT_TRUE(answered);
    EXPECT_EQ(answer.calls, 1);
    if (n == 0) {
      EXPECT_EQ(answer.result, VELMORA_ACCOUNT_ERROR_NONE);
      whole(answer);
    } else {
      EXPECT_EQ(answer.result, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
    }
  });
}

// The fixture of the library's out-of-memory tests that need no agent answer: skipped in a build
// that cannot make allocations fail, a root with the agent installed (level 5) for the probes.
class LibraryOutOfMemoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
    root_.install_agent(5);
  }
  PlatformRoot root_;
};

}  // namespace vtest
