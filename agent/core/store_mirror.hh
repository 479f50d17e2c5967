// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the signed-in accounts as records of the platform account store.
//
// Applications read the signed-in accounts from the platform store without asking the agent, so
// the agent keeps there one record per signed-in account under its store package (device.hh):
// user name = login id, custom "default" = "true" on the default account and on no other. The
// records follow sign-in order; on a TV, where the first record counts as the default, the
// default account comes first.
#pragma once

#include <string>
#include <vector>

#include "result.hh"

namespace vagent {

struct MirroredAccount {
  std::string login_id;
  bool is_default = false;
};

// Makes the store package's records equal to `accounts`, in that order, in one transaction of the
// store (readers see the old records or the new ones). Records already right are kept; the rest
// are rewritten. DB_FAILED / RESOURCE_BUSY / PERMISSION_DENIED when the store fails.
Status mirror_to_store(const char *package, const std::vector<MirroredAccount> &accounts);

// The store package's records as (user name, default?) pairs, in walk order.
Result<std::vector<MirroredAccount>> read_store(const char *package);

// The agent error for a platform store error.
int error_from_store(int store_error);

}  // namespace vagent
