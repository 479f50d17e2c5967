// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the values an operation sends, read from the caller's handle (or from
// the call's arguments) through the operation's extras table.
//
// Reads go straight to the record (the property getters would log every unset optional value as an
// error), through the property table the public accessors use.
#include <cstdlib>

#include "account_record.h"
#include "request_operation.h"

extern "C" {

const char *va_extra_value(const va_extra_s *extra, const va_op_call_s *call) {
  switch (extra->source) {
    case VA_SOURCE_STR: {
      char **field = va_account_str_field(call->handle, extra->property);
      return field != nullptr ? *field : nullptr;
    }
    case VA_SOURCE_FLAG_YN: {
      const int *flag = va_account_int_field(call->handle, VA_PROPERTY_FLAG, extra->property);
      return flag != nullptr && *flag == VA_TRISTATE_TRUE ? "Y" : "N";
    }
    case VA_SOURCE_CONST:
      return extra->value;
    case VA_SOURCE_ARG:
      if (call->args == nullptr || extra->property < 0 || extra->property >= VA_OP_MAX_ARGS)
        return nullptr;
      return call->args->values[extra->property];
  }
  return nullptr;
}

bool va_operation_missing(const va_op_call_s *call, va_extra_need_e need) {
  const va_operation_s *op = call->op;
  for (size_t i = 0; i < op->extra_count; ++i) {
    const va_extra_s *extra = &op->extras[i];
    if (extra->need == need && va_extra_value(extra, call) == nullptr) return true;
  }
  return false;
}

rpc_port_AccountS_h va_operation_account_s(const va_op_call_s *call) {
  const va_operation_s *op = call->op;
  rpc_port_AccountS_h s = nullptr;
  if (rpc_port_AccountS_create(&s) != 0) return nullptr;
  for (size_t i = 0; i < op->extra_count; ++i) {
    const va_extra_s *extra = &op->extras[i];
    const char *value = va_extra_value(extra, call);
    if (extra->field == nullptr || value == nullptr) continue;
    if (extra->field(s, value) != 0) {
      rpc_port_AccountS_destroy(s);
      return nullptr;
    }
  }
  return s;
}

}  // extern "C"
