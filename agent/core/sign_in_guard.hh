// SPDX-License-Identifier: Apache-2.0
// Velmora agent: wrong passwords, counted per login id, lock the login id for a while.
//
// Every password the agent checks for a person (sign-in, the password step of a second factor,
// confirm user) goes through SignInGuard::check_password. kMaxPasswordFailures wrong passwords
// within kPasswordFailureWindow lock the login id for kLockoutSeconds (config.hh): while it is
// locked every password, the right one too, is answered ACCOUNT_LOCKED without being checked, so
// guessing gains nothing. A right password clears the count. Only known users are counted (the
// table refers to users), so unknown login ids cannot grow the state.
#pragma once

#include <cstdint>
#include <string>

#include "clock.hh"
#include "result.hh"
#include "schema.hh"
#include "state_db.hh"
#include "users.hh"

namespace vagent {

const SchemaArea &sign_in_guard_schema();

class SignInGuard {
 public:
  SignInGuard(StateDb &db, Users &users, const Clock &clock)
      : db_(db), users_(users), clock_(clock) {}

  // Ok when the password is right and the login id not locked. INVALID_PARAMETER (empty login id
  // or password), ACCOUNT_LOCKED, UNKNOWN_USER, WRONG_PASSWORD (counted; the failure that reaches
  // the limit answers ACCOUNT_LOCKED).
  Status check_password(const std::string &login_id, const std::string &password);
  // Unix seconds until which the login id is locked; 0 when it is not.
  Result<int64_t> locked_until(const std::string &login_id);
  // Wrong passwords counted in the current window.
  Result<int> failures(const std::string &login_id);
  // Forgets the count and any lock (the admin command).
  Status unlock(const std::string &login_id);

 private:
  struct Record {
    int failures = 0;
    int64_t window_start = 0;
    int64_t locked_until = 0;
  };
  Result<Record> read(const std::string &login_id);
  Status record_failure(const std::string &login_id, Record record);
  StateDb &db_;
  Users &users_;
  const Clock &clock_;
};

}  // namespace vagent
