// SPDX-License-Identifier: Apache-2.0
// Velmora tests: who may write the platform account store, and the one-transaction rewrite of a
// package's records.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "account_store.h"
#include "store_helpers.hh"
#include "temp_root.hh"
#include "velmora_host.h"
#include "velmora_host_store.h"

using store_test::Collector;
using store_test::insert;
using store_test::TempRoot;
using store_test::user_names;

namespace {

constexpr const char *kAgentPkg = "dev.velmora.account";
constexpr const char *kSsoPkg = "dev.velmora.sso";

void install(const char *package, const char *app_id) {
  char *error = nullptr;
  ASSERT_EQ(velmora_host_init_root(nullptr, &error), 0) << (error ? error : "");
  velmora_host_app_s app = {app_id, "service", "/bin/true"};
  ASSERT_EQ(velmora_host_install_package(package, &app, 1, nullptr, 0, &error), 0)
      << (error ? error : "");
}

// Runs the rest of the test as the application `app_id` would (its id in the environment).
class AsApp {
 public:
  explicit AsApp(const char *app_id) { setenv("VELMORA_APP_ID", app_id, 1); }
  ~AsApp() { unsetenv("VELMORA_APP_ID"); }
};

struct Want {
  const char *user;
  bool is_default;
};

int replace(const char *package, std::vector<Want> want) {
  static const char *const key[] = {"default"};
  static const char *const value[] = {"true"};
  std::vector<velmora_host_store_record_s> records;
  for (const Want &w : want) records.push_back({w.user, key, value, w.is_default ? 1u : 0u});
  return velmora_host_store_replace(package, records.data(), records.size());
}

// "alice*,bob": user names in walk order, '*' after the one whose "default" is "true".
std::string summary(const char *package) {
  Collector c;
  c.keys = {"default"};
  account_query_account_by_package_name(store_test::collect_cb, package, &c);
  std::string s;
  for (const auto &r : c.records) {
    if (!s.empty()) s += ",";
    s += r.user_name;
    if (r.custom.count("default") && r.custom.at("default") == "true") s += "*";
  }
  return s;
}

}  // namespace

TEST(StoreAccess, AnyApplicationReadsButOnlyAnAccountServiceWrites) {
  TempRoot root;
  install(kAgentPkg, kAgentPkg);
  install("other.app", "other.app");
  ASSERT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_NONE);  // not an app: the admin
  AsApp other("other.app");
  EXPECT_EQ(user_names(kAgentPkg), std::vector<std::string>{"alice"});
  EXPECT_EQ(insert(kAgentPkg, "mallory"), ACCOUNT_ERROR_PERMISSION_DENIED);
  account_h a = nullptr;
  ASSERT_EQ(account_create(&a), ACCOUNT_ERROR_NONE);
  account_set_user_name(a, "mallory");
  EXPECT_EQ(account_update_to_db_by_user_name(a, "alice", kAgentPkg),
            ACCOUNT_ERROR_PERMISSION_DENIED);
  account_destroy(a);
  EXPECT_EQ(account_delete_from_db_by_user_name("alice", kAgentPkg),
            ACCOUNT_ERROR_PERMISSION_DENIED);
  EXPECT_EQ(replace(kAgentPkg, {}), ACCOUNT_ERROR_PERMISSION_DENIED);
  EXPECT_EQ(user_names(kAgentPkg), std::vector<std::string>{"alice"});
  // Its own package's records it may write.
  EXPECT_EQ(insert("other.app", "own"), ACCOUNT_ERROR_NONE);
}

TEST(StoreAccess, TheAgentWritesItsOwnAndTheSsoServicesRecords) {
  TempRoot root;
  install(kAgentPkg, kAgentPkg);
  AsApp agent(kAgentPkg);
  EXPECT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(insert(kSsoPkg, "tv-user"), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(insert("other.app", "x"), ACCOUNT_ERROR_PERMISSION_DENIED);
}

TEST(StoreAccess, AnApplicationTheRegistryDoesNotKnowIsRefused) {
  TempRoot root;
  AsApp ghost("not.installed");
  EXPECT_EQ(insert(kAgentPkg, "alice"), ACCOUNT_ERROR_PERMISSION_DENIED);
}

TEST(StoreReplace, MakesThePackagesRecordsExactlyTheGivenOnes) {
  TempRoot root;
  ASSERT_EQ(insert(kSsoPkg, "tv-user"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(replace(kAgentPkg, {{"alice", true}, {"bob", false}}), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(summary(kAgentPkg), "alice*,bob");
  ASSERT_EQ(replace(kAgentPkg, {{"alice", false}, {"bob", true}, {"carol", false}}),
            ACCOUNT_ERROR_NONE);
  EXPECT_EQ(summary(kAgentPkg), "alice,bob*,carol");
  ASSERT_EQ(replace(kAgentPkg, {{"bob", true}, {"alice", false}}), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(summary(kAgentPkg), "bob*,alice");
  ASSERT_EQ(replace(kAgentPkg, {}), ACCOUNT_ERROR_NONE);
  int err = 0;
  EXPECT_TRUE(user_names(kAgentPkg, &err).empty());
  EXPECT_EQ(err, ACCOUNT_ERROR_RECORD_NOT_FOUND);
  EXPECT_EQ(summary(kSsoPkg), "tv-user");  // other packages untouched
}

TEST(StoreReplace, ADuplicateNameChangesNothing) {
  TempRoot root;
  ASSERT_EQ(replace(kAgentPkg, {{"alice", true}}), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(replace(kAgentPkg, {{"bob", true}, {"bob", false}}), ACCOUNT_ERROR_DUPLICATED);
  EXPECT_EQ(summary(kAgentPkg), "alice*");
  EXPECT_EQ(velmora_host_store_replace(nullptr, nullptr, 0), ACCOUNT_ERROR_INVALID_PARAMETER);
  velmora_host_store_record_s bad = {"x", nullptr, nullptr, 1};
  EXPECT_EQ(velmora_host_store_replace(kAgentPkg, &bad, 1), ACCOUNT_ERROR_INVALID_PARAMETER);
}

// A reader in another process sees exactly one default at every moment while the default moves
// back and forth.
TEST(StoreReplace, AReaderInAnotherProcessNeverSeesAChangeHalfMade) {
  TempRoot root;
  ASSERT_EQ(replace(kAgentPkg, {{"alice", true}, {"bob", false}}), ACCOUNT_ERROR_NONE);
  pid_t reader = fork();
  ASSERT_GE(reader, 0);
  if (reader == 0) {
    int bad = 0;
    for (int i = 0; i < 300; ++i) {
      const std::string s = summary(kAgentPkg);
      if (s != "alice*,bob" && s != "alice,bob*") ++bad;
    }
    _exit(bad == 0 ? 0 : 1);
  }
  for (int i = 0; i < 150; ++i) {
    ASSERT_EQ(replace(kAgentPkg, {{"alice", i % 2 == 1}, {"bob", i % 2 == 0}}), ACCOUNT_ERROR_NONE);
  }
  int status = 0;
  ASSERT_EQ(waitpid(reader, &status, 0), reader);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}
