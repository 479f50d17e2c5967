// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: an installed application's information and metadata, from the registry.
#include "app_info.h"

#include <new>
#include <utility>

#include "host_root.hh"
#include "registry.hh"

struct app_info_s {
  vhost::AppRecord app;
};

extern "C" {

int app_info_create(const char *app_id, app_info_h *app_info) {
  if (!app_id || !app_info) return APP_MANAGER_ERROR_INVALID_PARAMETER;
  vhost::AppRecord record;
  std::string error;
  if (!vhost::registry_usable(&error)) {
    vhost::log_refusal(error);
    return APP_MANAGER_ERROR_IO_ERROR;
  }
  if (!vhost::registry_find_app(app_id, &record)) return APP_MANAGER_ERROR_NO_SUCH_APP;
  auto *info = new (std::nothrow) app_info_s{std::move(record)};
  if (!info) return APP_MANAGER_ERROR_OUT_OF_MEMORY;
  *app_info = info;
  return APP_MANAGER_ERROR_NONE;
}

int app_info_foreach_metadata(app_info_h app_info, app_info_metadata_cb callback, void *user_data) {
  if (!app_info || !callback) return APP_MANAGER_ERROR_INVALID_PARAMETER;
  for (const auto &[key, value] : app_info->app.metadata)
    if (!callback(key.c_str(), value.c_str(), user_data)) break;
  return APP_MANAGER_ERROR_NONE;
}

int app_info_destroy(app_info_h app_info) {
  if (!app_info) return APP_MANAGER_ERROR_INVALID_PARAMETER;
  delete app_info;
  return APP_MANAGER_ERROR_NONE;
}

}  // extern "C"
