// SPDX-License-Identifier: Apache-2.0
// velmora-agent profile: a user's profile as the agent keeps it: show, change, verify, and the
// applications subscribed to its changes. A change made here is told to them like any other.
#include <glib.h>

#include <cstdio>
#include <cstdlib>

#include "app_control/profile_keys.hh"
#include "app_control/profile_notify.hh"
#include "cli/agent_cli.hh"
#include "profile_record.h"

namespace vagent::cli {

namespace {

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
  if (options().json)
    JsonReply().str("login_id", login_id).boolean("changed", true).print();
  else
    printf("profile of %s changed\n", login_id.c_str());
  return kExitOk;
}

int show(AgentState &state, const std::string &login_id) {
  const Options &o = options();
  Result<UserProfile> profile = state.profiles().get(login_id);
  if (!profile.ok()) return failed(profile.status());
  appcontrol::Extras keys;
  if (o.category) {
    const int category = appcontrol::category_of_resource(o.category);
    if (category < 0)
      return usage_error(std::string("no profile category is called ") + o.category);
    appcontrol::put_profile_category(&keys, profile.value(), category);
  } else {
    appcontrol::put_profile(&keys, profile.value());
  }
  if (o.json) {
    JsonReply json;
    json.str("login_id", login_id).begin_object("profile");
    for (const auto &[k, v] : keys) json.str(k.c_str(), v);
    json.end_object().print();
    return kExitOk;
  }
  for (const auto &[k, v] : keys) printf("%s=%s\n", k.c_str(), v.c_str());
  return kExitOk;
}

// The category (>= 0) and item (from 1) of --category and --item, or -1 after a usage error whose
// exit status is in *status.
int verified_item(int *category, int *status) {
  const Options &o = options();
  *category = o.category ? appcontrol::category_of_resource(o.category) : -1;
  if (*category < 0) {
    *status = usage_error("profile verify needs --category WORD, a profile category");
    return -1;
  }
  char *end = nullptr;
  const long item = o.item ? strtol(o.item, &end, 10) : 0;
  if (!o.item || *end || item < 1 || item > 1000) {
    *status = usage_error("profile verify needs --item N, an item number from 1");
    return -1;
  }
  return static_cast<int>(item);
}

int verify(AgentState &state, const std::string &login_id, int category, int item) {
  const Options &o = options();
  const std::string verified = o.value ? o.value : "Y";
  Status st = state.profiles().set_verified(login_id, category, item - 1, verified);
  if (!st.ok()) return failed(st);
  if (o.json)
    JsonReply()
        .str("login_id", login_id)
        .str("category", o.category)
        .integer("item", item)
        .str("verified", verified)
        .print();
  else
    printf("%s item %d of %s verified\n", o.category, item, login_id.c_str());
  return kExitOk;
}

int subscribers(AgentState &state, const std::string &login_id) {
  auto apps = state.profiles().subscribers(login_id);
  if (!apps.ok()) return failed(apps.status());
  if (options().json) {
    JsonReply json;
    json.str("login_id", login_id).begin_array("subscribers");
    for (const std::string &app : apps.value()) json.add_str(app);
    json.end_array().print();
    return kExitOk;
  }
  if (apps->empty())
    printf("no application is subscribed to the profile of %s\n", login_id.c_str());
  for (const std::string &app : apps.value()) printf("%s\n", app.c_str());
  return kExitOk;
}

}  // namespace

int run_profile(const Args &args) {
  const Options &o = options();
  const std::string what = args[0];
  const Args words(args.begin() + 1, args.end());
  if (what != "show" && what != "set" && what != "privacy" && what != "verify" &&
      what != "subscribers")
    return usage_error("no profile command is called '" + what +
                       "'; they are show, set, privacy, verify and subscribers");
  if (!o.login_id) return usage_error("profile " + what + " needs --login-id");
  const bool takes_words = what == "set" || what == "privacy";
  if (!takes_words && !words.empty())
    return usage_error("profile " + what + " takes no further arguments");
  appcontrol::Extras body;
  if (!split_pairs(words, &body))
    return usage_error(what == "set" ? "profile set takes WORD[_N]:FIELD=VALUE arguments"
                                     : "profile privacy takes WORD=0|1|2 arguments");
  if (what == "set" && !o.category) return usage_error("profile set needs --category WORD");
  if (what == "privacy" && body.empty())
    return usage_error("profile privacy needs at least one WORD=0|1|2");
  int category = -1, item = 0, status = 0;
  if (what == "verify" && (item = verified_item(&category, &status)) < 0) return status;
  if (what == "show" && o.category && appcontrol::category_of_resource(o.category) < 0)
    return usage_error(std::string("no profile category is called ") + o.category);
  auto opened = open_state();
  if (!opened.ok()) return failed(opened.status());
  AgentState &state = *opened.value();
  const std::string login_id = o.login_id;

  if (what == "show") return show(state, login_id);
  if (what == "verify") return verify(state, login_id, category, item);
  if (what == "subscribers") return subscribers(state, login_id);
  if (what == "set") body.insert(body.begin(), {"resource", o.category});
  auto change =
      what == "set" ? appcontrol::read_update_body(body) : appcontrol::read_privacy_body(body);
  if (!change.ok()) return failed(change.status());
  return change_and_tell(state, login_id, change.value());
}

}  // namespace vagent::cli
