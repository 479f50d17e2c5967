// Velmora agent: the entry point. With a command it runs an admin command and exits; without one
// (as the platform launches it) it serves until SIGTERM or SIGINT.
//
//   velmora-agent [--root DIR] seed-user --login-id L --password P [--sign-in] [--default] ...
//   velmora-agent [--root DIR] fault set <operation|*> key=value...
//   velmora-agent [--root DIR] state
//   velmora-agent [--root DIR] [serve]
//
// Exit status: 0 done, 1 the command failed, 2 bad usage.
#include <cstdlib>
#include <string>

#include "cli/cli.hh"

using vagent::cli::Args;
using vagent::cli::usage_error;

int main(int argc, char **argv) {
  Args args;
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    if (a == "--root" || a.rfind("--root=", 0) == 0) {
      std::string dir;
      if (a == "--root") {
        if (i + 1 >= argc) return usage_error("--root needs a directory");
        dir = argv[++i];
      } else {
        dir = a.substr(7);
      }
      if (dir.empty()) return usage_error("--root needs a directory");
      setenv("VELMORA_PLATFORM_ROOT", dir.c_str(), 1);
      continue;
    }
    args.push_back(a);
  }
  if (args.empty()) return vagent::cli::cmd_serve(args);
  if (args[0] == "--help" || args[0] == "-h") return vagent::cli::cmd_help({});
  for (const vagent::cli::Command &c : vagent::cli::commands())
    if (args[0] == c.name) return c.run(Args(args.begin() + 1, args.end()));
  return usage_error("unknown command '" + args[0] + "'");
}
