// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent's profiles: every category with its limit and privacy, atomic and
// validated changes, verified fields, and subscriptions.
#include <string>
#include <vector>

#include "agent_state_fixture.hh"
#include "errors.hh"
#include "profile_record.h"

using agent_test::AgentTest;
using vagent::ProfileChange;
using vagent::ProfileItem;

namespace {

class Profiles : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("ada@velmora.dev", "pw");
  }
  vagent::Profiles &profiles() { return state().profiles(); }

  // An item of `category` whose fields read "<tag>.<field>" (verified left empty).
  static ProfileItem item(int category, const std::string &tag, int source = vagent::kSourceUnset) {
    ProfileItem it = vagent::empty_profile_item(category);
    for (size_t f = 0; f + 1 < it.fields.size(); ++f) it.fields[f] = tag + "." + std::to_string(f);
    it.source = source;
    return it;
  }
  // Every category full, each with a privacy.
  static ProfileChange full_change() {
    ProfileChange change;
    for (int c = 0; c < vagent::kProfileCategories; ++c) {
      const va_profile_category_desc *d = va_profile_category(c);
      for (int i = 0; i < d->limit; ++i)
        change.items[c].push_back(item(c, std::to_string(c) + "-" + std::to_string(i),
                                       d->has_source ? i % 2 : vagent::kSourceUnset));
      change.privacy[c] = c % 3;
    }
    return change;
  }
};

}  // namespace

TEST_F(Profiles, ANewUserHasAnEmptyProfileWithoutPrivacy) {
  auto p = profiles().get("ada@velmora.dev");
  ASSERT_TRUE(p.ok()) << p.status().describe();
  for (const auto &c : p->categories) {
    EXPECT_TRUE(c.items.empty());
    EXPECT_EQ(c.privacy, vagent::kPrivacyUnknown);
  }
  EXPECT_EQ(profiles().get("nobody@velmora.dev").code(), vagent::errc::kUnknownUser);
}

TEST_F(Profiles, AFullProfileIsKeptFieldByField) {
  const ProfileChange change = full_change();
  ASSERT_TRUE(profiles().update("ada@velmora.dev", change).ok());
  auto p = profiles().get("ada@velmora.dev");
  ASSERT_TRUE(p.ok());
  for (int c = 0; c < vagent::kProfileCategories; ++c) {
    EXPECT_EQ(p->categories[c].items, change.items.at(c)) << c;
    EXPECT_EQ(p->categories[c].privacy, c % 3);
  }
  EXPECT_EQ(p->categories[VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE].items.size(), 50u);
}

TEST_F(Profiles, AChangeReplacesOnlyItsCategories) {
  ASSERT_TRUE(profiles().update("ada@velmora.dev", full_change()).ok());
  ProfileChange change;
  change.items[VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE] = {item(9, "only")};
  ASSERT_TRUE(profiles().update("ada@velmora.dev", change).ok());
  auto p = profiles().get("ada@velmora.dev");
  ASSERT_TRUE(p.ok());
  EXPECT_EQ(p->categories[9].items, change.items[9]);
  EXPECT_EQ(p->categories[10].items.size(), 50u);
  EXPECT_EQ(p->categories[9].privacy, 0);  // privacy untouched
}

TEST_F(Profiles, ARefusedChangeChangesNothing) {
  ASSERT_TRUE(profiles().update("ada@velmora.dev", full_change()).ok());
  struct Case {
    const char *what;
    ProfileChange change;
    int code;
  };
  std::vector<Case> cases;
  {
    ProfileChange c;  // a valid part, then too many names
    c.items[9] = {item(9, "new")};
    c.items[0] = {item(0, "a"), item(0, "b"), item(0, "c")};
    cases.push_back({"three names", c, vagent::errc::kProfileLimit});
  }
  {
    ProfileChange c;
    c.items[2] = {item(2, "a"), item(2, "b")};
    cases.push_back({"two nicknames", c, vagent::errc::kProfileLimit});
  }
  {
    ProfileChange c;
    for (int i = 0; i < 51; ++i) c.items[9].push_back(item(9, std::to_string(i)));
    cases.push_back({"51 phones", c, vagent::errc::kProfileLimit});
  }
  {
    ProfileChange c;
    c.items[2] = {item(2, "n")};
    c.items[2][0].fields.back() = "yes";
    cases.push_back({"verified", c, vagent::errc::kReadOnlyField});
  }
  {
    ProfileChange c;
    c.items[9] = {item(9, "p")};
    c.privacy[3] = 3;
    cases.push_back({"privacy 3", c, vagent::errc::kInvalidParameter});
  }
  {
    ProfileChange c;
    c.privacy[14] = 1;
    cases.push_back({"category 14", c, vagent::errc::kInvalidParameter});
  }
  {
    ProfileChange c;
    c.items[9] = {item(9, "p", 0)};
    cases.push_back({"a phone with a source", c, vagent::errc::kInvalidParameter});
  }
  {
    ProfileChange c;
    c.items[0] = {item(0, "n", 3)};
    cases.push_back({"source 3", c, vagent::errc::kInvalidParameter});
  }
  {
    ProfileChange c;
    ProfileItem short_item = item(9, "p");
    short_item.fields.pop_back();
    c.items[9] = {short_item};
    cases.push_back({"missing field", c, vagent::errc::kInvalidParameter});
  }
  {
    ProfileChange c;
    c.items[7] = {item(7, std::string(5000, 'x'))};
    cases.push_back({"long field", c, vagent::errc::kInvalidParameter});
  }
  auto before = profiles().get("ada@velmora.dev");
  ASSERT_TRUE(before.ok());
  for (const Case &c : cases) {
    EXPECT_EQ(profiles().update("ada@velmora.dev", c.change).code, c.code) << c.what;
    auto after = profiles().get("ada@velmora.dev");
    ASSERT_TRUE(after.ok());
    for (int cat = 0; cat < vagent::kProfileCategories; ++cat) {
      EXPECT_EQ(after->categories[cat].items, before->categories[cat].items) << c.what;
      EXPECT_EQ(after->categories[cat].privacy, before->categories[cat].privacy) << c.what;
    }
  }
  EXPECT_EQ(profiles().update("nobody@velmora.dev", full_change()).code,
            vagent::errc::kUnknownUser);
}

