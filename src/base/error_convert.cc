// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: turning platform and agent errors into the library's result codes.
#include <cstdlib>

#include "account_store.h"
#include "app_control.h"
#include "va_base.h"
#include "va_log.h"
#include "velmora_account_error.h"

namespace {

struct NamedError {
  int value;
  const char *name;
};

constexpr NamedError kAppControlErrors[] = {
    {APP_CONTROL_ERROR_NONE, "APP_CONTROL_ERROR_NONE"},
    {APP_CONTROL_ERROR_INVALID_PARAMETER, "APP_CONTROL_ERROR_INVALID_PARAMETER"},
    {APP_CONTROL_ERROR_OUT_OF_MEMORY, "APP_CONTROL_ERROR_OUT_OF_MEMORY"},
    {APP_CONTROL_ERROR_APP_NOT_FOUND, "APP_CONTROL_ERROR_APP_NOT_FOUND"},
    {APP_CONTROL_ERROR_KEY_NOT_FOUND, "APP_CONTROL_ERROR_KEY_NOT_FOUND"},
    {APP_CONTROL_ERROR_KEY_REJECTED, "APP_CONTROL_ERROR_KEY_REJECTED"},
    {APP_CONTROL_ERROR_INVALID_DATA_TYPE, "APP_CONTROL_ERROR_INVALID_DATA_TYPE"},
    {APP_CONTROL_ERROR_LAUNCH_REJECTED, "APP_CONTROL_ERROR_LAUNCH_REJECTED"},
    {APP_CONTROL_ERROR_PERMISSION_DENIED, "APP_CONTROL_ERROR_PERMISSION_DENIED"},
    {APP_CONTROL_ERROR_LAUNCH_FAILED, "APP_CONTROL_ERROR_LAUNCH_FAILED"},
    {APP_CONTROL_ERROR_TIMED_OUT, "APP_CONTROL_ERROR_TIMED_OUT"},
    {APP_CONTROL_ERROR_IO_ERROR, "APP_CONTROL_ERROR_IO_ERROR"},
};

struct ErrorMapping {
  int from;
  int to;
};

// Account-store errors with a code of their own; everything else is UNKNOWN.
constexpr ErrorMapping kAccountStoreErrors[] = {
    {ACCOUNT_ERROR_NOT_SUPPORTED, VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED},
    {ACCOUNT_ERROR_NO_DATA, VELMORA_ACCOUNT_ERROR_NO_DATA},
    {ACCOUNT_ERROR_PERMISSION_DENIED, VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED},
    {ACCOUNT_ERROR_OUT_OF_MEMORY, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY},
    {ACCOUNT_ERROR_DB_FAILED, VELMORA_ACCOUNT_ERROR_DB_FAILED},
    {ACCOUNT_ERROR_DB_NOT_OPENED, VELMORA_ACCOUNT_ERROR_DB_FAILED},
    {ACCOUNT_ERROR_RECORD_NOT_FOUND, VELMORA_ACCOUNT_ERROR_NEED_SIGNIN},
    {ACCOUNT_ERROR_DATABASE_BUSY, VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY},
};

// Launch failures with a code of their own; everything else is OUT_OF_MEMORY.
constexpr ErrorMapping kLaunchErrors[] = {
    {APP_CONTROL_ERROR_PERMISSION_DENIED, VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED},
    {APP_CONTROL_ERROR_APP_NOT_FOUND, VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED},
    {APP_CONTROL_ERROR_LAUNCH_REJECTED, VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY},
};

template <size_t N>
int map_error(const ErrorMapping (&table)[N], int err, int fallback) {
  for (const ErrorMapping &m : table)
    if (m.from == err) return m.to;
  return fallback;
}

// Results of the proxy's connect, indexed by result + 13 for results -13 .. 0.
constexpr int kConnectErrors[] = {
    VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED,  // -13
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,  // -12, -11
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,  // -10, -9
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,  // -8, -7
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,  // -6, -5
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,  // -4, -3
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,
    VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY,  // -2, -1
    VELMORA_ACCOUNT_ERROR_NONE,           // 0
};
constexpr int kConnectErrorBase = 13;
static_assert(sizeof(kConnectErrors) / sizeof(kConnectErrors[0]) == kConnectErrorBase + 1);

}  // namespace

extern "C" {

int va_convert_error(const char *error_code) {
  VA_LOG_NAME("_velmora_account_convert_error");
  VA_ENTRY();
  if (error_code == NULL) {
    // A failed reply without an error code reaches the caller as success.
    VA_LOGI("ErrorCode is NULL [%s], value set to 0", "(null)");
    return VELMORA_ACCOUNT_ERROR_NONE;
  }
  const int converted = static_cast<int>(strtol(error_code, NULL, 10));
  VA_LOGI("ErrorCode [%s], convert[%d]", error_code, converted);
  VA_EXIT();
  return converted;
}

const char *va_app_control_error_name(int err) {
  VA_LOG_NAME("__app_control_error");
  for (const NamedError &e : kAppControlErrors)
    if (e.value == err) return e.name;
  return "UNKNOWN__Error";
}

int va_convert_app_control_error(int err, velmora_account_request_h request,
                                 velmora_account_h account) {
  VA_LOG_NAME("__convert_app_control_error");
  VA_ENTRY();
  if (err == APP_CONTROL_ERROR_NONE) return VELMORA_ACCOUNT_ERROR_NONE;

  VA_LOGI("app_control_send_launch_request failed [%d][%s]", err, va_app_control_error_name(err));
  const int result = map_error(kLaunchErrors, err, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  if (request != NULL) {
    VA_LOGI("REQUEST_HANDLE_FREE");
    free(request);  // the record only; its account is released below, by the caller's pointer
  }
  if (account != NULL) {
    VA_LOGI("VELMORA_ACCOUNT_FREE");
    velmora_account_destroy(account);
  }
  VA_EXIT();
  return result;
}

int va_convert_account_manager_error(int err, const char *func) {
  VA_LOG_NAME("__convert_account_manager_error");
  const int result = map_error(kAccountStoreErrors, err, VELMORA_ACCOUNT_ERROR_UNKNOWN);
  VA_LOGI("[%s] error [%d], convert to [%d]", func ? func : "(null)", err, result);
  return result;
}

int va_convert_connect_error(int err) {
  VA_LOG_NAME("_velmora_account_convert_connect_error");
  if (err < -kConnectErrorBase || err > 0) return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  return kConnectErrors[err + kConnectErrorBase];
}

}  // extern "C"
