// SPDX-License-Identifier: Apache-2.0
// velmora-account token: velmora_account_request_access_token; the answer must carry the property
// ACCESS_TOKEN.
#include "account_cli.hh"

namespace vacc {

int cmd_token(const Args &) {
  return run_request("token", velmora_account_request_access_token,
                     VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN);
}

}  // namespace vacc
