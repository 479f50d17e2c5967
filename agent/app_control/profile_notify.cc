// SPDX-License-Identifier: Apache-2.0
// Velmora agent: telling subscribed applications that a user's profile changed.
#include "app_control/profile_notify.hh"

#include <map>

#include "app_control/profile_keys.hh"
#include "dlog.h"
#include "profile_record.h"

namespace vagent::appcontrol {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";

// The extras every subscriber receives.
Extras change_extras(const UserProfile &profile, const std::string &login_id,
                     const ProfileChange &change) {
  std::map<int, int> parts;  // category -> which parts changed
  for (const auto &kv : change.items) parts[kv.first] |= kBothParts;
  for (const auto &kv : change.privacy) parts[kv.first] |= kPrivacyPart;
  std::string resources;
  for (const auto &kv : parts)
    resources +=
        (resources.empty() ? "" : ",") + std::string(va_profile_category(kv.first)->resource);
  Extras extras = {{"login_id", login_id},
                   {"category", change.items.empty() ? "privacy" : "profile"},
                   {"resource", resources}};
  for (const auto &[category, which] : parts)
    put_profile_category(&extras, profile, category, which);
  return extras;
}

}  // namespace

int notify_profile_change(AgentState &state, const std::string &login_id,
                          const ProfileChange &change, app_control_reply_cb on_reply,
                          void *user_data) {
  if (change.empty()) return 0;
  Result<std::vector<std::string>> apps = state.profiles().subscribers(login_id);
  Result<UserProfile> profile = state.profiles().get(login_id);
  if (!apps.ok() || !profile.ok() || apps->empty()) return 0;
  const Extras extras = change_extras(profile.value(), login_id, change);
  int sent = 0;
  for (const std::string &app : apps.value()) {
    app_control_h ac = nullptr;
    if (app_control_create(&ac) != APP_CONTROL_ERROR_NONE) continue;
    app_control_set_app_id(ac, app.c_str());
    app_control_set_operation(ac, kProfileChangedOperation);
    for (const auto &[key, value] : extras)
      app_control_add_extra_data(ac, key.c_str(), value.c_str());
    const int ret = app_control_send_launch_request(ac, on_reply, user_data);
    if (ret == APP_CONTROL_ERROR_NONE) {
      ++sent;
      dlog_print(DLOG_INFO, kLogTag, "profile: change of %s sent to %s", login_id.c_str(),
                 app.c_str());
    } else {
      dlog_print(DLOG_WARN, kLogTag, "profile: change of %s not sent to %s (%d)", login_id.c_str(),
                 app.c_str(), ret);
    }
    app_control_destroy(ac);
  }
  return sent;
}

}  // namespace vagent::appcontrol
