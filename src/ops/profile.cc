// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the profile requests (velmora_account_profile_request_profile,
// _request_privacy, _request_info, _update_info, _update_privacy, _subscribe, _unsubscribe).
//
// Each is one row; the replies are read by src/profile/profile_replies.cc. The log texts are kept
// as the service's tools expect them, "Subscirbe" and "loginId/clientId" included.
#include <cstddef>
#include <cstdio>

#include "account_record.h"
#include "account_svc_proxy.h"
#include "op_extras.hh"
#include "profile_internal.h"
#include "profile_record.h"
#include "request_operation.h"
#include "va_base.h"
#include "va_constants.h"
#include "va_log.h"
#include "velmora_account_profile.h"
#include "velmora_account_request_op.h"

// The rows name only the members they use; the others are meant to be zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

// What a call hands to its row: VA_SOURCE_ARG values.
enum { kArgResource = 0, kArgRequestToServer = 1 };

// "Y" when the handle's request-to-server flag holds true: an extra over app control, the
// CountryCode field over the port.
constexpr va_extra_s kRequestToServer = {.key = "request_to_server",
                                         .field = rpc_port_AccountS_set_CountryCode,
                                         .source = VA_SOURCE_ARG,
                                         .property = kArgRequestToServer};
// The same for request_info, which says it over app control only.
constexpr va_extra_s kRequestToServerExtra = {
    .key = "request_to_server", .source = VA_SOURCE_ARG, .property = kArgRequestToServer};

constexpr va_extra_s kSingleProfileExtras[] = {
    va::kLoginIdExtra,
    va::kClientIdExtra,
    {.field = rpc_port_AccountS_set_Aaa, .source = VA_SOURCE_CONST, .value = "profile"},
    {.key = "resource", .source = VA_SOURCE_ARG, .property = kArgResource},
    kRequestToServer,
};
constexpr va_extra_s kPrivacyExtras[] = {
    va::kLoginIdExtra,
    va::kClientIdExtra,
    {.field = rpc_port_AccountS_set_Aaa, .source = VA_SOURCE_CONST, .value = "privacy"},
    {.key = "category", .source = VA_SOURCE_CONST, .value = "privacy"},
    {.key = "resource", .source = VA_SOURCE_CONST, .value = "all"},
    kRequestToServer,
};
constexpr va_extra_s kInfoExtras[] = {
    va::kLoginIdExtra,
    va::kClientIdExtra,
    {.key = "resource", .source = VA_SOURCE_CONST, .value = "all"},
    kRequestToServerExtra,
};
constexpr va_extra_s kUpdateExtras[] = {
    va::kLoginIdExtra,
    va::kClientIdExtra,
    {.key = "category", .source = VA_SOURCE_CONST, .value = "profile"},
};
constexpr va_extra_s kUpdatePrivacyExtras[] = {
    va::kLoginIdExtra,
    va::kClientIdExtra,
    {.key = "category", .source = VA_SOURCE_CONST, .value = "privacy"},
};
// A subscription needs the login id; the client id goes along when set.
constexpr va_extra_s kSubscriptionExtras[] = {
    va::kLoginIdExtra,
    {.key = "client_id", .source = VA_SOURCE_STR, .property = VELMORA_ACCOUNT_PROPERTY_CLIENT_ID}};

constexpr const char *kLoginAndClient =
    "Invalid Property, login_id/client_id is not set. [VA_ERROR_INVALID_PARAMETER]";

