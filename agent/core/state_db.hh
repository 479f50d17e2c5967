// Velmora agent: the agent's own SQLite database, "<root>/agent/state.db".
//
// WAL journal (the admin command writes while the agent serves), a busy time-out, foreign keys,
// and a versioned schema: PRAGMA user_version is the number of migrations applied (see the
// migration table in state_db.cc). Statements are prepared once per connection and reused.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "result.hh"

namespace vagent {

class StateDb {
 public:
  // Opens (creating the directory, the file and the schema as needed) the database at `path`.
  static Result<std::unique_ptr<StateDb>> open(const std::string &path);
  ~StateDb();
  StateDb(const StateDb &) = delete;
  StateDb &operator=(const StateDb &) = delete;

  sqlite3 *handle() const { return db_; }
  const std::string &path() const { return path_; }
  // The schema version in use (the number of migrations applied).
  int schema_version() const;
  // The latest schema version this build knows.
  static int latest_schema_version();

  // A cached statement for `sql`, reset and unbound; nullptr when it does not compile.
  sqlite3_stmt *prepare(const char *sql);

  // The agent error for an SQLite result: busy -> RESOURCE_BUSY, others -> DB_FAILED.
  Status failure(int rc, const char *what) const;

 private:
  StateDb(sqlite3 *db, std::string path) : db_(db), path_(std::move(path)) {}
  sqlite3 *db_;
  std::string path_;
  std::unordered_map<std::string, sqlite3_stmt *> statements_;
};

// One use of a cached statement: bind, step, read columns; reset when it goes out of scope.
class Query {
 public:
  Query(StateDb &db, const char *sql) : db_(db), stmt_(db.prepare(sql)), sql_(sql) {}
  ~Query();
  Query(const Query &) = delete;
  Query &operator=(const Query &) = delete;

  Query &bind(int index, const std::string &value);
  Query &bind(int index, int64_t value);
  Query &bind_null(int index);

  // SQLITE_ROW, SQLITE_DONE or an error code.
  int step();
  // Steps to the end: ok, or the failure Status.
  Status run();
  // Steps once: true with a row, false at the end; a failure goes to *status.
  bool next(Status *status);

  std::string text(int column) const;
  int64_t integer(int column) const;
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
