// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the fault injection file, written and read back.
#include "faults.hh"

#include <glib.h>
#include <gtest/gtest.h>

#include "platform_root.hh"

namespace errc = vagent::errc;

TEST(Faults, NoFileMeansNoFaults) {
  vtest::PlatformRoot root;
  vagent::Fault f = vagent::faults_for("RequestAccessToken");
  EXPECT_FALSE(f.any());
  EXPECT_EQ(f.describe(), "");
}

TEST(Faults, EveryKeyReadsBack) {
  vtest::PlatformRoot root;
  ASSERT_TRUE(vagent::set_faults(root.path(), "RequestAccessToken",
                                 {{"delay_ms", "250"},
                                  {"error_code", "-1073741830"},
                                  {"never_answer", "true"},
                                  {"crash", "true"},
                                  {"reject_connection", "true"},
                                  {"push_unknown_delegate_id", "true"},
                                  {"push_wrong_sequence", "true"},
                                  {"push_malformed_body", "true"}})
                  .ok());
  vagent::Fault f = vagent::faults_for("RequestAccessToken");
  EXPECT_EQ(f.delay_ms, 250);
  ASSERT_TRUE(f.error_code.has_value());
  EXPECT_EQ(*f.error_code, -1073741830);
  EXPECT_TRUE(f.never_answer);
  EXPECT_TRUE(f.crash);
  EXPECT_TRUE(f.reject_connection);
  EXPECT_TRUE(f.push_unknown_delegate_id);
  EXPECT_TRUE(f.push_wrong_sequence);
  EXPECT_TRUE(f.push_malformed_body);
  EXPECT_FALSE(vagent::faults_for("RequestAuthcode").any());
  EXPECT_TRUE(g_file_test(root.path_of("agent/faults.conf").c_str(), G_FILE_TEST_IS_REGULAR));
}

TEST(Faults, OperationGroupOverridesTheWildcardKeyByKey) {
  vtest::PlatformRoot root;
  ASSERT_TRUE(vagent::set_faults(root.path(), "*", {{"delay_ms", "100"}, {"crash", "true"}}).ok());
  ASSERT_TRUE(vagent::set_faults(root.path(), "getaccesstoken", {{"crash", "false"}}).ok());
  vagent::Fault any = vagent::faults_for("GetDefaultAccount");
  EXPECT_EQ(any.delay_ms, 100);
  EXPECT_TRUE(any.crash);
  vagent::Fault own_group = vagent::faults_for(root.path(), "getaccesstoken");
  EXPECT_EQ(own_group.delay_ms, 100);
  EXPECT_FALSE(own_group.crash);
}

TEST(Faults, HexErrorCodeIsTakenAsItsBits) {
  vtest::PlatformRoot root;
  ASSERT_TRUE(vagent::set_faults(root.path(), "op", {{"error_code", "0xC1000001"}}).ok());
  EXPECT_EQ(vagent::faults_for("op").error_code.value(), errc::kUnknownUser);
}

TEST(Faults, UnknownKeysAndBadValuesAreRefusedAndNothingIsWritten) {
  vtest::PlatformRoot root;
  EXPECT_EQ(vagent::set_faults(root.path(), "op", {{"delay_ms", "5"}, {"slow", "1"}}).code,
            errc::kUnknownFaultKey);
  EXPECT_EQ(vagent::set_faults(root.path(), "op", {{"delay_ms", "-1"}}).code,
            errc::kUnknownFaultKey);
  EXPECT_EQ(vagent::set_faults(root.path(), "op", {{"delay_ms", "9999999"}}).code,
            errc::kUnknownFaultKey);
  EXPECT_EQ(vagent::set_faults(root.path(), "op", {{"crash", "maybe"}}).code,
            errc::kUnknownFaultKey);
  EXPECT_EQ(vagent::set_faults(root.path(), "op", {{"error_code", "12abc"}}).code,
            errc::kUnknownFaultKey);
  EXPECT_EQ(vagent::set_faults(root.path(), "op", {{"error_code", "99999999999"}}).code,
            errc::kUnknownFaultKey);
  EXPECT_EQ(vagent::set_faults(root.path(), "bad[name]", {{"crash", "true"}}).code,
            errc::kInvalidParameter);
  EXPECT_EQ(vagent::set_faults(root.path(), "op", {}).code, errc::kInvalidParameter);
  EXPECT_FALSE(vagent::faults_for("op").any());
  EXPECT_FALSE(g_file_test(root.path_of("agent/faults.conf").c_str(), G_FILE_TEST_EXISTS));
}

TEST(Faults, ClearRemovesAllOrOneOperation) {
  vtest::PlatformRoot root;
  ASSERT_TRUE(vagent::set_faults(root.path(), "a", {{"crash", "true"}}).ok());
  ASSERT_TRUE(vagent::set_faults(root.path(), "b", {{"never_answer", "true"}}).ok());
  ASSERT_TRUE(vagent::clear_faults(root.path(), "a").ok());
  EXPECT_FALSE(vagent::faults_for("a").any());
  EXPECT_TRUE(vagent::faults_for("b").never_answer);
  ASSERT_EQ(vagent::list_faults(root.path()).size(), 1u);
  ASSERT_TRUE(vagent::clear_faults(root.path()).ok());
  EXPECT_FALSE(vagent::faults_for("b").any());
  EXPECT_TRUE(vagent::list_faults(root.path()).empty());
  EXPECT_TRUE(vagent::clear_faults(root.path()).ok());  // nothing to clear is fine
}

TEST(Faults, FileIsReadAfreshForEveryLookup) {
  vtest::PlatformRoot root;
  ASSERT_TRUE(vagent::set_faults(root.path(), "op", {{"delay_ms", "1"}}).ok());
  EXPECT_EQ(vagent::faults_for("op").delay_ms, 1);
  const std::string text = "[op]\ndelay_ms=7\nerror_code=-22\n";
  ASSERT_TRUE(
      g_file_set_contents(root.path_of("agent/faults.conf").c_str(), text.c_str(), -1, nullptr));
  vagent::Fault f = vagent::faults_for("op");
  EXPECT_EQ(f.delay_ms, 7);
  EXPECT_EQ(f.error_code.value(), -22);
}

TEST(Faults, MalformedFileCountsAsNoFaults) {
  vtest::PlatformRoot root;
  ASSERT_EQ(g_mkdir_with_parents(root.path_of("agent").c_str(), 0700), 0);
  ASSERT_TRUE(g_file_set_contents(root.path_of("agent/faults.conf").c_str(),
                                  "this is [not a key file", -1, nullptr));
  EXPECT_FALSE(vagent::faults_for("op").any());
  // A bad value in a good file skips only that key.
  ASSERT_TRUE(g_file_set_contents(root.path_of("agent/faults.conf").c_str(),
                                  "[op]\ndelay_ms=soon\ncrash=true\n", -1, nullptr));
  vagent::Fault f = vagent::faults_for("op");
  EXPECT_EQ(f.delay_ms, 0);
  EXPECT_TRUE(f.crash);
}
