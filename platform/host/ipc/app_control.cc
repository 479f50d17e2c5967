// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the app control object (target, operation, extras, caller).
//
// Extras keep their insertion order; adding an existing key replaces its value in place (see
// ipc_extras.hh). A clone of a received launch request shares the request's reply channel, so
// that it can be kept and answered later.
//
// Every function that allocates asks vhost::allocation_fails() first (test builds make the n-th
// allocation fail) and ends with APP_CONTROL_ERROR_OUT_OF_MEMORY, the object unchanged.
#include "app_control.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "alloc_fault.hh"
#include "ipc_app_control.hh"

namespace {

int copy_out(const std::string &value, char **out) {
  char *copy = vhost::allocation_fails() ? nullptr : strdup(value.c_str());
  if (!copy) return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  *out = copy;
  return APP_CONTROL_ERROR_NONE;
}

int set_optional(bool *has, std::string *field, const char *value) {
  try {
    if (value && vhost::allocation_fails()) throw std::bad_alloc();
    field->assign(value ? value : "");
    *has = value != nullptr;
  } catch (const std::bad_alloc &) {
    return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  }
  return APP_CONTROL_ERROR_NONE;
}

int get_optional(bool has, const std::string &field, char **out) {
  if (!has) {
    *out = nullptr;
    return APP_CONTROL_ERROR_NONE;
  }
  return copy_out(field, out);
}

}  // namespace

extern "C" {

int app_control_create(app_control_h *app_control) {
  if (!app_control) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  auto *h = vhost::allocation_fails() ? nullptr : new (std::nothrow) app_control_s;
  if (!h) return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  *app_control = h;
  return APP_CONTROL_ERROR_NONE;
}

int app_control_destroy(app_control_h app_control) {
  if (!app_control) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  delete app_control;
  return APP_CONTROL_ERROR_NONE;
}

int app_control_clone(app_control_h *clone, app_control_h app_control) {
  if (!clone || !app_control) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  auto *h = vhost::allocation_fails() ? nullptr : new (std::nothrow) app_control_s;
  if (!h) return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  try {
    if (vhost::allocation_fails()) throw std::bad_alloc();
    *h = *app_control;
  } catch (const std::bad_alloc &) {
    delete h;
    return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  }
  *clone = h;
  return APP_CONTROL_ERROR_NONE;
}

int app_control_set_app_id(app_control_h app_control, const char *app_id) {
  if (!app_control) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  return set_optional(&app_control->has_app_id, &app_control->app_id, app_id);
}

int app_control_get_app_id(app_control_h app_control, char **app_id) {
  if (!app_control || !app_id) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  return get_optional(app_control->has_app_id, app_control->app_id, app_id);
}

int app_control_set_operation(app_control_h app_control, const char *operation) {
  if (!app_control) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  return set_optional(&app_control->has_operation, &app_control->operation, operation);
}

int app_control_get_operation(app_control_h app_control, char **operation) {
  if (!app_control || !operation) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  return get_optional(app_control->has_operation, app_control->operation, operation);
}

int app_control_add_extra_data(app_control_h app_control, const char *key, const char *value) {
  if (!app_control || !key || !*key || !value) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  try {
    if (vhost::allocation_fails()) throw std::bad_alloc();
    app_control->extras.set(key, value);
  } catch (const std::bad_alloc &) {
    return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  }
  return APP_CONTROL_ERROR_NONE;
}

int app_control_get_extra_data(app_control_h app_control, const char *key, char **value) {
  if (!app_control || !key || !*key || !value) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  const std::string *found = app_control->extras.find(key);
  if (!found) return APP_CONTROL_ERROR_KEY_NOT_FOUND;
  return copy_out(*found, value);
}

int app_control_remove_extra_data(app_control_h app_control, const char *key) {
  if (!app_control || !key || !*key) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  if (!app_control->extras.erase(key)) return APP_CONTROL_ERROR_KEY_NOT_FOUND;
  return APP_CONTROL_ERROR_NONE;
}

int app_control_foreach_extra_data(app_control_h app_control, app_control_extra_data_cb callback,
                                   void *user_data) {
  if (!app_control || !callback) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  // The callback may change the extras: walk a copy of the keys.
  std::vector<std::string> keys;
  try {
    if (!app_control->extras.empty() && vhost::allocation_fails()) throw std::bad_alloc();
    keys.reserve(app_control->extras.size());
    for (const auto &e : app_control->extras) keys.push_back(e.first);
  } catch (const std::bad_alloc &) {
    return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  }
  for (const std::string &key : keys)
    if (!callback(app_control, key.c_str(), user_data)) break;
  return APP_CONTROL_ERROR_NONE;
}

int app_control_get_caller(app_control_h app_control, char **id) {
  if (!app_control || !id || !app_control->received) return APP_CONTROL_ERROR_INVALID_PARAMETER;
  return copy_out(app_control->caller, id);
}

}  // extern "C"
