// SPDX-License-Identifier: Apache-2.0
// velmora-agent seed-user: a user with a password, optionally signed in, default, with a client.
// The password comes from --password-file (a file, or standard input for "-"), never from the
// command line, where other users of the machine could read it.
#include <cstdio>

#include "admin.hh"
#include "cli/agent_cli.hh"

namespace vagent::cli {

int run_seed_user(const Args &) {
  const Options &o = options();
  if (!o.login_id || !o.password_file)
    return usage_error("seed-user needs --login-id and --password-file FILE|-");
  if ((o.with_secret || o.scopes || o.token_lifetime) && !o.client_id)
    return usage_error("--with-secret, --scope and --token-lifetime need --client-id");

  SeedUserOptions seed;
  std::string error;
  if (!vcli::read_secret(o.password_file, &seed.user.password, &error))
    return usage_error("no password: " + error);
  seed.user.login_id = o.login_id;
  seed.user.user_id = value(o.user_id);
  seed.user.country_code = value(o.country_code);
  seed.user.mcc = value(o.mcc);
  seed.user.api_server_url = value(o.api_server_url);
  seed.user.auth_server_url = value(o.auth_server_url);
  seed.sign_in = o.sign_in;
  seed.make_default = o.make_default;
  if (o.client_id) {
    NewClient client;
    int status = 0;
    if (!client_from_options(&client, &status)) return status;
    seed.client = client;
  }

  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  auto result = seed_user(*state.value(), seed);
  if (!result.ok()) return failed(result.status());
  if (o.json) {
    JsonReply json;
    json.str("login_id", result->user.login_id)
        .str("user_id", result->user.user_id)
        .boolean("signed_in", result->signed_in)
        .boolean("default", result->is_default);
    if (seed.client) print_registered(seed.client->client_id, result->client_secret, &json);
    json.print();
    return kExitOk;
  }
  printf("seeded %s user_id=%s%s%s\n", result->user.login_id.c_str(), result->user.user_id.c_str(),
         result->signed_in ? " signed-in" : "", result->is_default ? " default" : "");
  if (seed.client) print_registered(seed.client->client_id, result->client_secret, nullptr);
  return kExitOk;
}

}  // namespace vagent::cli
