// SPDX-License-Identifier: Apache-2.0
// velmora-agent register-client: a client with its secret, scopes and token lifetime.
#include "cli/agent_cli.hh"

namespace vagent::cli {

int run_register_client(const Args &) {
  if (!options().client_id) return usage_error("register-client needs --client-id");
  NewClient client;
  int status = 0;
  if (!client_from_options(&client, &status)) return status;
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  auto secret = state.value()->clients().register_client(client);
  if (!secret.ok()) return failed(secret.status());
  if (options().json) {
    JsonReply json;
    print_registered(client.client_id, secret.value(), &json);
    json.print();
  } else {
    print_registered(client.client_id, secret.value(), nullptr);
  }
  return kExitOk;
}

}  // namespace vagent::cli
