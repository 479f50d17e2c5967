// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: account services (velmora_account_request_mcc, velmora_account_set_tnc,
// velmora_account_update_tnc_info, velmora_account_request_account_linking_info).
//
// The three requests go over app control or over the port's CommonAccount method with a request
// type: 0 the current MCC, 1 the terms-consent update, 6 the account-linking status. Their replies
// are the generic ones: whatever the reply carries goes into the clone. The linking reply over the
// port carries its status in the AccountS field Password, and so does its request carry the
// partner client id (the record has no field of its own for it).
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

// The consent bits of the TNC bitmask.
constexpr int kTncService = 1;       // the account service's own terms (mandatory)
constexpr int kTncPersonalInfo = 2;  // personal information (mandatory)
constexpr int kTncCustomized = 4;    // customized service
constexpr int kTncCustomizedAd = 8;  // customized-service advertisement

constexpr const char *kLoginIdMissing =
    "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]";

constexpr va_extra_s kMccExtras[] = {va::kLoginIdExtra};

// The two optional consents travel as arguments of the call ("Y" / "N" from the bitmask); the
// mandatory two are "Y" by the time a request is sent. Over the port the whole bitmask goes in
// TncStatus (invoke_tnc_update).
constexpr va_extra_s kTncExtras[] = {
    va::kLoginIdExtra,
    {.key = "mcc",
     .field = rpc_port_AccountS_set_Mcc,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_MCC,
     .need = VA_EXTRA_OPTIONAL},
    {.key = "velmoraService", .source = VA_SOURCE_CONST, .value = "Y"},
    {.key = "personalInfo", .source = VA_SOURCE_CONST, .value = "Y"},
    {.key = "customizedservice", .source = VA_SOURCE_ARG, .property = 0},
    {.key = "customizedserviceadvertisement", .source = VA_SOURCE_ARG, .property = 1},
};

constexpr va_extra_s kLinkingExtras[] = {
    va::kLoginIdExtra,
    va::kClientIdExtra,
    {.key = "partner_client_id",
     .field = rpc_port_AccountS_set_Password,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID,
     .need = VA_EXTRA_REQUIRED},
    {.key = "access_token",
     .field = rpc_port_AccountS_set_AccessToken,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN,
     .need = VA_EXTRA_REQUIRED},
    {.key = "auth_server_url",
     .field = rpc_port_AccountS_set_AuthServerUrl,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL,
     .need = VA_EXTRA_REQUIRED},
};

// Both mandatory consents and the MCC before an update is accepted.
int check_tnc(const va_op_call_s *call) {
  VA_LOG_NAME("velmora_account_update_tnc_info");
  const int tnc = call->handle->tnc_status;
  if (!(tnc & kTncPersonalInfo) || call->handle->mcc == NULL || !(tnc & kTncService)) {
    VA_LOGI("Invalid TNC status [%d], [VA_ERROR_INVALID_PARAMETER]", tnc);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  VA_LOGI("TNC status is normal [%d] ", tnc);
  return VELMORA_ACCOUNT_ERROR_NONE;
}

// CommonAccount with the whole bitmask in TncStatus (only when greater than 0).
int invoke_tnc_update(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                      rpc_port_AccountS_h account, void *delegate) {
  if (call->handle->tnc_status > 0)
    rpc_port_AccountS_set_TncStatus(account, call->handle->tnc_status);
  return va_invoke_common_account(call, proxy, account, delegate);
}

const va_operation_s kRequestMcc = {
    .name = "velmora_account_request_mcc",
    .api_level = 3,
    .extras = kMccExtras,
    .extra_count = 1,
    .invalid_property_log = kLoginIdMissing,
    .app_control = {.mode_log = "Request MCC to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_CURRENT_MCC,
                    .reply_name = "mcc_cb"},
    .port = {.invoke = va_invoke_common_account,
             .mode_log = "Request MCC to [NIDL] Mode",
             .request_type = 0,
             .fail_name = "rpc_port_CommonAccount",
             .fail_type = true,
             .reply_name = "NidlMccCb"},
};

// The MCC reply callback serves the update over the port as well.
const va_operation_s kUpdateTnc = {
    .name = "velmora_account_update_tnc_info",
    .api_level = 3,
    .extras = kTncExtras,
    .extra_count = sizeof(kTncExtras) / sizeof(kTncExtras[0]),
    .invalid_property_log = kLoginIdMissing,
    .check = check_tnc,
    .app_control = {.mode_log = "Update TNC info to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_TNC_UPDATE,
                    .reply_name = "update_tnc_cb"},
    .port = {.invoke = invoke_tnc_update,
             .mode_log = "Update TNC info to [NIDL] Mode",
             .request_type = 1,
             .fail_name = "rpc_port_CommonAccount",
             .fail_type = true,
             .reply_name = "NidlMccCb"},
};

// No API-level check. Over app control the effortless-login reply callback answers it.
const va_operation_s kAccountLinking = {
    .name = "velmora_account_request_account_linking_info",
    .extras = kLinkingExtras,
    .extra_count = sizeof(kLinkingExtras) / sizeof(kLinkingExtras[0]),
    .invalid_property_log =
        "Invalid Property, mandatory property is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.mode_log = "Request AccountLinking status to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_ACCOUNT_LINKING,
                    .reply_name = "effortless_result_cb"},
    .port = {.invoke = va_invoke_common_account,
             .mode_log = "Request AccountLinking status to [NIDL] Mode",
             .request_type = 6,
             .fail_name = "rpc_port_CommonAccount",
             .fail_type = true,
             .reply_name = "NidlAccountLinkingCb",
             .fill = va_fill_linking_from_account_s},
};

}  // namespace

extern "C" {

VELMORA_API int velmora_account_request_mcc(velmora_account_h handle,
                                            velmora_account_response_cb callback, void *user_data) {
  return va_operation_run(&kRequestMcc, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

VELMORA_API int velmora_account_set_tnc(velmora_account_h handle, int tnc, bool value) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  // One consent bit at a time: 1, 2, 4 or 8.
  if (tnc != kTncService && tnc != kTncPersonalInfo && tnc != kTncCustomized &&
      tnc != kTncCustomizedAd) {
    VA_LOGE("INVALID_PARAMETER [type : %d]", tnc);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  if (value)
    handle->tnc_status |= tnc;
  else
    handle->tnc_status &= ~tnc;
  VA_LOGI("velmora_account_set_tnc [tnc : %d]", handle->tnc_status);
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_update_tnc_info(velmora_account_h handle,
                                                velmora_account_response_cb callback,
                                                void *user_data) {
  const int tnc = handle != NULL ? handle->tnc_status : 0;
  const va_op_args_s args = {
      .values = {(tnc & kTncCustomized) ? "Y" : "N", (tnc & kTncCustomizedAd) ? "Y" : "N"}};
  return va_operation_run(&kUpdateTnc, handle, VA_REQUEST_CB(callback), user_data, &args);
}

VELMORA_API int velmora_account_request_account_linking_info(velmora_account_h handle,
                                                             velmora_account_response_cb callback,
                                                             void *user_data) {
  return va_operation_run(&kAccountLinking, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

}  // extern "C"
