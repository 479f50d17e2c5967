// SPDX-License-Identifier: Apache-2.0
// Velmora tests: access tokens and refresh tokens issued by the agent.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <set>
#include <string>
#include <vector>

#include "agent_state_fixture.hh"
#include "config.hh"

using agent_test::AgentTest;
namespace errc = vagent::errc;

class Tokens : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("alice", "pw");
    secret_ = client("app.one", true, {"profile.read", "account.read"});
  }
  vagent::TokenRequest request(const std::string &login = "alice",
                               const std::string &client_id = "app.one") {
    vagent::TokenRequest r;
    r.login_id = login;
    r.client_id = client_id;
    return r;
  }
};

TEST_F(Tokens, IssuedTokenCarriesTimesAndAccountFacts) {
  auto g = state().tokens().issue(request());
  ASSERT_TRUE(g.ok()) << g.status().describe();
  EXPECT_EQ(g->access_token.size(), 43u);
  EXPECT_EQ(g->refresh_token.size(), 43u);
  EXPECT_NE(g->access_token, g->refresh_token);
  EXPECT_EQ(g->issue_time, agent_test::kStartTime);
  EXPECT_EQ(g->expires_in, 3600);
  EXPECT_EQ(g->scope, "profile.read account.read");
  EXPECT_EQ(g->login_id, "alice");
  EXPECT_EQ(g->client_id, "app.one");
  EXPECT_EQ(g->user_id, state().users().find("alice")->user_id);
  EXPECT_EQ(g->mcc, "310");
  EXPECT_EQ(g->api_server_url, "https://api.velmora.dev");
  EXPECT_EQ(g->auth_server_url, "https://auth.velmora.dev");
}

TEST_F(Tokens, EveryTokenIsDistinct) {
  std::set<std::string> seen;
  for (int i = 0; i < 20; ++i) {
    auto g = state().tokens().issue(request());
    ASSERT_TRUE(g.ok());
    seen.insert(g->access_token);
    seen.insert(g->refresh_token);
  }
  EXPECT_EQ(seen.size(), 40u);
}

TEST_F(Tokens, LifetimeComesFromTheClientAndExpiryIsEnforced) {
  client("app.short", false, {}, 60);
  auto g = state().tokens().issue(request("alice", "app.short"));
  ASSERT_TRUE(g.ok());
  EXPECT_EQ(g->expires_in, 60);
  EXPECT_TRUE(state().tokens().validate(g->access_token).ok());
  now_ += 59;
  EXPECT_TRUE(state().tokens().validate(g->access_token).ok());
  now_ += 1;
  EXPECT_EQ(state().tokens().validate(g->access_token).code(), errc::kTokenExpired);
}

TEST_F(Tokens, MissingFieldsUnknownLoginAndClientHaveDistinctCodes) {
  EXPECT_EQ(state().tokens().issue(request("", "app.one")).code(), errc::kInvalidParameter);
  EXPECT_EQ(state().tokens().issue(request("alice", "")).code(), errc::kInvalidParameter);
  EXPECT_EQ(state().tokens().issue(request("nobody", "app.one")).code(), errc::kUnknownUser);
  EXPECT_EQ(state().tokens().issue(request("alice", "app.none")).code(), errc::kUnknownClient);
  seed("bob", "pw", false);
  EXPECT_EQ(state().tokens().issue(request("bob", "app.one")).code(), errc::kNeedSignIn);
}

TEST_F(Tokens, ScopeIsCheckedAgainstTheClient) {
  auto r = request();
  r.scope = "account.read";
  auto g = state().tokens().issue(r);
  ASSERT_TRUE(g.ok());
  EXPECT_EQ(g->scope, "account.read");
  r.scope = "account.read account.delete";
  EXPECT_EQ(state().tokens().issue(r).code(), errc::kScopeNotAllowed);
}

TEST_F(Tokens, AGivenSecretMustMatchOffTv) {
  auto r = request();
  r.client_secret = "wrong";
  EXPECT_EQ(state().tokens().issue(r).code(), errc::kWrongClientSecret);
  r.client_secret = secret_;
  EXPECT_TRUE(state().tokens().issue(r).ok());
  r.client_secret = "";
  EXPECT_TRUE(state().tokens().issue(r).ok());
}

