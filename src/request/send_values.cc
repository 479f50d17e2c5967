// Velmora Account client: the values an operation sends, read from the caller's handle.
//
// Reads go straight to the record (the property getters would log every unset optional value as an
// error), through the same property ids the public accessors use.
#include <cstdlib>

#include "account_record.h"
#include "request_send.h"
#include "va_constants.h"
#include "va_log.h"

namespace {

using StrMember = char *velmora_account_s::*;
using FlagMember = int velmora_account_s::*;

// String property id -> field.
constexpr StrMember kStrMembers[VA_STR_PROPERTY_COUNT] = {
    &velmora_account_s::access_token,
    &velmora_account_s::api_server_url,
    &velmora_account_s::authcode,
    &velmora_account_s::auth_server_url,
    &velmora_account_s::client_id,
    &velmora_account_s::client_secret,
    &velmora_account_s::cc,
    &velmora_account_s::device_unique_code,
    &velmora_account_s::expired_access_token,
    &velmora_account_s::login_id,
    &velmora_account_s::mcc,
    &velmora_account_s::password,
    &velmora_account_s::refresh_token,
    &velmora_account_s::scope,
    &velmora_account_s::user_id,
    &velmora_account_s::signin_app_message,
    &velmora_account_s::customizedservice,
    &velmora_account_s::id_token,
    &velmora_account_s::authentication_token,
    &velmora_account_s::authentication_code,
    &velmora_account_s::partner_client_id,
};

// Bool property id -> tri-state field (ids do not follow the record's order).
constexpr FlagMember kFlagMembers[VA_BOOL_PROPERTY_COUNT] = {
    &velmora_account_s::request_to_server,
    &velmora_account_s::register_trusted_device,
    &velmora_account_s::check_2factor_authentication,
    &velmora_account_s::mobile_account_exist,
    &velmora_account_s::account_linking_status,
};

}  // namespace

extern "C" {

const char *va_extra_value(const va_extra_s *extra, velmora_account_h handle) {
  switch (extra->source) {
    case VA_SOURCE_STR:
      if (extra->property < 0 || extra->property >= VA_STR_PROPERTY_COUNT) return nullptr;
      return handle->*kStrMembers[extra->property];
    case VA_SOURCE_FLAG_YN:
      if (extra->property < 0 || extra->property >= VA_BOOL_PROPERTY_COUNT) return "N";
      return handle->*kFlagMembers[extra->property] == VA_TRISTATE_TRUE ? "Y" : "N";
    case VA_SOURCE_CONST:
      return extra->value;
  }
  return nullptr;
}

bool va_request_missing(const va_request_op_s *op, velmora_account_h handle, va_extra_need_e need) {
  for (size_t i = 0; i < op->extra_count; ++i) {
    const va_extra_s *extra = &op->extras[i];
    if (extra->need == need && va_extra_value(extra, handle) == nullptr) return true;
  }
  return false;
}

rpc_port_AccountS_h va_request_account_s_from(const va_request_op_s *op, velmora_account_h handle) {
  rpc_port_AccountS_h s = nullptr;
  if (rpc_port_AccountS_create(&s) != 0) return nullptr;
  for (size_t i = 0; i < op->extra_count; ++i) {
    const va_extra_s *extra = &op->extras[i];
    const char *value = va_extra_value(extra, handle);
    if (extra->field == nullptr || value == nullptr) continue;
    if (extra->field(s, value) != 0) {
      rpc_port_AccountS_destroy(s);
      return nullptr;
    }
  }
  return s;
}

}  // extern "C"
