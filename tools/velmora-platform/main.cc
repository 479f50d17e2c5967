// velmora-platform: the admin command of the host platform.
//
// Creates a platform root, chooses the device profile, installs and removes application packages
// with their metadata and shows what is installed. The root is --root DIR (anywhere on the command
// line) or VELMORA_PLATFORM_ROOT.
#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "commands.hh"

namespace {

void print_help(FILE *out) {
  fprintf(out,
          "usage: velmora-platform [--root DIR] <command> [arguments]\n"
          "\n"
          "The admin command of the Velmora host platform. The platform root is --root DIR or\n"
          "$VELMORA_PLATFORM_ROOT.\n"
          "\n"
          "commands:\n");
  for (const vplat::Command &c : vplat::commands())
    fprintf(out, "  %-8s %s\n           %s\n", c.name, c.usage, c.summary);
  fprintf(out,
          "\n"
          "velmora-platform <command> --help shows one command's usage.\n"
          "Exit status: 0 done, 1 refused by the platform or a malformed file, 2 bad arguments.\n");
}

}  // namespace

int main(int argc, char **argv) {
  std::string root;
  bool root_given = false;
  bool help = false;
  std::string command;
  vplat::Args args;

  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--root") {
      if (i + 1 >= argc) {
        fprintf(stderr, "velmora-platform: --root needs a directory\n");
        return vplat::kExitUsage;
      }
      root = argv[++i];
      root_given = true;
    } else if (arg.rfind("--root=", 0) == 0) {
      root = arg.substr(strlen("--root="));
      root_given = true;
    } else if (arg == "--help" || arg == "-h") {
      help = true;
    } else if (command.empty()) {
      if (arg.size() > 1 && arg[0] == '-') {
        fprintf(stderr, "velmora-platform: unknown option '%s' (see --help)\n", arg.c_str());
        return vplat::kExitUsage;
      }
      command = arg;
    } else {
      args.push_back(arg);
    }
  }

  if (command.empty()) {
    print_help(help ? stdout : stderr);
    return help ? vplat::kExitOk : vplat::kExitUsage;
  }
  const vplat::Command *cmd = vplat::find_command(command);
  if (!cmd) {
    fprintf(stderr, "velmora-platform: unknown command '%s' (see --help)\n", command.c_str());
    return vplat::kExitUsage;
  }
  if (help) {
    printf("usage: velmora-platform %s %s\n  %s\n", cmd->name, cmd->usage, cmd->summary);
    return vplat::kExitOk;
  }

  if (!root_given) {
    const char *env = getenv("VELMORA_PLATFORM_ROOT");
    if (env) root = env;
  }
  if (root.empty()) {
    fprintf(stderr,
            "velmora-platform: no platform root: give --root DIR or set VELMORA_PLATFORM_ROOT\n");
    return vplat::kExitUsage;
  }
  gchar *absolute = g_canonicalize_filename(root.c_str(), nullptr);
  root = absolute;
  g_free(absolute);
  setenv("VELMORA_PLATFORM_ROOT", root.c_str(), 1);

  if (cmd->needs_root && !g_file_test(root.c_str(), G_FILE_TEST_IS_DIR))
    return vplat::fail("platform root " + root +
                       " does not exist (create it with: velmora-platform init --root " + root +
                       ")");
  return cmd->run(args);
}
