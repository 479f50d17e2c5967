// velmora-agent register-client: a client with its secret, scopes and token lifetime.
#include <cstdio>

#include "cli/cli.hh"
#include "scopes.hh"

namespace vagent::cli {

int cmd_register_client(const Args &args) {
  Options o({{"client-id", true, false},
             {"with-secret", false, false},
             {"scope", true, true},
             {"token-lifetime", true, false}});
  std::string error;
  if (!o.parse(args, &error)) return usage_error(error);
  if (!o.positional().empty()) return usage_error("unexpected word '" + o.positional()[0] + "'");
  if (!o.has("client-id")) return usage_error("register-client needs --client-id");
  NewClient client;
  client.client_id = o.get("client-id");
  client.with_secret = o.has("with-secret");
  for (const std::string &s : o.all("scope"))
    for (const std::string &one : parse_scopes(s)) client.scopes.push_back(one);
  if (o.has("token-lifetime") && !parse_lifetime(o.get("token-lifetime"), &client.token_lifetime))
    return usage_error("--token-lifetime must be a positive number of seconds");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  auto secret = state.value()->clients().register_client(client);
  if (!secret.ok()) return failed(secret.status());
  print_registered(client.client_id, secret.value());
  return 0;
}

}  // namespace vagent::cli
