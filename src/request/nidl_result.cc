// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: an AccountS record received over the AccountSvc port, written into an
// account handle.
//
// Only non-empty strings are copied, so a reply that leaves a field empty keeps the value the
// handle already had (the caller's own, in a request's clone). A value that cannot be copied for
// lack of memory makes the conversion report VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY (the others are
// still copied).
#include <cstdlib>
#include <cstring>

#include "account_record.h"
#include "account_svc_proxy.h"
#include "records_internal.hh"
#include "request_reply.h"
#include "va_log.h"

namespace {

using StrGetter = int (*)(rpc_port_AccountS_h h, char **value);
using IntGetter = int (*)(rpc_port_AccountS_h h, int *value);

struct StrField {
  StrGetter get;
  int property;
  char *rpc_port_AccountS_s::*value;  // the field itself: a getter also fails when out of memory
};

// In this order. Aaa and Reserved carry nothing for the account; Bbb and Ccc are the spare slots
// that carry the customized-service value and the ID token.
constexpr StrField kStrFields[] = {
    {rpc_port_AccountS_get_AccessToken, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN,
     &rpc_port_AccountS_s::AccessToken},
    {rpc_port_AccountS_get_ApiServerUrl, VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL,
     &rpc_port_AccountS_s::ApiServerUrl},
    {rpc_port_AccountS_get_AuthCode, VELMORA_ACCOUNT_PROPERTY_AUTHCODE,
     &rpc_port_AccountS_s::AuthCode},
    {rpc_port_AccountS_get_AuthServerUrl, VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL,
     &rpc_port_AccountS_s::AuthServerUrl},
    {rpc_port_AccountS_get_ClientId, VELMORA_ACCOUNT_PROPERTY_CLIENT_ID,
     &rpc_port_AccountS_s::ClientId},
    {rpc_port_AccountS_get_ClientSecret, VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET,
     &rpc_port_AccountS_s::ClientSecret},
    {rpc_port_AccountS_get_CountryCode, VELMORA_ACCOUNT_PROPERTY_CC,
     &rpc_port_AccountS_s::CountryCode},
    {rpc_port_AccountS_get_DeviceUniqueCode, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE,
     &rpc_port_AccountS_s::DeviceUniqueCode},
    {rpc_port_AccountS_get_LastAccessToken, VELMORA_ACCOUNT_PROPERTY_LAST_ACCESS_TOKEN,
     &rpc_port_AccountS_s::LastAccessToken},
    {rpc_port_AccountS_get_LoginId, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID,
     &rpc_port_AccountS_s::LoginId},
    {rpc_port_AccountS_get_Mcc, VELMORA_ACCOUNT_PROPERTY_MCC, &rpc_port_AccountS_s::Mcc},
    {rpc_port_AccountS_get_Password, VELMORA_ACCOUNT_PROPERTY_PASSWORD,
     &rpc_port_AccountS_s::Password},
    {rpc_port_AccountS_get_RefreshToken, VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN,
     &rpc_port_AccountS_s::RefreshToken},
    {rpc_port_AccountS_get_Scope, VELMORA_ACCOUNT_PROPERTY_SCOPE, &rpc_port_AccountS_s::Scope},
    {rpc_port_AccountS_get_UserId, VELMORA_ACCOUNT_PROPERTY_USER_ID, &rpc_port_AccountS_s::UserId},
    {rpc_port_AccountS_get_SigninAppMessage, VELMORA_ACCOUNT_PROPERTY_SIGNIN_APP_MESSAGE,
     &rpc_port_AccountS_s::SigninAppMessage},
    {rpc_port_AccountS_get_Bbb, VELMORA_ACCOUNT_PROPERTY_CUSTOMIZEDSERVICE,
     &rpc_port_AccountS_s::Bbb},
    {rpc_port_AccountS_get_Ccc, VELMORA_ACCOUNT_PROPERTY_ID_TOKEN, &rpc_port_AccountS_s::Ccc},
};

struct IntField {
  IntGetter get;
  int property;
};

constexpr IntField kIntFields[] = {
    {rpc_port_AccountS_get_TokenExpiresIn, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN},
    {rpc_port_AccountS_get_TokenIssueTime, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_ISSUE_TIME},
};

}  // namespace

extern "C" {

int va_fill_from_account_s(velmora_account_h account, rpc_port_AccountS_h s) {
  VA_LOG_NAME("set_response_handle_from_nild_result");
  VA_ENTRY();
  VA_RETV_IF(account == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(s == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  int ret = VELMORA_ACCOUNT_ERROR_NONE;
  for (const StrField &f : kStrFields) {
    char *value = nullptr;  // an unset field leaves it NULL (the getter logs it)
    if (f.get(s, &value) != 0 && s->*f.value != nullptr) ret = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
    const bool skip =
        value == nullptr || value[0] == '\0' ||
        // "-1" is the agent's "no refresh token"
        (f.property == VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN && strcmp(value, "-1") == 0);
    if (!skip && va_account_set_str(account, f.property, value) != VELMORA_ACCOUNT_ERROR_NONE)
      ret = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
    free(value);
  }
  for (const IntField &f : kIntFields) {
    int value = 0;
    f.get(s, &value);
    if (value != 0) va_account_set_int(account, f.property, value);
  }
  VA_EXIT();
  return ret;  // out of memory: a value of the record could not be copied into the account
}

int va_fill_linking_from_account_s(velmora_account_h account, rpc_port_AccountS_h s) {
  VA_LOG_NAME("set_response_handle_from_missing_nild_result");
  VA_ENTRY();
  // The condition texts name the original arguments of this conversion.
  if (account == NULL) {
    VA_LOGE("(%s)", "info == NULL");
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  if (s == NULL) {
    VA_LOGE("(%s)", "h == NULL");
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  // In the account-linking reply, Password carries the linking status.
  char *status = nullptr;
  rpc_port_AccountS_get_Password(s, &status);
  if (status != nullptr && strcmp(status, "Y") == 0)
    va_account_set_flag(account, VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS, true);
  else if (status != nullptr && strcmp(status, "N") == 0)
    va_account_set_flag(account, VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS, false);
  free(status);
  VA_EXIT();
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
