// SPDX-License-Identifier: Apache-2.0
// Velmora tests: what the place tests share: the places the agent keeps for the test user, and
// what a place callback received, read with the getters.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "account_fixture.hh"
#include "velmora_account_place.h"

namespace vtest {

// What the place callback received: the places read with the getters.
struct PlaceReply {
  struct Seen {
    bool null = false;
    std::string name, address, wifi_name;
    int category = -1, type = -1, source = -1;
    double latitude = -1, longitude = -1;
  };
  int calls = 0;
  int result = 12345;
  int foreach_result = 12345;
  bool had_list = false;
  std::vector<Seen> places;

  static std::string take(char *s) {
    std::string out = s ? s : "<NULL>";
    free(s);
    return out;
  }
  static bool visit(velmora_account_place_h place, void *user_data) {
    auto *self = static_cast<PlaceReply *>(user_data);
    Seen s;
    if (place == nullptr) {
      s.null = true;
    } else {
      char *name = nullptr, *address = nullptr, *wifi = nullptr;
      velmora_account_place_get_place(place, &name, &address, &s.category);
      velmora_account_place_get_location(place, &s.type, &s.source, &s.latitude, &s.longitude);
      velmora_account_place_get_network(place, &wifi, nullptr, nullptr, nullptr);
      s.name = take(name);
      s.address = take(address);
      s.wifi_name = take(wifi);
    }
    self->places.push_back(s);
    return true;
  }
  static void cb(int result, velmora_account_h account, velmora_account_place_list_h list,
                 void *user_data) {
    auto *self = static_cast<PlaceReply *>(user_data);
    ++self->calls;
    self->result = result;
    self->had_list = list != nullptr;
    if (list) {
      self->foreach_result = velmora_account_place_list_foreach(list, visit, self);
      velmora_account_place_list_destroy(list);
    }
    if (account) velmora_account_destroy(account);
  }
};

class Places : public vtest::AccountTest {
 protected:
  void SetUp() override {
    prepare();
    auto state = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(state.ok());
    vagent::PlaceChange home;
    home.name = "Home";
    home.address = "1 Main St";
    home.category = 1;
    home.latitude = 37.5;
    home.longitude = -122.25;
    home.wifi_name = "home-net";
    ASSERT_TRUE(state.value()->places().add(kLogin, home).ok());
    vagent::PlaceChange work;
    work.name = "Work";
    work.type = 2;
    ASSERT_TRUE(state.value()->places().add(kLogin, work).ok());
  }

  void add_places(int n) {
    auto state = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(state.ok());
    for (int i = 0; i < n; ++i) {
      vagent::PlaceChange c;
      c.name = "extra " + std::to_string(i + 1);
      ASSERT_TRUE(state.value()->places().add(kLogin, c).ok());
    }
  }

  void expect_two_places(const PlaceReply &r) {
    EXPECT_EQ(r.calls, 1);
    EXPECT_EQ(r.result, VELMORA_ACCOUNT_ERROR_NONE);
    EXPECT_EQ(r.foreach_result, VELMORA_ACCOUNT_ERROR_NONE);
    ASSERT_EQ(r.places.size(), 2u);
    const PlaceReply::Seen &home = r.places[0];
    EXPECT_EQ(home.name, "Home");
    EXPECT_EQ(home.address, "1 Main St");
    EXPECT_EQ(home.category, 1);
    EXPECT_EQ(home.type, 0);  // not given
    EXPECT_EQ(home.latitude, 37.5);
    EXPECT_EQ(home.longitude, -122.25);
    EXPECT_EQ(home.wifi_name, "home-net");
    EXPECT_EQ(r.places[1].name, "Work");
    EXPECT_EQ(r.places[1].type, 2);
    EXPECT_EQ(r.places[1].address, "<NULL>");
    EXPECT_EQ(r.places[1].latitude, 0.0);
  }
};

}  // namespace vtest
