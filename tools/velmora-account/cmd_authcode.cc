// velmora-account authcode: an authorization code (velmora_account_request_auth_code).
#include "cli.hh"

namespace vcli {

int cmd_authcode(const Options &options) {
  return run_request(options, "authcode", velmora_account_request_auth_code);
}

}  // namespace vcli
