// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the AccountSvc methods of the user's profile.
//
//   RequestProfileInfo(account, "all")     the whole profile, privacy included
//   CommonProfile(account, 2, <resource>)  one category, with its privacy
//   CommonProfile(account, 3, "all")       the privacy of every category
//                                          (a CountryCode of "Y" asks for the server's copy:
//                                          logged, nothing more)
//   UpdateProfileInfo(account, n, profile) replaces the items of the category named by the
//                                          profile's Resource (n is not looked at; privacy travels
//                                          by UpdatePrivacyInfo)
//   UpdatePrivacyInfo(account, privacy)    sets every value 0 .. 2; 3 leaves a category as it is
// The account names a signed-in login id and a registered client. A change is told to the
// subscribed applications (app_control/profile_notify.hh).
#include <glib.h>

#include <cstdlib>
#include <cstring>

#include "app_control/profile_keys.hh"
#include "app_control/profile_notify.hh"
#include "errors.hh"
#include "port/answers.hh"
#include "profile_internal.h"

namespace vagent::nidl {

namespace {

constexpr int kOneCategory = 2;
constexpr int kAllPrivacy = 3;

Status check(AgentState &state, const NidlRequest &req, std::string *login_id) {
  *login_id = req.field(rpc_port_AccountS_get_LoginId);
  return state.profiles().check_caller(*login_id, req.field(rpc_port_AccountS_get_ClientId));
}

void set_text(char **field, const std::string &value) {
  if (!field || value.empty()) return;
  free(*field);
  *field = strdup(value.c_str());
}

// The port's record of the chosen categories' items, and a privacy record of their values (3 for
// the others).
Profile to_record(const UserProfile &profile, const std::vector<int> &categories, bool items) {
  rpc_port_ProfileS_h record = nullptr;
  rpc_port_PrivacyS_h privacy = nullptr;
  if (rpc_port_ProfileS_create(&record) != 0) return nullptr;
  Profile out(record);
  if (rpc_port_PrivacyS_create(&privacy) != 0) return nullptr;
  *va_profile_nidl_privacy_of(record) = privacy;
  for (int c = 0; c < kProfileCategories; ++c)
    *va_profile_nidl_privacy(privacy, c) = kPrivacyUnknown;
  for (int c : categories) {
    const va_profile_category_desc &d = *va_profile_category(c);
    const ProfileCategory &cat = profile.categories[c];
    *va_profile_nidl_privacy(privacy, c) = cat.privacy;
    for (size_t i = 0; items && i < cat.items.size(); ++i) {
      void *item = va_profile_nidl_item_new(c);
      if (!item) return nullptr;
      if (d.is_list) {
        GList **list = va_profile_nidl_list(record, c);
        *list = g_list_append(*list, item);
      } else {
        *va_profile_nidl_single(record, c) = item;
      }
      for (int f = 0; f < d.string_count; ++f)
        set_text(va_profile_nidl_field(item, c, f), cat.items[i].fields[f]);
      if (d.has_source) {
        const char *source = va_profile_source_text(cat.items[i].source);
        if (source) set_text(va_profile_nidl_field(item, c, d.string_count), source);
      }
    }
  }
  rpc_port_ProfileS_set_Type(record, "profile");
  return out;
}

// The item of the port's record `from` (of `category`), for a change.
Result<ProfileItem> read_item(int category, void *from) {
  const va_profile_category_desc &d = *va_profile_category(category);
  ProfileItem item = empty_profile_item(category);
  if (!from) return Status::fail(errc::kInvalidParameter, "a profile list holds an empty item");
  for (int f = 0; f < d.string_count; ++f) {
    const char *value = *va_profile_nidl_field(from, category, f);
    if (value) item.fields[f] = value;
  }
  if (!item.fields.back().empty())
    return Status::fail(errc::kReadOnlyField,
                        std::string(d.log_word) + ": verified is the agent's");
  const char *source = d.has_source ? *va_profile_nidl_field(from, category, d.string_count) : "";
  if (source && *source) {
    if (strcmp(source, "ACCOUNT") != 0 && strcmp(source, "PROFILE") != 0)
      return Status::fail(errc::kInvalidParameter, "source must be ACCOUNT or PROFILE");
    item.source = va_profile_source_from_text(source);
  }
  return item;
}

Result<ProfileChange> read_change(rpc_port_ProfileS_h record) {
  char *resource = nullptr;
  if (!record || rpc_port_ProfileS_get_Resource(record, &resource) != 0)
    return Status::fail(errc::kInvalidParameter, "an update names its category in Resource");
  const int category = appcontrol::category_of_resource(resource);
  free(resource);
  if (category < 0) return Status::fail(errc::kInvalidParameter, "no such profile category");
  const va_profile_category_desc &d = *va_profile_category(category);
  ProfileChange change;
  std::vector<ProfileItem> &items = change.items[category];
  if (d.is_list) {
    GList *list = *va_profile_nidl_list(record, category);
    if (static_cast<int>(g_list_length(list)) > d.limit)
      return Status::fail(errc::kProfileLimit, std::string(d.log_word) + " holds at most " +
                                                   std::to_string(d.limit) + " items");
    for (GList *l = list; l; l = l->next) {
      Result<ProfileItem> item = read_item(category, l->data);
      if (!item.ok()) return item.status();
      items.push_back(item.value());
    }
  } else if (void *single = *va_profile_nidl_single(record, category)) {
    Result<ProfileItem> item = read_item(category, single);
    if (!item.ok()) return item.status();
    items.push_back(item.value());
  }
  return change;
}

Answer profile_answer(AgentState &state, const NidlRequest &req, std::vector<int> categories,
                      bool items) {
  std::string login_id;
  Status st = check(state, req, &login_id);
  if (!st.ok()) return pushed(st.code);
  Result<UserProfile> profile = state.profiles().get(login_id);
  if (!profile.ok()) return pushed(profile.code());
  Answer a = pushed(errc::kNone);
  a.push_profile = to_record(profile.value(), categories, items);
  if (!a.push_profile) return pushed(errc::kOutOfMemory);
  return a;
}

std::vector<int> every_category() {
  std::vector<int> all;
  for (int c = 0; c < kProfileCategories; ++c) all.push_back(c);
  return all;
}

Answer apply(AgentState &state, const NidlRequest &req, const Result<ProfileChange> &change) {
  std::string login_id;
  Status st = check(state, req, &login_id);
  if (!st.ok()) return pushed(st.code);
  if (!change.ok()) return pushed(change.code());
  st = state.profiles().update(login_id, change.value());
  if (!st.ok()) return pushed(st.code);
  appcontrol::notify_profile_change(state, login_id, change.value());
  return pushed(errc::kNone);
}

}  // namespace

Answer request_profile_info(AgentState &state, const NidlRequest &req) {
  if (req.strings.empty() || req.strings[0] != "all") return pushed(errc::kInvalidParameter);
  return profile_answer(state, req, every_category(), true);
}

Answer common_profile(AgentState &state, const NidlRequest &req) {
  const int operation = req.ints.empty() ? -1 : req.ints[0];
  const std::string resource = req.strings.empty() ? "" : req.strings[0];
  // The library says "request_to_server" in the CountryCode field.
  if (req.field(rpc_port_AccountS_get_CountryCode) == "Y")
    appcontrol::note_request_to_server(operation == kAllPrivacy ? "privacy" : resource, "port");
  if (operation == kAllPrivacy && resource == "all")
    return profile_answer(state, req, every_category(), false);
  const int category = appcontrol::category_of_resource(resource);
  if (operation == kOneCategory && category >= 0)
    return profile_answer(state, req, {category}, true);
  return pushed(errc::kInvalidParameter);
}

Answer update_profile_info(AgentState &state, const NidlRequest &req) {
  return apply(state, req, read_change(req.profile.get()));
}

Answer update_privacy_info(AgentState &state, const NidlRequest &req) {
  ProfileChange change;
  for (int c = 0; req.privacy && c < kProfileCategories; ++c) {
    const int value = *va_profile_nidl_privacy(req.privacy.get(), c);
    if (value == kPrivacyUnknown) continue;
    if (value < 0 || value > 2) return apply(state, req, Status::fail(errc::kInvalidParameter, ""));
    change.privacy[c] = value;
  }
  if (change.privacy.empty())
    return apply(state, req, Status::fail(errc::kInvalidParameter, "no privacy value to set"));
  return apply(state, req, change);
}

}  // namespace vagent::nidl
