// SPDX-License-Identifier: Apache-2.0
// velmora-account linking: whether the account is linked with a partner service
// (velmora_account_request_account_linking_info); the answer shows the linking status, false
// included.
#include "account_cli.hh"

namespace vacc {

int cmd_linking(const Args &) {
  return run_request("linking", velmora_account_request_account_linking_info,
                     VELMORA_ACCOUNT_PROPERTY_LOGIN_ID,
                     VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS);
}

}  // namespace vacc
