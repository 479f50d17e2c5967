// SPDX-License-Identifier: Apache-2.0
// Velmora agent: detection of lost state, and starting over.
#include "lost_state.hh"

#include <glib/gstdio.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "account_store.h"
#include "config.hh"
#include "device.hh"
#include "dlog.h"
#include "store_mirror.hh"

namespace vagent {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";
constexpr size_t kNamesShown = 3;

Status lost(const std::string &root, const std::string &what) {
  return Status::fail(errc::kStateLost,
                      what + ". Restore " + root + "/" + kStateFile +
                          " from a backup, or start over (every account signs in again) with: " +
                          reset_state_command(root));
}

Status remove_file(const std::string &path) {
  if (g_unlink(path.c_str()) != 0 && errno != ENOENT)
    return Status::fail(errc::kDbFailed, "cannot remove " + path + ": " + strerror(errno));
  return Status::success();
}

}  // namespace

Status check_state_not_lost(const std::string &root, Users &users,
                            const std::optional<IdentityRecord> &identity,
                            const std::optional<std::string> &witness) {
  if (witness && (!identity || identity->instance != *witness)) {
    return lost(root, "the agent's state " + root + "/" + kStateFile +
                          (identity ? " is instance " + identity->instance : " has no identity") +
                          ", but its identity record " + identity_witness_path(root) +
                          " names instance " + *witness + ": the database was emptied or replaced");
  }
  Result<std::vector<MirroredAccount>> store = read_store(store_package());
  if (!store.ok()) {
    // The store's own trouble is reported where the store is used; it proves no loss.
    dlog_print(DLOG_WARN, kLogTag, "state: the platform account store was not compared: %s",
               store.status().describe().c_str());
    return Status::success();
  }
  std::vector<std::string> unknown;
  for (const MirroredAccount &m : store.value()) {
    Result<User> user = users.find(m.login_id);
    if (user.code() == errc::kUnknownUser)
      unknown.push_back(m.login_id);
    else if (!user.ok())
      return user.status();
  }
  if (unknown.empty()) return Status::success();
  std::string names;
  for (size_t i = 0; i < unknown.size() && i < kNamesShown; ++i)
    names += (i ? ", " : "") + unknown[i];
  if (unknown.size() > kNamesShown) names += ", ...";
  return lost(root, "the platform account store lists " + std::to_string(unknown.size()) +
                        " signed-in account(s) that the agent's state " + root + "/" + kStateFile +
                        " does not know (" + names + ")");
}

std::string reset_state_command(const std::string &root) {
  return "velmora-agent --root " + root + " reset-state";
}

Status reset_state(const std::string &root) {
  const std::string db = root + "/" + kStateFile;
  for (const std::string &path : {db, db + "-wal", db + "-shm", identity_witness_path(root)}) {
    Status st = remove_file(path);
    if (!st.ok()) return st;
  }
  // The store's records named accounts of the state that is gone.
  Status st = mirror_to_store(store_package(), {});
  if (!st.ok()) return st;
  dlog_print(DLOG_WARN, kLogTag, "state: %s started over: no user, no account, no token",
             db.c_str());
  return Status::success();
}

}  // namespace vagent
