// Velmora agent: account linking, whether an account is linked with a partner service (keyed by
// login id and the partner's client id).
#pragma once

#include <string>

#include "accounts.hh"
#include "clients.hh"
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

const SchemaArea &linking_schema();

class Linking {
 public:
  Linking(StateDb &db, Accounts &accounts, Clients &clients, Tokens &tokens)
      : db_(db), accounts_(accounts), clients_(clients), tokens_(tokens) {}

  // Whether the account is linked with the partner (false until set). INVALID_PARAMETER (a field
  // missing), UNKNOWN_USER / NEED_SIGNIN, UNKNOWN_CLIENT (asking or partner client), UNKNOWN_TOKEN
  // (not a token of this login id and client), TOKEN_EXPIRED.
  Result<bool> status(const LinkingQuery &query);
  // Links or unlinks (the admin command and tests). UNKNOWN_USER, UNKNOWN_CLIENT.
  Status set(const std::string &login_id, const std::string &partner_client_id, bool linked);

 private:
  StateDb &db_;
  Accounts &accounts_;
  Clients &clients_;
  Tokens &tokens_;
};

}  // namespace vagent
