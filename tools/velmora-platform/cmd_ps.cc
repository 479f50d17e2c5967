// SPDX-License-Identifier: Apache-2.0
// velmora-platform ps: the applications of the root that run now, one per line:
//   <app-id> <pid>
// or with --json {"running": [{"app_id": ..., "pid": ...}]}.
#include <cstdio>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

int run_ps(const Args &) {
  velmora_host_running_s *apps = nullptr;
  size_t count = 0;
  if (const int err = velmora_host_list_running(&apps, &count); err != 0)
    return fail_with(err, nullptr, "cannot list the running applications");
  if (options().json) {
    vcli::JsonOut json;
    json.begin_array("running");
    for (size_t i = 0; i < count; ++i)
      json.begin_object(nullptr)
          .str("app_id", apps[i].app_id)
          .integer("pid", apps[i].pid)
          .end_object();
    json.end_array().print();
  } else if (count == 0) {
    printf("no application is running\n");
  }
  for (size_t i = 0; i < count && !options().json; ++i)
    printf("%s %d\n", apps[i].app_id, apps[i].pid);
  velmora_host_running_free(apps, count);
  return kExitOk;
}

}  // namespace vplat
