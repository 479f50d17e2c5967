// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the agent's state database (connection, per-area migrations, prepared
// statements, transaction control, WAL checkpoints).
#include "state_db.hh"

#include <glib.h>

#include <cstdlib>
#include <mutex>
#include <vector>

#include "dlog.h"
#include "velmora_host.h"

namespace vagent {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";
constexpr int kBusyTimeoutMs = 5000;

// PRAGMA user_version: 1 was one global migration list; 2 keeps a version per area.
constexpr int kLayoutVersion = 2;
// The areas whose version 1 is what layout 1 held: a layout-1 database starts them at 1.
constexpr const char *kLayoutOneAreas[] = {"users",  "clients", "accounts",
                                           "tokens", "codes",   "linking"};

// Settings of the SQLite library itself, made before it is first used in this process: no
// memory statistics (they take a global lock on every allocation). When the process used SQLite
// before, they stay as they are.
void configure_sqlite() {
  static std::once_flag once;
  std::call_once(once, [] { sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0); });
}

int exec(sqlite3 *db, const char *sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }

// The first column of the first row of `sql`, or `fallback`.
int64_t scalar(sqlite3 *db, const char *sql, int64_t fallback, const char *text_arg = nullptr) {
  sqlite3_stmt *s = nullptr;
  int64_t value = fallback;
  if (sqlite3_prepare_v2(db, sql, -1, &s, nullptr) == SQLITE_OK) {
    if (text_arg) sqlite3_bind_text(s, 1, text_arg, -1, SQLITE_STATIC);
    if (sqlite3_step(s) == SQLITE_ROW) value = sqlite3_column_int64(s, 0);
  }
  sqlite3_finalize(s);
  return value;
}

int read_layout(sqlite3 *db) { return static_cast<int>(scalar(db, "PRAGMA user_version", -1)); }

int read_area_version(sqlite3 *db, const char *area) {
  return static_cast<int>(scalar(db, "SELECT version FROM schema_areas WHERE area = ?1", 0, area));
}

bool has_tables(sqlite3 *db) {
  return scalar(db, "SELECT COUNT(*) FROM sqlite_schema WHERE type = 'table'", 0) > 0;
}

// True when the database already has the latest version of every area.
bool up_to_date(sqlite3 *db) {
  if (read_layout(db) != kLayoutVersion) return false;
  for (const SchemaArea *area : schema_areas())
    if (read_area_version(db, area->name) != static_cast<int>(area->migrations.size()))
      return false;
  return true;
}

int set_area_version(sqlite3 *db, const char *area, int version) {
  sqlite3_stmt *s = nullptr;
  int rc = sqlite3_prepare_v2(
      db, "INSERT OR REPLACE INTO schema_areas(area, version) VALUES(?1, ?2)", -1, &s, nullptr);
  if (rc == SQLITE_OK) {
    sqlite3_bind_text(s, 1, area, -1, SQLITE_STATIC);
    sqlite3_bind_int(s, 2, version);
    rc = sqlite3_step(s);
    if (rc == SQLITE_DONE) rc = SQLITE_OK;
  }
  sqlite3_finalize(s);
  return rc;
}

// Inside the migration transaction: brings every area to its latest version. *why says what was
// refused.
int migrate_areas(sqlite3 *db, std::string *why) {
  const int layout = read_layout(db);
  if (layout < 0 || layout > kLayoutVersion || (layout == 0 && has_tables(db))) {
    *why = "schema version " + std::to_string(layout) + " is not one this agent knows";
    return SQLITE_MISMATCH;
  }
  int rc = exec(db,
                "CREATE TABLE IF NOT EXISTS schema_areas("
                "  area TEXT PRIMARY KEY,"
                "  version INTEGER NOT NULL) WITHOUT ROWID");
  if (layout == 1)
    for (const char *area : kLayoutOneAreas)
      if (rc == SQLITE_OK) rc = set_area_version(db, area, 1);
  for (const SchemaArea *area : schema_areas()) {
    if (rc != SQLITE_OK) break;
    const int latest = static_cast<int>(area->migrations.size());
    int version = read_area_version(db, area->name);
    if (version > latest) {
      *why = std::string("area ") + area->name + " is at version " + std::to_string(version) +
             ", newer than this agent knows";
      return SQLITE_MISMATCH;
    }
    for (; version < latest && rc == SQLITE_OK; ++version) {
      rc = exec(db, area->migrations[static_cast<size_t>(version)]);
      if (rc == SQLITE_OK) rc = set_area_version(db, area->name, version + 1);
      if (rc != SQLITE_OK)
        *why = std::string("migration ") + std::to_string(version + 1) + " of area " + area->name +
               ": " + sqlite3_errmsg(db);
    }
  }
  if (rc == SQLITE_OK) {
    const std::string pragma = "PRAGMA user_version=" + std::to_string(kLayoutVersion);
    rc = exec(db, pragma.c_str());
  }
  if (rc == SQLITE_OK && scalar(db, "SELECT COUNT(*) FROM pragma_foreign_key_check", 0) > 0) {
    *why = "a migration left rows that break a foreign key";
    rc = SQLITE_CONSTRAINT;
  }
  return rc;
}

