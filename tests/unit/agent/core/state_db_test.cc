// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent's state database (location, WAL, schema version, persistence).
#include <glib.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "agent_state.hh"
#include "errors.hh"
#include "platform_root.hh"

namespace {

std::string pragma(const std::string &path, const char *sql) {
  sqlite3 *db = nullptr;
  std::string out;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_stmt *s = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &s, nullptr) == SQLITE_OK && sqlite3_step(s) == SQLITE_ROW)
      out = reinterpret_cast<const char *>(sqlite3_column_text(s, 0));
    sqlite3_finalize(s);
  }
  sqlite3_close(db);
  return out;
}

}  // namespace

TEST(StateDb, LivesBelowTheRootInWalModeWithTheLatestSchema) {
  vtest::PlatformRoot root;
  auto state = vagent::AgentState::open();
  ASSERT_TRUE(state.ok()) << state.status().describe();
  EXPECT_EQ(state.value()->root(), root.path());
  const std::string db = root.path_of("agent/state.db");
  ASSERT_TRUE(g_file_test(db.c_str(), G_FILE_TEST_IS_REGULAR));
  EXPECT_EQ(pragma(db, "PRAGMA journal_mode"), "wal");
  EXPECT_EQ(pragma(db, "PRAGMA user_version"),
            std::to_string(vagent::StateDb::latest_schema_version()));
  EXPECT_EQ(state.value()->db().schema_version(), vagent::StateDb::latest_schema_version());
}

// The agent uses its connection from its main loop only, so SQLite does not lock it on every call.
TEST(StateDb, TheConnectionTakesNoLockPerCall) {
  vtest::PlatformRoot root;
  auto state = vagent::AgentState::open();
  ASSERT_TRUE(state.ok()) << state.status().describe();
  EXPECT_EQ(sqlite3_db_mutex(state.value()->db().handle()), nullptr);
}

TEST(StateDb, StateSurvivesReopening) {
  vtest::PlatformRoot root;
  {
    auto state = vagent::AgentState::open();
    ASSERT_TRUE(state.ok());
    vagent::NewUser u;
    u.login_id = "alice";
    u.password = "pw";
    ASSERT_TRUE(state.value()->users().create(u).ok());
    ASSERT_TRUE(state.value()->accounts().sign_in("alice", "pw").ok());
  }
  auto again = vagent::AgentState::open();
  ASSERT_TRUE(again.ok());
  EXPECT_TRUE(again.value()->accounts().is_signed_in("alice").value());
  EXPECT_EQ(again.value()->accounts().default_account().value(), "alice");
}

TEST(StateDb, TwoConnectionsSeeEachOthersWrites) {
  vtest::PlatformRoot root;
  auto a = vagent::AgentState::open();
  auto b = vagent::AgentState::open();
  ASSERT_TRUE(a.ok() && b.ok());
  vagent::NewUser u;
  u.login_id = "alice";
  u.password = "pw";
  ASSERT_TRUE(a.value()->users().create(u).ok());
  EXPECT_TRUE(b.value()->users().find("alice").ok());
  EXPECT_EQ(b.value()->users().create(u).code(), vagent::errc::kUserExists);
}

TEST(StateDb, NewerSchemaIsRefused) {
  vtest::PlatformRoot root;
  { ASSERT_TRUE(vagent::AgentState::open().ok()); }
  sqlite3 *db = nullptr;
  ASSERT_EQ(sqlite3_open(root.path_of("agent/state.db").c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db, "PRAGMA user_version=99", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(db);
  auto state = vagent::AgentState::open();
  EXPECT_FALSE(state.ok());
  EXPECT_EQ(state.code(), vagent::errc::kDbFailed);
}

TEST(StateDb, UnusableRootIsDbFailed) {
  vtest::PlatformRoot root;
  ASSERT_TRUE(g_file_set_contents(root.path_of("agent").c_str(), "not a directory", -1, nullptr));
  auto state = vagent::AgentState::open();
  EXPECT_FALSE(state.ok());
  EXPECT_EQ(state.code(), vagent::errc::kDbFailed);
}

TEST(AgentErrors, CodesAreDistinctAndNamed) {
  const auto &table = vagent::error_table();
  for (size_t i = 0; i < table.size(); ++i) {
    for (size_t j = i + 1; j < table.size(); ++j) EXPECT_NE(table[i].code, table[j].code);
    EXPECT_NE(std::string(table[i].name), "");
  }
  EXPECT_EQ(vagent::error_name(vagent::errc::kNeedSignIn), "NEED_SIGNIN");
  EXPECT_EQ(vagent::errc::kNeedSignIn, -1073741830);
  EXPECT_EQ(vagent::errc::kInvalidParameter, -22);
  EXPECT_EQ(vagent::error_name(12345), "error 12345");
  EXPECT_EQ(vagent::find_error(12345), nullptr);
}
