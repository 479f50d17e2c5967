// SPDX-License-Identifier: Apache-2.0
// velmora-account accounts: the login ids of the signed-in accounts, at most ten
// (velmora_account_get_account_list, or with --sync velmora_account_get_account_list_sync, which
// reads the platform's account store).
#include <cstdlib>

#include "account_cli.hh"

namespace vacc {

namespace {

struct List : Reply {
  std::vector<std::string> ids;
};

void on_list(int result, velmora_account_h account, char **list, int count, void *user_data) {
  auto *l = static_cast<List *>(user_data);
  l->result = result;
  for (int i = 0; list && i < count; ++i)
    if (list[i]) l->ids.emplace_back(list[i]);
  if (account) velmora_account_destroy(account);
  finish(&l->wait);
}

}  // namespace

int cmd_accounts(const Args &) {
  const char *what = options().sync ? "accounts --sync" : "accounts";
  velmora_account_h h = nullptr;
  int status = open_handle(what, &h);
  if (status != vcli::kExitOk) return status;
  List answer;
  int sent = VELMORA_ACCOUNT_ERROR_NONE;
  if (options().sync) {
    char **list = nullptr;
    int count = 0;
    sent = velmora_account_get_account_list_sync(h, &list, &count);
    // The blocking form says NEED_SIGNIN when the store holds no account: an empty list here.
    if (sent == VELMORA_ACCOUNT_ERROR_NEED_SIGNIN) sent = VELMORA_ACCOUNT_ERROR_NONE;
    for (int i = 0; sent == VELMORA_ACCOUNT_ERROR_NONE && i < count; ++i) {
      answer.ids.emplace_back(list[i]);
      free(list[i]);
    }
    free(list);
  } else {
    sent = velmora_account_get_account_list(h, on_list, &answer);
  }
  int ret = 0;
  status = await_reply(what, h, sent, options().sync ? nullptr : &answer, &ret);
  if (status != vcli::kExitOk) return status;
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return print_failure(what, ret);
  return print_values(what, {Value::of_list("accounts", answer.ids, "no account is signed in")});
}

}  // namespace vacc
