// velmora-platform: the subcommands and what they share.
//
// Every subcommand is one file (cmd_<name>.cc) with one entry in the table of commands.cc. A
// subcommand receives its own arguments (after the global options were taken out) and returns the
// process exit status.
#pragma once

#include <string>
#include <vector>

namespace vplat {

// Exit statuses.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;  // the platform refused or a file is malformed
inline constexpr int kExitUsage = 2;    // bad arguments

using Args = std::vector<std::string>;

struct Command {
  const char *name;
  const char *usage;    // the arguments after the name
  const char *summary;  // one line for --help
  int (*run)(const Args &args);
  bool needs_root;  // the platform root must exist already
};

// The table of subcommands (commands.cc).
const std::vector<Command> &commands();
const Command *find_command(const std::string &name);

// Prints "velmora-platform: <message>" to stderr and returns kExitFailure.
int fail(const std::string &message);
// Prints "velmora-platform <name>: <message>" and the command's usage to stderr; returns
// kExitUsage.
int usage_error(const char *command, const std::string &message);
// Takes a platform message handed out by velmora_host_* (freed here) and fails with it.
int fail_with(char *platform_message, const std::string &fallback);

// The profiles a device can have.
bool known_profile(const std::string &profile);

// The subcommands.
int run_init(const Args &args);
int run_profile(const Args &args);
int run_install(const Args &args);
int run_remove(const Args &args);
int run_list(const Args &args);
int run_show(const Args &args);
int run_accounts(const Args &args);
int run_ps(const Args &args);
int run_stop(const Args &args);
int run_logs(const Args &args);

}  // namespace vplat
