// SPDX-License-Identifier: Apache-2.0
// Velmora fuzzing: the place reply's app-control keys (foreach_place_cb) with arbitrary keys and
// values.
//
// An input is NUL-separated strings: key, value, key, value, ... (a last key without a value gets
// ""); empty keys are left out, and a repeated key keeps its first value, as an app control keeps
// one value per key. The extras go into an app control and are read into a fresh place list
// through the reply's visitor. Checked against the rule the keys follow: the count is the largest
// index 1..50 of a key holding "_" and no "error" (0 when none), every such index has its place,
// every other slot is empty, names come from keys holding "name"; nothing leaks.
//
// Seeds: VELMORA_FUZZ_WRITE_SEEDS=<dir> writes typical and hostile replies into <dir> and exits:
//   VELMORA_FUZZ_WRITE_SEEDS=tests/fuzz/corpus/place_keys build/fuzz/tests/fuzz/fuzz_place_keys
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "app_control.h"
#include "fuzz_quiet.hh"
#include "place_record.h"

namespace {

using Extras = std::vector<std::pair<std::string, std::string>>;

Extras split(const uint8_t *data, size_t size) {
  std::vector<std::string> parts(1);
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == 0)
      parts.emplace_back();
    else
      parts.back().push_back(static_cast<char>(data[i]));
  }
  Extras out;
  std::map<std::string, bool> seen;
  for (size_t i = 0; i < parts.size(); i += 2) {
    const std::string &key = parts[i];
    if (key.empty() || seen[key]) continue;
    seen[key] = true;
    out.emplace_back(key, i + 1 < parts.size() ? parts[i + 1] : "");
  }
  return out;
}

// The index a key addresses, 0 when it addresses none.
long index_of(const std::string &key) {
  const size_t underscore = key.find('_');
  if (key.find("error") != std::string::npos || underscore == std::string::npos) return 0;
  const long index = strtol(key.c_str() + underscore + 1, nullptr, 10);
  return index >= 1 && index <= VA_PLACE_LIST_SLOTS ? index : 0;
}

void write_seeds() {
  const char *dir = getenv("VELMORA_FUZZ_WRITE_SEEDS");
  if (!dir) return;
  const std::vector<std::pair<const char *, Extras>> seeds = {
      {"two-places",
       {{"name_1", "Home"},
        {"address_1", "1 Main St"},
        {"category_1", "1"},
        {"latitude_1", "37.5"},
        {"longitude_1", "-122.25"},
        {"name_2", "Work"},
        {"wifiName_2", "office"},
        {"wifiBSSID_2", "00:11:22:33:44:55"},
        {"bluetoothName_2", "desk"},
        {"bluetoothMacAddress_2", "aa:bb:cc:dd:ee:ff"},
        {"type_2", "3"},
        {"locationType_2", "4"}}},
      {"sparse", {{"name_1", "Home"}, {"latitude_3", "37.5"}}},
      {"out-of-range", {{"name_0", "x"}, {"name_51", "y"}, {"name_-1", "z"}, {"name_", "w"}}},
      {"hostile-numbers",
       {{"category_1", "99999999999999999999"},
        {"latitude_1", "nan"},
        {"longitude_1", "-1e400"},
        {"name_9223372036854775808", "big"}}},
      {"ignored", {{"error_code", "-22"}, {"error_msg", "x"}, {"login_id", "a"}, {"name", "n"}}},
  };
  std::filesystem::create_directories(dir);
  for (const auto &[name, extras] : seeds) {
    std::string bytes;
    for (const auto &[k, v] : extras) {
      bytes += k;
      bytes.push_back('\0');
      bytes += v;
      bytes.push_back('\0');
    }
    FILE *f = fopen((std::string(dir) + "/" + name).c_str(), "wb");
    if (!f) abort();
    fwrite(bytes.data(), 1, bytes.size(), f);
    fclose(f);
  }
  printf("wrote %zu seeds to %s\n", seeds.size(), dir);
  exit(0);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  vfuzz::quiet_log();
  write_seeds();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > 64 * 1024) return 0;
  const Extras extras = split(data, size);
  app_control_h reply = nullptr;
  if (app_control_create(&reply) != APP_CONTROL_ERROR_NONE) abort();
  for (const auto &[k, v] : extras)
    if (app_control_add_extra_data(reply, k.c_str(), v.c_str()) != APP_CONTROL_ERROR_NONE) abort();
  velmora_account_place_list_h list = va_place_list_new();
  if (!list) abort();
  if (app_control_foreach_extra_data(reply, va_foreach_place_cb, list) != APP_CONTROL_ERROR_NONE)
    abort();

  long expected_count = 0;
  std::vector<bool> used(VA_PLACE_LIST_SLOTS, false);
  std::map<long, std::string> names;  // the last value of a "name" key per index
  for (const auto &[k, v] : extras) {
    const long index = index_of(k);
    if (index == 0) continue;
    used[index - 1] = true;
    if (index > expected_count) expected_count = index;
    if (k.find("name") != std::string::npos) names[index] = v;
  }
  if (list->count != expected_count) abort();
  for (int i = 0; i < VA_PLACE_LIST_SLOTS; ++i)
    if ((list->l[i] != nullptr) != used[i]) abort();
  for (const auto &[index, name] : names) {
    const char *got = list->l[index - 1]->name;
    if (!got || name != got) abort();
  }
  va_place_list_free(list);
  app_control_destroy(reply);
  return 0;
}
