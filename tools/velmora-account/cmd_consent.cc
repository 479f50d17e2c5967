// SPDX-License-Identifier: Apache-2.0
// velmora-account consent CONSENT...: gives the account's terms consents to the agent
// (velmora_account_set_tnc for each consent named, then velmora_account_update_tnc_info). The
// consents not named are withdrawn; the two mandatory ones must be among them.
#include <string>

#include "account_cli.hh"

namespace vacc {

namespace {

struct Consent {
  const char *word;
  int bit;
};

// The consent words and their bits of the handle's TNC bitmask.
constexpr Consent kConsents[] = {
    {"service", 1},        // the account service's own terms (mandatory)
    {"personal-info", 2},  // personal information (mandatory)
    {"customized", 4},     // customized service
    {"advertisement", 8},  // customized-service advertisement
};

int g_given = 0;  // the bits of the consents named on the command line

int send_consents(velmora_account_h h, velmora_account_response_cb callback, void *user_data) {
  for (const Consent &c : kConsents) {
    const int ret = velmora_account_set_tnc(h, c.bit, (g_given & c.bit) != 0);
    if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  }
  return velmora_account_update_tnc_info(h, callback, user_data);
}

}  // namespace

int cmd_consent(const Args &args) {
  g_given = 0;
  for (const std::string &word : args) {
    bool known = false;
    for (const Consent &c : kConsents) {
      if (word == c.word) {
        g_given |= c.bit;
        known = true;
      }
    }
    if (!known)
      return vcli::usage_error("unknown consent '" + word +
                               "' (service, personal-info, customized, advertisement)");
  }
  return run_request("consent", send_consents, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
}

}  // namespace vacc