TEST_F(Tokens, ExpiredAccessTokenOfTheSameAccountIsRevoked) {
  auto first = state().tokens().issue(request());
  ASSERT_TRUE(first.ok());
  auto r = request();
  r.expired_access_token = first->access_token;
  auto second = state().tokens().issue(r);
  ASSERT_TRUE(second.ok());
  EXPECT_EQ(state().tokens().validate(first->access_token).code(), errc::kUnknownToken);
  EXPECT_TRUE(state().tokens().validate(second->access_token).ok());
}

TEST_F(Tokens, ExpiredAccessTokenOfAnotherClientIsLeftAlone) {
  client("app.two", false, {});
  auto other = state().tokens().issue(request("alice", "app.two"));
  ASSERT_TRUE(other.ok());
  auto r = request();
  r.expired_access_token = other->access_token;
  ASSERT_TRUE(state().tokens().issue(r).ok());
  EXPECT_TRUE(state().tokens().validate(other->access_token).ok());
  r.expired_access_token = "not-a-token";
  EXPECT_TRUE(state().tokens().issue(r).ok());
}

TEST_F(Tokens, LastAccessTokenIsTheLatestOfTheClient) {
  EXPECT_EQ(state().tokens().last("alice", "app.one").code(), errc::kNoToken);
  auto first = state().tokens().issue(request());
  now_ += 10;
  auto second = state().tokens().issue(request());
  ASSERT_TRUE(first.ok() && second.ok());
  client("app.two", false, {});
  auto last = state().tokens().last("alice", "app.one");
  ASSERT_TRUE(last.ok());
  EXPECT_EQ(last->access_token, second->access_token);
  EXPECT_EQ(last->issue_time, agent_test::kStartTime + 10);
  EXPECT_EQ(last->expires_in, 3600);
  EXPECT_TRUE(last->refresh_token.empty());
  EXPECT_EQ(state().tokens().last("alice", "app.two").code(), errc::kNoToken);
  // Without a login id: the default account; without a client id: any client.
  EXPECT_EQ(state().tokens().last("", "").value().access_token, second->access_token);
  EXPECT_EQ(state().tokens().last("nobody", "app.one").code(), errc::kUnknownUser);
}

TEST_F(Tokens, RefreshTokenIsSingleUseAndBoundToItsClient) {
  auto g = state().tokens().issue(request());
  ASSERT_TRUE(g.ok());
  client("app.two", false, {});
  EXPECT_EQ(state().tokens().refresh(g->refresh_token, "app.two", "").code(), errc::kUnknownToken);
  auto renewed = state().tokens().refresh(g->refresh_token, "app.one", "");
  ASSERT_TRUE(renewed.ok()) << renewed.status().describe();
  EXPECT_NE(renewed->access_token, g->access_token);
  EXPECT_NE(renewed->refresh_token, g->refresh_token);
  EXPECT_EQ(state().tokens().refresh(g->refresh_token, "app.one", "").code(), errc::kUnknownToken);
  now_ += 31 * 24 * 3600;
  EXPECT_EQ(state().tokens().refresh(renewed->refresh_token, "app.one", "").code(),
            errc::kTokenExpired);
}

TEST_F(Tokens, SignOutRevokesTheAccountsTokens) {
  auto g = state().tokens().issue(request());
  ASSERT_TRUE(g.ok());
  EXPECT_EQ(state().tokens().live_count("alice").value(), 1);
  ASSERT_TRUE(state().accounts().sign_out("alice").ok());
  EXPECT_EQ(state().tokens().validate(g->access_token).code(), errc::kUnknownToken);
  EXPECT_EQ(state().tokens().live_count("alice").value(), 0);
  ASSERT_TRUE(state().accounts().sign_in("alice", "pw").ok());
  EXPECT_EQ(state().tokens().last("alice", "app.one").code(), errc::kNoToken);
  EXPECT_EQ(state().tokens().refresh(g->refresh_token, "app.one", "").code(), errc::kUnknownToken);
}

TEST_F(Tokens, RevokeOfAnUnknownTokenIsUnknownToken) {
  auto g = state().tokens().issue(request());
  ASSERT_TRUE(g.ok());
  EXPECT_TRUE(state().tokens().revoke(g->access_token).ok());
  EXPECT_EQ(state().tokens().revoke(g->access_token).code, errc::kUnknownToken);
}

