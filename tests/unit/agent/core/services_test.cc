// SPDX-License-Identifier: Apache-2.0
// Velmora tests: MCC, terms consents, account linking, confirm user and account from user id.
#include <gtest/gtest.h>

#include <map>

#include "agent_state_fixture.hh"
#include "velmora_host.h"

using agent_test::AgentTest;
namespace errc = vagent::errc;

class Services : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("alice", "pw");
    client("app.one", false, {"profile.read"});
    client("partner.tv", false, {});
    EXPECT_TRUE(state().linking().register_partner("partner.tv", "Partner TV").ok());
  }
};

TEST_F(Services, CurrentMccOfASignedInAccount) {
  auto m = state().mcc().current("alice");
  ASSERT_TRUE(m.ok());
  EXPECT_EQ(m->mcc, "310");
  EXPECT_EQ(m->country_code, "US");
  ASSERT_TRUE(state().mcc().set("alice", "450").ok());
  EXPECT_EQ(state().mcc().current("alice")->mcc, "450");
  EXPECT_EQ(state().mcc().set("alice", "45a").code, errc::kInvalidParameter);
  EXPECT_EQ(state().mcc().current("nobody").code(), errc::kUnknownUser);
  seed("bob", "pw", false);
  EXPECT_EQ(state().mcc().current("bob").code(), errc::kNeedSignIn);
}

TEST_F(Services, TncUpdateNeedsBothMandatoryConsents) {
  EXPECT_EQ(state().consents().update({"alice", "450", 1}).code(), errc::kConsentRequired);
  EXPECT_EQ(state().consents().update({"alice", "450", 2 | 4}).code(), errc::kConsentRequired);
  EXPECT_EQ(state().consents().get("alice").value(), 0);
  auto m = state().consents().update({"alice", "450", 1 | 2 | 8});
  ASSERT_TRUE(m.ok()) << m.status().describe();
  EXPECT_EQ(m->mcc, "450");
  EXPECT_EQ(state().consents().get("alice").value(), 11);
  EXPECT_EQ(state().mcc().current("alice")->mcc, "450");
}

TEST_F(Services, TncUpdateRefusesBadFields) {
  EXPECT_EQ(state().consents().update({"alice", "4500", 3}).code(), errc::kInvalidParameter);
  EXPECT_EQ(state().consents().update({"alice", "450", 16}).code(), errc::kInvalidParameter);
  EXPECT_EQ(state().consents().update({"", "450", 3}).code(), errc::kInvalidParameter);
  EXPECT_EQ(state().consents().update({"nobody", "450", 3}).code(), errc::kUnknownUser);
}

TEST_F(Services, TncBitsFromYesNoExtras) {
  std::map<std::string, std::string> extras = {{"velmoraService", "Y"},
                                               {"personalInfo", "Y"},
                                               {"customizedservice", "N"},
                                               {"customizedserviceadvertisement", "Y"}};
  int tnc = vagent::tnc_from_extras([&](const char *key) {
    auto it = extras.find(key);
    return it == extras.end() ? std::string() : it->second;
  });
  EXPECT_EQ(tnc, 1 | 2 | 8);
  ASSERT_EQ(vagent::tnc_bits().size(), 4u);
  EXPECT_STREQ(vagent::tnc_bits()[0].extra_key, "velmoraService");
}

TEST_F(Services, LinkingStatusFollowsWhatWasSet) {
  auto token = state().tokens().issue({"alice", "app.one", "", "", ""});
  ASSERT_TRUE(token.ok());
  vagent::LinkingQuery q{"alice", "app.one", "partner.tv", token->access_token};
  auto linked = state().linking().status(q);
  ASSERT_TRUE(linked.ok()) << linked.status().describe();
  EXPECT_FALSE(linked.value());
  ASSERT_TRUE(state().linking().set("alice", "partner.tv", true).ok());
  EXPECT_TRUE(state().linking().status(q).value());
  ASSERT_TRUE(state().linking().set("alice", "partner.tv", false).ok());
  EXPECT_FALSE(state().linking().status(q).value());
}

TEST_F(Services, LinkingStatusChecksTheTokenAndClients) {
  auto token = state().tokens().issue({"alice", "app.one", "", "", ""});
  ASSERT_TRUE(token.ok());
  auto &linking = state().linking();
  EXPECT_EQ(linking.status({"alice", "app.one", "partner.tv", ""}).code(), errc::kInvalidParameter);
  EXPECT_EQ(linking.status({"alice", "app.one", "partner.none", token->access_token}).code(),
            errc::kUnknownClient);
  EXPECT_EQ(linking.status({"alice", "app.one", "partner.tv", "forged"}).code(),
            errc::kUnknownToken);
  EXPECT_EQ(linking.status({"alice", "partner.tv", "partner.tv", token->access_token}).code(),
            errc::kUnknownToken);
  now_ += 3600;
  EXPECT_EQ(linking.status({"alice", "app.one", "partner.tv", token->access_token}).code(),
            errc::kTokenExpired);
  EXPECT_EQ(linking.set("nobody", "partner.tv", true).code, errc::kUnknownUser);
}

