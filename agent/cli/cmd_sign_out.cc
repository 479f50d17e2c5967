// SPDX-License-Identifier: Apache-2.0
// velmora-agent sign-out: signs an account out.
#include <cstdio>

#include "cli/agent_cli.hh"

namespace vagent::cli {

int run_sign_out(const Args &) {
  const Options &o = options();
  if (!o.login_id) return usage_error("sign-out needs --login-id");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  Status st = state.value()->accounts().sign_out(o.login_id);
  if (!st.ok()) return failed(st);
  if (o.json)
    JsonReply().str("login_id", o.login_id).boolean("signed_in", false).print();
  else
    printf("signed out %s\n", o.login_id);
  return kExitOk;
}

}  // namespace vagent::cli