// Over the port, the flag also says itself in the log.
int note_request_to_server(const va_op_call_s *call) {
  if (call->handle->connected && call->args != NULL &&
      call->args->values[kArgRequestToServer] != NULL)
    VA_LOG_AS(DLOG_INFO, call->op->name, "--> REQUEST_TO_SERVER property");
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int update_body(const va_op_call_s *call, app_control_h app_control) {
  return va_profile_add_update_body(app_control,
                                    static_cast<velmora_account_profile_list_h>(call->args->body));
}

// The privacy of every category the list knows, as "<resource>" = value.
int privacy_body(const va_op_call_s *call, app_control_h app_control) {
  auto list = static_cast<velmora_account_profile_list_h>(call->args->body);
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
    if (list->privacy[c] >= VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN) continue;
    char value[16];
    snprintf(value, sizeof value, "%d", list->privacy[c]);
    if (app_control_add_extra_data(app_control, va_profile_category(c)->resource, value) !=
        APP_CONTROL_ERROR_NONE)
      return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

const va_operation_s kRequestProfile = {
    .name = "velmora_account_profile_request_profile",
    .api_level = 3,
    .extras = kSingleProfileExtras,
    .extra_count = va::count_of(kSingleProfileExtras),
    .invalid_property_log = kLoginAndClient,
    .check = note_request_to_server,
    .app_control = {.mode_log = "Request RequestSingleProfile to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_PROFILE_GET,
                    .reply_name = "profile_response_cb",
                    .parser = va_profile_reply_list},
    .port = {.invoke = va_invoke_common_profile,
             .mode_log = "Request RequestSingleProfile to [NIDL] Mode",
             .request_type = 2,
             .fail_name = "rpc_port_CommonProfile",
             .delegate = VA_DELEGATE_PROFILE,
             .reply_name = "NidlSingleProfileCb",
             .reply = {.profile = va_profile_port_list_cb}},
};

const va_operation_s kRequestPrivacy = {
    .name = "velmora_account_profile_request_privacy",
    .api_level = 3,
    .extras = kPrivacyExtras,
    .extra_count = va::count_of(kPrivacyExtras),
    .invalid_property_log = kLoginAndClient,
    .check = note_request_to_server,
    .app_control = {.mode_log = "Request SinglePrivacy to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_PROFILE_GET,
                    .reply_name = "privacy_response_cb",
                    .parser = va_profile_reply_list},
    .port = {.invoke = va_invoke_common_profile,
             .mode_log = "Request SinglePrivacy to [NIDL] Mode",
             .request_type = 3,
             .resource = "all",
             .fail_name = "rpc_port_CommonProfile",
             .delegate = VA_DELEGATE_PROFILE,
             .reply_name = "NidlSinglePrivacyCb",
             .reply = {.profile = va_profile_port_list_cb}},
};

const va_operation_s kRequestInfo = {
    .name = "velmora_account_profile_request_info",
    .extras = kInfoExtras,
    .extra_count = va::count_of(kInfoExtras),
    .invalid_property_log = kLoginAndClient,
    .app_control = {.mode_log = "Request ProfileInfo to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_PROFILE_GET,
                    .reply_name = "profile_request_info_cb",
                    .parser = va_profile_reply_info},
    .port = {.invoke = va_invoke_request_profile_info,
             .mode_log = "Request ProfileInfo to [NIDL] Mode",
             .resource = "all",
             .fail_name = "rpc_port_RequestProfileInfo",
             .delegate = VA_DELEGATE_PROFILE,
             .reply_name = "NidlProfileInfoCb",
             .reply = {.profile = va_profile_port_info_cb}},
};

const va_operation_s kUpdateInfo = {
    .name = "velmora_account_profile_update_info",
    .extras = kUpdateExtras,
    .extra_count = va::count_of(kUpdateExtras),
    .invalid_property_log =
        "Invalid Property, loginId/clientId is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.mode_log = "Request UpdateProfile to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_PROFILE_UPDATE,
                    .body = update_body,
                    .reply_name = "profile_update_cb",
                    .parser = va_profile_reply_update},
    .port = {.invoke = va_invoke_update_profile_info,
             .mode_log = "Request UpdateProfile to [NIDL] Mode",
             .request_type = 1,
             .fail_name = "rpc_port_Update_Profile",
             .delegate = VA_DELEGATE_ERROR,
             .reply_name = "NidlUpdateProfileCb",
             .reply = {.error = va_profile_port_update_cb}},
};

const va_operation_s kUpdatePrivacy = {
    .name = "velmora_account_profile_update_privacy",
    .extras = kUpdatePrivacyExtras,
    .extra_count = va::count_of(kUpdatePrivacyExtras),
    .invalid_property_log = kLoginAndClient,
    .app_control = {.mode_log = "Request UpdatePrivacy to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_PROFILE_UPDATE,
                    .body = privacy_body,
                    .reply_name = "privacy_update_cb",
                    .parser = va_profile_reply_update},
    .port = {.invoke = va_invoke_update_privacy_info,
             .mode_log = "Request UpdatePrivacy to [NIDL] Mode",
             .fail_name = "rpc_port_Update_Privacy",
             .delegate = VA_DELEGATE_ERROR,
             .reply_name = "NidlUpdatePrivacyCb",
             .reply_keeps_request = true,
             .reply = {.error = va_profile_port_privacy_cb}},
};

const va_operation_s kSubscribe = {
    .name = "velmora_account_profile_subscribe",
    .api_level = 2,
    .extras = kSubscriptionExtras,
    .extra_count = va::count_of(kSubscriptionExtras),
    .invalid_property_log = "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.mode_log = "Request ProfileSubscirbe to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_PROFILE_SUBSCRIBE,
                    .reply_name = "profile_subscribe_result_cb",
                    .parser = va_profile_reply_subscription},
};

const va_operation_s kUnsubscribe = {
    .name = "velmora_account_profile_unsubscribe",
    .api_level = 2,
    .extras = kSubscriptionExtras,
    .extra_count = va::count_of(kSubscriptionExtras),
    .invalid_property_log = "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.mode_log = "Request ProfileUnsubscribe to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_PROFILE_UNSUBSCRIBE,
                    .reply_name = "profile_unsubscribe_result_cb",
                    .parser = va_profile_reply_subscription},
};

// "Y" when the caller's handle holds the request-to-server flag (a clone does not carry it).
const char *request_to_server(velmora_account_h handle) {
  bool flag = false;
  return handle != NULL &&
                 va_account_get_flag(handle, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER,
                                     &flag) == VELMORA_ACCOUNT_ERROR_NONE &&
                 flag
             ? "Y"
             : NULL;
}