TEST_F(Services, ConfirmUserChecksThePassword) {
  EXPECT_TRUE(state().confirm_user("alice", "pw").ok());
  EXPECT_EQ(state().confirm_user("alice", "bad").code, errc::kWrongPassword);
  EXPECT_EQ(state().confirm_user("alice", "").code, errc::kInvalidParameter);
}

TEST_F(Services, AccountFromUserIdNeedsTheAccountSignedIn) {
  const std::string guid = state().users().find("alice")->user_id;
  auto u = state().account_from_user_id(guid);
  ASSERT_TRUE(u.ok());
  EXPECT_EQ(u->login_id, "alice");
  EXPECT_EQ(state().account_from_user_id("no-such-guid").code(), errc::kUnknownUser);
  EXPECT_EQ(state().account_from_user_id("").code(), errc::kInvalidParameter);
  ASSERT_TRUE(state().accounts().sign_out("alice").ok());
  EXPECT_EQ(state().account_from_user_id(guid).code(), errc::kNeedSignIn);
}

TEST_F(Services, CurrentMccIsTheDevicesWhenItIsOnANetwork) {
  char *error = nullptr;
  ASSERT_EQ(velmora_host_set_mcc("262", &error), 0) << (error ? error : "");
  auto m = state().mcc().current("alice");
  ASSERT_TRUE(m.ok());
  EXPECT_EQ(m->mcc, "262");
  EXPECT_EQ(m->country_code, "US");  // the account's country stays its own
  ASSERT_EQ(velmora_host_set_mcc(nullptr, &error), 0);
  EXPECT_EQ(state().mcc().current("alice")->mcc, "310");
}

TEST_F(Services, ConsentsKeepTheTimeEachWasGivenOrWithdrawn) {
  auto before = state().consents().records("alice");
  ASSERT_TRUE(before.ok());
  ASSERT_EQ(before->size(), 4u);
  for (const auto &r : before.value()) {
    EXPECT_FALSE(r.given);
    EXPECT_EQ(r.at, 0);
  }
  ASSERT_TRUE(state().consents().update({"alice", "450", 1 | 2 | 4}).ok());
  const int64_t first = now_;
  now_ += 100;
  ASSERT_TRUE(state().consents().update({"alice", "450", 1 | 2 | 8}).ok());
  auto r = state().consents().records("alice");
  ASSERT_TRUE(r.ok());
  EXPECT_STREQ((*r)[0].extra_key, "velmoraService");
  EXPECT_TRUE((*r)[0].given);
  EXPECT_EQ((*r)[0].at, first);  // unchanged: keeps the time it was given
  EXPECT_TRUE((*r)[1].given);
  EXPECT_EQ((*r)[1].at, first);
  EXPECT_FALSE((*r)[2].given);  // withdrawn by the second update
  EXPECT_EQ((*r)[2].at, now_);
  EXPECT_TRUE((*r)[3].given);
  EXPECT_EQ((*r)[3].at, now_);
  EXPECT_EQ(state().consents().records("nobody").code(), errc::kUnknownUser);
}

TEST_F(Services, RefusedConsentsRecordNothing) {
  EXPECT_EQ(state().consents().update({"alice", "450", 1 | 4}).code(), errc::kConsentRequired);
  auto r = state().consents().records("alice");
  ASSERT_TRUE(r.ok());
  for (const auto &c : r.value()) EXPECT_FALSE(c.given);
  EXPECT_EQ(state().mcc().current("alice")->mcc, "310");
}

TEST_F(Services, OnlyARegisteredPartnerCanBeLinked) {
  client("app.two", false, {});
  auto token = state().tokens().issue({"alice", "app.one", "", "", ""});
  ASSERT_TRUE(token.ok());
  // A registered client that is not a partner.
  EXPECT_EQ(state().linking().set("alice", "app.two", true).code, errc::kUnknownClient);
  EXPECT_EQ(state().linking().status({"alice", "app.one", "app.two", token->access_token}).code(),
            errc::kUnknownClient);
  EXPECT_EQ(state().linking().register_partner("no.such.client", "").code, errc::kUnknownClient);
  ASSERT_TRUE(state().linking().register_partner("app.two", "").ok());
  ASSERT_TRUE(state().linking().set("alice", "app.two", true).ok());
  EXPECT_TRUE(
      state().linking().status({"alice", "app.one", "app.two", token->access_token}).value());
  auto partners = state().linking().partners();
  ASSERT_TRUE(partners.ok());
  ASSERT_EQ(partners->size(), 2u);
  EXPECT_EQ((*partners)[0].client_id, "app.two");
  EXPECT_EQ((*partners)[0].name, "app.two");
  EXPECT_EQ((*partners)[1].name, "Partner TV");
}
