// SPDX-License-Identifier: Apache-2.0
// Velmora benchmarks: what the agent spends on a client secret and on a password, next to the
// earlier scheme each replaced, measured in the same run.
//
//   BM_ClientSecret_KeyedHash   Clients::check_secret on a registered client with a secret: the
//                               agent's keyed hash of the presented secret and a constant-time
//                               compare (done on every token request of such a client)
//   BM_ClientSecret_Pbkdf2      the reference: PBKDF2-HMAC-SHA256 with 10,000 iterations of the
//                               same secret, as client secrets were checked before
//   BM_Password_Argon2id        verify_password against a stored Argon2id hash (sign-in); slow
//                               and memory-hard on purpose
//   BM_Password_Pbkdf2          the reference: verify_password against the earlier stored form
//                               (PBKDF2, 10,000 iterations), which a sign-in upgrades
//
// The agent state lives in a temporary platform root; no agent runs. The numbers are whatever this
// machine measures: take them on a quiet machine.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <sodium.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "agent_state.hh"
#include "bench_common.hh"
#include "clients.hh"
#include "password_hash.hh"
#include "velmora_host.h"

namespace {

constexpr const char *kClientId = "bench.client";
constexpr const char *kPassword = "bench-pass-1";

[[noreturn]] void fail(const std::string &what) {
  fprintf(stderr, "bench_secrets: %s\n", what.c_str());
  exit(1);
}

struct Setup {
  std::string root;
  std::unique_ptr<vagent::AgentState> state;
  vagent::Client client;
  std::string secret;
  std::string argon2id;  // stored hashes of kPassword
  std::string pbkdf2;
};

Setup &setup() {
  static Setup s;
  return s;
}

void BM_ClientSecret_KeyedHash(benchmark::State &state) {
  Setup &s = setup();
  for (auto _ : state)
    if (!s.state->clients().check_secret(s.client, s.secret, true).ok())
      state.SkipWithError("the secret did not match");
}

void BM_ClientSecret_Pbkdf2(benchmark::State &state) {
  Setup &s = setup();
  uint8_t salt[16];
  randombytes_buf(salt, sizeof salt);
  const std::vector<uint8_t> stored =
      vagent::pbkdf2_hmac_sha256(s.secret, salt, sizeof salt, 10000, 32);
  for (auto _ : state) {
    const std::vector<uint8_t> key =
        vagent::pbkdf2_hmac_sha256(s.secret, salt, sizeof salt, 10000, 32);
    if (sodium_memcmp(key.data(), stored.data(), 32) != 0)
      state.SkipWithError("the secret did not match");
  }
}

void BM_Password_Argon2id(benchmark::State &state) {
  for (auto _ : state)
    if (!vagent::verify_password(kPassword, setup().argon2id))
      state.SkipWithError("the password did not match");
}

void BM_Password_Pbkdf2(benchmark::State &state) {
  for (auto _ : state)
    if (!vagent::verify_password(kPassword, setup().pbkdf2))
      state.SkipWithError("the password did not match");
}

void print_table(const vbench::Recorder &rec) {
  printf("\nSecrets, microseconds per check (real time), against the scheme each replaced:\n\n");
  printf("  %-44s %12s %12s %10s  %s\n", "", "us/check", "reference", "x ref", "note");
  struct Line {
    const char *name, *reference, *label, *note;
  };
  const Line lines[] = {
      {"BM_ClientSecret_KeyedHash", "BM_ClientSecret_Pbkdf2",
       "client secret: keyed hash, constant-time", "every token request of a client with a secret"},
      {"BM_Password_Argon2id", "BM_Password_Pbkdf2", "password: Argon2id (libsodium, interactive)",
       "sign-in only; slow and memory-hard on purpose"},
  };
  for (const Line &l : lines) {
    double us = 0, ref = 0;
    if (!rec.mean(l.name, &us)) continue;
    const bool have_ref = rec.mean(l.reference, &ref);
    char ratio[32] = "-";
    if (have_ref && ref > 0) snprintf(ratio, sizeof ratio, "%.4f", us / ref);
    printf("  %-44s %12.2f %12.2f %10s  %s\n", l.label, us, have_ref ? ref : 0.0, ratio, l.note);
  }
  printf("  (reference: PBKDF2-HMAC-SHA256, 10,000 iterations; Argon2id memory: %zu MiB)\n",
         static_cast<size_t>(crypto_pwhash_MEMLIMIT_INTERACTIVE) >> 20);
}

}  // namespace

int main(int argc, char **argv) {
  setenv("VELMORA_LOG_LEVEL", "silent", 0);
  if (sodium_init() < 0) fail("libsodium cannot start");
  Setup &s = setup();
  s.root = vbench::make_temp_dir("velmora-bench-secrets-XXXXXX", true);
  if (s.root.empty()) fail("cannot make a platform root");
  char *error = nullptr;
  if (velmora_host_init_root("mobile", &error) != 0) fail(error ? error : "init root");
  auto opened = vagent::AgentState::open(s.root);
  if (!opened.ok()) fail("agent state: " + opened.status().describe());
  s.state = std::move(opened.value());
  auto secret = s.state->clients().register_client(vagent::NewClient{kClientId, true, {"read"}});
  if (!secret.ok() || secret.value().empty()) fail("registering the client failed");
  s.secret = secret.value();
  auto client = s.state->clients().find(kClientId);
  if (!client.ok()) fail("the client is not found");
  s.client = client.value();
  const std::optional<std::string> argon = vagent::hash_password(kPassword);
  if (!argon) fail("hashing the password failed");
  s.argon2id = *argon;
  s.pbkdf2 = vagent::pbkdf2_stored_hash(kPassword);

  using Fn = void (*)(benchmark::State &);
  const std::pair<const char *, Fn> benches[] = {
      {"BM_ClientSecret_KeyedHash", BM_ClientSecret_KeyedHash},
      {"BM_ClientSecret_Pbkdf2", BM_ClientSecret_Pbkdf2},
      {"BM_Password_Argon2id", BM_Password_Argon2id},
      {"BM_Password_Pbkdf2", BM_Password_Pbkdf2}};
  for (const auto &[name, fn] : benches)
    benchmark::RegisterBenchmark(name, fn)->Unit(benchmark::kMicrosecond);
  benchmark::Initialize(&argc, argv);
  vbench::Recorder recorder;
  benchmark::RunSpecifiedBenchmarks(&recorder);
  print_table(recorder);
  benchmark::Shutdown();
  s.state.reset();
  std::error_code ec;
  std::filesystem::remove_all(s.root, ec);
  return 0;
}
