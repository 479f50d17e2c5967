// SPDX-License-Identifier: Apache-2.0
// Velmora command-line tools: parsing with GOptionContext, help, secrets (see cli.hh).
#include "cli.hh"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "json_out.hh"
#include "velmora_account_version.h"

namespace vcli {

namespace {

const Tool *g_tool = nullptr;
const Command *g_command = nullptr;
const gboolean *g_json_flag = nullptr;  // the tool's --json option, once parsed
bool g_json_asked = false;              // --json among the words before `--`

const char *tool_name() { return g_tool ? g_tool->name : "velmora"; }

// One failure as one JSON object on stdout, when --json was asked for.
void print_failure(const char *error, const std::string &message, int exit_status) {
  if (!json_output()) return;
  JsonOut json;
  if (g_command) json.str("command", g_command->name);
  add_failure(json, error, message, exit_status);
  json.print();
}

const Option *find_option(const Tool &tool, const char *name) {
  for (const Option &o : tool.options)
    if (strcmp(o.name, name) == 0) return &o;
  return nullptr;
}

const Command *find_command(const Tool &tool, const std::string &name) {
  for (const Command &c : tool.commands)
    if (name == c.name) return &c;
  return nullptr;
}

// The options a subcommand takes: the tool's global ones, then its own.
std::vector<const Option *> options_of(const Tool &tool, const Command *command) {
  std::vector<const Option *> out;
  for (const char *name : tool.global)
    if (const Option *o = find_option(tool, name)) out.push_back(o);
  if (command)
    for (const char *name : command->options)
      if (const Option *o = find_option(tool, name)) out.push_back(o);
  return out;
}

GOptionArg goption_arg(Arg arg) {
  switch (arg) {
    case Arg::kFlag:
      return G_OPTION_ARG_NONE;
    case Arg::kString:
      return G_OPTION_ARG_STRING;
    case Arg::kInt:
      return G_OPTION_ARG_INT;
    case Arg::kStrings:
      return G_OPTION_ARG_STRING_ARRAY;
  }
  return G_OPTION_ARG_NONE;
}

bool takes_value(const Option &o) { return o.arg != Arg::kFlag; }

// Releases what GOptionContext stored, so that the tools end with nothing allocated.
void free_option_values(const Tool &tool) {
  for (const Option &o : tool.options) {
    if (o.arg == Arg::kString) {
      auto *p = static_cast<gchar **>(o.data);
      g_free(*p);
      *p = nullptr;
    } else if (o.arg == Arg::kStrings) {
      auto *p = static_cast<gchar ***>(o.data);
      g_strfreev(*p);
      *p = nullptr;
    }
  }
}

std::string exit_text(const Tool &tool) {
  std::string text = "Exit status:\n";
  for (const auto &[code, meaning] : tool.exit_statuses)
    text += "  " + std::to_string(code) + "  " + meaning + "\n";
  if (!tool.environment.empty()) {
    text += "\nEnvironment:\n";
    for (const auto &[name, meaning] : tool.environment)
      text += std::string("  ") + name + "  " + meaning + "\n";
  }
  return text;
}

std::string commands_text(const Tool &tool) {
  std::string text = "Commands:\n";
  size_t width = 12;
  for (const Command &c : tool.commands) width = std::max(width, strlen(c.name));
  for (const Command &c : tool.commands)
    text += "  " + std::string(c.name) + std::string(width + 1 - strlen(c.name), ' ') + c.summary +
            "\n";
  return text + "\n`" + tool.name + " <command> --help` shows a command's options.\n";
}

// Parses `argv` (the subcommand's words, argv[0] being the program) with the options of
// `command` (or the tool's global ones when it is nullptr). Positional words go to *positional.
// Returns -1 when parsing succeeded, else an exit status (help and version printed, or an error).
int parse(const Tool &tool, const Command *command, std::vector<char *> words, Args *positional,
          gboolean *version, gboolean *man, gboolean *completion) {
  std::vector<GOptionEntry> entries;
  std::vector<std::string> arg_names;  // keep the strings alive
  for (const Option *o : options_of(tool, command)) {
    entries.push_back(
        GOptionEntry{o->name, 0, 0, goption_arg(o->arg), o->data, o->description, o->arg_name});
  }
  gboolean help = FALSE;
  entries.push_back(
      GOptionEntry{"help", 'h', 0, G_OPTION_ARG_NONE, &help, "Show this help and exit", nullptr});
  if (!command) {
    entries.push_back(GOptionEntry{"version", 0, 0, G_OPTION_ARG_NONE, version,
                                   "Print the version and exit", nullptr});
    entries.push_back(GOptionEntry{"man", 0, G_OPTION_FLAG_HIDDEN, G_OPTION_ARG_NONE, man,
                                   "Print the manual page (troff)", nullptr});
    entries.push_back(GOptionEntry{"bash-completion", 0, G_OPTION_FLAG_HIDDEN, G_OPTION_ARG_NONE,
                                   completion, "Print the bash completion script", nullptr});
  }
  entries.push_back(GOptionEntry{nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr});

  std::string parameter =
      command ? std::string(command->name) + (command->args[0] ? " " : "") + command->args
              : "<command> [options] [arguments]";
  GOptionContext *context = g_option_context_new(parameter.c_str());
  g_option_context_set_help_enabled(context, FALSE);
  g_option_context_add_main_entries(context, entries.data(), nullptr);
  g_option_context_set_summary(context, command ? command->summary : tool.summary);
  const std::string description =
      (command ? std::string()
               : std::string(tool.description) + "\n\n" + commands_text(tool) + "\n") +
      exit_text(tool);
  g_option_context_set_description(context, description.c_str());

  int argc = static_cast<int>(words.size());
  words.push_back(nullptr);
  char **argv = words.data();
  GError *error = nullptr;
  const bool ok = g_option_context_parse(context, &argc, &argv, &error);
  if (ok && help) {
    gchar *text = g_option_context_get_help(context, TRUE, nullptr);
    fputs(text, stdout);
    g_free(text);
    g_option_context_free(context);
    return kExitOk;
  }
  g_option_context_free(context);
  if (!ok) {
    std::string message = error ? error->message : "cannot parse the command line";
    g_clear_error(&error);
    return usage_error(message);
  }
  bool options_ended = false;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--" && !options_ended) {
      options_ended = true;
      continue;
    }
    positional->push_back(word);
  }
  return -1;
}

}  // namespace

