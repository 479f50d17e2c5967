// SPDX-License-Identifier: Apache-2.0
// velmora-account profile: the user's profile through the library.
//
//   profile get [CATEGORY]                   the whole profile
//   (velmora_account_profile_request_info)
//                                            or one category (_request_profile)
//   profile set CATEGORY [N:]FIELD=VALUE...  replaces the category's items (_update_info); N is the
//                                            item, 1 by default; source=ACCOUNT|PROFILE for names
//                                            and birthdays
//   profile privacy CATEGORY=0|1|2...        sets privacy values (_update_privacy)
//   profile watch                            subscribes this application (_subscribe), prints each
//                                            change the agent sends it, --count of them, then
//                                            unsubscribes
// Categories and fields are named as in the agent's profile keys ("phoneNumbers", "givenName").
// The profile is printed in those keys too: "phoneNumbers=0" (privacy), "phoneNumbers_1:value=...".
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "account_cli.hh"
#include "app_control.h"
#include "json_out.hh"
#include "profile_fields.hh"
#include "velmora_account_profile.h"
#include "velmora_host.h"

namespace vacc {

namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

// One category as read from a list: its privacy (-1: unknown) and its items' set fields.
struct CategoryView {
  const ProfileCategory *category = nullptr;
  int privacy = -1;
  std::vector<Fields> items;
};

using ListAnswer = Answer<velmora_account_profile_list_h>;
using AccountAnswer = Answer<velmora_account_h>;

bool collect(int, velmora_account_profile_h profile, int category, void *data) {
  auto *views = static_cast<std::vector<CategoryView> *>(data);
  const ProfileCategory &cat = profile_categories()[static_cast<size_t>(category)];
  if (views->empty() || views->back().category != &cat) views->push_back({&cat, -1, {}});
  CategoryView &view = views->back();
  int privacy = 0;
  if (velmora_account_profile_get_privacy(profile, category, &privacy) ==
      VELMORA_ACCOUNT_ERROR_NONE)
    view.privacy = privacy;
  Fields fields;
  for (const ProfileField &f : cat.fields) {
    char *value = nullptr;
    if (velmora_account_profile_get_item_str(profile, f.item, &value) ==
        VELMORA_ACCOUNT_ERROR_NONE) {
      fields.emplace_back(f.word, value ? value : "");
      free(value);
    }
  }
  int source = 0;
  if (!fields.empty() && cat.source_item != 0 &&
      velmora_account_profile_get_item_source(profile, cat.source_item, &source) ==
          VELMORA_ACCOUNT_ERROR_NONE)
    fields.emplace_back("metadata:source:type", source == 0 ? "ACCOUNT" : "PROFILE");
  if (!fields.empty()) view.items.push_back(fields);
  return true;
}

std::vector<CategoryView> views_of(velmora_account_profile_list_h list) {
  std::vector<CategoryView> views;
  velmora_account_profile_list_foreach(list, collect, &views);
  return views;
}

int print_profile(const char *what, const std::vector<CategoryView> &views) {
  if (options().json) {
    vcli::JsonOut json;
    json.str("operation", what).integer("result", 0).str("error", "VELMORA_ACCOUNT_ERROR_NONE");
    json.begin_object("profile");
    for (const CategoryView &v : views) {
      json.begin_object(v.category->word);
      if (v.privacy >= 0)
        json.integer("privacy", v.privacy);
      else
        json.null("privacy");
      json.begin_array("items");
      for (const Fields &item : v.items) {
        json.begin_object(nullptr);
        for (const auto &[word, value] : item) json.str(word.c_str(), value);
        json.end_object();
      }
      json.end_array().end_object();
    }
    json.end_object().integer("exit_status", vcli::kExitOk).print();
    return vcli::kExitOk;
  }
  if (views.empty()) printf("(no profile data)\n");
  for (const CategoryView &v : views) {
    if (v.privacy >= 0) printf("%s=%d\n", v.category->word, v.privacy);
    for (size_t i = 0; i < v.items.size(); ++i) {
      const std::string prefix = v.category->limit > 1
                                     ? std::string(v.category->word) + "_" + std::to_string(i + 1)
                                     : std::string(v.category->word);
      for (const auto &[word, value] : v.items[i])
        printf("%s:%s=%s\n", prefix.c_str(), word.c_str(), value.c_str());
    }
  }
  return vcli::kExitOk;
}

int print_done(const char *what, const std::string &text) {
  if (options().json) {
    vcli::JsonOut json;
    json.str("operation", what).integer("result", 0).str("error", "VELMORA_ACCOUNT_ERROR_NONE");
    json.integer("exit_status", vcli::kExitOk).print();
  } else {
    printf("%s\n", text.c_str());
  }
  return vcli::kExitOk;
}

// Sends with `send` on a fresh handle and waits; then `done` prints the outcome.
template <typename Answer, typename Send, typename Done>
int exchange(const char *what, Answer *answer, Send send, Done done) {
  velmora_account_h h = nullptr;
  int status = open_handle(what, &h);
  if (status != vcli::kExitOk) return status;
  const int ret = send(h);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE)
    status = print_failure(what, ret);
  else if (!wait_for(&answer->wait))
    status = print_timeout(what, "an answer from the agent");
  else if (answer->result != VELMORA_ACCOUNT_ERROR_NONE)
    status = print_failure(what, answer->result);
  else
    status = done();
  close_handle(h);
  return status;
}

