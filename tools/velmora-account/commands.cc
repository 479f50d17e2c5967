// SPDX-License-Identifier: Apache-2.0
// velmora-account: the table of options and commands (each command in its own cmd_<name>.cc).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "account_cli.hh"

namespace vacc {

int cmd_token(const Args &args);
int cmd_last_token(const Args &args);
int cmd_authcode(const Args &args);
int cmd_effortless(const Args &args);
int cmd_status(const Args &args);
int cmd_accounts(const Args &args);
int cmd_default(const Args &args);
int cmd_whois(const Args &args);
int cmd_mcc(const Args &args);
int cmd_consent(const Args &args);
int cmd_linking(const Args &args);
int cmd_companion(const Args &args);
int cmd_places(const Args &args);
int cmd_profile(const Args &args);
int cmd_sign_in(const Args &args);
int cmd_sign_out(const Args &args);
int cmd_confirm_user(const Args &args);
int cmd_login_views(const Args &args);

Options &options() {
  static Options o;
  return o;
}

Request &request() {
  static Request r;
  return r;
}

namespace {

// Sets the environment the platform and the library read before the first call: the root, the
// log level, waits no longer than --timeout; reads the secret.
// How long a person has at a login view when --timeout is not given.
constexpr int kLoginViewTimeoutS = 300;
constexpr int kDefaultTimeoutS = 30;

bool shows_login_view(const vcli::Command &command) {
  return (strcmp(command.name, "sign-in") == 0 && !options().authcode_file) ||
         strcmp(command.name, "confirm-user") == 0;
}

int prepare(const vcli::Command &command) {
  Options &o = options();
  Request &r = request();
  if (o.root) setenv("VELMORA_PLATFORM_ROOT", o.root, 1);
  if (o.transport) {
    const std::string t = o.transport;
    if (t == "nidl")
      r.transport = Transport::kNidl;
    else if (t == "app-control")
      r.transport = Transport::kAppControl;
    else
      return vcli::usage_error("--transport must be nidl or app-control, not '" + t + "'");
    r.transport_given = true;
  }
  if (o.timeout_s == kTimeoutNotGiven)
    o.timeout_s = shows_login_view(command) ? kLoginViewTimeoutS : kDefaultTimeoutS;
  if (o.timeout_s < 1 || o.timeout_s > 3600)
    return vcli::usage_error("--timeout must be 1 to 3600 seconds");
  if (o.client_secret_file) {
    std::string error;
    if (!vcli::read_secret(o.client_secret_file, &r.client_secret, &error))
      return vcli::usage_error("--client-secret-file: " + error);
  }
  if (o.access_token_file) {
    std::string error;
    if (!vcli::read_secret(o.access_token_file, &r.access_token, &error))
      return vcli::usage_error("--access-token-file: " + error);
  }
  if (o.authcode_file) {
    std::string error;
    if (!vcli::read_secret(o.authcode_file, &r.authcode, &error))
      return vcli::usage_error("--authcode-file: " + error);
  }
  if (o.expired_token_file) {
    std::string error;
    if (!vcli::read_secret(o.expired_token_file, &r.expired_token, &error))
      return vcli::usage_error("--expired-token-file: " + error);
  }
  // The library's waits (a method call's result, a launch) end within --timeout too.
  const std::string ms = std::to_string(o.timeout_s * 1000);
  for (const char *name : {"VELMORA_RPC_TIMEOUT_MS", "VELMORA_LAUNCH_TIMEOUT_MS"}) {
    const char *set = getenv(name);
    if (!set || atoll(set) <= 0 || atoll(set) > o.timeout_s * 1000LL) setenv(name, ms.c_str(), 1);
  }
  // The library logs every unset property it is asked for as an error; a command that prints
  // whatever is set asks for all of them. Its lines go to stderr only when asked for (or when the
  // caller chose a log level).
  setenv("VELMORA_LOG_LEVEL", o.verbose ? "info" : "silent", o.verbose ? 1 : 0);
  watch_platform_log();
  return -1;
}

}  // namespace

const vcli::Tool &tool() {
  using vcli::Arg;
  Options &o = options();
  static const vcli::Tool kTool = {
      "velmora-account",
      "the Velmora account client from the command line",
      "Asks the account agent for tokens and authorization codes, which accounts are signed in "
      "and which is the default, the account services (MCC, terms consents, account linking), "
      "saved places, the user's profile (read, changed, watched) and, on a wearable, the paired "
      "phone's account through the library, in either transport; signs accounts in (at the "
      "agent's login view in a browser, or with an authorization code) and out; and prints the "
      "properties of the answer that are set. A failure prints the "
      "result code's name and what it means; with --json every outcome, failures and time-outs "
      "included, is one JSON object on stdout. Secrets are read from a file or standard input, "
      "never from the command line.",
      {
          {"root", Arg::kString, &o.root, "DIR",
           "the platform root (default $VELMORA_PLATFORM_ROOT)"},
          {"transport", Arg::kString, &o.transport, "nidl|app-control",
           "how requests travel (default app-control)"},
          {"json", Arg::kFlag, &o.json, nullptr, "print the outcome as one JSON object"},
          {"timeout", Arg::kInt, &o.timeout_s, "SECONDS",
           "how long to wait for the agent, launch included (default 30; 300 at a login view)"},
          {"verbose", Arg::kFlag, &o.verbose, nullptr, "show the library's log lines on stderr"},
          {"login-id", Arg::kString, &o.login_id, "ID", "the account's login id"},
          {"client-id", Arg::kString, &o.client_id, "ID", "the calling service's client id"},
          {"client-secret-file", Arg::kString, &o.client_secret_file, "FILE",
           "read the client's secret from FILE's first line ('-': standard input)"},
          {"scope", Arg::kString, &o.scope, "SCOPE", "the requested scope (\"read write\")"},
          {"expired-token-file", Arg::kString, &o.expired_token_file, "FILE",
           "read the access token to replace from FILE's first line ('-': standard input)"},
          {"device-code", Arg::kString, &o.device_code, "CODE",
           "the device's unique code (its security code when signing in with an authorization "
           "code)"},
          {"authcode-file", Arg::kString, &o.authcode_file, "FILE",
           "sign in with the authorization code on FILE's first line ('-': standard input)"},
          {"api-server-url", Arg::kString, &o.api_server_url, "URL",
           "the API server the authorization code was issued for"},
          {"count", Arg::kInt, &o.count, "N", "profile watch: the changes to wait for (default 1)"},
          {"sync", Arg::kFlag, &o.sync, nullptr,
           "the blocking form (last-token and default set need the nidl transport, which they "
           "select unless --transport is given; status, accounts and default read the platform's "
           "account store)"},
          {"mcc", Arg::kString, &o.mcc, "MCC", "the account's mobile country code (\"450\")"},
          {"partner-client-id", Arg::kString, &o.partner_client_id, "ID",
           "the partner service's client id"},
          {"access-token-file", Arg::kString, &o.access_token_file, "FILE",
           "read the account's access token from FILE's first line ('-': standard input)"},
          {"auth-server-url", Arg::kString, &o.auth_server_url, "URL",
           "the authentication server the access token came from (or that the authorization "
           "code was issued for)"},
      },
      {"root", "transport", "json", "timeout", "verbose"},
      {
          {"token",
           "",
           "obtain a new access token",
           {"login-id", "client-id", "client-secret-file", "scope", "expired-token-file"},
           cmd_token,
           0,
           0},
          {"last-token",
           "",
           "show the last access token the agent handed out",
           {"login-id", "client-id", "client-secret-file", "scope", "sync"},
           cmd_last_token,
           0,
           0},
          {"authcode",
           "",
           "obtain an authorization code",
           {"login-id", "client-id", "client-secret-file", "scope", "device-code"},
           cmd_authcode,
           0,
           0},
          {"effortless",
           "",
           "obtain an authorization code for effortless login",
           {"login-id", "client-id", "client-secret-file", "scope"},
           cmd_effortless,
           0,
           0},
          {"status",
           "[LOGIN_ID]",
           "whether the account (without one: any account) is signed in",
           {"sync"},
           cmd_status,
           0,
           1},
          {"accounts",
           "",
           "list the signed-in accounts (at most ten)",
           {"sync"},
           cmd_accounts,
           0,
           0},
          {"default",
           "[get | set LOGIN_ID]",
           "show the default account, or make a signed-in account the default",
           {"sync"},
           cmd_default,
           0,
           2},
          {"whois", "USER_ID", "the signed-in account of a user id", {}, cmd_whois, 1, 1},
          {"mcc",
           "",
           "the mobile country code of the account's network",
           {"login-id"},
           cmd_mcc,
           0,
           0},
          {"consent",
           "CONSENT...",
           "give the terms consents named (service, personal-info, customized, advertisement); "
           "the others are withdrawn",
           {"login-id", "mcc"},
           cmd_consent,
           0,
           vcli::kAnyNumber},
          {"linking",
           "",
           "whether the account is linked with a partner service",
           {"login-id", "client-id", "partner-client-id", "access-token-file", "auth-server-url"},
           cmd_linking,
           0,
           0},
          {"places",
           "",
           "list the saved places of --login-id",
           {"login-id", "client-id"},
           cmd_places,
           0,
           0},
          {"companion",
           "status|sign-in",
           "on a wearable: whether the paired phone has an account (status), or sign in with it "
           "(sign-in; the phone gets --timeout, at most 300 seconds)",
           {},
           cmd_companion,
           1,
           1},
          {"profile",
           "get [CATEGORY] | set CATEGORY [N:]FIELD=VALUE... | privacy CATEGORY=0|1|2... | watch",
           "read, change or watch the user's profile (categories and fields as the agent's keys "
           "name them: phoneNumbers, value; watch runs as the installed application "
           "$VELMORA_APP_ID)",
           {"login-id", "client-id", "client-secret-file", "count"},
           cmd_profile,
           1,
           vcli::kAnyNumber},
          {"sign-in",
           "",
           "sign in at the agent's login view (printing where the page is while it waits), or "
           "with an authorization code",
           {"authcode-file", "api-server-url", "auth-server-url", "device-code", "login-id"},
           cmd_sign_in,
           0,
           0},
          {"sign-out", "", "sign an account out of this device", {"login-id"}, cmd_sign_out, 0, 0},
          {"confirm-user",
           "",
           "have the person confirm their password at the agent's login view",
           {},
           cmd_confirm_user,
           0,
           0},
          {"login-views",
           "",
           "list the agent's open login views (their pages, kinds and callers), for scripts",
           {},
           cmd_login_views,
           0,
           0},
      },
      {{vcli::kExitOk, "the answer carries what was asked for"},
       {vcli::kExitFailed,
        "the library or the agent reported a failure (its result code is printed), or the answer "
        "lacks what was asked for"},
       {vcli::kExitUsage, "bad command line"},
       {vcli::kExitTimeout, "no answer within --timeout"}},
      {{"VELMORA_PLATFORM_ROOT", "the platform root when --root is not given"},
       {"VELMORA_LOG_LEVEL", "the lowest priority of log lines printed to stderr"}},
      prepare,
  };
  return kTool;
}

}  // namespace vacc
