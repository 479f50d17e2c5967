// velmora-agent sign-out: signs an account out.
#include <cstdio>

#include "cli/cli.hh"

namespace vagent::cli {

int cmd_sign_out(const Args &args) {
  Options o({{"login-id", true, false}});
  std::string error;
  if (!o.parse(args, &error)) return usage_error(error);
  if (!o.has("login-id") || !o.positional().empty())
    return usage_error("usage: sign-out --login-id L");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  Status st = state.value()->accounts().sign_out(o.get("login-id"));
  if (!st.ok()) return failed(st);
  printf("signed out %s\n", o.get("login-id").c_str());
  return 0;
}

}  // namespace vagent::cli
