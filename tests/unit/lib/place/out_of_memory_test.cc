// SPDX-License-Identifier: Apache-2.0
// Velmora tests: places when the library runs out of memory. Every allocation of a place list's
// life (the list and its places, the values a reply's keys and a port PlaceInfoS store, the copies
// the getters hand out, the release) is made to fail in turn (tests/support/alloc_faults.hh): each
// step reports VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY or does all it should, nothing crashes and
// nothing leaks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "account_svc_proxy.h"
#include "alloc_faults.hh"
#include "place_record.h"
#include "platform_root.hh"
#include "request_operation.h"
#include "request_record.h"
#include "velmora_account_place.h"

namespace {

constexpr int kOom = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
constexpr int kNone = VELMORA_ACCOUNT_ERROR_NONE;

// The reply keys of two places, the second with every text field.
const std::pair<const char *, const char *> kKeys[] = {
    {"name_1", "Home"},
    {"latitude_1", "37.5"},
    {"name_2", "Work"},
    {"address_2", "2 Side St"},
    {"category_2", "3"},
    {"wifiName_2", "work-net"},
    {"wifiBSSID_2", "00:11:22:33:44:55"},
    {"bluetoothName_2", "desk"},
    {"bluetoothMacAddress_2", "66:77:88:99:aa:bb"},
};

std::string text(const char *s) { return s ? s : "<NULL>"; }

// What the getters hand out of `place`, each text "<NULL>" when absent. The getters answer NONE
// for any place; a copy they cannot make is handed out as NULL.
std::string read_back(velmora_account_place_h place) {
  char *name = nullptr, *address = nullptr, *wifi = nullptr, *bssid = nullptr, *bt = nullptr,
       *bt_address = nullptr;
  int category = -1;
  EXPECT_EQ(velmora_account_place_get_place(place, &name, &address, &category), kNone);
  EXPECT_EQ(velmora_account_place_get_network(place, &wifi, &bssid, &bt, &bt_address), kNone);
  std::string out = text(name) + "|" + text(address) + "|" + std::to_string(category) + "|" +
                    text(wifi) + "|" + text(bssid) + "|" + text(bt) + "|" + text(bt_address);
  for (char *s : {name, address, wifi, bssid, bt, bt_address}) free(s);
  return out;
}

constexpr const char *kWork = "Work|2 Side St|3|work-net|00:11:22:33:44:55|desk|66:77:88:99:aa:bb";

// What a place callback received.
struct Received {
  int calls = 0;
  int result = 12345;
  std::string names;  // the places' names, comma-separated
  int bt_addresses = 0;
  static void cb(int result, velmora_account_h account, velmora_account_place_list_h list,
                 void *user_data) {
    auto *self = static_cast<Received *>(user_data);
    ++self->calls;
    self->result = result;
    for (int i = 0; list && i < list->count; ++i) {
      if (list->l[i] == nullptr) continue;
      self->names += (self->names.empty() ? "" : ",") + text(list->l[i]->name);
      if (text(list->l[i]->bt_address) == "66:77:88:99:aa:bb") ++self->bt_addresses;
    }
    if (list) va_place_list_free(list);
    if (account) velmora_account_destroy(account);
  }
};

using PlaceOutOfMemory = vtest::LibraryOutOfMemoryTest;

}  // namespace

TEST_F(PlaceOutOfMemory, EveryAllocationOfAListFilledFromReplyKeysMayFail) {
  const long total = vtest::each_failing_allocation(
      vtest::kLibraryAllocations, [](long n, vtest::AllocationRun &run) {
        velmora_account_place_list_h list = nullptr;
        const int created = velmora_account_place_list_create(&list);
        if (created != kNone) {
          EXPECT_EQ(created, kOom);
          EXPECT_EQ(list, nullptr);
          return;
        }
        bool complete = true;
        for (const auto &[key, value] : kKeys) {
          const int r = va_place_list_apply(list, key, value);
          EXPECT_TRUE(r == kNone || r == kOom) << key << ": " << r;
          complete = complete && r == kNone;
        }
        run.stop();  // what follows reads the list back
        EXPECT_EQ(list->count, 2);
        if (n == 0) EXPECT_TRUE(complete);
        if (complete) {
          EXPECT_EQ(read_back(list->l[1]), kWork);
          EXPECT_EQ(list->l[0]->latitude, 37.5);
        }
        EXPECT_EQ(velmora_account_place_list_destroy(list), kNone);
      });
  EXPECT_GT(total, 10);
}

