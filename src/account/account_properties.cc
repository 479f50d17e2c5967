// Velmora Account client: the property logic of the account record, without the agent check.
//
// Property ids map to record fields through the tables below; the public accessors, the companion
// accessors and the reply parsers all go through these functions.
#include <cstdlib>
#include <cstring>

#include "account_record.h"
#include "va_constants.h"
#include "va_log.h"
#include "velmora_account_error.h"

namespace {

struct StrField {
  char *velmora_account_s::*member;
  const char *unset_condition;  // logged when a get finds the field unset
};

constexpr StrField kStrFields[VA_STR_PROPERTY_COUNT] = {
    {&velmora_account_s::access_token, "data->access_token == NULL"},
    {&velmora_account_s::api_server_url, "data->api_server_url == NULL"},
    {&velmora_account_s::authcode, "data->authcode == NULL"},
    {&velmora_account_s::auth_server_url, "data->auth_server_url == NULL"},
    {&velmora_account_s::client_id, "data->client_id == NULL"},
    {&velmora_account_s::client_secret, "data->client_secret == NULL"},
    {&velmora_account_s::cc, "data->cc == NULL"},
    {&velmora_account_s::device_unique_code, "data->device_unique_code == NULL"},
    {&velmora_account_s::expired_access_token, "data->expired_access_token == NULL"},
    {&velmora_account_s::login_id, "data->login_id == NULL"},
    {&velmora_account_s::mcc, "data->mcc == NULL"},
    {&velmora_account_s::password, "data->password == NULL"},
    {&velmora_account_s::refresh_token, "data->refresh_token == NULL"},
    {&velmora_account_s::scope, "data->scope == NULL"},
    {&velmora_account_s::user_id, "data->user_id == NULL"},
    {&velmora_account_s::signin_app_message, "data->signin_app_message == NULL"},
    {&velmora_account_s::customizedservice, "data->customizedservice == NULL"},
    {&velmora_account_s::id_token, "data->id_token == NULL"},
    {&velmora_account_s::authentication_token, "data->authentication_token == NULL"},
    {&velmora_account_s::authentication_code, "data->authentication_code == NULL"},
    {&velmora_account_s::partner_client_id, "data->partner_client_id == NULL"},
};

// String properties from this id on are not released by velmora_account_destroy.
constexpr int kFirstUnreleasedStr = 18;

constexpr int velmora_account_s::*kIntFields[VA_INT_PROPERTY_COUNT] = {
    &velmora_account_s::access_token_expires_in,
    &velmora_account_s::access_token_issue_time,
    &velmora_account_s::api_timeout,
};

constexpr int velmora_account_s::*kBoolFields[VA_BOOL_PROPERTY_COUNT] = {
    &velmora_account_s::request_to_server,
    &velmora_account_s::register_trusted_device,
    &velmora_account_s::check_2factor_authentication,
    &velmora_account_s::mobile_account_exist,
    &velmora_account_s::account_linking_status,
};

bool valid_id(int property, int count) { return property >= 0 && property < count; }

}  // namespace

// The copy stored in a field that velmora_account_destroy leaves alone. A function of its own so
// that the leak checkers' suppressions (tests/lsan.supp, tests/valgrind.supp) name exactly these
// copies.
extern "C" __attribute__((noinline)) char *va_dup_field_not_released_by_destroy(const char *value) {
  return strdup(value);
}

extern "C" {

char **velmora_account_util_str_field(velmora_account_h data, int property) {
  if (data == NULL || !valid_id(property, VA_STR_PROPERTY_COUNT)) return NULL;
  return &(data->*kStrFields[property].member);
}

int velmora_account_util_get_property_str(velmora_account_h data, int property, char **value) {
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  if (!valid_id(property, VA_STR_PROPERTY_COUNT)) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  const StrField &field = kStrFields[property];
  const char *stored = data->*field.member;
  if (stored == NULL) {
    VA_LOGE("(%s)", field.unset_condition);
    return VELMORA_ACCOUNT_ERROR_NO_DATA;
  }
  char *copy = strdup(stored);
  VA_RETV_IF(copy == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  *value = copy;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int velmora_account_util_set_property_str(velmora_account_h data, int property, const char *value) {
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  if (!valid_id(property, VA_STR_PROPERTY_COUNT)) {
    VA_LOGI("INVALID_PARAMETER [type : %d]", property);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  char *copy =
      property >= kFirstUnreleasedStr ? va_dup_field_not_released_by_destroy(value) : strdup(value);
  VA_RETV_IF(copy == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  char *&stored = data->*kStrFields[property].member;
  free(stored);
  stored = copy;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

bool velmora_account_util_clear_property_str(velmora_account_h data, int property) {
  char **field = velmora_account_util_str_field(data, property);
  if (field == NULL) return false;
  free(*field);
  *field = NULL;
  return true;
}

int velmora_account_util_get_property_int(velmora_account_h data, int property, int *value) {
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  if (!valid_id(property, VA_INT_PROPERTY_COUNT)) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  const int stored = data->*kIntFields[property];
  if (stored < 1) return VELMORA_ACCOUNT_ERROR_NO_DATA;  // below 1 counts as not set
  *value = stored;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int velmora_account_util_set_property_int(velmora_account_h data, int property, int value) {
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  if (!valid_id(property, VA_INT_PROPERTY_COUNT)) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  // Stored as given: zero and negative values read back as not set.
  data->*kIntFields[property] = value;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int velmora_account_util_get_property_bool(velmora_account_h data, int property, bool *value) {
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  if (!valid_id(property, VA_BOOL_PROPERTY_COUNT)) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  const int stored = data->*kBoolFields[property];
  if (stored == VA_TRISTATE_UNSET) return VELMORA_ACCOUNT_ERROR_NO_DATA;
  *value = stored != VA_TRISTATE_FALSE;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int velmora_account_util_set_property_bool(velmora_account_h data, int property, bool value) {
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  if (!valid_id(property, VA_BOOL_PROPERTY_COUNT)) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  data->*kBoolFields[property] = value ? VA_TRISTATE_TRUE : VA_TRISTATE_FALSE;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
