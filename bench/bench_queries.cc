// SPDX-License-Identifier: Apache-2.0
// Velmora benchmarks: the blocking account state queries that read the platform account store
// (velmora_account_is_signed_in_sync, velmora_account_get_account_list_sync,
// velmora_account_get_default_account_sync) with 1, 10 and 1,000 accounts in the store, each next
// to a bare SQLite query of the same rows in the same run (the reference: a prepared statement on
// its own read-only connection reading the package's records with their custom values).
//
// Every benchmark runs twice: as the scheduler places it, then pinned to CPU 0 (as
// `taskset -c 0` would), and the table at the end shows both. Target: within 2x of the reference.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <sched.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_common.hh"
#include "velmora_account.h"
#include "velmora_host.h"
#include "velmora_host_store.h"

namespace {

constexpr const char *kAgent = "dev.velmora.account";
constexpr int kSizes[] = {1, 10, 1000};

struct Size {
  int accounts = 0;
  std::string root;
  std::string last_login;  // the last record's user name, the default one
};

std::vector<Size> g_sizes;
velmora_account_h g_handle = nullptr;

[[noreturn]] void fail(const std::string &what) {
  fprintf(stderr, "bench_queries: %s\n", what.c_str());
  exit(1);
}

void enter(const Size &s) { setenv("VELMORA_PLATFORM_ROOT", s.root.c_str(), 1); }

// A root with the agent installed and `n` accounts in the store, the last one the default.
Size make_root(int n) {
  Size s;
  s.accounts = n;
  gchar *dir = g_dir_make_tmp("velmora-bench-queries-XXXXXX", nullptr);
  if (!dir) fail("cannot make a platform root");
  s.root = dir;
  g_free(dir);
  enter(s);
  char *error = nullptr;
  if (velmora_host_init_root("mobile", &error) != 0) fail(error ? error : "init");
  velmora_host_app_s app = {kAgent, "service", "/bin/true"};
  velmora_host_metadata_s level = {kAgent, "velmora-experience-service-api-level", "5"};
  if (velmora_host_install_package(kAgent, &app, 1, &level, 1, &error) != 0)
    fail(error ? error : "install");
  std::vector<std::string> names;
  for (int i = 0; i < n; ++i) names.push_back("user" + std::to_string(i) + "@velmora.dev");
  const char *const key[] = {"default"};
  const char *const value[] = {"true"};
  std::vector<velmora_host_store_record_s> records;
  for (int i = 0; i < n; ++i)
    records.push_back({names[i].c_str(), key, value, i == n - 1 ? 1u : 0u});
  if (velmora_host_store_replace(kAgent, records.data(), records.size()) != 0)
    fail("cannot fill the store");
  s.last_login = names.back();
  return s;
}

// ---- the reference: the same rows, straight from SQLite ----

struct Bare {
  sqlite3 *db = nullptr;
  sqlite3_stmt *stmt = nullptr;
};

Bare open_bare(const Size &s) {
  Bare b;
  const std::string path = s.root + "/store/accounts.db";
  if (sqlite3_open_v2(path.c_str(), &b.db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK)
    fail("cannot open " + path);
  const char *sql =
      "SELECT a.id, a.user_name, c.key, c.value FROM accounts a"
      " LEFT JOIN account_custom c ON c.account_id = a.id"
      " WHERE a.package_name = ?1 ORDER BY a.id, c.rowid";
  if (sqlite3_prepare_v2(b.db, sql, -1, &b.stmt, nullptr) != SQLITE_OK) fail("cannot prepare");
  return b;
}

void close_bare(Bare &b) {
  sqlite3_finalize(b.stmt);
  sqlite3_close(b.db);
}

// Reads every row and copies the user names out, as a caller of the store would.
int bare_query(Bare &b) {
  sqlite3_bind_text(b.stmt, 1, kAgent, -1, SQLITE_STATIC);
  int rows = 0;
  while (sqlite3_step(b.stmt) == SQLITE_ROW) {
    const unsigned char *name = sqlite3_column_text(b.stmt, 1);
    char *copy = name ? strdup(reinterpret_cast<const char *>(name)) : nullptr;
    benchmark::DoNotOptimize(copy);
    free(copy);
    ++rows;
  }
  sqlite3_reset(b.stmt);
  return rows;
}

// ---- the benchmarks; range(0) is the index into g_sizes ----

void BM_Bare(benchmark::State &state) {
  const Size &s = g_sizes[static_cast<size_t>(state.range(0))];
  Bare b = open_bare(s);
  for (auto _ : state) benchmark::DoNotOptimize(bare_query(b));
  close_bare(b);
}

void BM_IsSignedInSync(benchmark::State &state) {
  const Size &s = g_sizes[static_cast<size_t>(state.range(0))];
  enter(s);
  for (auto _ : state) {
    bool found = false;
    if (velmora_account_is_signed_in_sync(g_handle, s.last_login.c_str(), &found) != 0 || !found)
      state.SkipWithError("is_signed_in_sync failed");
  }
}

void BM_AccountListSync(benchmark::State &state) {
  const Size &s = g_sizes[static_cast<size_t>(state.range(0))];
  enter(s);
  for (auto _ : state) {
    char **list = nullptr;
    int n = 0;
    if (velmora_account_get_account_list_sync(g_handle, &list, &n) != 0 || n == 0) {
      state.SkipWithError("get_account_list_sync failed");
      continue;
    }
    for (int i = 0; i < n; ++i) free(list[i]);
    free(list);
  }
}

void BM_DefaultAccountSync(benchmark::State &state) {
  const Size &s = g_sizes[static_cast<size_t>(state.range(0))];
  enter(s);
  for (auto _ : state) {
    char *login = nullptr;
    if (velmora_account_get_default_account_sync(g_handle, &login) != 0 || login == nullptr)
      state.SkipWithError("get_default_account_sync failed");
    free(login);
  }
}

const char *const kOps[][2] = {
    {"BM_IsSignedInSync", "is_signed_in_sync"},
    {"BM_AccountListSync", "get_account_list_sync"},
    {"BM_DefaultAccountSync", "get_default_account_sync"},
};

void register_all(const char *suffix) {
  for (size_t i = 0; i < g_sizes.size(); ++i) {
    const std::string n = "/" + std::to_string(g_sizes[i].accounts) + suffix;
    benchmark::RegisterBenchmark(("BM_Bare" + n).c_str(), BM_Bare)
        ->Arg(static_cast<int64_t>(i))
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark(("BM_IsSignedInSync" + n).c_str(), BM_IsSignedInSync)
        ->Arg(static_cast<int64_t>(i))
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark(("BM_AccountListSync" + n).c_str(), BM_AccountListSync)
        ->Arg(static_cast<int64_t>(i))
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark(("BM_DefaultAccountSync" + n).c_str(), BM_DefaultAccountSync)
        ->Arg(static_cast<int64_t>(i))
        ->Unit(benchmark::kMicrosecond);
  }
}

void print_table(const vbench::Recorder &rec) {
  printf(
      "\nblocking store reads, microseconds per call (real time), next to a bare SQLite query of"
      " the same rows:\n");
  printf("  %-26s %8s | %10s %10s %7s | %10s %10s %7s\n", "", "accounts", "unpinned", "bare",
         "x bare", "pinned", "bare", "x bare");
  for (const auto &op : kOps) {
    for (const Size &s : g_sizes) {
      const std::string n = "/" + std::to_string(s.accounts);
      double v[2] = {0, 0}, bare[2] = {0, 0};
      bool have[2] = {false, false};
      const char *suffix[2] = {"", "/pinned"};
      for (int p = 0; p < 2; ++p)
        have[p] = rec.mean(std::string(op[0]) + n + suffix[p], &v[p]) &&
                  rec.mean("BM_Bare" + n + suffix[p], &bare[p]);
      printf("  %-26s %8d |", op[1], s.accounts);
      for (int p = 0; p < 2; ++p) {
        if (have[p])
          printf(" %10.2f %10.2f %6.2fx%s", v[p], bare[p], v[p] / bare[p], p == 0 ? " |" : "");
        else
          printf(" %10s %10s %7s%s", "-", "-", "-", p == 0 ? " |" : "");
      }
      printf("\n");
    }
  }
  printf("  (target: within 2x of the bare query; pinned: this process on CPU 0 only)\n");
}

}  // namespace

int main(int argc, char **argv) {
  // The library logs every call at info; printing them would measure the terminal.
  setenv("VELMORA_LOG_LEVEL", "silent", 0);
  for (int n : kSizes) g_sizes.push_back(make_root(n));
  enter(g_sizes.front());
  if (velmora_account_create(&g_handle) != 0) fail("cannot create a handle");

  benchmark::Initialize(&argc, argv);
  vbench::Recorder recorder;
  register_all("");
  benchmark::RunSpecifiedBenchmarks(&recorder);
  benchmark::ClearRegisteredBenchmarks();

  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(0, &one);
  if (sched_setaffinity(0, sizeof(one), &one) == 0) {
    register_all("/pinned");
    benchmark::RunSpecifiedBenchmarks(&recorder);
  } else {
    printf("(cannot pin to CPU 0: only the unpinned rows)\n");
  }
  print_table(recorder);
  benchmark::Shutdown();
  velmora_account_destroy(g_handle);
  for (const Size &s : g_sizes) {
    std::string cmd = "rm -rf '" + s.root + "'";
    if (system(cmd.c_str()) != 0)
      fprintf(stderr, "bench_queries: could not remove %s\n", s.root.c_str());
  }
  return 0;
}