// Checks, clone and send of the entry points whose checks are not those of va_operation_run.
int run_checked(va_op_call_s *call) {
  int ret = va_operation_check_values(call);
  if (ret == VELMORA_ACCOUNT_ERROR_NONE) ret = va_operation_clone(call);
  if (ret == VELMORA_ACCOUNT_ERROR_NONE) ret = va_operation_send(call);
  return ret;
}

// subscribe and unsubscribe: over app control only; a connected handle is told so.
int subscription(const va_operation_s *op, const char *port_line, velmora_account_h handle,
                 velmora_account_response_cb callback, void *user_data) {
  va_op_call_s call = {
      .op = op, .handle = handle, .callback = VA_REQUEST_CB(callback), .user_data = user_data};
  int ret = va_operation_check(&call);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  if (handle->connected) {
    VA_LOG_AS(DLOG_INFO, op->name, "%s", port_line);
    return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;
  }
  return run_checked(&call);
}

// update_info and update_privacy: the list is checked after the handle and the callback, before
// the properties; over the port it travels as a record made here.
int update(const va_operation_s *op, velmora_account_h handle, velmora_account_profile_list_h list,
           velmora_account_response_cb callback, void *user_data, bool privacy) {
  va_op_args_s args = {};
  va_op_call_s call = {.op = op,
                       .handle = handle,
                       .callback = VA_REQUEST_CB(callback),
                       .user_data = user_data,
                       .args = &args};
  int ret = va_operation_check(&call);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  VA_RETV_IF(list == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  if (!handle->connected) {
    args.body = list;
    return run_checked(&call);
  }
  void *record = privacy ? static_cast<void *>(va_profile_nidl_privacy_from_list(list))
                         : va_profile_nidl_from_list(list, va_profile_update_category(list));
  if (record == NULL) {
    VA_LOG_AS(DLOG_ERROR, op->name, "rpc_port_ProfileS_create failed [VA_ERROR_OUT_OF_MEMORY]");
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  args.body = record;
  ret = run_checked(&call);
  if (privacy)
    rpc_port_PrivacyS_destroy(static_cast<rpc_port_PrivacyS_h>(record));
  else
    rpc_port_ProfileS_destroy(static_cast<rpc_port_ProfileS_h>(record));
  return ret;
}

}  // namespace

extern "C" {

VELMORA_API int velmora_account_profile_request_profile(
    velmora_account_h handle, int category, velmora_account_profile_list_response_cb callback,
    void *user_data) {
  const va_profile_category_desc *desc = va_profile_category(category);
  // A category past the last one is sent without a resource.
  va_op_args_s args = {.values = {desc ? desc->resource : NULL, request_to_server(handle)},
                       .resource = desc ? desc->resource : ""};
  return va_operation_run(&kRequestProfile, handle, VA_REQUEST_CB(callback), user_data, &args);
}

VELMORA_API int velmora_account_profile_request_privacy(
    velmora_account_h handle, velmora_account_profile_list_response_cb callback, void *user_data) {
  va_op_args_s args = {.values = {NULL, request_to_server(handle)}};
  return va_operation_run(&kRequestPrivacy, handle, VA_REQUEST_CB(callback), user_data, &args);
}

VELMORA_API int velmora_account_profile_request_info(velmora_account_h handle,
                                                     velmora_account_response_cb callback,
                                                     void *user_data) {
  va_op_args_s args = {.values = {NULL, request_to_server(handle)}};
  return va_operation_run(&kRequestInfo, handle, VA_REQUEST_CB(callback), user_data, &args);
}

VELMORA_API int velmora_account_profile_update_info(velmora_account_h handle,
                                                    velmora_account_profile_list_h list,
                                                    velmora_account_response_cb callback,
                                                    void *user_data) {
  return update(&kUpdateInfo, handle, list, callback, user_data, false);
}

VELMORA_API int velmora_account_profile_update_privacy(velmora_account_h handle,
                                                       velmora_account_profile_list_h list,
                                                       velmora_account_response_cb callback,
                                                       void *user_data) {
  return update(&kUpdatePrivacy, handle, list, callback, user_data, true);
}

VELMORA_API int velmora_account_profile_subscribe(velmora_account_h handle,
                                                  velmora_account_response_cb callback,
                                                  void *user_data) {
  return subscription(&kSubscribe,
                      "Request ProfileSubscirbe to [NIDL] Mode [VA_ERROR_NOT_SUPPORTED]", handle,
                      callback, user_data);
}

VELMORA_API int velmora_account_profile_unsubscribe(velmora_account_h handle,
                                                    velmora_account_response_cb callback,
                                                    void *user_data) {
  return subscription(&kUnsubscribe,
                      "Request ProfileUnsubscribe to [NIDL] Mode [VA_ERROR_NOT_SUPPORTED]", handle,
                      callback, user_data);
}

}  // extern "C"
