// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a look into the platform account store (the host walk with every custom value,
// and `velmora-platform accounts`).
#include <glib.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "account_store.h"
#include "run_program.hh"
#include "store_helpers.hh"
#include "temp_root.hh"
#include "velmora_host_store.h"

using store_test::insert;
using store_test::TempRoot;

namespace {

struct Seen {
  std::vector<std::string> lines;
  size_t stop_after = 0;
};

bool collect(const char *package, const char *user, const char *const *keys,
             const char *const *values, size_t n, void *data) {
  auto *seen = static_cast<Seen *>(data);
  std::string line = std::string(package) + " " + (user ? user : "-");
  for (size_t i = 0; i < n; ++i) line += std::string(" ") + keys[i] + "=" + values[i];
  seen->lines.push_back(line);
  return seen->stop_after == 0 || seen->lines.size() < seen->stop_after;
}

// Runs the built velmora-platform with `args` under the test's root.
vtest::ProgramRun run_tool(const std::vector<std::string> &args) {
  const char *build = getenv("VELMORA_BUILD_DIR");
  return vtest::run_program(std::string(build ? build : ".") + "/tools/velmora-platform", args,
                            "build the velmora-platform tool");
}

}  // namespace

TEST(StoreWalk, WalksEveryPackageWithAllCustomValues) {
  TempRoot root;
  ASSERT_EQ(insert("dev.velmora.sso", "tv-user"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert("dev.velmora.account", "alice", {{"default", "true"}, {"mcc", "450"}}),
            ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert("dev.velmora.account", nullptr), ACCOUNT_ERROR_NONE);
  Seen all;
  ASSERT_EQ(velmora_host_store_foreach(nullptr, collect, &all), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(all.lines,
            (std::vector<std::string>{"dev.velmora.account alice default=true mcc=450",
                                      "dev.velmora.account -", "dev.velmora.sso tv-user"}));
  Seen one;
  ASSERT_EQ(velmora_host_store_foreach("dev.velmora.sso", collect, &one), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(one.lines, (std::vector<std::string>{"dev.velmora.sso tv-user"}));
  Seen stopped;
  stopped.stop_after = 1;
  ASSERT_EQ(velmora_host_store_foreach(nullptr, collect, &stopped), ACCOUNT_ERROR_NONE);
  EXPECT_EQ(stopped.lines.size(), 1u);
}

TEST(StoreWalk, EmptyStoreIsNoRecordsAndNullCallbackIsInvalid) {
  TempRoot root;
  Seen none;
  EXPECT_EQ(velmora_host_store_foreach(nullptr, collect, &none), ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(none.lines.empty());
  EXPECT_EQ(velmora_host_store_foreach(nullptr, nullptr, nullptr), ACCOUNT_ERROR_INVALID_PARAMETER);
}

TEST(StoreWalk, PlatformToolListsTheRecords) {
  TempRoot root;
  ASSERT_EQ(insert("dev.velmora.account", "alice@velmora.dev", {{"default", "true"}}),
            ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert("dev.velmora.account", "bob@velmora.dev"), ACCOUNT_ERROR_NONE);
  ASSERT_EQ(insert("dev.velmora.sso", "tv@velmora.dev"), ACCOUNT_ERROR_NONE);
  vtest::ProgramRun one = run_tool({"accounts", "dev.velmora.account"});
  ASSERT_EQ(one.exit_code, 0) << one.err;
  EXPECT_EQ(one.out,
            "dev.velmora.account alice@velmora.dev default=true\n"
            "dev.velmora.account bob@velmora.dev\n");
  vtest::ProgramRun all = run_tool({"--root", root.path(), "accounts"});
  ASSERT_EQ(all.exit_code, 0) << all.err;
  EXPECT_NE(all.out.find("dev.velmora.sso tv@velmora.dev\n"), std::string::npos) << all.out;
  EXPECT_EQ(run_tool({"accounts", "a", "b"}).exit_code, 2);
}

TEST(StoreWalk, PlatformToolFailsWhenTheStoreCannotBeRead) {
  TempRoot root;
  ASSERT_TRUE(g_file_set_contents(root.sub("store").c_str(), "x", 1, nullptr));
  vtest::ProgramRun r = run_tool({"accounts"});
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_NE(r.err.find("cannot read the account store"), std::string::npos) << r.err;
}
