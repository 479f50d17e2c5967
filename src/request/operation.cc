// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: running an asynchronous operation from its table row: the checks every
// operation shares, the clone, and the choice of transport.
//
// Every line here is logged under the operation's public name (the row's name), as the entry
// point's own lines would be.
#include <cstdio>
#include <cstdlib>

#include "account_record.h"
#include "request_operation.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_log.h"

namespace {

bool has_need(const va_operation_s *op, va_extra_need_e need) {
  for (size_t i = 0; i < op->extra_count; ++i)
    if (op->extras[i].need == need) return true;
  return false;
}

}  // namespace

extern "C" {

int va_operation_check(const va_op_call_s *call) {
  const char *name = call->op->name;
  VA_LOG_AS(DLOG_INFO, name, "[%s]", name);
  if (va_is_agent_installed() == false) {
    VA_LOG_AS(DLOG_ERROR, name, "(%s)", "is_agent_installed() == false");
    return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;
  }
  if (call->op->api_level > 0 && va_is_lower_agent(call->op->api_level) == true) {
    char condition[48];
    snprintf(condition, sizeof(condition), "is_lower_agent(%d) == true", call->op->api_level);
    VA_LOG_AS(DLOG_ERROR, name, "(%s)", condition);
    return VELMORA_ACCOUNT_ERROR_LOWER_VERSION;
  }
  if (call->handle == NULL) {
    VA_LOG_AS(DLOG_ERROR, name, "(%s)", "handle == NULL");
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  if (call->callback == NULL) {
    VA_LOG_AS(DLOG_ERROR, name, "(%s)", "callback == NULL");
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int va_operation_check_values(const va_op_call_s *call) {
  const va_operation_s *op = call->op;
  if (va_operation_missing(call, VA_EXTRA_REQUIRED)) {
    VA_LOG_AS(DLOG_INFO, op->name, "%s", op->invalid_property_log);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  // Only a row with a value required on a TV (the access token's client secret) asks the probe.
  if (has_need(op, VA_EXTRA_REQUIRED_ON_TV) && va_is_tv_profile() &&
      va_operation_missing(call, VA_EXTRA_REQUIRED_ON_TV)) {
    VA_LOG_AS(DLOG_INFO, op->name,
              "Invalid Property, client_secret is not set. [VA_ERROR_INVALID_PARAMETER]");
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int va_operation_clone(va_op_call_s *call) {
  const char *name = call->op->name;
  if (va_account_clone(call->handle, &call->clone) != VELMORA_ACCOUNT_ERROR_NONE ||
      call->clone == NULL) {
    call->clone = NULL;
    VA_LOG_AS(DLOG_ERROR, name, "(%s)", "clone == NULL");
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  if (call->op->holder_size > 0) {
    call->holder = va_calloc(1, call->op->holder_size);
    if (call->holder == NULL) {
      VA_LOG_AS(DLOG_ERROR, name, "(%s)", "data_id == NULL");
      va_operation_release(call);
      return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
    }
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

void va_operation_release(va_op_call_s *call) {
  if (call->clone != NULL) {
    VA_LOG_AS(DLOG_INFO, call->op->name, "VELMORA_ACCOUNT_FREE");
    velmora_account_destroy(call->clone);
    call->clone = NULL;
  }
  free(call->holder);
  call->holder = NULL;
}

int va_operation_send(va_op_call_s *call) {
  if (call->handle->connected && call->op->port.invoke != NULL) return va_send_port(call);
  return va_send_app_control(call);
}

int va_operation_run(const va_operation_s *op, velmora_account_h handle,
                     velmora_account_request_cb callback, void *user_data,
                     const va_op_args_s *args) {
  va_op_call_s call = {};
  call.op = op;
  call.handle = handle;
  call.callback = callback;
  call.user_data = user_data;
  call.args = args;

  int ret = va_operation_check(&call);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  if (op->check_at == VA_CHECK_BEFORE_CLONE) {
    ret = va_operation_check_values(&call);
    if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  }
  if (op->check != NULL) {
    ret = op->check(&call);
    if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  }
  ret = va_operation_clone(&call);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  return va_operation_send(&call);
}

}  // extern "C"
