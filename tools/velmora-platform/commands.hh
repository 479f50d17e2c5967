// SPDX-License-Identifier: Apache-2.0
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

// Prints "velmora-platform: <message>" to stderr (and with --json one object naming `error` on
// stdout) and returns kExitFailed.
int fail(const char *error, const std::string &message);
// The name of a code returned by velmora_host_*, the package registry (PACKAGE_MANAGER_ERROR_*,
// APP_MANAGER_ERROR_*) or, with `store`, the account store (ACCOUNT_ERROR_*).
const char *platform_error_name(int code, bool store = false);
// Fails with the code a velmora_host_* function returned and the message it handed out (freed
// here; `fallback` when there is none), followed by `what_to_do` when the code is -5 (a file of
// the root that cannot be read or written, or is malformed). The message of a refused root (-13)
// says what to do itself.
int fail_with(int code, char *platform_message, const std::string &fallback,
              const std::string &what_to_do = "");
// Usage error of the running subcommand.
int usage_error(const std::string &message);

// What to do when a file of the root cannot be written, or when device.conf or a package file
// cannot be read.
inline constexpr const char *kCannotWrite =
    "check that the platform root is on a writable file system with free space";
inline constexpr const char *kDamagedDeviceConfig =
    "set the device profile again to write a new device configuration (velmora-platform profile "
    "mobile|wearable|tv), then the MCC if the device has one (velmora-platform mcc MCC)";
inline constexpr const char *kDamagedPackage =
    "install the package again (velmora-platform install) or remove it (velmora-platform remove)";

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
