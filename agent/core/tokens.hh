// SPDX-License-Identifier: Apache-2.0
// Velmora agent: access tokens and refresh tokens.
//
// A grant is one row: an access token with its issue time (unix seconds) and lifetime (the
// client's, 3600 s by default), and a refresh token (30 days, usable once). Both tokens are 32
// bytes (43 base64url characters): 8 bytes that name the row, masked, and 24 random bytes. The
// agent finds a presented token by its row and compares it in constant time, so no index over
// random text is written per grant. The access token is kept in plain text because the agent
// hands out the last one again ("last access token"); a refresh token is only ever shown once and
// is kept as its keyed digest. Grants belong to a (login id, client id) pair and are numbered in
// the pair's turns (a new grant's turn follows that of the pair's newest kept grant): a grant
// lasts kMaxGrantsPerClient turns, so the pair's next grant revokes the one that many turns
// before it. The pair keeps at most that many rows, expired or not, and a grant reads and writes
// the same few rows however many the state holds. They all go when the account signs out.
#pragma once

#include <cstdint>
#include <string>

#include "accounts.hh"
#include "clients.hh"
#include "clock.hh"
#include "keyed_hash.hh"
#include "result.hh"
#include "schema.hh"
#include "state_db.hh"
#include "users.hh"

namespace vagent {

struct TokenRequest {
  std::string login_id;
  std::string client_id;
  std::string client_secret;         // required on a TV, checked when given elsewhere
  std::string expired_access_token;  // an old token of the caller: revoked when it matches
  std::string scope;                 // empty: every scope the client is allowed
};

// What a token reply carries: the token, its times, and the account's facts.
struct TokenGrant {
  std::string access_token;
  std::string refresh_token;  // empty where none is handed out (the last access token)
  int64_t issue_time = 0;     // unix seconds
  int64_t expires_in = 0;     // seconds from issue_time
  std::string scope;
  std::string login_id;
  std::string client_id;
  std::string user_id;
  std::string country_code;
  std::string mcc;
  std::string api_server_url;
  std::string auth_server_url;
};

// What the agent knows about a presented access token.
struct TokenInfo {
  std::string login_id;
  std::string client_id;
  std::string scope;
  int64_t issue_time = 0;
  int64_t expires_in = 0;
};

const SchemaArea &tokens_schema();

class Tokens {
 public:
  Tokens(StateDb &db, const KeyedHash &hash, Clients &clients, Accounts &accounts,
         const Clock &clock)
      : db_(db), hash_(hash), clients_(clients), accounts_(accounts), clock_(clock) {}

  // A new access and refresh token. Checks, in order: login id and client id given
  // (INVALID_PARAMETER), client secret given on a TV (INVALID_PARAMETER), the login id signed in
  // (UNKNOWN_USER / NEED_SIGNIN), the client registered (UNKNOWN_CLIENT), its secret
  // (WRONG_CLIENT_SECRET), the scope (SCOPE_NOT_ALLOWED). A given expired_access_token of the same
  // login id and client is revoked; one that matches nothing is ignored.
  Result<TokenGrant> issue(const TokenRequest &request);
  // The last access token handed out for the login id and client, whether it has expired or
  // not (the caller can tell from its times). An empty login id means the default account; an
  // empty client id, any client. NEED_SIGNIN / UNKNOWN_USER as for issue; NO_TOKEN when none.
  Result<TokenGrant> last(const std::string &login_id, const std::string &client_id);
  // A new access token (and a new refresh token, the presented one being used up) for a refresh
  // token of this client. UNKNOWN_TOKEN, TOKEN_EXPIRED, NEED_SIGNIN.
  Result<TokenGrant> refresh(const std::string &refresh_token, const std::string &client_id,
                             const std::string &client_secret);
  // UNKNOWN_TOKEN (never issued or revoked) or TOKEN_EXPIRED.
  Result<TokenInfo> validate(const std::string &access_token);
  // UNKNOWN_TOKEN when there is no such token.
  Status revoke(const std::string &access_token);
  // The number of access tokens of a login id that have not expired.
  Result<int64_t> live_count(const std::string &login_id);
  // The number of grants kept for a login id and client (at most kMaxGrantsPerClient).
  Result<int64_t> grant_count(const std::string &login_id, const std::string &client_id);

 private:
  Result<TokenGrant> grant(const User &user, const Client &client, const std::string &scope);
  // A token text for row `seq` with 24 `random` bytes; the row a token text names (false when it
  // names none).
  std::string make_token(int64_t seq, const uint8_t *random) const;
  bool token_row(const std::string &token, int64_t *seq) const;
  StateDb &db_;
  const KeyedHash &hash_;
  Clients &clients_;
  Accounts &accounts_;
  const Clock &clock_;
};

// The account's facts in a grant.
void fill_account_facts(const User &user, TokenGrant *grant);

}  // namespace vagent
