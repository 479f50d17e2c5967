// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the profile requests of the library against the real agent, in a fresh platform
// root per test (the agent launched on demand, a signed-in user and a registered client).
//
// Profiles are built through the public item functions; what comes back is compared field by
// field with what was sent, through the list the reply made (the account's link or the list the
// callback received).
#pragma once

#include <glib.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "account_fixture.hh"
#include "account_record.h"
#include "profile_internal.h"
#include "profile_record.h"
#include "velmora_account_profile.h"

namespace vtest {

// What a list callback (request_profile, request_privacy) received; the list is the receiver's.
struct ListCompletion {
  int calls = 0;
  int result = 12345;
  velmora_account_profile_list_h list = nullptr;

  ~ListCompletion() {
    if (list != nullptr) velmora_account_profile_list_destroy(list);
  }
  static void cb(int result, velmora_account_profile_list_h list, void *user_data) {
    auto *self = static_cast<ListCompletion *>(user_data);
    ++self->calls;
    self->result = result;
    if (self->list != nullptr) velmora_account_profile_list_destroy(self->list);
    self->list = list;
  }
  bool wait() {
    return run_until([this] { return calls > 0; });
  }
};

// A list owned by the test.
struct OwnedList {
  velmora_account_profile_list_h h = nullptr;
  OwnedList() { EXPECT_EQ(velmora_account_profile_list_create(&h), 0); }
  ~OwnedList() {
    if (h != nullptr) velmora_account_profile_list_destroy(h);
  }
  OwnedList(const OwnedList &) = delete;
  OwnedList &operator=(const OwnedList &) = delete;
};

// The text the tests put into field `f` of item `i` of `category`.
inline std::string field_value(int category, int i, int f) {
  return std::string(va_profile_category(category)->log_word) + "-" + std::to_string(i) + "-" +
         std::to_string(f);
}

// The source the tests give item `i` of NAME and BIRTHDAY: ACCOUNT and PROFILE in turn.
inline int source_of(int i) {
  return i % 2 == 0 ? VELMORA_ACCOUNT_PROFILE_SOURCE_ACCOUNT
                    : VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE;
}

// Appends `n` items of `category` to `list`, every field but "verified" set (field_value), NAME
// and BIRTHDAY with a source.
inline void append_items(velmora_account_profile_list_h list, int category, int n) {
  const va_profile_category_desc *d = va_profile_category(category);
  for (int i = 0; i < n; ++i) {
    velmora_account_profile_h p = nullptr;
    ASSERT_EQ(velmora_account_profile_create(category, &p), 0);
    for (int f = 0; f + 1 < d->string_count; ++f)
      EXPECT_EQ(velmora_account_profile_set_item_str(p, d->item_base + f,
                                                     field_value(category, i, f).c_str()),
                0);
    if (d->has_source) {
      EXPECT_EQ(
          velmora_account_profile_set_item_source(p, d->item_base + d->string_count, source_of(i)),
          0);
    }
    EXPECT_EQ(velmora_account_profile_list_append(list, p), 0);
    velmora_account_profile_destroy(p);
  }
}

// How many items a full profile holds in `category`: each category's limit.
inline int full_count(int category) { return va_profile_category(category)->limit; }

// Expects `list` to hold exactly `n` items of `category` as append_items made them.
inline void expect_items(velmora_account_profile_list_h list, int category, int n,
                         const std::string &where) {
  const va_profile_category_desc *d = va_profile_category(category);
  ASSERT_NE(list, nullptr) << where;
  EXPECT_EQ(list->count[category], n) << where << " " << d->log_word;
  for (int i = 0; i < n && i < list->count[category]; ++i) {
    void *item = va_profile_list_get_item(list, category, i);
    ASSERT_NE(item, nullptr) << where << " " << d->log_word << " item " << i;
    for (int f = 0; f + 1 < d->string_count; ++f) {
      char **value = va_profile_item_str(item, category, f);
      ASSERT_TRUE(value != nullptr && *value != nullptr)
          << where << " " << d->log_word << " item " << i << " field " << f;
      EXPECT_EQ(std::string(*value), field_value(category, i, f))
          << where << " " << d->log_word << " item " << i << " field " << f;
    }
    char **verified = va_profile_item_str(item, category, d->string_count - 1);
    EXPECT_TRUE(verified == nullptr || *verified == nullptr) << where << " " << d->log_word;
    if (d->has_source) {
      EXPECT_EQ(*va_profile_item_source(item, category), source_of(i))
          << where << " " << d->log_word << " item " << i;
    }
  }
}

class ProfileOpsTest : public AccountTest {
 protected:
  // Runs the main loop a little, for a callback that must not come.
  static void settle() {
    run_until([] { return false; }, 300);
  }

