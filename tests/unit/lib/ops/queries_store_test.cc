// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the blocking account state queries that read the platform account store
// (velmora_account_is_signed_in_sync, velmora_account_get_account_list_sync,
// velmora_account_get_default_account_sync), and the checks of velmora_account_set_default_account
// and its blocking form. The store is written here as the agent would write it.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "log_capture.hh"
#include "platform_root.hh"
#include "velmora_account.h"
#include "velmora_host_store.h"

namespace {

using vtest::kVaTag;

constexpr const char *kAgentPkg = "dev.velmora.account";
constexpr const char *kSsoPkg = "dev.velmora.sso";
constexpr int kNeedSignIn = VELMORA_ACCOUNT_ERROR_NEED_SIGNIN;

struct Account {
  std::string login_id;
  bool is_default = false;
};

// Makes the package's records exactly `accounts` ("default" = "true" on the default ones, or
// "false" elsewhere when `mark_others`).
void store(const char *package, const std::vector<Account> &accounts, bool mark_others = false) {
  static const char *const key[] = {"default"};
  static const char *const yes[] = {"true"};
  static const char *const no[] = {"false"};
  std::vector<velmora_host_store_record_s> records;
  for (const Account &a : accounts)
    records.push_back(
        {a.login_id.c_str(), key, a.is_default ? yes : no, a.is_default || mark_others ? 1u : 0u});
  ASSERT_EQ(velmora_host_store_replace(package, records.data(), records.size()), 0);
}

class QueriesStore : public ::testing::Test {
 protected:
  void SetUp() override { root_.install_agent(5); }
  void TearDown() override {
    if (handle_) velmora_account_destroy(handle_);
  }
  velmora_account_h handle() {
    if (!handle_) {
      EXPECT_EQ(velmora_account_create(&handle_), 0);
    }
    return handle_;
  }
  vtest::PlatformRoot root_;
  velmora_account_h handle_ = nullptr;
};

TEST_F(QueriesStore, IsSignedInWithoutALoginIdIsTrueWhenAnyAccountExists) {
  store(kAgentPkg, {{"alice", true}, {"bob", false}});
  bool status = false;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_is_signed_in_sync(handle(), nullptr, &status), 0);
  EXPECT_TRUE(status);
  EXPECT_TRUE(log.has(kVaTag, 4, "[velmora_account_is_signed_in_sync]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[velmora_account_is_signed_in_sync] <<<< ended"));
}

TEST_F(QueriesStore, IsSignedInOnAnEmptyStoreIsFalseWithSuccess) {
  bool status = true;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_is_signed_in_sync(handle(), nullptr, &status), 0);
  EXPECT_FALSE(status);
  EXPECT_TRUE(log.has(kVaTag, 4,
                      "[account_query_account_by_package_name] error [-16777213], convert to "
                      "[-1073741830]"))
      << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "NEED_SIGNIN convert to ERROR_NONE to set status"));
}

TEST_F(QueriesStore, IsSignedInWithALoginIdMatchesTheWholeName) {
  store(kAgentPkg, {{"alice@velmora.dev", true}, {"bob@velmora.dev", false}});
  bool status = false;
  EXPECT_EQ(velmora_account_is_signed_in_sync(handle(), "bob@velmora.dev", &status), 0);
  EXPECT_TRUE(status);
  EXPECT_EQ(velmora_account_is_signed_in_sync(handle(), "bob", &status), 0);
  EXPECT_FALSE(status);
  // Another package's records do not count (the agent's on a phone).
  store(kSsoPkg, {{"carol@velmora.dev", true}});
  EXPECT_EQ(velmora_account_is_signed_in_sync(handle(), "carol@velmora.dev", &status), 0);
  EXPECT_FALSE(status);
}

TEST_F(QueriesStore, AccountListOfAnEmptyStoreIsNeedSignInAndLeavesTheOutputs) {
  char **list = reinterpret_cast<char **>(0x1);
  int size = 77;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_get_account_list_sync(handle(), &list, &size), kNeedSignIn);
  EXPECT_EQ(list, reinterpret_cast<char **>(0x1));
  EXPECT_EQ(size, 77);
  EXPECT_TRUE(log.has(kVaTag, 4, "[__velmora_account_destroy_accountId] [length = 0]"))
      << log.dump();
}

