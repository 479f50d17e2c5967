// SPDX-License-Identifier: Apache-2.0
// velmora-account authcode: velmora_account_request_auth_code; the answer must carry the property
// AUTHCODE.
#include "account_cli.hh"

namespace vacc {

int cmd_authcode(const Args &) {
  return run_request("authcode", velmora_account_request_auth_code,
                     VELMORA_ACCOUNT_PROPERTY_AUTHCODE);
}

}  // namespace vacc
