// velmora-agent seed-user: a user with a password, optionally signed in, default, with a client.
#include <cstdio>

#include "admin.hh"
#include "cli/cli.hh"
#include "scopes.hh"

namespace vagent::cli {

int cmd_seed_user(const Args &args) {
  Options o({{"login-id", true, false},
             {"password", true, false},
             {"user-id", true, false},
             {"country-code", true, false},
             {"mcc", true, false},
             {"api-server-url", true, false},
             {"auth-server-url", true, false},
             {"sign-in", false, false},
             {"default", false, false},
             {"client-id", true, false},
             {"with-secret", false, false},
             {"scope", true, true},
             {"token-lifetime", true, false}});
  std::string error;
  if (!o.parse(args, &error)) return usage_error(error);
  if (!o.positional().empty()) return usage_error("unexpected word '" + o.positional()[0] + "'");
  if (!o.has("login-id") || !o.has("password"))
    return usage_error("seed-user needs --login-id and --password");
  if ((o.has("with-secret") || o.has("scope") || o.has("token-lifetime")) && !o.has("client-id"))
    return usage_error("--with-secret, --scope and --token-lifetime need --client-id");

  SeedUserOptions seed;
  seed.user.login_id = o.get("login-id");
  seed.user.password = o.get("password");
  seed.user.user_id = o.get("user-id");
  seed.user.country_code = o.get("country-code");
  seed.user.mcc = o.get("mcc");
  seed.user.api_server_url = o.get("api-server-url");
  seed.user.auth_server_url = o.get("auth-server-url");
  seed.sign_in = o.has("sign-in");
  seed.make_default = o.has("default");
  if (o.has("client-id")) {
    NewClient client;
    client.client_id = o.get("client-id");
    client.with_secret = o.has("with-secret");
    for (const std::string &s : o.all("scope"))
      for (const std::string &one : parse_scopes(s)) client.scopes.push_back(one);
    if (o.has("token-lifetime") && !parse_lifetime(o.get("token-lifetime"), &client.token_lifetime))
      return usage_error("--token-lifetime must be a positive number of seconds");
    seed.client = client;
  }

  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  auto result = seed_user(*state.value(), seed);
  if (!result.ok()) return failed(result.status());
  printf("seeded %s user_id=%s%s%s\n", result->user.login_id.c_str(), result->user.user_id.c_str(),
         result->signed_in ? " signed-in" : "", result->is_default ? " default" : "");
  if (seed.client) print_registered(seed.client->client_id, result->client_secret);
  return 0;
}

}  // namespace vagent::cli
