// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a place request when the library runs out of memory, against the reference
// agent in both transports. Every allocation the library makes for the request (the checks, the
// clone, the request record, the place list of the reply and every place and text stored in it)
// is made to fail in turn (tests/support/alloc_faults.hh). Each run returns
// VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY at once (and no callback comes), or its callback runs
// exactly once with VELMORA_ACCOUNT_ERROR_NONE and both places whole, or with
// VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY; over the port a reply for which no list can be made ends
// without a callback ("place_list_create failed"). A place list that could not be read whole is
// never answered as a success. Over the port the platform's allocations of the reply (every text
// of the PlaceInfoS read from the pushed parcel) are walked too. Nothing crashes and nothing
// leaks.
#include <gtest/gtest.h>

#include "alloc_faults.hh"
#include "log_capture.hh"
#include "places_fixture.hh"

namespace vtest {
namespace {

using PlacesOutOfMemory = Places;

// A place reply that ends the walked part of the run when it arrives: reading the places back
// allocates normally.
struct WalkedReply : PlaceReply {
  AllocationRun *run = nullptr;
  static void cb(int result, velmora_account_h account, velmora_account_place_list_h list,
                 void *user_data) {
    static_cast<WalkedReply *>(user_data)->run->stop();
    PlaceReply::cb(result, account, list, user_data);
  }
};

void expect_both_places(const PlaceReply &r) {
  ASSERT_EQ(r.places.size(), 2u);
  EXPECT_EQ(r.places[0].name, "Home");
  EXPECT_EQ(r.places[0].address, "1 Main St");
  EXPECT_EQ(r.places[0].wifi_name, "home-net");
  EXPECT_EQ(r.places[1].name, "Work");
}

void request_places(velmora_account_h h, bool port) {
  const long total = each_failing_allocation(kLibraryAllocations, [&](long n, AllocationRun &run) {
    LogCapture log;
    WalkedReply r;
    r.run = &run;
    const int ret = velmora_account_place_request_info(h, WalkedReply::cb, &r);
    if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
      run.stop();
      EXPECT_EQ(ret, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
      run_until([] { return false; }, 50);  // a callback that should not come
      EXPECT_EQ(r.calls, 0);
      return;
    }
    const bool answered = run_until(
        [&] { return r.calls > 0 || (port && log.count("place_list_create failed") > 0); });
    run.stop();
    ASSERT_TRUE(answered);
    if (r.calls == 0) return;  // the port's reply had no list to go into: no answer
    EXPECT_EQ(r.calls, 1);
    if (r.result == VELMORA_ACCOUNT_ERROR_NONE) {
      expect_both_places(r);
    } else {
      EXPECT_EQ(r.result, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
      EXPECT_NE(n, 0);
    }
  });
  EXPECT_GT(total, 5);
}

// Over the port, every allocation the platform makes for the reply once the request is sent (the
// texts of the PlaceInfoS read from the pushed parcel) fails in turn: each such run is answered
// with VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY, never with the places that could be read.
void walk_port_reply(velmora_account_h h) {
  const long total = each_failing_allocation_of_answer<WalkedReply>(
      kPlatformAllocations,
      [h](WalkedReply &r, AllocationRun &run) {
        r.run = &run;
        return velmora_account_place_request_info(h, WalkedReply::cb, &r);
      },
      expect_both_places);
  // Two places of seven texts each, and the PlaceInfoS's own.
  EXPECT_EQ(total, 15);
}

TEST_F(PlacesOutOfMemory, PlaceRequestOverAppControl) {
  if (!allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  velmora_account_h h = app_control_handle();
  ASSERT_NE(h, nullptr);
  request_places(h, false);
}

TEST_F(PlacesOutOfMemory, PlaceRequestOverThePort) {
  if (!allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  request_places(h, true);
}

TEST_F(PlacesOutOfMemory, PlaceReplyReadFromThePort) {
  if (!allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  walk_port_reply(h);
}

}  // namespace
}  // namespace vtest
