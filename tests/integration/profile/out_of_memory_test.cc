// SPDX-License-Identifier: Apache-2.0
// Velmora tests: profile requests when the library runs out of memory, against the reference
// agent in both transports. Every allocation the library makes for one request (the checks, the
// clone, the request record, the update's body, the reply's list and every item and text stored
// in it) is made to fail in turn (tests/support/alloc_faults.hh). Each run returns
// VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY at once (and no callback comes), or its callback runs
// exactly once with VELMORA_ACCOUNT_ERROR_NONE and the whole answer, or with
// VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY. An app-control reply for which no list can be made ends
// without a callback, as its line says. A profile that could not be read whole is never answered
// as a success. Over the port the platform's allocations of the reply (every text of the ProfileS
// read from the pushed parcel) are walked too. Nothing crashes and nothing leaks.
#include <gtest/gtest.h>

#include <functional>

#include "alloc_faults.hh"
#include "log_capture.hh"
#include "profile_fixture.hh"

namespace vtest {
namespace {

constexpr int kNone = VELMORA_ACCOUNT_ERROR_NONE;
constexpr int kOom = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;

// The lines of a reply that ends without a callback because its list could not be made.
constexpr const char *kNoListLines[] = {"account->profile is NULL", "va_profile_list_h is NULL"};

// What a walked callback received. The first thing it does is end the walked part of the run:
// reading the answer back allocates normally.
struct Answer {
  AllocationRun *run = nullptr;
  int calls = 0;
  int result = 12345;
  velmora_account_h account = nullptr;
  velmora_account_profile_list_h list = nullptr;
  ~Answer() {
    if (account) velmora_account_destroy(account);
    if (list) velmora_account_profile_list_destroy(list);
  }
  void keep(velmora_account_h h) { account = h; }
  void keep(velmora_account_profile_list_h l) { list = l; }
  // The callback of a request whose answer is `T` (a response handle, a profile list).
  template <typename T>
  static void on(int result, T value, void *user_data) {
    auto *self = static_cast<Answer *>(user_data);
    self->run->stop();
    ++self->calls;
    self->result = result;
    self->keep(value);
  }
};

class ProfileRequestsOutOfMemory : public ProfileOpsTest {
 protected:
  void SetUp() override {
    if (!allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
    prepare();
    // A nickname, two names and three phone numbers, set before the walks.
    velmora_account_h h = app_control_handle();
    set_category(h, VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, 1);
    set_category(h, VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME, 2);
    set_category(h, VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE, 3);
  }

  // Walks every allocation of the request `send` makes on `h`; `whole` checks a NONE answer.
  static void walk(const std::function<int(Answer *)> &send,
                   const std::function<void(const Answer &)> &whole) {
    const long total =
        each_failing_allocation(kLibraryAllocations, [&](long n, AllocationRun &run) {
          LogCapture log;
          Answer a;
          a.run = &run;
          const int ret = send(&a);
          if (ret != kNone) {
            run.stop();
            EXPECT_EQ(ret, kOom);
            run_until([] { return false; }, 50);  // a callback that should not come
            EXPECT_EQ(a.calls, 0);
            return;
          }
          const bool answered = run_until([&] {
            if (a.calls > 0) return true;
            for (const char *line : kNoListLines)
              if (log.count(line) > 0) return true;
            return false;
          });
          run.stop();
          ASSERT_TRUE(answered);
          if (a.calls == 0) return;  // no list to read the reply into: no answer
          EXPECT_EQ(a.calls, 1);
          if (a.result == kNone) {
            whole(a);
          } else {
            EXPECT_EQ(a.result, kOom);
            EXPECT_NE(n, 0);
          }
        });
    EXPECT_GT(total, 5);
  }

  // Walks every allocation of the platform once `send` has sent its request over the port: the
  // reading of the pushed reply. Every such run is answered with OUT_OF_MEMORY.
  static long walk_port_reply(const std::function<int(Answer *)> &send,
                              const std::function<void(const Answer &)> &whole) {
    return each_failing_allocation_of_answer<Answer>(
        kPlatformAllocations,
        [&send](Answer &a, AllocationRun &run) {
          a.run = &run;
          return send(&a);
        },
        whole);
  }

  static int send_info(velmora_account_h h, Answer *a) {
    return velmora_account_profile_request_info(h, Answer::on<velmora_account_h>, a);
  }
  static int send_phones(velmora_account_h h, Answer *a) {
    return velmora_account_profile_request_profile(h, VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE,
                                                   Answer::on<velmora_account_profile_list_h>, a);
  }

  static void expect_profile(const Answer &a) {
    ASSERT_NE(a.account, nullptr);
    expect_items(a.account->link, VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, 1, "info");
    expect_items(a.account->link, VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME, 2, "info");
    expect_items(a.account->link, VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE, 3, "info");
  }

  static void expect_phones(const Answer &a) {
    expect_items(a.list, VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE, 3, "phones");
  }

  void request_info_in(velmora_account_h h) {
    walk([h](Answer *a) { return send_info(h, a); }, expect_profile);
  }

  void request_phones_in(velmora_account_h h) {
    walk([h](Answer *a) { return send_phones(h, a); }, expect_phones);
  }

  void update_in(velmora_account_h h) {
    OwnedList nickname;
    append_items(nickname.h, VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, 1);
    walk(
        [h, &nickname](Answer *a) {
          return velmora_account_profile_update_info(h, nickname.h, Answer::on<velmora_account_h>,
                                                     a);
        },
        [](const Answer &a) { EXPECT_NE(a.account, nullptr); });
  }
};

TEST_F(ProfileRequestsOutOfMemory, RequestInfoOverAppControl) {
  request_info_in(app_control_handle());
}

TEST_F(ProfileRequestsOutOfMemory, RequestInfoOverThePort) { request_info_in(connected_handle()); }

TEST_F(ProfileRequestsOutOfMemory, RequestProfileOverAppControl) {
  request_phones_in(app_control_handle());
}

TEST_F(ProfileRequestsOutOfMemory, RequestProfileOverThePort) {
  request_phones_in(connected_handle());
}

// The whole profile over the port: a nickname, two names and three phone numbers, each text of
// which the platform copies out of the pushed parcel.
TEST_F(ProfileRequestsOutOfMemory, InfoReplyReadFromThePort) {
  velmora_account_h h = connected_handle();
  EXPECT_GE(walk_port_reply([h](Answer *a) { return send_info(h, a); }, expect_profile), 20);
}

TEST_F(ProfileRequestsOutOfMemory, ProfileReplyReadFromThePort) {
  velmora_account_h h = connected_handle();
  EXPECT_GE(walk_port_reply([h](Answer *a) { return send_phones(h, a); }, expect_phones), 10);
}

TEST_F(ProfileRequestsOutOfMemory, UpdateInfoOverAppControl) { update_in(app_control_handle()); }

TEST_F(ProfileRequestsOutOfMemory, UpdateInfoOverThePort) { update_in(connected_handle()); }

}  // namespace
}  // namespace vtest
