// velmora-platform list: the installed packages and their applications, one package per line:
//   <package-id>: <app-id> (<type>), ...
// or with --json {"packages": [{"package_id": ..., "apps": [{"app_id": ..., "type": ...}]}]}.
#include <cstdio>
#include <string>
#include <vector>

#include "commands.hh"
#include "package_view.hh"
#include "velmora_host.h"

namespace vplat {

int run_list(const Args &) {
  char **ids = nullptr;
  char **errors = nullptr;
  velmora_host_list_packages(&ids, &errors);
  int status = kExitOk;
  vcli::JsonOut json;
  json.begin_array("packages");
  size_t listed = 0;
  for (char **id = ids; id && *id; ++id) {
    std::vector<AppView> apps;
    std::string error;
    if (!read_package(*id, &apps, &error)) {
      status = fail(error);
      continue;
    }
    ++listed;
    json.begin_object(nullptr).str("package_id", *id).begin_array("apps");
    std::string line = std::string(*id) + ":";
    for (size_t i = 0; i < apps.size(); ++i) {
      line += (i ? ", " : " ") + apps[i].id + " (" + apps[i].type + ")";
      json.begin_object(nullptr).str("app_id", apps[i].id).str("type", apps[i].type).end_object();
    }
    json.end_array().end_object();
    if (!options().json) printf("%s\n", line.c_str());
  }
  json.end_array();
  for (char **e = errors; e && *e; ++e) status = fail(*e);
  if (options().json)
    json.print();
  else if (listed == 0 && status == kExitOk)
    printf("no package is installed\n");
  velmora_host_strv_free(ids);
  velmora_host_strv_free(errors);
  return status;
}

}  // namespace vplat
