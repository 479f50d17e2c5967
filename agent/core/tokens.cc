// SPDX-License-Identifier: Apache-2.0
// Velmora agent: access and refresh tokens.
#include "tokens.hh"

#include <algorithm>

#include "config.hh"
#include "device.hh"
#include "secure_random.hh"

namespace vagent {

namespace {

constexpr size_t kRowBytes = 8;  // the masked row number at the front of a token
constexpr size_t kRandomBytes = kAccessTokenBytes - kRowBytes;
static_assert(kAccessTokenBytes == kRefreshTokenBytes);
constexpr const char *kRowPurpose = "token-row";
constexpr const char *kRefreshPurpose = "refresh-token";

#define GRANT_COLUMNS                                                                 \
  "access_token, refresh_digest, login_id, client_id, scope, issue_time, expires_in," \
  " refresh_expires_at"

const Statement kNextRow{"SELECT COALESCE(MAX(seq), 0) + 1 FROM tokens", Access::kLookup,
                         "INTEGER PRIMARY KEY"};
const Statement kInsert{"INSERT INTO tokens(seq, " GRANT_COLUMNS
                        ", turn) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10)"};
const Statement kRow{"SELECT " GRANT_COLUMNS " FROM tokens WHERE seq = ?1", Access::kLookup,
                     "INTEGER PRIMARY KEY"};
const Statement kDeleteRow{"DELETE FROM tokens WHERE seq = ?1", Access::kLookup,
                           "INTEGER PRIMARY KEY"};
const Statement kUseRefresh{
    "UPDATE tokens SET refresh_digest = NULL WHERE seq = ?1 AND refresh_digest IS NOT NULL",
    Access::kLookup, "INTEGER PRIMARY KEY"};
// The pair's last turn: one seek to the end of its part of the owner index.
const Statement kLastTurn{
    "SELECT turn FROM tokens WHERE login_id = ?1 AND client_id = ?2 ORDER BY turn DESC LIMIT 1",
    Access::kLookup, "tokens_owner"};
// The pair's grants of turn ?3 and before: the one whose turn is over, when a new one begins.
const Statement kEndTurns{
    "DELETE FROM tokens WHERE login_id = ?1 AND client_id = ?2 AND turn <= ?3", Access::kLookup,
    "tokens_owner"};
const Statement kLastOfClient{
    "SELECT access_token, client_id, scope, issue_time, expires_in FROM tokens"
    " WHERE login_id = ?1 AND client_id = ?2 ORDER BY turn DESC LIMIT 1",
    Access::kLookup, "tokens_owner"};
// Over the account's grants of every client: at most kMaxGrantsPerClient per client.
const Statement kLastOfAccount{
    "SELECT access_token, client_id, scope, issue_time, expires_in FROM tokens"
    " WHERE seq = (SELECT MAX(seq) FROM tokens WHERE login_id = ?1)",
    Access::kLookup, "tokens_owner"};
const Statement kLiveCount{
    "SELECT COUNT(*) FROM tokens WHERE login_id = ?1 AND issue_time + expires_in > ?2",
    Access::kLookup, "tokens_owner"};
const Statement kGrantCount{"SELECT COUNT(*) FROM tokens WHERE login_id = ?1 AND client_id = ?2",
                            Access::kLookup, "tokens_owner"};
const Statement kForget{"DELETE FROM tokens WHERE login_id = ?1", Access::kLookup, "tokens_owner"};

// What a row holds.
struct GrantRow {
  std::string access_token;
  std::string refresh_digest;  // empty once used
  std::string login_id;
  std::string client_id;
  std::string scope;
  int64_t issue_time = 0;
  int64_t expires_in = 0;
  int64_t refresh_expires_at = 0;
};

// The row `seq`: false (with *status ok) when there is none.
bool read_row(StateDb &db, int64_t seq, GrantRow *row, Status *status) {
  Query q(db, kRow);
  q.bind(1, seq);
  if (!q.next(status)) return false;
  *row = GrantRow{q.text(0), q.blob(1),    q.text(2),    q.text(3),
                  q.text(4), q.integer(5), q.integer(6), q.integer(7)};
  return true;
}

bool same_text(const std::string &a, const std::string &b) {
  return constant_time_equal(a.data(), a.size(), b.data(), b.size());
}

}  // namespace

const SchemaArea &tokens_schema() {
  static const SchemaArea area{
      "tokens",
      {
          // 1
          "CREATE TABLE access_tokens("
          "  seq INTEGER PRIMARY KEY AUTOINCREMENT,"
          "  token TEXT NOT NULL UNIQUE,"
          "  login_id TEXT NOT NULL,"
          "  client_id TEXT NOT NULL,"
          "  scope TEXT NOT NULL,"
          "  issue_time INTEGER NOT NULL,"
          "  expires_in INTEGER NOT NULL);"
          "CREATE INDEX access_tokens_owner ON access_tokens(login_id, client_id);"
          "CREATE TABLE refresh_tokens("
          "  token_hash TEXT PRIMARY KEY,"
          "  login_id TEXT NOT NULL,"
          "  client_id TEXT NOT NULL,"
          "  scope TEXT NOT NULL,"
          "  issue_time INTEGER NOT NULL,"
          "  expires_in INTEGER NOT NULL);",
          // 2: one row per grant, found by its rowid (named inside the tokens); one index, by
          // owner. Tokens of layout 1 cannot be read that way: they go, and clients ask again.
          "DROP TABLE access_tokens;"
          "DROP TABLE refresh_tokens;"
          "DELETE FROM sqlite_sequence WHERE name = 'access_tokens';"
          "CREATE TABLE tokens("
          "  seq INTEGER PRIMARY KEY,"
          "  access_token TEXT NOT NULL,"
          "  refresh_digest BLOB,"
          "  login_id TEXT NOT NULL,"
          "  client_id TEXT NOT NULL,"
          "  scope TEXT NOT NULL,"
          "  issue_time INTEGER NOT NULL,"
          "  expires_in INTEGER NOT NULL,"
          "  refresh_expires_at INTEGER NOT NULL);"
          "CREATE INDEX tokens_owner ON tokens(login_id, client_id);",
          // 3: a pair's grants numbered in turn, so that the one a new grant ends is found by
          // its number; kept grants take the turns of their rows' order.
          "ALTER TABLE tokens ADD COLUMN turn INTEGER NOT NULL DEFAULT 0;"
          "UPDATE tokens SET turn = (SELECT COUNT(*) FROM tokens AS earlier"
          "  WHERE earlier.login_id = tokens.login_id AND earlier.client_id = tokens.client_id"
          "  AND earlier.seq <= tokens.seq);"
          "DROP INDEX tokens_owner;"
          "CREATE INDEX tokens_owner ON tokens(login_id, client_id, turn);",
      },
      {&kNextRow, &kInsert, &kRow, &kDeleteRow, &kUseRefresh, &kLastTurn, &kEndTurns,
       &kLastOfClient, &kLastOfAccount, &kLiveCount, &kGrantCount, &kForget},
      &kForget};
  return area;
}

void fill_account_facts(const User &user, TokenGrant *g) {
  g->login_id = user.login_id;
  g->user_id = user.user_id;
  g->country_code = user.country_code;
  g->mcc = user.mcc;
  g->api_server_url = user.api_server_url;
  g->auth_server_url = user.auth_server_url;
}

std::string Tokens::make_token(int64_t seq, const uint8_t *random) const {
  std::vector<uint8_t> bytes(kAccessTokenBytes);
  std::copy(random, random + kRandomBytes, bytes.begin() + kRowBytes);
  const std::string mask = hash_.digest(
      kRowPurpose,
      std::string_view(reinterpret_cast<const char *>(&bytes[kRowBytes]), kRandomBytes));
  for (size_t i = 0; i < kRowBytes; ++i)
    bytes[i] = static_cast<uint8_t>((static_cast<uint64_t>(seq) >> (8 * i)) & 0xff) ^
               static_cast<uint8_t>(mask[i]);
  return base64url_encode(bytes.data(), bytes.size());
}

bool Tokens::token_row(const std::string &token, int64_t *seq) const {
  std::vector<uint8_t> bytes;
  if (!base64url_decode(token, &bytes) || bytes.size() != kAccessTokenBytes) return false;
  const std::string mask = hash_.digest(
      kRowPurpose,
      std::string_view(reinterpret_cast<const char *>(&bytes[kRowBytes]), kRandomBytes));
  uint64_t v = 0;
  for (size_t i = 0; i < kRowBytes; ++i)
    v |= static_cast<uint64_t>(bytes[i] ^ static_cast<uint8_t>(mask[i])) << (8 * i);
  *seq = static_cast<int64_t>(v);
  return *seq > 0;
}

Result<TokenGrant> Tokens::grant(const User &user, const Client &client, const std::string &scope) {
  TokenGrant g;
  fill_account_facts(user, &g);
  g.client_id = client.client_id;
  g.scope = scope;
  g.issue_time = clock_.now();
  g.expires_in = client.token_lifetime;

  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  Status st;
  int64_t turn = 1;
  {
    Query q(db_, kLastTurn);
    q.bind(1, g.login_id).bind(2, g.client_id);
    if (q.next(&st)) turn = q.integer(0) + 1;
    if (!st.ok()) return st;
  }
  if (turn > kMaxGrantsPerClient) {
    // The pair keeps the grants of its last kMaxGrantsPerClient turns: the oldest one's ends.
    Query q(db_, kEndTurns);
    q.bind(1, g.login_id).bind(2, g.client_id).bind(3, turn - kMaxGrantsPerClient);
    if (!(st = q.run()).ok()) return st;
  }
  int64_t seq = 0;
  {
    Query q(db_, kNextRow);
    if (!q.next(&st)) return st.ok() ? Status::fail(errc::kDbFailed, "no next row") : st;
    seq = q.integer(0);
  }
  const std::vector<uint8_t> random = secure_random_bytes(2 * kRandomBytes);  // one draw
  g.access_token = make_token(seq, random.data());
  g.refresh_token = make_token(seq, random.data() + kRandomBytes);
  {
    const std::string refresh_digest = hash_.digest(kRefreshPurpose, g.refresh_token);
    Query q(db_, kInsert);
    q.bind(1, seq).bind(2, g.access_token);
    q.bind_blob(3, refresh_digest.data(), refresh_digest.size());
    q.bind(4, g.login_id).bind(5, g.client_id).bind(6, g.scope).bind(7, g.issue_time);
    q.bind(8, g.expires_in).bind(9, g.issue_time + kRefreshTokenLifetime).bind(10, turn);
    if (!(st = q.run()).ok()) return st;
  }
  // On disk (in the WAL) before anybody sees the tokens.
  if (!(st = tx.commit()).ok()) return st;
  return g;
}

Result<TokenGrant> Tokens::issue(const TokenRequest &r) {
  if (r.login_id.empty() || r.client_id.empty())
    return Status::fail(errc::kInvalidParameter, "login id and client id are required");
  const bool tv = is_tv_profile();
  if (tv && r.client_secret.empty())
    return Status::fail(errc::kInvalidParameter, "client secret is required on a TV");
  // One transaction for the whole request: its reads and writes take the database's locks once,
  // and revoking the old token and granting the new one go together.
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  Result<User> user = accounts_.signed_in_user(r.login_id);
  if (!user.ok()) return user.status();
  Result<Client> client = clients_.find(r.client_id);
  if (!client.ok()) return client.status();
  Status st = clients_.check_secret(client.value(), r.client_secret, tv);
  if (!st.ok()) return st;
  Result<std::string> scope = clients_.grant_scope(client.value(), r.scope);
  if (!scope.ok()) return scope.status();
  int64_t seq = 0;
  if (!r.expired_access_token.empty() && token_row(r.expired_access_token, &seq)) {
    GrantRow row;
    if (read_row(db_, seq, &row, &st) && same_text(row.access_token, r.expired_access_token) &&
        row.login_id == r.login_id && row.client_id == r.client_id) {
      Query q(db_, kDeleteRow);
      q.bind(1, seq);
      st = q.run();
    }
    if (!st.ok()) return st;
  }
  Result<TokenGrant> g = grant(user.value(), client.value(), scope.value());
  if (!g.ok()) return g;
  if (!(st = tx.commit()).ok()) return st;
  return g;
}

Result<TokenGrant> Tokens::last(const std::string &login_id_in, const std::string &client_id) {
  std::string login_id = login_id_in;
  if (login_id.empty()) {
    Result<std::string> def = accounts_.default_account();
    if (!def.ok()) return def.status();
    login_id = def.value();
  }
  Result<User> user = accounts_.signed_in_user(login_id);
  if (!user.ok()) return user.status();
  Query q(db_, client_id.empty() ? kLastOfAccount : kLastOfClient);
  q.bind(1, login_id);
  if (!client_id.empty()) q.bind(2, client_id);
  Status st;
  if (!q.next(&st)) {
    if (!st.ok()) return st;
    return Status::fail(errc::kNoToken, "no access token for " + login_id +
                                            (client_id.empty() ? "" : " and " + client_id));
  }
  TokenGrant g;
  fill_account_facts(user.value(), &g);
  g.access_token = q.text(0);
  g.client_id = q.text(1);
  g.scope = q.text(2);
  g.issue_time = q.integer(3);
  g.expires_in = q.integer(4);
  return g;
}

Result<TokenGrant> Tokens::refresh(const std::string &refresh_token, const std::string &client_id,
                                   const std::string &client_secret) {
  if (refresh_token.empty() || client_id.empty())
    return Status::fail(errc::kInvalidParameter, "refresh token and client id are required");
  Transaction tx(db_);  // the used refresh token goes with the grant of the new one
  if (!tx.status().ok()) return tx.status();
  int64_t seq = 0;
  GrantRow row;
  Status st;
  if (!token_row(refresh_token, &seq) || !read_row(db_, seq, &row, &st) ||
      row.refresh_digest.empty() ||
      !hash_.matches(kRefreshPurpose, refresh_token, row.refresh_digest) ||
      row.client_id != client_id) {
    if (!st.ok()) return st;
    return Status::fail(errc::kUnknownToken, "unknown refresh token");
  }
  if (clock_.now() >= row.refresh_expires_at)
    return Status::fail(errc::kTokenExpired, "refresh token expired");
  Result<User> user = accounts_.signed_in_user(row.login_id);
  if (!user.ok()) return user.status();
  Result<Client> client = clients_.find(client_id);
  if (!client.ok()) return client.status();
  if (!(st = clients_.check_secret(client.value(), client_secret, is_tv_profile())).ok()) return st;
  {
    Query q(db_, kUseRefresh);
    q.bind(1, seq);
    if (!(st = q.run()).ok()) return st;
    if (q.changes() == 0) return Status::fail(errc::kUnknownToken, "refresh token already used");
  }
  Result<TokenGrant> g = grant(user.value(), client.value(), row.scope);
  if (!g.ok()) return g;
  if (!(st = tx.commit()).ok()) return st;
  return g;
}

Result<TokenInfo> Tokens::validate(const std::string &access_token) {
  int64_t seq = 0;
  GrantRow row;
  Status st;
  if (!token_row(access_token, &seq) || !read_row(db_, seq, &row, &st) ||
      !same_text(row.access_token, access_token)) {
    if (!st.ok()) return st;
    return Status::fail(errc::kUnknownToken, "unknown access token");
  }
  TokenInfo info{row.login_id, row.client_id, row.scope, row.issue_time, row.expires_in};
  if (clock_.now() >= info.issue_time + info.expires_in)
    return Status::fail(errc::kTokenExpired, "access token expired");
  return info;
}

Status Tokens::revoke(const std::string &access_token) {
  int64_t seq = 0;
  GrantRow row;
  Status st;
  if (!token_row(access_token, &seq) || !read_row(db_, seq, &row, &st) ||
      !same_text(row.access_token, access_token)) {
    if (!st.ok()) return st;
    return Status::fail(errc::kUnknownToken, "unknown access token");
  }
  Query q(db_, kDeleteRow);
  q.bind(1, seq);
  return q.run();
}

Result<int64_t> Tokens::live_count(const std::string &login_id) {
  Query q(db_, kLiveCount);
  q.bind(1, login_id).bind(2, clock_.now());
  Status st;
  if (!q.next(&st)) return st.ok() ? Status::fail(errc::kDbFailed, "count failed") : st;
  return q.integer(0);
}

Result<int64_t> Tokens::grant_count(const std::string &login_id, const std::string &client_id) {
  Query q(db_, kGrantCount);
  q.bind(1, login_id).bind(2, client_id);
  Status st;
  if (!q.next(&st)) return st.ok() ? Status::fail(errc::kDbFailed, "count failed") : st;
  return q.integer(0);
}

}  // namespace vagent
