// SPDX-License-Identifier: Apache-2.0
// Velmora agent: reading and writing the fault injection file.
#include "faults.hh"

#include <glib.h>
#include <glib/gstdio.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "config.hh"
#include "dlog.h"
#include "velmora_host.h"

namespace vagent {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";
constexpr long kMaxDelayMs = 600000;

struct KeyFileDeleter {
  void operator()(GKeyFile *k) const { g_key_file_free(k); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileDeleter>;

enum class Kind { kDelay, kCode, kFlag };

// One row per key: its name, its kind and where it goes in a Fault.
struct KeyDef {
  const char *name;
  Kind kind;
  bool Fault::*flag;  // for kFlag
};

const std::vector<KeyDef> &key_table() {
  static const std::vector<KeyDef> table = {
      {"delay_ms", Kind::kDelay, nullptr},
      {"error_code", Kind::kCode, nullptr},
      {"never_answer", Kind::kFlag, &Fault::never_answer},
      {"crash", Kind::kFlag, &Fault::crash},
      {"close_connection", Kind::kFlag, &Fault::close_connection},
      {"reject_connection", Kind::kFlag, &Fault::reject_connection},
      {"push_unknown_delegate_id", Kind::kFlag, &Fault::push_unknown_delegate_id},
      {"push_wrong_sequence", Kind::kFlag, &Fault::push_wrong_sequence},
      {"push_malformed_body", Kind::kFlag, &Fault::push_malformed_body},
  };
  return table;
}

const KeyDef *find_key(const std::string &name) {
  for (const KeyDef &k : key_table())
    if (name == k.name) return &k;
  return nullptr;
}

bool parse_delay(const std::string &text, int *out) {
  char *end = nullptr;
  errno = 0;
  long v = strtol(text.c_str(), &end, 10);
  if (text.empty() || errno || *end || v < 0 || v > kMaxDelayMs) return false;
  *out = static_cast<int>(v);
  return true;
}

// Decimal int32, or hex (0x...) up to 32 bits taken as the int32 with the same bits.
bool parse_code(const std::string &text, int *out) {
  char *end = nullptr;
  errno = 0;
  long long v = strtoll(text.c_str(), &end, 0);
  if (text.empty() || errno || *end) return false;
  const bool hex = text.find("0x") != std::string::npos || text.find("0X") != std::string::npos;
  if (hex && v >= 0 && v <= 0xFFFFFFFFll) {
    *out = static_cast<int>(static_cast<uint32_t>(v));
    return true;
  }
  if (v < INT_MIN || v > INT_MAX) return false;
  *out = static_cast<int>(v);
  return true;
}

bool parse_flag(const std::string &text, bool *out) {
  if (text == "true" || text == "1" || text == "yes") {
    *out = true;
    return true;
  }
  if (text == "false" || text == "0" || text == "no") {
    *out = false;
    return true;
  }
  return false;
}

// Applies one key's text to a fault. False for a bad value.
bool apply(const KeyDef &key, const std::string &value, Fault *fault) {
  switch (key.kind) {
    case Kind::kDelay:
      return parse_delay(value, &fault->delay_ms);
    case Kind::kCode: {
      int code = 0;
      if (!parse_code(value, &code)) return false;
      fault->error_code = code;
      return true;
    }
    case Kind::kFlag:
      return parse_flag(value, &(fault->*key.flag));
  }
  return false;
}

// Overlays the keys present in `group` onto `fault`. Bad values are skipped with a warning.
void read_group(GKeyFile *kf, const char *group, Fault *fault) {
  if (!g_key_file_has_group(kf, group)) return;
  for (const KeyDef &key : key_table()) {
    gchar *value = g_key_file_get_value(kf, group, key.name, nullptr);
    if (!value) continue;
    gchar *stripped = g_strstrip(value);
    if (!apply(key, stripped, fault))
      dlog_print(DLOG_WARN, kLogTag, "faults: [%s] %s: bad value ignored", group, key.name);
    g_free(value);
  }
}

KeyFile load(const std::string &path, bool *exists) {
  KeyFile kf(g_key_file_new());
  GError *err = nullptr;
  *exists = g_key_file_load_from_file(kf.get(), path.c_str(), G_KEY_FILE_KEEP_COMMENTS, &err);
  if (!*exists) {
    if (err && !g_error_matches(err, G_FILE_ERROR, G_FILE_ERROR_NOENT))
      dlog_print(DLOG_WARN, kLogTag, "faults: %s ignored: %s", path.c_str(), err->message);
    if (err) g_error_free(err);
    kf.reset(g_key_file_new());
  }
  return kf;
}

bool valid_operation(const std::string &op) {
  if (op == kAllOperations) return true;
  if (op.empty() || op.size() > 128) return false;
  for (char c : op)
    if (!g_ascii_isalnum(c) && c != '_' && c != '-' && c != '.') return false;
  return true;
}

Status save(GKeyFile *kf, const std::string &root) {
  const std::string path = faults_path(root);
  const std::string dir = root + "/" + kStateDir;
  if (g_mkdir_with_parents(dir.c_str(), 0700) != 0)
    return Status::fail(errc::kDbFailed, "cannot create " + dir);
  GError *err = nullptr;
  // g_key_file_save_to_file writes a temporary file and renames it: a reader never sees half.
  if (!g_key_file_save_to_file(kf, path.c_str(), &err)) {
    std::string why = err ? err->message : "unknown error";
    if (err) g_error_free(err);
    return Status::fail(errc::kDbFailed, "cannot write " + path + ": " + why);
  }
  return Status::success();
}

}  // namespace

bool Fault::any() const {
  return delay_ms > 0 || error_code.has_value() || never_answer || crash || close_connection ||
         reject_connection || push_unknown_delegate_id || push_wrong_sequence ||
         push_malformed_body;
}

std::vector<Fault::Setting> Fault::settings() const {
  std::vector<Setting> out;
  for (const KeyDef &key : key_table()) {
    if (key.kind == Kind::kDelay && delay_ms > 0) out.push_back({key.name, false, delay_ms});
    if (key.kind == Kind::kCode && error_code) out.push_back({key.name, false, *error_code});
    if (key.kind == Kind::kFlag && this->*key.flag) out.push_back({key.name, true, 1});
  }
  return out;
}

std::string Fault::describe() const {
  std::string out;
  for (const Setting &s : settings())
    out += (out.empty() ? "" : " ") + std::string(s.key) + "=" +
           (s.is_flag ? "true" : std::to_string(s.value));
  return out;
}

std::string faults_path(const std::string &root) { return root + "/" + kFaultsFile; }

std::vector<std::string> fault_keys() {
  std::vector<std::string> names;
  for (const KeyDef &k : key_table()) names.push_back(k.name);
  return names;
}

Fault faults_for(const std::string &operation) {
  return faults_for(velmora_host_root(), operation);
}

namespace {

Fault faults_in(GKeyFile *kf, const std::string &operation) {
  Fault fault;
  read_group(kf, kAllOperations, &fault);
  if (operation != kAllOperations) read_group(kf, operation.c_str(), &fault);
  return fault;
}

}  // namespace

Fault faults_for(const std::string &root, const std::string &operation) {
  bool exists = false;
  KeyFile kf = load(faults_path(root), &exists);
  if (!exists) return Fault{};
  return faults_in(kf.get(), operation);
}

FaultsFile::FaultsFile(const std::string &root) : path_(faults_path(root)), watch_(path_) {}

FaultsFile::~FaultsFile() {
  if (file_) g_key_file_free(file_);
}

Fault FaultsFile::faults(const std::string &operation) {
  if (watch_.changed()) {
    by_operation_.clear();
    ++reads_;
    bool exists = false;
    KeyFile kf = load(path_, &exists);
    if (file_) g_key_file_free(file_);
    file_ = exists ? kf.release() : nullptr;
  }
  auto known = by_operation_.find(operation);
  if (known != by_operation_.end()) return known->second;
  const Fault fault = file_ ? faults_in(file_, operation) : Fault{};
  // Bounded: operation names come from the servers' tables, not from callers.
  by_operation_.emplace(operation, fault);
  return fault;
}

Status set_faults(const std::string &root, const std::string &operation,
                  const std::vector<std::pair<std::string, std::string>> &settings) {
  if (!valid_operation(operation))
    return Status::fail(errc::kInvalidParameter, "invalid operation name '" + operation + "'");
  if (settings.empty()) return Status::fail(errc::kInvalidParameter, "no fault given");
  for (const auto &kv : settings) {
    const KeyDef *key = find_key(kv.first);
    if (!key) return Status::fail(errc::kUnknownFaultKey, "unknown fault key '" + kv.first + "'");
    Fault scratch;
    if (!apply(*key, kv.second, &scratch))
      return Status::fail(errc::kUnknownFaultKey,
                          "bad value '" + kv.second + "' for fault key '" + kv.first + "'");
  }
  bool exists = false;
  KeyFile kf = load(faults_path(root), &exists);
  for (const auto &kv : settings)
    g_key_file_set_value(kf.get(), operation.c_str(), kv.first.c_str(), kv.second.c_str());
  return save(kf.get(), root);
}

Status clear_faults(const std::string &root) {
  const std::string path = faults_path(root);
  if (g_unlink(path.c_str()) != 0 && errno != ENOENT)
    return Status::fail(errc::kDbFailed, "cannot remove " + path + ": " + strerror(errno));
  return Status::success();
}

Status clear_faults(const std::string &root, const std::string &operation) {
  if (!valid_operation(operation))
    return Status::fail(errc::kInvalidParameter, "invalid operation name '" + operation + "'");
  bool exists = false;
  KeyFile kf = load(faults_path(root), &exists);
  if (!exists || !g_key_file_has_group(kf.get(), operation.c_str())) return Status::success();
  g_key_file_remove_group(kf.get(), operation.c_str(), nullptr);
  return save(kf.get(), root);
}

std::vector<std::pair<std::string, Fault>> list_faults(const std::string &root) {
  std::vector<std::pair<std::string, Fault>> out;
  bool exists = false;
  KeyFile kf = load(faults_path(root), &exists);
  if (!exists) return out;
  gsize n = 0;
  gchar **groups = g_key_file_get_groups(kf.get(), &n);
  for (gsize i = 0; i < n; ++i) {
    Fault f;
    read_group(kf.get(), groups[i], &f);
    out.emplace_back(groups[i], f);
  }
  g_strfreev(groups);
  return out;
}

}  // namespace vagent
