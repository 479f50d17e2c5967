// SPDX-License-Identifier: Apache-2.0
// Velmora tests: saved places through the library against the reference agent, in both
// transports.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "dlog.h"
#include "places_fixture.hh"
#include "run_program.hh"
#include "velmora_account_place.h"

using vtest::kLogin;

using vtest::PlaceReply;
using vtest::Places;

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
