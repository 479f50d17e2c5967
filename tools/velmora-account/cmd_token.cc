// velmora-account token: a new access token (velmora_account_request_access_token).
#include "cli.hh"

namespace vcli {

int cmd_token(const Options &options) {
  return run_request(options, "token", velmora_account_request_access_token);
}

}  // namespace vcli
