// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent's schema, area by area: every lookup's query plan goes through the
// index it names, every index serves a lookup, statements of no area are refused, and a database
// of the first layout is brought up to date with its contents.
#include "schema.hh"

#include <glib.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <set>
#include <string>
#include <vector>

#include "agent_state.hh"
#include "dlog.h"
#include "log_capture.hh"
#include "password_hash.hh"
#include "platform_root.hh"

namespace {

std::vector<std::string> query_plan(sqlite3 *db, const char *sql) {
  std::vector<std::string> lines;
  sqlite3_stmt *s = nullptr;
  const std::string explain = std::string("EXPLAIN QUERY PLAN ") + sql;
  EXPECT_EQ(sqlite3_prepare_v2(db, explain.c_str(), -1, &s, nullptr), SQLITE_OK)
      << sqlite3_errmsg(db) << "\n"
      << sql;
  while (s && sqlite3_step(s) == SQLITE_ROW)
    lines.emplace_back(reinterpret_cast<const char *>(sqlite3_column_text(s, 3)));
  sqlite3_finalize(s);
  return lines;
}

std::string joined(const std::vector<std::string> &lines) {
  std::string out;
  for (const std::string &l : lines) out += "  " + l + "\n";
  return out;
}

bool starts_with(const std::string &s, const char *prefix) { return s.rfind(prefix, 0) == 0; }

// A bare "SEARCH <table>" is MIN() or MAX() of the rowid: one seek to an end of its b-tree.
bool rowid_end_seek(const std::string &line) {
  return starts_with(line, "SEARCH ") && line.find(' ', 7) == std::string::npos;
}

// True when the plan line reads a table through `index` ("INTEGER PRIMARY KEY", "PRIMARY KEY"
// or an index name).
bool uses(const std::string &line, const std::string &index) {
  if (index == "INTEGER PRIMARY KEY")
    return line.find(" USING INTEGER PRIMARY KEY ") != std::string::npos || rowid_end_seek(line);
  if (index == "PRIMARY KEY") return line.find(" USING PRIMARY KEY ") != std::string::npos;
  return line.find(" INDEX " + index + " ") != std::string::npos;
}

std::vector<std::string> strings(sqlite3 *db, const char *sql) {
  std::vector<std::string> out;
  sqlite3_stmt *s = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(db, sql, -1, &s, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
  while (s && sqlite3_step(s) == SQLITE_ROW) {
    const unsigned char *t = sqlite3_column_text(s, 0);
    out.emplace_back(t ? reinterpret_cast<const char *>(t) : "");
  }
  sqlite3_finalize(s);
  return out;
}

class Schema : public ::testing::Test {
 protected:
  void SetUp() override {
    auto opened = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(opened.ok()) << opened.status().describe();
    state_ = std::move(opened.value());
  }
  sqlite3 *db() { return state_->db().handle(); }
  vtest::PlatformRoot root_;
  std::unique_ptr<vagent::AgentState> state_;
};

}  // namespace

TEST_F(Schema, EveryLookupGoesThroughTheIndexItNames) {
  size_t lookups = 0;
  for (const vagent::SchemaArea *area : vagent::schema_areas()) {
    ASSERT_FALSE(area->statements.empty()) << area->name;
    for (const vagent::Statement *st : area->statements) {
      const std::vector<std::string> plan = query_plan(db(), st->sql);
      const std::string where = std::string(area->name) + ": " + st->sql + "\n" + joined(plan);
      if (st->access == vagent::Access::kListing) continue;
      ++lookups;
      bool named_index_used = false;
      for (const std::string &line : plan) {
        // A SELECT without FROM (INSERT ... SELECT ?1, ...) is one constant row, not a scan.
        if (starts_with(line, "SCAN ") && line != "SCAN CONSTANT ROW")
          ADD_FAILURE() << "full scan in " << where;
        if (line.find("TEMP B-TREE") != std::string::npos)
          ADD_FAILURE() << "temporary sort in " << where;
        if (starts_with(line, "SEARCH ") && line.find(" USING ") == std::string::npos &&
            !rowid_end_seek(line))
          ADD_FAILURE() << "search without an index in " << where;
        if (st->index && uses(line, st->index)) named_index_used = true;
      }
      if (st->index)
        EXPECT_TRUE(named_index_used) << "does not go through " << st->index << ": " << where;
      else
        for (const std::string &line : plan)
          EXPECT_FALSE(starts_with(line, "SEARCH "))
              << "reads a table but names no index: " << where;
    }
  }
  EXPECT_GT(lookups, 30u);
}

TEST_F(Schema, EveryIndexServesALookup) {
  std::set<std::string> named;
  for (const vagent::SchemaArea *area : vagent::schema_areas())
    for (const vagent::Statement *st : area->statements)
      if (st->index) named.insert(st->index);
  const std::vector<std::string> indexes =
      strings(db(), "SELECT name FROM sqlite_schema WHERE type = 'index' ORDER BY name");
  for (const std::string &index : indexes) {
    if (starts_with(index, "sqlite_autoindex_schema_areas")) continue;  // the version table's key
    EXPECT_EQ(named.count(index), 1u) << "index " << index << " serves no statement";
  }
  // And the expected set, so that a new one is a decision.
  EXPECT_EQ(indexes,
            (std::vector<std::string>{"codes_owner", "signed_in_by_login", "signed_in_default",
                                      "tokens_owner", "users_by_user_id"}));
}

TEST_F(Schema, NoAutoincrementAndKeyOnlyTablesHaveNoRowid) {
  for (const std::string &sql : strings(db(),
                                        "SELECT sql FROM sqlite_schema WHERE type = 'table'"
                                        " AND name NOT LIKE 'sqlite_%'")) {
    EXPECT_EQ(sql.find("AUTOINCREMENT"), std::string::npos) << sql;
    const bool rowid_needed = sql.find("seq INTEGER PRIMARY KEY") != std::string::npos ||
                              sql.find("id INTEGER PRIMARY KEY") != std::string::npos;
    if (!rowid_needed) EXPECT_NE(sql.find("WITHOUT ROWID"), std::string::npos) << sql;
  }
}

TEST_F(Schema, EveryAreaIsAtItsLatestVersion) {
  EXPECT_EQ(state_->db().schema_version(), vagent::StateDb::latest_schema_version());
  std::set<std::string> names;
  for (const vagent::SchemaArea *area : vagent::schema_areas()) {
    EXPECT_TRUE(names.insert(area->name).second) << "two areas named " << area->name;
    EXPECT_EQ(state_->db().area_version(area->name), static_cast<int>(area->migrations.size()))
        << area->name;
  }
}

TEST_F(Schema, AStatementOfNoAreaIsRefused) {
  vtest::LogCapture log;
  static const vagent::Statement stray{"SELECT 1"};
  vagent::Query q(state_->db(), stray);
  vagent::Status st = q.run();
  EXPECT_EQ(st.code, vagent::errc::kDbFailed);
  EXPECT_TRUE(
      log.has("VELMORA_AGENT", DLOG_ERROR, "state: statement of no area refused: 'SELECT 1'"))
      << log.dump();
}

// A database as the first layout made it (one migration list, PRAGMA user_version=1) keeps its
// users, clients, signed-in accounts and links; its tokens and codes go.
TEST(SchemaUpgrade, FirstLayoutIsBroughtUpToDateWithItsContents) {
  vtest::PlatformRoot root;
  const std::string path = root.path_of("agent/state.db");
  ASSERT_EQ(g_mkdir_with_parents(root.path_of("agent").c_str(), 0700), 0);
  sqlite3 *db = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
  auto exec = [db](const std::string &sql) {
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(db) << "\n"
        << sql;
  };
  exec("PRAGMA journal_mode=WAL");
  // Version 1 of each area the first layout had is that layout's table; areas added later (the
  // identity, the consents, the sign-in guard, ...) start when the database is opened.
  const std::set<std::string> first_layout = {"users",  "clients", "accounts",
                                              "tokens", "codes",   "linking"};
  for (const vagent::SchemaArea *area : vagent::schema_areas())
    if (first_layout.count(area->name)) exec(area->migrations.at(0));
  const std::string old_hash = vagent::pbkdf2_stored_hash("old-password", 1000);
  const std::string old_secret = vagent::pbkdf2_stored_hash("old-secret", 1000);
  exec(
      "INSERT INTO users(login_id, user_id, password_hash, created_at) VALUES"
      " ('alice', 'a1', '" +
      old_hash + "', 1), ('bob', 'b2', '" + old_hash + "', 2)");
  exec(
      "INSERT INTO clients(client_id, secret_hash, scopes, token_lifetime) VALUES"
      " ('app.one', '" +
      old_secret + "', 'read', 3600)");
  exec(
      "INSERT INTO signed_in(login_id, signed_in_at, is_default) VALUES ('alice', 1, 0),"
      " ('bob', 2, 1)");
  exec("INSERT INTO linking VALUES ('alice', 'app.one', 1)");
  exec(
      "INSERT INTO access_tokens(token, login_id, client_id, scope, issue_time, expires_in)"
      " VALUES ('t', 'alice', 'app.one', 'read', 1, 3600)");
  exec("PRAGMA user_version=1");
  sqlite3_close(db);

  auto opened = vagent::AgentState::open(root.path());
  ASSERT_TRUE(opened.ok()) << opened.status().describe();
  vagent::AgentState &state = *opened.value();
  EXPECT_EQ(state.db().schema_version(), 2);
  for (const vagent::SchemaArea *area : vagent::schema_areas())
    EXPECT_EQ(state.db().area_version(area->name), static_cast<int>(area->migrations.size()))
        << area->name;
  auto accounts = state.accounts().list();
  ASSERT_TRUE(accounts.ok());
  ASSERT_EQ(accounts->size(), 2u);
  EXPECT_EQ(accounts.value()[0].login_id, "alice");
  EXPECT_EQ(state.accounts().default_account().value(), "bob");
  EXPECT_EQ(state.users().find_by_user_id("b2")->login_id, "bob");
  EXPECT_TRUE(state.clients().check_secret("app.one", "old-secret", true).ok());
  EXPECT_EQ(state.tokens().last("alice", "app.one").code(), vagent::errc::kNoToken);
  // The old password still signs in (and its hash moves to Argon2id).
  EXPECT_TRUE(state.accounts().sign_in("alice", "old-password").ok());
  const std::vector<std::string> hashes =
      strings(state.db().handle(), "SELECT password_hash FROM users ORDER BY login_id");
  ASSERT_EQ(hashes.size(), 2u);
  EXPECT_EQ(hashes[0].rfind("$argon2id$", 0), 0u) << hashes[0];
  EXPECT_EQ(hashes[1], old_hash);
  // Signing out the default promotes the earliest left, through the rebuilt table.
  EXPECT_TRUE(state.accounts().sign_out("bob").ok());
  EXPECT_EQ(state.accounts().default_account().value(), "alice");
}

TEST(SchemaUpgrade, ANewerAreaVersionIsRefused) {
  vtest::PlatformRoot root;
  { ASSERT_TRUE(vagent::AgentState::open(root.path()).ok()); }
  sqlite3 *db = nullptr;
  ASSERT_EQ(sqlite3_open(root.path_of("agent/state.db").c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db, "UPDATE schema_areas SET version = 99 WHERE area = 'tokens'", nullptr,
                         nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(db);
  vtest::LogCapture log;
  auto state = vagent::AgentState::open(root.path());
  EXPECT_EQ(state.code(), vagent::errc::kDbFailed);
  EXPECT_TRUE(log.has("VELMORA_AGENT", DLOG_ERROR,
                      "state: schema not brought up to date: area tokens is at version 99, newer "
                      "than this agent knows"))
      << log.dump();
}
