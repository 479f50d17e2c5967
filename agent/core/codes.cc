// SPDX-License-Identifier: Apache-2.0
// Velmora agent: authorization codes.
#include "codes.hh"

#include "config.hh"
#include "secure_random.hh"

namespace vagent {

namespace {

constexpr const char *kPurpose = "code";

const Statement kInsert{
    "INSERT INTO codes(digest, kind, login_id, client_id, scope, device_code, issue_time,"
    " expires_in) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)"};
// Codes of the pair past their retention.
const Statement kPrune{
    "DELETE FROM codes WHERE login_id = ?1 AND client_id = ?2 AND issue_time + expires_in <= ?3",
    Access::kLookup, "codes_owner"};
const Statement kFind{
    "SELECT login_id, client_id, scope, device_code, issue_time, expires_in, used"
    " FROM codes WHERE digest = ?1 AND kind = ?2",
    Access::kLookup, "PRIMARY KEY"};
const Statement kUse{"UPDATE codes SET used = 1 WHERE digest = ?1", Access::kLookup, "PRIMARY KEY"};
const Statement kForget{"DELETE FROM codes WHERE login_id = ?1", Access::kLookup, "codes_owner"};
const Statement kPending{
    "SELECT COUNT(*) FROM codes WHERE used = 0 AND issue_time + expires_in > ?1", Access::kListing};

}  // namespace

const SchemaArea &codes_schema() {
  static const SchemaArea area{
      "codes",
      {
          // 1
          "CREATE TABLE codes("
          "  code_hash TEXT PRIMARY KEY,"
          "  kind TEXT NOT NULL,"
          "  login_id TEXT NOT NULL,"
          "  client_id TEXT NOT NULL,"
          "  scope TEXT NOT NULL,"
          "  device_code TEXT NOT NULL DEFAULT '',"
          "  issue_time INTEGER NOT NULL,"
          "  expires_in INTEGER NOT NULL,"
          "  used INTEGER NOT NULL DEFAULT 0);",
          // 2: found by digest (the table is that key's b-tree) and pruned per owner. Codes of
          // layout 1 (a different digest, ten minutes of life) go.
          "DROP TABLE codes;"
          "CREATE TABLE codes("
          "  digest BLOB PRIMARY KEY,"
          "  kind TEXT NOT NULL,"
          "  login_id TEXT NOT NULL,"
          "  client_id TEXT NOT NULL,"
          "  scope TEXT NOT NULL,"
          "  device_code TEXT NOT NULL DEFAULT '',"
          "  issue_time INTEGER NOT NULL,"
          "  expires_in INTEGER NOT NULL,"
          "  used INTEGER NOT NULL DEFAULT 0) WITHOUT ROWID;"
          "CREATE INDEX codes_owner ON codes(login_id, client_id);",
      },
      {&kInsert, &kPrune, &kFind, &kUse, &kForget, &kPending},
      &kForget};
  return area;
}

const char *code_kind_name(CodeKind kind) {
  return kind == CodeKind::kEffortless ? "effortless" : "authcode";
}

Result<IssuedCode> Codes::issue(CodeKind kind, const CodeRequest &r) {
  if (r.login_id.empty() || r.client_id.empty())
    return Status::fail(errc::kInvalidParameter, "login id and client id are required");
  Transaction tx(db_);  // the request's reads and writes under one lock
  if (!tx.status().ok()) return tx.status();
  Result<User> user = accounts_.signed_in_user(r.login_id);
  if (!user.ok()) return user.status();
  Result<Client> client = clients_.find(r.client_id);
  if (!client.ok()) return client.status();
  Result<std::string> scope = clients_.grant_scope(client.value(), r.scope);
  if (!scope.ok()) return scope.status();
  Result<IssuedCode> issued = store_new(kind, user.value(), client.value(), scope.value(), r);
  if (!issued.ok()) return issued;
  if (Status st = tx.commit(); !st.ok()) return st;
  return issued;
}

Result<IssuedCode> Codes::issue_for_device(const User &user, const CodeRequest &r) {
  if (r.client_id.empty() || r.device_unique_code.empty())
    return Status::fail(errc::kInvalidParameter, "client id and device security code are required");
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  Result<Client> client = clients_.find(r.client_id);
  if (!client.ok()) return client.status();
  Result<std::string> scope = clients_.grant_scope(client.value(), r.scope);
  if (!scope.ok()) return scope.status();
  Result<IssuedCode> issued =
      store_new(CodeKind::kAuthCode, user, client.value(), scope.value(), r);
  if (!issued.ok()) return issued;
  if (Status st = tx.commit(); !st.ok()) return st;
  return issued;
}

Result<IssuedCode> Codes::store_new(CodeKind kind, const User &user, const Client &client,
                                    const std::string &scope, const CodeRequest &r) {
  IssuedCode c;
  c.code = random_base64url(kCodeBytes);
  c.kind = kind;
  c.issue_time = clock_.now();
  c.expires_in = kind == CodeKind::kEffortless ? kEffortlessCodeLifetime : kAuthCodeLifetime;
  c.scope = scope;
  c.login_id = user.login_id;
  c.client_id = client.client_id;
  c.user_id = user.user_id;
  c.country_code = user.country_code;
  c.mcc = user.mcc;
  c.api_server_url = user.api_server_url;
  c.auth_server_url = user.auth_server_url;

  Status st;
  {
    Query prune(db_, kPrune);
    prune.bind(1, c.login_id).bind(2, c.client_id).bind(3, c.issue_time - kCodeRetention);
    if (!(st = prune.run()).ok()) return st;
  }
  {
    const std::string digest = hash_.digest(kPurpose, c.code);
    Query q(db_, kInsert);
    q.bind_blob(1, digest.data(), digest.size()).bind(2, std::string(code_kind_name(kind)));
    q.bind(3, c.login_id).bind(4, c.client_id).bind(5, c.scope).bind(6, r.device_unique_code);
    q.bind(7, c.issue_time).bind(8, c.expires_in);
    if (!(st = q.run()).ok()) return st;
  }
  return c;
}

Result<RedeemedCode> Codes::redeem(CodeKind kind, const std::string &code,
                                   const std::string &client_id, const std::string &login_id,
                                   const std::optional<std::string> &device_code) {
  if (code.empty()) return Status::fail(errc::kInvalidParameter, "code is required");
  const std::string digest = hash_.digest(kPurpose, code);
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  RedeemedCode out;
  int64_t issue_time = 0, expires_in = 0;
  bool used = false;
  {
    Query q(db_, kFind);
    q.bind_blob(1, digest.data(), digest.size()).bind(2, std::string(code_kind_name(kind)));
    Status st;
    if (!q.next(&st)) {
      if (!st.ok()) return st;
      return Status::fail(errc::kUnknownCode, std::string("unknown ") + code_kind_name(kind));
    }
    out.kind = kind;
    out.login_id = q.text(0);
    out.client_id = q.text(1);
    out.scope = q.text(2);
    out.device_unique_code = q.text(3);
    issue_time = q.integer(4);
    expires_in = q.integer(5);
    used = q.integer(6) != 0;
  }
  if (used) return Status::fail(errc::kCodeAlreadyUsed, "code was used before");
  if (clock_.now() >= issue_time + expires_in)
    return Status::fail(errc::kCodeExpired, "code expired");
  if (!client_id.empty() && client_id != out.client_id)
    return Status::fail(errc::kCodeClientMismatch, "code was issued to another client");
  if (!login_id.empty() && login_id != out.login_id)
    return Status::fail(errc::kCodeAccountMismatch, "code was issued for another login id");
  if (device_code && (out.device_unique_code.empty() || *device_code != out.device_unique_code))
    return Status::fail(errc::kCodeDeviceMismatch, "code was issued for another device");
  Query q(db_, kUse);
  q.bind_blob(1, digest.data(), digest.size());
  Status st = q.run();
  if (!st.ok()) return st;
  if (!(st = tx.commit()).ok()) return st;
  return out;
}

Result<int64_t> Codes::pending_count() {
  Query q(db_, kPending);
  q.bind(1, clock_.now());
  Status st;
  if (!q.next(&st)) return st.ok() ? Status::fail(errc::kDbFailed, "count failed") : st;
  return q.integer(0);
}

}  // namespace vagent
