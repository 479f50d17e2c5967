// SPDX-License-Identifier: Apache-2.0
// Velmora agent: registered clients.
#include "clients.hh"

#include "password_hash.hh"
#include "scopes.hh"
#include "secure_random.hh"
#include "users.hh"

namespace vagent {

namespace {

// The stored form of a secret: this prefix, then the keyed digest in base64url.
constexpr const char *kDigestScheme = "keyed-blake2b$";
constexpr const char *kPurpose = "client-secret";

const Statement kRegister{
    "INSERT OR REPLACE INTO clients(client_id, secret_hash, scopes, token_lifetime)"
    " VALUES(?1, ?2, ?3, ?4)"};
const Statement kFind{
    "SELECT client_id, secret_hash, scopes, token_lifetime FROM clients WHERE client_id = ?1",
    Access::kLookup, "PRIMARY KEY"};
const Statement kList{
    "SELECT client_id, secret_hash, scopes, token_lifetime FROM clients ORDER BY client_id",
    Access::kListing};

Client read_client(const Query &q) {
  Client c;
  c.client_id = q.text(0);
  c.has_secret = !q.is_null(1);
  c.secret_digest = q.text(1);
  c.scopes = parse_scopes(q.text(2));
  c.token_lifetime = q.integer(3);
  return c;
}

}  // namespace

const SchemaArea &clients_schema() {
  static const SchemaArea area{
      "clients",
      {
          // 1
          "CREATE TABLE clients("
          "  client_id TEXT PRIMARY KEY,"
          "  secret_hash TEXT,"
          "  scopes TEXT NOT NULL DEFAULT '',"
          "  token_lifetime INTEGER NOT NULL);",
          // 2: looked up by client id only.
          "CREATE TABLE clients_v2("
          "  client_id TEXT PRIMARY KEY,"
          "  secret_hash TEXT,"
          "  scopes TEXT NOT NULL DEFAULT '',"
          "  token_lifetime INTEGER NOT NULL) WITHOUT ROWID;"
          "INSERT INTO clients_v2 SELECT client_id, secret_hash, scopes, token_lifetime"
          "  FROM clients;"
          "DROP TABLE clients;"
          "ALTER TABLE clients_v2 RENAME TO clients;",
      },
      {&kRegister, &kFind, &kList}};
  return area;
}

std::string Clients::secret_digest(const std::string &client_id, const std::string &secret) const {
  // The client id goes in too: one secret under two clients gives two digests.
  const std::string d = hash_.digest(kPurpose, client_id + '\0' + secret);
  return kDigestScheme + base64url_encode(reinterpret_cast<const uint8_t *>(d.data()), d.size());
}

Result<std::string> Clients::register_client(const NewClient &in) {
  if (!Users::valid_login_id(in.client_id))
    return Status::fail(errc::kInvalidParameter, "invalid client id");
  if (in.token_lifetime <= 0)
    return Status::fail(errc::kInvalidParameter, "token lifetime must be positive");
  const std::string secret = in.with_secret ? random_base64url(kClientSecretBytes) : "";
  Query q(db_, kRegister);
  q.bind(1, in.client_id);
  if (secret.empty())
    q.bind_null(2);
  else
    q.bind(2, secret_digest(in.client_id, secret));
  q.bind(3, join_scopes(in.scopes)).bind(4, in.token_lifetime);
  Status st = q.run();
  if (!st.ok()) return st;
  return secret;
}

Result<Client> Clients::find(const std::string &client_id) {
  Query q(db_, kFind);
  q.bind(1, client_id);
  Status st;
  if (q.next(&st)) return read_client(q);
  if (!st.ok()) return st;
  return Status::fail(errc::kUnknownClient, "no such client: " + client_id);
}

Status Clients::check_secret(const Client &client, const std::string &secret, bool required) const {
  if (required && secret.empty())
    return Status::fail(errc::kInvalidParameter, "client secret is required");
  if (secret.empty()) return Status::success();
  if (!client.has_secret) {
    if (!required) return Status::success();  // a secret for a client that has none is ignored
    return Status::fail(errc::kWrongClientSecret, "client has no secret: " + client.client_id);
  }
  const std::string &stored = client.secret_digest;
  bool match;
  if (stored.rfind(kDigestScheme, 0) == 0) {
    const std::string actual = secret_digest(client.client_id, secret);
    match = constant_time_equal(actual.data(), actual.size(), stored.data(), stored.size());
  } else {
    match = verify_password(secret, stored);  // a secret an earlier agent stored, slowly hashed
  }
  if (!match)
    return Status::fail(errc::kWrongClientSecret, "wrong secret for client " + client.client_id);
  return Status::success();
}

Status Clients::check_secret(const std::string &client_id, const std::string &secret,
                             bool required) {
  Result<Client> client = find(client_id);
  if (!client.ok()) {
    if (required && secret.empty())
      return Status::fail(errc::kInvalidParameter, "client secret is required");
    return client.status();
  }
  return check_secret(client.value(), secret, required);
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
  Query q(db_, kList);
  std::vector<Client> clients;
  Status st;
  while (q.next(&st)) clients.push_back(read_client(q));
  if (!st.ok()) return st;
  return clients;
}

}  // namespace vagent
