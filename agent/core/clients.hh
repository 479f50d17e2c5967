// SPDX-License-Identifier: Apache-2.0
// Velmora agent: registered clients (client id, client secret, allowed scopes, token lifetime).
//
// A client secret is made by the agent (32 random bytes, 43 base64url characters) when the client
// is registered, handed out once, and kept only as its keyed digest (keyed_hash.hh): checking it
// costs one fast hash and a constant-time compare. Secrets stored by earlier agents as a slow
// PBKDF2 hash (password_hash.hh) are still checked that way.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config.hh"
#include "keyed_hash.hh"
#include "result.hh"
#include "schema.hh"
#include "state_db.hh"

namespace vagent {

struct Client {
  std::string client_id;
  std::vector<std::string> scopes;  // allowed scopes
  bool has_secret = false;
  int64_t token_lifetime = kAccessTokenLifetime;  // seconds
  std::string secret_digest;                      // the stored form of the secret (never shown)
};

struct NewClient {
  std::string client_id;
  bool with_secret = false;  // the agent makes a secret for the client
  std::vector<std::string> scopes;
  int64_t token_lifetime = kAccessTokenLifetime;
};

const SchemaArea &clients_schema();

class Clients {
 public:
  Clients(StateDb &db, const KeyedHash &hash) : db_(db), hash_(hash) {}

  // Registers a client, or replaces its registration and secret. Hands out the new secret (empty
  // for a client without one): this is the only time anybody sees it.
  Result<std::string> register_client(const NewClient &client);
  // UNKNOWN_CLIENT when it is not registered.
  Result<Client> find(const std::string &client_id);
  // Checks a presented secret. `required`: a missing secret is INVALID_PARAMETER (and a client
  // without a secret cannot pass). Otherwise an empty secret passes, and a given one must match
  // when the client has one. WRONG_CLIENT_SECRET on a mismatch.
  Status check_secret(const Client &client, const std::string &secret, bool required) const;
  // The same for a client id (UNKNOWN_CLIENT when it is not registered).
  Status check_secret(const std::string &client_id, const std::string &secret, bool required);
  // The scope to grant for a request: the requested scopes when all are allowed (all allowed
  // scopes when none are requested); SCOPE_NOT_ALLOWED otherwise.
  Result<std::string> grant_scope(const Client &client, const std::string &requested) const;
  Result<std::vector<Client>> list();

 private:
  std::string secret_digest(const std::string &client_id, const std::string &secret) const;
  StateDb &db_;
  const KeyedHash &hash_;
};

}  // namespace vagent
