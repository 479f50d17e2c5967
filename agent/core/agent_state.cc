// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the state of one platform root.
#include "agent_state.hh"

#include "clock_offset.hh"
#include "config.hh"
#include "identity.hh"
#include "lost_state.hh"
#include "velmora_host.h"

namespace vagent {

AgentState::AgentState(std::string root, std::unique_ptr<StateDb> db, KeyedHash hash)
    : root_(std::move(root)),
      db_(std::move(db)),
      hash_(std::move(hash)),
      faults_(root_),
      clock_offset_(root_),
      users_(*db_, clock_),
      clients_(*db_, hash_),
      accounts_(*db_, users_, clock_),
      tokens_(*db_, hash_, clients_, accounts_, clock_),
      codes_(*db_, hash_, clients_, accounts_, clock_),
      mcc_(users_, accounts_),
      consents_(*db_, users_, accounts_, clock_),
      linking_(*db_, accounts_, clients_, tokens_, clock_),
      places_(*db_, users_, accounts_),
      profiles_(*db_, users_, accounts_, clients_),
      sign_in_guard_(*db_, users_, clock_),
      second_factor_(*db_, hash_, clock_),
      sign_in_(users_, accounts_, clients_, codes_, sign_in_guard_, second_factor_) {
  set_clock(nullptr);
}

void AgentState::set_clock(std::function<int64_t()> source) {
  if (!source) source = [this] { return Clock::wall() + clock_offset_.offset(); };
  clock_.set(std::move(source));
}

Result<std::unique_ptr<AgentState>> AgentState::open() { return open(velmora_host_root()); }

Result<std::unique_ptr<AgentState>> AgentState::open(const std::string &root) {
  if (root.empty()) return Status::fail(errc::kInvalidParameter, "no platform root");
  Result<std::unique_ptr<StateDb>> db = StateDb::open(root + "/" + kStateFile);
  if (!db.ok()) return db.status();
  Result<std::optional<IdentityRecord>> identity = read_identity(*db.value());
  if (!identity.ok()) return identity.status();
  const std::optional<std::string> witness = read_identity_witness(root);
  {
    Clock clock;
    Users users(*db.value(), clock);
    Status st = check_state_not_lost(root, users, identity.value(), witness);
    if (!st.ok()) return st;
  }
  if (!identity.value()) {
    Result<IdentityRecord> made = create_identity(*db.value(), Clock::wall());
    if (!made.ok()) return made.status();
    identity.value() = made.value();
  }
  if (witness != identity.value()->instance) {
    Status st = write_identity_witness(root, identity.value()->instance);
    if (!st.ok()) return st;
  }
  KeyedHash hash(identity.value()->digest_key);
  return std::unique_ptr<AgentState>(new AgentState(root, std::move(db.value()), std::move(hash)));
}

Result<User> AgentState::sign_in_with_code(const std::string &code, const std::string &login_id) {
  Result<RedeemedCode> redeemed = codes_.redeem(CodeKind::kEffortless, code, "", login_id);
  if (!redeemed.ok()) return redeemed.status();
  return accounts_.sign_in_verified(redeemed->login_id);
}

Status AgentState::confirm_user(const std::string &login_id, const std::string &password) {
  return sign_in_.confirm(login_id, password);
}

Result<User> AgentState::account_from_user_id(const std::string &user_id) {
  if (user_id.empty()) return Status::fail(errc::kInvalidParameter, "user id is required");
  Result<User> user = users_.find_by_user_id(user_id);
  if (!user.ok()) return user;
  Status st = accounts_.require_signed_in(user->login_id);
  if (!st.ok()) return st;
  return user;
}

}  // namespace vagent
