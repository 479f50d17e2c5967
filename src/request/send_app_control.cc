// Velmora Account client: sending a request as an app-control launch request to the agent.
//
// The reply reaches op->reply_cb with the request record as its user data; a launch that fails
// at once releases the record and the clone here (through __convert_app_control_error).
#include <cstdlib>

#include "account_record.h"
#include "app_control.h"
#include "request_send.h"
#include "va_base.h"
#include "va_log.h"

namespace {

void release(const char *name, velmora_account_h clone, app_control_h app_control) {
  if (clone != nullptr) {
    VA_LOG_AS(DLOG_INFO, name, "VELMORA_ACCOUNT_FREE");
    velmora_account_destroy(clone);
  }
  if (app_control != nullptr) {
    VA_LOG_AS(DLOG_INFO, name, "APP_CONTROL_FREE");
    app_control_destroy(app_control);
  }
}

// Adds the extras of `op` in table order. Optional values that are not set are left out, each
// with its own line; the values themselves are logged only where the table says so (never a
// secret).
void add_extras(const va_request_op_s *op, velmora_account_h handle, app_control_h app_control) {
  for (size_t i = 0; i < op->extra_count; ++i) {
    const va_extra_s *extra = &op->extras[i];
    if (extra->key == nullptr) continue;
    const char *value = va_extra_value(extra, handle);
    if (value == nullptr) {
      if (extra->unset_log != nullptr) VA_LOG_AS(DLOG_INFO, op->name, "%s", extra->unset_log);
      continue;
    }
    app_control_add_extra_data(app_control, extra->key, value);
    if (extra->set_log == nullptr) continue;
    if (extra->log_value)
      VA_LOG_AS(DLOG_INFO, op->name, "%s [%s]", extra->set_log, value);
    else
      VA_LOG_AS(DLOG_INFO, op->name, "%s", extra->set_log);
  }
}

}  // namespace

extern "C" {

int va_request_send_app_control(const va_request_op_s *op, velmora_account_h handle,
                                velmora_account_h clone, velmora_account_request_cb callback,
                                void *user_data, void *holder) {
  if (op->app_control_mode_log != nullptr)
    VA_LOG_AS(DLOG_INFO, op->name, "%s", op->app_control_mode_log);

  app_control_h app_control = nullptr;
  if (app_control_create(&app_control) != APP_CONTROL_ERROR_NONE) {
    VA_LOG_AS(DLOG_ERROR, op->name, "(%s)", "app_control == NULL");
    release(op->name, clone, nullptr);
    free(holder);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  app_control_set_app_id(app_control, op->app_id);

  if (op->required_check == VA_CHECK_AFTER_APP_ID &&
      va_request_missing(op, handle, VA_EXTRA_REQUIRED)) {
    VA_LOG_AS(DLOG_INFO, op->name, "%s", op->invalid_property_log);
    release(op->name, clone, app_control);
    free(holder);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }

  app_control_set_operation(app_control, *op->operation);
  add_extras(op, handle, app_control);

  auto *request =
      static_cast<velmora_account_request_h>(calloc(1, sizeof(struct velmora_account_request_s)));
  if (request == nullptr) {
    VA_LOG_AS(DLOG_INFO, op->name, "RETV_IF_REQUEST_HANDLE");
    release(op->name, clone, app_control);
    free(holder);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  request->account = clone;
  request->data = holder;
  request->app_control_cb = callback;
  request->user_data = user_data;

  const int err = app_control_send_launch_request(app_control, op->reply_cb, request);
  if (err != APP_CONTROL_ERROR_NONE) free(holder);  // the record goes below, without its holder
  // On success this touches nothing; on failure it frees the record and destroys the clone.
  const int ret = __convert_app_control_error(err, request, clone);

  VA_LOG_AS(DLOG_INFO, op->name, "APP_CONTROL_FREE");
  app_control_destroy(app_control);
  VA_LOG_AS(DLOG_INFO, op->name, "[%s] <<<< ended", op->name);
  return ret;
}

}  // extern "C"
