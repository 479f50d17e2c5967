// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: installed packages and the applications they contain, from the registry.
#include <new>
#include <string>
#include <utility>

#include "dlog.h"
#include "host_root.hh"
#include "package_manager.h"
#include "registry.hh"

struct package_info_s {
  vhost::PackageRecord package;
};

namespace {

// The component type of an application of the given registry type.
package_info_app_component_type_e component_type(const std::string &type) {
  return type == "ui" ? PACKAGE_INFO_APP_COMPONENT_TYPE_UI
                      : PACKAGE_INFO_APP_COMPONENT_TYPE_SERVICE;
}

bool wanted(package_info_app_component_type_e wanted_type, const std::string &type) {
  return wanted_type == PACKAGE_INFO_APP_COMPONENT_TYPE_ALL || wanted_type == component_type(type);
}

}  // namespace

extern "C" {

int package_info_create(const char *package, package_info_h *package_info) {
  if (!package || !package_info) return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
  vhost::PackageRecord record;
  std::string error;
  if (!vhost::registry_usable(&error)) {
    vhost::log_refusal(error);
    return PACKAGE_MANAGER_ERROR_IO_ERROR;
  }
  if (!vhost::registry_load_package(package, &record, &error)) {
    if (!vhost::registry_package_exists(package)) return PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE;
    dlog_print(DLOG_ERROR, "VELMORA_HOST", "package_info: %s", error.c_str());
    return PACKAGE_MANAGER_ERROR_IO_ERROR;
  }
  auto *info = new (std::nothrow) package_info_s{std::move(record)};
  if (!info) return PACKAGE_MANAGER_ERROR_OUT_OF_MEMORY;
  *package_info = info;
  return PACKAGE_MANAGER_ERROR_NONE;
}

int package_info_foreach_app_from_package(package_info_h package_info,
                                          package_info_app_component_type_e comp_type,
                                          package_info_app_cb callback, void *user_data) {
  if (!package_info || !callback) return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
  if (comp_type != PACKAGE_INFO_APP_COMPONENT_TYPE_ALL &&
      comp_type != PACKAGE_INFO_APP_COMPONENT_TYPE_UI &&
      comp_type != PACKAGE_INFO_APP_COMPONENT_TYPE_SERVICE)
    return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
  for (const vhost::AppRecord &app : package_info->package.apps) {
    if (!wanted(comp_type, app.type)) continue;
    if (!callback(component_type(app.type), app.app_id.c_str(), user_data)) break;
  }
  return PACKAGE_MANAGER_ERROR_NONE;
}

int package_info_destroy(package_info_h package_info) {
  if (!package_info) return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
  delete package_info;
  return PACKAGE_MANAGER_ERROR_NONE;
}

}  // extern "C"
