// velmora-account effortless: an authorization code for effortless login
// (velmora_account_request_auth_code_for_effortless_login).
#include "cli.hh"

namespace vcli {

int cmd_effortless(const Options &options) {
  return run_request(options, "effortless", velmora_account_request_auth_code_for_effortless_login);
}

}  // namespace vcli
