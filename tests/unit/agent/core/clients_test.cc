// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent's registered clients, their secrets and scopes.
#include <gtest/gtest.h>

#include <set>

#include "agent_state_fixture.hh"
#include "password_hash.hh"
#include "scopes.hh"

using agent_test::AgentTest;
namespace errc = vagent::errc;

class Clients : public AgentTest {};

TEST_F(Clients, RegisteredClientIsFoundWithItsScopes) {
  client("app.one", true, {"profile.read", "account.read"}, 1200);
  auto c = state().clients().find("app.one");
  ASSERT_TRUE(c.ok());
  EXPECT_TRUE(c->has_secret);
  EXPECT_EQ(c->scopes, (std::vector<std::string>{"profile.read", "account.read"}));
  EXPECT_EQ(c->token_lifetime, 1200);
  EXPECT_EQ(state().clients().find("app.two").code(), errc::kUnknownClient);
}

TEST_F(Clients, SecretCheck) {
  const std::string secret = client("app.one", true, {});
  EXPECT_EQ(client("app.open", false, {}), "");
  auto &clients = state().clients();
  EXPECT_TRUE(clients.check_secret("app.one", secret, true).ok());
  EXPECT_EQ(clients.check_secret("app.one", secret + "x", true).code, errc::kWrongClientSecret);
  EXPECT_EQ(clients.check_secret("app.one", secret.substr(1), true).code, errc::kWrongClientSecret);
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
  const std::string old_secret = client("app.one", true, {"a"});
  const std::string new_secret = client("app.one", true, {"b"});
  EXPECT_NE(old_secret, new_secret);
  EXPECT_EQ(state().clients().check_secret("app.one", old_secret, true).code,
            errc::kWrongClientSecret);
  EXPECT_TRUE(state().clients().check_secret("app.one", new_secret, true).ok());
  EXPECT_EQ(state().clients().find("app.one")->scopes, (std::vector<std::string>{"b"}));
}

TEST_F(Clients, SecretsAreMadeByTheAgentWithFullEntropy) {
  std::set<std::string> seen;
  for (int i = 0; i < 20; ++i) {
    const std::string secret = client("app." + std::to_string(i), true, {});
    // 32 random bytes as base64url.
    EXPECT_EQ(secret.size(), 43u);
    EXPECT_EQ(secret.find_first_not_of(
                  "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"),
              std::string::npos);
    seen.insert(secret);
  }
  EXPECT_EQ(seen.size(), 20u);
}

TEST_F(Clients, SecretIsKeptAsAKeyedDigestBoundToItsClient) {
  const std::string one = client("app.one", true, {});
  client("app.two", true, {});
  auto c = state().clients().find("app.one");
  ASSERT_TRUE(c.ok());
  EXPECT_EQ(c->secret_digest.rfind("keyed-blake2b$", 0), 0u) << c->secret_digest;
  EXPECT_EQ(c->secret_digest.find(one), std::string::npos);
  // The secret of one client is no secret of another.
  EXPECT_EQ(state().clients().check_secret("app.two", one, true).code, errc::kWrongClientSecret);
}

TEST_F(Clients, SecretStoredByAnEarlierAgentStillChecks) {
  // Earlier agents took an operator's secret and kept its PBKDF2 hash.
  vagent::Client legacy;
  legacy.client_id = "app.old";
  legacy.has_secret = true;
  legacy.secret_digest = vagent::pbkdf2_stored_hash("operator-chosen", 2);
  EXPECT_TRUE(state().clients().check_secret(legacy, "operator-chosen", true).ok());
  EXPECT_EQ(state().clients().check_secret(legacy, "operator-chosem", true).code,
            errc::kWrongClientSecret);
}

TEST_F(Clients, GrantScopeAllowsOnlyTheClientsScopes) {
  client("app.one", false, {"profile.read", "account.read"});
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
  EXPECT_EQ(state().clients().register_client(c).code(), errc::kInvalidParameter);
  c.client_id = "app.one";
  c.token_lifetime = 0;
  EXPECT_EQ(state().clients().register_client(c).code(), errc::kInvalidParameter);
  EXPECT_EQ(state().clients().find("app.one").code(), errc::kUnknownClient);
}
