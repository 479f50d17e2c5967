// Velmora agent: the agent's state database (connection, migrations, cached statements).
#include "state_db.hh"

#include <glib.h>

#include <cstdlib>
#include <vector>

#include "dlog.h"
#include "velmora_host.h"

namespace vagent {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";
constexpr int kBusyTimeoutMs = 5000;

// The schema, one migration per version. Never edit an applied migration: append a new one.
const std::vector<const char *> &migrations() {
  static const std::vector<const char *> list = {
      // 1: users, clients, signed-in accounts, tokens, codes, account linking.
      "CREATE TABLE users("
      "  login_id TEXT PRIMARY KEY,"
      "  user_id TEXT NOT NULL UNIQUE,"
      "  password_hash TEXT NOT NULL,"
      "  country_code TEXT NOT NULL DEFAULT '',"
      "  mcc TEXT NOT NULL DEFAULT '',"
      "  api_server_url TEXT NOT NULL DEFAULT '',"
      "  auth_server_url TEXT NOT NULL DEFAULT '',"
      "  tnc INTEGER NOT NULL DEFAULT 0,"
      "  created_at INTEGER NOT NULL);"
      "CREATE TABLE clients("
      "  client_id TEXT PRIMARY KEY,"
      "  secret_hash TEXT,"
      "  scopes TEXT NOT NULL DEFAULT '',"
      "  token_lifetime INTEGER NOT NULL);"
      "CREATE TABLE signed_in("
      "  seq INTEGER PRIMARY KEY AUTOINCREMENT,"
      "  login_id TEXT NOT NULL UNIQUE REFERENCES users(login_id) ON DELETE CASCADE,"
      "  signed_in_at INTEGER NOT NULL,"
      "  is_default INTEGER NOT NULL DEFAULT 0);"
      "CREATE TABLE access_tokens("
      "  seq INTEGER PRIMARY KEY AUTOINCREMENT,"
      "  token TEXT NOT NULL UNIQUE,"
      "  login_id TEXT NOT NULL,"
      "  client_id TEXT NOT NULL,"
      "  scope TEXT NOT NULL,"
      "  issue_time INTEGER NOT NULL,"
      "  expires_in INTEGER NOT NULL);"
      "CREATE INDEX access_tokens_owner ON access_tokens(login_id, client_id);"
      "CREATE TABLE refresh_tokens("
      "  token_hash TEXT PRIMARY KEY,"
      "  login_id TEXT NOT NULL,"
      "  client_id TEXT NOT NULL,"
      "  scope TEXT NOT NULL,"
      "  issue_time INTEGER NOT NULL,"
      "  expires_in INTEGER NOT NULL);"
      "CREATE TABLE codes("
      "  code_hash TEXT PRIMARY KEY,"
      "  kind TEXT NOT NULL,"
      "  login_id TEXT NOT NULL,"
      "  client_id TEXT NOT NULL,"
      "  scope TEXT NOT NULL,"
      "  device_code TEXT NOT NULL DEFAULT '',"
      "  issue_time INTEGER NOT NULL,"
      "  expires_in INTEGER NOT NULL,"
      "  used INTEGER NOT NULL DEFAULT 0);"
      "CREATE TABLE linking("
      "  login_id TEXT NOT NULL,"
      "  partner_client_id TEXT NOT NULL,"
      "  linked INTEGER NOT NULL,"
      "  PRIMARY KEY(login_id, partner_client_id));",
  };
  return list;
}

int exec(sqlite3 *db, const char *sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }

int read_version(sqlite3 *db) {
  sqlite3_stmt *s = nullptr;
  int version = -1;
  if (sqlite3_prepare_v2(db, "PRAGMA user_version", -1, &s, nullptr) == SQLITE_OK &&
      sqlite3_step(s) == SQLITE_ROW)
    version = sqlite3_column_int(s, 0);
  sqlite3_finalize(s);
  return version;
}

// Applies the migrations the database lacks, all in one write transaction.
int migrate(sqlite3 *db) {
  const int latest = static_cast<int>(migrations().size());
  if (read_version(db) == latest) return SQLITE_OK;
  int rc = exec(db, "BEGIN IMMEDIATE");
  if (rc != SQLITE_OK) return rc;
  int version = read_version(db);  // again, under the lock: another process may have migrated
  if (version < 0 || version > latest) {
    exec(db, "ROLLBACK");
    dlog_print(DLOG_ERROR, kLogTag, "state: schema version %d is not one this agent knows",
               version);
    return SQLITE_MISMATCH;
  }
  for (; version < latest && rc == SQLITE_OK; ++version) {
    rc = exec(db, migrations()[static_cast<size_t>(version)]);
    if (rc == SQLITE_OK) {
      std::string pragma = "PRAGMA user_version=" + std::to_string(version + 1);
      rc = exec(db, pragma.c_str());
    }
  }
  if (rc == SQLITE_OK) rc = exec(db, "COMMIT");
  if (rc != SQLITE_OK) {
    dlog_print(DLOG_ERROR, kLogTag, "state: migration failed: %s", sqlite3_errmsg(db));
    exec(db, "ROLLBACK");
  }
  return rc;
}

}  // namespace

