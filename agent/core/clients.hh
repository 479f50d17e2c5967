// Velmora agent: registered clients (client id, hashed client secret, allowed scopes, token
// lifetime).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config.hh"
#include "result.hh"
#include "state_db.hh"

namespace vagent {

struct Client {
  std::string client_id;
  std::vector<std::string> scopes;  // allowed scopes
  bool has_secret = false;
  int64_t token_lifetime = kAccessTokenLifetime;  // seconds
};

struct NewClient {
  std::string client_id;
  std::string secret;  // empty: a client without a secret
  std::vector<std::string> scopes;
  int64_t token_lifetime = kAccessTokenLifetime;
};

class Clients {
 public:
  explicit Clients(StateDb &db) : db_(db) {}

  // Registers a client, or replaces its registration. The secret is kept only as a slow hash.
  Status register_client(const NewClient &client);
  // UNKNOWN_CLIENT when it is not registered.
  Result<Client> find(const std::string &client_id);
  // Checks a presented secret. `required`: a missing secret is INVALID_PARAMETER (and a client
  // without a secret cannot pass). Otherwise an empty secret passes, and a given one must match
  // when the client has one. WRONG_CLIENT_SECRET on a mismatch.
  Status check_secret(const std::string &client_id, const std::string &secret, bool required);
  // The scope to grant for a request: the requested scopes when all are allowed (all allowed
  // scopes when none are requested); SCOPE_NOT_ALLOWED otherwise.
  Result<std::string> grant_scope(const Client &client, const std::string &requested) const;
  Result<std::vector<Client>> list();

 private:
  StateDb &db_;
};

}  // namespace vagent
