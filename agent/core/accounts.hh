// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the accounts signed in on this device, and which one is the default.
//
// Signing in needs a known user; the first account signed in becomes the default, and outside a TV
// exactly one signed-in account is the default at any time. Signing out forgets the account's
// tokens and codes; when the default signs out, the earliest remaining account becomes the default.
// Every change is made together in the agent's state and in the platform account store
// (store_mirror.hh): the state's transaction commits only once the store took the change, so when
// the store cannot be written neither changes and the store's error is returned. On a TV the first
// record of the store is the default: setting the default moves its record first.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "clock.hh"
#include "result.hh"
#include "schema.hh"
#include "state_db.hh"
#include "users.hh"

namespace vagent {

struct SignedInAccount {
  std::string login_id;
  bool is_default = false;
  int64_t signed_in_at = 0;
};

const SchemaArea &accounts_schema();

class Accounts {
 public:
  Accounts(StateDb &db, Users &users, const Clock &clock) : db_(db), users_(users), clock_(clock) {}

  // Checks the password, then signs the user in (again: keeps its place and default mark).
  // INVALID_PARAMETER, UNKNOWN_USER, WRONG_PASSWORD.
  Result<User> sign_in(const std::string &login_id, const std::string &password);
  // Signs in a user whose identity was proven otherwise (an authorization code, the admin seed).
  Result<User> sign_in_verified(const std::string &login_id);
  // NEED_SIGNIN when the login id is not signed in. Every area forgets what it keeps for the
  // account (SchemaArea::forget_account: its tokens, codes, ...).
  Status sign_out(const std::string &login_id);

  // Ok when signed in; UNKNOWN_USER for a login id nobody has, NEED_SIGNIN for a known one that
  // is not signed in, INVALID_PARAMETER for an empty one.
  Status require_signed_in(const std::string &login_id);
  Result<bool> is_signed_in(const std::string &login_id);
  // The user of a signed-in login id, in one lookup: require_signed_in's errors otherwise.
  Result<User> signed_in_user(const std::string &login_id);
  // Any account signed in at all.
  Result<bool> any_signed_in();
  // In sign-in order.
  Result<std::vector<SignedInAccount>> list();
  // NEED_SIGNIN when nobody is signed in.
  Result<std::string> default_account();
  // NEED_SIGNIN when the login id is not signed in, UNKNOWN_USER for nobody's. Atomic in the
  // state and the store; survives a restart of the agent.
  Status set_default(const std::string &login_id);

  // Brings the platform account store in step with the signed-in accounts.
  Status sync_store();

 private:
  Status mark_signed_in(const std::string &login_id);
  // Brings the store in step with the state as `tx` left it, then commits `tx`. A store that
  // fails leaves `tx` uncommitted (rolled back when it ends). Every change of the signed-in
  // accounts ends with this.
  Status commit_mirrored(Transaction &tx);
  StateDb &db_;
  Users &users_;
  const Clock &clock_;
};

}  // namespace vagent
