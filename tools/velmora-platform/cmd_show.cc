// velmora-platform show <package-id>: a package's applications, executables and metadata.
#include <cstdio>
#include <string>
#include <vector>

#include "commands.hh"
#include "package_view.hh"

namespace vplat {

int run_show(const Args &args) {
  if (args.empty()) return usage_error("show", "no package id given");
  if (args.size() > 1) return usage_error("show", "too many arguments");
  std::vector<AppView> apps;
  std::string error;
  if (!read_package(args[0], &apps, &error)) return fail(error);
  printf("package %s\n", args[0].c_str());
  for (const AppView &app : apps) {
    printf("app %s\n  type %s\n  exec %s\n", app.id.c_str(), app.type.c_str(), app.exec.c_str());
    for (const auto &[key, value] : app.metadata)
      printf("  metadata %s=%s\n", key.c_str(), value.c_str());
  }
  return kExitOk;
}

}  // namespace vplat
