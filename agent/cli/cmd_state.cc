// SPDX-License-Identifier: Apache-2.0
// velmora-agent state: shows users, clients, signed-in accounts, the platform store and the
// faults, as text or as one JSON object. Never a password, secret, token or code.
#include <cstdio>

#include "admin.hh"
#include "cli/agent_cli.hh"

namespace vagent::cli {

namespace {

// An array of `name`, or the reason it cannot be read: {"name_error": "..."}.
template <typename T, typename Add>
void add_list(JsonReply &json, const char *name, const Result<std::vector<T>> &list, Add add) {
  if (!list.ok()) {
    json.str((std::string(name) + "_error").c_str(), list.status().describe());
    return;
  }
  json.begin_array(name);
  for (const T &item : list.value()) {
    json.begin_object(nullptr);
    add(item);
    json.end_object();
  }
  json.end_array();
}

void print_json(const StateView &v) {
  JsonReply json;
  json.str("root", v.root)
      .str("profile", v.profile)
      .str("store_package", v.store_package)
      .integer("schema_version", v.schema_version)
      .integer("clock_offset_s", v.clock_offset_s);
  add_list(json, "users", v.users, [&](const User &u) {
    json.str("login_id", u.login_id)
        .str("user_id", u.user_id)
        .str("country_code", u.country_code)
        .str("mcc", u.mcc)
        .integer("tnc", u.tnc);
  });
  add_list(json, "clients", v.clients, [&](const Client &c) {
    json.str("client_id", c.client_id).begin_array("scopes");
    for (const std::string &s : c.scopes) json.add_str(s);
    json.end_array().boolean("secret", c.has_secret).integer("token_lifetime", c.token_lifetime);
  });
  add_list(json, "signed_in", v.signed_in, [&](const StateView::Account &a) {
    json.str("login_id", a.account.login_id)
        .boolean("default", a.account.is_default)
        .integer("live_access_tokens", a.live_access_tokens);
  });
  json.integer("pending_codes", v.pending_codes.ok() ? v.pending_codes.value() : -1);
  add_list(json, "platform_store", v.store, [&](const MirroredAccount &m) {
    json.str("login_id", m.login_id).boolean("default", m.is_default);
  });
  json.begin_array("faults");
  for (const auto &[operation, fault] : v.faults) {
    json.begin_object(nullptr).str("operation", operation).begin_object("settings");
    for (const Fault::Setting &s : fault.settings())
      s.is_flag ? json.boolean(s.key, true) : json.integer(s.key, s.value);
    json.end_object().end_object();
  }
  json.end_array().print();
}

}  // namespace

int run_state(const Args &) {
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  if (options().json)
    print_json(view_state(*state.value()));
  else
    fputs(render_state(*state.value()).c_str(), stdout);
  return kExitOk;
}

}  // namespace vagent::cli