Result<std::unique_ptr<StateDb>> StateDb::open(const std::string &path) {
  // The platform makes the file (and so its WAL and shared-memory files) private, in a directory
  // of the root that only this user can change.
  char *why = nullptr;
  if (velmora_host_prepare_state_file(path.c_str(), &why) != 0) {
    Status st = Status::fail(errc::kDbFailed, why ? why : "cannot prepare " + path);
    free(why);
    return st;
  }
  sqlite3 *db = nullptr;
  int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  if (rc != SQLITE_OK) {
    std::string why = db ? sqlite3_errmsg(db) : sqlite3_errstr(rc);
    sqlite3_close_v2(db);
    return Status::fail(errc::kDbFailed, "cannot open " + path + ": " + why);
  }
  sqlite3_busy_timeout(db, kBusyTimeoutMs);
  sqlite3_extended_result_codes(db, 1);
  rc = exec(db, "PRAGMA journal_mode=WAL");
  if (rc == SQLITE_OK) rc = exec(db, "PRAGMA foreign_keys=ON; PRAGMA synchronous=NORMAL");
  if (rc == SQLITE_OK) rc = migrate(db);
  if (rc != SQLITE_OK) {
    std::string why = sqlite3_errmsg(db);
    sqlite3_close_v2(db);
    return Status::fail((rc & 0xff) == SQLITE_BUSY ? errc::kResourceBusy : errc::kDbFailed,
                        "cannot prepare " + path + ": " + why);
  }
  return std::unique_ptr<StateDb>(new StateDb(db, path));
}

StateDb::~StateDb() {
  for (auto &entry : statements_) sqlite3_finalize(entry.second);
  sqlite3_close_v2(db_);
}

int StateDb::schema_version() const { return read_version(db_); }

int StateDb::latest_schema_version() { return static_cast<int>(migrations().size()); }

sqlite3_stmt *StateDb::prepare(const char *sql) {
  auto it = statements_.find(sql);
  if (it != statements_.end()) {
    sqlite3_reset(it->second);
    sqlite3_clear_bindings(it->second);
    return it->second;
  }
  sqlite3_stmt *s = nullptr;
  if (sqlite3_prepare_v3(db_, sql, -1, SQLITE_PREPARE_PERSISTENT, &s, nullptr) != SQLITE_OK) {
    dlog_print(DLOG_ERROR, kLogTag, "state: cannot prepare '%s': %s", sql, sqlite3_errmsg(db_));
    return nullptr;
  }
  statements_.emplace(sql, s);
  return s;
}

Status StateDb::failure(int rc, const char *what) const {
  const bool busy = (rc & 0xff) == SQLITE_BUSY || (rc & 0xff) == SQLITE_LOCKED;
  std::string message = std::string(what) + ": " + sqlite3_errstr(rc);
  dlog_print(DLOG_ERROR, kLogTag, "state: %s", message.c_str());
  return Status::fail(busy ? errc::kResourceBusy : errc::kDbFailed, message);
}

Query::~Query() {
  if (stmt_) sqlite3_reset(stmt_);
}

Query &Query::bind(int index, const std::string &value) {
  if (stmt_) sqlite3_bind_text(stmt_, index, value.c_str(), -1, SQLITE_TRANSIENT);
  return *this;
}

Query &Query::bind(int index, int64_t value) {
  if (stmt_) sqlite3_bind_int64(stmt_, index, value);
  return *this;
}

Query &Query::bind_null(int index) {
  if (stmt_) sqlite3_bind_null(stmt_, index);
  return *this;
}

int Query::step() { return stmt_ ? sqlite3_step(stmt_) : SQLITE_ERROR; }

Status Query::run() {
  int rc;
  while ((rc = step()) == SQLITE_ROW) {
  }
  if (rc == SQLITE_DONE) return Status::success();
  return db_.failure(rc, sql_);
}

bool Query::next(Status *status) {
  int rc = step();
  if (rc == SQLITE_ROW) return true;
  if (rc != SQLITE_DONE) *status = db_.failure(rc, sql_);
  return false;
}

std::string Query::text(int column) const {
  const unsigned char *t = stmt_ ? sqlite3_column_text(stmt_, column) : nullptr;
  return t ? reinterpret_cast<const char *>(t) : "";
}

int64_t Query::integer(int column) const { return stmt_ ? sqlite3_column_int64(stmt_, column) : 0; }

bool Query::is_null(int column) const {
  return !stmt_ || sqlite3_column_type(stmt_, column) == SQLITE_NULL;
}

Transaction::Transaction(StateDb &db) : db_(db) {
  if (!sqlite3_get_autocommit(db.handle())) {
    outer_ = true;  // part of a transaction already running
    return;
  }
  int rc = exec(db.handle(), "BEGIN IMMEDIATE");
  if (rc != SQLITE_OK) {
    status_ = db.failure(rc, "BEGIN IMMEDIATE");
    done_ = true;
  }
}

Transaction::~Transaction() {
  if (!outer_ && !done_) exec(db_.handle(), "ROLLBACK");
}

Status Transaction::commit() {
  if (!status_.ok()) return status_;
  if (outer_) return Status::success();
  done_ = true;
  int rc = exec(db_.handle(), "COMMIT");
  if (rc == SQLITE_OK) return Status::success();
  Status s = db_.failure(rc, "COMMIT");
  exec(db_.handle(), "ROLLBACK");
  return s;
}

}  // namespace vagent