TEST_F(QueriesStore, AccountListHoldsAtMostTenInStoreOrder) {
  std::vector<Account> twelve;
  for (int i = 0; i < 12; ++i) twelve.push_back({"user" + std::to_string(i), i == 11});
  store(kAgentPkg, twelve);
  char **list = nullptr;
  int size = 0;
  vtest::LogCapture log;
  ASSERT_EQ(velmora_account_get_account_list_sync(handle(), &list, &size), 0);
  ASSERT_EQ(size, 10);
  for (int i = 0; i < size; ++i) {
    EXPECT_EQ(std::string(list[i]), "user" + std::to_string(i));
    free(list[i]);
  }
  free(list);
  EXPECT_TRUE(log.has(kVaTag, 4, "idx [9]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "Invalid list index [10]"));
  EXPECT_EQ(log.count("Invalid list index [11]"), 0);  // the walk stopped
  EXPECT_TRUE(log.has(kVaTag, 4, "[__velmora_account_destroy_accountId] [length = 10]"));
}

TEST_F(QueriesStore, DefaultAccountIsTheOneMarkedDefault) {
  store(kAgentPkg, {{"alice", false}, {"bob", true}, {"carol", false}}, /*mark_others=*/true);
  char *login = nullptr;
  ASSERT_EQ(velmora_account_get_default_account_sync(handle(), &login), 0);
  ASSERT_NE(login, nullptr);
  EXPECT_STREQ(login, "bob");
  free(login);
}

TEST_F(QueriesStore, NoDefaultInAnEmptyStoreIsNeedSignInAndNull) {
  char *login = reinterpret_cast<char *>(0x1);
  EXPECT_EQ(velmora_account_get_default_account_sync(handle(), &login), kNeedSignIn);
  EXPECT_EQ(login, nullptr);
}

TEST_F(QueriesStore, PreconditionsInTheirOrder) {
  bool status = false;
  char **list = nullptr;
  int size = 0;
  char *login = nullptr;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_is_signed_in_sync(nullptr, nullptr, &status),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 6, "(handle == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_is_signed_in_sync(handle(), nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 6, "(status == NULL)"));
  EXPECT_EQ(velmora_account_get_account_list_sync(handle(), nullptr, &size),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 6, "(account_list == NULL)"));
  EXPECT_EQ(velmora_account_get_account_list_sync(handle(), &list, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 6, "(list_size == NULL)"));
  EXPECT_EQ(velmora_account_get_default_account_sync(handle(), nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 6, "(account == NULL)"));
  EXPECT_EQ(velmora_account_set_default_account_sync(handle(), nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  (void)login;
}

TEST_F(QueriesStore, SetDefaultSyncOfAnAppControlHandleIsNotSupportedWithoutALine) {
  velmora_account_h h = handle();
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_set_default_account_sync(h, "alice"),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  for (const vtest::LogLine &line : log.lines()) EXPECT_EQ(line.prio == 6, false) << log.dump();
}

TEST_F(QueriesStore, SetDefaultWithoutALoginIdIsInvalid) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_set_default_account(
                handle(), [](int, velmora_account_h, void *) {}, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(
      log.has(kVaTag, 4, "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]"))
      << log.dump();
  // Checked once the clone and the app control existed: both were released.
  EXPECT_TRUE(log.has(kVaTag, 4, "VELMORA_ACCOUNT_FREE"));
  EXPECT_TRUE(log.has(kVaTag, 4, "APP_CONTROL_FREE"));
}

// A writer in another process moves the default back and forth and adds and removes an account
// while this process reads: every read succeeds and sees one state or the other, never a mix.
TEST_F(QueriesStore, BlockingReadsWhileAnotherProcessWritesTheStore) {
  const std::vector<Account> two = {{"alice", true}, {"bob", false}};
  const std::vector<Account> three = {{"alice", false}, {"bob", true}, {"carol", false}};
  store(kAgentPkg, two);
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t writer = fork();
  ASSERT_GE(writer, 0);
  if (writer == 0) {
    close(ready[0]);
    ssize_t w = write(ready[1], "x", 1);
    (void)w;
    for (int i = 0; i < 200; ++i) store(kAgentPkg, i % 2 ? two : three);
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  close(ready[1]);
  char c;
  ASSERT_EQ(read(ready[0], &c, 1), 1);
  close(ready[0]);
  velmora_account_h h = handle();
  for (int i = 0; i < 100; ++i) {
    char **list = nullptr;
    int size = 0;
    ASSERT_EQ(velmora_account_get_account_list_sync(h, &list, &size), 0);
    ASSERT_TRUE(size == 2 || size == 3) << size;
    EXPECT_STREQ(list[0], "alice");
    for (int k = 0; k < size; ++k) free(list[k]);
    free(list);
    char *login = nullptr;
    ASSERT_EQ(velmora_account_get_default_account_sync(h, &login), 0);
    ASSERT_NE(login, nullptr);
    EXPECT_TRUE(std::string(login) == "alice" || std::string(login) == "bob") << login;
    free(login);
    bool status = false;
    ASSERT_EQ(velmora_account_is_signed_in_sync(h, "bob", &status), 0);
    EXPECT_TRUE(status);
  }
  int wstatus = 0;
  ASSERT_EQ(waitpid(writer, &wstatus, 0), writer);
  ASSERT_TRUE(WIFEXITED(wstatus));
  EXPECT_EQ(WEXITSTATUS(wstatus), 0);
}

class QueriesStoreOnTv : public QueriesStore {
 protected:
  void SetUp() override {
    root_.set_profile("tv");
    QueriesStore::SetUp();
  }
};

TEST_F(QueriesStoreOnTv, TheFirstSsoAccountIsTheDefaultWhateverItsCustomValues) {
  store(kSsoPkg, {{"tv-first", false}, {"tv-second", true}}, /*mark_others=*/true);
  store(kAgentPkg, {{"phone-default", true}});
  char *login = nullptr;
  ASSERT_EQ(velmora_account_get_default_account_sync(handle(), &login), 0);
  EXPECT_STREQ(login, "tv-first");
  free(login);
  char **list = nullptr;
  int size = 0;
  ASSERT_EQ(velmora_account_get_account_list_sync(handle(), &list, &size), 0);
  ASSERT_EQ(size, 2);
  EXPECT_STREQ(list[0], "tv-first");
  for (int k = 0; k < size; ++k) free(list[k]);
  free(list);
}

TEST_F(QueriesStoreOnTv, SetDefaultSyncIsRefused) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_set_default_account_sync(handle(), "alice"),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(log.has(kVaTag, 6, "(is_tv_profile())")) << log.dump();
}

class QueriesStoreLowerAgent : public ::testing::Test {
 protected:
  vtest::PlatformRoot root_;
};

TEST_F(QueriesStoreLowerAgent, BlockingFormsNeedLevelThree) {
  root_.install_agent(2);
  velmora_account_h h = nullptr;
  ASSERT_EQ(velmora_account_create(&h), 0);
  bool status = false;
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_is_signed_in_sync(h, nullptr, &status),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_TRUE(log.has(kVaTag, 6, "(is_lower_agent(3) == true)")) << log.dump();
  char *login = nullptr;
  EXPECT_EQ(velmora_account_get_default_account_sync(h, &login),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  velmora_account_destroy(h);
}

TEST_F(QueriesStoreLowerAgent, WithoutTheAgentNothingIsSupported) {
  bool status = false;
  vtest::LogCapture log;
  EXPECT_EQ(
      velmora_account_is_signed_in_sync(reinterpret_cast<velmora_account_h>(0x1), nullptr, &status),
      VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(log.has(kVaTag, 6, "(is_agent_installed() == false)")) << log.dump();
}

}  // namespace
