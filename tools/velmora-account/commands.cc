// velmora-account: the table of commands (each in its own cmd_<name>.cc).
#include "cli.hh"

namespace vcli {

int cmd_token(const Options &options);
int cmd_last_token(const Options &options);
int cmd_authcode(const Options &options);
int cmd_effortless(const Options &options);

const std::vector<Command> &commands() {
  static const std::vector<Command> table = {
      {"token", "obtain a new access token", "  --expired-token TOKEN         a token to replace\n",
       cmd_token},
      {"last-token", "show the last access token the agent handed out",
       "  --sync                        the blocking form (needs the nidl transport, which it\n"
       "                                selects unless --transport is given)\n",
       cmd_last_token},
      {"authcode", "obtain an authorization code",
       "  --device-code CODE            the device's unique code\n", cmd_authcode},
      {"effortless", "obtain an authorization code for effortless login", "", cmd_effortless},
  };
  return table;
}

}  // namespace vcli
