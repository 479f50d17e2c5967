// Velmora agent: authorization codes.
#include "codes.hh"

#include "config.hh"
#include "secure_random.hh"

namespace vagent {

const char *code_kind_name(CodeKind kind) {
  return kind == CodeKind::kEffortless ? "effortless" : "authcode";
}

Result<IssuedCode> Codes::issue(CodeKind kind, const CodeRequest &r) {
  if (r.login_id.empty() || r.client_id.empty())
    return Status::fail(errc::kInvalidParameter, "login id and client id are required");
  Status st = accounts_.require_signed_in(r.login_id);
  if (!st.ok()) return st;
  Result<Client> client = clients_.find(r.client_id);
  if (!client.ok()) return client.status();
  Result<std::string> scope = clients_.grant_scope(client.value(), r.scope);
  if (!scope.ok()) return scope.status();
  Result<User> user = users_.find(r.login_id);
  if (!user.ok()) return user.status();

  IssuedCode c;
  c.code = random_base64url(kCodeBytes);
  c.kind = kind;
  c.issue_time = clock_.now();
  c.expires_in = kind == CodeKind::kEffortless ? kEffortlessCodeLifetime : kAuthCodeLifetime;
  c.scope = scope.value();
  c.login_id = r.login_id;
  c.client_id = r.client_id;
  c.user_id = user->user_id;
  c.country_code = user->country_code;
  c.mcc = user->mcc;
  c.api_server_url = user->api_server_url;
  c.auth_server_url = user->auth_server_url;

  Query q(db_,
          "INSERT INTO codes(code_hash, kind, login_id, client_id, scope, device_code, issue_time,"
          " expires_in) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)");
  q.bind(1, sha256_hex(c.code)).bind(2, std::string(code_kind_name(kind))).bind(3, c.login_id);
  q.bind(4, c.client_id).bind(5, c.scope).bind(6, r.device_unique_code).bind(7, c.issue_time);
  q.bind(8, c.expires_in);
  if (!(st = q.run()).ok()) return st;
  return c;
}

Result<RedeemedCode> Codes::redeem(CodeKind kind, const std::string &code,
                                   const std::string &client_id, const std::string &login_id) {
  if (code.empty()) return Status::fail(errc::kInvalidParameter, "code is required");
  const std::string hash = sha256_hex(code);
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  RedeemedCode out;
  int64_t issue_time = 0, expires_in = 0;
  bool used = false;
  {
    Query q(db_,
            "SELECT login_id, client_id, scope, device_code, issue_time, expires_in, used"
            " FROM codes WHERE code_hash = ?1 AND kind = ?2");
    q.bind(1, hash).bind(2, std::string(code_kind_name(kind)));
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
  Query q(db_, "UPDATE codes SET used = 1 WHERE code_hash = ?1");
  q.bind(1, hash);
  Status st = q.run();
  if (!st.ok()) return st;
  if (!(st = tx.commit()).ok()) return st;
  return out;
}

Result<int64_t> Codes::pending_count() {
  Query q(db_, "SELECT COUNT(*) FROM codes WHERE used = 0 AND issue_time + expires_in > ?1");
  q.bind(1, clock_.now());
  Status st;
  if (!q.next(&st)) return st.ok() ? Status::fail(errc::kDbFailed, "count failed") : st;
  return q.integer(0);
}

}  // namespace vagent
