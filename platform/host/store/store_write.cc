// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: writing the account store (insert, update and delete by user name).
#include "store_internal.hh"
#include "velmora_host_store.h"

namespace {

// Runs a write statement to its end. ACCOUNT_ERROR_NONE or the store error.
int run(sqlite3_stmt *s) {
  if (!s) return ACCOUNT_ERROR_DB_FAILED;
  vstore::StmtUse use(s);
  return vstore::error_from_sqlite(sqlite3_step(s));
}

void bind_optional(sqlite3_stmt *s, int index, const std::optional<std::string> &value) {
  if (value)
    sqlite3_bind_text(s, index, value->c_str(), -1, SQLITE_TRANSIENT);
  else
    sqlite3_bind_null(s, index);
}

int insert_custom(vstore::Session &session, sqlite3_int64 id, const account_s &account) {
  for (const auto &kv : account.custom) {
    sqlite3_stmt *s = session.stmt(vstore::Stmt::kInsertCustom);
    if (!s) return ACCOUNT_ERROR_DB_FAILED;
    sqlite3_bind_int64(s, 1, id);
    sqlite3_bind_text(s, 2, kv.first.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(s, 3, kv.second.c_str(), -1, SQLITE_TRANSIENT);
    int err = run(s);
    if (err != ACCOUNT_ERROR_NONE) return err;
  }
  return ACCOUNT_ERROR_NONE;
}

// The id of the record of `user_name` in `package_name`: ACCOUNT_ERROR_RECORD_NOT_FOUND when none.
int find_id(vstore::Session &session, const char *user_name, const char *package_name,
            sqlite3_int64 *id) {
  sqlite3_stmt *s = session.stmt(vstore::Stmt::kFindId);
  if (!s) return ACCOUNT_ERROR_DB_FAILED;
  vstore::StmtUse use(s);
  sqlite3_bind_text(s, 1, package_name, -1, SQLITE_TRANSIENT);
  sqlite3_bind_text(s, 2, user_name, -1, SQLITE_TRANSIENT);
  int rc = sqlite3_step(s);
  if (rc == SQLITE_ROW) {
    *id = sqlite3_column_int64(s, 0);
    return ACCOUNT_ERROR_NONE;
  }
  return rc == SQLITE_DONE ? ACCOUNT_ERROR_RECORD_NOT_FOUND : vstore::error_from_sqlite(rc);
}

int delete_record(vstore::Session &session, sqlite3_int64 id) {
  for (vstore::Stmt which : {vstore::Stmt::kDeleteCustom, vstore::Stmt::kDeleteAccount}) {
    sqlite3_stmt *s = session.stmt(which);
    if (!s) return ACCOUNT_ERROR_DB_FAILED;
    sqlite3_bind_int64(s, 1, id);
    int e = run(s);
    if (e != ACCOUNT_ERROR_NONE) return e;
  }
  return ACCOUNT_ERROR_NONE;
}

// Runs `body` in one write transaction: committed when it returns ACCOUNT_ERROR_NONE, else rolled
// back. Returns the body's error or the commit's.
template <typename Body>
int in_transaction(Body body) {
  vstore::Session session;
  if (session.status() != ACCOUNT_ERROR_NONE) return session.status();
  int err = session.begin();
  if (err != ACCOUNT_ERROR_NONE) return err;
  err = body(session);
  if (err != ACCOUNT_ERROR_NONE) {
    session.rollback();
    return err;
  }
  return session.commit();
}

}  // namespace

extern "C" int account_insert_to_db(account_h account, int *account_db_id) {
  if (!account || !account_db_id) return ACCOUNT_ERROR_INVALID_PARAMETER;
  if (!account->package_name) return ACCOUNT_ERROR_INVALID_PARAMETER;
  if (int denied = vstore::check_writer(account->package_name->c_str())) return denied;
  sqlite3_int64 id = -1;
  int err = in_transaction([&](vstore::Session &session) {
    sqlite3_stmt *s = session.stmt(vstore::Stmt::kInsertAccount);
    if (!s) return static_cast<int>(ACCOUNT_ERROR_DB_FAILED);
    sqlite3_bind_text(s, 1, account->package_name->c_str(), -1, SQLITE_TRANSIENT);
    bind_optional(s, 2, account->user_name);
    int e = run(s);
    if (e != ACCOUNT_ERROR_NONE) return e;
    id = sqlite3_last_insert_rowid(session.db());
    return insert_custom(session, id, *account);
  });
  if (err != ACCOUNT_ERROR_NONE) return err;
  account->db_id = static_cast<int>(id);
  *account_db_id = static_cast<int>(id);
  return ACCOUNT_ERROR_NONE;
}

extern "C" int account_update_to_db_by_user_name(account_h account, const char *user_name,
                                                 const char *package_name) {
  if (!account || !user_name || !package_name) return ACCOUNT_ERROR_INVALID_PARAMETER;
  if (int denied = vstore::check_writer(package_name)) return denied;
  return in_transaction([&](vstore::Session &session) {
    sqlite3_int64 id = -1;
    int e = find_id(session, user_name, package_name, &id);
    if (e != ACCOUNT_ERROR_NONE) return e;
    if (account->user_name) {
      sqlite3_stmt *s = session.stmt(vstore::Stmt::kUpdateUserName);
      if (!s) return static_cast<int>(ACCOUNT_ERROR_DB_FAILED);
      sqlite3_bind_int64(s, 1, id);
      sqlite3_bind_text(s, 2, account->user_name->c_str(), -1, SQLITE_TRANSIENT);
      if ((e = run(s)) != ACCOUNT_ERROR_NONE) return e;
    }
    sqlite3_stmt *s = session.stmt(vstore::Stmt::kDeleteCustom);
    if (!s) return static_cast<int>(ACCOUNT_ERROR_DB_FAILED);
    sqlite3_bind_int64(s, 1, id);
    if ((e = run(s)) != ACCOUNT_ERROR_NONE) return e;
    return insert_custom(session, id, *account);
  });
}

extern "C" int account_delete_from_db_by_user_name(const char *user_name,
                                                   const char *package_name) {
  if (!user_name || !package_name) return ACCOUNT_ERROR_INVALID_PARAMETER;
  if (int denied = vstore::check_writer(package_name)) return denied;
  return in_transaction([&](vstore::Session &session) {
    sqlite3_int64 id = -1;
    int e = find_id(session, user_name, package_name, &id);
    if (e != ACCOUNT_ERROR_NONE) return e;
    return delete_record(session, id);
  });
}

namespace {

account_s record_of(const char *package_name, const velmora_host_store_record_s &r) {
  account_s a;
  a.package_name = package_name;
  if (r.user_name) a.user_name = r.user_name;
  for (size_t k = 0; k < r.n_custom; ++k) a.custom.emplace_back(r.keys[k], r.values[k]);
  return a;
}

bool same_record(const account_s &have, const account_s &want) {
  return have.user_name == want.user_name && have.custom == want.custom;
}

}  // namespace

// The records already right up to the first one out of place stay as they are; from there on they
// are deleted and the wanted ones inserted, all in one transaction: a reader sees the package's
// records as they were before or as they are after, never half-way.
extern "C" int velmora_host_store_replace(const char *package_name,
                                          const velmora_host_store_record_s *records,
                                          size_t n_records) {
  if (!package_name || (n_records > 0 && !records)) return ACCOUNT_ERROR_INVALID_PARAMETER;
  for (size_t i = 0; i < n_records; ++i)
    for (size_t k = 0; k < records[i].n_custom; ++k)
      if (!records[i].keys || !records[i].values || !records[i].keys[k] || !records[i].values[k])
        return ACCOUNT_ERROR_INVALID_PARAMETER;
  if (int denied = vstore::check_writer(package_name)) return denied;
  std::vector<account_s> want;
  want.reserve(n_records);
  for (size_t i = 0; i < n_records; ++i) want.push_back(record_of(package_name, records[i]));
  return in_transaction([&](vstore::Session &session) {
    std::vector<account_s> have;
    int e = vstore::load_records(package_name, &have);
    if (e != ACCOUNT_ERROR_NONE) return e;
    size_t keep = 0;
    while (keep < have.size() && keep < want.size() && same_record(have[keep], want[keep])) ++keep;
    for (size_t i = keep; i < have.size(); ++i)
      if ((e = delete_record(session, have[i].db_id)) != ACCOUNT_ERROR_NONE) return e;
    for (size_t i = keep; i < want.size(); ++i) {
      sqlite3_stmt *s = session.stmt(vstore::Stmt::kInsertAccount);
      if (!s) return static_cast<int>(ACCOUNT_ERROR_DB_FAILED);
      sqlite3_bind_text(s, 1, package_name, -1, SQLITE_TRANSIENT);
      bind_optional(s, 2, want[i].user_name);
      if ((e = run(s)) != ACCOUNT_ERROR_NONE) return e;
      if ((e = insert_custom(session, sqlite3_last_insert_rowid(session.db()), want[i])) !=
          ACCOUNT_ERROR_NONE)
        return e;
    }
    return static_cast<int>(ACCOUNT_ERROR_NONE);
  });
}
