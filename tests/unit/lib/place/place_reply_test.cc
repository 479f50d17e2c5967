// SPDX-License-Identifier: Apache-2.0
// Velmora tests: reading the agent's place replies: app-control keys and the PlaceInfoS record.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "account_svc_proxy.h"
#include "app_control.h"
#include "dlog.h"
#include "log_capture.hh"
#include "place_record.h"
#include "platform_root.hh"

using vtest::kVaTag;

namespace {

class PlaceKeys : public ::testing::Test {
 protected:
  void SetUp() override {
    root_.install_agent(5);
    list_ = va_place_list_new();
    ASSERT_NE(list_, nullptr);
  }
  void TearDown() override { va_place_list_free(list_); }

  // Runs the reply reader over an app control holding these extras, in order.
  void read(std::initializer_list<std::pair<const char *, const char *>> extras) {
    app_control_h reply = nullptr;
    ASSERT_EQ(app_control_create(&reply), APP_CONTROL_ERROR_NONE);
    for (const auto &kv : extras)
      ASSERT_EQ(app_control_add_extra_data(reply, kv.first, kv.second), APP_CONTROL_ERROR_NONE);
    EXPECT_EQ(app_control_foreach_extra_data(reply, va_foreach_place_cb, list_),
              APP_CONTROL_ERROR_NONE);
    app_control_destroy(reply);
  }

  vtest::PlatformRoot root_;
  velmora_account_place_list_h list_ = nullptr;
};

}  // namespace

TEST_F(PlaceKeys, NameOneAndLatitudeThreeGiveThreeSlotsWithTheSecondNull) {
  vtest::LogCapture log;
  read({{"name_1", "Home"}, {"latitude_3", "37.5"}});
  EXPECT_EQ(list_->count, 3);
  ASSERT_NE(list_->l[0], nullptr);
  EXPECT_STREQ(list_->l[0]->name, "Home");
  EXPECT_EQ(list_->l[1], nullptr);
  ASSERT_NE(list_->l[2], nullptr);
  EXPECT_EQ(list_->l[2]->latitude, 37.5);
  EXPECT_EQ(list_->l[2]->name, nullptr);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "Key[name_1]")) << log.dump();
  EXPECT_EQ(log.find("Key[latitude_3]")->function(), "foreach_place_cb");
}

TEST_F(PlaceKeys, IndexesZeroAndFiftyOneAreIgnoredWithTheException) {
  vtest::LogCapture log;
  read({{"name_0", "Zero"}, {"name_51", "Too far"}, {"name_50", "Last"}});
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "index[0] exception")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "index[51] exception")) << log.dump();
  EXPECT_EQ(list_->count, 50);
  for (int i = 0; i < 49; ++i) EXPECT_EQ(list_->l[i], nullptr) << i;
  ASSERT_NE(list_->l[49], nullptr);
  EXPECT_STREQ(list_->l[49]->name, "Last");
}

TEST_F(PlaceKeys, ErrorKeysAndKeysWithoutAnUnderscoreAreIgnored) {
  vtest::LogCapture log;
  read({{"error_code", "-22"}, {"error_msg", "x"}, {"name", "No index"}, {"name_2", "Work"}});
  EXPECT_EQ(list_->count, 2);
  EXPECT_EQ(list_->l[0], nullptr);
  EXPECT_STREQ(list_->l[1]->name, "Work");
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "Key[error_code]")) << log.dump();
  EXPECT_EQ(log.count("index[0] exception"), 0) << log.dump();
}

TEST_F(PlaceKeys, EveryFieldHasItsKey) {
  read({{"name_1", "Home"},
        {"address_1", "1 Main St"},
        {"category_1", "7"},
        {"type_1", "2"},
        {"locationType_1", "3"},
        {"latitude_1", "-33.865"},
        {"longitude_1", "151.2094"},
        {"wifiName_1", "home-net"},
        {"wifiBSSID_1", "00:11"},
        {"bluetoothName_1", "car"},
        {"bluetoothMacAddress_1", "aa:bb"}});
  ASSERT_EQ(list_->count, 1);
  const velmora_account_place_h p = list_->l[0];
  EXPECT_STREQ(p->name, "Home");
  EXPECT_STREQ(p->address, "1 Main St");
  EXPECT_EQ(p->category, 7);
  EXPECT_EQ(p->type, 2);
  EXPECT_EQ(p->location_source, 3);
  EXPECT_EQ(p->latitude, -33.865);
  EXPECT_EQ(p->longitude, 151.2094);
  EXPECT_STREQ(p->wifi_name, "home-net");
  EXPECT_STREQ(p->wifi_bssid, "00:11");
  EXPECT_STREQ(p->bt_name, "car");
  EXPECT_STREQ(p->bt_address, "aa:bb");
}

