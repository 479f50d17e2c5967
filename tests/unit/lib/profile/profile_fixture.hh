// SPDX-License-Identifier: Apache-2.0
// Velmora tests: what the profile tests share: a platform root with the agent installed, profiles
// and lists that release themselves, and the log assertions.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "dlog.h"
#include "log_capture.hh"
#include "platform_root.hh"
#include "profile_record.h"
#include "velmora_account_profile.h"

namespace ptest {

using vtest::kVaTag;

// A profile of one category, destroyed at the end of the scope.
class Profile {
 public:
  explicit Profile(int category) {
    EXPECT_EQ(velmora_account_profile_create(category, &h_), VELMORA_ACCOUNT_ERROR_NONE);
  }
  ~Profile() {
    if (h_) velmora_account_profile_destroy(h_);
  }
  Profile(const Profile &) = delete;
  Profile &operator=(const Profile &) = delete;
  velmora_account_profile_h get() const { return h_; }
  operator velmora_account_profile_h() const { return h_; }
  velmora_account_profile_s *operator->() const { return h_; }
  // Sets a string field, expecting success.
  Profile &set(int item, const std::string &value) {
    EXPECT_EQ(velmora_account_profile_set_item_str(h_, item, value.c_str()),
              VELMORA_ACCOUNT_ERROR_NONE)
        << std::hex << item;
    return *this;
  }

 private:
  velmora_account_profile_h h_ = nullptr;
};

// A profile list, destroyed at the end of the scope.
class List {
 public:
  List() { EXPECT_EQ(velmora_account_profile_list_create(&h_), VELMORA_ACCOUNT_ERROR_NONE); }
  ~List() {
    if (h_) velmora_account_profile_list_destroy(h_);
  }
  List(const List &) = delete;
  List &operator=(const List &) = delete;
  velmora_account_profile_list_h get() const { return h_; }
  operator velmora_account_profile_list_h() const { return h_; }
  velmora_account_profile_list_s *operator->() const { return h_; }
  // Hands the list over (to an account's link, for example).
  velmora_account_profile_list_h release() {
    velmora_account_profile_list_h h = h_;
    h_ = nullptr;
    return h;
  }

 private:
  velmora_account_profile_list_h h_ = nullptr;
};

// The string field of an item record, "" when NULL.
inline std::string field(void *item, int category, int position) {
  char **f = va_profile_item_str(item, category, position);
  return f && *f ? *f : "";
}

// An info line of the account client with exactly this text.
inline ::testing::AssertionResult HasInfo(const vtest::LogCapture &log, const std::string &text) {
  if (log.has(kVaTag, DLOG_INFO, text)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "no info line \"" << text << "\" in:\n" << log.dump();
}
// An error line "(condition)".
inline ::testing::AssertionResult HasCondition(const vtest::LogCapture &log,
                                               const std::string &condition) {
  if (log.has(kVaTag, DLOG_ERROR, "(" + condition + ")")) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "no error line \"(" << condition << ")\" in:\n"
                                       << log.dump();
}
// No line at warning priority or above.
inline ::testing::AssertionResult NoErrorLine(const vtest::LogCapture &log) {
  for (const vtest::LogLine &l : log.lines())
    if (l.prio >= DLOG_WARN) return ::testing::AssertionFailure() << "unexpected:\n" << log.dump();
  return ::testing::AssertionSuccess();
}

// Every test starts in a fresh root with the agent installed.
class ProfileTest : public ::testing::Test {
 protected:
  void SetUp() override { root_.install_agent(5); }
  vtest::PlatformRoot root_;
};

}  // namespace ptest
