// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: sending a request as an app-control launch request to the agent.
//
// The reply reaches va_reply_app_control_cb with the request record as its user data; a launch
// that fails at once releases the record, the clone and the holder here (through
// va_convert_app_control_error).
#include <cstdlib>

#include "account_record.h"
#include "app_control.h"
#include "request_operation.h"
#include "request_reply.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_log.h"

namespace {

void release(va_op_call_s *call, app_control_h app_control) {
  va_operation_release(call);
  if (app_control != nullptr) {
    VA_LOG_AS(DLOG_INFO, call->op->name, "APP_CONTROL_FREE");
    app_control_destroy(app_control);
  }
}

// Adds the extras of `form` in table order. Optional values that are not set are left out, each
// with its own line; the values themselves are logged only where the table says so (never a
// secret). False when one could not be added (out of memory).
bool add_extras(const va_op_call_s *call, const va_operation_s *form, app_control_h app_control) {
  const char *name = call->op->name;
  for (size_t i = 0; i < form->extra_count; ++i) {
    const va_extra_s *extra = &form->extras[i];
    if (extra->key == nullptr) continue;
    const char *value = va_extra_value(extra, call);
    if (value == nullptr) {
      if (extra->unset_log != nullptr) VA_LOG_AS(DLOG_INFO, name, "%s", extra->unset_log);
      continue;
    }
    if (app_control_add_extra_data(app_control, extra->key, value) != APP_CONTROL_ERROR_NONE)
      return false;
    if (extra->set_log == nullptr) continue;
    if (extra->log_value)
      VA_LOG_AS(DLOG_INFO, name, "%s [%s]", extra->set_log, value);
    else
      VA_LOG_AS(DLOG_INFO, name, "%s", extra->set_log);
  }
  return true;
}

// The launch request could not be filled: everything is released.
int out_of_memory(va_op_call_s *call, app_control_h app_control) {
  VA_LOG_AS(DLOG_ERROR, call->op->name, "cannot fill the launch request: out of memory");
  release(call, app_control);
  return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
}

}  // namespace

extern "C" {

int va_send_app_control(va_op_call_s *call) {
  const va_operation_s *op = call->op;
  if (op->app_control.mode_log != nullptr)
    VA_LOG_AS(DLOG_INFO, op->name, "%s", op->app_control.mode_log);

  app_control_h app_control = nullptr;
  if (app_control_create(&app_control) != APP_CONTROL_ERROR_NONE) {
    VA_LOG_AS(DLOG_ERROR, op->name, "(%s)", "app_control == NULL");
    release(call, nullptr);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  if (app_control_set_app_id(app_control, op->app_control.app_id) != APP_CONTROL_ERROR_NONE)
    return out_of_memory(call, app_control);

  if (op->check_at == VA_CHECK_AFTER_TARGET && va_operation_missing(call, VA_EXTRA_REQUIRED)) {
    VA_LOG_AS(DLOG_INFO, op->name, "%s", op->invalid_property_log);
    release(call, app_control);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  const va_operation_s *form = op;
  if (op->app_control.prepare != nullptr) {
    const int ret = op->app_control.prepare(call, app_control, &form);
    if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
      release(call, app_control);
      return ret;
    }
  }

  if (app_control_set_operation(app_control, *form->app_control.operation) !=
          APP_CONTROL_ERROR_NONE ||
      !add_extras(call, form, app_control))
    return out_of_memory(call, app_control);
  if (form->app_control.body != nullptr) {
    const int ret = form->app_control.body(call, app_control);
    if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
      release(call, app_control);
      return ret;
    }
  }

  auto *request = static_cast<velmora_account_request_h>(
      va_calloc(1, sizeof(struct velmora_account_request_s)));
  if (request == nullptr) {
    VA_LOG_AS(DLOG_INFO, op->name, "RETV_IF_REQUEST_HANDLE");
    release(call, app_control);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  request->account = call->clone;
  request->data = call->holder;
  request->op = form;
  request->app_control_cb = call->callback;
  request->user_data = call->user_data;

  const int err = app_control_send_launch_request(app_control, va_reply_app_control_cb, request);
  if (err != APP_CONTROL_ERROR_NONE) free(call->holder);  // the record goes below, not its holder
  // On success this touches nothing; on failure it frees the record and destroys the clone.
  const int ret = va_convert_app_control_error(err, request, call->clone);
  call->clone = nullptr;  // the request's now, or released
  call->holder = nullptr;

  VA_LOG_AS(DLOG_INFO, op->name, "APP_CONTROL_FREE");
  app_control_destroy(app_control);
  VA_LOG_AS(DLOG_INFO, op->name, "[%s] <<<< ended", op->name);
  return ret;
}

}  // extern "C"