int get(const Args &args) {
  if (args.size() > 2) return vcli::usage_error("profile get takes at most one category");
  if (args.size() == 2) {
    const ProfileCategory *cat = find_profile_category(args[1]);
    if (!cat) return vcli::usage_error("no profile category '" + args[1] + "'");
    ListAnswer answer;
    const int status = exchange(
        "profile get", &answer,
        [&](velmora_account_h h) {
          return velmora_account_profile_request_profile(h, cat->category, ListAnswer::on, &answer);
        },
        [&] { return print_profile("profile get", views_of(answer.value)); });
    if (answer.value) velmora_account_profile_list_destroy(answer.value);
    return status;
  }
  AccountAnswer answer;
  const int status = exchange(
      "profile get", &answer,
      [&](velmora_account_h h) {
        return velmora_account_profile_request_info(h, AccountAnswer::on, &answer);
      },
      [&] {
        // Every category of the profile the answer carries, into one list.
        velmora_account_profile_list_h list = nullptr;
        velmora_account_profile_list_create(&list);
        for (const ProfileCategory &c : profile_categories())
          velmora_account_profile_get_profile_list(answer.value, c.category, list);
        const int s = print_profile("profile get", views_of(list));
        velmora_account_profile_list_destroy(list);
        return s;
      });
  if (answer.value) velmora_account_destroy(answer.value);
  return status;
}

// "[N:]FIELD=VALUE" of `cat` into item N's profile (made when missing); false with `error` set.
bool set_field(const ProfileCategory &cat, const std::string &arg,
               std::map<int, velmora_account_profile_h> *items, std::string *error) {
  const size_t eq = arg.find('=');
  if (eq == std::string::npos || eq == 0) {
    *error = "'" + arg + "' is not [N:]FIELD=VALUE";
    return false;
  }
  std::string word = arg.substr(0, eq);
  const std::string value = arg.substr(eq + 1);
  int n = 1;
  const size_t colon = word.find(':');
  if (colon != std::string::npos && colon > 0 && word.find_first_not_of("0123456789") == colon) {
    n = atoi(word.substr(0, colon).c_str());
    word = word.substr(colon + 1);
  }
  if (n < 1 || n > cat.limit) {
    *error = std::string(cat.word) + " holds items 1 to " + std::to_string(cat.limit);
    return false;
  }
  velmora_account_profile_h &p = (*items)[n];
  if (!p && velmora_account_profile_create(cat.category, &p) != VELMORA_ACCOUNT_ERROR_NONE) {
    *error = "out of memory";
    return false;
  }
  if (word == "source" && cat.source_item != 0) {
    if (value != "ACCOUNT" && value != "PROFILE") {
      *error = "source is ACCOUNT or PROFILE";
      return false;
    }
    velmora_account_profile_set_item_source(p, cat.source_item,
                                            value == "ACCOUNT"
                                                ? VELMORA_ACCOUNT_PROFILE_SOURCE_ACCOUNT
                                                : VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE);
    return true;
  }
  for (const ProfileField &f : cat.fields) {
    if (word != f.word) continue;
    if (word == "verified") {
      *error = "verified is set by the agent only";
      return false;
    }
    velmora_account_profile_set_item_str(p, f.item, value.c_str());
    return true;
  }
  std::string known;
  for (const ProfileField &f : cat.fields)
    if (std::string(f.word) != "verified") known += std::string(known.empty() ? "" : ", ") + f.word;
  *error = std::string(cat.word) + " has no field '" + word + "' (" + known +
           (cat.source_item ? ", source" : "") + ")";
  return false;
}

