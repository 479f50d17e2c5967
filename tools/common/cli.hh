// SPDX-License-Identifier: Apache-2.0
// Velmora command-line tools: one style for all of them.
//
// A tool is a table: its options (each written once, with the text --help and the manual page
// show), its subcommands (each naming the options it takes) and its exit statuses. vcli::run
// parses the command line with GOptionContext, so every tool and subcommand has --help, every
// tool has --version, `--` ends the options, and an unknown option or a missing value is a usage
// error that says what to do. The same tables print the manual page (--man) and the bash
// completion (--bash-completion), which the build installs.
//
// ---- Adding a subcommand ----
// Write `int run_<name>(const vcli::Args &args)` in its own cmd_<name>.cc, declare it in the
// tool's commands.hh, and append one row to the tool's command table: its name, positional
// arguments, a one-line summary, the options it takes (add new ones to the option table) and its
// positional argument count. Help, man page and completion follow from the row.
#pragma once

#include <glib.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace vcli {

// Exit statuses shared by the tools.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;   // the platform, the library or the agent refused
inline constexpr int kExitUsage = 2;    // bad command line
inline constexpr int kExitTimeout = 3;  // no answer in time

using Args = std::vector<std::string>;

enum class Arg { kFlag, kString, kInt, kStrings };

// One option. `data` is where the parsed value goes: gboolean*, gchar**, gint* or gchar***.
struct Option {
  const char *name;  // --name
  Arg arg;
  void *data;
  const char *arg_name;     // "ID", "SECONDS" (nullptr for a flag)
  const char *description;  // one line
};

inline constexpr size_t kAnyNumber = static_cast<size_t>(-1);

struct Command {
  const char *name;
  const char *args;                   // the positional arguments, for the synopsis ("<package-id>")
  const char *summary;                // one line
  std::vector<const char *> options;  // the options it takes besides the tool's global ones
  int (*run)(const Args &args);
  size_t min_args = 0;  // positional arguments it needs
  size_t max_args = 0;  // and takes at most (kAnyNumber: no limit)
};

struct Tool {
  const char *name;
  const char *summary;               // one line: what the tool is
  const char *description;           // a paragraph, for --help and the manual page
  std::vector<Option> options;       // every option of every subcommand
  std::vector<const char *> global;  // options every subcommand takes (--root, --json, ...)
  std::vector<Command> commands;
  std::vector<std::pair<int, const char *>> exit_statuses;
  std::vector<std::pair<const char *, const char *>> environment;  // variable, meaning
  // Runs after the command line was parsed, before the subcommand: -1 to go on, else the exit
  // status to end with (for instance, choosing the platform root).
  int (*before)(const Command &command) = nullptr;
  const char *default_command = nullptr;  // run when no subcommand is given (nullptr: usage)
};

// Parses the command line, runs the subcommand and returns the process exit status.
int run(const Tool &tool, int argc, char **argv);

// The subcommand being run (for messages), or nullptr.
const Command *current_command();
// True when the command line asks for --json (the tool has a flag option named "json"). Known
// before the command line is parsed, so that a usage error is printed as JSON too.
bool json_output();

// The names of the failures a tool reports on its own (those of the platform, the library or the
// agent carry the name of their code).
inline constexpr const char *kErrorUsage = "VELMORA_TOOL_ERROR_USAGE";
inline constexpr const char *kErrorFailed = "VELMORA_TOOL_ERROR_FAILED";

// Every failure says what happened on stderr ("<tool>: <message>"); with --json it is also one
// object on stdout: {"command": ..., "error": <name>, "message": <message>, "exit_status": N}
// (no "command" before a subcommand was chosen). `message` says what to do about it.
//
// "<tool> <command>: <message>" and a hint to --help; returns kExitUsage.
int usage_error(const std::string &message);
// A failure named `error`; returns kExitFailed.
int fail(const char *error, const std::string &message);
// The same, named kErrorFailed.
int fail(const std::string &message);
// "<tool>: <message>" on stderr only (one of several problems a command reports in one object).
void tell(const std::string &message);
// Adds the members of a failure ("error", "message", "exit_status") to an object a command prints
// itself (a listing that is partly read); returns `exit_status`.
class JsonOut;
int add_failure(JsonOut &json, const char *error, const std::string &message, int exit_status);

// A secret read from a file, or from standard input when `source` is "-": its first line without
// the line end. False with *error when it cannot be read or is empty.
bool read_secret(const std::string &source, std::string *secret, std::string *error);

// The manual page (troff) and the bash completion script of a tool.
std::string man_page(const Tool &tool);
std::string bash_completion(const Tool &tool);

}  // namespace vcli