TEST_F(Tokens, GrantsBeyondTheCapRevokeTheOldestOfTheirClientOnly) {
  client("app.two", false, {});
  auto other = state().tokens().issue(request("alice", "app.two"));
  ASSERT_TRUE(other.ok());
  std::vector<vagent::TokenGrant> grants;
  for (int i = 0; i < vagent::kMaxGrantsPerClient + 4; ++i) {
    auto g = state().tokens().issue(request());
    ASSERT_TRUE(g.ok()) << g.status().describe();
    grants.push_back(g.value());
  }
  EXPECT_EQ(state().tokens().grant_count("alice", "app.one").value(), vagent::kMaxGrantsPerClient);
  for (size_t i = 0; i < grants.size(); ++i) {
    const bool revoked = i < 4;
    EXPECT_EQ(state().tokens().validate(grants[i].access_token).code(),
              revoked ? errc::kUnknownToken : errc::kNone)
        << i;
    if (revoked)
      EXPECT_EQ(state().tokens().refresh(grants[i].refresh_token, "app.one", "").code(),
                errc::kUnknownToken)
          << i;
  }
  EXPECT_TRUE(state().tokens().validate(other->access_token).ok());
  EXPECT_EQ(state().tokens().grant_count("alice", "app.two").value(), 1);
}

// A grant lasts kMaxGrantsPerClient turns of its pair. Grants revoked or expired after it still
// took their turns: they neither keep the old one longer nor make the pair keep more rows.
TEST_F(Tokens, AGrantEndsTheCapInTurnsAfterItWhateverHappenedBetween) {
  auto first = state().tokens().issue(request());
  ASSERT_TRUE(first.ok());
  auto second = state().tokens().issue(request());
  ASSERT_TRUE(second.ok());
  ASSERT_TRUE(state().tokens().issue(request()).ok());
  ASSERT_TRUE(state().tokens().revoke(second->access_token).ok());
  // Past every token's life: the first grant is still known, as expired.
  now_ += vagent::kRefreshTokenLifetime + 1;
  for (int turn = 4; turn <= vagent::kMaxGrantsPerClient; ++turn)
    ASSERT_TRUE(state().tokens().issue(request()).ok()) << turn;
  EXPECT_EQ(state().tokens().grant_count("alice", "app.one").value(),
            vagent::kMaxGrantsPerClient - 1);
  EXPECT_EQ(state().tokens().validate(first->access_token).code(), errc::kTokenExpired);
  EXPECT_EQ(state().tokens().refresh(first->refresh_token, "app.one", "").code(),
            errc::kTokenExpired);
  // The next turn ends the first grant's.
  auto next = state().tokens().issue(request());
  ASSERT_TRUE(next.ok());
  EXPECT_EQ(state().tokens().validate(first->access_token).code(), errc::kUnknownToken);
  EXPECT_EQ(state().tokens().refresh(first->refresh_token, "app.one", "").code(),
            errc::kUnknownToken);
  EXPECT_EQ(state().tokens().grant_count("alice", "app.one").value(),
            vagent::kMaxGrantsPerClient - 1);
  EXPECT_EQ(state().tokens().last("alice", "app.one")->access_token, next->access_token);
}

