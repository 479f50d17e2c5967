// SPDX-License-Identifier: Apache-2.0
// Velmora tests: helpers to write and read the platform account store in tests.
#pragma once

#include <cstdlib>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "account_store.h"

namespace store_test {

struct Record {
  std::string user_name;
  bool has_user_name = false;
  std::string package_name;
  std::map<std::string, std::string> custom;  // only the keys asked for by collect()
};

// Inserts a record; returns the store's result.
inline int insert(const char *package, const char *user,
                  std::vector<std::pair<std::string, std::string>> custom = {}, int *id = nullptr) {
  account_h a = nullptr;
  int err = account_create(&a);
  if (err != ACCOUNT_ERROR_NONE) return err;
  if (package) account_set_package_name(a, package);
  if (user) account_set_user_name(a, user);
  for (const auto &kv : custom) account_set_custom(a, kv.first.c_str(), kv.second.c_str());
  int db_id = -1;
  err = account_insert_to_db(a, &db_id);
  account_destroy(a);
  if (id) *id = db_id;
  return err;
}

struct Collector {
  std::vector<std::string> keys;  // custom keys to read
  std::vector<Record> records;
  size_t stop_after = 0;  // 0: visit all
};

inline bool collect_cb(account_h account, void *user_data) {
  auto *c = static_cast<Collector *>(user_data);
  Record r;
  char *s = nullptr;
  if (account_get_user_name(account, &s) == ACCOUNT_ERROR_NONE && s) {
    r.user_name = s;
    r.has_user_name = true;
  }
  free(s);
  s = nullptr;
  if (account_get_package_name(account, &s) == ACCOUNT_ERROR_NONE && s) r.package_name = s;
  free(s);
  for (const std::string &k : c->keys) {
    char *v = nullptr;
    if (account_get_custom(account, k.c_str(), &v) == ACCOUNT_ERROR_NONE && v) r.custom[k] = v;
    free(v);
  }
  c->records.push_back(std::move(r));
  return c->stop_after == 0 || c->records.size() < c->stop_after;
}

// The user names of a package's records in walk order; *err gets the query's result.
inline std::vector<std::string> user_names(const char *package, int *err = nullptr) {
  Collector c;
  int e = account_query_account_by_package_name(collect_cb, package, &c);
  if (err) *err = e;
  std::vector<std::string> names;
  for (const Record &r : c.records) names.push_back(r.user_name);
  return names;
}

}  // namespace store_test
