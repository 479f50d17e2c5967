// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the account store's database connection, schema and prepared statements.
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "dlog.h"
#include "host_root.hh"
#include "store_internal.hh"

namespace vstore {

namespace {

constexpr const char *kLogTag = "VELMORA_STORE";
constexpr int kSchemaVersion = 1;

constexpr const char *kSchema =
    "CREATE TABLE IF NOT EXISTS accounts("
    "  id INTEGER PRIMARY KEY AUTOINCREMENT,"
    "  package_name TEXT NOT NULL,"
    "  user_name TEXT,"
    "  UNIQUE(package_name, user_name));"
    "CREATE TABLE IF NOT EXISTS account_custom("
    "  account_id INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,"
    "  key TEXT NOT NULL,"
    "  value TEXT NOT NULL,"
    "  PRIMARY KEY(account_id, key));";

// The text of each statement of Stmt, in its order.
constexpr std::array<const char *, static_cast<size_t>(Stmt::kCount)> kStatements = {
    // kSelectByPackage: one row per (record, custom value); records without values once.
    "SELECT a.id, a.user_name, a.package_name, c.key, c.value FROM accounts a"
    " LEFT JOIN account_custom c ON c.account_id = a.id"
    " WHERE a.package_name = ?1 ORDER BY a.id, c.rowid",
    // kSelectAll: every package's records, for the admin listing.
    "SELECT a.id, a.user_name, a.package_name, c.key, c.value FROM accounts a"
    " LEFT JOIN account_custom c ON c.account_id = a.id"
    " ORDER BY a.package_name, a.id, c.rowid",
    // kInsertAccount
    "INSERT INTO accounts(package_name, user_name) VALUES(?1, ?2)",
    // kInsertCustom
    "INSERT OR REPLACE INTO account_custom(account_id, key, value) VALUES(?1, ?2, ?3)",
    // kFindId
    "SELECT id FROM accounts WHERE package_name = ?1 AND user_name = ?2",
    // kUpdateUserName
    "UPDATE accounts SET user_name = ?2 WHERE id = ?1",
    // kDeleteCustom
    "DELETE FROM account_custom WHERE account_id = ?1",
    // kDeleteAccount
    "DELETE FROM accounts WHERE id = ?1",
    // kBegin, kCommit, kRollback
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
};

// One open connection, to the database of one root. Only the current root's is kept.
struct Connection {
  sqlite3 *db = nullptr;
  std::string path;
  dev_t dev = 0;
  ino_t ino = 0;
  pid_t pid = 0;
  std::array<sqlite3_stmt *, static_cast<size_t>(Stmt::kCount)> stmts{};

