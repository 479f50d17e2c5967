// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the users' profiles (fourteen categories of items with a privacy value each) and
// the applications subscribed to their changes.
//
// A profile belongs to a user (by login id) and outlives sign-out; subscriptions belong to the
// signed-in account and are forgotten at sign-out. The categories, their limits and their fields
// are those of the client library's profile table (profile_record.h): category c has
// va_profile_category(c)->string_count string fields, the last of which, "verified", only the
// agent sets.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "accounts.hh"
#include "clients.hh"
#include "result.hh"
#include "schema.hh"
#include "state_db.hh"
#include "users.hh"

namespace vagent {

inline constexpr int kProfileCategories = 14;
inline constexpr int kPrivacyUnknown = 3;  // no privacy set
inline constexpr int kSourceUnset = 2;     // a NAME or BIRTHDAY item without a source

struct ProfileItem {
  std::vector<std::string> fields;  // one per string field of its category; "" when absent
  int source = kSourceUnset;        // NAME and BIRTHDAY: 0 ACCOUNT, 1 PROFILE

  bool operator==(const ProfileItem &) const = default;
};

struct ProfileCategory {
  std::vector<ProfileItem> items;  // at most the category's limit
  int privacy = kPrivacyUnknown;   // 0, 1, 2, or kPrivacyUnknown
};

struct UserProfile {
  std::array<ProfileCategory, kProfileCategories> categories;
};

// A change asked for by a client: the categories whose items are replaced, and privacy values.
struct ProfileChange {
  std::map<int, std::vector<ProfileItem>> items;
  std::map<int, int> privacy;

  bool empty() const { return items.empty() && privacy.empty(); }
};

// An item of `category` with every field absent.
ProfileItem empty_profile_item(int category);

const SchemaArea &profiles_schema();

class Profiles {
 public:
  Profiles(StateDb &db, Users &users, Accounts &accounts, Clients &clients)
      : db_(db), users_(users), accounts_(accounts), clients_(clients) {}

  // What a client's profile request must name: a registered client and a signed-in login id.
  // INVALID_PARAMETER (missing), UNKNOWN_CLIENT, UNKNOWN_USER, NEED_SIGNIN.
  Status check_caller(const std::string &login_id, const std::string &client_id);

  // The user's profile. UNKNOWN_USER.
  Result<UserProfile> get(const std::string &login_id);

  // Applies a change as a whole or not at all. An item of a replaced category keeps its verified
  // value when its other fields are unchanged. INVALID_PARAMETER (a category, field count,
  // source or privacy value out of range), AGENT_ERROR_PROFILE_LIMIT (more items than the
  // category holds), AGENT_ERROR_READ_ONLY_FIELD (a verified field in the change),
  // UNKNOWN_USER.
  Status update(const std::string &login_id, const ProfileChange &change);

  // The agent's own: marks item `index` of `category` verified ("" clears). UNKNOWN_USER,
  // INVALID_PARAMETER (no such item).
  Status set_verified(const std::string &login_id, int category, int index,
                      const std::string &value);

  // Subscriptions of applications to the changes of a login id's profile.
  Status subscribe(const std::string &login_id, const std::string &app_id);
  Status unsubscribe(const std::string &login_id, const std::string &app_id);
  Result<std::vector<std::string>> subscribers(const std::string &login_id);

 private:
  Status write_category(const std::string &login_id, int category,
                        const std::vector<ProfileItem> &items);

  StateDb &db_;
  Users &users_;
  Accounts &accounts_;
  Clients &clients_;
};

}  // namespace vagent
