// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the lock-out of login ids after wrong passwords.
#include "sign_in_guard.hh"

#include "config.hh"
#include "dlog.h"

namespace vagent {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";

const Statement kFind{
    "SELECT failures, window_start, locked_until FROM password_failures WHERE login_id = ?1",
    Access::kLookup, "PRIMARY KEY"};
const Statement kStore{
    "INSERT OR REPLACE INTO password_failures(login_id, failures, window_start, locked_until)"
    " VALUES(?1, ?2, ?3, ?4)"};
const Statement kClear{"DELETE FROM password_failures WHERE login_id = ?1", Access::kLookup,
                       "PRIMARY KEY"};

}  // namespace

const SchemaArea &sign_in_guard_schema() {
  static const SchemaArea area{
      "sign_in_guard",
      {
          // 1
          "CREATE TABLE password_failures("
          "  login_id TEXT PRIMARY KEY REFERENCES users(login_id) ON DELETE CASCADE,"
          "  failures INTEGER NOT NULL,"
          "  window_start INTEGER NOT NULL,"
          "  locked_until INTEGER NOT NULL DEFAULT 0) WITHOUT ROWID;",
      },
      {&kFind, &kStore, &kClear}};
  return area;
}

Result<SignInGuard::Record> SignInGuard::read(const std::string &login_id) {
  Query q(db_, kFind);
  q.bind(1, login_id);
  Status st;
  Record r;
  if (q.next(&st)) {
    r.failures = static_cast<int>(q.integer(0));
    r.window_start = q.integer(1);
    r.locked_until = q.integer(2);
  }
  if (!st.ok()) return st;
  return r;
}

Status SignInGuard::check_password(const std::string &login_id, const std::string &password) {
  if (login_id.empty() || password.empty())
    return Status::fail(errc::kInvalidParameter, "login id and password are required");
  Result<Record> record = read(login_id);
  if (!record.ok()) return record.status();
  const int64_t now = clock_.now();
  if (record->locked_until > now)
    return Status::fail(errc::kAccountLocked, "locked after wrong passwords: " + login_id);

  Status st = users_.verify_password(login_id, password);
  if (st.ok()) {
    if (record->failures > 0 || record->locked_until > 0) {
      Query q(db_, kClear);
      q.bind(1, login_id);
      Status cleared = q.run();
      if (!cleared.ok()) return cleared;
    }
    return st;
  }
  if (st.code != errc::kWrongPassword) return st;

  Record r = record.value();
  if (r.locked_until > 0 || now - r.window_start >= kPasswordFailureWindow) {
    r = Record{};  // a lock that ran out, or a window that passed, starts the count afresh
    r.window_start = now;
  }
  ++r.failures;
  if (r.failures >= kMaxPasswordFailures) r.locked_until = now + kLockoutSeconds;
  Status stored = record_failure(login_id, r);
  if (!stored.ok()) return stored;
  if (r.locked_until > 0) {
    dlog_print(DLOG_WARN, kLogTag, "sign-in: %s locked for %lld s after %d wrong passwords",
               login_id.c_str(), static_cast<long long>(kLockoutSeconds), r.failures);
    return Status::fail(errc::kAccountLocked, "locked after wrong passwords: " + login_id);
  }
  return st;
}

Status SignInGuard::record_failure(const std::string &login_id, Record r) {
  Query q(db_, kStore);
  q.bind(1, login_id).bind(2, static_cast<int64_t>(r.failures)).bind(3, r.window_start);
  q.bind(4, r.locked_until);
  return q.run();
}

Result<int64_t> SignInGuard::locked_until(const std::string &login_id) {
  Result<Record> r = read(login_id);
  if (!r.ok()) return r.status();
  return r->locked_until > clock_.now() ? r->locked_until : 0;
}

Result<int> SignInGuard::failures(const std::string &login_id) {
  Result<Record> r = read(login_id);
  if (!r.ok()) return r.status();
  return r->failures;
}

Status SignInGuard::unlock(const std::string &login_id) {
  Query q(db_, kClear);
  q.bind(1, login_id);
  return q.run();
}

}  // namespace vagent