  void close() {
    for (sqlite3_stmt *&s : stmts) {
      sqlite3_finalize(s);
      s = nullptr;
    }
    if (db) sqlite3_close_v2(db);
    db = nullptr;
    path.clear();
  }
  ~Connection() {
    // A process that forked must not close its parent's connection.
    if (pid == getpid()) close();
  }
};

std::recursive_mutex g_mutex;
Connection &connection() {
  static Connection c;
  return c;
}

int exec(sqlite3 *db, const char *sql) {
  int rc = sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK)
    dlog_print(DLOG_ERROR, kLogTag, "store: '%.40s' failed: %s", sql, sqlite3_errmsg(db));
  return rc;
}

int user_version(sqlite3 *db, int *version) {
  sqlite3_stmt *s = nullptr;
  int rc = sqlite3_prepare_v2(db, "PRAGMA user_version", -1, &s, nullptr);
  if (rc == SQLITE_OK) {
    rc = sqlite3_step(s);
    if (rc == SQLITE_ROW) {
      *version = sqlite3_column_int(s, 0);
      rc = SQLITE_OK;
    }
  }
  sqlite3_finalize(s);
  return rc;
}

// WAL, foreign keys and the schema. Creating the schema is one write transaction, so that two
// processes opening a new store at once do not trip over each other.
int prepare_database(sqlite3 *db) {
  sqlite3_busy_timeout(db, busy_timeout_ms());
  sqlite3_extended_result_codes(db, 1);  // tells a unique-key clash from other constraints
  int rc = exec(db, "PRAGMA journal_mode=WAL");
  if (rc != SQLITE_OK) return rc;
  if ((rc = exec(db, "PRAGMA foreign_keys=ON; PRAGMA synchronous=NORMAL")) != SQLITE_OK) return rc;
  int version = 0;
  if ((rc = user_version(db, &version)) != SQLITE_OK) return rc;
  if (version == kSchemaVersion) return SQLITE_OK;
  if (version > kSchemaVersion) {
    dlog_print(DLOG_ERROR, kLogTag, "store: schema version %d is newer than %d", version,
               kSchemaVersion);
    return SQLITE_ERROR;
  }
  if ((rc = exec(db, "BEGIN IMMEDIATE")) != SQLITE_OK) return rc;
  rc = exec(db, kSchema);
  if (rc == SQLITE_OK) rc = exec(db, "PRAGMA user_version=1");
  if (rc == SQLITE_OK) rc = exec(db, "COMMIT");
  if (rc != SQLITE_OK) sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
  return rc;
}

bool same_file(const Connection &c, const std::string &path) {
  if (!c.db || c.path != path || c.pid != getpid()) return false;
  struct stat st;
  return stat(path.c_str(), &st) == 0 && st.st_dev == c.dev && st.st_ino == c.ino;
}

// Opens (or keeps) the connection to the current root's store. ACCOUNT_ERROR_NONE or the error.
int ensure_open() {
  Connection &c = connection();
  const std::string path = vhost::root_path(vhost::kStoreDb);
  std::string refusal;
  if (vhost::root_check(&refusal) == vhost::RootState::kRefused) {
    vhost::log_refusal(refusal);
    return ACCOUNT_ERROR_PERMISSION_DENIED;
  }
  if (same_file(c, path)) return ACCOUNT_ERROR_NONE;
  if (c.pid == getpid()) {
    c.close();
  } else if (c.db) {
    // Inherited from the parent of a fork: closing it here would release the parent's locks, so it
    // is left untouched, and kept where leak checkers see it as held, for the life of this process.
    static std::vector<sqlite3 *> inherited;
    inherited.push_back(c.db);
    c.db = nullptr;
    c.stmts.fill(nullptr);
  }
  c.pid = getpid();

  // The database (and so its WAL and shared-memory files, which take its mode) is private.
  std::string error;
  if (!vhost::private_file(path, &error)) {
    vhost::log_refusal("store: " + error);
    return ACCOUNT_ERROR_DB_NOT_OPENED;
  }
  sqlite3 *db = nullptr;
  int rc = sqlite3_open_v2(
      path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  if (rc != SQLITE_OK) {
    dlog_print(DLOG_ERROR, kLogTag, "store: cannot open %s: %s", path.c_str(),
               db ? sqlite3_errmsg(db) : sqlite3_errstr(rc));
    sqlite3_close_v2(db);
    return ACCOUNT_ERROR_DB_NOT_OPENED;
  }
  rc = prepare_database(db);
  if (rc != SQLITE_OK) {
    sqlite3_close_v2(db);
    int err = error_from_sqlite(rc);
    return err == ACCOUNT_ERROR_DATABASE_BUSY ? err : ACCOUNT_ERROR_DB_NOT_OPENED;
  }
  struct stat st;
  if (stat(path.c_str(), &st) != 0) {
    sqlite3_close_v2(db);
    return ACCOUNT_ERROR_DB_NOT_OPENED;
  }
  c.db = db;
  c.path = path;
  c.dev = st.st_dev;
  c.ino = st.st_ino;
  return ACCOUNT_ERROR_NONE;
}

}  // namespace

int busy_timeout_ms() {
  const char *text = getenv("VELMORA_STORE_BUSY_TIMEOUT_MS");
  if (text && *text) {
    char *end = nullptr;
    long v = strtol(text, &end, 10);
    if (end != text && *end == '\0' && v >= 0 && v <= 600000) return static_cast<int>(v);
  }
  return 5000;
}

int error_from_sqlite(int rc) {
  switch (rc & 0xff) {
    case SQLITE_OK:
    case SQLITE_DONE:
    case SQLITE_ROW:
      return ACCOUNT_ERROR_NONE;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return ACCOUNT_ERROR_DATABASE_BUSY;
    case SQLITE_NOMEM:
      return ACCOUNT_ERROR_OUT_OF_MEMORY;
    case SQLITE_CONSTRAINT:
      return rc == SQLITE_CONSTRAINT_UNIQUE || rc == SQLITE_CONSTRAINT_PRIMARYKEY
                 ? ACCOUNT_ERROR_DUPLICATED
                 : ACCOUNT_ERROR_DB_FAILED;
    case SQLITE_CANTOPEN:
    case SQLITE_NOTADB:
      return ACCOUNT_ERROR_DB_NOT_OPENED;
    default:
      return ACCOUNT_ERROR_DB_FAILED;
  }
}

Session::Session() {
  g_mutex.lock();
  status_ = ensure_open();
}

Session::~Session() { g_mutex.unlock(); }

sqlite3 *Session::db() const { return connection().db; }

sqlite3_stmt *Session::stmt(Stmt which) {
  Connection &c = connection();
  if (!c.db) return nullptr;
  sqlite3_stmt *&s = c.stmts[static_cast<size_t>(which)];
  if (!s) {
    int rc = sqlite3_prepare_v3(c.db, kStatements[static_cast<size_t>(which)], -1,
                                SQLITE_PREPARE_PERSISTENT, &s, nullptr);
    if (rc != SQLITE_OK) {
      dlog_print(DLOG_ERROR, kLogTag, "store: prepare failed: %s", sqlite3_errmsg(c.db));
      s = nullptr;
      return nullptr;
    }
  }
  sqlite3_reset(s);
  sqlite3_clear_bindings(s);
  return s;
}

int Session::begin() {
  sqlite3_stmt *s = stmt(Stmt::kBegin);
  if (!s) return ACCOUNT_ERROR_DB_FAILED;
  int rc = sqlite3_step(s);
  sqlite3_reset(s);
  return error_from_sqlite(rc);
}

int Session::commit() {
  sqlite3_stmt *s = stmt(Stmt::kCommit);
  if (!s) return ACCOUNT_ERROR_DB_FAILED;
  int rc = sqlite3_step(s);
  sqlite3_reset(s);
  if (rc != SQLITE_DONE) rollback();
  return error_from_sqlite(rc);
}

void Session::rollback() {
  if (!db() || sqlite3_get_autocommit(db())) return;
  sqlite3_stmt *s = stmt(Stmt::kRollback);
  if (s) {
    sqlite3_step(s);
    sqlite3_reset(s);
  }
}

}  // namespace vstore
