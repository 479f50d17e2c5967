// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the admin commands' work.
#include "admin.hh"

#include <sstream>

#include "clock_offset.hh"
#include "device.hh"
#include "store_mirror.hh"

namespace vagent {

Result<SeedResult> seed_user(AgentState &state, const SeedUserOptions &options) {
  if (options.client) {
    if (!Users::valid_login_id(options.client->client_id))
      return Status::fail(errc::kInvalidParameter, "invalid client id");
    if (options.client->token_lifetime <= 0)
      return Status::fail(errc::kInvalidParameter, "token lifetime must be positive");
  }
  SeedResult out;
  {
    Transaction tx(state.db());
    if (!tx.status().ok()) return tx.status();
    Result<User> user = state.users().create(options.user);
    if (!user.ok()) return user.status();
    out.user = user.value();
    if (options.client) {
      Result<std::string> secret = state.clients().register_client(*options.client);
      if (!secret.ok()) return secret.status();
      out.client_secret = secret.value();
    }
    Status st = tx.commit();
    if (!st.ok()) return st;
  }
  // Signing in writes the platform store: only after the user is committed, so that the store
  // never names a user the state does not have.
  if (options.sign_in || options.make_default) {
    Result<User> signed_in = state.accounts().sign_in_verified(out.user.login_id);
    if (!signed_in.ok()) return signed_in.status();
    out.signed_in = true;
    if (options.make_default) {
      Status st = state.accounts().set_default(out.user.login_id);
      if (!st.ok()) return st;
    }
    Result<std::string> def = state.accounts().default_account();
    out.is_default = def.ok() && def.value() == out.user.login_id;
  }
  return out;
}

bool split_setting(const std::string &text, std::pair<std::string, std::string> *out) {
  size_t eq = text.find('=');
  if (eq == std::string::npos || eq == 0) return false;
  *out = {text.substr(0, eq), text.substr(eq + 1)};
  return true;
}

StateView view_state(AgentState &state) {
  StateView v{state.root(),
              profile_name(device_profile()),
              store_package(),
              state.db().schema_version(),
              clock_offset(state.root()),
              state.users().list(),
              state.clients().list(),
              Status::fail(errc::kDbFailed, "not read"),
              state.codes().pending_count(),
              read_store(store_package()),
              list_faults(state.root())};
  Result<std::vector<SignedInAccount>> accounts = state.accounts().list();
  if (!accounts.ok()) {
    v.signed_in = accounts.status();
    return v;
  }
  std::vector<StateView::Account> signed_in;
  for (const SignedInAccount &a : accounts.value()) {
    Result<int64_t> live = state.tokens().live_count(a.login_id);
    signed_in.push_back({a, live.ok() ? live.value() : -1});
  }
  v.signed_in = signed_in;
  return v;
}

std::string render_state(AgentState &state) {
  const StateView v = view_state(state);
  std::ostringstream o;
  o << "root: " << v.root << "\n";
  o << "profile: " << v.profile << "\n";
  o << "store package: " << v.store_package << "\n";
  o << "schema version: " << v.schema_version << "\n";
  o << "clock offset: " << v.clock_offset_s << " s\n";

  if (v.users.ok()) {
    o << "users (" << v.users->size() << "):\n";
    for (const User &u : v.users.value())
      o << "  " << u.login_id << " user_id=" << u.user_id << " cc=" << u.country_code
        << " mcc=" << u.mcc << " tnc=" << u.tnc << "\n";
  } else {
    o << "users: " << v.users.status().describe() << "\n";
  }

  if (v.clients.ok()) {
    o << "clients (" << v.clients->size() << "):\n";
    for (const Client &c : v.clients.value()) {
      o << "  " << c.client_id << " scopes=\"";
      for (size_t i = 0; i < c.scopes.size(); ++i) o << (i ? " " : "") << c.scopes[i];
      o << "\" secret=" << (c.has_secret ? "yes" : "no") << " token_lifetime=" << c.token_lifetime
        << "\n";
    }
  } else {
    o << "clients: " << v.clients.status().describe() << "\n";
  }

  if (v.signed_in.ok()) {
    o << "signed in (" << v.signed_in->size() << "):\n";
    for (const StateView::Account &a : v.signed_in.value())
      o << "  " << a.account.login_id << (a.account.is_default ? " default" : "")
        << " live_access_tokens=" << a.live_access_tokens << "\n";
  } else {
    o << "signed in: " << v.signed_in.status().describe() << "\n";
  }

  o << "pending codes: " << (v.pending_codes.ok() ? v.pending_codes.value() : -1) << "\n";

  o << "platform store (" << v.store_package << "):";
  if (v.store.ok()) {
    o << (v.store->empty() ? " none\n" : "\n");
    for (const MirroredAccount &m : v.store.value())
      o << "  " << m.login_id << (m.is_default ? " default=true" : "") << "\n";
  } else {
    o << " " << v.store.status().describe() << "\n";
  }

  o << "faults:" << (v.faults.empty() ? " none\n" : "\n");
  for (const auto &f : v.faults) o << "  [" << f.first << "] " << f.second.describe() << "\n";
  return o.str();
}

}  // namespace vagent
