// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: creating, copying and destroying the account handle.
#include <cstdlib>
#include <cstring>

#include "account_record.h"
#include "profile_record.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_constants.h"
#include "va_log.h"
#include "velmora_account.h"

namespace {

// Frees every string of a half-made clone.
void release_strings(velmora_account_s *data) {
  for (int id = 0; id < va_account_property_ids(VA_PROPERTY_STR); ++id)
    va_account_clear_str(data, id);
}

}  // namespace

extern "C" {

VELMORA_API int velmora_account_create(velmora_account_h *handle) {
  VA_LOGI("[velmora_account_create] %s", VELMORA_ACCOUNT_VERSION);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(!handle, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  auto *data = static_cast<velmora_account_s *>(va_calloc(1, sizeof(velmora_account_s)));
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  va_account_set_flags_unset(data);
  data->connected = false;  // requests go as app-control launch requests
  *handle = data;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_destroy(velmora_account_h handle) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  velmora_account_s *data = handle;
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  // The strings the property table marks KEPT (authentication token and code, partner client id)
  // are left allocated: the handle has always behaved so and callers may rely on it.
  // tests/lsan.supp lists these copies.
  int count = 0;
  const va_property_s *table = va_account_property_table(&count);
  for (int i = 0; i < count; ++i)
    if (table[i].type == VA_PROPERTY_STR && table[i].released)
      va_account_clear_str(data, table[i].id);

  if (data->link != NULL) {
    VA_LOGI("data->link(Profile) exist.");
    va_profile_list_release(data->link);
    data->link = NULL;
  }
  // The proxy is not touched: velmora_account_disconnect destroys it before calling destroy.
  free(data);
  VA_EXIT();
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int va_account_clone(velmora_account_h handle, velmora_account_h *clone) {
  VA_LOG_NAME("velmora_account_clone");
  VA_ENTRY();
  VA_RETV_IF(!handle, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(!clone, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  auto *data = static_cast<velmora_account_s *>(va_calloc(1, sizeof(velmora_account_s)));
  VA_RETV_IF(!data, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);

  // The CLONED fields of the property table; everything else stays zero: the flags read as
  // false, the connection and the profile link stay empty. A clone is a request's private copy,
  // not a second connected handle.
  int count = 0;
  const va_property_s *table = va_account_property_table(&count);
  for (int i = 0; i < count; ++i) {
    const va_property_s &p = table[i];
    if (!p.cloned) continue;
    const char *from = reinterpret_cast<const char *>(handle) + p.offset;
    char *to = reinterpret_cast<char *>(data) + p.offset;
    if (p.type != VA_PROPERTY_STR) {
      memcpy(to, from, sizeof(int));
      continue;
    }
    const char *value = *reinterpret_cast<char *const *>(from);
    if (value == NULL) continue;
    char *copy = va_strdup(value);
    if (copy == NULL) {
      release_strings(data);
      free(data);
      VA_LOGE("(%s)", "!data");
      return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
    }
    *reinterpret_cast<char **>(to) = copy;
  }

  *clone = data;
  VA_EXIT();
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
