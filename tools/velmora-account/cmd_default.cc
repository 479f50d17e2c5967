// SPDX-License-Identifier: Apache-2.0
// velmora-account default [get | set LOGIN_ID]: the default account of the device, or make another
// signed-in account the default (velmora_account_get_default_account and
// velmora_account_set_default_account; with --sync velmora_account_get_default_account_sync, which
// reads the platform's account store, and velmora_account_set_default_account_sync, which exists
// only over the port).
#include <glib.h>

#include <cstdlib>

#include "account_cli.hh"

namespace vacc {

namespace {

int get_sync() {
  velmora_account_h h = nullptr;
  int status = open_handle("default --sync", &h);
  if (status != vcli::kExitOk) return status;
  char *login_id = nullptr;
  const int ret = velmora_account_get_default_account_sync(h, &login_id);
  close_handle(h);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
    free(login_id);
    return print_failure("default --sync", ret);
  }
  // Accounts, but none marked the default: an answer without what was asked for.
  if (!login_id)
    return print_result("default --sync", ret, nullptr, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
  status = print_values("default --sync", {Value::of_text("login_id", login_id)});
  free(login_id);
  return status;
}

int set_sync(const std::string &login_id) {
  // The blocking form exists only over the port; ask for the other one explicitly to see the
  // library refuse it.
  if (!request().transport_given) request().transport = Transport::kNidl;
  velmora_account_h h = nullptr;
  int status = open_handle("default set --sync", &h);
  if (status != vcli::kExitOk) return status;
  const int ret = velmora_account_set_default_account_sync(h, login_id.c_str());
  close_handle(h);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) return print_failure("default set --sync", ret);
  return print_values("default set --sync", {Value::of_text("login_id", login_id)});
}

}  // namespace

int cmd_default(const Args &args) {
  const std::string verb = args.empty() ? "get" : args[0];
  if (verb == "get") {
    if (args.size() > 1) return vcli::usage_error("'default get' takes no login id");
    if (options().sync) return get_sync();
    return run_request("default", velmora_account_get_default_account,
                       VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
  }
  if (verb != "set") return vcli::usage_error("'" + verb + "' is neither get nor set");
  if (args.size() != 2)
    return vcli::usage_error("'default set' needs the login id to make default");
  if (options().sync) return set_sync(args[1]);
  // The login id travels as the handle's property.
  g_free(options().login_id);
  options().login_id = g_strdup(args[1].c_str());
  return run_request("default set", velmora_account_set_default_account,
                     VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
}

}  // namespace vacc
