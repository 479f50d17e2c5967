// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: copying one category of the account's received profile (its `link`)
// into an application's list (velmora_account_profile_get_profile_list).
#include <cstdlib>

#include "account_record.h"
#include "profile_internal.h"
#include "profile_record.h"
#include "va_base.h"
#include "va_log.h"

namespace {

// BIRTHDAY items are copied without their type: this copy has always left it out, and callers
// that read birthdays through it rely on the list's own type staying as it was. Updates do send it.
int skipped_position(int category) {
  return category == VELMORA_ACCOUNT_PROFILE_CATEGORY_BIRTHDAY
             ? VELMORA_ACCOUNT_PROFILE_ITEM_BIRTHDAY_TYPE -
                   VELMORA_ACCOUNT_PROFILE_ITEM_BIRTHDAY_YEAR
             : -1;
}

int copy_single(const velmora_account_profile_list_s *link, const va_profile_category_desc *desc,
                velmora_account_profile_list_h ll) {
  const int category = desc->category;
  const void *from = link->count[category] >= 1 ? va_profile_list_slot(link, category) : NULL;
  if (from == NULL) {
    if (link->privacy[category] < VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN) {
      VA_LOGI("%s", desc->privacy_only_line);  // the list now carries the privacy alone
      return VELMORA_ACCOUNT_ERROR_NONE;
    }
    VA_LOGI("VELMORA_ACCOUNT_ERROR_NO_DATA [%s]", desc->log_word);
    va_profile_item_free(category, va_profile_list_slot(ll, category));
    va_profile_list_set_item(ll, category, 0, NULL);
    return VELMORA_ACCOUNT_ERROR_NO_DATA;
  }
  VA_LOGI("%s", desc->copy_line);
  void *to = va_profile_list_slot(ll, category);
  if (to == NULL) {
    VA_LOGE("(ll->l_%s == NULL)", desc->member);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  if (!va_profile_item_copy(to, from, category, -1)) return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int copy_list(const velmora_account_profile_list_s *link, const va_profile_category_desc *desc,
              velmora_account_profile_list_h ll) {
  const int category = desc->category;
  const int count = link->count[category];
  VA_LOGI("%s LIST [ %d ]", desc->log_word, count);
  if (count < 1 && link->privacy[category] >= VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN) {
    VA_LOGI("VELMORA_ACCOUNT_ERROR_NO_DATA [%s]", desc->log_word);
    return VELMORA_ACCOUNT_ERROR_NO_DATA;
  }
  if (va_profile_list_slot(ll, category) == NULL) {
    VA_LOGE("(ll->l_%s == NULL)", desc->member);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  if (va_profile_list_slot(link, category) == NULL) {
    VA_LOGE("(account->link->l_%s == NULL)", desc->member);
    return VELMORA_ACCOUNT_ERROR_NONE;
  }
  // Counts never exceed the limit in a list the library filled; the bound keeps it so regardless.
  for (int i = 0; i < count && i < desc->limit; ++i) {
    void *from = va_profile_list_get_item(link, category, i);
    if (from == NULL) {
      // What was copied so far stays; the count already copied may exceed the items present.
      VA_LOGE("(account->link->l_%s[i] == NULL)", desc->member);
      return VELMORA_ACCOUNT_ERROR_NONE;
    }
    void *to = va_profile_list_item_at(ll, category, i, NULL);
    if (to == NULL) {
      VA_LOGE("(ll->l_%s[i] == NULL)", desc->member);
      return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
    }
    if (!va_profile_item_copy(to, from, category, skipped_position(category)))
      return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
    if (desc->has_source) {
      const int stored = *va_profile_item_source(from, category);
      const int copied =
          stored > VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE ? VA_PROFILE_SOURCE_UNSET : stored;
      VA_LOGI("source_type %d th [%d, %d]", i, stored, copied);
      *va_profile_item_source(to, category) = copied;
    }
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // namespace

extern "C" {

VELMORA_API int velmora_account_profile_get_profile_list(velmora_account_h handle, int category,
                                                         velmora_account_profile_list_h ll) {
  VA_LOGI("velmora_account_profile_get_profile_list [category : %d]", category);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(ll == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  const velmora_account_profile_list_s *link = handle->link;
  if (link == NULL) {
    VA_LOGI("VELMORA_ACCOUNT_ERROR_NO_DATA [account handle]");
    return VELMORA_ACCOUNT_ERROR_NO_DATA;
  }
  const va_profile_category_desc *desc = va_profile_category(category);
  if (desc == NULL) {
    VA_LOGI("Invalid profile category [%d]", category);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  // Privacy and count first: an early stop below leaves them set.
  if (link->privacy[category] < VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN)
    ll->privacy[category] = link->privacy[category];
  ll->count[category] = link->count[category];
  return desc->is_list ? copy_list(link, desc, ll) : copy_single(link, desc, ll);
}

}  // extern "C"
