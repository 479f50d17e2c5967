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

std::string render_state(AgentState &state) {
  std::ostringstream o;
  o << "root: " << state.root() << "\n";
  o << "profile: " << profile_name(device_profile()) << "\n";
  o << "store package: " << store_package() << "\n";
  o << "schema version: " << state.db().schema_version() << "\n";
  o << "clock offset: " << clock_offset(state.root()) << " s\n";

  Result<std::vector<User>> users = state.users().list();
  if (users.ok()) {
    o << "users (" << users->size() << "):\n";
    for (const User &u : users.value())
      o << "  " << u.login_id << " user_id=" << u.user_id << " cc=" << u.country_code
        << " mcc=" << u.mcc << " tnc=" << u.tnc << "\n";
  } else {
    o << "users: " << users.status().describe() << "\n";
  }

  Result<std::vector<Client>> clients = state.clients().list();
  if (clients.ok()) {
    o << "clients (" << clients->size() << "):\n";
    for (const Client &c : clients.value()) {
      o << "  " << c.client_id << " scopes=\"";
      for (size_t i = 0; i < c.scopes.size(); ++i) o << (i ? " " : "") << c.scopes[i];
      o << "\" secret=" << (c.has_secret ? "yes" : "no") << " token_lifetime=" << c.token_lifetime
        << "\n";
    }
  } else {
    o << "clients: " << clients.status().describe() << "\n";
  }

  Result<std::vector<SignedInAccount>> accounts = state.accounts().list();
  if (accounts.ok()) {
    o << "signed in (" << accounts->size() << "):\n";
    for (const SignedInAccount &a : accounts.value()) {
      Result<int64_t> live = state.tokens().live_count(a.login_id);
      o << "  " << a.login_id << (a.is_default ? " default" : "")
        << " live_access_tokens=" << (live.ok() ? live.value() : -1) << "\n";
    }
  } else {
    o << "signed in: " << accounts.status().describe() << "\n";
  }

  Result<int64_t> pending = state.codes().pending_count();
  o << "pending codes: " << (pending.ok() ? pending.value() : -1) << "\n";

  Result<std::vector<MirroredAccount>> store = read_store(store_package());
  o << "platform store (" << store_package() << "):";
  if (store.ok()) {
    o << (store->empty() ? " none\n" : "\n");
    for (const MirroredAccount &m : store.value())
      o << "  " << m.login_id << (m.is_default ? " default=true" : "") << "\n";
  } else {
    o << " " << store.status().describe() << "\n";
  }

  std::vector<std::pair<std::string, Fault>> faults = list_faults(state.root());
  o << "faults:" << (faults.empty() ? " none\n" : "\n");
  for (const auto &f : faults) o << "  [" << f.first << "] " << f.second.describe() << "\n";
  return o.str();
}

}  // namespace vagent
