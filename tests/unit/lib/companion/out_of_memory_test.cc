// SPDX-License-Identifier: Apache-2.0
// Velmora tests: companion handles and requests when the library runs out of memory. Every
// allocation of a companion handle's life (create, string properties set and read, destroy) and of
// one companion request (the clone, the request record, the companion handle of the reply) is
// made to fail in turn (tests/support/alloc_faults.hh): each call returns
// VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY or succeeds, a request's callback comes exactly once (with
// OUT_OF_MEMORY and no companion handle when none could be made), nothing crashes and nothing
// leaks. The agent here is the test callee, which answers every request.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "alloc_faults.hh"
#include "main_loop.hh"
#include "platform_root.hh"
#include "test_apps.hh"
#include "velmora_account.h"
#include "velmora_account_companion.h"

namespace {

constexpr int kOom = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
constexpr int kNone = VELMORA_ACCOUNT_ERROR_NONE;

struct Reply {
  int calls = 0;
  int result = 12345;
  bool had_companion = false;
  static void cb(int result, velmora_account_h account, velmora_account_companion_h companion,
                 void *user_data) {
    auto *self = static_cast<Reply *>(user_data);
    ++self->calls;
    self->result = result;
    self->had_companion = companion != nullptr;
    if (account) velmora_account_destroy(account);
    if (companion) velmora_account_companion_destroy(companion);
  }
};

class CompanionOutOfMemory : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!vtest::allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
    root_.set_profile("wearable");
    root_.install_agent(5, vtest::apps::path("ipc_callee"));
  }
  void TearDown() override { vtest::apps::kill_instances(root_.path()); }

  // Walks every allocation of one request made by `send`.
  void walk(int (*send)(velmora_account_h, velmora_account_companion_cb, void *)) {
    velmora_account_h handle = nullptr;
    ASSERT_EQ(velmora_account_create(&handle), kNone);
    ASSERT_EQ(velmora_account_set_property_str(handle, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID,
                                               "me@velmora.dev"),
              kNone);
    const long total = vtest::each_failing_allocation(
        vtest::kLibraryAllocations, [&](long n, vtest::AllocationRun &run) {
          Reply r;
          const int ret = send(handle, Reply::cb, &r);
          if (ret != kNone) {
            run.stop();
            EXPECT_EQ(ret, kOom);
            vtest::run_until([] { return false; }, 50);  // a callback that should not come
            EXPECT_EQ(r.calls, 0);
            return;
          }
          const bool called = vtest::run_until([&r] { return r.calls > 0; });
          run.stop();
          ASSERT_TRUE(called);
          EXPECT_EQ(r.calls, 1);
          // The callee's answer says nothing of the phone: a companion handle, or none for lack
          // of memory.
          if (r.result == kNone) {
            EXPECT_TRUE(r.had_companion);
          } else {
            EXPECT_EQ(r.result, kOom);
            EXPECT_FALSE(r.had_companion);
          }
          if (n == 0) EXPECT_EQ(r.result, kNone);
        });
    EXPECT_GT(total, 3);
    velmora_account_destroy(handle);
  }

  vtest::PlatformRoot root_;
};

}  // namespace

TEST_F(CompanionOutOfMemory, EveryAllocationOfACompanionsLifeMayFail) {
  const long total = vtest::each_failing_allocation(vtest::kLibraryAllocations, [](long n) {
    velmora_account_companion_h c = nullptr;
    const int created = velmora_account_companion_create(&c);
    if (created != kNone) {
      EXPECT_EQ(created, kOom);
      EXPECT_EQ(c, nullptr);
      return;
    }
    const int properties[] = {VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, VELMORA_ACCOUNT_PROPERTY_USER_ID,
                              VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN};
    for (int p : properties) {
      const std::string value = "value-" + std::to_string(p);
      const int set = velmora_account_companion_set_property_str(c, p, value.c_str());
      EXPECT_TRUE(set == kNone || set == kOom) << set;
      char *got = nullptr;
      const int read = velmora_account_companion_get_property_str(c, p, &got);
      if (set == kNone && read == kNone) EXPECT_EQ(std::string(got), value);
      // A value that was not stored is not there; one that could not be copied out is not handed.
      if (set != kNone) EXPECT_EQ(read, VELMORA_ACCOUNT_ERROR_NO_DATA);
      if (set == kNone) EXPECT_TRUE(read == kNone || read == kOom) << read;
      if (read != kNone) EXPECT_EQ(got, nullptr);
      free(got);
      if (n == 0) EXPECT_EQ(set, kNone);
    }
    EXPECT_EQ(velmora_account_companion_destroy(c), kNone);
  });
  EXPECT_GE(total, 7);
}

TEST_F(CompanionOutOfMemory, EveryAllocationOfTheAccountCheckMayFail) {
  walk(velmora_account_companion_get_account);
}

TEST_F(CompanionOutOfMemory, EveryAllocationOfASignInMayFail) {
  walk(velmora_account_companion_sign_in);
}
