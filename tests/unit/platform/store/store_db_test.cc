// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the platform account store database (query, insert, update, delete, errors).
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "account_store.h"
#include "store_helpers.hh"
#include "temp_root.hh"

using store_test::Collector;
using store_test::insert;
using store_test::TempRoot;
using store_test::user_names;

namespace {

constexpr const char *kAgentPkg = "dev.velmora.account";
constexpr const char *kSsoPkg = "dev.velmora.sso";

std::string pragma_text(const std::string &db_path, const char *pragma) {
  sqlite3 *db = nullptr;
  std::string out;
  if (sqlite3_open_v2(db_path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_stmt *s = nullptr;
    if (sqlite3_prepare_v2(db, pragma, -1, &s, nullptr) == SQLITE_OK &&
        sqlite3_step(s) == SQLITE_ROW)
      out = reinterpret_cast<const char *>(sqlite3_column_text(s, 0));
    sqlite3_finalize(s);
  }
  sqlite3_close(db);
  return out;
}

}  // namespace

TEST(StoreQuery, EmptyStoreIsRecordNotFound) {
  TempRoot root;
  int err = 0;
  EXPECT_TRUE(user_names(kAgentPkg, &err).empty());
  EXPECT_EQ(err, ACCOUNT_ERROR_RECORD_NOT_FOUND);
}

TEST(StoreQuery, NullCallbackOrPackageIsInvalidParameter) {
  TempRoot root;
  Collector c;
  EXPECT_EQ(account_query_account_by_package_name(nullptr, kAgentPkg, &c),
            ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(account_query_account_by_package_name(store_test::collect_cb, nullptr, &c),
            ACCOUNT_ERROR_INVALID_PARAMETER);
}

TEST(StoreQuery, VisitsThePackagesRecordsInInsertionOrder) {
  TempRoot root;
  ASSERT_EQ(insert(kAgentPkg, "carol"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert(kSsoPkg, "tv-user"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert(kAgentPkg, "bob"), ACCOUNT_ERROR_NONE);
  int err = -1;
  EXPECT_EQ(user_names(kAgentPkg, &err), (std::vector<std::string>{"carol", "alice", "bob"}));
  EXPECT_EQ(err, ACCOUNT_ERROR_NONE);
  EXPECT_EQ(user_names(kSsoPkg, &err), (std::vector<std::string>{"tv-user"}));
  EXPECT_TRUE(user_names("dev.velmora.other", &err).empty());
  EXPECT_EQ(err, ACCOUNT_ERROR_RECORD_NOT_FOUND);
}

TEST(StoreQuery, WalkStopsWhenTheCallbackReturnsFalse) {
  TempRoot root;
  for (const char *u : {"a", "b", "c", "d"}) ASSERT_EQ(insert(kAgentPkg, u), ACCOUNT_ERROR_NONE);
  Collector c;
  c.stop_after = 2;
  EXPECT_EQ(account_query_account_by_package_name(store_test::collect_cb, kAgentPkg, &c),
            ACCOUNT_ERROR_NONE);
  ASSERT_EQ(c.records.size(), 2u);
  EXPECT_EQ(c.records[1].user_name, "b");
}

TEST(StoreQuery, RecordsCarryTheirPackageAndCustomValues) {
  TempRoot root;
  ASSERT_EQ(insert(kAgentPkg, "alice", {{"default", "true"}, {"mcc", "450"}}), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert(kAgentPkg, "bob"), ACCOUNT_ERROR_NONE);
  Collector c;
  c.keys = {"default", "mcc"};
  ASSERT_EQ(account_query_account_by_package_name(store_test::collect_cb, kAgentPkg, &c),
            ACCOUNT_ERROR_NONE);
  ASSERT_EQ(c.records.size(), 2u);
  EXPECT_EQ(c.records[0].package_name, kAgentPkg);
  EXPECT_EQ(c.records[0].custom.at("default"), "true");
  EXPECT_EQ(c.records[0].custom.at("mcc"), "450");
  EXPECT_TRUE(c.records[1].custom.empty());  // "default" is record-not-found there
}

TEST(StoreQuery, ARecordWithoutUserNameIsVisitedWithANullName) {
  TempRoot root;
  ASSERT_EQ(insert(kSsoPkg, nullptr), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert(kSsoPkg, "named"), ACCOUNT_ERROR_NONE);
  Collector c;
  ASSERT_EQ(account_query_account_by_package_name(store_test::collect_cb, kSsoPkg, &c),
            ACCOUNT_ERROR_NONE);
  ASSERT_EQ(c.records.size(), 2u);
  EXPECT_FALSE(c.records[0].has_user_name);
  EXPECT_TRUE(c.records[1].has_user_name);
}

namespace {
bool delete_visited_cb(account_h account, void *) {
  char *name = nullptr;
  account_get_user_name(account, &name);
  int err = account_delete_from_db_by_user_name(name, kAgentPkg);
  free(name);
  EXPECT_EQ(err, ACCOUNT_ERROR_NONE);
  return true;
}
}  // namespace

TEST(StoreQuery, CallbackMayWriteTheStoreDuringTheWalk) {
  TempRoot root;
  ASSERT_EQ(insert(kAgentPkg, "a"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert(kAgentPkg, "b"), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(account_query_account_by_package_name(delete_visited_cb, kAgentPkg, nullptr),
            ACCOUNT_ERROR_NONE);
  int err = 0;
  EXPECT_TRUE(user_names(kAgentPkg, &err).empty());
  EXPECT_EQ(err, ACCOUNT_ERROR_RECORD_NOT_FOUND);
}

TEST(StoreInsert, GivesIncreasingIds) {
  TempRoot root;
  int first = -1, second = -1;
  ASSERT_EQ(insert(kAgentPkg, "a", {}, &first), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert(kAgentPkg, "b", {}, &second), ACCOUNT_ERROR_NONE);
  EXPECT_GT(first, 0);
  EXPECT_GT(second, first);
}

TEST(StoreInsert, SameUserNameInOnePackageIsDuplicated) {
  TempRoot root;
  ASSERT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(insert(kAgentPkg, "alice", {{"default", "true"}}), ACCOUNT_ERROR_DUPLICATED);
  EXPECT_EQ(insert(kSsoPkg, "alice"), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(user_names(kAgentPkg), (std::vector<std::string>{"alice"}));
  // The refused insert left no custom values behind.
  Collector c;
  c.keys = {"default"};
  account_query_account_by_package_name(store_test::collect_cb, kAgentPkg, &c);
  ASSERT_EQ(c.records.size(), 1u);
  EXPECT_TRUE(c.records[0].custom.empty());
}

TEST(StoreInsert, RecordWithoutPackageIsInvalidParameter) {
  TempRoot root;
  EXPECT_EQ(insert(nullptr, "alice"), ACCOUNT_ERROR_INVALID_PARAMETER);
}

TEST(StoreUpdate, ReplacesUserNameAndCustomValues) {
  TempRoot root;
  ASSERT_EQ(insert(kAgentPkg, "alice", {{"default", "true"}, {"old", "1"}}), ACCOUNT_ERROR_NONE);
  account_h a = nullptr;
  ASSERT_EQ(account_create(&a), ACCOUNT_ERROR_NONE);
  account_set_user_name(a, "alice2");
  account_set_custom(a, "default", "false");
  EXPECT_EQ(account_update_to_db_by_user_name(a, "alice", kAgentPkg), ACCOUNT_ERROR_NONE);
  account_destroy(a);
  Collector c;
  c.keys = {"default", "old"};
  ASSERT_EQ(account_query_account_by_package_name(store_test::collect_cb, kAgentPkg, &c),
            ACCOUNT_ERROR_NONE);
  ASSERT_EQ(c.records.size(), 1u);
  EXPECT_EQ(c.records[0].user_name, "alice2");
  EXPECT_EQ(c.records[0].custom.at("default"), "false");
  EXPECT_EQ(c.records[0].custom.count("old"), 0u);
}

TEST(StoreUpdate, MissingRecordIsRecordNotFound) {
  TempRoot root;
  ASSERT_EQ(insert(kSsoPkg, "alice"), ACCOUNT_ERROR_NONE);
  account_h a = nullptr;
  ASSERT_EQ(account_create(&a), ACCOUNT_ERROR_NONE);
  account_set_user_name(a, "alice");
  EXPECT_EQ(account_update_to_db_by_user_name(a, "alice", kAgentPkg),
            ACCOUNT_ERROR_RECORD_NOT_FOUND);
  account_destroy(a);
}

TEST(StoreUpdate, RenamingOntoAnotherRecordIsDuplicated) {
  TempRoot root;
  ASSERT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert(kAgentPkg, "bob"), ACCOUNT_ERROR_NONE);
  account_h a = nullptr;
  ASSERT_EQ(account_create(&a), ACCOUNT_ERROR_NONE);
  account_set_user_name(a, "alice");
  EXPECT_EQ(account_update_to_db_by_user_name(a, "bob", kAgentPkg), ACCOUNT_ERROR_DUPLICATED);
  account_destroy(a);
  EXPECT_EQ(user_names(kAgentPkg), (std::vector<std::string>{"alice", "bob"}));
}

TEST(StoreDelete, RemovesOnlyThatRecord) {
  TempRoot root;
  ASSERT_EQ(insert(kAgentPkg, "alice", {{"default", "true"}}), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert(kAgentPkg, "bob"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert(kSsoPkg, "alice"), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(account_delete_from_db_by_user_name("alice", kAgentPkg), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(user_names(kAgentPkg), (std::vector<std::string>{"bob"}));
  EXPECT_EQ(user_names(kSsoPkg), (std::vector<std::string>{"alice"}));
  // Inserting the name again starts without the deleted record's custom values.
  ASSERT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_NONE);
  Collector c;
  c.keys = {"default"};
  account_query_account_by_package_name(store_test::collect_cb, kAgentPkg, &c);
  ASSERT_EQ(c.records.size(), 2u);
  EXPECT_TRUE(c.records[1].custom.empty());
}

TEST(StoreDelete, MissingRecordIsRecordNotFound) {
  TempRoot root;
  EXPECT_EQ(account_delete_from_db_by_user_name("nobody", kAgentPkg),
            ACCOUNT_ERROR_RECORD_NOT_FOUND);
}

TEST(StoreDb, LivesBelowTheRootInWalModeWithASchemaVersion) {
  TempRoot root;
  ASSERT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_NONE);
  const std::string db = root.sub("store/accounts.db");
  ASSERT_TRUE(g_file_test(db.c_str(), G_FILE_TEST_IS_REGULAR));
  EXPECT_EQ(pragma_text(db, "PRAGMA journal_mode"), "wal");
  EXPECT_EQ(pragma_text(db, "PRAGMA user_version"), "1");
}

TEST(StoreDb, UnopenableDatabaseIsDbNotOpened) {
  TempRoot root;
  // "store" is a plain file, so the database's directory cannot be made.
  ASSERT_TRUE(g_file_set_contents(root.sub("store").c_str(), "x", 1, nullptr));
  int err = 0;
  user_names(kAgentPkg, &err);
  EXPECT_EQ(err, ACCOUNT_ERROR_DB_NOT_OPENED);
  EXPECT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_DB_NOT_OPENED);
}

TEST(StoreDb, DatabasePathThatIsADirectoryIsDbNotOpened) {
  TempRoot root;
  ASSERT_EQ(g_mkdir_with_parents(root.sub("store/accounts.db").c_str(), 0700), 0);
  EXPECT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_DB_NOT_OPENED);
}

TEST(StoreDb, WriterLockedPastTheTimeOutIsDatabaseBusy) {
  TempRoot root;
  setenv("VELMORA_STORE_BUSY_TIMEOUT_MS", "50", 1);
  ASSERT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_NONE);
  sqlite3 *other = nullptr;
  ASSERT_EQ(sqlite3_open(root.sub("store/accounts.db").c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_EQ(insert(kAgentPkg, "bob"), ACCOUNT_ERROR_DATABASE_BUSY);
  EXPECT_EQ(account_delete_from_db_by_user_name("alice", kAgentPkg), ACCOUNT_ERROR_DATABASE_BUSY);
  // Readers of a WAL database are not held up by the writer.
  EXPECT_EQ(user_names(kAgentPkg), (std::vector<std::string>{"alice"}));
  ASSERT_EQ(sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(other);
  EXPECT_EQ(insert(kAgentPkg, "bob"), ACCOUNT_ERROR_NONE);
  unsetenv("VELMORA_STORE_BUSY_TIMEOUT_MS");
}

TEST(StoreDb, EachRootHasItsOwnStore) {
  TempRoot first;
  ASSERT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_NONE);
  {
    TempRoot second;
    EXPECT_TRUE(user_names(kAgentPkg).empty());
    ASSERT_EQ(insert(kAgentPkg, "bob"), ACCOUNT_ERROR_NONE);
    EXPECT_EQ(user_names(kAgentPkg), (std::vector<std::string>{"bob"}));
  }
  setenv("VELMORA_PLATFORM_ROOT", first.path().c_str(), 1);
  EXPECT_EQ(user_names(kAgentPkg), (std::vector<std::string>{"alice"}));
}

TEST(StoreDb, ARemovedStoreStartsAfreshOnNextUse) {
  TempRoot root;
  ASSERT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_NONE);
  TempRoot::remove_tree(root.sub("store"));
  int err = 0;
  EXPECT_TRUE(user_names(kAgentPkg, &err).empty());
  EXPECT_EQ(err, ACCOUNT_ERROR_RECORD_NOT_FOUND);
  ASSERT_EQ(insert(kAgentPkg, "bob"), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(user_names(kAgentPkg), (std::vector<std::string>{"bob"}));
}

TEST(StoreConcurrency, SeveralProcessesWriteAndReadAtOnce) {
  TempRoot root;
  // The parent has a connection open before the children start writing.
  ASSERT_EQ(insert(kAgentPkg, "parent"), ACCOUNT_ERROR_NONE);
  constexpr int kChildren = 4;
  constexpr int kEach = 25;
  std::vector<pid_t> pids;
  for (int c = 0; c < kChildren; ++c) {
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      int failures = 0;
      for (int i = 0; i < kEach; ++i) {
        const std::string name = "child" + std::to_string(c) + "-" + std::to_string(i);
        if (insert(kAgentPkg, name.c_str(), {{"default", "false"}}) != ACCOUNT_ERROR_NONE)
          ++failures;
        int err = 0;
        user_names(kAgentPkg, &err);
        if (err != ACCOUNT_ERROR_NONE) ++failures;
      }
      _exit(failures == 0 ? 0 : 1);
    }
    pids.push_back(pid);
  }
  for (pid_t pid : pids) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  EXPECT_EQ(user_names(kAgentPkg).size(), 1u + kChildren * kEach);
}
