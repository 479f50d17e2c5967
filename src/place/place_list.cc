// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the place list (velmora_account_place_list_*): fifty slots, create,
// destroy and foreach. Every function needs agent API level 2.
#include <cstdlib>

#include "place_record.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_log.h"

extern "C" {

velmora_account_place_list_h va_place_list_new(void) {
  auto *list =
      static_cast<velmora_account_place_list_h>(va_calloc(1, sizeof(velmora_account_place_list_s)));
  if (list == NULL) return NULL;
  list->l = static_cast<velmora_account_place_h *>(
      va_calloc(VA_PLACE_LIST_SLOTS, sizeof(velmora_account_place_h)));
  if (list->l == NULL) {
    free(list);
    return NULL;
  }
  return list;
}

void va_place_list_free(velmora_account_place_list_h list) {
  if (list == NULL) return;
  for (int i = 0; i < VA_PLACE_LIST_SLOTS; ++i) va_place_free(list->l[i]);
  free(list->l);
  free(list);
}

VELMORA_API int velmora_account_place_list_create(velmora_account_place_list_h *handle) {
  VA_PLACE_AGENT_CHECKS();
  // The extra parentheses are part of the logged condition: "((!handle))".
  VA_RETV_IF((!handle), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  velmora_account_place_list_h data = va_place_list_new();
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  *handle = data;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_place_list_destroy(velmora_account_place_list_h list) {
  VA_PLACE_AGENT_CHECKS();
  velmora_account_place_list_h data = list;
  VA_RETV_IF((data == NULL), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  va_place_list_free(data);
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_place_list_foreach(velmora_account_place_list_h list,
                                                   velmora_account_place_cb callback,
                                                   void *user_data) {
  VA_PLACE_AGENT_CHECKS();
  VA_RETV_IF(list == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(callback == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  if (list->count == 0) {
    VA_LOGI("VELMORA_ACCOUNT_ERROR_NO_DATA [place list]");
    return VELMORA_ACCOUNT_ERROR_NO_DATA;
  }
  // A slot the reply did not fill is passed as it is, NULL.
  for (int i = 0; i < list->count && i < VA_PLACE_LIST_SLOTS; ++i) {
    if (!callback(list->l[i], user_data)) {
      VA_LOGI("break out of the loop");
      break;
    }
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
