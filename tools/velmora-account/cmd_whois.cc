// SPDX-License-Identifier: Apache-2.0
// velmora-account whois USER_ID: the signed-in account of a user id
// (velmora_account_get_account_from_property); the answer must carry the login id.
#include <glib.h>

#include "account_cli.hh"

namespace vacc {

int cmd_whois(const Args &args) {
  // The user id travels as the handle's property.
  g_free(options().user_id);
  options().user_id = g_strdup(args[0].c_str());
  return run_request("whois", velmora_account_get_account_from_property,
                     VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
}

}  // namespace vacc
