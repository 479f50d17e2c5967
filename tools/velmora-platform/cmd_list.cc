// velmora-platform list: the installed packages and their applications, one package per line:
//   <package-id>: <app-id> (<type>), ...
#include <cstdio>
#include <string>
#include <vector>

#include "commands.hh"
#include "package_view.hh"
#include "velmora_host.h"

namespace vplat {

int run_list(const Args &args) {
  if (!args.empty()) return usage_error("list", "unexpected argument '" + args[0] + "'");
  char **ids = nullptr;
  char **errors = nullptr;
  velmora_host_list_packages(&ids, &errors);
  for (char **id = ids; id && *id; ++id) {
    std::vector<AppView> apps;
    std::string error;
    if (!read_package(*id, &apps, &error)) {
      fail(error);
      continue;
    }
    std::string line = std::string(*id) + ":";
    for (size_t i = 0; i < apps.size(); ++i)
      line += (i ? ", " : " ") + apps[i].id + " (" + apps[i].type + ")";
    printf("%s\n", line.c_str());
  }
  int status = kExitOk;
  for (char **e = errors; e && *e; ++e) status = fail(*e);
  velmora_host_strv_free(ids);
  velmora_host_strv_free(errors);
  return status;
}

}  // namespace vplat
