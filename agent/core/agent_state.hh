// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the agent's whole state for one platform root, the object the servers work on.
//
//   auto state = vagent::AgentState::open();          // "<root>/agent/state.db"
//   if (!state.ok()) ... state.status().describe() ...
//   vagent::AgentState &s = *state.value();
//   auto grant = s.tokens().issue({login_id, client_id, secret, expired, scope});
//   if (!grant.ok()) reply_error(grant.code()); else reply(grant.value());
//
// Every operation answers a Result/Status whose code is one of errors.hh, ready to be sent as
// "error_code" or as a delegate's result. Faults (faults.hh) are looked up per request by the
// servers with faults(operation).
//
// An AgentState is used from one thread (the agent's main loop). Several processes may open the
// same root at once (the agent and its admin command): the database is shared safely between them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "accounts.hh"
#include "clients.hh"
#include "clock.hh"
#include "clock_offset.hh"
#include "codes.hh"
#include "consents.hh"
#include "faults.hh"
#include "keyed_hash.hh"
#include "linking.hh"
#include "mcc.hh"
#include "places.hh"
#include "profiles.hh"
#include "result.hh"
#include "second_factor.hh"
#include "sign_in.hh"
#include "sign_in_guard.hh"
#include "state_db.hh"
#include "tokens.hh"
#include "users.hh"

namespace vagent {

class AgentState {
 public:
  // Opens the state of the current platform root (VELMORA_PLATFORM_ROOT).
  static Result<std::unique_ptr<AgentState>> open();
  // Opens the state of the platform root `root`.
  static Result<std::unique_ptr<AgentState>> open(const std::string &root);

  const std::string &root() const { return root_; }
  StateDb &db() { return *db_; }
  Users &users() { return users_; }
  Clients &clients() { return clients_; }
  Accounts &accounts() { return accounts_; }
  Tokens &tokens() { return tokens_; }
  Codes &codes() { return codes_; }
  Mcc &mcc() { return mcc_; }
  Consents &consents() { return consents_; }
  Linking &linking() { return linking_; }
  Places &places() { return places_; }
  Profiles &profiles() { return profiles_; }
  SignInGuard &sign_in_guard() { return sign_in_guard_; }
  SecondFactor &second_factor() { return second_factor_; }
  SignIn &sign_in() { return sign_in_; }

  // The faults of an operation in this root's faults.conf (read again when it changed).
  Fault faults(const std::string &operation) { return faults_.faults(operation); }
  // The configuration files as this state reads them (tests count their reads).
  const FaultsFile &faults_file() const { return faults_; }
  const ClockOffsetFile &clock_offset_file() const { return clock_offset_; }

  // Tests move time instead of waiting: `source` gives unix seconds. nullptr goes back to the
  // agent's own clock: wall-clock time plus the root's clock offset (clock_offset.hh, read again
  // when its file changed).
  void set_clock(std::function<int64_t()> source);
  int64_t now() const { return clock_.now(); }

  // Signs in with an effortless-login code issued to another session of the agent: redeems the
  // code (any client; for `login_id` when given) and signs its account in.
  Result<User> sign_in_with_code(const std::string &code, const std::string &login_id);
  // Checks a user's password without signing in (confirm user; counted by the lock-out).
  Status confirm_user(const std::string &login_id, const std::string &password);
  // The signed-in account with this user id (GUID). UNKNOWN_USER, NEED_SIGNIN.
  Result<User> account_from_user_id(const std::string &user_id);

 private:
  AgentState(std::string root, std::unique_ptr<StateDb> db, KeyedHash hash);
  std::string root_;
  std::unique_ptr<StateDb> db_;
  KeyedHash hash_;
  FaultsFile faults_;
  ClockOffsetFile clock_offset_;
  Clock clock_;
  Users users_;
  Clients clients_;
  Accounts accounts_;
  Tokens tokens_;
  Codes codes_;
  Mcc mcc_;
  Consents consents_;
  Linking linking_;
  Places places_;
  Profiles profiles_;
  SignInGuard sign_in_guard_;
  SecondFactor second_factor_;
  SignIn sign_in_;
};

}  // namespace vagent
