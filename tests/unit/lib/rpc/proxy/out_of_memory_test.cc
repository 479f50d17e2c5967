// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a pushed reply whose record cannot be read whole.
//
// A reply is pushed to a once-delegate of each record-carrying type (an AccountS, a PlaceInfoS
// with two places, a ProfileS with two names and three phone numbers), and every allocation that
// dispatching it makes is made to fail in turn, the library's (the records and list items) and
// the platform's (each text copied out of the parcel) (tests/support/alloc_faults.hh). The
// delegate is called exactly once every time and leaves the list: with the agent's success and
// the whole record when nothing failed, else with RPC_PORT_ERROR_OUT_OF_MEMORY; an agent's failure
// stays as it came. A record that the parcel does not hold whole answers -1 instead of success.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "alloc_faults.hh"
#include "proxy_fixture.hh"

namespace {

using vtest::AllocationHook;
using vtest::AllocationRun;

// What a walked delegate saw. Its first act ends the walked part of the run: reading the record
// back allocates normally.
struct Seen {
  AllocationRun *run = nullptr;
  int calls = 0;
  int result = 12345;
  std::string text;        // a text field of the record ("<none>" without a record)
  unsigned int items = 0;  // the items of the record's lists

  void saw(int r) {
    if (run) run->stop();
    ++calls;
    result = r;
  }
  static std::string take(char *s) {
    std::string out = s ? s : "<NULL>";
    free(s);
    return out;
  }
  static void on_account(void *self, int result, rpc_port_AccountS_h account) {
    auto *s = static_cast<Seen *>(self);
    s->saw(result);
    char *token = nullptr;
    if (account) rpc_port_AccountS_get_AccessToken(account, &token);
    s->text = account ? take(token) : "<none>";
  }
  static void on_place(void *self, int result, rpc_port_PlaceInfoS_h info) {
    auto *s = static_cast<Seen *>(self);
    s->saw(result);
    char *reserved = nullptr;
    if (info) {
      rpc_port_PlaceInfoS_get_Reserved(info, &reserved);
      rpc_port_PlaceInfoS_get_PlaceList_length(info, &s->items);
    }
    s->text = info ? take(reserved) : "<none>";
  }
  static void on_profile(void *self, int result, rpc_port_ProfileS_h profile) {
    auto *s = static_cast<Seen *>(self);
    s->saw(result);
    char *resource = nullptr;
    if (profile) {
      unsigned int names = 0, phones = 0;
      rpc_port_ProfileS_get_Resource(profile, &resource);
      rpc_port_ProfileS_get_NameList_length(profile, &names);
      rpc_port_ProfileS_get_PhoneList_length(profile, &phones);
      s->items = names + phones;
    }
    s->text = profile ? take(resource) : "<none>";
  }
};

// One record-carrying delegate type: how to make its delegate, the record its reply carries, and
// what a whole record shows to the callback.
struct ReplyKind {
  int id;
  std::function<void *(Seen *)> delegate;
  std::function<void *()> record;  // a new record, destroyed with destroy
  std::function<void(void *)> destroy;
  std::string text;
  unsigned int items;
};

rpc_port_AccountS_h an_account() {
  rpc_port_AccountS_h a = nullptr;
  rpc_port_AccountS_create(&a);
  rpc_port_AccountS_set_LoginId(a, "alice@example.com");
  rpc_port_AccountS_set_AccessToken(a, "token-of-alice");
  rpc_port_AccountS_set_TokenExpiresIn(a, 3600);
  return a;
}

rpc_port_PlaceInfoS_h two_places() {
  rpc_port_PlaceInfoS_h info = nullptr;
  rpc_port_PlaceInfoS_create(&info);
  rpc_port_PlaceInfoS_set_size(info, 2);
  rpc_port_PlaceInfoS_set_Reserved(info, "places");
  for (const char *name : {"Home", "Work"}) {
    rpc_port_PlaceS_h place = nullptr;
    rpc_port_PlaceS_create(&place);
    rpc_port_PlaceS_set_Name(place, name);
    rpc_port_PlaceS_set_Address(place, "1 Main St");
    rpc_port_PlaceInfoS_add_PlaceList(info, place);
    rpc_port_PlaceS_destroy(place);
  }
  return info;
}

rpc_port_ProfileS_h names_and_phones() {
  rpc_port_ProfileS_h profile = nullptr;
  rpc_port_ProfileS_create(&profile);
  rpc_port_ProfileS_set_Resource(profile, "all");
  for (const char *given : {"Alice", "Ally"}) {
    rpc_port_NameS_h name = nullptr;
    rpc_port_NameS_create(&name);
    rpc_port_NameS_set_GivenName(name, given);
    rpc_port_ProfileS_add_NameList(profile, name);
    rpc_port_NameS_destroy(name);
  }
  for (const char *number : {"+100", "+200", "+300"}) {
    rpc_port_PhoneS_h phone = nullptr;
    rpc_port_PhoneS_create(&phone);
    rpc_port_PhoneS_set_Value(phone, number);
    rpc_port_ProfileS_add_PhoneList(profile, phone);
    rpc_port_PhoneS_destroy(phone);
  }
  return profile;
}

const ReplyKind kAccount = {
    1,
    [](Seen *s) { return rpc_port_AccountSvc_ResponseCb_create(Seen::on_account, true, s); },
    [] { return static_cast<void *>(an_account()); },
    [](void *r) { rpc_port_AccountS_destroy(static_cast<rpc_port_AccountS_h>(r)); },
    "token-of-alice",
    0};
const ReplyKind kPlaces = {
    3,
    [](Seen *s) { return rpc_port_AccountSvc_ResponsePlaceCb_create(Seen::on_place, true, s); },
    [] { return static_cast<void *>(two_places()); },
    [](void *r) { rpc_port_PlaceInfoS_destroy(static_cast<rpc_port_PlaceInfoS_h>(r)); },
    "places",
    2};
const ReplyKind kProfile = {
    4,
    [](Seen *s) { return rpc_port_AccountSvc_ResponseProfileCb_create(Seen::on_profile, true, s); },
    [] { return static_cast<void *>(names_and_phones()); },
    [](void *r) { rpc_port_ProfileS_destroy(static_cast<rpc_port_ProfileS_h>(r)); },
    "all",
    5};

class ProxyDispatchOutOfMemory : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!vtest::allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
    proxy_ = vtest::bare_proxy();
  }
  void TearDown() override {
    if (proxy_) rpc_port_proxy_AccountSvc_destroy(proxy_);
  }

  // Pushes `agent_result` with a record of `kind` to a new once-delegate, run by run, while the
  // allocations of `hook` fail in turn from the dispatch on; returns the allocations walked.
  long walk(const AllocationHook &hook, const ReplyKind &kind, int agent_result) {
    void *record = kind.record();
    const long total = vtest::each_failing_allocation(hook, [&](long n, AllocationRun &run) {
      Seen seen;
      seen.run = &run;
      rpc_port_parcel_h p = nullptr;
      run.begin_after([&] {
        void *d = kind.delegate(&seen);
        ASSERT_NE(d, nullptr);
        proxy_->delegates = g_list_append(proxy_->delegates, d);
        p = vtest::pushed(1, kind.id, static_cast<va::proxy::Delegate *>(d)->seq);
        rpc_port_parcel_write_int32(p, agent_result);
        rpc_port_parcel_write(p, va::rec::parcelable_of(record), record);
      });
      ASSERT_NE(p, nullptr);
      va::proxy::dispatch_callback(proxy_, p, "dev.velmora.account", "AccountSvc");
      run.stop();
      EXPECT_EQ(seen.calls, 1);
      EXPECT_EQ(vtest::listed(proxy_), 0u);
      if (n == 0) {
        EXPECT_EQ(seen.result, agent_result);
        EXPECT_EQ(seen.text, kind.text);
        EXPECT_EQ(seen.items, kind.items);
      } else {
        EXPECT_EQ(seen.result, agent_result == 0 ? RPC_PORT_ERROR_OUT_OF_MEMORY : agent_result);
      }
    });
    kind.destroy(record);
    return total;
  }

  rpc_port_proxy_AccountSvc_h proxy_ = nullptr;
};

