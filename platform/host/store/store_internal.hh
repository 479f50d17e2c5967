// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: what the parts of the platform account store share.
//
// The store is one SQLite database per platform root, "<root>/store/accounts.db":
//
//   accounts(id INTEGER PRIMARY KEY AUTOINCREMENT, package_name TEXT NOT NULL, user_name TEXT,
//            UNIQUE(package_name, user_name))
//   account_custom(account_id INTEGER REFERENCES accounts(id) ON DELETE CASCADE, key TEXT,
//                  value TEXT, PRIMARY KEY(account_id, key))
//
// Records are visited in insertion order (the id); custom values in the order they were set.
// The database runs in WAL mode with a busy time-out, so that the account agent can write while
// applications read, each in its own process.
#pragma once

#include <sqlite3.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "account_store.h"

// The record behind an account_h: an in-memory copy, detached from the database.
struct account_s {
  int db_id = -1;
  std::optional<std::string> user_name;
  std::optional<std::string> package_name;
  std::vector<std::pair<std::string, std::string>> custom;  // keys unique, in the order set
};

namespace vstore {

// The prepared statements of a connection, by their job.
enum class Stmt {
  kSelectByPackage,
  kSelectAll,
  kInsertAccount,
  kInsertCustom,
  kFindId,
  kUpdateUserName,
  kDeleteCustom,
  kDeleteAccount,
  kBegin,
  kCommit,
  kRollback,
  kCount,  // number of statements, not a statement
};

// Exclusive use of the current root's store connection for the lifetime of the object. The
// connection is opened (and the schema created) on first use, and re-opened when the platform root
// changes or its database file was replaced.
class Session {
 public:
  Session();
  ~Session();
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  // ACCOUNT_ERROR_NONE, or why the database could not be opened.
  int status() const { return status_; }
  // A reset statement, ready to be bound (nullptr when it cannot be prepared; see error()).
  sqlite3_stmt *stmt(Stmt which);
  sqlite3 *db() const;

  // Transactions for writers: BEGIN IMMEDIATE takes the write lock at once, so a writer waits (up
  // to the busy time-out) instead of failing half-way.
  int begin();
  int commit();
  void rollback();

 private:
  int status_;
};

// Resets a statement when it goes out of use, so that no read snapshot stays open.
struct StmtUse {
  sqlite3_stmt *s;
  explicit StmtUse(sqlite3_stmt *stmt) : s(stmt) {}
  ~StmtUse() {
    if (s) sqlite3_reset(s);
  }
  StmtUse(const StmtUse &) = delete;
  StmtUse &operator=(const StmtUse &) = delete;
};

// Reads the records of a package (of every package with NULL) in walk order.
int load_records(const char *package_name, std::vector<account_s> *out);

// The store error for an SQLite result code (SQLITE_OK and SQLITE_DONE give ACCOUNT_ERROR_NONE).
int error_from_sqlite(int rc);

// ACCOUNT_ERROR_NONE when the calling process may write the records of `package_name`, else
// ACCOUNT_ERROR_PERMISSION_DENIED (store_access.cc).
int check_writer(const char *package_name);

// Busy time-out of the store's connections: VELMORA_STORE_BUSY_TIMEOUT_MS, default 5000.
int busy_timeout_ms();

}  // namespace vstore
