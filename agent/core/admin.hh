// SPDX-License-Identifier: Apache-2.0
// Velmora agent: what the admin commands do (seed users and clients, faults, show the state), as
// functions that the command line of velmora-agent and tests call.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent_state.hh"
#include "faults.hh"
#include "result.hh"
#include "store_mirror.hh"

namespace vagent {

struct SeedUserOptions {
  NewUser user;
  bool sign_in = false;
  bool make_default = false;        // implies sign_in
  std::optional<NewClient> client;  // registered (or replaced) along with the user
};

struct SeedResult {
  User user;
  bool signed_in = false;
  bool is_default = false;
  std::string client_secret;  // the secret made for the client (empty: none); shown only here
};

// Creates a user and optionally registers a client (together: nothing is created when the user's
// fields or the client's are invalid), then optionally signs the user in (as the default).
Result<SeedResult> seed_user(AgentState &state, const SeedUserOptions &options);

// What the state holds, as `velmora-agent state` shows it (text or JSON). It never holds a
// password, secret, token or code. A part that cannot be read carries the reason.
struct StateView {
  struct Account {
    SignedInAccount account;
    int64_t live_access_tokens = -1;  // -1: cannot be counted
  };
  std::string root;
  std::string profile;
  std::string store_package;
  int schema_version = 0;
  int64_t clock_offset_s = 0;
  Result<std::vector<User>> users;
  Result<std::vector<Client>> clients;
  Result<std::vector<Account>> signed_in;
  Result<int64_t> pending_codes;
  Result<std::vector<MirroredAccount>> store;  // the platform store's records
  std::vector<std::pair<std::string, Fault>> faults;
};
StateView view_state(AgentState &state);

// A readable account of the state: users, clients, signed-in accounts, token and code counts, the
// platform store's records and the faults. It never shows a password, secret, token or code.
std::string render_state(AgentState &state);

// "key=value" -> (key, value); false without '=' or with an empty key.
bool split_setting(const std::string &text, std::pair<std::string, std::string> *out);

}  // namespace vagent
