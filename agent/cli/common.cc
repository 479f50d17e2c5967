// SPDX-License-Identifier: Apache-2.0
// velmora-agent: the helpers every admin command uses.
#include <cstdio>
#include <cstdlib>

#include "cli/agent_cli.hh"
#include "scopes.hh"
#include "velmora_host.h"

namespace vagent::cli {

namespace {

// A positive token lifetime in seconds (at most ten years).
bool parse_lifetime(const std::string &text, int64_t *out) {
  char *end = nullptr;
  long long v = strtoll(text.c_str(), &end, 10);
  if (text.empty() || *end || v <= 0 || v > 10LL * 365 * 24 * 3600) return false;
  *out = v;
  return true;
}

const char *command_name() {
  const vcli::Command *command = vcli::current_command();
  return command ? command->name : "";
}

}  // namespace

int usage_error(const std::string &message) { return vcli::usage_error(message); }

int failed(const Status &st) {
  const std::string message = std::string(command_name()) + " failed: " + st.describe() + " (" +
                              std::to_string(st.code) + ")";
  return vcli::fail(error_name(st.code).c_str(), message);
}

Result<std::unique_ptr<AgentState>> open_state() { return AgentState::open(velmora_host_root()); }

JsonReply::JsonReply() { str("command", command_name()); }

void print_registered(const std::string &client_id, const std::string &secret, JsonReply *json) {
  if (json) {
    json->begin_object("client").str("client_id", client_id);
    if (!secret.empty()) json->str("client_secret", secret);
    json->end_object();
    return;
  }
  printf("registered client %s\n", client_id.c_str());
  if (!secret.empty()) printf("client_secret=%s\n", secret.c_str());
}

bool client_from_options(NewClient *client, int *status) {
  const Options &o = options();
  client->client_id = value(o.client_id);
  client->with_secret = o.with_secret;
  for (gchar **s = o.scopes; s && *s; ++s)
    for (const std::string &one : parse_scopes(*s)) client->scopes.push_back(one);
  if (o.token_lifetime && !parse_lifetime(o.token_lifetime, &client->token_lifetime)) {
    *status = usage_error("--token-lifetime must be a positive number of seconds");
    return false;
  }
  return true;
}

}  // namespace vagent::cli