// Brings the schema up to date in one write transaction. Foreign keys are off meanwhile (a
// migration may rebuild a table others refer to) and checked before the commit.
int migrate(sqlite3 *db) {
  if (up_to_date(db)) return SQLITE_OK;
  int rc = exec(db, "BEGIN IMMEDIATE");
  if (rc != SQLITE_OK) return rc;
  std::string why;
  rc = migrate_areas(db, &why);  // read again under the lock: another process may have migrated
  if (rc == SQLITE_OK) rc = exec(db, "COMMIT");
  if (rc != SQLITE_OK) {
    if (why.empty()) why = sqlite3_errmsg(db);
    dlog_print(DLOG_ERROR, kLogTag, "state: schema not brought up to date: %s", why.c_str());
    exec(db, "ROLLBACK");
  }
  return rc;
}

sqlite3_stmt *prepare_one(sqlite3 *db, const char *sql) {
  sqlite3_stmt *s = nullptr;
  if (sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &s, nullptr) != SQLITE_OK) {
    sqlite3_finalize(s);
    return nullptr;
  }
  return s;
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
  configure_sqlite();
  sqlite3 *db = nullptr;
  // A connection is used by one thread only (the agent's main loop): SQLite need not lock it on
  // every call.
  int rc = sqlite3_open_v2(
      path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  if (rc != SQLITE_OK) {
    std::string why = db ? sqlite3_errmsg(db) : sqlite3_errstr(rc);
    sqlite3_close_v2(db);
    return Status::fail(errc::kDbFailed, "cannot open " + path + ": " + why);
  }
  sqlite3_busy_timeout(db, kBusyTimeoutMs);
  sqlite3_extended_result_codes(db, 1);
  // The WAL file is cut back to the bound after a checkpoint has emptied it.
  const std::string size_limit =
      "PRAGMA journal_size_limit=" + std::to_string(int64_t{kWalMaxPages} * 4096);
  rc = exec(db, "PRAGMA journal_mode=WAL");
  if (rc == SQLITE_OK) rc = exec(db, "PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=OFF");
  if (rc == SQLITE_OK) rc = exec(db, size_limit.c_str());
  if (rc == SQLITE_OK) rc = migrate(db);
  if (rc == SQLITE_OK) rc = exec(db, "PRAGMA foreign_keys=ON");
  if (rc != SQLITE_OK) {
    std::string why = sqlite3_errmsg(db);
    sqlite3_close_v2(db);
    return Status::fail((rc & 0xff) == SQLITE_BUSY ? errc::kResourceBusy : errc::kDbFailed,
                        "cannot prepare " + path + ": " + why);
  }
  std::unique_ptr<StateDb> state(new StateDb(db, path));
  std::string error;
  if (!state->prepare_all(&error)) return Status::fail(errc::kDbFailed, error);
  sqlite3_wal_hook(db, on_wal_commit, state.get());
  return state;
}

bool StateDb::prepare_all(std::string *error) {
  begin_ = prepare_one(db_, "BEGIN IMMEDIATE");
  commit_ = prepare_one(db_, "COMMIT");
  rollback_ = prepare_one(db_, "ROLLBACK");
  if (!begin_ || !commit_ || !rollback_) {
    *error = std::string("cannot prepare transaction control: ") + sqlite3_errmsg(db_);
    return false;
  }
  for (const SchemaArea *area : schema_areas()) {
    for (const Statement *statement : area->statements) {
      if (statements_.count(statement)) continue;
      sqlite3_stmt *s = prepare_one(db_, statement->sql);
      if (!s) {
        *error = std::string("area ") + area->name + ": cannot prepare '" + statement->sql +
                 "': " + sqlite3_errmsg(db_);
        dlog_print(DLOG_ERROR, kLogTag, "state: %s", error->c_str());
        return false;
      }
      statements_.emplace(statement, s);
    }
  }
  return true;
}

StateDb::~StateDb() {
  for (auto &entry : statements_) sqlite3_finalize(entry.second);
  for (sqlite3_stmt *s : {begin_, commit_, rollback_}) sqlite3_finalize(s);
  sqlite3_close_v2(db_);
}

int StateDb::schema_version() const { return read_layout(db_); }

int StateDb::latest_schema_version() { return kLayoutVersion; }

int StateDb::area_version(const char *area) const { return read_area_version(db_, area); }

