// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a place request when the library runs out of memory, against the reference
// agent in both transports. Every allocation the library makes for the request (the checks, the
// clone, the request record, the place list of the reply and every place and text stored in it)
// is made to fail in turn (tests/support/alloc_faults.hh). Each run returns
// VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY at once (and no callback comes), or its callback runs
// exactly once with VELMORA_ACCOUNT_ERROR_NONE and both places whole, or with
// VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY; over the port a reply for which no list can be made ends
// without a callback ("place_list_create failed"). Nothing crashes and nothing leaks.
#include <gtest/gtest.h>

#include "alloc_faults.hh"
#include "dlog.h"
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
    // Over the port, a PlaceInfoS whose decoding ran out of memory arrives cut short and the
    // delegate is still called with the agent's result: the generated layer stops reading the
    // place list at the place it could not make (and says so), and the reply cannot tell.
    if (port && r.result == VELMORA_ACCOUNT_ERROR_NONE && r.places.size() < 2) {
      EXPECT_TRUE(log.has(kRpcTag, DLOG_ERROR, "Failed to create handle")) << log.dump();
      return;
    }
    if (r.result == VELMORA_ACCOUNT_ERROR_NONE) {
      ASSERT_EQ(r.places.size(), 2u);
      EXPECT_EQ(r.places[0].name, "Home");
      EXPECT_EQ(r.places[0].address, "1 Main St");
      EXPECT_EQ(r.places[0].wifi_name, "home-net");
      EXPECT_EQ(r.places[1].name, "Work");
    } else {
      EXPECT_EQ(r.result, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
      EXPECT_NE(n, 0);
    }
  });
  EXPECT_GT(total, 5);
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

}  // namespace
}  // namespace vtest
