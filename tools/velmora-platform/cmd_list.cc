// SPDX-License-Identifier: Apache-2.0
// velmora-platform list: the installed packages and their applications, one package per line:
//   <package-id>: <app-id> (<type>), ...
// or with --json {"packages": [{"package_id": ..., "apps": [{"app_id": ..., "type": ...}]}]}.
// Package files that cannot be read are named on stderr (status 1); with --json the same object
// lists the packages that could be read and has "errors" (one message per file) and the failure's
// "error", "message" and "exit_status".
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
  int code = velmora_host_list_packages(&ids, &errors);
  // A refused root says what to do itself; a package file that cannot be read does not.
  std::vector<std::string> problems;
  for (char **e = errors; e && *e; ++e)
    problems.push_back(code == -13 ? std::string(*e) : std::string(*e) + "; " + kDamagedPackage);
  vcli::JsonOut json;
  json.begin_array("packages");
  size_t listed = 0;
  for (char **id = ids; id && *id; ++id) {
    std::vector<AppView> apps;
    std::string error;
    int read_code = 0;
    if (!read_package(*id, &apps, &error, &read_code)) {
      problems.push_back(error);
      if (code == 0) code = read_code;
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
  velmora_host_strv_free(ids);
  velmora_host_strv_free(errors);
  for (const std::string &p : problems) vcli::tell(p);
  int status = kExitOk;
  if (!problems.empty()) {
    json.begin_array("errors");
    for (const std::string &p : problems) json.add_str(p);
    json.end_array();
    const std::string message = problems.size() == 1
                                    ? problems[0]
                                    : std::to_string(problems.size()) +
                                          " package files cannot be read (see \"errors\"); " +
                                          kDamagedPackage;
    status = vcli::add_failure(json, platform_error_name(code), message, kExitFailed);
  }
  if (options().json)
    json.print();
  else if (listed == 0 && problems.empty())
    printf("no package is installed\n");
  return status;
}

}  // namespace vplat
