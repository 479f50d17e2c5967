// SPDX-License-Identifier: Apache-2.0
// Velmora tests: what the platform account store holds for a package, read through the platform
// interface as an application reads it.
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "account_store.h"

namespace agent_test {

struct StoreRecord {
  std::string user_name;
  std::string default_value;  // custom "default", "" when not set
  bool has_default = false;
};

inline bool store_view_cb(account_h account, void *user_data) {
  auto *out = static_cast<std::vector<StoreRecord> *>(user_data);
  StoreRecord r;
  char *s = nullptr;
  if (account_get_user_name(account, &s) == ACCOUNT_ERROR_NONE && s) r.user_name = s;
  free(s);
  s = nullptr;
  if (account_get_custom(account, "default", &s) == ACCOUNT_ERROR_NONE && s) {
    r.default_value = s;
    r.has_default = true;
  }
  free(s);
  out->push_back(r);
  return true;
}

// The records of `package` in walk order; *err receives the query's result.
inline std::vector<StoreRecord> store_records(const char *package, int *err = nullptr) {
  std::vector<StoreRecord> out;
  int e = account_query_account_by_package_name(store_view_cb, package, &out);
  if (err) *err = e;
  return out;
}

// "alice*,bob" : user names in order, '*' after the one whose "default" is "true".
inline std::string store_summary(const char *package) {
  std::string s;
  for (const StoreRecord &r : store_records(package)) {
    if (!s.empty()) s += ",";
    s += r.user_name;
    if (r.has_default && r.default_value == "true") s += "*";
  }
  return s;
}

}  // namespace agent_test
