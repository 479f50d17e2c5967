// SPDX-License-Identifier: Apache-2.0
// Velmora tests: velmora_account_destroy leaves exactly the string properties 18 to 20 allocated,
// and the runner's leak suppression (tests/lsan.supp) covers exactly those.
//
// The proof runs this test program again as a child that sets every string property, destroys the
// handle and exits; the leak checker then reports at the child's exit. Without the suppression the
// child must report exactly three leaks, each made by va_dup_field_not_released_by_destroy; with
// it, none.
#include <glib.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "platform_root.hh"
#include "velmora_account.h"

#if defined(__SANITIZE_ADDRESS__)
#define VTEST_HAS_LEAK_CHECKER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VTEST_HAS_LEAK_CHECKER 1
#endif
#endif

namespace {

constexpr const char *kChildVariable = "VTEST_DESTROY_LEAK_CHILD";

// The child's work: runs before main() when the variable is set, then exits.
__attribute__((noinline)) void set_every_property_and_destroy() {
  velmora_account_h h = nullptr;
  if (velmora_account_create(&h) != 0) _exit(3);
  for (int p = 0; p <= VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID; ++p)
    if (velmora_account_set_property_str(h, p, ("secret value " + std::to_string(p)).c_str()) != 0)
      _exit(4);
  if (velmora_account_destroy(h) != 0) _exit(5);
}

const bool g_child_ran = [] {
  if (!getenv(kChildVariable)) return false;
  set_every_property_and_destroy();
  exit(0);  // the leak checker reports here
}();

struct ChildResult {
  int exit_status = -1;
  std::string err;
};

[[maybe_unused]] ChildResult run_child(const std::string &lsan_options) {
  gchar **env = g_get_environ();
  env = g_environ_setenv(env, kChildVariable, "1", TRUE);
  env = g_environ_setenv(env, "LSAN_OPTIONS", lsan_options.c_str(), TRUE);
  const gchar *argv[] = {"/proc/self/exe", nullptr};
  ChildResult result;
  gchar *out = nullptr, *err = nullptr;
  gint status = 0;
  GError *error = nullptr;
  if (g_spawn_sync(nullptr, const_cast<gchar **>(argv), env, G_SPAWN_DEFAULT, nullptr, nullptr,
                   &out, &err, &status, &error)) {
    result.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.err = err ? err : "";
  } else {
    result.err = error ? error->message : "spawn failed";
    g_clear_error(&error);
  }
  g_free(out);
  g_free(err);
  g_strfreev(env);
  return result;
}

[[maybe_unused]] int count(const std::string &text, const std::string &what) {
  int n = 0;
  for (size_t pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos + 1)) ++n;
  return n;
}

}  // namespace

TEST(AccountDestroy, LeavesOnlyTheThreeUnreleasedFieldsAllocated) {
#ifndef VTEST_HAS_LEAK_CHECKER
  GTEST_SKIP() << "needs a build with the leak checker (VELMORA_SANITIZE=ON)";
#else
  ASSERT_FALSE(g_child_ran);
  vtest::PlatformRoot root;
  root.install_agent(5);

  const ChildResult bare = run_child("exitcode=23:print_suppressions=0");
  EXPECT_EQ(bare.exit_status, 23) << bare.err;
  // Leaks with the same stack are reported as one record: every record must come from the one
  // function that stores the unreleased fields, and there must be three allocations in all.
  EXPECT_GE(count(bare.err, "Direct leak of"), 1) << bare.err;
  EXPECT_EQ(count(bare.err, "Direct leak of"),
            count(bare.err, " in va_dup_field_not_released_by_destroy "))
      << bare.err;
  EXPECT_EQ(count(bare.err, "Indirect leak of"), 0) << bare.err;
  EXPECT_NE(bare.err.find("SUMMARY: AddressSanitizer: 48 byte(s) leaked in 3 allocation(s)."),
            std::string::npos)
      << bare.err;  // "secret value 18" .. "20": 16 bytes each

  // The runner's own options carry the suppression file; with them the child is clean.
  const char *runner = getenv("LSAN_OPTIONS");
  ASSERT_NE(runner, nullptr) << "the test runner sets LSAN_OPTIONS";
  ASSERT_NE(std::string(runner).find("suppressions="), std::string::npos) << runner;
  const ChildResult suppressed = run_child(std::string(runner) + ":exitcode=23");
  EXPECT_EQ(suppressed.exit_status, 0) << suppressed.err;
  EXPECT_EQ(count(suppressed.err, "leak of"), 0) << suppressed.err;
#endif
}
