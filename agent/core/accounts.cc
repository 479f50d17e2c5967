// SPDX-License-Identifier: Apache-2.0
// Velmora agent: signed-in accounts and the default account.
#include "accounts.hh"

#include <algorithm>

#include "device.hh"
#include "store_mirror.hh"

namespace vagent {

namespace {

// The first account signed in becomes the default; a unique partial index keeps at most one.
const Statement kMarkSignedIn{
    "INSERT INTO signed_in(login_id, signed_in_at, is_default)"
    " SELECT ?1, ?2, NOT EXISTS(SELECT 1 FROM signed_in WHERE is_default = 1)"
    " WHERE NOT EXISTS(SELECT 1 FROM signed_in WHERE login_id = ?1)",
    Access::kLookup, "signed_in_by_login"};
const Statement kIsDefault{"SELECT is_default FROM signed_in WHERE login_id = ?1", Access::kLookup,
                           "signed_in_by_login"};
const Statement kForget{"DELETE FROM signed_in WHERE login_id = ?1", Access::kLookup,
                        "signed_in_by_login"};
// The earliest account left.
const Statement kPromoteEarliest{
    "UPDATE signed_in SET is_default = 1 WHERE seq = (SELECT MIN(seq) FROM signed_in)",
    Access::kLookup, "INTEGER PRIMARY KEY"};
const Statement kClearDefault{"UPDATE signed_in SET is_default = 0 WHERE is_default = 1",
                              Access::kLookup, "signed_in_default"};
const Statement kSetDefault{"UPDATE signed_in SET is_default = 1 WHERE login_id = ?1",
                            Access::kLookup, "signed_in_by_login"};
const Statement kIsSignedIn{"SELECT 1 FROM signed_in WHERE login_id = ?1", Access::kLookup,
                            "signed_in_by_login"};
const Statement kSignedInUser{
    "SELECT " VAGENT_USER_COLUMNS("u.") ", s.seq IS NOT NULL"
    " FROM users AS u LEFT JOIN signed_in AS s ON s.login_id = u.login_id WHERE u.login_id = ?1",
    Access::kLookup, "signed_in_by_login"};
const Statement kDefault{"SELECT login_id FROM signed_in WHERE is_default = 1", Access::kLookup,
                         "signed_in_default"};
// The handful of accounts of a device, in sign-in order.
const Statement kList{"SELECT login_id, is_default, signed_in_at FROM signed_in ORDER BY seq",
                      Access::kListing};

}  // namespace

const SchemaArea &accounts_schema() {
  static const SchemaArea area{
      "accounts",
      {
          // 1
          "CREATE TABLE signed_in("
          "  seq INTEGER PRIMARY KEY AUTOINCREMENT,"
          "  login_id TEXT NOT NULL UNIQUE REFERENCES users(login_id) ON DELETE CASCADE,"
          "  signed_in_at INTEGER NOT NULL,"
          "  is_default INTEGER NOT NULL DEFAULT 0);",
          // 2: sign-in order is the rowid's (a new row always gets the highest); one named index
          // per lookup: by login id, and the default account.
          "CREATE TABLE signed_in_v2("
          "  seq INTEGER PRIMARY KEY,"
          "  login_id TEXT NOT NULL REFERENCES users(login_id) ON DELETE CASCADE,"
          "  signed_in_at INTEGER NOT NULL,"
          "  is_default INTEGER NOT NULL DEFAULT 0);"
          "INSERT INTO signed_in_v2 SELECT seq, login_id, signed_in_at, is_default FROM signed_in;"
          "DROP TABLE signed_in;"
          "DELETE FROM sqlite_sequence WHERE name = 'signed_in';"
          "ALTER TABLE signed_in_v2 RENAME TO signed_in;"
          "CREATE UNIQUE INDEX signed_in_by_login ON signed_in(login_id);"
          "CREATE UNIQUE INDEX signed_in_default ON signed_in(is_default) WHERE is_default = 1;",
      },
      {&kMarkSignedIn, &kIsDefault, &kForget, &kPromoteEarliest, &kClearDefault, &kSetDefault,
       &kIsSignedIn, &kSignedInUser, &kDefault, &kList},
      &kForget};
  return area;
}

Result<User> Accounts::sign_in(const std::string &login_id, const std::string &password) {
  if (login_id.empty() || password.empty())
    return Status::fail(errc::kInvalidParameter, "login id and password are required");
  Status st = users_.verify_password(login_id, password);
  if (!st.ok()) return st;
  return sign_in_verified(login_id);
}

Result<User> Accounts::sign_in_verified(const std::string &login_id) {
  if (login_id.empty()) return Status::fail(errc::kInvalidParameter, "login id is required");
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user;
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  Status st = mark_signed_in(login_id);
  if (!st.ok()) return st;
  st = commit_mirrored(tx);
  if (!st.ok()) return st;
  return user;
}

Status Accounts::mark_signed_in(const std::string &login_id) {
  Query ins(db_, kMarkSignedIn);
  ins.bind(1, login_id).bind(2, clock_.now());
  return ins.run();
}

Status Accounts::sign_out(const std::string &login_id) {
  if (login_id.empty()) return Status::fail(errc::kInvalidParameter, "login id is required");
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  {
    bool was_default = false;
    {
      Query q(db_, kIsDefault);
      q.bind(1, login_id);
      Status st;
      if (!q.next(&st)) {
        if (!st.ok()) return st;
        return Status::fail(errc::kNeedSignIn, "not signed in: " + login_id);
      }
      was_default = q.integer(0) != 0;
    }
    // The account's credentials go with it: every area forgets what it keeps for the account.
    for (const SchemaArea *area : schema_areas()) {
      if (!area->forget_account) continue;
      Query q(db_, *area->forget_account);
      q.bind(1, login_id);
      Status st = q.run();
      if (!st.ok()) return st;
    }
    if (was_default) {
      Query q(db_, kPromoteEarliest);
      Status st = q.run();
      if (!st.ok()) return st;
    }
    return commit_mirrored(tx);
  }
}

Status Accounts::require_signed_in(const std::string &login_id) {
  Result<User> user = signed_in_user(login_id);
  return user.ok() ? Status::success() : user.status();
}

Result<User> Accounts::signed_in_user(const std::string &login_id) {
  if (login_id.empty()) return Status::fail(errc::kInvalidParameter, "login id is required");
  Query q(db_, kSignedInUser);
  q.bind(1, login_id);
  Status st;
  if (!q.next(&st)) {
    if (!st.ok()) return st;
    return Status::fail(errc::kUnknownUser, "no such user: " + login_id);
  }
  if (q.integer(kUserColumnCount) == 0)
    return Status::fail(errc::kNeedSignIn, "not signed in: " + login_id);
  return read_user(q);
}

Result<bool> Accounts::is_signed_in(const std::string &login_id) {
  Query q(db_, kIsSignedIn);
  q.bind(1, login_id);
  Status st;
  bool found = q.next(&st);
  if (!st.ok()) return st;
  return found;
}

Result<bool> Accounts::any_signed_in() {
  // There is a default account exactly when some account is signed in.
  Query q(db_, kDefault);
  Status st;
  bool found = q.next(&st);
  if (!st.ok()) return st;
  return found;
}

Result<std::vector<SignedInAccount>> Accounts::list() {
  Query q(db_, kList);
  std::vector<SignedInAccount> out;
  Status st;
  while (q.next(&st)) out.push_back({q.text(0), q.integer(1) != 0, q.integer(2)});
  if (!st.ok()) return st;
  return out;
}

Result<std::string> Accounts::default_account() {
  Query q(db_, kDefault);
  Status st;
  if (q.next(&st)) return q.text(0);
  if (!st.ok()) return st;
  return Status::fail(errc::kNeedSignIn, "no account is signed in");
}

Status Accounts::set_default(const std::string &login_id) {
  Status st = require_signed_in(login_id);
  if (!st.ok()) return st;
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  {
    Query clear(db_, kClearDefault);
    if (!(st = clear.run()).ok()) return st;
  }
  {
    Query set(db_, kSetDefault);
    set.bind(1, login_id);
    if (!(st = set.run()).ok()) return st;
  }
  return commit_mirrored(tx);
}

Status Accounts::commit_mirrored(Transaction &tx) {
  Status st = sync_store();
  if (!st.ok()) return st;  // the transaction rolls back: neither side changed
  st = tx.commit();
  // The store took the change but the state did not: put the store back as the state is.
  if (!st.ok()) (void)sync_store();
  return st;
}

Status Accounts::sync_store() {
  Result<std::vector<SignedInAccount>> accounts = list();
  if (!accounts.ok()) return accounts.status();
  std::vector<MirroredAccount> mirror;
  for (const SignedInAccount &a : accounts.value()) mirror.push_back({a.login_id, a.is_default});
  if (is_tv_profile()) {
    // On a TV the first record is the default one.
    std::stable_partition(mirror.begin(), mirror.end(),
                          [](const MirroredAccount &m) { return m.is_default; });
  }
  return mirror_to_store(store_package(), mirror);
}

}  // namespace vagent
