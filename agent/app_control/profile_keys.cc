// SPDX-License-Identifier: Apache-2.0
// Velmora agent: profiles as app-control extras (profile_keys.hh).
#include "app_control/profile_keys.hh"

#include <map>

#include "dlog.h"
#include "errors.hh"
#include "profile_record.h"

namespace vagent::appcontrol {

namespace {

constexpr const char *kAccount = "ACCOUNT";
constexpr const char *kProfile = "PROFILE";

// A decimal number made of digits only (no sign, no blanks), at most 9 of them.
bool read_number(const std::string &text, int *out) {
  if (text.empty() || text.size() > 9) return false;
  int v = 0;
  for (char ch : text) {
    if (ch < '0' || ch > '9') return false;
    v = v * 10 + (ch - '0');
  }
  *out = v;
  return true;
}

Status invalid(const std::string &why) { return Status::fail(errc::kInvalidParameter, why); }

}  // namespace

int category_of_resource(const std::string &word) {
  for (int c = 0; c < kProfileCategories; ++c)
    if (word == va_profile_category(c)->resource) return c;
  return -1;
}

void put_profile_category(Extras *extras, const UserProfile &profile, int category, int parts) {
  const va_profile_category_desc &d = *va_profile_category(category);
  const ProfileCategory &cat = profile.categories[category];
  const std::string resource = d.resource;
  if ((parts & kPrivacyPart) && cat.privacy != kPrivacyUnknown)
    extras->emplace_back(resource, std::to_string(cat.privacy));
  if (!(parts & kItemsPart) || cat.items.empty()) return;
  extras->emplace_back(resource + "_count", std::to_string(cat.items.size()));
  for (size_t i = 0; i < cat.items.size(); ++i) {
    const ProfileItem &item = cat.items[i];
    const std::string head = resource + (d.is_list ? "_" + std::to_string(i + 1) : "") + ":";
    for (size_t f = 0; f < item.fields.size(); ++f)
      if (!item.fields[f].empty()) extras->emplace_back(head + d.wire_words[f], item.fields[f]);
    if (d.has_source && item.source != kSourceUnset)
      extras->emplace_back(head + VA_PROFILE_SOURCE_WORD, item.source == 0 ? kAccount : kProfile);
  }
}

void put_profile(Extras *extras, const UserProfile &profile, int parts) {
  for (int c = 0; c < kProfileCategories; ++c) put_profile_category(extras, profile, c, parts);
}

Result<ProfileChange> read_update_body(const Extras &extras) {
  std::string resource;
  for (const auto &[key, value] : extras)
    if (key == "resource") resource = value;
  const int category = category_of_resource(resource);
  if (category < 0) return invalid("an update names its category in \"resource\"");
  const va_profile_category_desc &d = *va_profile_category(category);

  std::map<int, size_t> position_of;  // item number -> position in the order of appearance
  std::vector<ProfileItem> items;
  for (const auto &[key, value] : extras) {
    const size_t colon = key.find(':');
    if (colon == std::string::npos) continue;  // login_id, client_id, category, resource
    const std::string head = key.substr(0, colon), word = key.substr(colon + 1);
    int number = 0;
    if (head != resource && (head.compare(0, resource.size() + 1, resource + "_") != 0 ||
                             !read_number(head.substr(resource.size() + 1), &number)))
      return invalid("key " + key + " is not one of " + resource);
    auto [it, added] = position_of.emplace(number, items.size());
    if (added) {
      if (static_cast<int>(items.size()) >= d.limit)
        return Status::fail(errc::kProfileLimit, std::string(d.log_word) + " holds at most " +
                                                     std::to_string(d.limit) + " items");
      items.push_back(empty_profile_item(category));
    }
    ProfileItem &item = items[it->second];
    if (word == VA_PROFILE_SOURCE_WORD) {
      if (value != kAccount && value != kProfile)
        return invalid("source must be ACCOUNT or PROFILE");
      if (d.has_source) item.source = value == kAccount ? 0 : 1;
      continue;
    }
    int field = -1;
    for (int f = 0; f < d.string_count; ++f)
      if (word == d.wire_words[f]) field = f;
    if (field < 0) return invalid("no field " + word + " in " + resource);
    if (field == d.string_count - 1)
      return Status::fail(errc::kReadOnlyField, key + ": verified is set by the agent only");
    item.fields[static_cast<size_t>(field)] = value;
  }
  ProfileChange change;
  change.items[category] = std::move(items);
  return change;
}

Result<ProfileChange> read_privacy_body(const Extras &extras) {
  ProfileChange change;
  for (const auto &[key, value] : extras) {
    const int category = category_of_resource(key);
    if (category < 0) continue;
    int privacy = -1;
    if (!read_number(value, &privacy) || privacy > 2)
      return invalid("privacy of " + key + " must be 0, 1 or 2");
    change.privacy[category] = privacy;
  }
  if (change.privacy.empty()) return invalid("a privacy update names at least one category");
  return change;
}

void note_request_to_server(const std::string &what, const char *transport) {
  dlog_print(DLOG_INFO, "VELMORA_AGENT", "profile: %s asked of the server (request_to_server, %s)",
             what.c_str(), transport);
}

}  // namespace vagent::appcontrol