int set(const Args &args) {
  if (args.size() < 2) return vcli::usage_error("profile set needs a category");
  const ProfileCategory *cat = find_profile_category(args[1]);
  if (!cat) return vcli::usage_error("no profile category '" + args[1] + "'");
  if (args.size() < 3) return vcli::usage_error("profile set needs [N:]FIELD=VALUE");
  std::map<int, velmora_account_profile_h> items;
  std::string error;
  bool ok = true;
  for (size_t i = 2; ok && i < args.size(); ++i) ok = set_field(*cat, args[i], &items, &error);
  int expected = 1;
  for (const auto &[n, p] : items)
    if (ok && n != expected++) {
      ok = false;
      error = "items are numbered from 1 without gaps";
    }
  velmora_account_profile_list_h list = nullptr;
  velmora_account_profile_list_create(&list);
  for (const auto &[n, p] : items) {
    if (ok) velmora_account_profile_list_append(list, p);
    velmora_account_profile_destroy(p);
  }
  int status = vcli::kExitUsage;
  if (!ok) {
    status = vcli::usage_error(error);
  } else {
    AccountAnswer answer;
    status = exchange(
        "profile set", &answer,
        [&](velmora_account_h h) {
          return velmora_account_profile_update_info(h, list, AccountAnswer::on, &answer);
        },
        [&] {
          return print_done("profile set", std::string(cat->word) + ": " +
                                               std::to_string(items.size()) + " item(s) set");
        });
    if (answer.value) velmora_account_destroy(answer.value);
  }
  velmora_account_profile_list_destroy(list);
  return status;
}

int privacy(const Args &args) {
  if (args.size() < 2) return vcli::usage_error("profile privacy needs CATEGORY=0|1|2");
  velmora_account_profile_list_h list = nullptr;
  velmora_account_profile_list_create(&list);
  std::string error;
  for (size_t i = 1; error.empty() && i < args.size(); ++i) {
    const size_t eq = args[i].find('=');
    const ProfileCategory *cat =
        eq == std::string::npos ? nullptr : find_profile_category(args[i].substr(0, eq));
    const std::string level = eq == std::string::npos ? "" : args[i].substr(eq + 1);
    if (!cat || (level != "0" && level != "1" && level != "2")) {
      error = "'" + args[i] + "' is not CATEGORY=0|1|2";
      break;
    }
    velmora_account_profile_h p = nullptr;
    velmora_account_profile_create(cat->category, &p);
    velmora_account_profile_set_privacy(p, cat->category, atoi(level.c_str()));
    velmora_account_profile_list_append(list, p);
    velmora_account_profile_destroy(p);
  }
  int status;
  if (!error.empty()) {
    status = vcli::usage_error(error);
  } else {
    AccountAnswer answer;
    status = exchange(
        "profile privacy", &answer,
        [&](velmora_account_h h) {
          return velmora_account_profile_update_privacy(h, list, AccountAnswer::on, &answer);
        },
        [&] { return print_done("profile privacy", "privacy set"); });
    if (answer.value) velmora_account_destroy(answer.value);
  }
  velmora_account_profile_list_destroy(list);
  return status;
}

