// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the public property accessors of the account handle.
//
// Each checks the agent and its arguments, then hands over to the property logic of
// src/account/account_properties.cc.
#include <cstddef>

#include "account_record.h"
#include "va_base.h"
#include "va_constants.h"
#include "va_log.h"
#include "velmora_account.h"

namespace {
constexpr int kLoginIdProperty = VELMORA_ACCOUNT_PROPERTY_LOGIN_ID;
}

extern "C" {

VELMORA_API int velmora_account_get_property_str(velmora_account_h handle, int property,
                                                 char **value) {
  VA_LOGI("[velmora_account_get_property_str] property : %d", property);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_get_str(handle, property, value);
}

VELMORA_API int velmora_account_set_property_str(velmora_account_h handle, int property,
                                                 const char *value) {
  VA_LOGI("[velmora_account_set_property_str] property : %d", property);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_set_str(handle, property, value);
}

VELMORA_API int velmora_account_unset_property_str(velmora_account_h handle, int property) {
  VA_ENTRY();
  VA_LOGI("[velmora_account_unset_property_str] property : %d", property);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  if (!va_account_clear_str(handle, property)) {
    VA_LOGI("INVALID_PARAMETER [type : %d]", property);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  if (property == kLoginIdProperty) VA_LOGI("Unset LOGIN_ID");
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_get_property_int(velmora_account_h handle, int property,
                                                 int *value) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_get_int(handle, property, value);
}

VELMORA_API int velmora_account_set_property_int(velmora_account_h handle, int property,
                                                 int value) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_set_int(handle, property, value);
}

VELMORA_API int velmora_account_get_property_bool(velmora_account_h handle, int property,
                                                  bool *value) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_get_flag(handle, property, value);
}

VELMORA_API int velmora_account_set_property_bool(velmora_account_h handle, int property,
                                                  bool value) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  return va_account_set_flag(handle, property, value);
}

}  // extern "C"