const Command *current_command() { return g_command; }

bool json_output() { return g_json_asked || (g_json_flag && *g_json_flag); }

int usage_error(const std::string &message) {
  const std::string tool = tool_name();
  const std::string help = g_command ? tool + " " + g_command->name + " --help" : tool + " --help";
  if (g_command)
    fprintf(stderr, "%s %s: %s\n(see %s)\n", tool.c_str(), g_command->name, message.c_str(),
            help.c_str());
  else
    fprintf(stderr, "%s: %s\n(see %s)\n", tool.c_str(), message.c_str(), help.c_str());
  print_failure(kErrorUsage, message + " (see " + help + ")", kExitUsage);
  return kExitUsage;
}

void tell(const std::string &message) { fprintf(stderr, "%s: %s\n", tool_name(), message.c_str()); }

int fail(const char *error, const std::string &message) {
  tell(message);
  print_failure(error, message, kExitFailed);
  return kExitFailed;
}

int fail(const std::string &message) { return fail(kErrorFailed, message); }

int add_failure(JsonOut &json, const char *error, const std::string &message, int exit_status) {
  json.str("error", error).str("message", message).integer("exit_status", exit_status);
  return exit_status;
}

bool read_secret(const std::string &source, std::string *secret, std::string *error) {
  gchar *contents = nullptr;
  gsize length = 0;
  GError *err = nullptr;
  if (source == "-") {
    GString *text = g_string_new(nullptr);
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, stdin)) > 0 && text->len < 65536)
      g_string_append_len(text, buf, n);
    length = text->len;
    contents = g_string_free(text, FALSE);
  } else if (!g_file_get_contents(source.c_str(), &contents, &length, &err)) {
    *error = err ? err->message : "cannot read " + source;
    g_clear_error(&err);
    return false;
  }
  std::string text(contents, length);
  g_free(contents);
  text = text.substr(0, text.find('\n'));
  if (!text.empty() && text.back() == '\r') text.pop_back();
  if (text.empty()) {
    *error = (source == "-" ? std::string("standard input") : source) + " holds no secret";
    return false;
  }
  *secret = text;
  return true;
}

