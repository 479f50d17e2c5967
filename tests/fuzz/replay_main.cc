// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the corruption suite. Linked with one fuzz target instead of libFuzzer, it replays
// every committed seed of that target (tests/fuzz/corpus/<name>/) and every corruption of it
// through the target's LLVMFuzzerTestOneInput, in one process and in a fixed order:
//   - the seed itself;
//   - every truncation (its first k bytes, k = 0 .. size - 1);
//   - every single-byte flip (byte i xor 0xff);
//   - every 32-bit little-endian field that can be a length or a count (its value does not exceed
//     the bytes that follow it) set to 0, 1, rest - 1, rest, rest + 1, max - 1, max, max + 1,
//     2^31 - 1 and 2^32 - 1, where rest is the bytes after the field and max the largest parcel
//     or frame (RPC_PORT_PARCEL_MAX_SIZE).
// Over a budget of inputs (VELMORA_REPLAY_BUDGET, default 20000), an even, fixed selection of the
// corruptions is replayed; `make corruption` replays them all.
// The target's own checks abort on a broken invariant, and the sanitizers on a bad access or a
// leak, so a run that ends with status 0 means: no crash, no broken invariant, no leak. Each input
// also gets a bounded time (a hang is a failure, see kMaxInputMs).
//
// The targets run quietly: whatever they write to stderr while replaying (log lines, GLib
// warnings) fails the run, after it is shown. Sanitizer reports still reach the real stderr.
//
//   replay_<name> <corpus dir>
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "rpc_port_parcel.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" __attribute__((weak)) void __sanitizer_set_report_fd(void *fd);

namespace {

using Bytes = std::vector<uint8_t>;

// Longest time one input may take; the slowest targets need well under a millisecond.
constexpr long kMaxInputMs = 2000;
// Inputs replayed per target by default (VELMORA_REPLAY_BUDGET; 0: no limit). Every target but
// the app-control replies, whose corpus is large, stays below it and is replayed in full.
constexpr size_t kDefaultBudget = 20000;

int g_saved_stderr = -1;
int g_captured = -1;  // what the targets wrote to stderr

// Copies the end of what the targets wrote (its last 8 KiB) to the real stderr (signal-safe:
// lseek, read and write only).
void show_captured() {
  if (g_captured < 0 || g_saved_stderr < 0) return;
  char buf[4096];
  ssize_t n;
  const off_t size = lseek(g_captured, 0, SEEK_END);
  if (size < 0 || lseek(g_captured, size > 8192 ? size - 8192 : 0, SEEK_SET) < 0) return;
  while ((n = read(g_captured, buf, sizeof buf)) > 0)
    if (write(g_saved_stderr, buf, (size_t)n) < 0) return;
}

// A target that aborts has usually said why on stderr just before: show it, then die as it meant.
void on_abort(int sig) {
  show_captured();
  signal(sig, SIG_DFL);
  raise(sig);
}

std::vector<std::pair<std::string, Bytes>> load_seeds(const std::string &dir) {
  std::vector<std::pair<std::string, Bytes>> seeds;
  DIR *d = opendir(dir.c_str());
  if (!d) {
    perror(dir.c_str());
    exit(2);
  }
  while (dirent *e = readdir(d)) {
    if (e->d_name[0] == '.') continue;
    const std::string path = dir + "/" + e->d_name;
    FILE *f = fopen(path.c_str(), "rb");
    if (!f) continue;
    Bytes bytes;
    int c;
    while ((c = fgetc(f)) != EOF) bytes.push_back((uint8_t)c);
    fclose(f);
    seeds.emplace_back(e->d_name, std::move(bytes));
  }
  closedir(d);
  std::sort(seeds.begin(), seeds.end());
  return seeds;
}

uint32_t le32(const Bytes &b, size_t at) {
  return (uint32_t)b[at] | (uint32_t)b[at + 1] << 8 | (uint32_t)b[at + 2] << 16 |
         (uint32_t)b[at + 3] << 24;
}

void set_le32(Bytes *b, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) (*b)[at + i] = (uint8_t)(v >> (8 * i));
}

enum Kind { kSeed, kTruncation, kFlip, kLength, kKinds };

