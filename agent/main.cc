// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the entry point. With a command it runs an admin command and exits; without one
// (as the platform launches it) it serves until SIGTERM or SIGINT. `velmora-agent --help` lists the
// commands, `velmora-agent <command> --help` their options (the table is cli/commands.cc).
#include "cli/agent_cli.hh"

int main(int argc, char **argv) { return vcli::run(vagent::cli::tool(), argc, argv); }