int run(const Tool &tool, int argc, char **argv) {
  g_tool = &tool;
  g_command = nullptr;
  g_set_prgname(tool.name);
  const Option *json = find_option(tool, "json");
  g_json_flag =
      json && json->arg == Arg::kFlag ? static_cast<const gboolean *>(json->data) : nullptr;
  g_json_asked = false;
  for (int i = 1; g_json_flag && i < argc && strcmp(argv[i], "--") != 0; ++i)
    if (strcmp(argv[i], "--json") == 0) g_json_asked = true;
  // The subcommand is the first word that is neither an option nor an option's value.
  int at = -1;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--") break;
    if (word.rfind("-", 0) == 0) {
      const std::string name = word.substr(word.rfind('-', 1) + 1);
      const Option *o = word.rfind("--", 0) == 0 && word.find('=') == std::string::npos
                            ? find_option(tool, name.c_str())
                            : nullptr;
      if (o && takes_value(*o)) ++i;
      continue;
    }
    at = i;
    break;
  }

  Args positional;
  gboolean version = FALSE, man = FALSE, completion = FALSE;
  int status;
  // Without a command word the default command runs, unless the tool itself is asked about
  // (--help, --version, the manual page or the completion).
  bool about_tool = false;
  for (int i = 1; i < argc && at < 0; ++i) {
    const std::string word = argv[i];
    if (word == "--") break;
    about_tool = about_tool || word == "--help" || word == "-h" || word == "--version" ||
                 word == "--man" || word == "--bash-completion";
  }
  if (at < 0 && tool.default_command && !about_tool) {
    g_command = find_command(tool, tool.default_command);
  } else if (at >= 0) {
    g_command = find_command(tool, argv[at]);
    if (!g_command) {
      status = usage_error(std::string("unknown command '") + argv[at] + "'");
      return status;
    }
  }
  std::vector<char *> words;
  for (int i = 0; i < argc; ++i)
    if (i != at) words.push_back(argv[i]);
  if (!g_command) {
    status = parse(tool, nullptr, words, &positional, &version, &man, &completion);
    if (status < 0) {
      if (version) {
        if (json_output())
          JsonOut().str("tool", tool.name).str("version", VELMORA_ACCOUNT_VERSION_STRING).print();
        else
          printf("%s %s\n", tool.name, VELMORA_ACCOUNT_VERSION_STRING);
        status = kExitOk;
      } else if (man) {
        fputs(man_page(tool).c_str(), stdout);
        status = kExitOk;
      } else if (completion) {
        fputs(bash_completion(tool).c_str(), stdout);
        status = kExitOk;
      } else if (!positional.empty()) {
        status = usage_error("unknown command '" + positional[0] + "'");
      } else {
        status = usage_error("no command given");
      }
    }
    free_option_values(tool);
    return status;
  }
  status = parse(tool, g_command, words, &positional, &version, &man, &completion);
  if (status < 0) {
    if (positional.size() < g_command->min_args)
      status = usage_error(std::string("needs ") + g_command->args);
    else if (g_command->max_args != kAnyNumber && positional.size() > g_command->max_args)
      status = usage_error("unexpected argument '" + positional[g_command->max_args] + "'");
    else if (!tool.before || (status = tool.before(*g_command)) < 0)
      status = g_command->run(positional);
  }
  free_option_values(tool);
  return status;
}

}  // namespace vcli
