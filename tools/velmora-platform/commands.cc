// SPDX-License-Identifier: Apache-2.0
// velmora-platform: the table of options and subcommands, and the helpers they share.
#include "commands.hh"

#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "account_store.h"
#include "app_info.h"
#include "package_manager.h"
#include "velmora_host.h"

namespace vplat {

Options &options() {
  static Options o;
  return o;
}

namespace {

// Chooses the platform root before a subcommand runs: --root, else VELMORA_PLATFORM_ROOT. Every
// subcommand but init needs the root to exist.
int choose_root(const vcli::Command &command) {
  std::string root;
  if (vplat::options().root)
    root = vplat::options().root;
  else if (const char *env = getenv("VELMORA_PLATFORM_ROOT"))
    root = env;
  if (root.empty())
    return vplat::usage_error("no platform root: give --root DIR or set VELMORA_PLATFORM_ROOT");
  gchar *absolute = g_canonicalize_filename(root.c_str(), nullptr);
  root = absolute;
  g_free(absolute);
  setenv("VELMORA_PLATFORM_ROOT", root.c_str(), 1);
  if (std::string(command.name) != "init" && !g_file_test(root.c_str(), G_FILE_TEST_IS_DIR))
    return vplat::fail(platform_error_name(-2),
                       "platform root " + root +
                           " does not exist (create it with: velmora-platform init --root " + root +
                           ")");
  return -1;
}

}  // namespace

const vcli::Tool &tool() {
  using vcli::Arg;
  Options &o = options();
  static const vcli::Tool kTool = {
      "velmora-platform",
      "the admin command of the Velmora host platform",
      "Creates a platform root, chooses the device profile and its network's country code, "
      "installs and removes application packages with their metadata, shows what is installed "
      "and which applications run, stops them, and pairs a wearable's root with a phone's. The "
      "platform root is --root DIR, else $VELMORA_PLATFORM_ROOT.",
      {
          {"root", Arg::kString, &o.root, "DIR",
           "the platform root (default $VELMORA_PLATFORM_ROOT)"},
          {"json", Arg::kFlag, &o.json, nullptr, "print the result as one JSON object"},
          {"profile", Arg::kString, &o.profile, "PROFILE",
           "the device profile: mobile, wearable or tv"},
          {"app", Arg::kStrings, &o.apps, "APP-ID:TYPE:EXEC",
           "an application of the package: its id, service or ui, its executable (repeatable)"},
          {"meta", Arg::kStrings, &o.metadata, "APP-ID:KEY=VALUE",
           "a metadata entry of one of the package's applications (repeatable)"},
          {"phone", Arg::kString, &o.phone, "PHONE-ROOT",
           "pair: the platform root of the phone to pair this wearable with"},
          {"unpair", Arg::kFlag, &o.unpair, nullptr, "pair: forget the pairing"},
      },
      {"root", "json"},
      {
          {"init",
           "",
           "create the platform root (device profile: mobile unless given)",
           {"profile"},
           run_init,
           0,
           0},
          {"profile", "[PROFILE]", "show the device profile, or set it", {}, run_profile, 0, 1},
          {"mcc",
           "[MCC | none]",
           "show the mobile country code of the device's network, or set it (none: no network)",
           {},
           run_mcc,
           0,
           1},
          {"install",
           "<package-id>",
           "install (or replace) a package with its applications and their metadata",
           {"app", "meta"},
           run_install,
           1,
           1},
          {"remove", "<package-id>", "remove an installed package", {}, run_remove, 1, 1},
          {"list", "", "list the installed packages and their applications", {}, run_list, 0, 0},
          {"show",
           "<package-id>",
           "show a package: its applications, executables and metadata",
           {},
           run_show,
           1,
           1},
          {"accounts",
           "[package-id]",
           "list the account store's records (user name, custom values), of one package or all",
           {},
           run_accounts,
           0,
           1},
          {"ps", "", "list the applications that run now (launched on demand)", {}, run_ps, 0, 0},
          {"stop", "<app-id>", "stop a running application", {}, run_stop, 1, 1},
          {"logs",
           "<app-id>",
           "show what a launched application wrote to stdout and stderr",
           {},
           run_logs,
           1,
           1},
          {"pair",
           "",
           "pair this wearable's root with a phone's (--phone), forget it (--unpair), or show it",
           {"phone", "unpair"},
           run_pair,
           0,
           0},
      },
      {{vcli::kExitOk, "done"},
       {vcli::kExitFailed, "refused by the platform, or a malformed file"},
       {vcli::kExitUsage, "bad command line"}},
      {{"VELMORA_PLATFORM_ROOT", "the platform root when --root is not given"},
       {"VELMORA_LOG_LEVEL", "the lowest priority of platform log lines printed to stderr"}},
      choose_root,
  };
  return kTool;
}

int fail(const char *error, const std::string &message) { return vcli::fail(error, message); }

int usage_error(const std::string &message) { return vcli::usage_error(message); }

namespace {

struct PlatformError {
  int code;
  const char *name;
  const char *what_to_do;  // nullptr: the message says it
};

// The codes of the administration functions of velmora_host.h (negative errno values) and of the
// package registry.
constexpr PlatformError kAdminErrors[] = {
    {-2, "PLATFORM_ERROR_NO_SUCH_ROOT", nullptr},
    {-3, "PLATFORM_ERROR_NOT_RUNNING", "`velmora-platform ps` lists the running applications"},
    {-5, "PLATFORM_ERROR_IO_ERROR", nullptr},
    {-12, "PLATFORM_ERROR_OUT_OF_MEMORY", "free some memory and try again"},
    {-13, "PLATFORM_ERROR_PERMISSION_DENIED", nullptr},
    {-22, "PLATFORM_ERROR_INVALID_PARAMETER", "see `velmora-platform --help`"},
    {VELMORA_HOST_NOT_PAIRED, "PLATFORM_ERROR_NOT_PAIRED",
     "pair first: velmora-platform pair --phone PHONE-ROOT"},
    {PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE, "PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE",
     "`velmora-platform list` shows the installed packages"},
    {APP_MANAGER_ERROR_NO_SUCH_APP, "APP_MANAGER_ERROR_NO_SUCH_APP",
     "`velmora-platform list` shows the installed applications"},
};

// The codes of the account store.
constexpr PlatformError kStoreErrors[] = {
    {ACCOUNT_ERROR_OUT_OF_MEMORY, "ACCOUNT_ERROR_OUT_OF_MEMORY", "free some memory and try again"},
    {ACCOUNT_ERROR_PERMISSION_DENIED, "ACCOUNT_ERROR_PERMISSION_DENIED", nullptr},
    {ACCOUNT_ERROR_INVALID_PARAMETER, "ACCOUNT_ERROR_INVALID_PARAMETER", nullptr},
    {ACCOUNT_ERROR_NO_DATA, "ACCOUNT_ERROR_NO_DATA", nullptr},
    {ACCOUNT_ERROR_DB_FAILED, "ACCOUNT_ERROR_DB_FAILED", nullptr},
    {ACCOUNT_ERROR_DB_NOT_OPENED, "ACCOUNT_ERROR_DB_NOT_OPENED", nullptr},
    {ACCOUNT_ERROR_QUERY_SYNTAX_ERROR, "ACCOUNT_ERROR_QUERY_SYNTAX_ERROR", nullptr},
    {ACCOUNT_ERROR_DATABASE_BUSY, "ACCOUNT_ERROR_DATABASE_BUSY",
     "another process holds the store: try again when it is done"},
};

template <size_t N>
const PlatformError *find_error(const PlatformError (&table)[N], int code) {
  for (const PlatformError &e : table)
    if (e.code == code) return &e;
  return nullptr;
}

}  // namespace

const char *platform_error_name(int code, bool store) {
  const PlatformError *e = store ? find_error(kStoreErrors, code) : find_error(kAdminErrors, code);
  return e ? e->name : vcli::kErrorFailed;
}

int fail_with(int code, char *platform_message, const std::string &fallback,
              const std::string &what_to_do) {
  std::string message = platform_message ? platform_message : fallback;
  free(platform_message);
  const PlatformError *e = find_error(kAdminErrors, code);
  if (code == -5 && !what_to_do.empty())
    message += ": " + what_to_do;
  else if (e && e->what_to_do)
    message += " (" + std::string(e->what_to_do) + ")";
  return fail(platform_error_name(code), message);
}

bool known_profile(const std::string &profile) {
  return profile == "mobile" || profile == "wearable" || profile == "tv";
}

}  // namespace vplat
