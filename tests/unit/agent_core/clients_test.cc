// Velmora tests: the agent's registered clients, their secrets and scopes.
#include <gtest/gtest.h>

#include "agent_fixture.hh"
#include "scopes.hh"

using agent_test::AgentTest;
namespace errc = vagent::errc;

class Clients : public AgentTest {};

TEST_F(Clients, RegisteredClientIsFoundWithItsScopes) {
  client("app.one", "s3cret", {"profile.read", "account.read"}, 1200);
  auto c = state().clients().find("app.one");
  ASSERT_TRUE(c.ok());
  EXPECT_TRUE(c->has_secret);
  EXPECT_EQ(c->scopes, (std::vector<std::string>{"profile.read", "account.read"}));
  EXPECT_EQ(c->token_lifetime, 1200);
  EXPECT_EQ(state().clients().find("app.two").code(), errc::kUnknownClient);
}

TEST_F(Clients, SecretCheck) {
  client("app.one", "s3cret", {});
  client("app.open", "", {});
  auto &clients = state().clients();
  EXPECT_TRUE(clients.check_secret("app.one", "s3cret", true).ok());
  EXPECT_EQ(clients.check_secret("app.one", "wrong", true).code, errc::kWrongClientSecret);
  EXPECT_EQ(clients.check_secret("app.one", "wrong", false).code, errc::kWrongClientSecret);
  EXPECT_EQ(clients.check_secret("app.one", "", true).code, errc::kInvalidParameter);
  EXPECT_TRUE(clients.check_secret("app.one", "", false).ok());
  // A client without a secret cannot pass where one is required.
  EXPECT_EQ(clients.check_secret("app.open", "anything", true).code, errc::kWrongClientSecret);
  EXPECT_TRUE(clients.check_secret("app.open", "anything", false).ok());
  EXPECT_EQ(clients.check_secret("app.none", "x", false).code, errc::kUnknownClient);
}

TEST_F(Clients, RegisteringAgainReplacesTheSecret) {
  client("app.one", "old", {"a"});
  client("app.one", "new", {"b"});
  EXPECT_EQ(state().clients().check_secret("app.one", "old", true).code, errc::kWrongClientSecret);
  EXPECT_TRUE(state().clients().check_secret("app.one", "new", true).ok());
  EXPECT_EQ(state().clients().find("app.one")->scopes, (std::vector<std::string>{"b"}));
}

TEST_F(Clients, GrantScopeAllowsOnlyTheClientsScopes) {
  client("app.one", "", {"profile.read", "account.read"});
  auto c = state().clients().find("app.one");
  ASSERT_TRUE(c.ok());
  auto &clients = state().clients();
  EXPECT_EQ(clients.grant_scope(c.value(), "").value(), "profile.read account.read");
  EXPECT_EQ(clients.grant_scope(c.value(), "account.read").value(), "account.read");
  EXPECT_EQ(clients.grant_scope(c.value(), "account.read,profile.read").value(),
            "account.read profile.read");
  auto refused = clients.grant_scope(c.value(), "account.read account.write");
  EXPECT_EQ(refused.code(), errc::kScopeNotAllowed);
  EXPECT_NE(refused.status().message.find("account.write"), std::string::npos);
}

TEST(Scopes, ParseSplitsOnBlanksAndCommasWithoutDuplicates) {
  EXPECT_EQ(vagent::parse_scopes(" a  b,c,,a "), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_TRUE(vagent::parse_scopes("").empty());
  EXPECT_EQ(vagent::join_scopes({"x", "y"}), "x y");
  EXPECT_EQ(vagent::missing_scopes({"a", "z"}, {"a", "b"}), (std::vector<std::string>{"z"}));
}

TEST_F(Clients, InvalidRegistrationIsRefused) {
  vagent::NewClient c;
  c.client_id = "";
  EXPECT_EQ(state().clients().register_client(c).code, errc::kInvalidParameter);
  c.client_id = "app.one";
  c.token_lifetime = 0;
  EXPECT_EQ(state().clients().register_client(c).code, errc::kInvalidParameter);
  EXPECT_EQ(state().clients().find("app.one").code(), errc::kUnknownClient);
}
