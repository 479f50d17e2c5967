// SPDX-License-Identifier: Apache-2.0
// Velmora agent: second factors (enrolment, one-time SMS numbers, trusted devices).
#include "second_factor.hh"

#include "config.hh"
#include "secure_random.hh"

namespace vagent {

namespace {

constexpr const char *kTokenPurpose = "authenticate_token";
constexpr const char *kNumberPurpose = "auth_number";

const Statement kEnrol{
    "INSERT OR REPLACE INTO second_factor_users(login_id, phone) VALUES(?1, ?2)"};
const Statement kWithdraw{"DELETE FROM second_factor_users WHERE login_id = ?1", Access::kLookup,
                          "PRIMARY KEY"};
const Statement kPhone{"SELECT phone FROM second_factor_users WHERE login_id = ?1", Access::kLookup,
                       "PRIMARY KEY"};
const Statement kChallenge{
    "SELECT token_digest, token_expires_at, salt, number_digest, number_expires_at,"
    " attempts_left, sent, window_start FROM auth_challenges WHERE login_id = ?1",
    Access::kLookup, "PRIMARY KEY"};
const Statement kStoreChallenge{
    "INSERT OR REPLACE INTO auth_challenges(login_id, token_digest, token_expires_at, salt,"
    " number_digest, number_expires_at, attempts_left, sent, window_start)"
    " VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)"};
const Statement kDropChallenge{"DELETE FROM auth_challenges WHERE login_id = ?1", Access::kLookup,
                               "PRIMARY KEY"};
const Statement kTrust{
    "INSERT OR REPLACE INTO trusted_devices(login_id, trusted_until) VALUES(?1, ?2)"};
const Statement kTrusted{"SELECT trusted_until FROM trusted_devices WHERE login_id = ?1",
                         Access::kLookup, "PRIMARY KEY"};
const Statement kUntrust{"DELETE FROM trusted_devices WHERE login_id = ?1", Access::kLookup,
                         "PRIMARY KEY"};

bool is_foreign_key_failure(int rc) { return rc == SQLITE_CONSTRAINT_FOREIGNKEY; }

}  // namespace

const SchemaArea &second_factor_schema() {
  static const SchemaArea area{
      "second_factor",
      {
          // 1
          "CREATE TABLE second_factor_users("
          "  login_id TEXT PRIMARY KEY REFERENCES users(login_id) ON DELETE CASCADE,"
          "  phone TEXT NOT NULL) WITHOUT ROWID;"
          "CREATE TABLE auth_challenges("
          "  login_id TEXT PRIMARY KEY REFERENCES users(login_id) ON DELETE CASCADE,"
          "  token_digest BLOB NOT NULL,"
          "  token_expires_at INTEGER NOT NULL,"
          "  salt BLOB NOT NULL,"
          "  number_digest BLOB NOT NULL,"
          "  number_expires_at INTEGER NOT NULL,"
          "  attempts_left INTEGER NOT NULL,"
          "  sent INTEGER NOT NULL,"
          "  window_start INTEGER NOT NULL) WITHOUT ROWID;"
          "CREATE TABLE trusted_devices("
          "  login_id TEXT PRIMARY KEY REFERENCES users(login_id) ON DELETE CASCADE,"
          "  trusted_until INTEGER NOT NULL) WITHOUT ROWID;",
      },
      {&kEnrol, &kWithdraw, &kPhone, &kChallenge, &kStoreChallenge, &kDropChallenge, &kTrust,
       &kTrusted, &kUntrust},
      // A signed-out account has nothing pending; its enrolment and trust stay with the user.
      &kDropChallenge};
  return area;
}

bool SecondFactor::valid_phone(const std::string &phone) {
  if (phone.empty() || phone.size() > 32) return false;
  for (unsigned char c : phone)
    if (c < 0x20 || c >= 0x7f) return false;
  return true;
}

Status SecondFactor::enrol(const std::string &login_id, const std::string &phone) {
  if (login_id.empty() || !valid_phone(phone))
    return Status::fail(errc::kInvalidParameter, "a login id and a phone number are required");
  Query q(db_, kEnrol);
  q.bind(1, login_id).bind(2, phone);
  const int rc = q.step();
  if (is_foreign_key_failure(rc))
    return Status::fail(errc::kUnknownUser, "no such user: " + login_id);
  if (rc != SQLITE_DONE) return db_.failure(rc, "enrol second factor");
  return Status::success();
}

Status SecondFactor::withdraw(const std::string &login_id) {
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  for (const Statement *s : {&kWithdraw, &kDropChallenge, &kUntrust}) {
    Query q(db_, *s);
    q.bind(1, login_id);
    Status st = q.run();
    if (!st.ok()) return st;
  }
  return tx.commit();
}

Result<std::optional<std::string>> SecondFactor::phone_of(const std::string &login_id) {
  Query q(db_, kPhone);
  q.bind(1, login_id);
  Status st;
  std::optional<std::string> phone;
  if (q.next(&st)) phone = q.text(0);
  if (!st.ok()) return st;
  return phone;
}

Result<std::optional<SecondFactor::Challenge>> SecondFactor::read(const std::string &login_id) {
  Query q(db_, kChallenge);
  q.bind(1, login_id);
  Status st;
  std::optional<Challenge> c;
  if (q.next(&st)) {
    c.emplace();
    c->token_digest = q.blob(0);
    c->token_expires_at = q.integer(1);
    c->salt = q.blob(2);
    c->number_digest = q.blob(3);
    c->number_expires_at = q.integer(4);
    c->attempts_left = static_cast<int>(q.integer(5));
    c->sent = static_cast<int>(q.integer(6));
    c->window_start = q.integer(7);
  }
  if (!st.ok()) return st;
  return c;
}

Status SecondFactor::store(const std::string &login_id, const Challenge &c) {
  Query q(db_, kStoreChallenge);
  q.bind(1, login_id).bind_blob(2, c.token_digest.data(), c.token_digest.size());
  q.bind(3, c.token_expires_at).bind_blob(4, c.salt.data(), c.salt.size());
  q.bind_blob(5, c.number_digest.data(), c.number_digest.size()).bind(6, c.number_expires_at);
  q.bind(7, static_cast<int64_t>(c.attempts_left)).bind(8, static_cast<int64_t>(c.sent));
  q.bind(9, c.window_start);
  const int rc = q.step();
  if (is_foreign_key_failure(rc))
    return Status::fail(errc::kUnknownUser, "no such user: " + login_id);
  if (rc != SQLITE_DONE) return db_.failure(rc, "store second factor");
  return Status::success();
}

Status SecondFactor::drop(const std::string &login_id) {
  Query q(db_, kDropChallenge);
  q.bind(1, login_id);
  return q.run();
}

Result<std::string> SecondFactor::issue_token(const std::string &login_id) {
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  Result<std::optional<Challenge>> existing = read(login_id);
  if (!existing.ok()) return existing.status();
  Challenge c = existing->value_or(Challenge{});
  const std::string token = random_base64url(kAuthenticateTokenBytes);
  c.token_digest = hash_.digest(kTokenPurpose, token);
  c.token_expires_at = clock_.now() + kAuthNumberLifetime;
  Status st = store(login_id, c);
  if (!st.ok()) return st;
  if (!(st = tx.commit()).ok()) return st;
  return token;
}

Result<std::string> SecondFactor::new_number(const std::string &login_id) {
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  Result<std::optional<Challenge>> existing = read(login_id);
  if (!existing.ok()) return existing.status();
  Challenge c = existing->value_or(Challenge{});
  const int64_t now = clock_.now();
  if (now - c.window_start >= kAuthNumberWindow) {
    c.sent = 0;
    c.window_start = now;
  }
  if (c.sent >= kMaxAuthNumbersPerWindow)
    return Status::fail(errc::kTooManyAuthNumbers, "too many SMS numbers for " + login_id);
  const std::string number = random_digits(kAuthNumberDigits);
  const std::vector<uint8_t> salt = secure_random_bytes(kAuthNumberSaltBytes);
  c.salt.assign(salt.begin(), salt.end());
  c.number_digest = hash_.digest(kNumberPurpose, c.salt + number);
  c.number_expires_at = now + kAuthNumberLifetime;
  c.attempts_left = kMaxAuthNumberAttempts;
  ++c.sent;
  Status st = store(login_id, c);
  if (!st.ok()) return st;
  if (!(st = tx.commit()).ok()) return st;
  return number;
}

Status SecondFactor::verify(const std::string &login_id, const std::optional<std::string> &token,
                            const std::string &number) {
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  Result<std::optional<Challenge>> existing = read(login_id);
  if (!existing.ok()) return existing.status();
  if (!existing.value() || existing.value()->number_digest.empty())
    return Status::fail(errc::kNoAuthNumber, "no SMS number was requested for " + login_id);
  Challenge c = *existing.value();
  const int64_t now = clock_.now();
  if (token && (c.token_digest.empty() || now >= c.token_expires_at ||
                !hash_.matches(kTokenPurpose, *token, c.token_digest)))
    return Status::fail(errc::kWrongAuthenticateToken, "authenticate token does not match");
  if (now >= c.number_expires_at || c.attempts_left <= 0)
    return Status::fail(errc::kAuthNumberExpired, "SMS number expired or used up");
  if (!hash_.matches(kNumberPurpose, c.salt + number, c.number_digest)) {
    --c.attempts_left;
    Status st = store(login_id, c);
    if (!st.ok()) return st;
    if (!(st = tx.commit()).ok()) return st;
    return Status::fail(errc::kWrongAuthNumber,
                        "wrong SMS number, attempts left: " + std::to_string(c.attempts_left));
  }
  Status st = drop(login_id);
  if (!st.ok()) return st;
  return tx.commit();
}

Status SecondFactor::trust_device(const std::string &login_id) {
  Query q(db_, kTrust);
  q.bind(1, login_id).bind(2, clock_.now() + kTrustedDeviceLifetime);
  const int rc = q.step();
  if (is_foreign_key_failure(rc))
    return Status::fail(errc::kUnknownUser, "no such user: " + login_id);
  if (rc != SQLITE_DONE) return db_.failure(rc, "trust device");
  return Status::success();
}

Result<bool> SecondFactor::device_trusted(const std::string &login_id) {
  Query q(db_, kTrusted);
  q.bind(1, login_id);
  Status st;
  bool trusted = false;
  if (q.next(&st)) trusted = q.integer(0) > clock_.now();
  if (!st.ok()) return st;
  return trusted;
}

}  // namespace vagent
