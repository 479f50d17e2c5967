// SPDX-License-Identifier: Apache-2.0
// Velmora tests: naming result codes (velmora_account_error_name, velmora_account_error_message):
// one table for the library's codes and the agent's own, which the agent reads too.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "errors.hh"
#include "va_error_table.h"
#include "velmora_account_error.h"

namespace {

TEST(ErrorNames, EveryCodeOfThePublicHeaderHasItsName) {
  const struct {
    int code;
    const char *name;
  } codes[] = {
      {VELMORA_ACCOUNT_ERROR_NONE, "VELMORA_ACCOUNT_ERROR_NONE"},
      {VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY, "VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY"},
      {VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED, "VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED"},
      {VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY, "VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY"},
      {VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER, "VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER"},
      {VELMORA_ACCOUNT_ERROR_NO_DATA, "VELMORA_ACCOUNT_ERROR_NO_DATA"},
      {VELMORA_ACCOUNT_ERROR_UNKNOWN, "VELMORA_ACCOUNT_ERROR_UNKNOWN"},
      {VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED, "VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED"},
      {VELMORA_ACCOUNT_ERROR_DB_FAILED, "VELMORA_ACCOUNT_ERROR_DB_FAILED"},
      {VELMORA_ACCOUNT_ERROR_NEED_SIGNIN, "VELMORA_ACCOUNT_ERROR_NEED_SIGNIN"},
      {VELMORA_ACCOUNT_ERROR_LOWER_VERSION, "VELMORA_ACCOUNT_ERROR_LOWER_VERSION"},
  };
  for (const auto &c : codes) {
    ASSERT_NE(velmora_account_error_name(c.code), nullptr) << c.name;
    EXPECT_STREQ(velmora_account_error_name(c.code), c.name);
    ASSERT_NE(velmora_account_error_message(c.code), nullptr) << c.name;
    EXPECT_STRNE(velmora_account_error_message(c.code), "");
  }
  EXPECT_STREQ(velmora_account_error_message(VELMORA_ACCOUNT_ERROR_NEED_SIGNIN),
               "the account is not signed in on this device: sign in first");
}

TEST(ErrorNames, TheAgentsOwnCodesAreNamed) {
  EXPECT_STREQ(velmora_account_error_name(vagent::errc::kUnknownUser), "AGENT_ERROR_UNKNOWN_USER");
  EXPECT_STREQ(velmora_account_error_name(static_cast<int>(0xC1000001u)),
               "AGENT_ERROR_UNKNOWN_USER");
  EXPECT_STREQ(velmora_account_error_message(vagent::errc::kTokenExpired), "the token has expired");
}

// The agent's own codes are numbered from 0xC1000001 without a gap, and each one, up to the
// newest (move the bound when adding one), has its row in the one table.
TEST(ErrorNames, EveryAgentCodeUpToTheLastIsNamed) {
  for (unsigned n = 0xC1000001u; n <= static_cast<unsigned>(vagent::errc::kStateLost); ++n)
    EXPECT_NE(velmora_account_error_name(static_cast<int>(n)), nullptr) << std::hex << n;
  EXPECT_STREQ(velmora_account_error_name(vagent::errc::kStateLost), "AGENT_ERROR_STATE_LOST");
}

TEST(ErrorNames, NumbersNoTableKnowsHaveNoName) {
  for (int code : {1, -1, 12345, static_cast<int>(0xC1FFFFFFu)}) {
    EXPECT_EQ(velmora_account_error_name(code), nullptr) << code;
    EXPECT_EQ(velmora_account_error_message(code), nullptr) << code;
  }
}

TEST(ErrorNames, OneTableWithUniqueCodesAndNames) {
  size_t count = 0;
  const va_error_info *table = va_error_table(&count);
  ASSERT_GT(count, 20u);
  std::set<int> codes;
  std::set<std::string> names;
  for (size_t i = 0; i < count; ++i) {
    EXPECT_TRUE(codes.insert(table[i].code).second) << table[i].name;
    EXPECT_TRUE(names.insert(table[i].name).second) << table[i].name;
  }
}

// The agent reads its names and meanings from the same table, without the library's prefix.
TEST(ErrorNames, TheAgentsTableIsThePartOfTheOneTableItSends) {
  for (const vagent::ErrorInfo &e : vagent::error_table()) {
    const char *name = velmora_account_error_name(e.code);
    ASSERT_NE(name, nullptr) << e.name;
    EXPECT_TRUE(std::string(name) == e.name ||
                std::string(name) == std::string("VELMORA_ACCOUNT_ERROR_") + e.name)
        << name << " / " << e.name;
    EXPECT_STREQ(velmora_account_error_message(e.code), e.meaning);
  }
  for (int code :
       {vagent::errc::kNone, vagent::errc::kPermissionDenied, vagent::errc::kResourceBusy,
        vagent::errc::kInvalidParameter, vagent::errc::kNotSupported, vagent::errc::kDbFailed,
        vagent::errc::kNeedSignIn, vagent::errc::kUnknownUser, vagent::errc::kUnknownFaultKey,
        vagent::errc::kStateLost})
    EXPECT_NE(vagent::find_error(code), nullptr) << code;
  EXPECT_EQ(vagent::error_name(vagent::errc::kNeedSignIn), "NEED_SIGNIN");
  EXPECT_EQ(vagent::find_error(VELMORA_ACCOUNT_ERROR_LOWER_VERSION), nullptr);
}

}  // namespace