// Calls visit(kind, input) for the seed and every corruption of it, in a fixed order.
template <typename Visit>
void each_corruption(const Bytes &seed, Visit visit) {
  visit(kSeed, seed);
  for (size_t k = 0; k < seed.size(); ++k)
    visit(kTruncation, Bytes(seed.begin(), seed.begin() + (long)k));
  Bytes work = seed;
  for (size_t i = 0; i < seed.size(); ++i) {
    work[i] ^= 0xff;
    visit(kFlip, work);
    work[i] = seed[i];
  }
  constexpr uint32_t kMax = RPC_PORT_PARCEL_MAX_SIZE;
  for (size_t at = 0; at + 4 <= seed.size(); ++at) {
    const uint32_t rest = (uint32_t)(seed.size() - at - 4);
    const uint32_t original = le32(seed, at);
    if (original > rest) continue;  // not a length the seed could hold
    const uint32_t values[] = {0,        1,    rest - 1, rest,       rest + 1,
                               kMax - 1, kMax, kMax + 1, 0x7fffffff, 0xffffffff};
    for (uint32_t v : values) {
      if (v == original) continue;
      set_le32(&work, at, v);
      visit(kLength, work);
    }
    set_le32(&work, at, original);
  }
}

void replay(const std::string &seed, const Bytes &input) {
  const auto start = std::chrono::steady_clock::now();
  LLVMFuzzerTestOneInput(input.data(), input.size());
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                      std::chrono::steady_clock::now() - start)
                      .count();
  if (ms > kMaxInputMs) {
    show_captured();
    fprintf(stderr, "%s: an input of %zu bytes took %ld ms\n", seed.c_str(), input.size(), ms);
    exit(1);
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s CORPUS_DIR\n", argv[0]);
    return 2;
  }
  const auto seeds = load_seeds(argv[1]);
  if (seeds.empty()) {
    fprintf(stderr, "%s: no seeds\n", argv[1]);
    return 2;
  }
  const char *budget_env = getenv("VELMORA_REPLAY_BUDGET");
  const size_t budget = budget_env ? strtoul(budget_env, nullptr, 10) : kDefaultBudget;
  if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&argc, &argv);

  // From here on the targets' stderr goes to a scratch file; sanitizer reports do not.
  fflush(stderr);
  g_saved_stderr = dup(2);
  char scratch[] = "/tmp/velmora-replay-XXXXXX";
  g_captured = mkstemp(scratch);
  if (g_saved_stderr < 0 || g_captured < 0) {
    perror("replay");
    return 2;
  }
  unlink(scratch);
  if (__sanitizer_set_report_fd) __sanitizer_set_report_fd((void *)(intptr_t)g_saved_stderr);
  signal(SIGABRT, on_abort);
  dup2(g_captured, 2);

  // Inputs of all seeds together; over the budget every stride-th corruption is replayed (each
  // seed itself always is).
  size_t all = 0;
  for (const auto &seed : seeds) each_corruption(seed.second, [&](Kind, const Bytes &) { ++all; });
  const size_t stride = budget == 0 || all <= budget ? 1 : (all + budget - 1) / budget;
  size_t index = 0;
  size_t done[kKinds] = {};
  for (const auto &[name, bytes] : seeds) {
    each_corruption(bytes, [&](Kind kind, const Bytes &input) {
      if (kind == kSeed || index++ % stride == 0) {
        replay(name, input);
        ++done[kind];
      }
    });
  }

  fflush(stderr);
  dup2(g_saved_stderr, 2);
  struct stat st {};
  fstat(g_captured, &st);
  printf("%zu seeds: %zu truncations, %zu byte flips, %zu length-field values replayed",
         seeds.size(), done[kTruncation], done[kFlip], done[kLength]);
  if (stride > 1)
    printf(" (every %zu-th of %zu corruptions: VELMORA_REPLAY_BUDGET=0 replays all)", stride,
           all - seeds.size());
  printf("\n");
  if (st.st_size > 0) {
    fprintf(stderr, "the target wrote %lld bytes to stderr while replaying (it must be quiet):\n",
            (long long)st.st_size);
    show_captured();
    return 1;
  }
  return 0;
}
