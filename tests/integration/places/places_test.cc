// Velmora tests: saved places through the library against the reference agent, in both
// transports.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "../tokens/tokens_fixture.hh"
#include "dlog.h"
#include "run_program.hh"
#include "velmora_account_place.h"

using vtest::kLogin;

namespace {

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

class Places : public vtest::TokensTest {
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

}  // namespace

TEST_F(Places, AppControlRequestReadsThePlaces) {
  velmora_account_h h = app_control_handle();
  vtest::LogCapture log;
  PlaceReply r;
  ASSERT_EQ(velmora_account_place_request_info(h, PlaceReply::cb, &r), 0);
  ASSERT_TRUE(r.calls > 0 || vtest::run_until([&] { return r.calls > 0; }));
  expect_two_places(r);
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_INFO, "Request ProfileUnsubscribe to [APP_CONTROL] Mode"))
      << log.dump();
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_INFO, "[place_request_info_cb] foreach_place_cb"))
      << log.dump();
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_INFO, "Key[name_1]")) << log.dump();
  EXPECT_EQ(log.count("REQUEST_HANDLE_FREE"), 1);
}

TEST_F(Places, PortRequestReadsThePlaces) {
  velmora_account_h h = connected_handle();
  vtest::LogCapture log;
  PlaceReply r;
  ASSERT_EQ(velmora_account_place_request_info(h, PlaceReply::cb, &r), 0);
  ASSERT_TRUE(vtest::run_until([&] { return r.calls > 0; }));
  expect_two_places(r);
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_INFO, "Request ProfileUnsubscribe to [NIDL] Mode"))
      << log.dump();
}

TEST_F(Places, APortListOfSixtyStopsAtFifty) {
  add_places(58);  // 60 in all
  velmora_account_h h = connected_handle();
  PlaceReply r;
  ASSERT_EQ(velmora_account_place_request_info(h, PlaceReply::cb, &r), 0);
  ASSERT_TRUE(vtest::run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.result, 0);
  ASSERT_EQ(r.places.size(), 50u);
  EXPECT_EQ(r.places[0].name, "Home");
  EXPECT_EQ(r.places[49].name, "extra 48");
  // Nothing leaked: the sanitizers' leak check of this process says so.
}

TEST_F(Places, AnAppControlListOfSixtyKeepsFiftyAndLogsTheRest) {
  add_places(58);
  velmora_account_h h = app_control_handle();
  vtest::LogCapture log;
  PlaceReply r;
  ASSERT_EQ(velmora_account_place_request_info(h, PlaceReply::cb, &r), 0);
  ASSERT_TRUE(vtest::run_until([&] { return r.calls > 0; }));
  ASSERT_EQ(r.places.size(), 50u);
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_ERROR, "index[51] exception")) << log.dump();
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_ERROR, "index[60] exception")) << log.dump();
}

TEST_F(Places, NoPlacesGiveAnEmptyListWhoseForeachIsNoData) {
  velmora_account_h h = app_control_handle();
  ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "other"), 0);
  seed_user("other", true);
  PlaceReply r;
  ASSERT_EQ(velmora_account_place_request_info(h, PlaceReply::cb, &r), 0);
  ASSERT_TRUE(vtest::run_until([&] { return r.calls > 0; }));
  EXPECT_EQ(r.result, 0);
  EXPECT_TRUE(r.had_list);
  EXPECT_EQ(r.foreach_result, VELMORA_ACCOUNT_ERROR_NO_DATA);
}

TEST_F(Places, AnAccountThatIsNotSignedInFailsInBothTransports) {
  seed_user("outsider", false);
  for (bool port : {false, true}) {
    velmora_account_h h = port ? connected_handle() : app_control_handle();
    ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "outsider"),
              0);
    PlaceReply r;
    ASSERT_EQ(velmora_account_place_request_info(h, PlaceReply::cb, &r), 0);
    ASSERT_TRUE(vtest::run_until([&] { return r.calls > 0; }));
    EXPECT_EQ(r.result, static_cast<int>(0xBFFFFFFAu)) << (port ? "port" : "app control");
    // The list comes along all the same, empty.
    EXPECT_TRUE(r.had_list);
    EXPECT_EQ(r.foreach_result, VELMORA_ACCOUNT_ERROR_NO_DATA);
  }
}

TEST_F(Places, ChecksComeBeforeAnythingIsSent) {
  velmora_account_h h = app_control_handle();
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_place_request_info(nullptr, PlaceReply::cb, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_ERROR, "(handle == NULL)")) << log.dump();
  EXPECT_EQ(velmora_account_place_request_info(h, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_ERROR, "(callback == NULL)")) << log.dump();
  ASSERT_EQ(velmora_account_unset_property_str(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), 0);
  EXPECT_EQ(velmora_account_place_request_info(h, PlaceReply::cb, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_INFO,
                      "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]"))
      << log.dump();
}

TEST(PlacesGate, AnAgentBelowLevelTwoIsALowerVersion) {
  vtest::PlatformRoot root;
  root.install_agent(1);
  vtest::LogCapture log;
  PlaceReply r;
  EXPECT_EQ(velmora_account_place_request_info(nullptr, PlaceReply::cb, &r),
            VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_ERROR, "(is_lower_agent(2) == true)")) << log.dump();
  EXPECT_EQ(r.calls, 0);
}

TEST_F(Places, TheCommandLineListsThePlacesInBothTransportsAndAsJson) {
  const std::string tool = vtest::PlatformRoot::build_dir() + "/tools/velmora-account";
  const std::string hint = "build the velmora-account tool";
  for (const char *transport : {"app-control", "nidl"}) {
    const vtest::ProgramRun r =
        vtest::run_program(tool, {"places", "--login-id", kLogin, "--transport", transport}, hint);
    EXPECT_EQ(r.exit_code, 0) << transport << "\n" << r.err;
    EXPECT_EQ(r.out,
              "1: Home (1 Main St)\n"
              "   category 1, type 0, source 0, at 37.5, -122.25\n"
              "   wifi home-net \n"
              "2: Work\n"
              "   category 0, type 2, source 0, at 0, 0\n")
        << transport;
  }
  vtest::ProgramRun r = vtest::run_program(tool, {"places", "--login-id", kLogin, "--json"}, hint);
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(
      r.out,
      "{\"operation\":\"places\",\"result\":0,\"places\":[{\"name\":\"Home\",\"address\":"
      "\"1 Main St\",\"category\":1,\"type\":0,\"location_source\":0,\"latitude\":37.5,"
      "\"longitude\":-122.25,\"wifi_name\":\"home-net\",\"wifi_bssid\":\"\",\"bt_name\":"
      "\"\",\"bt_address\":\"\"},{\"name\":\"Work\",\"address\":\"\",\"category\":0,"
      "\"type\":2,\"location_source\":0,\"latitude\":0.0,\"longitude\":0.0,\"wifi_name\":\"\","
      "\"wifi_bssid\":\"\",\"bt_name\":\"\",\"bt_address\":\"\"}]}\n");
  seed_user("other", true);
  r = vtest::run_program(tool, {"places", "--login-id", "other"}, hint);
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out, "no saved places\n");
  seed_user("outsider", false);
  r = vtest::run_program(tool, {"places", "--login-id", "outsider", "--json"}, hint);
  EXPECT_EQ(r.exit_code, 1) << r.out;
  EXPECT_NE(r.out.find("\"result\":-1073741830"), std::string::npos) << r.out;
}
