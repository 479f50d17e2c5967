// SPDX-License-Identifier: Apache-2.0
// velmora-account status [LOGIN_ID]: whether the account (without one: any account) is signed in
// (velmora_account_is_signed_in, or with --sync velmora_account_is_signed_in_sync, which reads the
// platform's account store).
#include "account_cli.hh"

namespace vacc {

namespace {

struct Status : Reply {
  bool signed_in = false;
};

void on_status(int result, velmora_account_h account, bool signed_in, void *user_data) {
  auto *s = static_cast<Status *>(user_data);
  s->result = result;
  s->signed_in = signed_in;
  if (account) velmora_account_destroy(account);
  finish(&s->wait);
}

}  // namespace

int cmd_status(const Args &args) {
  const char *what = options().sync ? "status --sync" : "status";
  const char *login_id = args.empty() ? nullptr : args[0].c_str();
  velmora_account_h h = nullptr;
  int status = open_handle(what, &h);
  if (status != vcli::kExitOk) return status;
  Status answer;
  const int sent = options().sync
                       ? velmora_account_is_signed_in_sync(h, login_id, &answer.signed_in)
                       : velmora_account_is_signed_in(h, login_id, on_status, &answer);
  int ret = 0;
  status = await_reply(what, h, sent, options().sync ? nullptr : &answer, &ret);
  if (status != vcli::kExitOk) return status;
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return print_failure(what, ret);
  std::vector<Value> values;
  if (login_id) values.push_back(Value::of_text("login_id", login_id));
  values.push_back(Value::of_flag("signed_in", answer.signed_in));
  return print_values(what, values);
}

}  // namespace vacc
