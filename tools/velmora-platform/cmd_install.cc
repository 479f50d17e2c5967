// SPDX-License-Identifier: Apache-2.0
// velmora-platform install <package-id> --app <app-id>:<service|ui>:<exec> ...
//                                       [--meta <app-id>:<key>=<value> ...]
#include <glib.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

namespace {

struct App {
  std::string id, type, exec;
};
struct Meta {
  std::string app_id, key, value;
};

// "<app-id>:<type>:<exec>"; the executable may itself contain ':'. A relative path is taken from
// the current directory; it must name an executable file.
bool parse_app(const std::string &text, App *app, std::string *why) {
  const size_t first = text.find(':');
  const size_t second = first == std::string::npos ? first : text.find(':', first + 1);
  if (second == std::string::npos) {
    *why = "--app '" + text + "' is not <app-id>:<service|ui>:<exec>";
    return false;
  }
  app->id = text.substr(0, first);
  app->type = text.substr(first + 1, second - first - 1);
  const std::string exec = text.substr(second + 1);
  if (app->id.empty() || exec.empty()) {
    *why = "--app '" + text + "' needs an application id and an executable";
    return false;
  }
  if (app->type != "service" && app->type != "ui") {
    *why = "--app '" + text + "': the type is service or ui, not '" + app->type + "'";
    return false;
  }
  gchar *absolute = g_canonicalize_filename(exec.c_str(), nullptr);
  app->exec = absolute;
  g_free(absolute);
  if (!g_file_test(app->exec.c_str(), G_FILE_TEST_IS_REGULAR) ||
      access(app->exec.c_str(), X_OK) != 0) {
    *why = "--app '" + text + "': " + app->exec +
           " is not an executable file (give the full path of the program, for the agent the "
           "output of `command -v velmora-agent`)";
    return false;
  }
  return true;
}

// "<app-id>:<key>=<value>"; the value may be empty and may contain ':' and '='.
bool parse_meta(const std::string &text, Meta *meta, std::string *why) {
  const size_t colon = text.find(':');
  const size_t equals = colon == std::string::npos ? colon : text.find('=', colon + 1);
  if (equals == std::string::npos || colon == 0 || equals == colon + 1) {
    *why = "--meta '" + text + "' is not <app-id>:<key>=<value>";
    return false;
  }
  meta->app_id = text.substr(0, colon);
  meta->key = text.substr(colon + 1, equals - colon - 1);
  meta->value = text.substr(equals + 1);
  return true;
}

}  // namespace

int run_install(const Args &args) {
  const std::string &package_id = args[0];
  std::vector<App> apps;
  std::vector<Meta> metadata;
  std::string why;
  for (gchar **a = options().apps; a && *a; ++a) {
    App app;
    if (!parse_app(*a, &app, &why)) return usage_error(why);
    apps.push_back(app);
  }
  for (gchar **m = options().metadata; m && *m; ++m) {
    Meta meta;
    if (!parse_meta(*m, &meta, &why)) return usage_error(why);
    metadata.push_back(meta);
  }
  if (apps.empty()) return usage_error("a package needs at least one --app");

  std::vector<velmora_host_app_s> c_apps;
  for (const App &a : apps) c_apps.push_back({a.id.c_str(), a.type.c_str(), a.exec.c_str()});
  std::vector<velmora_host_metadata_s> c_meta;
  for (const Meta &m : metadata)
    c_meta.push_back({m.app_id.c_str(), m.key.c_str(), m.value.c_str()});
  char *error = nullptr;
  if (const int err = velmora_host_install_package(package_id.c_str(), c_apps.data(), c_apps.size(),
                                                   c_meta.data(), c_meta.size(), &error);
      err != 0)
    return fail_with(err, error, "cannot install " + package_id, kCannotWrite);
  if (options().json)
    vcli::JsonOut()
        .str("installed", package_id)
        .integer("apps", static_cast<long long>(apps.size()))
        .print();
  else
    printf("installed %s (%zu application%s)\n", package_id.c_str(), apps.size(),
           apps.size() == 1 ? "" : "s");
  return kExitOk;
}

}  // namespace vplat
