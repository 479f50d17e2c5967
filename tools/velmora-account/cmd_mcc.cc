// SPDX-License-Identifier: Apache-2.0
// velmora-account mcc: the mobile country code the account's requests go with: the device's when it
// is on a network, else the account's own (velmora_account_request_mcc); the answer must carry the
// MCC.
#include "account_cli.hh"

namespace vacc {

int cmd_mcc(const Args &) {
  return run_request("mcc", velmora_account_request_mcc, VELMORA_ACCOUNT_PROPERTY_MCC);
}

}  // namespace vacc
