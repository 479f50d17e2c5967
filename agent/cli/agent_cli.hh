// SPDX-License-Identifier: Apache-2.0
// velmora-agent: what the admin commands share: the options, the command table (cli/commands.cc),
// opening the agent's state and printing outcomes. Each command lives in its own cli/cmd_<name>.cc
// and has one row in the command table (tools/common/cli.hh says how a row becomes --help, the
// manual page and the bash completion).
#pragma once

#include <glib.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "agent_state.hh"
#include "cli.hh"
#include "errors.hh"
#include "json_out.hh"

namespace vagent::cli {

inline constexpr const char *kLogTag = "VELMORA_AGENT";

using vcli::Args;
using vcli::kExitFailed;
using vcli::kExitOk;
using vcli::kExitUsage;

// The parsed options of all commands.
struct Options {
  gchar *root = nullptr;
  gboolean json = FALSE;
  gchar *login_id = nullptr;
  gchar *password_file = nullptr;  // a file, or "-" for standard input
  gchar *user_id = nullptr;
  gchar *country_code = nullptr;
  gchar *mcc = nullptr;
  gchar *api_server_url = nullptr;
  gchar *auth_server_url = nullptr;
  gboolean sign_in = FALSE;
  gboolean make_default = FALSE;
  gchar *client_id = nullptr;
  gboolean with_secret = FALSE;
  gchar **scopes = nullptr;
  gchar *token_lifetime = nullptr;
  gchar *partner_client_id = nullptr;
  gboolean unlink = FALSE;
  gchar *name = nullptr;
  gboolean list = FALSE;
  gboolean force = FALSE;
  // places and profile
  gchar *id = nullptr;
  gchar *address = nullptr;
  gchar *category = nullptr;  // a place's category number, or a profile category's word
  gchar *type = nullptr;
  gchar *location_source = nullptr;
  gchar *latitude = nullptr;
  gchar *longitude = nullptr;
  gchar *wifi_name = nullptr;
  gchar *wifi_bssid = nullptr;
  gchar *bt_name = nullptr;
  gchar *bt_address = nullptr;
  gchar *item = nullptr;
  gchar *value = nullptr;
  gchar *phone = nullptr;        // second-factor
  gboolean off = FALSE;          // second-factor
  gchar *device_code = nullptr;  // issue-code
};
Options &options();

// The tool: its options, commands and exit statuses.
const vcli::Tool &tool();

// A string option's value ("" when not given).
inline std::string value(const gchar *option) { return option ? option : ""; }

// Usage error of the running command; returns kExitUsage.
int usage_error(const std::string &message);
// Says why the command failed as every tool does (vcli::fail): "velmora-agent: <command> failed:
// <error name>: <message> (<code>)" on stderr and, under --json, one object on stdout whose "error"
// is the name of the code; returns kExitFailed.
int failed(const Status &st);
// The agent's state in the current platform root.
Result<std::unique_ptr<AgentState>> open_state();

// A JSON object under --json: the command's name is its first member.
class JsonReply : public vcli::JsonOut {
 public:
  JsonReply();
};

// Prints a registered client; a made secret is printed once, on a line of its own for scripts:
// "client_secret=<secret>" (under --json, a member of `json`, which the caller prints).
void print_registered(const std::string &client_id, const std::string &secret, JsonReply *json);
// The client of --client-id, --with-secret, --scope and --token-lifetime. False after a usage
// error, whose exit status is in *status.
bool client_from_options(NewClient *client, int *status);

int run_serve(const Args &args);
int run_seed_user(const Args &args);
int run_register_client(const Args &args);
int run_sign_out(const Args &args);
int run_link(const Args &args);
int run_register_partner(const Args &args);
int run_consents(const Args &args);
int run_places(const Args &args);
int run_profile(const Args &args);
int run_reset_state(const Args &args);
int run_fault(const Args &args);
int run_clock(const Args &args);
int run_state(const Args &args);
int run_errors(const Args &args);
int run_second_factor(const Args &args);
int run_outbox(const Args &args);
int run_issue_code(const Args &args);

}  // namespace vagent::cli
