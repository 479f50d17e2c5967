// SPDX-License-Identifier: Apache-2.0
// velmora-platform: reading an installed package through the platform interfaces.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace vplat {

struct AppView {
  std::string id;
  std::string type;  // "service" or "ui"
  std::string exec;
  std::vector<std::pair<std::string, std::string>> metadata;
};

// Reads a package with package_info_* and app_info_*. False with a message that says what to do and
// the registry's code (PACKAGE_MANAGER_ERROR_*) when it is not installed or cannot be read.
bool read_package(const std::string &package_id, std::vector<AppView> *apps, std::string *error,
                  int *code);

}  // namespace vplat
