// velmora-agent: the table of admin commands (each in its own cli/cmd_<name>.cc) and help.
#include <cstdio>
#include <string>

#include "cli/cli.hh"

namespace vagent::cli {

const std::vector<Command> &commands() {
  static const std::vector<Command> table = {
      {"serve", cmd_serve, "serve                      serve until SIGTERM/SIGINT (the default)"},
      {"seed-user", cmd_seed_user,
       "seed-user --login-id L --password P [--user-id G] [--country-code CC] [--mcc MCC]\n"
       "          [--api-server-url U] [--auth-server-url U] [--sign-in] [--default]\n"
       "          [--client-id C [--with-secret] [--scope SCOPE]... [--token-lifetime SEC]]\n"
       "          --with-secret: the agent makes the client's secret and prints it, once"},
      {"register-client", cmd_register_client,
       "register-client --client-id C [--with-secret] [--scope SCOPE]... [--token-lifetime SEC]"},
      {"sign-out", cmd_sign_out, "sign-out --login-id L"},
      {"register-partner", cmd_register_partner,
       "register-partner --client-id P [--name N]   mark a registered client as a partner\n"
       "register-partner --list"},
      {"link", cmd_link, "link --login-id L --partner-client-id P [--unlink]"},
      {"consents", cmd_consents, "consents --login-id L       the terms consents and their times"},
      {"places", cmd_places,
       "places list --login-id L\n"
       "places add --login-id L [--name N] [--address A] [--category C] [--type T]\n"
       "          [--location-source S] [--latitude DEG] [--longitude DEG] [--wifi-name W]\n"
       "          [--wifi-bssid B] [--bt-name N] [--bt-address A]\n"
       "places change --login-id L --id N [the fields of add]\n"
       "places remove --login-id L --id N"},
      {"profile", cmd_profile,
       "profile show --login-id L [--category WORD]   the profile as the agent keeps it\n"
       "profile set --login-id L --category WORD [WORD[_N]:FIELD=VALUE]...   replaces the items\n"
       "profile privacy --login-id L WORD=0|1|2...\n"
       "profile verify --login-id L --category WORD --item N [--value V]   (the agent's own)\n"
       "profile subscribers --login-id L   applications told of its changes"},
      {"fault", cmd_fault,
       "fault set <operation|*> key=value...\n"
       "fault clear [operation|*]\n"
       "fault list                 the faults set\n"
       "fault keys                 the keys fault set knows"},
      {"clock", cmd_clock,
       "clock show|reset|advance SECONDS|set-offset SECONDS   move the agent's time (tests)"},
      {"state", cmd_state,
       "state                      show users, clients, accounts, store, faults"},
      {"reset-state", cmd_reset_state,
       "reset-state [--force]      start over when the state was lost (stop the agent first):\n"
       "                           no user, no client, no signed-in account"},
      {"errors", cmd_errors, "errors                     list the agent's error codes"},
      {"help", cmd_help, "help"},
  };
  return table;
}

int cmd_help(const Args &) {
  printf(
      "usage: velmora-agent [--root DIR] [command] ...\n"
      "The platform root is --root, else VELMORA_PLATFORM_ROOT.\ncommands:\n");
  for (const Command &c : commands()) {
    std::string usage = c.usage;
    for (size_t at = usage.find('\n'); at != std::string::npos; at = usage.find('\n', at + 3))
      usage.replace(at, 1, "\n  ");
    printf("  %s\n", usage.c_str());
  }
  return 0;
}

}  // namespace vagent::cli
