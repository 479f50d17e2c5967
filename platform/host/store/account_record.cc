// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: account records in memory (create, destroy, set and get their fields).
#include <cstdlib>
#include <cstring>
#include <new>

#include "store_internal.hh"

namespace {

int copy_out(const std::optional<std::string> &value, char **out) {
  if (!value) {
    *out = nullptr;
    return ACCOUNT_ERROR_NONE;
  }
  char *copy = strdup(value->c_str());
  if (!copy) return ACCOUNT_ERROR_OUT_OF_MEMORY;
  *out = copy;
  return ACCOUNT_ERROR_NONE;
}

}  // namespace

extern "C" int account_create(account_h *account) {
  if (!account) return ACCOUNT_ERROR_INVALID_PARAMETER;
  account_s *a = new (std::nothrow) account_s();
  if (!a) return ACCOUNT_ERROR_OUT_OF_MEMORY;
  *account = a;
  return ACCOUNT_ERROR_NONE;
}

extern "C" int account_destroy(account_h account) {
  if (!account) return ACCOUNT_ERROR_INVALID_PARAMETER;
  delete account;
  return ACCOUNT_ERROR_NONE;
}

extern "C" int account_set_user_name(account_h account, const char *user_name) {
  if (!account || !user_name) return ACCOUNT_ERROR_INVALID_PARAMETER;
  account->user_name = user_name;
  return ACCOUNT_ERROR_NONE;
}

extern "C" int account_set_package_name(account_h account, const char *package_name) {
  if (!account || !package_name) return ACCOUNT_ERROR_INVALID_PARAMETER;
  account->package_name = package_name;
  return ACCOUNT_ERROR_NONE;
}

extern "C" int account_set_custom(account_h account, const char *key, const char *value) {
  if (!account || !key || !value) return ACCOUNT_ERROR_INVALID_PARAMETER;
  for (auto &kv : account->custom) {
    if (kv.first == key) {
      kv.second = value;
      return ACCOUNT_ERROR_NONE;
    }
  }
  account->custom.emplace_back(key, value);
  return ACCOUNT_ERROR_NONE;
}

extern "C" int account_get_user_name(account_h account, char **user_name) {
  if (!account || !user_name) return ACCOUNT_ERROR_INVALID_PARAMETER;
  return copy_out(account->user_name, user_name);
}

extern "C" int account_get_package_name(account_h account, char **package_name) {
  if (!account || !package_name) return ACCOUNT_ERROR_INVALID_PARAMETER;
  return copy_out(account->package_name, package_name);
}

extern "C" int account_get_custom(account_h account, const char *key, char **value) {
  if (!account || !key || !value) return ACCOUNT_ERROR_INVALID_PARAMETER;
  for (const auto &kv : account->custom)
    if (kv.first == key) return copy_out(kv.second, value);
  return ACCOUNT_ERROR_RECORD_NOT_FOUND;
}
