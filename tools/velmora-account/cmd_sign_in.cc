// SPDX-License-Identifier: Apache-2.0
// velmora-account sign-in, confirm-user: velmora_account_sign_in and
// velmora_account_request_confirm_user from an ordinary application. Without --authcode-file the
// agent shows its login view: while the command waits, it prints where the page is (stderr under
// --json); a person signs in there and the answer arrives here. With --authcode-file (and the
// server URLs and --device-code) it signs in with an authorization code of the token service.
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "account_cli.hh"
#include "json_out.hh"
#include "ui/login_views.hh"

namespace vacc {

namespace {

// How long one look at the UI application's listing may take.
constexpr int kListingTimeoutMs = 5000;

// Prints the page of the login view that opened for this command: the first one listed that was
// not open before the request was sent.
class ViewAnnouncer {
 public:
  explicit ViewAnnouncer(const char *verb) : verb_(verb) {
    std::vector<vagent::ui::LoginViewInfo> views;
    std::string error;
    if (vagent::ui::list_login_views(kListingTimeoutMs, &views, &error) == 0)
      for (const auto &v : views) before_.insert(v.url);
  }

  // Looks once; true while it should look again.
  bool look() {
    std::vector<vagent::ui::LoginViewInfo> views;
    std::string error;
    if (vagent::ui::list_login_views(kListingTimeoutMs, &views, &error) != 0) return true;
    for (const auto &v : views) {
      if (before_.count(v.url)) continue;
      FILE *out = options().json ? stderr : stdout;
      fprintf(out, "Open this page in a browser to %s (waiting up to %d s):\n  %s\n", verb_,
              options().timeout_s, v.url.c_str());
      fflush(out);
      return false;
    }
    return true;
  }

 private:
  const char *verb_;
  std::set<std::string> before_;
};

int run_with_view(const char *what, const char *verb, AsyncRequest send, int required) {
  ViewAnnouncer announcer(verb);
  return run_request(what, send, required, -1, [&announcer] { return announcer.look(); });
}

}  // namespace

int cmd_sign_in(const Args &) {
  if (request().authcode.empty()) {
    if (options().login_id || options().api_server_url || options().auth_server_url ||
        options().device_code)
      return vcli::usage_error(
          "--login-id, --api-server-url, --auth-server-url and --device-code belong to the "
          "--authcode-file form; the login view asks for the login id itself");
    return run_with_view("sign-in", "sign in", velmora_account_sign_in,
                         VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
  }
  if (!options().api_server_url || !options().auth_server_url || !options().device_code)
    return vcli::usage_error(
        "--authcode-file needs --api-server-url, --auth-server-url and --device-code");
  return run_request("sign-in", velmora_account_sign_in, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
}

int cmd_confirm_user(const Args &) {
  return run_with_view("confirm-user", "confirm who you are", velmora_account_request_confirm_user,
                       VELMORA_ACCOUNT_PROPERTY_LOGIN_ID);
}

int cmd_sign_out(const Args &) {
  if (!options().login_id) return vcli::usage_error("sign-out needs --login-id");
  return run_request("sign-out", velmora_account_sign_out, kNothingRequired);
}

// The login views open now, for scripts: one line per view (URL, kind, caller), or a JSON object.
int cmd_login_views(const Args &) {
  std::vector<vagent::ui::LoginViewInfo> views;
  std::string error;
  const int ret = vagent::ui::list_login_views(options().timeout_s * 1000, &views, &error);
  if (ret != 0)
    return print_error("login-views", "UI_APPLICATION_UNREACHABLE",
                       error + " (the agent's UI application lists the login views)");
  if (options().json) {
    vcli::JsonOut json;
    json.str("operation", "login-views").integer("count", static_cast<int64_t>(views.size()));
    json.begin_array("views");
    for (const auto &v : views) {
      json.begin_object("view");
      json.str("url", v.url).str("kind", v.kind).str("caller", v.caller);
      json.integer("opened_at", v.opened_at).end_object();
    }
    json.end_array().integer("exit_status", vcli::kExitOk).print();
  } else if (views.empty()) {
    printf("no login view is open\n");
  } else {
    for (const auto &v : views)
      printf("%s\t%s\t%s\n", v.url.c_str(), v.kind.c_str(),
             v.caller.empty() ? "-" : v.caller.c_str());
  }
  return vcli::kExitOk;
}

}  // namespace vacc
