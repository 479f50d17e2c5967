// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: account state queries (velmora_account_is_signed_in,
// velmora_account_get_account_list, velmora_account_get_default_account,
// velmora_account_set_default_account and its blocking form,
// velmora_account_get_account_from_property).
//
// The asynchronous forms ask the agent by app control; only the account of a user id also goes
// over the port (CommonAccount, request type 4). The three blocking forms that read the platform
// account store are in queries_store.cc.
#include <cstddef>

#include "account_record.h"
#include "account_svc_proxy.h"
#include "op_extras.hh"
#include "request_operation.h"
#include "request_reply.h"
#include "va_base.h"
#include "va_constants.h"
#include "va_log.h"
#include "velmora_account_request_op.h"

// The rows name only the members they use; the others are meant to be zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

// The login id of velmora_account_is_signed_in is its argument, sent only when given.
constexpr va_extra_s kIsSignedInExtras[] = {
    {.key = "login_id",
     .source = VA_SOURCE_ARG,
     .property = 0,
     .need = VA_EXTRA_OPTIONAL,
     .set_log = "Is SignedIn requested"},
};

constexpr va_extra_s kSetDefaultExtras[] = {va::kLoginIdExtra};

constexpr va_extra_s kAccountFromGuidExtras[] = {
    {.key = "user_id",
     .field = rpc_port_AccountS_set_UserId,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_USER_ID,
     .need = VA_EXTRA_REQUIRED},
};

// The reply fills the default account's login id into the clone, so the caller's is not kept.
int forget_login_id(va_op_call_s *call, app_control_h, const va_operation_s **) {
  va_account_clear_str(call->clone, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
  return VELMORA_ACCOUNT_ERROR_NONE;
}

const va_operation_s kIsSignedIn = {
    .name = "velmora_account_is_signed_in",
    .extras = kIsSignedInExtras,
    .extra_count = 1,
    .holder_size = sizeof(va_signed_in_status_s),
    .app_control = {.app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_IS_SIGNEDIN,
                    .reply_name = "signed_in_status_cb",
                    .parser = va_reply_parse_signed_in_status},
};

const va_operation_s kAccountList = {
    .name = "velmora_account_get_account_list",
    .holder_size = sizeof(va_account_id_list_s),
    .app_control = {.app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_IS_SIGNEDINLIST,
                    .reply_name = "account_list_cb",
                    .parser = va_reply_parse_account_list},
};

const va_operation_s kGetDefault = {
    .name = "velmora_account_get_default_account",
    .app_control = {.app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_GETDEFAULTACCOUNT,
                    .prepare = forget_login_id,
                    .reply_name = "get_default_result_cb"},
};

// The login id is checked only once the clone and the app control exist (both are released).
const va_operation_s kSetDefault = {
    .name = "velmora_account_set_default_account",
    .extras = kSetDefaultExtras,
    .extra_count = 1,
    .check_at = VA_CHECK_AFTER_TARGET,
    .invalid_property_log = "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_SETDEFAULTACCOUNT,
                    .reply_name = "set_default_result_cb"},
};

const va_operation_s kAccountFromGuid = {
    .name = "velmora_account_get_account_from_property",
    .extras = kAccountFromGuidExtras,
    .extra_count = 1,
    .invalid_property_log = "Invalid Property, user_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.mode_log = "Get Account from GUID to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_GETACCOUNT_FROM_GUID,
                    .reply_name = "get_account_from_property_cb"},
    .port = {.invoke = va_invoke_common_account,
             .mode_log = "Get Account from GUID to [NIDL] Mode",
             .request_type = 4,
             .fail_name = "rpc_port_CommonAccount",
             .fail_type = true,
             .reply_name = "NidlAccountFromGuidCb"},
};

}  // namespace

extern "C" {

VELMORA_API int velmora_account_is_signed_in(velmora_account_h handle, const char *login_id,
                                             velmora_account_signed_in_cb callback,
                                             void *user_data) {
  const va_op_args_s args = {.values = {login_id}};
  return va_operation_run(&kIsSignedIn, handle, VA_REQUEST_CB(callback), user_data, &args);
}

VELMORA_API int velmora_account_get_account_list(velmora_account_h handle,
                                                 velmora_account_list_cb callback,
                                                 void *user_data) {
  return va_operation_run(&kAccountList, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

VELMORA_API int velmora_account_get_default_account(velmora_account_h handle,
                                                    velmora_account_response_cb callback,
                                                    void *user_data) {
  return va_operation_run(&kGetDefault, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

VELMORA_API int velmora_account_set_default_account(velmora_account_h handle,
                                                    velmora_account_response_cb callback,
                                                    void *user_data) {
  return va_operation_run(&kSetDefault, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

VELMORA_API int velmora_account_get_account_from_property(velmora_account_h handle,
                                                          velmora_account_response_cb callback,
                                                          void *user_data) {
  return va_operation_run(&kAccountFromGuid, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

// Over the port only: a TV has no default to set (its first account is the default), and a handle
// made by velmora_account_create gets NOT_SUPPORTED without a line.
VELMORA_API int velmora_account_set_default_account_sync(velmora_account_h handle,
                                                         const char *account) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF_LOWER_AGENT(3);
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(account == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF_TV(VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  if (!handle->connected) return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;

  const int ret = rpc_port_proxy_AccountSvc_invoke_SetDefaultAccount(handle->proxy, account);
  if (ret != 0) {
    VA_LOGI("Failed to rpc_port_SetDefaultAccount. err = %d", ret);
    return ret == -1 ? VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY : ret;
  }
  VA_EXIT();
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
