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
  if (args.empty()) return usage_error("logs", "no app id given");
  if (args.size() > 1) return usage_error("logs", "too many arguments");
  char *path = velmora_host_app_log_path(args[0].c_str());
  if (!path) return usage_error("logs", "'" + args[0] + "' is no app id");
  const std::string current = path;
  free(path);
  bool any = false;
  for (const std::string &file : {current + ".1", current}) {
    gchar *contents = nullptr;
    gsize length = 0;
    if (!g_file_get_contents(file.c_str(), &contents, &length, nullptr)) continue;
    fwrite(contents, 1, length, stdout);
    g_free(contents);
    any = true;
  }
  if (!any) printf("%s has no log yet (it was not launched in this root)\n", args[0].c_str());
  return kExitOk;
}

}  // namespace vplat
