// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the place and place-list handles, the getters and foreach.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "dlog.h"
#include "log_capture.hh"
#include "place_record.h"
#include "platform_root.hh"
#include "velmora_account_place.h"

using vtest::kVaTag;

namespace {

class Place : public ::testing::Test {
 protected:
  void SetUp() override { root_.install_agent(2); }
  vtest::PlatformRoot root_;
};

std::string take(char *s) {
  std::string out = s ? s : "<NULL>";
  free(s);
  return out;
}

}  // namespace

TEST(PlaceGate, WithoutAgentEveryFunctionIsNotSupported) {
  vtest::PlatformRoot root;
  vtest::LogCapture log;
  velmora_account_place_h p = nullptr;
  velmora_account_place_list_h l = nullptr;
  EXPECT_EQ(velmora_account_place_create(&p), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_place_list_create(&l), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_place_get_place(nullptr, nullptr, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(l, nullptr);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(is_agent_installed() == false)")) << log.dump();
}

TEST(PlaceGate, AnAgentBelowLevelTwoIsALowerVersion) {
  vtest::PlatformRoot root;
  root.install_agent(1);
  vtest::LogCapture log;
  velmora_account_place_h p = nullptr;
  velmora_account_place_list_h l = nullptr;
  EXPECT_EQ(velmora_account_place_create(&p), VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(velmora_account_place_list_create(&l), VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(velmora_account_place_list_foreach(nullptr, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(l, nullptr);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(is_lower_agent(2) == true)")) << log.dump();
}

TEST_F(Place, CreateChecksItsOutPointer) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_place_create(nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "((!handle))")) << log.dump();
  log.clear();
  EXPECT_EQ(velmora_account_place_list_create(nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "((!handle))")) << log.dump();
}

TEST_F(Place, DestroyOfNullIsInvalid) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_place_destroy(nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "((data == NULL))")) << log.dump();
  log.clear();
  EXPECT_EQ(velmora_account_place_list_destroy(nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "((data == NULL))")) << log.dump();
}

TEST_F(Place, ANewPlaceIsAllZero) {
  velmora_account_place_h p = nullptr;
  ASSERT_EQ(velmora_account_place_create(&p), VELMORA_ACCOUNT_ERROR_NONE);
  char keep[] = "x";
  char *name = keep, *address = keep;
  int category = -1;
  ASSERT_EQ(velmora_account_place_get_place(p, &name, &address, &category), 0);
  EXPECT_EQ(name, nullptr);
  EXPECT_EQ(address, nullptr);
  EXPECT_EQ(category, 0);
  int type = -1, source = -1;
  double lat = -1, lon = -1;
  ASSERT_EQ(velmora_account_place_get_location(p, &type, &source, &lat, &lon), 0);
  EXPECT_EQ(type, 0);
  EXPECT_EQ(source, 0);
  EXPECT_EQ(lat, 0.0);
  EXPECT_FALSE(std::signbit(lat));
  EXPECT_EQ(lon, 0.0);
  EXPECT_EQ(velmora_account_place_destroy(p), 0);
}

TEST_F(Place, GettersHandOutCopiesAndPositiveZero) {
  velmora_account_place_h p = va_place_new();
  ASSERT_NE(p, nullptr);
  p->name = strdup("Home");
  p->address = strdup("1 Main St");
  p->category = 4;
  p->type = 2;
  p->location_source = 3;
  p->latitude = -0.0;
  p->longitude = 126.97;
  p->wifi_name = strdup("home-net");
  p->wifi_bssid = strdup("00:11:22:33:44:55");
  p->bt_name = strdup("car");
  p->bt_address = strdup("aa:bb");

  char *name = nullptr, *address = nullptr;
  int category = 0;
  ASSERT_EQ(velmora_account_place_get_place(p, &name, &address, &category), 0);
  EXPECT_NE(name, p->name);  // a copy
  EXPECT_EQ(take(name), "Home");
  EXPECT_EQ(take(address), "1 Main St");
  EXPECT_EQ(category, 4);

  int type = 0, source = 0;
  double lat = 1, lon = 0;
  ASSERT_EQ(velmora_account_place_get_location(p, &type, &source, &lat, &lon), 0);
  EXPECT_EQ(type, 2);
  EXPECT_EQ(source, 3);
  EXPECT_EQ(lat, 0.0);
  EXPECT_FALSE(std::signbit(lat));  // a stored -0.0 comes out as +0.0
  EXPECT_EQ(lon, 126.97);

  char *wn = nullptr, *wb = nullptr, *bn = nullptr, *ba = nullptr;
  ASSERT_EQ(velmora_account_place_get_network(p, &wn, &wb, &bn, &ba), 0);
  EXPECT_EQ(take(wn), "home-net");
  EXPECT_EQ(take(wb), "00:11:22:33:44:55");
  EXPECT_EQ(take(bn), "car");
  EXPECT_EQ(take(ba), "aa:bb");
  va_place_free(p);
}

TEST_F(Place, NullOutParametersAreSkippedWithALine) {
  velmora_account_place_h p = va_place_new();
  ASSERT_NE(p, nullptr);
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_place_get_place(p, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(velmora_account_place_get_location(p, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(velmora_account_place_get_network(p, nullptr, nullptr, nullptr, nullptr), 0);
  for (const char *field : {"name", "address", "category", "type", "location_source", "latitude",
                            "longitude", "wifi_name", "wifi_bssid", "bt_name", "bt_address"}) {
    const std::string text = std::string("out param [") + field + "] is NULL ";
    EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, text)) << text << "\n" << log.dump();
  }
  const vtest::LogLine *line = log.find("out param [latitude] is NULL ");
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->function(), "velmora_account_place_get_location");
  va_place_free(p);
}

TEST_F(Place, GettersOfANullPlaceAreInvalid) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_place_get_place(nullptr, nullptr, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "((place == NULL))")) << log.dump();
  log.clear();
  EXPECT_EQ(velmora_account_place_get_location(nullptr, nullptr, nullptr, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(place == NULL)")) << log.dump();
  log.clear();
  EXPECT_EQ(velmora_account_place_get_network(nullptr, nullptr, nullptr, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(place == NULL)")) << log.dump();
}

// ---- the list ----

namespace {

struct Walk {
  std::vector<velmora_account_place_h> seen;
  size_t stop_after = 100;
};

bool walk_cb(velmora_account_place_h place, void *user_data) {
  auto *w = static_cast<Walk *>(user_data);
  w->seen.push_back(place);
  return w->seen.size() < w->stop_after;
}

}  // namespace

TEST_F(Place, ForeachOverAnEmptyListIsNoData) {
  velmora_account_place_list_h l = nullptr;
  ASSERT_EQ(velmora_account_place_list_create(&l), 0);
  vtest::LogCapture log;
  Walk w;
  EXPECT_EQ(velmora_account_place_list_foreach(l, walk_cb, &w), VELMORA_ACCOUNT_ERROR_NO_DATA);
  EXPECT_TRUE(w.seen.empty());
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "VELMORA_ACCOUNT_ERROR_NO_DATA [place list]"))
      << log.dump();
  EXPECT_EQ(velmora_account_place_list_destroy(l), 0);
}

TEST_F(Place, ForeachChecksItsArguments) {
  velmora_account_place_list_h l = va_place_list_new();
  ASSERT_NE(l, nullptr);
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_place_list_foreach(nullptr, walk_cb, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(list == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_place_list_foreach(l, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(callback == NULL)")) << log.dump();
  va_place_list_free(l);
}

TEST_F(Place, ForeachPassesUnfilledSlotsAsNullAndStopsWhenAsked) {
  velmora_account_place_list_h l = va_place_list_new();
  ASSERT_NE(l, nullptr);
  l->l[0] = va_place_new();
  l->l[2] = va_place_new();
  l->count = 3;
  Walk all;
  EXPECT_EQ(velmora_account_place_list_foreach(l, walk_cb, &all), 0);
  ASSERT_EQ(all.seen.size(), 3u);
  EXPECT_EQ(all.seen[0], l->l[0]);
  EXPECT_EQ(all.seen[1], nullptr);
  EXPECT_EQ(all.seen[2], l->l[2]);

  vtest::LogCapture log;
  Walk first;
  first.stop_after = 1;
  EXPECT_EQ(velmora_account_place_list_foreach(l, walk_cb, &first), 0);
  EXPECT_EQ(first.seen.size(), 1u);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "break out of the loop")) << log.dump();
  EXPECT_EQ(velmora_account_place_list_destroy(l), 0);  // frees the two places
}
