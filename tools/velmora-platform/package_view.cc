// SPDX-License-Identifier: Apache-2.0
// velmora-platform: reading an installed package through the platform interfaces.
#include "package_view.hh"

#include <cstdlib>

#include "app_info.h"
#include "commands.hh"
#include "package_manager.h"
#include "velmora_host.h"

namespace vplat {

bool read_package(const std::string &package_id, std::vector<AppView> *apps, std::string *error,
                  int *code) {
  package_info_h info = nullptr;
  const int ret = package_info_create(package_id.c_str(), &info);
  *code = ret;
  if (ret == PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE) {
    *error = "package '" + package_id +
             "' is not installed (`velmora-platform list` shows the installed packages)";
    return false;
  }
  if (ret != PACKAGE_MANAGER_ERROR_NONE) {
    *error = "package '" + package_id + "' cannot be read: its package file is malformed; " +
             kDamagedPackage;
    return false;
  }
  package_info_foreach_app_from_package(
      info, PACKAGE_INFO_APP_COMPONENT_TYPE_ALL,
      [](package_info_app_component_type_e type, const char *app_id, void *data) {
        AppView app;
        app.id = app_id;
        app.type = type == PACKAGE_INFO_APP_COMPONENT_TYPE_UI ? "ui" : "service";
        static_cast<std::vector<AppView> *>(data)->push_back(app);
        return true;
      },
      apps);
  package_info_destroy(info);

  for (AppView &app : *apps) {
    char *exec = nullptr;
    if (velmora_host_get_app_exec(app.id.c_str(), &exec, nullptr) == 0) app.exec = exec;
    free(exec);
    app_info_h app_info = nullptr;
    if (app_info_create(app.id.c_str(), &app_info) != APP_MANAGER_ERROR_NONE) continue;
    app_info_foreach_metadata(
        app_info,
        [](const char *key, const char *value, void *data) {
          static_cast<AppView *>(data)->metadata.emplace_back(key, value);
          return true;
        },
        &app);
    app_info_destroy(app_info);
  }
  return true;
}

}  // namespace vplat
