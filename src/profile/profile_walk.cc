// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: walking a profile list (velmora_account_profile_list_foreach).
//
// The callback gets the list's view record (`cb`): one profile record owned by the list whose item
// pointer is pointed at one list item at a time.
#include <cstdlib>

#include "profile_record.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_log.h"

extern "C" {

VELMORA_API int velmora_account_profile_list_foreach(velmora_account_profile_list_h list,
                                                     velmora_account_profile_cb callback,
                                                     void *user_data) {
  VA_LOGI("[%s]", __func__);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(list == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(callback == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  const int *n = list->count;
  VA_LOGI("[size = %d_%d_%d_%d_%d  %d_%d_%d_%d_%d  %d_%d_%d_%d]", n[0], n[1], n[2], n[3], n[4],
          n[5], n[6], n[7], n[8], n[9], n[10], n[11], n[12], n[13]);

  velmora_account_profile_list_h data = list;
  if (data->cb == NULL) {
    data->cb =
        static_cast<velmora_account_profile_s *>(va_calloc(1, sizeof(velmora_account_profile_s)));
    VA_RETV_IF(data->cb == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  }
  velmora_account_profile_h view = data->cb;

  for (int category = 0; category < VA_PROFILE_CATEGORY_COUNT; ++category) {
    const va_profile_category_desc *desc = va_profile_category(category);
    view->category = category;
    view->privacy = list->privacy[category];
    int calls = list->count[category];
    if (calls > desc->limit) calls = desc->limit;  // never past the slots
    bool go_on = true;
    if (calls >= 1) {
      for (int i = 0; i < calls && go_on; ++i) {
        va_profile_set_item(view, category, va_profile_list_get_item(list, category, i));
        go_on = callback(VELMORA_ACCOUNT_ERROR_NONE, view, category, user_data);
      }
    } else if (list->privacy[category] < VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN) {
      // A privacy without an item: one call whose profile holds no item.
      go_on = callback(VELMORA_ACCOUNT_ERROR_NONE, view, category, user_data);
    }
    va_profile_set_item(view, category, NULL);
    if (!go_on) {
      VA_LOGI("break out of the loop");
      return VELMORA_ACCOUNT_ERROR_NONE;
    }
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
