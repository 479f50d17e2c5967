// SPDX-License-Identifier: Apache-2.0
// Velmora agent: lost state is never silent.
//
// Before the agent serves (or an admin command works on a root), its state must be the state it
// made and the one the platform account store speaks of:
// - the identity record of the database must be the one the root's witness file names
//   (identity.hh): a database emptied (truncated to nothing, deleted) or replaced behind the
//   agent's back has another record, or none;
// - every account the platform account store lists under the agent's store package must be a
//   user the state knows: otherwise the state that signed them in is gone.
// Either failure is AGENT_ERROR_STATE_LOST with a message that names what does not match and the
// way out: restore the database, or start over with `velmora-agent --root <root> reset-state`.
// The agent then refuses to serve instead of inventing an empty world.
#pragma once

#include <optional>
#include <string>

#include "identity.hh"
#include "result.hh"
#include "users.hh"

namespace vagent {

// Ok when the opened state is the root's own and matches the platform account store.
Status check_state_not_lost(const std::string &root, Users &users,
                            const std::optional<IdentityRecord> &identity,
                            const std::optional<std::string> &witness);

// The command that starts the state of `root` over.
std::string reset_state_command(const std::string &root);

// Starts over: removes the state database (with its WAL and shared-memory files) and the
// identity witness, and the agent's records from the platform account store. The next open makes
// a new, empty state. Stop the agent first.
Status reset_state(const std::string &root);

}  // namespace vagent
