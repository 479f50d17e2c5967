// SPDX-License-Identifier: Apache-2.0
// Velmora agent: telling subscribed applications that a user's profile changed.
//
// Every application subscribed to the login id (velmora_account_profile_subscribe) receives a
// launch request to its application id (started first when it does not run) with the operation
// kProfileChangedOperation and the extras
//   "login_id"   whose profile changed
//   "category"   "profile" when items changed, "privacy" when only privacy values did
//   "resource"   the resource words of the changed categories, comma-separated ("phoneNumbers")
// followed by the changed categories as they are now, in the keys of a profile reply
// (profile_keys.hh): their privacy, and for changed items their count and every item's fields.
// A subscriber that is no longer installed is logged and kept. The requests go out on the main
// loop: a process that does not run one for long (an admin command) passes `on_reply` and runs
// its loop until each subscriber has answered (or failed).
#pragma once

#include <string>

#include "agent_state.hh"
#include "app_control.h"

namespace vagent::appcontrol {

inline constexpr const char *kProfileChangedOperation =
    "http://dev.velmora.account/appcontrol/operation/userprofilechanged";

// Sends the change of `login_id`'s profile to every subscriber; returns how many were sent to.
int notify_profile_change(AgentState &state, const std::string &login_id,
                          const ProfileChange &change, app_control_reply_cb on_reply = nullptr,
                          void *user_data = nullptr);

}  // namespace vagent::appcontrol
