// SPDX-License-Identifier: Apache-2.0
// velmora-agent second-factor: marks a user as signing in with a second factor (an SMS number sent
// to a phone), or with a password alone again (--off).
#include <cstdio>

#include "cli/agent_cli.hh"

namespace vagent::cli {

int run_second_factor(const Args &) {
  const Options &o = options();
  const bool off = o.off;
  if (!o.login_id || off == (o.phone != nullptr))
    return usage_error("second-factor needs --login-id and either --phone or --off");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  SecondFactor &sf = state.value()->second_factor();
  const std::string login_id = o.login_id;
  Status st = off ? sf.withdraw(login_id) : sf.enrol(login_id, o.phone);
  if (!st.ok()) return failed(st);
  if (o.json)
    JsonReply().str("login_id", login_id).boolean("second_factor", !off).print();
  else if (off)
    printf("%s signs in with a password alone\n", login_id.c_str());
  else
    printf("%s signs in with a second factor (SMS to %s)\n", login_id.c_str(), o.phone);
  return kExitOk;
}

}  // namespace vagent::cli
