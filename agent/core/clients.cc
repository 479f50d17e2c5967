// Velmora agent: registered clients.
#include "clients.hh"

#include "password_hash.hh"
#include "scopes.hh"
#include "users.hh"

namespace vagent {

namespace {

Client read_client(const Query &q) {
  Client c;
  c.client_id = q.text(0);
  c.has_secret = !q.is_null(1);
  c.scopes = parse_scopes(q.text(2));
  c.token_lifetime = q.integer(3);
  return c;
}

}  // namespace

Status Clients::register_client(const NewClient &in) {
  if (!Users::valid_login_id(in.client_id))
    return Status::fail(errc::kInvalidParameter, "invalid client id");
  if (in.token_lifetime <= 0)
    return Status::fail(errc::kInvalidParameter, "token lifetime must be positive");
  Query q(db_,
          "INSERT OR REPLACE INTO clients(client_id, secret_hash, scopes, token_lifetime)"
          " VALUES(?1, ?2, ?3, ?4)");
  q.bind(1, in.client_id);
  if (in.secret.empty())
    q.bind_null(2);
  else
    q.bind(2, hash_secret(in.secret));
  q.bind(3, join_scopes(in.scopes)).bind(4, in.token_lifetime);
  return q.run();
}

Result<Client> Clients::find(const std::string &client_id) {
  Query q(
      db_,
      "SELECT client_id, secret_hash, scopes, token_lifetime FROM clients WHERE client_id = ?1");
  q.bind(1, client_id);
  Status st;
  if (q.next(&st)) return read_client(q);
  if (!st.ok()) return st;
  return Status::fail(errc::kUnknownClient, "no such client: " + client_id);
}

Status Clients::check_secret(const std::string &client_id, const std::string &secret,
                             bool required) {
  if (required && secret.empty())
    return Status::fail(errc::kInvalidParameter, "client secret is required");
  std::string hash;
  bool found = false;
  {
    Query q(db_, "SELECT secret_hash FROM clients WHERE client_id = ?1");
    q.bind(1, client_id);
    Status st;
    if (q.next(&st)) {
      found = true;
      hash = q.text(0);
    }
    if (!st.ok()) return st;
  }
  if (!found) return Status::fail(errc::kUnknownClient, "no such client: " + client_id);
  if (secret.empty()) return Status::success();
  if (hash.empty()) {
    if (!required) return Status::success();  // a secret for a client that has none is ignored
    return Status::fail(errc::kWrongClientSecret, "client has no secret: " + client_id);
  }
  if (!verify_secret(secret, hash))
    return Status::fail(errc::kWrongClientSecret, "wrong secret for client " + client_id);
  return Status::success();
}

Result<std::string> Clients::grant_scope(const Client &client, const std::string &requested) const {
  std::vector<std::string> wanted = parse_scopes(requested);
  if (wanted.empty()) return join_scopes(client.scopes);
  std::vector<std::string> missing = missing_scopes(wanted, client.scopes);
  if (!missing.empty())
    return Status::fail(errc::kScopeNotAllowed,
                        "scope not allowed for " + client.client_id + ": " + join_scopes(missing));
  return join_scopes(wanted);
}

Result<std::vector<Client>> Clients::list() {
  Query q(db_,
          "SELECT client_id, secret_hash, scopes, token_lifetime FROM clients ORDER BY client_id");
  std::vector<Client> clients;
  Status st;
  while (q.next(&st)) clients.push_back(read_client(q));
  if (!st.ok()) return st;
  return clients;
}

}  // namespace vagent