// Grants kept by the layout before turns take their turns in the order they were made, per pair.
TEST_F(Tokens, GrantsOfTheEarlierLayoutTakeTheirTurnsInOrder) {
  client("app.two", false, {});
  state_.reset();
  sqlite3 *db = nullptr;
  ASSERT_EQ(sqlite3_open(root_.path_of("agent/state.db").c_str(), &db), SQLITE_OK);
  auto exec = [db](const std::string &sql) {
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(db) << "\n"
        << sql;
  };
  const vagent::SchemaArea &area = vagent::tokens_schema();
  ASSERT_GE(area.migrations.size(), 3u);
  exec("DROP TABLE tokens");
  exec(area.migrations[0]);
  exec(area.migrations[1]);
  exec("UPDATE schema_areas SET version = 2 WHERE area = 'tokens'");
  int seq = 0;
  for (const char *client_id : {"app.one", "app.two", "app.one", "app.two", "app.one"}) {
    const std::string n = std::to_string(++seq);
    exec("INSERT INTO tokens VALUES (" + n + ", 't" + n + "', NULL, 'alice', '" + client_id +
         "', '', " + std::to_string(now_) + ", 3600, " + std::to_string(now_ + 3600) + ")");
  }
  sqlite3_close(db);

  auto opened = vagent::AgentState::open(root_.path());
  ASSERT_TRUE(opened.ok()) << opened.status().describe();
  state_ = std::move(opened.value());
  state_->set_clock([this] { return now_; });
  EXPECT_EQ(state().db().area_version("tokens"), static_cast<int>(area.migrations.size()));
  std::vector<int64_t> turns;
  {
    sqlite3_stmt *s = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(state().db().handle(), "SELECT turn FROM tokens ORDER BY seq", -1,
                                 &s, nullptr),
              SQLITE_OK);
    while (sqlite3_step(s) == SQLITE_ROW) turns.push_back(sqlite3_column_int64(s, 0));
    sqlite3_finalize(s);
  }
  EXPECT_EQ(turns, (std::vector<int64_t>{1, 1, 2, 2, 3}));
  EXPECT_EQ(state().tokens().last("alice", "app.one")->access_token, "t5");
  EXPECT_EQ(state().tokens().last("alice", "app.two")->access_token, "t4");
  // The pair goes on from its last turn: the cap in turns after its first grant ends it.
  for (int turn = 4; turn <= vagent::kMaxGrantsPerClient; ++turn)
    ASSERT_TRUE(state().tokens().issue(request()).ok()) << turn;
  EXPECT_EQ(state().tokens().grant_count("alice", "app.one").value(), vagent::kMaxGrantsPerClient);
  ASSERT_TRUE(state().tokens().issue(request()).ok());
  EXPECT_EQ(state().tokens().grant_count("alice", "app.one").value(), vagent::kMaxGrantsPerClient);
  EXPECT_EQ(state().tokens().grant_count("alice", "app.two").value(), 2);
}

// The work of a request (SQLite's virtual-machine steps over all statements, not time) is the same
// with thousands of other accounts' tokens in the state as without them, and no request scans a
// table.
TEST_F(Tokens, ARequestDoesTheSameWorkWhateverElseTheStateHolds) {
  // The pair at its cap, so that every grant also revokes its oldest, as in steady use; and a
  // grant of another client after it in the owner index, so that a lookup over the pair's rows
  // ends on a row of another pair as it will below (not at the end of the index).
  client("app.two", false, {"profile.read"});
  ASSERT_TRUE(state().tokens().issue(request("alice", "app.two")).ok());
  for (int i = 0; i < vagent::kMaxGrantsPerClient + 2; ++i)
    ASSERT_TRUE(state().tokens().issue(request()).ok());
  auto steps = [this](int kind) { return state().db().statement_steps(kind); };
  auto work = [&] {
    const uint64_t before = steps(SQLITE_STMTSTATUS_VM_STEP);
    const uint64_t scans_before = steps(SQLITE_STMTSTATUS_FULLSCAN_STEP);
    auto g = state().tokens().issue(request());
    EXPECT_TRUE(g.ok()) << g.status().describe();
    if (!g.ok()) return uint64_t{0};
    EXPECT_TRUE(state().tokens().validate(g->access_token).ok());
    EXPECT_TRUE(state().tokens().last("alice", "app.one").ok());
    EXPECT_TRUE(state().tokens().refresh(g->refresh_token, "app.one", "").ok());
    EXPECT_EQ(steps(SQLITE_STMTSTATUS_FULLSCAN_STEP), scans_before);  // no table was scanned
    return steps(SQLITE_STMTSTATUS_VM_STEP) - before;
  };
  const uint64_t small = work();
  EXPECT_GT(small, 0u);
  EXPECT_EQ(work(), small);  // steady: the same state shape gives the same work

  // Another account's live grants over many clients, written in one transaction.
  seed("bob", "pw");
  constexpr int kClients = 300;
  {
    vagent::Transaction tx(state().db());
    for (int c = 0; c < kClients; ++c) {
      const std::string id = "fill.c" + std::to_string(c);
      client(id, false, {"profile.read"});
      for (int g = 0; g < vagent::kMaxGrantsPerClient; ++g)
        ASSERT_TRUE(state().tokens().issue(request("bob", id)).ok());
    }
    ASSERT_TRUE(tx.commit().ok());
  }
  ASSERT_EQ(state().tokens().live_count("bob").value(), kClients * vagent::kMaxGrantsPerClient);
  EXPECT_EQ(work(), small);
}

