// velmora-agent link: links (or unlinks) an account with a partner client.
#include <cstdio>

#include "cli/cli.hh"

namespace vagent::cli {

int cmd_link(const Args &args) {
  Options o(
      {{"login-id", true, false}, {"partner-client-id", true, false}, {"unlink", false, false}});
  std::string error;
  if (!o.parse(args, &error)) return usage_error(error);
  if (!o.has("login-id") || !o.has("partner-client-id") || !o.positional().empty())
    return usage_error("usage: link --login-id L --partner-client-id P [--unlink]");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  Status st =
      state.value()->linking().set(o.get("login-id"), o.get("partner-client-id"), !o.has("unlink"));
  if (!st.ok()) return failed(st);
  printf("%s %s with %s\n", o.has("unlink") ? "unlinked" : "linked", o.get("login-id").c_str(),
         o.get("partner-client-id").c_str());
  return 0;
}

}  // namespace vagent::cli
