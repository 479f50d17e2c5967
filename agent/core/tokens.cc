// Velmora agent: access and refresh tokens.
#include "tokens.hh"

#include "config.hh"
#include "device.hh"
#include "secure_random.hh"

namespace vagent {

void fill_account_facts(const User &user, TokenGrant *g) {
  g->login_id = user.login_id;
  g->user_id = user.user_id;
  g->country_code = user.country_code;
  g->mcc = user.mcc;
  g->api_server_url = user.api_server_url;
  g->auth_server_url = user.auth_server_url;
}

Result<TokenGrant> Tokens::grant(const User &user, const Client &client, const std::string &scope) {
  TokenGrant g;
  fill_account_facts(user, &g);
  g.client_id = client.client_id;
  g.scope = scope;
  g.issue_time = clock_.now();
  g.expires_in = client.token_lifetime;
  g.access_token = random_base64url(kAccessTokenBytes);
  g.refresh_token = random_base64url(kRefreshTokenBytes);

  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  {
    // Expired tokens of the pair are of no further use.
    Query prune(db_,
                "DELETE FROM access_tokens WHERE login_id = ?1 AND client_id = ?2"
                " AND issue_time + expires_in <= ?3");
    prune.bind(1, g.login_id).bind(2, g.client_id).bind(3, g.issue_time);
    Status st = prune.run();
    if (!st.ok()) return st;
  }
  {
    Query q(db_,
            "INSERT INTO access_tokens(token, login_id, client_id, scope, issue_time, expires_in)"
            " VALUES(?1, ?2, ?3, ?4, ?5, ?6)");
    q.bind(1, g.access_token).bind(2, g.login_id).bind(3, g.client_id).bind(4, g.scope);
    q.bind(5, g.issue_time).bind(6, g.expires_in);
    Status st = q.run();
    if (!st.ok()) return st;
  }
  {
    Query q(db_,
            "INSERT INTO refresh_tokens(token_hash, login_id, client_id, scope, issue_time,"
            " expires_in) VALUES(?1, ?2, ?3, ?4, ?5, ?6)");
    q.bind(1, sha256_hex(g.refresh_token)).bind(2, g.login_id).bind(3, g.client_id);
    q.bind(4, g.scope).bind(5, g.issue_time).bind(6, kRefreshTokenLifetime);
    Status st = q.run();
    if (!st.ok()) return st;
  }
  Status st = tx.commit();
  if (!st.ok()) return st;
  return g;
}

Result<TokenGrant> Tokens::issue(const TokenRequest &r) {
  if (r.login_id.empty() || r.client_id.empty())
    return Status::fail(errc::kInvalidParameter, "login id and client id are required");
  const bool tv = is_tv_profile();
  if (tv && r.client_secret.empty())
    return Status::fail(errc::kInvalidParameter, "client secret is required on a TV");
  Status st = accounts_.require_signed_in(r.login_id);
  if (!st.ok()) return st;
  Result<Client> client = clients_.find(r.client_id);
  if (!client.ok()) return client.status();
  st = clients_.check_secret(r.client_id, r.client_secret, tv);
  if (!st.ok()) return st;
  Result<std::string> scope = clients_.grant_scope(client.value(), r.scope);
  if (!scope.ok()) return scope.status();
  Result<User> user = users_.find(r.login_id);
  if (!user.ok()) return user.status();

  Transaction tx(db_);  // revoking the old token and granting the new one go together
  if (!tx.status().ok()) return tx.status();
  if (!r.expired_access_token.empty()) {
    Query q(db_, "DELETE FROM access_tokens WHERE token = ?1 AND login_id = ?2 AND client_id = ?3");
    q.bind(1, r.expired_access_token).bind(2, r.login_id).bind(3, r.client_id);
    if (!(st = q.run()).ok()) return st;
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
  Status st = accounts_.require_signed_in(login_id);
  if (!st.ok()) return st;
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  Query q(db_,
          "SELECT token, client_id, scope, issue_time, expires_in FROM access_tokens"
          " WHERE login_id = ?1 AND (?2 = '' OR client_id = ?2) ORDER BY seq DESC LIMIT 1");
  q.bind(1, login_id).bind(2, client_id);
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
  const std::string hash = sha256_hex(refresh_token);
  std::string login_id, scope;
  int64_t issue_time = 0, expires_in = 0;
  {
    Query q(db_,
            "SELECT login_id, scope, issue_time, expires_in FROM refresh_tokens"
            " WHERE token_hash = ?1 AND client_id = ?2");
    q.bind(1, hash).bind(2, client_id);
    Status st;
    if (!q.next(&st)) {
      if (!st.ok()) return st;
      return Status::fail(errc::kUnknownToken, "unknown refresh token");
    }
    login_id = q.text(0);
    scope = q.text(1);
    issue_time = q.integer(2);
    expires_in = q.integer(3);
  }
  if (clock_.now() >= issue_time + expires_in)
    return Status::fail(errc::kTokenExpired, "refresh token expired");
  Status st = accounts_.require_signed_in(login_id);
  if (!st.ok()) return st;
  Result<Client> client = clients_.find(client_id);
  if (!client.ok()) return client.status();
  if (!(st = clients_.check_secret(client_id, client_secret, is_tv_profile())).ok()) return st;
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  Transaction tx(db_);  // the used refresh token goes with the grant of the new one
  if (!tx.status().ok()) return tx.status();
  {
    Query q(db_, "DELETE FROM refresh_tokens WHERE token_hash = ?1");
    q.bind(1, hash);
    if (!(st = q.run()).ok()) return st;
    if (q.changes() == 0) return Status::fail(errc::kUnknownToken, "refresh token already used");
  }
  Result<TokenGrant> g = grant(user.value(), client.value(), scope);
  if (!g.ok()) return g;
  if (!(st = tx.commit()).ok()) return st;
  return g;
}

Result<TokenInfo> Tokens::validate(const std::string &access_token) {
  Query q(db_,
          "SELECT login_id, client_id, scope, issue_time, expires_in FROM access_tokens"
          " WHERE token = ?1");
  q.bind(1, access_token);
  Status st;
  if (!q.next(&st)) {
    if (!st.ok()) return st;
    return Status::fail(errc::kUnknownToken, "unknown access token");
  }
  TokenInfo info{q.text(0), q.text(1), q.text(2), q.integer(3), q.integer(4)};
  if (clock_.now() >= info.issue_time + info.expires_in)
    return Status::fail(errc::kTokenExpired, "access token expired");
  return info;
}

Status Tokens::revoke(const std::string &access_token) {
  Query q(db_, "DELETE FROM access_tokens WHERE token = ?1");
  q.bind(1, access_token);
  Status st = q.run();
  if (st.ok() && q.changes() == 0) return Status::fail(errc::kUnknownToken, "unknown access token");
  return st;
}

Result<int64_t> Tokens::live_count(const std::string &login_id) {
  Query q(
      db_,
      "SELECT COUNT(*) FROM access_tokens WHERE login_id = ?1 AND issue_time + expires_in > ?2");
  q.bind(1, login_id).bind(2, clock_.now());
  Status st;
  if (!q.next(&st)) return st.ok() ? Status::fail(errc::kDbFailed, "count failed") : st;
  return q.integer(0);
}

}  // namespace vagent
