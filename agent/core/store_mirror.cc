// SPDX-License-Identifier: Apache-2.0
// Velmora agent: keeping the platform account store in step with the signed-in accounts.
#include "store_mirror.hh"

#include <cstdlib>
#include <cstring>

#include "account_store.h"
#include "config.hh"
#include "velmora_host_store.h"

namespace vagent {

namespace {

bool collect_cb(account_h account, void *user_data) {
  auto *out = static_cast<std::vector<MirroredAccount> *>(user_data);
  MirroredAccount m;
  char *name = nullptr;
  if (account_get_user_name(account, &name) == ACCOUNT_ERROR_NONE && name) m.login_id = name;
  free(name);
  char *value = nullptr;
  if (account_get_custom(account, kDefaultKey, &value) == ACCOUNT_ERROR_NONE && value)
    m.is_default = strcmp(value, kDefaultValue) == 0;
  free(value);
  out->push_back(std::move(m));
  return true;
}

Status store_failure(int err, const std::string &what) {
  return Status::fail(error_from_store(err),
                      what + " failed in the platform store (" + std::to_string(err) + ")");
}

}  // namespace

int error_from_store(int store_error) {
  switch (store_error) {
    case ACCOUNT_ERROR_NONE:
      return errc::kNone;
    case ACCOUNT_ERROR_DATABASE_BUSY:
      return errc::kResourceBusy;
    case ACCOUNT_ERROR_INVALID_PARAMETER:
      return errc::kInvalidParameter;
    case ACCOUNT_ERROR_PERMISSION_DENIED:
      return errc::kPermissionDenied;
    default:
      return errc::kDbFailed;
  }
}

Result<std::vector<MirroredAccount>> read_store(const char *package) {
  std::vector<MirroredAccount> records;
  int err = account_query_account_by_package_name(collect_cb, package, &records);
  if (err == ACCOUNT_ERROR_RECORD_NOT_FOUND) return std::vector<MirroredAccount>{};
  if (err != ACCOUNT_ERROR_NONE) return store_failure(err, "query");
  return records;
}

Status mirror_to_store(const char *package, const std::vector<MirroredAccount> &accounts) {
  // One transaction of the store: an application reading the store meanwhile sees the records as
  // they were or as they are now, never two defaults or none.
  const char *const default_key[] = {kDefaultKey};
  const char *const default_value[] = {kDefaultValue};
  std::vector<velmora_host_store_record_s> records;
  records.reserve(accounts.size());
  for (const MirroredAccount &m : accounts)
    records.push_back({m.login_id.c_str(), default_key, default_value, m.is_default ? 1u : 0u});
  int err = velmora_host_store_replace(package, records.data(), records.size());
  if (err != ACCOUNT_ERROR_NONE) return store_failure(err, "rewrite of the store's records");
  return Status::success();
}

}  // namespace vagent
