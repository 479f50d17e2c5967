// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the library's version, at compile time (macros) and at run time.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "velmora_account_error.h"
#include "velmora_account_version.h"

TEST(Version, RunTimeVersionIsTheHeadersVersion) {
  int major = -1, minor = -1, patch = -1;
  EXPECT_EQ(velmora_account_version_get(&major, &minor, &patch), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(major, VELMORA_ACCOUNT_VERSION_MAJOR);
  EXPECT_EQ(minor, VELMORA_ACCOUNT_VERSION_MINOR);
  EXPECT_EQ(patch, VELMORA_ACCOUNT_VERSION_PATCH);
}

TEST(Version, PartsNotWantedMayBeNull) {
  int minor = -1;
  EXPECT_EQ(velmora_account_version_get(nullptr, &minor, nullptr), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(minor, VELMORA_ACCOUNT_VERSION_MINOR);
}

TEST(Version, StringAndNumberAgreeWithTheParts) {
  char text[32];
  snprintf(text, sizeof text, "%d.%d.%d", VELMORA_ACCOUNT_VERSION_MAJOR,
           VELMORA_ACCOUNT_VERSION_MINOR, VELMORA_ACCOUNT_VERSION_PATCH);
  EXPECT_STREQ(VELMORA_ACCOUNT_VERSION_STRING, text);
  EXPECT_EQ(VELMORA_ACCOUNT_VERSION_NUMBER, (VELMORA_ACCOUNT_VERSION_MAJOR << 16) |
                                                (VELMORA_ACCOUNT_VERSION_MINOR << 8) |
                                                VELMORA_ACCOUNT_VERSION_PATCH);
  EXPECT_TRUE(VELMORA_ACCOUNT_VERSION_AT_LEAST(VELMORA_ACCOUNT_VERSION_MAJOR, 0, 0));
  EXPECT_FALSE(VELMORA_ACCOUNT_VERSION_AT_LEAST(VELMORA_ACCOUNT_VERSION_MAJOR + 1, 0, 0));
}

// The version the library logs is the project's version too.
TEST(Version, LibraryVersionIsTheProjectVersion) {
  EXPECT_STREQ(VELMORA_ACCOUNT_VERSION_STRING, VELMORA_PROJECT_VERSION);
}
