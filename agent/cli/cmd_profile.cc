// velmora-agent profile: a user's profile as the agent keeps it: show, change, verify, and the
// applications subscribed to its changes. A change made here is told to them like any other.
#include <glib.h>

#include <cstdio>

#include "app_control/profile_keys.hh"
#include "app_control/profile_notify.hh"
#include "cli/cli.hh"
#include "profile_record.h"

namespace vagent::cli {

namespace {

constexpr const char *kUsage =
    "usage: profile show --login-id L [--category WORD]\n"
    "       profile set --login-id L --category WORD [WORD[_N]:FIELD=VALUE]...\n"
    "       profile privacy --login-id L WORD=0|1|2...\n"
    "       profile verify --login-id L --category WORD --item N [--value V]\n"
    "       profile subscribers --login-id L";
// How long a change waits for the subscribers to take it.
constexpr guint kNotifyWaitMs = 5000;

// "key=value" words as extras; false for a word without "=".
bool split_pairs(const Args &words, appcontrol::Extras *out) {
  for (const std::string &w : words) {
    const size_t eq = w.find('=');
    if (eq == std::string::npos || eq == 0) return false;
    out->emplace_back(w.substr(0, eq), w.substr(eq + 1));
  }
  return true;
}

struct Waiting {
  int left = 0;
  GMainLoop *loop = nullptr;
};

void on_reply(app_control_h, app_control_h, app_control_result_e, void *data) {
  auto *w = static_cast<Waiting *>(data);
  if (--w->left <= 0) g_main_loop_quit(w->loop);
}

// Applies the change and tells the subscribers, waiting (a bounded time) until they have it.
int change_and_tell(AgentState &state, const std::string &login_id, const ProfileChange &change) {
  Status st = state.profiles().update(login_id, change);
  if (!st.ok()) return failed(st);
  Waiting w;
  w.loop = g_main_loop_new(nullptr, FALSE);
  w.left = appcontrol::notify_profile_change(state, login_id, change, on_reply, &w);
  if (w.left > 0) {
    GSource *timer = g_timeout_source_new(kNotifyWaitMs);
    g_source_set_callback(
        timer,
        [](gpointer loop) {
          g_main_loop_quit(static_cast<GMainLoop *>(loop));
          return G_SOURCE_REMOVE;
        },
        w.loop, nullptr);
    g_source_attach(timer, nullptr);
    g_main_loop_run(w.loop);
    g_source_destroy(timer);
    g_source_unref(timer);
  }
  g_main_loop_unref(w.loop);
  printf("profile of %s changed\n", login_id.c_str());
  return 0;
}

int show(AgentState &state, const Options &o) {
  Result<UserProfile> profile = state.profiles().get(o.get("login-id"));
  if (!profile.ok()) return failed(profile.status());
  appcontrol::Extras keys;
  if (o.has("category")) {
    const int category = appcontrol::category_of_resource(o.get("category"));
    if (category < 0) return usage_error("no profile category " + o.get("category"));
    appcontrol::put_profile_category(&keys, profile.value(), category);
  } else {
    appcontrol::put_profile(&keys, profile.value());
  }
  for (const auto &[k, v] : keys) printf("%s=%s\n", k.c_str(), v.c_str());
  return 0;
}

int verify(AgentState &state, const Options &o) {
  const int category = appcontrol::category_of_resource(o.get("category"));
  int item = 0;
  if (category < 0 || !o.has("item") || !(item = atoi(o.get("item").c_str())))
    return usage_error(kUsage);
  Status st = state.profiles().set_verified(o.get("login-id"), category, item - 1,
                                            o.has("value") ? o.get("value") : "Y");
  if (!st.ok()) return failed(st);
  printf("%s item %d of %s verified\n", o.get("category").c_str(), item, o.get("login-id").c_str());
  return 0;
}

}  // namespace

int cmd_profile(const Args &args) {
  if (args.empty()) return usage_error(kUsage);
  const std::string what = args[0];
  Options o({{"login-id", true, false},
             {"category", true, false},
             {"item", true, false},
             {"value", true, false}});
  std::string error;
  if (!o.parse(Args(args.begin() + 1, args.end()), &error)) return usage_error(error);
  if (!o.has("login-id")) return usage_error(kUsage);
  auto opened = open_state();
  if (!opened.ok()) return failed(opened.status());
  AgentState &state = *opened.value();
  const std::string login_id = o.get("login-id");

  if (what == "show" && o.positional().empty()) return show(state, o);
  if (what == "verify" && o.positional().empty()) return verify(state, o);
  if (what == "subscribers" && o.positional().empty()) {
    auto apps = state.profiles().subscribers(login_id);
    if (!apps.ok()) return failed(apps.status());
    for (const std::string &app : apps.value()) printf("%s\n", app.c_str());
    return 0;
  }
  appcontrol::Extras body;
  if (!split_pairs(o.positional(), &body)) return usage_error(kUsage);
  if (what == "set" && o.has("category")) {
    body.insert(body.begin(), {"resource", o.get("category")});
    auto change = appcontrol::read_update_body(body);
    if (!change.ok()) return failed(change.status());
    return change_and_tell(state, login_id, change.value());
  }
  if (what == "privacy") {
    auto change = appcontrol::read_privacy_body(body);
    if (!change.ok()) return failed(change.status());
    return change_and_tell(state, login_id, change.value());
  }
  return usage_error(kUsage);
}

}  // namespace vagent::cli
