// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the walk over the account store with every custom value, for the admin
// command and tests.
#include <vector>

#include "store_internal.hh"
#include "velmora_host_store.h"

extern "C" int velmora_host_store_foreach(const char *package_name,
                                          velmora_host_store_record_cb callback, void *user_data) {
  if (!callback) return ACCOUNT_ERROR_INVALID_PARAMETER;
  std::vector<account_s> records;
  int err = vstore::load_records(package_name, &records);
  if (err != ACCOUNT_ERROR_NONE) return err;
  for (const account_s &r : records) {
    std::vector<const char *> keys, values;
    for (const auto &kv : r.custom) {
      keys.push_back(kv.first.c_str());
      values.push_back(kv.second.c_str());
    }
    if (!callback(r.package_name ? r.package_name->c_str() : "",
                  r.user_name ? r.user_name->c_str() : nullptr, keys.data(), values.data(),
                  keys.size(), user_data))
      break;
  }
  return ACCOUNT_ERROR_NONE;
}