// Every statement and the transaction control are prepared when the state opens: a request
// compiles no SQL. SQLite asks the authorizer while it compiles a statement (also when it must
// compile one again), never while one runs.
TEST_F(Tokens, RequestsPrepareNoStatement) {
  client("app.two", false, {"profile.read"});
  // The pair at its cap, so that the first round also runs what ends the oldest grant's turn.
  for (int i = 0; i < vagent::kMaxGrantsPerClient; ++i)
    ASSERT_TRUE(state().tokens().issue(request()).ok());
  int compiled = 0;
  sqlite3_set_authorizer(
      state().db().handle(),
      [](void *count, int, const char *, const char *, const char *, const char *) {
        ++*static_cast<int *>(count);
        return SQLITE_OK;
      },
      &compiled);
  auto round = [&] {
    auto g = state().tokens().issue(request());
    ASSERT_TRUE(g.ok()) << g.status().describe();
    EXPECT_TRUE(state().tokens().validate(g->access_token).ok());
    EXPECT_TRUE(state().tokens().refresh(g->refresh_token, "app.one", "").ok());
    EXPECT_TRUE(state().tokens().last("alice", "app.one").ok());
    ASSERT_TRUE(state().tokens().issue(request("alice", "app.two")).ok());
  };
  // Setting an authorizer makes SQLite compile every prepared statement once more, at its next
  // use: the statements come back through the authorizer here, once each.
  round();
  EXPECT_GT(compiled, 0);
  compiled = 0;
  for (int i = 0; i < vagent::kMaxGrantsPerClient + 2; ++i) round();
  EXPECT_EQ(compiled, 0);
  sqlite3_set_authorizer(state().db().handle(), nullptr, nullptr);
}

TEST_F(Tokens, AlteredOrForeignTokensAreUnknown) {
  auto g = state().tokens().issue(request());
  ASSERT_TRUE(g.ok());
  const std::string &t = g->access_token;
  auto flip = [](std::string s, size_t at) {
    s[at] = s[at] == 'A' ? 'B' : 'A';
    return s;
  };
  for (size_t at : {size_t{0}, size_t{5}, size_t{11}, size_t{20}, t.size() - 1})
    EXPECT_EQ(state().tokens().validate(flip(t, at)).code(), errc::kUnknownToken) << at;
  for (const std::string &bad : {std::string(""), std::string("abc"), t + "A", t.substr(1),
                                 std::string(43, '_'), std::string(43, 'A')})
    EXPECT_EQ(state().tokens().validate(bad).code(), errc::kUnknownToken) << bad;
  // The refresh token names the same row but is no access token, and the other way round.
  EXPECT_EQ(state().tokens().validate(g->refresh_token).code(), errc::kUnknownToken);
  EXPECT_EQ(state().tokens().refresh(t, "app.one", "").code(), errc::kUnknownToken);
  // A token of another state (another key) is unknown here.
  vtest::PlatformRoot other_root;
  auto other = vagent::AgentState::open(other_root.path());
  ASSERT_TRUE(other.ok());
  EXPECT_EQ(other.value()->tokens().validate(t).code(), errc::kUnknownToken);
}

TEST_F(Tokens, ARevokedNewestTokenStaysUnknownWhenItsRowIsUsedAgain) {
  auto a = state().tokens().issue(request());
  ASSERT_TRUE(a.ok());
  ASSERT_TRUE(state().tokens().revoke(a->access_token).ok());
  auto b = state().tokens().issue(request());
  ASSERT_TRUE(b.ok());
  EXPECT_EQ(state().tokens().validate(a->access_token).code(), errc::kUnknownToken);
  EXPECT_EQ(state().tokens().refresh(a->refresh_token, "app.one", "").code(), errc::kUnknownToken);
  EXPECT_TRUE(state().tokens().validate(b->access_token).ok());
}

class TokensOnTv : public Tokens {
 protected:
  void SetUp() override {
    root_.set_profile("tv");
    Tokens::SetUp();
  }
};

TEST_F(TokensOnTv, ClientSecretIsRequiredAndMustMatch) {
  auto r = request();
  EXPECT_EQ(state().tokens().issue(r).code(), errc::kInvalidParameter);
  r.client_secret = "wrong";
  EXPECT_EQ(state().tokens().issue(r).code(), errc::kWrongClientSecret);
  r.client_secret = secret_;
  EXPECT_TRUE(state().tokens().issue(r).ok());
  client("app.open", false, {});
  r.client_id = "app.open";
  EXPECT_EQ(state().tokens().issue(r).code(), errc::kWrongClientSecret);
}
