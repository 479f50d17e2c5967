// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the identity of one agent state.
//
// When the agent creates its state it makes an identity record: a random instance id and the key
// of its keyed hash (keyed_hash.hh). The record lives in the state database; the instance id is
// also kept outside it, in "<root>/agent/identity", so that a state database that was replaced or
// emptied behind the agent's back is told apart from a new one (lost_state.hh).
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "result.hh"
#include "schema.hh"
#include "state_db.hh"

namespace vagent {

struct IdentityRecord {
  std::string instance;    // 32 hex characters
  std::string digest_key;  // KeyedHash::kKeyBytes raw bytes
  int64_t created_at = 0;  // unix seconds
};

const SchemaArea &identity_schema();

// The state's record; nullopt when it has none yet.
Result<std::optional<IdentityRecord>> read_identity(StateDb &db);
// Makes the state's record, or hands out the one another process made first.
Result<IdentityRecord> create_identity(StateDb &db, int64_t now);

// "<root>/agent/identity": the instance id of the state this root's agent made.
std::string identity_witness_path(const std::string &root);
// The instance id the witness names; nullopt when there is no witness (or it is unreadable).
std::optional<std::string> read_identity_witness(const std::string &root);
// Writes the witness (0600, replaced atomically).
Status write_identity_witness(const std::string &root, const std::string &instance);

}  // namespace vagent
