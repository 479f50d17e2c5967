// SPDX-License-Identifier: Apache-2.0
// velmora-platform logs <app-id>: what a launched application wrote to stdout and stderr (the
// file kept from before the last rotation first, then the current one).
#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

int run_logs(const Args &args) {
  char *path = velmora_host_app_log_path(args[0].c_str());
  if (!path) return usage_error("'" + args[0] + "' is no app id");
  const std::string current = path;
  free(path);
  std::string text;
  bool any = false;
  for (const std::string &file : {current + ".1", current}) {
    gchar *contents = nullptr;
    gsize length = 0;
    if (!g_file_get_contents(file.c_str(), &contents, &length, nullptr)) continue;
    text.append(contents, length);
    g_free(contents);
    any = true;
  }
  if (options().json)
    vcli::JsonOut().str("app_id", args[0]).str("log", text).print();
  else if (!any)
    printf("%s has no log yet (it was not launched in this root)\n", args[0].c_str());
  else
    fwrite(text.data(), 1, text.size(), stdout);
  return kExitOk;
}

}  // namespace vplat
