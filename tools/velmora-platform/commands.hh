// velmora-platform: the subcommands and what they share.
//
// Every subcommand is one file (cmd_<name>.cc) with one row in the command table of commands.cc
// (see tools/common/cli.hh for how a row becomes help, manual page and completion). A subcommand
// gets its positional arguments; its options are in options().
#pragma once

#include <glib.h>

#include <string>

#include "cli.hh"
#include "json_out.hh"

namespace vplat {

using vcli::Args;
using vcli::kExitFailed;
using vcli::kExitOk;
using vcli::kExitUsage;

// The parsed options of all subcommands.
struct Options {
  gchar *root = nullptr;
  gboolean json = FALSE;
  gchar *profile = nullptr;
  gchar **apps = nullptr;
  gchar **metadata = nullptr;
  gchar *phone = nullptr;
  gboolean unpair = FALSE;
};
Options &options();

// The tool: its options, subcommands and exit statuses.
const vcli::Tool &tool();

// Prints "velmora-platform: <message>" to stderr and returns kExitFailed.
int fail(const std::string &message);
// Takes a platform message handed out by velmora_host_* (freed here) and fails with it.
int fail_with(char *platform_message, const std::string &fallback);
// Usage error of the running subcommand.
int usage_error(const std::string &message);

// The profiles a device can have.
bool known_profile(const std::string &profile);

// The subcommands.
int run_init(const Args &args);
int run_profile(const Args &args);
int run_mcc(const Args &args);
int run_install(const Args &args);
int run_remove(const Args &args);
int run_list(const Args &args);
int run_show(const Args &args);
int run_accounts(const Args &args);
int run_ps(const Args &args);
int run_stop(const Args &args);
int run_logs(const Args &args);
int run_pair(const Args &args);

}  // namespace vplat
