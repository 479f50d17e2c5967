// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: profile and profile-list handles: create, destroy, append.
//
// Everything works from the category table (profile_record.h): which item record a category has,
// whether it is a single item or a list, and its limit.
#include <cstdlib>
#include <cstring>

#include "profile_internal.h"
#include "profile_record.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_log.h"

namespace {

// Replaces *dest by a copy of `value` (nothing happens for a NULL value). False when out of memory.
bool copy_string(char **dest, const char *value) {
  if (value == NULL) return true;
  char *copy = va_strdup(value);
  if (copy == NULL) return false;
  free(*dest);
  *dest = copy;
  return true;
}

}  // namespace

extern "C" {

bool va_profile_item_copy(void *dest, const void *source, int category, int skip_position) {
  const va_profile_category_desc *desc = va_profile_category(category);
  if (desc == NULL || dest == NULL) return false;
  if (source == NULL) return true;
  void *from = const_cast<void *>(source);
  for (int i = 0; i < desc->string_count; ++i) {
    if (i == skip_position) continue;
    if (!copy_string(va_profile_item_str(dest, category, i),
                     *va_profile_item_str(from, category, i)))
      return false;
  }
  return true;
}

int va_profile_append_item(velmora_account_profile_list_h dest, velmora_account_profile_h source,
                           int category) {
  VA_LOGI("__append_profile_handle [category : %d]", category);
  VA_RETV_IF(dest == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(source == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  const va_profile_category_desc *desc = va_profile_category(category);
  if (desc == NULL) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;

  if (source->privacy < VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN)
    dest->privacy[category] = source->privacy;

  const void *from = va_profile_get_item(source, category);
  const int index = desc->is_list ? dest->count[category] : 0;
  if (desc->is_list && va_profile_list_slot(dest, category) == NULL) {
    VA_LOGE("(dest->l_%s == NULL)", desc->member);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  bool existed = false;
  void *to = va_profile_list_item_at(dest, category, index, &existed);
  if (to == NULL) {
    if (desc->is_list)
      VA_LOGE("(dest->l_%s[i] == NULL)", desc->member);
    else
      VA_LOGE("(dest->l_%s == NULL)", desc->member);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  if (existed) VA_LOGI("memory allocated");
  if (!va_profile_item_copy(to, from, category, -1)) return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  if (desc->has_source && from != NULL)
    *va_profile_item_source(to, category) =
        *va_profile_item_source(const_cast<void *>(from), category);
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_profile_create(int category, velmora_account_profile_h *handle) {
  VA_LOGI("velmora_account_profile_create [%d]", category);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(!handle, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  auto *data =
      static_cast<velmora_account_profile_s *>(va_calloc(1, sizeof(velmora_account_profile_s)));
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  data->category = category;
  data->privacy = VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN;

  const va_profile_category_desc *desc = va_profile_category(category);
  if (desc == NULL) {
    VA_LOGI("VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER [category : %d]", category);
    free(data);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  void *item = va_profile_item_new(category);
  if (item == NULL) {
    VA_LOGE("(data->%s == NULL)", desc->member);
    free(data);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  va_profile_set_item(data, category, item);
  *handle = data;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_profile_destroy(velmora_account_profile_h profile) {
  VA_RETV_IF_NO_AGENT();
  velmora_account_profile_h data = profile;
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_LOGI("velmora_account_profile_destroy [%d]", data->category);
  va_profile_item_free(data->category, va_profile_get_item(data, data->category));
  free(data);
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_profile_list_create(velmora_account_profile_list_h *handle) {
  VA_LOGI("[%s]", __func__);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(!handle, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  velmora_account_profile_list_h list = va_profile_list_new();
  VA_RETV_IF(list == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  *handle = list;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_profile_list_destroy(velmora_account_profile_list_h list) {
  VA_LOGI("[%s]", __func__);
  VA_RETV_IF_NO_AGENT();
  velmora_account_profile_list_h data = list;
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  va_profile_list_release(data);
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_profile_list_append(velmora_account_profile_list_h list,
                                                    velmora_account_profile_h profile) {
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(list == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(profile == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  const int category = profile->category;
  VA_LOGI("velmora_account_profile_list_append [%d]", category);
  const va_profile_category_desc *desc = va_profile_category(category);
  // A category past the last one is let through without a word: nothing is appended.
  if (desc == NULL) return VELMORA_ACCOUNT_ERROR_NONE;

  if (!desc->is_list) {
    if (list->count[category] >= 1) {
      VA_LOGI("Append profile handle failed. Already exist");
      return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
    }
  } else if (list->count[category] >= desc->limit) {
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;  // full; said by the result alone
  }
  int ret = va_profile_append_item(list, profile, category);
  VA_RETV_IF(ret == VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY, ret);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  // Counted only once the copy is complete.
  list->count[category] = desc->is_list ? list->count[category] + 1 : 1;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