TEST_F(Profiles, VerifiedIsTheAgentsAndSurvivesAnUnchangedItem) {
  ProfileChange change;
  change.items[9] = {item(9, "a"), item(9, "b")};
  ASSERT_TRUE(profiles().update("ada@velmora.dev", change).ok());
  ASSERT_TRUE(profiles().set_verified("ada@velmora.dev", 9, 0, "Y").ok());
  ASSERT_TRUE(profiles().set_verified("ada@velmora.dev", 9, 1, "Y").ok());
  EXPECT_EQ(profiles().set_verified("ada@velmora.dev", 9, 2, "Y").code,
            vagent::errc::kInvalidParameter);
  // The first phone is sent again unchanged, the second changed.
  change.items[9][1].fields[0] = "changed";
  ASSERT_TRUE(profiles().update("ada@velmora.dev", change).ok());
  auto p = profiles().get("ada@velmora.dev");
  ASSERT_TRUE(p.ok());
  EXPECT_EQ(p->categories[9].items[0].fields.back(), "Y");
  EXPECT_EQ(p->categories[9].items[1].fields.back(), "");
}

TEST_F(Profiles, ProfilesOutliveSignOutButSubscriptionsDoNot) {
  ASSERT_TRUE(profiles().update("ada@velmora.dev", full_change()).ok());
  ASSERT_TRUE(profiles().subscribe("ada@velmora.dev", "dev.velmora.watch").ok());
  ASSERT_TRUE(profiles().subscribe("ada@velmora.dev", "dev.velmora.watch").ok());  // once only
  ASSERT_TRUE(profiles().subscribe("ada@velmora.dev", "dev.velmora.other").ok());
  auto subs = profiles().subscribers("ada@velmora.dev");
  ASSERT_TRUE(subs.ok());
  EXPECT_EQ(*subs, (std::vector<std::string>{"dev.velmora.other", "dev.velmora.watch"}));
  ASSERT_TRUE(profiles().unsubscribe("ada@velmora.dev", "dev.velmora.other").ok());
  subs = profiles().subscribers("ada@velmora.dev");
  EXPECT_EQ(*subs, std::vector<std::string>{"dev.velmora.watch"});

  ASSERT_TRUE(state().accounts().sign_out("ada@velmora.dev").ok());
  subs = profiles().subscribers("ada@velmora.dev");
  EXPECT_TRUE(subs->empty());
  EXPECT_EQ(profiles().subscribe("ada@velmora.dev", "dev.velmora.watch").code,
            vagent::errc::kNeedSignIn);
  auto p = profiles().get("ada@velmora.dev");
  ASSERT_TRUE(p.ok());
  EXPECT_EQ(p->categories[9].items.size(), 50u);
  EXPECT_EQ(profiles().subscribe("ada@velmora.dev", "").code, vagent::errc::kInvalidParameter);
}

TEST_F(Profiles, ACallerNeedsARegisteredClientAndASignedInAccount) {
  client("profile.client", false, {"read"});
  EXPECT_TRUE(profiles().check_caller("ada@velmora.dev", "profile.client").ok());
  EXPECT_EQ(profiles().check_caller("ada@velmora.dev", "nobody").code,
            vagent::errc::kUnknownClient);
  EXPECT_EQ(profiles().check_caller("", "profile.client").code, vagent::errc::kInvalidParameter);
  seed("bob@velmora.dev", "pw", false);
  EXPECT_EQ(profiles().check_caller("bob@velmora.dev", "profile.client").code,
            vagent::errc::kNeedSignIn);
}
