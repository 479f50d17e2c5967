// SPDX-License-Identifier: Apache-2.0
// velmora-account effortless: velmora_account_request_auth_code_for_effortless_login; the answer
// must carry the property AUTHCODE.
#include "account_cli.hh"

namespace vacc {

int cmd_effortless(const Args &) {
  return run_request("effortless", velmora_account_request_auth_code_for_effortless_login,
                     VELMORA_ACCOUNT_PROPERTY_AUTHCODE);
}

}  // namespace vacc