  // Sends `list` with update_info on `h` and waits for the answer; returns its result.
  int update(velmora_account_h h, velmora_account_profile_list_h list) {
    Completion done;
    const int ret = velmora_account_profile_update_info(h, list, Completion::cb, &done);
    if (ret != 0) return ret;
    EXPECT_TRUE(done.wait());
    EXPECT_EQ(done.calls, 1);
    return done.result;
  }

  // Sets `n` items of `category` (through the library, on `h`); expects success.
  void set_category(velmora_account_h h, int category, int n) {
    OwnedList list;
    append_items(list.h, category, n);
    EXPECT_EQ(update(h, list.h), 0) << va_profile_category(category)->log_word;
  }

  // Every category full: 2 names, 2 birthdays, 50 of each list, every single category.
  void set_full_profile(velmora_account_h h) {
    for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) set_category(h, c, full_count(c));
  }

  // Sets the privacy of every category to (category % 3) through update_privacy on `h`.
  int set_privacy(velmora_account_h h) {
    OwnedList list;
    for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
      velmora_account_profile_h p = nullptr;
      EXPECT_EQ(velmora_account_profile_create(c, &p), 0);
      EXPECT_EQ(velmora_account_profile_set_privacy(p, c, c % 3), 0);
      EXPECT_EQ(velmora_account_profile_list_append(list.h, p), 0);
      velmora_account_profile_destroy(p);
    }
    Completion done;
    const int ret = velmora_account_profile_update_privacy(h, list.h, Completion::cb, &done);
    if (ret != 0) return ret;
    EXPECT_TRUE(done.wait());
    return done.result;
  }

  // Starts `argv` (stdout and stderr to `output`, when given) without waiting; 0 when it could
  // not start.
  static GPid spawn(const std::vector<std::string> &argv, const std::string &output = "") {
    std::vector<std::string> words = argv;
    if (!output.empty()) {
      std::string line = "exec";
      for (const std::string &w : argv) line += " '" + w + "'";
      words = {"/bin/sh", "-c", line + " >'" + output + "' 2>&1"};
    }
    std::vector<char *> c_argv;
    for (std::string &w : words) c_argv.push_back(w.data());
    c_argv.push_back(nullptr);
    GPid pid = 0;
    GError *error = nullptr;
    if (!g_spawn_async(nullptr, c_argv.data(), nullptr, G_SPAWN_DO_NOT_REAP_CHILD, nullptr, nullptr,
                       &pid, &error)) {
      ADD_FAILURE() << error->message;
      g_error_free(error);
      return 0;
    }
    return pid;
  }

  // Runs the main loop (this process keeps serving) until `pid` ends; its exit status, -1 when
  // it did not end in time or ended by a signal.
  static int wait_exit(GPid pid) {
    struct Exit {
      int status = -1;
      bool exited = false;
    } exit_info;
    g_child_watch_add(
        pid,
        [](GPid child, gint wait_status, gpointer data) {
          auto *e = static_cast<Exit *>(data);
          e->status = WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : -1;
          e->exited = true;
          g_spawn_close_pid(child);
        },
        &exit_info);
    EXPECT_TRUE(run_until([&exit_info] { return exit_info.exited; }));
    return exit_info.status;
  }

  // request_info on `h`: the answer's account (with its link) in `done`.
  void request_info(velmora_account_h h, Completion *done) {
    ASSERT_EQ(velmora_account_profile_request_info(h, Completion::cb, done), 0);
    ASSERT_TRUE(done->wait());
    EXPECT_EQ(done->calls, 1);
  }
};

}  // namespace vtest
