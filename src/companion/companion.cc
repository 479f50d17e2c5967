// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the companion handle (velmora_account_companion_*): create, destroy and
// the six property accessors, which reach the account record's properties after their checks.
// Every function needs agent API level 5.
#include <cstdlib>

#include "account_record.h"
#include "companion_record.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_log.h"

// The checks every companion function starts with: the agent, then its API level 5.
#define VA_COMPANION_AGENT_CHECKS() \
  do {                              \
    VA_RETV_IF_NO_AGENT();          \
    VA_RETV_IF_LOWER_AGENT(5);      \
  } while (0)

extern "C" {

velmora_account_companion_h va_companion_new(void) {
  auto *data =
      static_cast<velmora_account_companion_h>(va_calloc(1, sizeof(velmora_account_companion_s)));
  if (data == NULL) return NULL;
  data->connected = false;
  // The second tri-state's meaning is not settled; it starts unknown like the first.
  data->mobile_account_exist = VA_TRISTATE_UNSET;
  data->register_trusted_device = VA_TRISTATE_UNSET;
  return data;
}

void va_companion_free(velmora_account_companion_h companion) {
  if (companion == NULL) return;
  int count = 0;
  const va_property_s *table = va_account_property_table(&count);
  for (int i = 0; i < count; ++i)
    if (table[i].type == VA_PROPERTY_STR) va_account_clear_str(companion, table[i].id);
  free(companion);
}

VELMORA_API int velmora_account_companion_create(velmora_account_companion_h *handle) {
  VA_COMPANION_AGENT_CHECKS();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  velmora_account_companion_h data = va_companion_new();
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  *handle = data;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_companion_destroy(velmora_account_companion_h handle) {
  VA_COMPANION_AGENT_CHECKS();
  velmora_account_companion_h data = handle;
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  va_companion_free(data);
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_companion_get_property_str(velmora_account_companion_h handle,
                                                           int property, char **value) {
  VA_LOGI("[velmora_account_companion_get_property_str] property : %d", property);
  VA_COMPANION_AGENT_CHECKS();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_get_str(handle, property, value);
}

VELMORA_API int velmora_account_companion_set_property_str(velmora_account_companion_h handle,
                                                           int property, const char *value) {
  VA_LOGI("[velmora_account_companion_set_property_str] property : %d", property);
  VA_COMPANION_AGENT_CHECKS();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_set_str(handle, property, value);
}

VELMORA_API int velmora_account_companion_get_property_int(velmora_account_companion_h handle,
                                                           int property, int *value) {
  VA_COMPANION_AGENT_CHECKS();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_get_int(handle, property, value);
}

VELMORA_API int velmora_account_companion_set_property_int(velmora_account_companion_h handle,
                                                           int property, int value) {
  VA_COMPANION_AGENT_CHECKS();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_set_int(handle, property, value);
}

VELMORA_API int velmora_account_companion_get_property_bool(velmora_account_companion_h handle,
                                                            int property, bool *value) {
  VA_COMPANION_AGENT_CHECKS();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_get_flag(handle, property, value);
}

VELMORA_API int velmora_account_companion_set_property_bool(velmora_account_companion_h handle,
                                                            int property, bool value) {
  VA_COMPANION_AGENT_CHECKS();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_set_flag(handle, property, value);
}

}  // extern "C"
