// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the saved places the agent keeps per user.
#include <gtest/gtest.h>

#include "agent_state_fixture.hh"

using agent_test::AgentTest;
namespace errc = vagent::errc;

class Places : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("alice", "pw");
  }
  vagent::Places &places() { return state().places(); }

  static vagent::PlaceChange home() {
    vagent::PlaceChange c;
    c.name = "Home";
    c.address = "1 Main St";
    c.category = 1;
    c.latitude = 37.5;
    c.longitude = -122.25;
    c.wifi_name = "home-net";
    return c;
  }
};

TEST_F(Places, AddedPlacesComeBackInOrderWithWhatWasGiven) {
  auto first = places().add("alice", home());
  ASSERT_TRUE(first.ok()) << first.status().describe();
  EXPECT_EQ(first->id, 1);
  vagent::PlaceChange work;
  work.name = "Work";
  ASSERT_TRUE(places().add("alice", work).ok());

  auto all = places().of("alice");
  ASSERT_TRUE(all.ok());
  ASSERT_EQ(all->size(), 2u);
  const vagent::Place &h = all->at(0);
  EXPECT_EQ(h.name, "Home");
  EXPECT_EQ(h.address, "1 Main St");
  EXPECT_EQ(h.category, 1);
  EXPECT_FALSE(h.type.has_value());
  EXPECT_FALSE(h.location_source.has_value());
  EXPECT_EQ(h.latitude, 37.5);
  EXPECT_EQ(h.longitude, -122.25);
  EXPECT_EQ(h.wifi_name, "home-net");
  EXPECT_EQ(all->at(1).id, 2);
  EXPECT_EQ(all->at(1).name, "Work");
  EXPECT_FALSE(all->at(1).latitude.has_value());
}

TEST_F(Places, CoordinatesReadBackExactly) {
  vagent::PlaceChange c;
  c.latitude = 0.1 + 0.2;
  c.longitude = -179.99999999999997;
  ASSERT_TRUE(places().add("alice", c).ok());
  EXPECT_EQ(places().of("alice")->at(0).latitude, 0.1 + 0.2);
  EXPECT_EQ(places().of("alice")->at(0).longitude, -179.99999999999997);
}

TEST_F(Places, ChangeReplacesOnlyTheFieldsGiven) {
  ASSERT_TRUE(places().add("alice", home()).ok());
  vagent::PlaceChange c;
  c.address = "2 Side St";
  c.type = 3;
  auto changed = places().change("alice", 1, c);
  ASSERT_TRUE(changed.ok()) << changed.status().describe();
  EXPECT_EQ(changed->name, "Home");
  EXPECT_EQ(changed->address, "2 Side St");
  EXPECT_EQ(changed->type, 3);
  EXPECT_EQ(places().of("alice")->at(0).address, "2 Side St");
  EXPECT_EQ(places().change("alice", 9, c).code(), errc::kUnknownPlace);
}

TEST_F(Places, RemoveForgetsOnePlaceAndNumbersGoOn) {
  ASSERT_TRUE(places().add("alice", home()).ok());
  ASSERT_TRUE(places().add("alice", home()).ok());
  ASSERT_TRUE(places().remove("alice", 1).ok());
  EXPECT_EQ(places().remove("alice", 1).code, errc::kUnknownPlace);
  auto next = places().add("alice", home());
  ASSERT_TRUE(next.ok());
  EXPECT_EQ(next->id, 3);
  EXPECT_EQ(places().of("alice")->size(), 2u);
}

TEST_F(Places, ValuesThatMeanNotGivenOrOutOfRangeAreRefused) {
  vagent::PlaceChange c;
  c.category = 200;
  EXPECT_EQ(places().add("alice", c).code(), errc::kInvalidParameter);
  c = {};
  c.latitude = 90.5;
  EXPECT_EQ(places().add("alice", c).code(), errc::kInvalidParameter);
  c = {};
  c.longitude = -180.5;
  EXPECT_EQ(places().add("alice", c).code(), errc::kInvalidParameter);
  c = {};
  c.name = std::string(vagent::kMaxPlaceText + 1, 'x');
  EXPECT_EQ(places().add("alice", c).code(), errc::kInvalidParameter);
  EXPECT_TRUE(places().of("alice")->empty());
}

TEST_F(Places, AUserKeepsAtMostOneHundred) {
  for (int i = 0; i < vagent::kMaxPlacesPerUser; ++i) ASSERT_TRUE(places().add("alice", {}).ok());
  EXPECT_EQ(places().add("alice", {}).code(), errc::kTooManyPlaces);
  EXPECT_EQ(places().of("alice")->size(), static_cast<size_t>(vagent::kMaxPlacesPerUser));
}

TEST_F(Places, OnlyASignedInAccountIsAnswered) {
  seed("bob", "pw", false);
  ASSERT_TRUE(places().add("bob", home()).ok());  // the admin needs only a known user
  EXPECT_EQ(places().of("bob").code(), errc::kNeedSignIn);
  EXPECT_EQ(places().of("nobody").code(), errc::kUnknownUser);
  EXPECT_EQ(places().of("").code(), errc::kInvalidParameter);
  EXPECT_EQ(places().add("nobody", home()).code(), errc::kUnknownUser);
  EXPECT_EQ(places().list("bob")->size(), 1u);
}

TEST_F(Places, EachUserHasTheirOwn) {
  seed("bob", "pw");
  ASSERT_TRUE(places().add("alice", home()).ok());
  EXPECT_TRUE(places().of("bob")->empty());
  EXPECT_EQ(places().remove("bob", 1).code, errc::kUnknownPlace);
}
