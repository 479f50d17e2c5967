// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the blocking account state queries that read the platform account store
// instead of asking the agent (velmora_account_is_signed_in_sync,
// velmora_account_get_account_list_sync, velmora_account_get_default_account_sync).
//
// The agent keeps one store record per signed-in account: user name = login id, custom value
// "default" = "true" on the default one. On a TV the accounts are those of the single-sign-on
// service's package and the first one is the default; elsewhere they are the agent's.
#include <cstdlib>
#include <cstring>

#include "account_record.h"
#include "account_store.h"
#include "request_reply.h"
#include "va_base.h"
#include "va_constants.h"
#include "va_log.h"

namespace {

// Whether velmora_account_is_signed_in_sync's walk found the account. One plain process-wide
// variable, cleared at the start of each call: two calls running at once (from two threads) would
// disturb each other's answer. The library makes no such call itself; callers that use threads
// must not overlap these calls.
bool g_signed_in_found = false;

const char *store_package() { return va_is_tv_profile() ? SSO_SERVICE_PACKAGE_ID : AGENT_APP_ID; }

// The login ids a store walk collected (at most VA_ACCOUNT_LIST_MAX), and their record.
void destroy_account_ids(va_account_id_list_s *ids) {
  VA_LOG_NAME("__velmora_account_destroy_accountId");
  VA_LOGI("[__velmora_account_destroy_accountId] [length = %d]", ids->length);
  for (int i = 0; i < ids->length; ++i) free(ids->list[i]);
  free(ids->list);
  free(ids);
}

// Any account when the login id (user data) is NULL, else the one whose user name it is.
bool is_signed_in_sync_cb(account_h account, void *user_data) {
  const auto *login_id = static_cast<const char *>(user_data);
  char *name = nullptr;
  if (account_get_user_name(account, &name) == ACCOUNT_ERROR_NONE) {
    if (login_id == nullptr || (name != nullptr && strcmp(name, login_id) == 0))
      g_signed_in_found = true;
  }
  free(name);
  return !g_signed_in_found;
}

bool account_list_sync_cb(account_h account, void *user_data) {
  auto *ids = static_cast<va_account_id_list_s *>(user_data);
  if (ids->length > VA_ACCOUNT_LIST_MAX - 1) {
    VA_LOGI("Invalid list index [%d]", ids->length);
    return false;
  }
  char *name = nullptr;
  if (account_get_user_name(account, &name) == ACCOUNT_ERROR_NONE && name != nullptr) {
    VA_LOGI("idx [%d]", ids->length);
    ids->list[ids->length++] = name;
  } else {
    free(name);
  }
  return true;
}

struct DefaultSearch {
  bool tv;
  char *login_id;  // the default's user name, once found
};

bool get_default_account_sync_cb(account_h account, void *user_data) {
  auto *search = static_cast<DefaultSearch *>(user_data);
  bool is_default = search->tv;
  if (!search->tv) {
    char *value = nullptr;
    is_default = account_get_custom(account, "default", &value) == ACCOUNT_ERROR_NONE &&
                 value != nullptr && strcmp(value, "true") == 0;
    free(value);
  }
  if (!is_default) return true;
  char *name = nullptr;
  if (account_get_user_name(account, &name) == ACCOUNT_ERROR_NONE && name != nullptr) {
    search->login_id = name;
    return false;
  }
  free(name);
  return true;
}

}  // namespace

extern "C" {

VELMORA_API int velmora_account_is_signed_in_sync(velmora_account_h handle, const char *login_id,
                                                  bool *status) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF_LOWER_AGENT(3);
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(status == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  g_signed_in_found = false;
  int ret = account_query_account_by_package_name(is_signed_in_sync_cb, store_package(),
                                                  const_cast<char *>(login_id));
  if (ret != ACCOUNT_ERROR_NONE)
    ret = va_convert_account_manager_error(ret, "account_query_account_by_package_name");
  if (ret == VELMORA_ACCOUNT_ERROR_NEED_SIGNIN) {
    VA_LOGI("NEED_SIGNIN convert to ERROR_NONE to set status");
    ret = VELMORA_ACCOUNT_ERROR_NONE;
  }
  *status = g_signed_in_found;
  VA_EXIT();
  return ret;
}

VELMORA_API int velmora_account_get_account_list_sync(velmora_account_h handle,
                                                      char ***account_list, int *list_size) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF_LOWER_AGENT(3);
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(account_list == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(list_size == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  auto *accountId_s = static_cast<va_account_id_list_s *>(calloc(1, sizeof(va_account_id_list_s)));
  VA_RETV_IF(accountId_s == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  char **list = static_cast<char **>(calloc(VA_ACCOUNT_LIST_MAX, sizeof(char *)));
  if (list == NULL) {
    free(accountId_s);
    VA_RETV_IF(list == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  }
  accountId_s->list = list;

  int ret =
      account_query_account_by_package_name(account_list_sync_cb, store_package(), accountId_s);
  if (ret != ACCOUNT_ERROR_NONE)
    ret = va_convert_account_manager_error(ret, "account_query_account_by_package_name");
  if (ret == VELMORA_ACCOUNT_ERROR_NONE && accountId_s->length == 0)
    ret = VELMORA_ACCOUNT_ERROR_NEED_SIGNIN;
  if (ret == VELMORA_ACCOUNT_ERROR_NONE) {
    const int count = accountId_s->length;
    char **out = static_cast<char **>(calloc(static_cast<size_t>(count), sizeof(char *)));
    for (int i = 0; out != NULL && i < count; ++i) {
      out[i] = strdup(accountId_s->list[i]);
      if (out[i] == NULL) {
        for (int j = 0; j < i; ++j) free(out[j]);
        free(out);
        out = NULL;
      }
    }
    if (out == NULL) {
      VA_LOGE("(%s)", "out == NULL");
      ret = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
    } else {
      *account_list = out;
      *list_size = count;
    }
  }
  destroy_account_ids(accountId_s);
  VA_EXIT();
  return ret;
}

VELMORA_API int velmora_account_get_default_account_sync(velmora_account_h handle, char **account) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF_LOWER_AGENT(3);
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(account == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  DefaultSearch search = {va_is_tv_profile(), nullptr};
  int ret =
      account_query_account_by_package_name(get_default_account_sync_cb, store_package(), &search);
  if (ret != ACCOUNT_ERROR_NONE)
    ret = va_convert_account_manager_error(ret, "account_query_account_by_package_name");
  // The walk's copy is handed out as it is: it is the caller's from here.
  *account = search.login_id;
  VA_EXIT();
  return ret;
}

}  // extern "C"
