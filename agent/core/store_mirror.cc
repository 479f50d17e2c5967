// Velmora agent: keeping the platform account store in step with the signed-in accounts.
#include "store_mirror.hh"

#include <cstdlib>
#include <cstring>

#include "account_store.h"
#include "config.hh"

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

Status insert(const char *package, const MirroredAccount &m) {
  account_h a = nullptr;
  int err = account_create(&a);
  if (err != ACCOUNT_ERROR_NONE) return store_failure(err, "account_create");
  account_set_package_name(a, package);
  account_set_user_name(a, m.login_id.c_str());
  if (m.is_default) account_set_custom(a, kDefaultKey, kDefaultValue);
  int id = 0;
  err = account_insert_to_db(a, &id);
  account_destroy(a);
  if (err != ACCOUNT_ERROR_NONE) return store_failure(err, "insert of " + m.login_id);
  return Status::success();
}

Status update(const char *package, const MirroredAccount &m) {
  account_h a = nullptr;
  int err = account_create(&a);
  if (err != ACCOUNT_ERROR_NONE) return store_failure(err, "account_create");
  account_set_user_name(a, m.login_id.c_str());
  if (m.is_default) account_set_custom(a, kDefaultKey, kDefaultValue);
  err = account_update_to_db_by_user_name(a, m.login_id.c_str(), package);
  account_destroy(a);
  if (err != ACCOUNT_ERROR_NONE) return store_failure(err, "update of " + m.login_id);
  return Status::success();
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
  Result<std::vector<MirroredAccount>> current = read_store(package);
  if (!current.ok()) return current.status();
  const std::vector<MirroredAccount> &have = current.value();
  // The records before the first one out of place stay (their "default" mark is fixed in place);
  // from there on they are deleted and inserted again in the wanted order.
  size_t keep = 0;
  while (keep < have.size() && keep < accounts.size() &&
         have[keep].login_id == accounts[keep].login_id)
    ++keep;
  for (size_t i = keep; i < have.size(); ++i) {
    int err = account_delete_from_db_by_user_name(have[i].login_id.c_str(), package);
    if (err != ACCOUNT_ERROR_NONE && err != ACCOUNT_ERROR_RECORD_NOT_FOUND)
      return store_failure(err, "delete of " + have[i].login_id);
  }
  for (size_t i = 0; i < keep; ++i) {
    if (have[i].is_default == accounts[i].is_default) continue;
    Status st = update(package, accounts[i]);
    if (!st.ok()) return st;
  }
  for (size_t i = keep; i < accounts.size(); ++i) {
    Status st = insert(package, accounts[i]);
    if (!st.ok()) return st;
  }
  return Status::success();
}

}  // namespace vagent
