// SPDX-License-Identifier: Apache-2.0
// velmora-account companion status | sign-in: the paired phone's account, from a wearable
// (velmora_account_companion_get_account, velmora_account_companion_sign_in). Always over app
// control, the only transport these requests have; sign-in gives the phone --timeout seconds.
#include <cstdio>
#include <string>

#include "account_cli.hh"
#include "json_out.hh"
#include "velmora_account_companion.h"

namespace vacc {

namespace {

struct CompanionAnswer : Reply {
  int phone_has_account = -1;  // 1, 0, or -1: not known
};

void on_companion(int result, velmora_account_h account, velmora_account_companion_h companion,
                  void *user_data) {
  auto *a = static_cast<CompanionAnswer *>(user_data);
  a->result = result;
  if (companion) {
    bool exists = false;
    if (velmora_account_companion_get_property_bool(
            companion, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, &exists) == 0)
      a->phone_has_account = exists ? 1 : 0;
    velmora_account_companion_destroy(companion);
  }
  if (account) velmora_account_destroy(account);
  finish(&a->wait);
}

}  // namespace

int cmd_companion(const Args &args) {
  if (args[0] != "status" && args[0] != "sign-in")
    return vcli::usage_error("companion takes `status` or `sign-in`, not '" + args[0] + "'");
  const bool sign_in = args[0] == "sign-in";
  const std::string what = "companion " + args[0];
  request().transport = Transport::kAppControl;
  velmora_account_h h = nullptr;
  int status = open_handle(what.c_str(), &h);
  if (status != vcli::kExitOk) return status;
  // The time the phone is given; the library refuses more than 300 seconds.
  if (sign_in)
    velmora_account_set_property_int(h, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT,
                                     options().timeout_s);

  CompanionAnswer answer;
  const int sent = sign_in ? velmora_account_companion_sign_in(h, on_companion, &answer)
                           : velmora_account_companion_get_account(h, on_companion, &answer);
  int result = 0;
  status = await_reply(what.c_str(), h, sent, &answer, &result);
  if (status != vcli::kExitOk) return status;
  if (result != VELMORA_ACCOUNT_ERROR_NONE) return print_failure(what.c_str(), result);
  if (options().json) {
    vcli::JsonOut out;
    out.str("operation", what).integer("result", 0);
    if (answer.phone_has_account < 0)
      out.null("phone_has_account");
    else
      out.boolean("phone_has_account", answer.phone_has_account == 1);
    out.boolean("signed_in", sign_in).print();
  } else {
    printf("phone_has_account: %s\n", answer.phone_has_account < 0    ? "unknown"
                                      : answer.phone_has_account == 1 ? "true"
                                                                      : "false");
    if (sign_in) printf("signed in through the phone\n");
  }
  return vcli::kExitOk;
}

}  // namespace vacc
