// velmora-platform: the table of subcommands and the helpers they share.
#include "commands.hh"

#include <cstdio>
#include <cstdlib>

namespace vplat {

const std::vector<Command> &commands() {
  static const std::vector<Command> kCommands = {
      {"init", "[--profile mobile|wearable|tv]",
       "create the platform root (device profile: mobile unless given)", run_init, false},
      {"profile", "[mobile|wearable|tv]", "show the device profile, or set it", run_profile, true},
      {"install",
       "<package-id> --app <app-id>:<service|ui>:<exec> ... [--meta <app-id>:<key>=<value> ...]",
       "install (or replace) a package with its applications and their metadata", run_install,
       true},
      {"remove", "<package-id>", "remove an installed package", run_remove, true},
      {"list", "", "list the installed packages and their applications", run_list, true},
      {"show", "<package-id>", "show a package: its applications, executables and metadata",
       run_show, true},
      {"accounts", "[package-id]",
       "list the account store's records (user name, custom values), of one package or all",
       run_accounts, true},
      {"ps", "", "list the applications that run now (launched on demand)", run_ps, true},
      {"stop", "<app-id>", "stop a running application", run_stop, true},
      {"logs", "<app-id>", "show what a launched application wrote to stdout and stderr", run_logs,
       true},
  };
  return kCommands;
}

const Command *find_command(const std::string &name) {
  for (const Command &c : commands())
    if (name == c.name) return &c;
  return nullptr;
}

int fail(const std::string &message) {
  fprintf(stderr, "velmora-platform: %s\n", message.c_str());
  return kExitFailure;
}

int usage_error(const char *command, const std::string &message) {
  const Command *c = find_command(command);
  fprintf(stderr, "velmora-platform %s: %s\n", command, message.c_str());
  if (c) fprintf(stderr, "usage: velmora-platform %s %s\n", c->name, c->usage);
  return kExitUsage;
}

int fail_with(char *platform_message, const std::string &fallback) {
  const int status = fail(platform_message ? platform_message : fallback);
  free(platform_message);
  return status;
}

bool known_profile(const std::string &profile) {
  return profile == "mobile" || profile == "wearable" || profile == "tv";
}

}  // namespace vplat
