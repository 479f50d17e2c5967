// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the agent's own SQLite database, "<root>/agent/state.db".
//
// WAL journal (the admin command writes while the agent serves), a busy time-out, foreign keys.
// The schema is declared per area (schema.hh): at open every area is brought to its latest
// version and every statement of every area is prepared, once; transaction control is prepared
// too. Nothing is parsed on the request path.
//
// Durability: a transaction is in the WAL when commit() returns, so a token is handed out only
// after the agent would find it again after a crash of the agent (synchronous=NORMAL: the WAL is
// synced at checkpoints; a power cut may lose the last transactions, never corrupt the file).
//
// Checkpoints: no automatic checkpoint runs on a committing request. The agent checkpoints when
// it is idle (idle_checkpoint.hh); only when the WAL reaches kWalMaxPages frames does a commit
// checkpoint at once, so that sustained load cannot grow the WAL without bound.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

#include "result.hh"
#include "schema.hh"

namespace vagent {

// WAL frames (pages) at which a commit checkpoints at once, idle or not: 8 MiB of 4 KiB pages.
// Requests rewrite the same few pages, and every new frame of a page lengthens that page's chain
// in the WAL index, which the next frame of it and every read of it walk: the walk's cost grows
// with the bound (at 4096 frames, a fifth of a token request's instructions). A lower bound
// checkpoints more often, and the writes right after a checkpoint's syncs can stall: at 1024
// frames that raised the 99th percentile of a token request several times over; at 2048 it
// stays where it was, and the walk costs half.
inline constexpr int kWalMaxPages = 2048;

class StateDb {
 public:
  // Opens (creating the directory, the file and the schema as needed) the database at `path`.
  static Result<std::unique_ptr<StateDb>> open(const std::string &path);
  ~StateDb();
  StateDb(const StateDb &) = delete;
  StateDb &operator=(const StateDb &) = delete;

  sqlite3 *handle() const { return db_; }
  const std::string &path() const { return path_; }
  // The layout version in use (PRAGMA user_version): 2 since the schema is kept per area.
  int schema_version() const;
  static int latest_schema_version();
  // An area's version in this database (0: the area has no tables yet).
  int area_version(const char *area) const;

  // The prepared statement of `statement`, reset and unbound; nullptr (with a log line) for a
  // statement no area lists.
  sqlite3_stmt *prepared(const Statement &statement);

  // Transaction control, prepared once: SQLite result codes.
  int begin_immediate();
  int commit();
  int rollback();

  // The agent error for an SQLite result: busy -> RESOURCE_BUSY, others -> DB_FAILED.
  Status failure(int rc, const char *what) const;

  // The work of every statement since the database was opened, in SQLite's virtual-machine steps
  // (sqlite3_stmt_status): what requests cost in work rather than time, so that tests can show a
  // request costs the same whatever else the state holds. `kind` is SQLITE_STMTSTATUS_VM_STEP
  // (every step) or SQLITE_STMTSTATUS_FULLSCAN_STEP (steps of full table scans).
  uint64_t statement_steps(int kind) const;

  // ---- WAL ----
  // Frames in the WAL after the last commit of this connection, and the number of its commits.
  int wal_pages() const { return wal_pages_; }
  uint64_t commits() const { return commits_; }
  // A passive checkpoint: copies what no reader still needs into the database and syncs it.
  Status checkpoint();
  // Called after every commit of this connection (the idle checkpointer arms its timer).
  void set_commit_listener(std::function<void()> listener) {
    commit_listener_ = std::move(listener);
  }

 private:
  StateDb(sqlite3 *db, std::string path) : db_(db), path_(std::move(path)) {}
  bool prepare_all(std::string *error);
  static int on_wal_commit(void *self, sqlite3 *db, const char *name, int pages);
  sqlite3 *db_;
  std::string path_;
  std::unordered_map<const Statement *, sqlite3_stmt *> statements_;
  sqlite3_stmt *begin_ = nullptr;
  sqlite3_stmt *commit_ = nullptr;
  sqlite3_stmt *rollback_ = nullptr;
  int wal_pages_ = 0;
  uint64_t commits_ = 0;
  std::function<void()> commit_listener_;
};

// One use of a prepared statement: bind, step, read columns; reset when it goes out of scope.
class Query {
 public:
  Query(StateDb &db, const Statement &statement)
      : db_(db), stmt_(db.prepared(statement)), sql_(statement.sql) {}
  ~Query();
  Query(const Query &) = delete;
  Query &operator=(const Query &) = delete;

  Query &bind(int index, const std::string &value);
  Query &bind(int index, int64_t value);
  Query &bind_blob(int index, const void *data, size_t size);
  Query &bind_null(int index);

  // SQLITE_ROW, SQLITE_DONE or an error code.
  int step();
  // Steps to the end: ok, or the failure Status.
  Status run();
  // Steps once: true with a row, false at the end; a failure goes to *status.
  bool next(Status *status);

  std::string text(int column) const;
  int64_t integer(int column) const;
  std::string blob(int column) const;
  bool is_null(int column) const;
  int changes() const { return sqlite3_changes(db_.handle()); }

 private:
  StateDb &db_;
  sqlite3_stmt *stmt_;
  const char *sql_;
};

// A write transaction (BEGIN IMMEDIATE): rolled back unless committed. Inside another transaction
// it is part of the outer one (begins and commits nothing).
class Transaction {
 public:
  explicit Transaction(StateDb &db);
  ~Transaction();
  Transaction(const Transaction &) = delete;
  Transaction &operator=(const Transaction &) = delete;

  const Status &status() const { return status_; }  // why it could not begin
  Status commit();

 private:
  StateDb &db_;
  Status status_;
  bool outer_ = false;
  bool done_ = false;
};

}  // namespace vagent
