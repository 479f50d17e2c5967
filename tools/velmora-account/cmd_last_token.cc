// SPDX-License-Identifier: Apache-2.0
// velmora-account last-token: the last access token the agent handed out
// (velmora_account_get_last_access_token, or with --sync
// velmora_account_get_last_access_token_sync); the answer must carry an access token.
#include "account_cli.hh"

namespace vacc {

namespace {

int run_sync() {
  velmora_account_h h = nullptr;
  int status = open_handle("last-token --sync", &h);
  if (status != vcli::kExitOk) return status;
  velmora_account_h response = nullptr;
  const int ret = velmora_account_get_last_access_token_sync(h, &response);
  status = print_result("last-token --sync", ret, response, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN);
  if (response) velmora_account_destroy(response);
  close_handle(h);
  return status;
}

}  // namespace

int cmd_last_token(const Args &) {
  if (!options().sync)
    return run_request("last-token", velmora_account_get_last_access_token,
                       VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN);
  // The blocking form exists only over the port; ask for the other one explicitly to see the
  // library refuse it.
  if (!request().transport_given) request().transport = Transport::kNidl;
  return run_sync();
}

}  // namespace vacc
