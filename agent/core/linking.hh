// SPDX-License-Identifier: Apache-2.0
// Velmora agent: partner clients and account linking, whether an account is linked with a partner
// service (keyed by login id and the partner's client id). A partner is a registered client that
// the admin command marked as one (register-partner).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "accounts.hh"
#include "clients.hh"
#include "clock.hh"
#include "result.hh"
#include "schema.hh"
#include "state_db.hh"
#include "tokens.hh"

namespace vagent {

struct LinkingQuery {
  std::string login_id;
  std::string client_id;          // the asking client
  std::string partner_client_id;  // the partner service
  std::string access_token;       // a live token of the login id and the asking client
};

struct Partner {
  std::string client_id;
  std::string name;
  int64_t registered_at = 0;
};

const SchemaArea &linking_schema();

class Linking {
 public:
  Linking(StateDb &db, Accounts &accounts, Clients &clients, Tokens &tokens, const Clock &clock)
      : db_(db), accounts_(accounts), clients_(clients), tokens_(tokens), clock_(clock) {}

  // Whether the account is linked with the partner (false until set). INVALID_PARAMETER (a field
  // missing), UNKNOWN_USER / NEED_SIGNIN, UNKNOWN_CLIENT (the asking client unknown, the partner
  // not a registered partner), UNKNOWN_TOKEN
  // (not a token of this login id and client), TOKEN_EXPIRED.
  Result<bool> status(const LinkingQuery &query);
  // Links or unlinks (the admin command and tests). UNKNOWN_USER, UNKNOWN_CLIENT (not a partner).
  Status set(const std::string &login_id, const std::string &partner_client_id, bool linked);
  // Marks a registered client as a partner (again: renames it). UNKNOWN_CLIENT. An empty name is
  // the client id.
  Status register_partner(const std::string &client_id, const std::string &name);
  Result<std::vector<Partner>> partners();

 private:
  StateDb &db_;
  Accounts &accounts_;
  Clients &clients_;
  Tokens &tokens_;
  const Clock &clock_;
  Status require_partner(const std::string &client_id);
};

}  // namespace vagent
