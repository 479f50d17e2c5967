// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the values most operation rows send, and the length of a row's table.
//
//   constexpr va_extra_s kMyExtras[] = {va::kLoginIdExtra, va::kClientIdExtra, ...};
//   const va_operation_s kMyOp = {..., .extras = kMyExtras, .extra_count =
//   va::count_of(kMyExtras)};
#pragma once

#include <cstddef>

#include "account_record.h"
#include "account_svc_proxy.h"
#include "request_operation.h"

// The rows name only the members they use; the others are meant to be zero.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace va {

template <size_t N>
constexpr size_t count_of(const va_extra_s (&)[N]) {
  return N;
}

// "login_id" and "client_id" (LoginId and ClientId over the port), both required.
inline constexpr va_extra_s kLoginIdExtra = {.key = "login_id",
                                             .field = rpc_port_AccountS_set_LoginId,
                                             .source = VA_SOURCE_STR,
                                             .property = VELMORA_ACCOUNT_PROPERTY_LOGIN_ID,
                                             .need = VA_EXTRA_REQUIRED};
inline constexpr va_extra_s kClientIdExtra = {.key = "client_id",
                                              .field = rpc_port_AccountS_set_ClientId,
                                              .source = VA_SOURCE_STR,
                                              .property = VELMORA_ACCOUNT_PROPERTY_CLIENT_ID,
                                              .need = VA_EXTRA_REQUIRED};

}  // namespace va

#pragma GCC diagnostic pop
