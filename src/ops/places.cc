// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the user's saved places, asked of the agent
// (velmora_account_place_request_info). The place and place-list handles and the reading of the
// replies live in src/place.
//
// Its mode lines say "ProfileUnsubscribe", as they always have: the service's tools look for
// these words.
#include "account_svc_proxy.h"
#include "op_extras.hh"
#include "place_record.h"
#include "request_operation.h"
#include "va_constants.h"
#include "velmora_account_place.h"
#include "velmora_account_request_op.h"

// The tables name only the members they use; the others are meant to be zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

// The login id is required; over the port the client id goes along when it is set.
constexpr va_extra_s kPlaceExtras[] = {
    va::kLoginIdExtra,
    {.key = NULL,
     .field = rpc_port_AccountS_set_ClientId,
     .source = VA_SOURCE_STR,
     .property = VELMORA_ACCOUNT_PROPERTY_CLIENT_ID,
     .need = VA_EXTRA_OPTIONAL},
};

const va_operation_s kPlaceInfo = {
    .name = "velmora_account_place_request_info",
    .api_level = 2,
    .extras = kPlaceExtras,
    .extra_count = sizeof kPlaceExtras / sizeof kPlaceExtras[0],
    .invalid_property_log = "Invalid Property, login_id is not set. [VA_ERROR_INVALID_PARAMETER]",
    .app_control = {.mode_log = "Request ProfileUnsubscribe to [APP_CONTROL] Mode",
                    .app_id = AGENT_APP_ID,
                    .operation = &REQUEST_OP_PLACE_GET,
                    .reply_name = "place_request_info_cb",
                    .parser = va_place_reply_from_app_control},
    .port = {.invoke = va_invoke_request_place_info,
             .mode_log = "Request ProfileUnsubscribe to [NIDL] Mode",
             .fail_name = "rpc_port_RequestPlaceInfo",
             .delegate = VA_DELEGATE_PLACE,
             .reply = {.place = va_place_reply_from_port}},
};

}  // namespace

extern "C" {

VELMORA_API int velmora_account_place_request_info(velmora_account_h handle,
                                                   velmora_account_place_response_cb callback,
                                                   void *user_data) {
  return va_operation_run(&kPlaceInfo, handle, VA_REQUEST_CB(callback), user_data, NULL);
}

}  // extern "C"
