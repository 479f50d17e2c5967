// SPDX-License-Identifier: Apache-2.0
// Velmora agent: how each area of the agent declares its part of the state database.
//
// ---- Where state is added ----
// Every area of the agent (users, clients, tokens, ...) owns its tables, indexes and SQL in its
// own file, as one SchemaArea: its migrations (the DDL, one entry per version, append only) and
// every statement it runs. An area's .cc defines its statements and its area:
//
//   const Statement kFindPlace{"SELECT ... FROM places WHERE login_id = ?1 AND place_id = ?2",
//                              Access::kLookup, "PRIMARY KEY"};
//   const SchemaArea &places_schema() {
//     static const SchemaArea area{"places",
//                                  {"CREATE TABLE places(...) WITHOUT ROWID;"},  // version 1
//                                  {&kFindPlace, ...}};
//     return area;
//   }
//
// and adds one row to the table in schema.cc. StateDb walks that table when it opens the
// database: it brings each area to its latest version (the version of every area is kept in the
// table schema_areas) and prepares every statement once; code runs them with Query(db, kFindPlace).
// A statement that no area lists is refused. The schema test walks the same table and checks the
// query plan of every statement, so a lookup without its index fails the build's tests.
//
// Rules of the house: every query on the request path is an index lookup (no full scan, no
// sorting of more rows than one key holds); one index per lookup and none without one; no
// AUTOINCREMENT (ordering by rowid is enough everywhere); WITHOUT ROWID for tables looked up only
// by their primary key. A migration never changes once it has landed: append a new one.
#pragma once

#include <vector>

namespace vagent {

// How a statement may read its tables.
enum class Access {
  kLookup,   // by key, through an index: no full scan, no temporary sort (the default)
  kListing,  // every row of a table on purpose (admin listings, the handful of signed-in
             // accounts): it may scan and sort
};

// One SQL statement of an area, prepared once when the database opens.
struct Statement {
  const char *sql;
  Access access = Access::kLookup;
  // What its lookup goes through, as the query plan names it: an index name, "PRIMARY KEY" (a
  // WITHOUT ROWID table's key) or "INTEGER PRIMARY KEY" (the rowid). nullptr for a statement
  // that reads no table (INSERT ... VALUES). The schema test checks the plan against it.
  const char *index = nullptr;
};

// One area's part of the database.
struct SchemaArea {
  const char *name;                      // its key in schema_areas: "tokens"
  std::vector<const char *> migrations;  // migrations[i] brings the area from version i to i+1
  std::vector<const Statement *> statements;
  // Run with ?1 = a login id when that account signs out: deletes what the area keeps for it
  // (one of `statements`; nullptr when the area keeps nothing per account).
  const Statement *forget_account = nullptr;
};

// Every area, in the order they are created (an area comes after those it refers to).
const std::vector<const SchemaArea *> &schema_areas();

}  // namespace vagent
