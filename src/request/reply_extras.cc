// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: reading the extras of an app-control reply.
//
// va_foreach_extra_cb copies the values the library knows (the key table below) into the request's
// account clone; the two other visitors collect the signed-in status and the list of login ids.
#include <cstdlib>
#include <cstring>

#include "account_record.h"
#include "app_control.h"
#include "request_reply.h"
#include "va_base.h"
#include "va_log.h"

namespace {

// How a reply value is stored in the account.
enum class Dest {
  kStr,      // string property: replaced by a copy
  kRefresh,  // string property, except the value "-1" which the agent sends for "no refresh token"
  kInt,      // int property, base-10
  kFlagYN,   // bool property: "Y" true, "N" false, anything else leaves it
};

struct ReplyKey {
  const char *key;
  Dest dest;
  int property;
};

// Keys are compared exactly; unknown keys are ignored.
constexpr ReplyKey kReplyKeys[] = {
    {"access_token", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN},
    {"access_token_expires_in", Dest::kInt, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN},
    {"access_token_issue_time", Dest::kInt, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_ISSUE_TIME},
    {"api_server_url", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL},
    {"authcode", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_AUTHCODE},
    {"auth_server_url", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL},
    {"cc", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_CC},
    {"device_physical_address", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE},
    {"device_security_code", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE},
    {"login_id", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID},
    {"mcc", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_MCC},
    {"refresh_token", Dest::kRefresh, VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN},
    {"user_id", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_USER_ID},
    {"signin_app_message", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_SIGNIN_APP_MESSAGE},
    {"customizedservice", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_CUSTOMIZEDSERVICE},
    {"id_token", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_ID_TOKEN},
    // The agent's key is "authenticate_token"; the property is the authentication token.
    {"authenticate_token", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN},
    {"request_to_server", Dest::kFlagYN, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER},
    {"account_linking_status", Dest::kFlagYN, VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS},
};

const ReplyKey *find_reply_key(const char *key) {
  for (const ReplyKey &k : kReplyKeys)
    if (strcmp(k.key, key) == 0) return &k;
  return nullptr;
}

// False when the value could not be stored for lack of memory.
bool store_value(velmora_account_h account, const ReplyKey &k, const char *value) {
  switch (k.dest) {
    case Dest::kRefresh:
      if (strcmp(value, "-1") == 0) {
        VA_LOGI("Skip refresh_token [-1]");
        return true;
      }
      [[fallthrough]];
    case Dest::kStr:
      return va_account_set_str(account, k.property, value) != VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
    case Dest::kInt:
      va_account_set_int(account, k.property, static_cast<int>(strtol(value, nullptr, 10)));
      return true;
    case Dest::kFlagYN:
      if (strcmp(value, "Y") == 0)
        va_account_set_flag(account, k.property, true);
      else if (strcmp(value, "N") == 0)
        va_account_set_flag(account, k.property, false);
      return true;
  }
  return true;
}

// The extra `key` of `app_control` into `account` (known keys only); *out_of_memory is set when
// its value could not be stored.
bool visit_extra(app_control_h app_control, const char *key, velmora_account_h account,
                 bool *out_of_memory) {
  VA_LOG_NAME("__foreach_extra_cb");
  if (key == nullptr) {
    VA_LOGI("Error. key is null");
    return true;
  }
  char *value = nullptr;
  const int ret = app_control_get_extra_data(app_control, key, &value);
  if (ret != APP_CONTROL_ERROR_NONE) {
    VA_LOGI("foreach_extra_cb failed.%s [key : %s]", va_app_control_error_name(ret), key);
    free(value);
    if (ret == APP_CONTROL_ERROR_OUT_OF_MEMORY) *out_of_memory = true;  // a value is missing
    return false;
  }
  VA_LOGI("Key[%s]", key);
  const ReplyKey *k = find_reply_key(key);
  if (k != nullptr && value != nullptr && account != nullptr && !store_value(account, *k, value))
    *out_of_memory = true;
  free(value);
  return true;
}

}  // namespace

extern "C" {

bool va_foreach_extra_cb(app_control_h app_control, const char *key, void *user_data) {
  bool out_of_memory = false;
  return visit_extra(app_control, key, static_cast<velmora_account_h>(user_data), &out_of_memory);
}

bool va_fill_extra_cb(app_control_h app_control, const char *key, void *user_data) {
  auto *fill = static_cast<va_extra_fill_s *>(user_data);
  return visit_extra(app_control, key, fill->account, &fill->out_of_memory);
}

bool va_foreach_signed_in_status_cb(app_control_h app_control, const char *key, void *user_data) {
  VA_LOG_NAME("foreach_signed_in_status_cb");
  if (key == nullptr || strcmp(key, "is_signin") != 0) return true;
  char *value = nullptr;
  const int ret = app_control_get_extra_data(app_control, key, &value);
  if (ret != APP_CONTROL_ERROR_NONE) {
    VA_LOGI("foreach_extra_cb failed.%s [key : %s]", va_app_control_error_name(ret), key);
    free(value);
    return false;
  }
  auto *status = static_cast<va_signed_in_status_s *>(user_data);
  if (status != nullptr) status->is_signed_in = value != nullptr && strcmp(value, "true") == 0;
  free(value);
  return false;  // the status is known: the walk ends here
}

bool va_foreach_signed_in_account_cb(app_control_h app_control, const char *key, void *user_data) {
  VA_LOG_NAME("foreach_signed_in_account_cb");
  // Any key that contains "login_id" counts ("login_id0", "x_login_id", ...).
  if (key == nullptr || strstr(key, "login_id") == nullptr) return true;
  auto *ids = static_cast<va_account_id_list_s *>(user_data);
  if (ids == nullptr || ids->list == nullptr) return false;
  if (ids->length >= VA_ACCOUNT_LIST_MAX) {
    VA_LOGI("Invalid list index [%d]", ids->length);
    return false;
  }
  char *value = nullptr;
  const int ret = app_control_get_extra_data(app_control, key, &value);
  if (ret != APP_CONTROL_ERROR_NONE) {
    VA_LOGI("foreach_extra_cb failed.%s [key : %s]", va_app_control_error_name(ret), key);
    free(value);
    return false;
  }
  if (value == nullptr) return true;
  VA_LOGI("foreach_signed_in_account_cb [%s]", value);
  ids->list[ids->length++] = value;  // the holder owns the copy from here
  return true;
}

}  // extern "C"
