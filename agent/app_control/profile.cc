// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the app-control operations of the user's profile.
//
//   getuserprofile        "resource" = a category's word: that category (privacy, count, items);
//                         "resource" = "all": the whole profile; "category" = "privacy": the
//                         privacy of every category that has one
//   updateuserprofile     "category" = "profile": the update body (profile_keys.hh) replaces the
//                         items of the category it names; "category" = "privacy": privacy values
//   (un)registeruserprofilenotification   the calling application (un)subscribes to the changes
//                         of "login_id"'s profile (profile_notify.hh)
// Reads and updates need "login_id" of a signed-in account and a registered "client_id";
// "request_to_server" = "Y" asks for nothing more here (the agent's profile is the only copy) and
// is logged. Replies of (un)subscribe carry "login_id".
#include "app_control/profile_keys.hh"
#include "app_control/profile_notify.hh"
#include "dlog.h"
#include "errors.hh"
#include "velmora_account_request_op.h"

namespace vagent::appcontrol {

namespace {

Result<UserProfile> profile_of(AgentState &state, const Request &req) {
  const std::string login_id = req.extra("login_id");
  Status st = state.profiles().check_caller(login_id, req.extra("client_id"));
  if (!st.ok()) return st;
  return state.profiles().get(login_id);
}

Answer get_profile(AgentState &state, const Request &req) {
  Result<UserProfile> profile = profile_of(state, req);
  if (!profile.ok()) return failure(profile.code());
  Answer a;
  const std::string resource = req.extra("resource");
  if (req.extra("request_to_server") == "Y")
    note_request_to_server(req.extra("category") == "privacy" ? "privacy" : resource,
                           "app control");
  if (req.extra("category") == "privacy") {
    put_profile(&a.extras, profile.value(), kPrivacyPart);
  } else if (resource == "all") {
    put_profile(&a.extras, profile.value());
  } else {
    const int category = category_of_resource(resource);
    if (category < 0) return failure(errc::kInvalidParameter);
    put_profile_category(&a.extras, profile.value(), category);
  }
  return a;
}

Answer update_profile(AgentState &state, const Request &req) {
  const std::string login_id = req.extra("login_id");
  Status st = state.profiles().check_caller(login_id, req.extra("client_id"));
  if (!st.ok()) return failure(st.code);
  const std::string category = req.extra("category");
  Result<ProfileChange> change = category == "profile" ? read_update_body(req.all())
                                 : category == "privacy"
                                     ? read_privacy_body(req.all())
                                     : Status::fail(errc::kInvalidParameter, "category?");
  if (!change.ok()) return failure(change.code());
  st = state.profiles().update(login_id, change.value());
  if (!st.ok()) return failure(st.code);
  notify_profile_change(state, login_id, change.value());
  return {};
}

Answer subscription(AgentState &state, const Request &req, bool subscribe) {
  const std::string login_id = req.extra("login_id");
  if (login_id.empty()) return failure(errc::kInvalidParameter);
  Status st = subscribe ? state.profiles().subscribe(login_id, req.caller())
                        : state.profiles().unsubscribe(login_id, req.caller());
  if (!st.ok()) return failure(st.code);
  Answer a;
  put(&a.extras, "login_id", login_id);
  return a;
}

Answer subscribe(AgentState &state, const Request &req) { return subscription(state, req, true); }
Answer unsubscribe(AgentState &state, const Request &req) {
  return subscription(state, req, false);
}

}  // namespace

const std::vector<Operation> &profile_operations() {
  static const std::vector<Operation> table = {
      {&REQUEST_OP_PROFILE_GET, "getuserprofile", get_profile},
      {&REQUEST_OP_PROFILE_UPDATE, "updateuserprofile", update_profile},
      {&REQUEST_OP_PROFILE_SUBSCRIBE, "registeruserprofilenotification", subscribe},
      {&REQUEST_OP_PROFILE_UNSUBSCRIBE, "unregisteruserprofilenotification", unsubscribe},
  };
  return table;
}

}  // namespace vagent::appcontrol
