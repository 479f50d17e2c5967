// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: reading the account store (the walk over a package's records).
#include <string>
#include <vector>

#include "store_internal.hh"

namespace {

const char *column_text(sqlite3_stmt *s, int col) {
  return reinterpret_cast<const char *>(sqlite3_column_text(s, col));
}

}  // namespace

namespace vstore {

// Reads the package's records (every package's with NULL) into memory. The walk then runs without
// the store's lock, so a callback may itself use the store.
int load_records(const char *package_name, std::vector<account_s> *out) {
  vstore::Session session;
  if (session.status() != ACCOUNT_ERROR_NONE) return session.status();
  sqlite3_stmt *s =
      session.stmt(package_name ? vstore::Stmt::kSelectByPackage : vstore::Stmt::kSelectAll);
  if (!s) return ACCOUNT_ERROR_DB_FAILED;
  vstore::StmtUse use(s);
  if (package_name) sqlite3_bind_text(s, 1, package_name, -1, SQLITE_TRANSIENT);
  int rc;
  while ((rc = sqlite3_step(s)) == SQLITE_ROW) {
    const int id = sqlite3_column_int(s, 0);
    if (out->empty() || out->back().db_id != id) {
      account_s record;
      record.db_id = id;
      if (const char *user = column_text(s, 1)) record.user_name = user;
      if (const char *package = column_text(s, 2)) record.package_name = package;
      out->push_back(std::move(record));
    }
    const char *key = column_text(s, 3);
    const char *value = column_text(s, 4);
    if (key && value) out->back().custom.emplace_back(key, value);
  }
  return vstore::error_from_sqlite(rc);
}

}  // namespace vstore

extern "C" int account_query_account_by_package_name(account_cb callback, const char *package_name,
                                                     void *user_data) {
  if (!callback || !package_name) return ACCOUNT_ERROR_INVALID_PARAMETER;
  std::vector<account_s> records;
  int err = vstore::load_records(package_name, &records);
  if (err != ACCOUNT_ERROR_NONE) return err;
  if (records.empty()) return ACCOUNT_ERROR_RECORD_NOT_FOUND;
  for (account_s &record : records)
    if (!callback(&record, user_data)) break;
  return ACCOUNT_ERROR_NONE;
}