// ---- watch ----

struct Watching {
  Wait wait;
  int wanted = 1;
  std::vector<Fields> changes;
};

bool add_extra(app_control_h request, const char *key, void *data) {
  char *value = nullptr;
  if (app_control_get_extra_data(request, key, &value) == APP_CONTROL_ERROR_NONE)
    static_cast<Fields *>(data)->emplace_back(key, value ? value : "");
  free(value);
  return true;
}

void on_launch_request(app_control_h request, void *data) {
  auto *w = static_cast<Watching *>(data);
  Fields change;
  app_control_foreach_extra_data(request, add_extra, &change);
  app_control_h reply = nullptr;
  app_control_create(&reply);
  app_control_reply_to_launch_request(reply, request, APP_CONTROL_RESULT_SUCCEEDED);
  app_control_destroy(reply);
  if (!options().json) {
    printf("change:\n");
    for (const auto &[key, value] : change) printf("  %s=%s\n", key.c_str(), value.c_str());
    fflush(stdout);
  }
  w->changes.push_back(change);
  if (static_cast<int>(w->changes.size()) >= w->wanted) finish(&w->wait);
}

int watch(const Args &args) {
  if (args.size() > 1) return vcli::usage_error("profile watch takes no arguments");
  if (options().count < 1) return vcli::usage_error("--count must be 1 or more");
  const char *app_id = getenv("VELMORA_APP_ID");
  if (!app_id || !*app_id)
    return vcli::usage_error(
        "profile watch runs as an application: set VELMORA_APP_ID to the id of an application "
        "installed in the platform root (velmora-platform install)");
  Watching w;
  w.wanted = options().count;
  if (velmora_host_app_control_serve(on_launch_request, &w) != APP_CONTROL_ERROR_NONE)
    return print_failure("profile watch", VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED);
  AccountAnswer subscribed;
  bool is_subscribed = false;
  int status = exchange(
      "profile watch", &subscribed,
      [&](velmora_account_h h) {
        return velmora_account_profile_subscribe(h, AccountAnswer::on, &subscribed);
      },
      [&] {
        is_subscribed = true;
        if (!options().json) {
          printf("watching the profile of %s as %s\n", options().login_id, app_id);
          fflush(stdout);
        }
        if (!wait_for(&w.wait))
          return print_timeout("profile watch", std::to_string(w.wanted) + " change(s)");
        return vcli::kExitOk;
      });
  if (subscribed.value) velmora_account_destroy(subscribed.value);
  if (is_subscribed) {
    AccountAnswer unsubscribed;
    const int ended = exchange(
        "profile watch", &unsubscribed,
        [&](velmora_account_h h) {
          return velmora_account_profile_unsubscribe(h, AccountAnswer::on, &unsubscribed);
        },
        [] { return vcli::kExitOk; });
    if (unsubscribed.value) velmora_account_destroy(unsubscribed.value);
    if (status == vcli::kExitOk) status = ended;
  }
  velmora_host_app_control_stop();
  if (status == vcli::kExitOk && options().json) {
    vcli::JsonOut json;
    json.str("operation", "profile watch").integer("result", 0);
    json.str("error", "VELMORA_ACCOUNT_ERROR_NONE").begin_array("changes");
    for (const Fields &change : w.changes) {
      json.begin_object(nullptr);
      for (const auto &[key, value] : change) json.str(key.c_str(), value);
      json.end_object();
    }
    json.end_array().integer("exit_status", vcli::kExitOk).print();
  }
  return status;
}

}  // namespace

int cmd_profile(const Args &args) {
  const std::string what = args.empty() ? "" : args[0];
  if (what == "get") return get(args);
  if (what == "set") return set(args);
  if (what == "privacy") return privacy(args);
  if (what == "watch") return watch(args);
  return vcli::usage_error("profile takes get, set, privacy or watch, not '" + what + "'");
}

}  // namespace vacc
