// velmora-account last-token: the last access token the agent handed out
// (velmora_account_get_last_access_token, or with --sync
// velmora_account_get_last_access_token_sync).
#include "cli.hh"

namespace vcli {

namespace {

int run_sync(const Options &options) {
  velmora_account_h h = nullptr;
  int status = open_handle(options, &h);
  if (status != kExitOk) return status;
  velmora_account_h response = nullptr;
  const int ret = velmora_account_get_last_access_token_sync(h, &response);
  status = print_result(options, "last-token --sync", ret, response);
  if (response) velmora_account_destroy(response);
  close_handle(options, h);
  return status;
}

}  // namespace

int cmd_last_token(const Options &given) {
  if (!given.sync) return run_request(given, "last-token", velmora_account_get_last_access_token);
  Options options = given;
  // The blocking form exists only over the port; ask for the other one explicitly to see the
  // library refuse it.
  if (!options.transport_given) options.transport = Transport::kNidl;
  return run_sync(options);
}

}  // namespace vcli