TEST_F(ProxyDispatchOutOfMemory, AccountReply) {
  EXPECT_EQ(walk(vtest::kLibraryAllocations, kAccount, 0), 1);    // the AccountS
  EXPECT_EQ(walk(vtest::kPlatformAllocations, kAccount, 0), 20);  // its twenty texts
}

TEST_F(ProxyDispatchOutOfMemory, PlaceListReply) {
  EXPECT_EQ(walk(vtest::kLibraryAllocations, kPlaces, 0), 3);    // the PlaceInfoS, two PlaceS
  EXPECT_EQ(walk(vtest::kPlatformAllocations, kPlaces, 0), 15);  // its text, seven per place
}

TEST_F(ProxyDispatchOutOfMemory, ProfileReply) {
  // The ProfileS, two NameS, three PhoneS and its eight single records.
  EXPECT_EQ(walk(vtest::kLibraryAllocations, kProfile, 0), 14);
  // Its four texts, ten per name, five per phone, and the 21 of its single records.
  EXPECT_EQ(walk(vtest::kPlatformAllocations, kProfile, 0), 4 + 2 * 10 + 3 * 5 + 21);
}

TEST_F(ProxyDispatchOutOfMemory, AnAgentsFailureStaysAsItCame) {
  constexpr int kAgentFailure = -22;
  EXPECT_EQ(walk(vtest::kLibraryAllocations, kPlaces, kAgentFailure), 3);
  EXPECT_EQ(walk(vtest::kPlatformAllocations, kProfile, kAgentFailure), 60);
}

// Not an allocation: a place list that announces two places but holds one. Answered as a success
// it reaches the delegate as -1; the agent's own failure stays.
TEST_F(ProxyDispatchOutOfMemory, ARecordTheParcelDoesNotHoldWholeIsNoSuccess) {
  for (int agent_result : {0, -22}) {
    SCOPED_TRACE(agent_result);
    Seen seen;
    void *d = kPlaces.delegate(&seen);
    proxy_->delegates = g_list_append(proxy_->delegates, d);
    rpc_port_parcel_h p = vtest::pushed(1, 3, static_cast<va::proxy::Delegate *>(d)->seq);
    rpc_port_parcel_write_int32(p, agent_result);
    rpc_port_parcel_write_int32(p, 2);          // size
    rpc_port_parcel_write_string(p, "places");  // Reserved
    rpc_port_parcel_write_array_count(p, 2);    // PlaceList: two announced...
    rpc_port_PlaceS_h place = nullptr;
    rpc_port_PlaceS_create(&place);
    rpc_port_PlaceS_set_Name(place, "Home");
    rpc_port_parcel_write(p, va::rec::parcelable_of(place), place);  // ...one written
    rpc_port_PlaceS_destroy(place);
    va::proxy::dispatch_callback(proxy_, p, "dev.velmora.account", "AccountSvc");
    EXPECT_EQ(seen.calls, 1);
    EXPECT_EQ(seen.result, agent_result == 0 ? -1 : agent_result);
    EXPECT_EQ(vtest::listed(proxy_), 0u);
  }
}

}  // namespace