sqlite3_stmt *StateDb::prepared(const Statement &statement) {
  auto it = statements_.find(&statement);
  if (it == statements_.end()) {
    dlog_print(DLOG_ERROR, kLogTag, "state: statement of no area refused: '%s'", statement.sql);
    return nullptr;
  }
  sqlite3_reset(it->second);
  sqlite3_clear_bindings(it->second);
  return it->second;
}

namespace {
int step_control(sqlite3_stmt *s) {
  int rc = sqlite3_step(s);
  sqlite3_reset(s);
  return rc == SQLITE_DONE ? SQLITE_OK : rc;
}
}  // namespace

uint64_t StateDb::statement_steps(int kind) const {
  uint64_t steps = 0;
  for (const auto &entry : statements_)
    steps += static_cast<uint64_t>(sqlite3_stmt_status(entry.second, kind, 0));
  for (sqlite3_stmt *s : {begin_, commit_, rollback_})
    steps += static_cast<uint64_t>(sqlite3_stmt_status(s, kind, 0));
  return steps;
}

int StateDb::begin_immediate() { return step_control(begin_); }
int StateDb::commit() { return step_control(commit_); }
int StateDb::rollback() { return step_control(rollback_); }

Status StateDb::failure(int rc, const char *what) const {
  const bool busy = (rc & 0xff) == SQLITE_BUSY || (rc & 0xff) == SQLITE_LOCKED;
  std::string message = std::string(what) + ": " + sqlite3_errstr(rc);
  dlog_print(DLOG_ERROR, kLogTag, "state: %s", message.c_str());
  return Status::fail(busy ? errc::kResourceBusy : errc::kDbFailed, message);
}

Status StateDb::checkpoint() {
  int frames = 0, copied = 0;
  int rc = sqlite3_wal_checkpoint_v2(db_, nullptr, SQLITE_CHECKPOINT_PASSIVE, &frames, &copied);
  if (rc != SQLITE_OK) return failure(rc, "checkpoint");
  dlog_print(DLOG_DEBUG, kLogTag, "state: checkpoint: %d of %d WAL frames in the database", copied,
             frames);
  return Status::success();
}

int StateDb::on_wal_commit(void *self, sqlite3 *, const char *, int pages) {
  auto *state = static_cast<StateDb *>(self);
  state->wal_pages_ = pages;
  ++state->commits_;
  if (pages >= kWalMaxPages) {
    // Busy (a reader still needs old frames) is no failure: the next commit tries again.
    (void)state->checkpoint();
  }
  if (state->commit_listener_) state->commit_listener_();
  return SQLITE_OK;
}

Query::~Query() {
  if (stmt_) sqlite3_reset(stmt_);
}

Query &Query::bind(int index, const std::string &value) {
  if (stmt_)
    sqlite3_bind_text(stmt_, index, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
  return *this;
}

Query &Query::bind(int index, int64_t value) {
  if (stmt_) sqlite3_bind_int64(stmt_, index, value);
  return *this;
}

Query &Query::bind_blob(int index, const void *data, size_t size) {
  if (stmt_) sqlite3_bind_blob(stmt_, index, data, static_cast<int>(size), SQLITE_TRANSIENT);
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
  if (!t) return "";
  return std::string(reinterpret_cast<const char *>(t),
                     static_cast<size_t>(sqlite3_column_bytes(stmt_, column)));
}

int64_t Query::integer(int column) const { return stmt_ ? sqlite3_column_int64(stmt_, column) : 0; }

std::string Query::blob(int column) const {
  const void *b = stmt_ ? sqlite3_column_blob(stmt_, column) : nullptr;
  if (!b) return "";
  return std::string(static_cast<const char *>(b),
                     static_cast<size_t>(sqlite3_column_bytes(stmt_, column)));
}

bool Query::is_null(int column) const {
  return !stmt_ || sqlite3_column_type(stmt_, column) == SQLITE_NULL;
}

Transaction::Transaction(StateDb &db) : db_(db) {
  if (!sqlite3_get_autocommit(db.handle())) {
    outer_ = true;  // part of a transaction already running
    return;
  }
  int rc = db.begin_immediate();
  if (rc != SQLITE_OK) {
    status_ = db.failure(rc, "BEGIN IMMEDIATE");
    done_ = true;
  }
}

Transaction::~Transaction() {
  if (!outer_ && !done_) db_.rollback();
}

Status Transaction::commit() {
  if (!status_.ok()) return status_;
  if (outer_) return Status::success();
  done_ = true;
  int rc = db_.commit();
  if (rc == SQLITE_OK) return Status::success();
  Status s = db_.failure(rc, "COMMIT");
  db_.rollback();
  return s;
}

}  // namespace vagent
