// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the identity record and its witness file.
#include "identity.hh"

#include <glib.h>
#include <glib/gstdio.h>

#include "config.hh"
#include "keyed_hash.hh"
#include "secure_random.hh"

namespace vagent {

namespace {

constexpr size_t kInstanceBytes = 16;
constexpr const char *kGroup = "identity";
constexpr const char *kKey = "instance";

const Statement kRead{"SELECT instance, digest_key, created_at FROM identity WHERE id = 1",
                      Access::kLookup, "INTEGER PRIMARY KEY"};
// Two processes may make a new state at once: the first record stays, both read it back.
const Statement kCreate{
    "INSERT OR IGNORE INTO identity(id, instance, digest_key, created_at) VALUES(1, ?1, ?2, ?3)"};

}  // namespace

const SchemaArea &identity_schema() {
  static const SchemaArea area{"identity",
                               {
                                   // 1: one row, made with the state.
                                   "CREATE TABLE identity("
                                   "  id INTEGER PRIMARY KEY CHECK (id = 1),"
                                   "  instance TEXT NOT NULL,"
                                   "  digest_key BLOB NOT NULL,"
                                   "  created_at INTEGER NOT NULL);",
                               },
                               {&kRead, &kCreate}};
  return area;
}

Result<std::optional<IdentityRecord>> read_identity(StateDb &db) {
  Query q(db, kRead);
  Status st;
  if (!q.next(&st)) {
    if (!st.ok()) return st;
    return std::optional<IdentityRecord>{};
  }
  IdentityRecord r{q.text(0), q.blob(1), q.integer(2)};
  if (r.digest_key.size() != KeyedHash::kKeyBytes)
    return Status::fail(errc::kDbFailed, "the identity record's key is malformed");
  return std::optional<IdentityRecord>(std::move(r));
}

Result<IdentityRecord> create_identity(StateDb &db, int64_t now) {
  IdentityRecord r{random_hex(kInstanceBytes), KeyedHash::new_key(), now};
  {
    Query q(db, kCreate);
    q.bind(1, r.instance).bind_blob(2, r.digest_key.data(), r.digest_key.size()).bind(3, now);
    Status st = q.run();
    if (!st.ok()) return st;
  }
  Result<std::optional<IdentityRecord>> made = read_identity(db);
  if (!made.ok()) return made.status();
  if (!made.value()) return Status::fail(errc::kDbFailed, "the identity record was not made");
  return *made.value();
}

std::string identity_witness_path(const std::string &root) { return root + "/" + kIdentityFile; }

std::optional<std::string> read_identity_witness(const std::string &root) {
  GKeyFile *kf = g_key_file_new();
  std::optional<std::string> out;
  if (g_key_file_load_from_file(kf, identity_witness_path(root).c_str(), G_KEY_FILE_NONE,
                                nullptr)) {
    gchar *value = g_key_file_get_string(kf, kGroup, kKey, nullptr);
    if (value) out = g_strstrip(value);
    g_free(value);
  }
  g_key_file_free(kf);
  return out;
}

Status write_identity_witness(const std::string &root, const std::string &instance) {
  const std::string path = identity_witness_path(root);
  const std::string text = std::string("[") + kGroup + "]\n" + kKey + "=" + instance + "\n";
  GError *err = nullptr;
  // g_file_set_contents_full writes a temporary file and renames it over the old one.
  if (!g_file_set_contents_full(path.c_str(), text.c_str(), -1, G_FILE_SET_CONTENTS_CONSISTENT,
                                0600, &err)) {
    std::string why = err ? err->message : "unknown error";
    g_clear_error(&err);
    return Status::fail(errc::kDbFailed, "cannot write " + path + ": " + why);
  }
  return Status::success();
}

}  // namespace vagent