TEST_F(PlaceOutOfMemory, AGetterThatCannotCopyATextHandsOutNull) {
  velmora_account_place_list_h list = va_place_list_new();
  ASSERT_NE(list, nullptr);
  for (const auto &[key, value] : kKeys) ASSERT_EQ(va_place_list_apply(list, key, value), kNone);
  const long total = vtest::each_failing_allocation(vtest::kLibraryAllocations, [list](long n) {
    const std::string got = read_back(list->l[1]);
    if (n == 0) {
      EXPECT_EQ(got, kWork);
      return;
    }
    // Exactly the n-th text of the two getters is missing.
    std::string expected = kWork;
    const size_t fields[] = {0, 1, 3, 4, 5, 6};  // the texts among the '|'-separated fields
    size_t start = 0, at = 0;
    for (size_t i = 0; i <= fields[n - 1]; ++i) {
      start = i == 0 ? 0 : expected.find('|', start) + 1;
      at = expected.find('|', start);
    }
    expected.replace(start, (at == std::string::npos ? expected.size() : at) - start, "<NULL>");
    EXPECT_EQ(got, expected);
  });
  EXPECT_EQ(total, 6);
  va_place_list_free(list);
}

// The port's reply: a complete list with NONE, or OUT_OF_MEMORY with what could be stored.
TEST_F(PlaceOutOfMemory, EveryAllocationOfAPortReplyMayFail) {
  // The port's record is made before the walk: only the reading is walked.
  rpc_port_PlaceInfoS_h info = nullptr;
  ASSERT_EQ(rpc_port_PlaceInfoS_create(&info), 0);
  for (int i = 0; i < 3; ++i) {
    rpc_port_PlaceS_h p = nullptr;
    ASSERT_EQ(rpc_port_PlaceS_create(&p), 0);
    rpc_port_PlaceS_set_Name(p, ("place " + std::to_string(i + 1)).c_str());
    rpc_port_PlaceS_set_Address(p, "an address");
    rpc_port_PlaceS_set_BtAddress(p, "66:77:88:99:aa:bb");
    rpc_port_PlaceS_set_Category(p, i);
    rpc_port_PlaceInfoS_add_PlaceList(info, p);
    rpc_port_PlaceS_destroy(p);
  }
  const long total = vtest::each_failing_allocation(vtest::kLibraryAllocations, [info](long n) {
    // A request record as the port send leaves it; its reply releases it.
    velmora_account_h account = nullptr;
    if (velmora_account_create(&account) != kNone) return;
    velmora_account_request_h request =
        static_cast<velmora_account_request_h>(calloc(1, sizeof *request));
    request->account = account;
    request->nidl_cb = VA_REQUEST_CB(Received::cb);
    Received got;
    request->user_data = &got;
    va_place_reply_from_port(request, kNone, info);
    if (got.calls == 0) return;  // no list could be made: no answer ("place_list_create failed")
    EXPECT_EQ(got.calls, 1);
    if (got.result == kNone) {
      EXPECT_EQ(got.names, "place 1,place 2,place 3");
      EXPECT_EQ(got.bt_addresses, 3);
    } else {
      EXPECT_EQ(got.result, kOom);
      EXPECT_NE(n, 0);
    }
  });
  rpc_port_PlaceInfoS_destroy(info);
  EXPECT_GT(total, 10);
}
