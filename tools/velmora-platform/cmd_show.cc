// SPDX-License-Identifier: Apache-2.0
// velmora-platform show <package-id>: a package's applications, executables and metadata.
#include <cstdio>
#include <string>
#include <vector>

#include "commands.hh"
#include "package_view.hh"

namespace vplat {

int run_show(const Args &args) {
  std::vector<AppView> apps;
  std::string error;
  int code = 0;
  if (!read_package(args[0], &apps, &error, &code)) return fail(platform_error_name(code), error);
  if (options().json) {
    vcli::JsonOut json;
    json.str("package_id", args[0]).begin_array("apps");
    for (const AppView &app : apps) {
      json.begin_object(nullptr).str("app_id", app.id).str("type", app.type).str("exec", app.exec);
      json.begin_object("metadata");
      for (const auto &[key, value] : app.metadata) json.str(key.c_str(), value);
      json.end_object().end_object();
    }
    json.end_array().print();
    return kExitOk;
  }
  printf("package %s\n", args[0].c_str());
  for (const AppView &app : apps) {
    printf("app %s\n  type %s\n  exec %s\n", app.id.c_str(), app.type.c_str(), app.exec.c_str());
    for (const auto &[key, value] : app.metadata)
      printf("  metadata %s=%s\n", key.c_str(), value.c_str());
  }
  return kExitOk;
}

}  // namespace vplat
