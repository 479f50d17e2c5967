// SPDX-License-Identifier: Apache-2.0
// velmora-agent: the table of options and commands (each command in its own cli/cmd_<name>.cc).
#include <cstdlib>
#include <string>

#include "cli/agent_cli.hh"

namespace vagent::cli {

Options &options() {
  static Options o;
  return o;
}

namespace {

// --root DIR becomes the platform root of the command (and of an agent it serves).
int choose_root(const vcli::Command &) {
  if (options().root) {
    if (!*options().root) return usage_error("--root needs a directory");
    setenv("VELMORA_PLATFORM_ROOT", options().root, 1);
  }
  return -1;
}

}  // namespace

const vcli::Tool &tool() {
  using vcli::Arg;
  Options &o = options();
  static const vcli::Tool kTool = {
      "velmora-agent",
      "the reference account agent of the Velmora host platform",
      "Without a command (or with `serve`) it serves the AccountSvc port and the app-control "
      "operations until SIGTERM or SIGINT: that is how the platform launches it. The other "
      "commands administer its state in a platform root (users, clients, sign-ins, links), inject "
      "faults and move its clock for tests, and show the state. The platform root is --root DIR, "
      "else $VELMORA_PLATFORM_ROOT. Passwords are read from a file or standard input, never from "
      "the command line; a client secret the agent makes is printed once.",
      {
          {"root", Arg::kString, &o.root, "DIR",
           "the platform root (default $VELMORA_PLATFORM_ROOT)"},
          {"json", Arg::kFlag, &o.json, nullptr, "print the outcome as one JSON object"},
          {"login-id", Arg::kString, &o.login_id, "LOGIN", "the user's login id"},
          {"password-file", Arg::kString, &o.password_file, "FILE|-",
           "read the user's password from the first line of FILE, or of standard input for -"},
          {"user-id", Arg::kString, &o.user_id, "GUID", "the user's id (made when not given)"},
          {"country-code", Arg::kString, &o.country_code, "CC", "the user's country code"},
          {"mcc", Arg::kString, &o.mcc, "MCC", "the user's mobile country code (three digits)"},
          {"api-server-url", Arg::kString, &o.api_server_url, "URL", "the user's API server"},
          {"auth-server-url", Arg::kString, &o.auth_server_url, "URL", "the user's auth server"},
          {"sign-in", Arg::kFlag, &o.sign_in, nullptr, "sign the user in"},
          {"default", Arg::kFlag, &o.make_default, nullptr,
           "sign the user in as the default account"},
          {"client-id", Arg::kString, &o.client_id, "CLIENT", "the client's id"},
          {"with-secret", Arg::kFlag, &o.with_secret, nullptr,
           "the agent makes the client's secret and prints it, once"},
          {"scope", Arg::kStrings, &o.scopes, "SCOPE",
           "a scope the client may ask for (repeatable; several separated by spaces)"},
          {"token-lifetime", Arg::kString, &o.token_lifetime, "SECONDS",
           "the lifetime of the client's access tokens"},
          {"partner-client-id", Arg::kString, &o.partner_client_id, "CLIENT",
           "the partner client to link the account with"},
          {"unlink", Arg::kFlag, &o.unlink, nullptr, "remove the link instead"},
          {"name", Arg::kString, &o.name, "NAME", "the partner's or the place's name"},
          {"list", Arg::kFlag, &o.list, nullptr, "list the partner clients instead"},
          {"force", Arg::kFlag, &o.force, nullptr, "start over even when the state is not lost"},
          {"id", Arg::kString, &o.id, "N", "the number of the place"},
          {"address", Arg::kString, &o.address, "TEXT", "the place's address"},
          {"category", Arg::kString, &o.category, "C|WORD",
           "the place's category (a number), or the profile category (names, phoneNumbers, ...)"},
          {"type", Arg::kString, &o.type, "N", "the place's type (a number)"},
          {"location-source", Arg::kString, &o.location_source, "N",
           "where the place's location came from (a number)"},
          {"latitude", Arg::kString, &o.latitude, "DEG", "the place's latitude"},
          {"longitude", Arg::kString, &o.longitude, "DEG", "the place's longitude"},
          {"wifi-name", Arg::kString, &o.wifi_name, "NAME", "the place's Wi-Fi network name"},
          {"wifi-bssid", Arg::kString, &o.wifi_bssid, "BSSID", "the place's Wi-Fi access point"},
          {"bt-name", Arg::kString, &o.bt_name, "NAME", "the place's Bluetooth device name"},
          {"bt-address", Arg::kString, &o.bt_address, "ADDRESS",
           "the place's Bluetooth device address"},
          {"item", Arg::kString, &o.item, "N", "the profile item's number (from 1)"},
          {"value", Arg::kString, &o.value, "TEXT", "the verified value (default Y)"},
          {"phone", Arg::kString, &o.phone, "NUMBER", "where the user's SMS numbers are sent"},
          {"off", Arg::kFlag, &o.off, nullptr, "sign in with a password alone again"},
          {"device-code", Arg::kString, &o.device_code, "CODE",
           "the security code of the device the code is for"},
      },
      {"root", "json"},
      {
          {"serve", "", "serve until SIGTERM or SIGINT (the default)", {}, run_serve, 0, 0},
          {"seed-user",
           "",
           "create a user (--login-id, --password-file), optionally signed in, with a client",
           {"login-id", "password-file", "user-id", "country-code", "mcc", "api-server-url",
            "auth-server-url", "sign-in", "default", "client-id", "with-secret", "scope",
            "token-lifetime"},
           run_seed_user,
           0,
           0},
          {"register-client",
           "",
           "register (or replace) a client with its scopes, token lifetime and secret",
           {"client-id", "with-secret", "scope", "token-lifetime"},
           run_register_client,
           0,
           0},
          {"sign-out", "", "sign an account out (--login-id)", {"login-id"}, run_sign_out, 0, 0},
          {"register-partner",
           "",
           "mark a registered client as a partner accounts can be linked with, or --list them",
           {"client-id", "name", "list"},
           run_register_partner,
           0,
           0},
          {"link",
           "",
           "link an account with a partner client, or unlink it",
           {"login-id", "partner-client-id", "unlink"},
           run_link,
           0,
           0},
          {"consents",
           "",
           "show the terms consents of a user (--login-id) and when each was given or withdrawn",
           {"login-id"},
           run_consents,
           0,
           0},
          {"places",
           "list | add | change | remove",
           "a user's saved places (--login-id): list them, add one, change or remove one (--id)",
           {"login-id", "id", "name", "address", "category", "type", "location-source", "latitude",
            "longitude", "wifi-name", "wifi-bssid", "bt-name", "bt-address"},
           run_places,
           1,
           1},
          {"profile",
           "show | set WORD[_N]:FIELD=VALUE... | privacy WORD=0|1|2... | verify | subscribers",
           "a user's profile (--login-id) as the agent keeps it: show it, replace a category's "
           "items (set --category), change its privacy, verify an item (--category, --item), "
           "list the applications told of its changes; a change is told to them",
           {"login-id", "category", "item", "value"},
           run_profile,
           1,
           vcli::kAnyNumber},
          {"second-factor",
           "",
           "make a user (--login-id) sign in with a second factor, an SMS number sent to --phone, "
           "or with a password alone again (--off)",
           {"login-id", "phone", "off"},
           run_second_factor,
           0,
           0},
          {"outbox",
           "",
           "the text messages the platform sent (SMS numbers), oldest first: time, to, text",
           {},
           run_outbox,
           0,
           0},
          {"issue-code",
           "",
           "play the token service: an authorization code for a user, bound to the client and the "
           "device's security code, that signs in once (printed once, kept only as a digest)",
           {"login-id", "client-id", "device-code", "scope"},
           run_issue_code,
           0,
           0},
          {"reset-state",
           "",
           "start the root's agent state over after it was lost",
           {"force"},
           run_reset_state,
           0,
           0},
          {"fault",
           "set <operation|*> KEY=VALUE... | clear [operation|*] | list | keys",
           "inject faults into operations (tests), clear them, list them and their keys",
           {},
           run_fault,
           1,
           vcli::kAnyNumber},
          {"clock",
           "show | reset | advance SECONDS | set-offset SECONDS",
           "show or move the agent's time (tests)",
           {},
           run_clock,
           1,
           2},
          {"state",
           "",
           "show users, clients, signed-in accounts, the platform store and the faults",
           {},
           run_state,
           0,
           0},
          {"errors", "", "list the agent's error codes", {}, run_errors, 0, 0},
      },
      {{vcli::kExitOk, "done"},
       {vcli::kExitFailed, "the command failed (the agent's error code is named)"},
       {vcli::kExitUsage, "bad command line"}},
      {{"VELMORA_PLATFORM_ROOT", "the platform root when --root is not given"},
       {"VELMORA_APP_ID", "set by the platform when it launches the agent"},
       {"VELMORA_AGENT_IDLE_MS",
        "a launched agent exits after this many milliseconds without clients (default 120000; 0: "
        "never)"},
       {"VELMORA_LOG_LEVEL", "the lowest priority of log lines printed to stderr"}},
      choose_root,
      "serve",
  };
  return kTool;
}

}  // namespace vagent::cli
