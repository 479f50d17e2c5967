// Velmora host platform: the package registry as the other host parts see it.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace vhost {

struct AppRecord {
  std::string app_id;
  std::string package_id;
  std::string type;  // "service" or "ui"
  std::string exec;  // absolute path of the executable the launcher starts
  std::vector<std::pair<std::string, std::string>> metadata;  // in installation order
};

// Looks up a registered application of the current platform root. False when it is not registered
// (or the registry cannot be read).
bool registry_find_app(const std::string &app_id, AppRecord *out);

}  // namespace vhost
