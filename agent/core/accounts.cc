// Velmora agent: signed-in accounts and the default account.
#include "accounts.hh"

#include <algorithm>

#include "device.hh"
#include "store_mirror.hh"

namespace vagent {

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
  Status st = mark_signed_in(login_id);
  if (!st.ok()) return st;
  st = sync_store();
  if (!st.ok()) return st;
  return user;
}

Status Accounts::mark_signed_in(const std::string &login_id) {
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  Query ins(db_,
            "INSERT INTO signed_in(login_id, signed_in_at, is_default)"
            " SELECT ?1, ?2, NOT EXISTS(SELECT 1 FROM signed_in)"
            " WHERE NOT EXISTS(SELECT 1 FROM signed_in WHERE login_id = ?1)");
  ins.bind(1, login_id).bind(2, clock_.now());
  Status st = ins.run();
  if (!st.ok()) return st;
  return tx.commit();
}

Status Accounts::sign_out(const std::string &login_id) {
  if (login_id.empty()) return Status::fail(errc::kInvalidParameter, "login id is required");
  {
    Transaction tx(db_);
    if (!tx.status().ok()) return tx.status();
    bool was_default = false;
    {
      Query q(db_, "SELECT is_default FROM signed_in WHERE login_id = ?1");
      q.bind(1, login_id);
      Status st;
      if (!q.next(&st)) {
        if (!st.ok()) return st;
        return Status::fail(errc::kNeedSignIn, "not signed in: " + login_id);
      }
      was_default = q.integer(0) != 0;
    }
    // The account's credentials go with it.
    static const char *const kForget[] = {
        "DELETE FROM signed_in WHERE login_id = ?1",
        "DELETE FROM access_tokens WHERE login_id = ?1",
        "DELETE FROM refresh_tokens WHERE login_id = ?1",
        "DELETE FROM codes WHERE login_id = ?1",
    };
    for (const char *sql : kForget) {
      Query q(db_, sql);
      q.bind(1, login_id);
      Status st = q.run();
      if (!st.ok()) return st;
    }
    if (was_default) {
      Query q(db_,
              "UPDATE signed_in SET is_default = 1"
              " WHERE seq = (SELECT MIN(seq) FROM signed_in)");
      Status st = q.run();
      if (!st.ok()) return st;
    }
    Status st = tx.commit();
    if (!st.ok()) return st;
  }
  return sync_store();
}

Status Accounts::require_signed_in(const std::string &login_id) {
  if (login_id.empty()) return Status::fail(errc::kInvalidParameter, "login id is required");
  Result<bool> signed_in = is_signed_in(login_id);
  if (!signed_in.ok()) return signed_in.status();
  if (signed_in.value()) return Status::success();
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  return Status::fail(errc::kNeedSignIn, "not signed in: " + login_id);
}

Result<bool> Accounts::is_signed_in(const std::string &login_id) {
  Query q(db_, "SELECT 1 FROM signed_in WHERE login_id = ?1");
  q.bind(1, login_id);
  Status st;
  bool found = q.next(&st);
  if (!st.ok()) return st;
  return found;
}

Result<bool> Accounts::any_signed_in() {
  Query q(db_, "SELECT 1 FROM signed_in LIMIT 1");
  Status st;
  bool found = q.next(&st);
  if (!st.ok()) return st;
  return found;
}

Result<std::vector<SignedInAccount>> Accounts::list() {
  Query q(db_, "SELECT login_id, is_default, signed_in_at FROM signed_in ORDER BY seq");
  std::vector<SignedInAccount> out;
  Status st;
  while (q.next(&st)) out.push_back({q.text(0), q.integer(1) != 0, q.integer(2)});
  if (!st.ok()) return st;
  return out;
}

Result<std::string> Accounts::default_account() {
  Query q(db_, "SELECT login_id FROM signed_in WHERE is_default = 1 ORDER BY seq LIMIT 1");
  Status st;
  if (q.next(&st)) return q.text(0);
  if (!st.ok()) return st;
  return Status::fail(errc::kNeedSignIn, "no account is signed in");
}

Status Accounts::set_default(const std::string &login_id) {
  Status st = require_signed_in(login_id);
  if (!st.ok()) return st;
  {
    Transaction tx(db_);
    if (!tx.status().ok()) return tx.status();
    Query q(db_, "UPDATE signed_in SET is_default = (login_id = ?1)");
    q.bind(1, login_id);
    if (!(st = q.run()).ok()) return st;
    if (!(st = tx.commit()).ok()) return st;
  }
  return sync_store();
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
