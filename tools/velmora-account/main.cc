// velmora-account: the account client from the command line.
//
//   velmora-account <command> [options]
//
// Each command asks the account agent for something through the library, in either transport, and
// prints the properties of the response handle (those that are set; tokens included: that is what
// the command is for). Exit status: 0 success, 1 failure (the result code's name and a short
// explanation are printed), 2 bad usage, 3 no answer within --timeout. The library's log lines are
// silenced unless --verbose is given or VELMORA_LOG_LEVEL is set.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "cli.hh"

namespace {

using vcli::Options;

constexpr const char *kCommonOptions =
    "  --transport nidl|app-control  how requests travel (default app-control)\n"
    "  --login-id ID                 the account's login id\n"
    "  --client-id ID                the calling service's client id\n"
    "  --client-secret SECRET        the client's secret (required on a TV for `token`)\n"
    "  --scope SCOPE                 the requested scope (\"read write\")\n"
    "  --json                        print the result as one JSON object\n"
    "  --timeout SECONDS             how long to wait for the agent (default 30)\n"
    "  --verbose                     show the library's log lines on stderr\n"
    "  --help                        this text\n";

void print_usage(FILE *out) {
  fprintf(out, "usage: velmora-account <command> [options]\n\ncommands:\n");
  for (const vcli::Command &c : vcli::commands()) fprintf(out, "  %-12s %s\n", c.name, c.summary);
  fprintf(out, "\noptions:\n%s", kCommonOptions);
  fprintf(out, "\n`velmora-account <command> --help` lists a command's own options.\n");
}

void print_command_usage(const vcli::Command &c) {
  printf("usage: velmora-account %s [options]\n\n%s\n\noptions:\n%s%s", c.name, c.summary,
         kCommonOptions, c.options);
}

int usage_error(const std::string &message) {
  fprintf(stderr, "velmora-account: %s\n(see velmora-account --help)\n", message.c_str());
  return vcli::kExitUsage;
}

// The value of an option: "--name value" or "--name=value".
bool take_value(int argc, char **argv, int *i, const std::string &arg, std::string *value) {
  const size_t eq = arg.find('=');
  if (eq != std::string::npos) {
    *value = arg.substr(eq + 1);
    return true;
  }
  if (*i + 1 >= argc) return false;
  *value = argv[++*i];
  return true;
}

struct StringOption {
  const char *name;
  std::string Options::*field;
};

constexpr StringOption kStringOptions[] = {
    {"--login-id", &Options::login_id},           {"--client-id", &Options::client_id},
    {"--client-secret", &Options::client_secret}, {"--scope", &Options::scope},
    {"--expired-token", &Options::expired_token}, {"--device-code", &Options::device_code},
};

// Parses the options after the command word. Returns -1 when they are fine, else an exit status.
int parse(int argc, char **argv, Options *o) {
  for (int i = 2; i < argc; ++i) {
    const std::string arg = argv[i];
    const std::string name = arg.substr(0, arg.find('='));
    std::string value;
    if (name == "--help" || name == "-h") {
      o->help = true;
      continue;
    }
    if (name == "--json") {
      o->json = true;
      continue;
    }
    if (name == "--sync") {
      o->sync = true;
      continue;
    }
    if (name == "--verbose") {
      o->verbose = true;
      continue;
    }
    bool matched = false;
    for (const StringOption &s : kStringOptions) {
      if (name != s.name) continue;
      if (!take_value(argc, argv, &i, arg, &value)) return usage_error(name + " needs a value");
      o->*s.field = value;
      matched = true;
    }
    if (matched) continue;
    if (name == "--transport") {
      if (!take_value(argc, argv, &i, arg, &value)) return usage_error("--transport needs a value");
      if (value == "nidl")
        o->transport = vcli::Transport::kNidl;
      else if (value == "app-control")
        o->transport = vcli::Transport::kAppControl;
      else
        return usage_error("--transport must be nidl or app-control");
      o->transport_given = true;
    } else if (name == "--timeout") {
      if (!take_value(argc, argv, &i, arg, &value)) return usage_error("--timeout needs a value");
      char *end = nullptr;
      const long seconds = strtol(value.c_str(), &end, 10);
      if (value.empty() || *end || seconds < 1 || seconds > 3600)
        return usage_error("--timeout must be 1 to 3600 seconds");
      o->timeout_s = static_cast<int>(seconds);
    } else {
      return usage_error("unknown option " + arg);
    }
  }
  return -1;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2) {
    print_usage(stderr);
    return vcli::kExitUsage;
  }
  const std::string word = argv[1];
  if (word == "--help" || word == "-h" || word == "help") {
    print_usage(stdout);
    return vcli::kExitOk;
  }
  const vcli::Command *command = nullptr;
  for (const vcli::Command &c : vcli::commands())
    if (word == c.name) command = &c;
  if (!command) return usage_error("unknown command '" + word + "'");

  Options options;
  const int status = parse(argc, argv, &options);
  if (status >= 0) return status;
  if (options.help) {
    print_command_usage(*command);
    return vcli::kExitOk;
  }
  // The library logs every unset property it is asked for as an error; a command that prints
  // whatever is set asks for all of them. Its lines go to stderr only when asked for (or when the
  // caller chose a log level).
  setenv("VELMORA_LOG_LEVEL", options.verbose ? "info" : "silent", options.verbose ? 1 : 0);
  return command->run(options);
}