TEST_F(PlaceKeys, TheFirstWordTheKeyContainsWins) {
  // "nickname_1" holds "name"; "addressname_2" holds "name", which is tried before "address".
  read({{"nickname_1", "Nick"}, {"addressname_2", "Both"}, {"unknown_3", "x"}});
  EXPECT_STREQ(list_->l[0]->name, "Nick");
  EXPECT_STREQ(list_->l[1]->name, "Both");
  EXPECT_EQ(list_->l[1]->address, nullptr);
  // A key of no known field still makes its slot and counts.
  EXPECT_EQ(list_->count, 3);
  ASSERT_NE(list_->l[2], nullptr);
  EXPECT_EQ(list_->l[2]->name, nullptr);
}

TEST_F(PlaceKeys, TheIndexIsTheNumberAfterTheFirstUnderscore) {
  vtest::LogCapture log;
  read({{"address_name_2", "x"}, {"name_4th", "Fourth"}});
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "index[0] exception")) << log.dump();
  EXPECT_EQ(list_->count, 4);
  EXPECT_STREQ(list_->l[3]->name, "Fourth");
}

TEST_F(PlaceKeys, ALaterValueReplacesAnEarlierOneWithoutLeaking) {
  va_place_list_apply(list_, "name_1", "Old");
  va_place_list_apply(list_, "name_1", "New");
  EXPECT_STREQ(list_->l[0]->name, "New");
}

// ---- the port's PlaceInfoS ----

namespace {

rpc_port_PlaceInfoS_h place_info(int places, int category = 1) {
  rpc_port_PlaceInfoS_h info = nullptr;
  rpc_port_PlaceInfoS_create(&info);
  for (int i = 0; i < places; ++i) {
    rpc_port_PlaceS_h p = nullptr;
    rpc_port_PlaceS_create(&p);
    rpc_port_PlaceS_set_Name(p, ("place " + std::to_string(i + 1)).c_str());
    rpc_port_PlaceS_set_Category(p, category);
    rpc_port_PlaceS_set_Type(p, 200);
    rpc_port_PlaceS_set_LocationSource(p, 5);
    rpc_port_PlaceS_set_Latitude(p, 200.0);
    rpc_port_PlaceS_set_Longitude(p, 12.5);
    rpc_port_PlaceInfoS_add_PlaceList(info, p);
    rpc_port_PlaceS_destroy(p);
  }
  rpc_port_PlaceInfoS_set_size(info, places);
  return info;
}

}  // namespace

TEST_F(PlaceKeys, APortPlaceWithCategoryTwoHundredLeavesZero) {
  rpc_port_PlaceInfoS_h info = place_info(1, 200);
  EXPECT_EQ(va_place_list_from_nidl(list_, info), 1);
  rpc_port_PlaceInfoS_destroy(info);
  ASSERT_EQ(list_->count, 1);
  const velmora_account_place_h p = list_->l[0];
  EXPECT_STREQ(p->name, "place 1");
  EXPECT_EQ(p->category, 0);
  EXPECT_EQ(p->type, 0);  // 200: not given
  EXPECT_EQ(p->location_source, 5);
  EXPECT_EQ(p->latitude, 0.0);  // 200.0: not given
  EXPECT_EQ(p->longitude, 12.5);
  EXPECT_EQ(p->address, nullptr);  // unset text stays NULL
}

TEST_F(PlaceKeys, APortListOfSixtyStopsAtFifty) {
  rpc_port_PlaceInfoS_h info = place_info(60);
  EXPECT_EQ(va_place_list_from_nidl(list_, info), 50);
  rpc_port_PlaceInfoS_destroy(info);
  EXPECT_EQ(list_->count, 50);
  EXPECT_STREQ(list_->l[0]->name, "place 1");
  EXPECT_STREQ(list_->l[49]->name, "place 50");
  // Leak checkers see the list's fifty places freed by TearDown, and nothing else left.
}

TEST_F(PlaceKeys, AnEmptyPortReplyGivesAnEmptyList) {
  rpc_port_PlaceInfoS_h info = place_info(0);
  EXPECT_EQ(va_place_list_from_nidl(list_, info), 0);
  rpc_port_PlaceInfoS_destroy(info);
  EXPECT_EQ(list_->count, 0);
  EXPECT_EQ(list_->l[0], nullptr);
}

TEST_F(PlaceKeys, APortReplyWithoutItsRequestIsLoggedAndDropped) {
  rpc_port_PlaceInfoS_h info = place_info(2);
  vtest::LogCapture log;
  va_place_reply_from_port(nullptr, 0, info);
  rpc_port_PlaceInfoS_destroy(info);
  const vtest::LogLine *line = log.find("data is NULL");
  ASSERT_NE(line, nullptr) << log.dump();
  EXPECT_EQ(line->function(), "nidl_request_place_cb");
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "data is NULL")) << log.dump();
}
