// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the users' profiles and the subscriptions to their changes.
//
// Storage: one row per non-empty field (login id, category, item index, field position, value);
// a NAME or BIRTHDAY item's source is the row one past its last string field ("0" or "1").
#include "profiles.hh"

#include "profile_record.h"

namespace vagent {

namespace {

// What one field and one profile may hold, so that no client can grow the state without bound.
constexpr size_t kMaxFieldBytes = 4096;
constexpr size_t kMaxSubscribers = 64;

const Statement kFields{
    "SELECT category, idx, position, value FROM profile_fields WHERE login_id = ?1",
    Access::kLookup, "PRIMARY KEY"};
const Statement kDeleteCategory{"DELETE FROM profile_fields WHERE login_id = ?1 AND category = ?2",
                                Access::kLookup, "PRIMARY KEY"};
const Statement kInsertField{
    "INSERT INTO profile_fields(login_id, category, idx, position, value) VALUES(?1, ?2, ?3, ?4, "
    "?5)"};
const Statement kPrivacy{"SELECT category, privacy FROM profile_privacy WHERE login_id = ?1",
                         Access::kLookup, "PRIMARY KEY"};
const Statement kSetPrivacy{
    "INSERT OR REPLACE INTO profile_privacy(login_id, category, privacy) VALUES(?1, ?2, ?3)"};
const Statement kSubscribers{"SELECT app_id FROM profile_subscribers WHERE login_id = ?1",
                             Access::kLookup, "PRIMARY KEY"};
const Statement kSubscribe{
    "INSERT OR IGNORE INTO profile_subscribers(login_id, app_id) VALUES(?1, ?2)"};
const Statement kUnsubscribe{"DELETE FROM profile_subscribers WHERE login_id = ?1 AND app_id = ?2",
                             Access::kLookup, "PRIMARY KEY"};
const Statement kForgetSubscribers{"DELETE FROM profile_subscribers WHERE login_id = ?1",
                                   Access::kLookup, "PRIMARY KEY"};

const va_profile_category_desc &desc(int category) { return *va_profile_category(category); }

// The fields of an item apart from "verified" (the last).
bool same_content(const ProfileItem &a, const ProfileItem &b) {
  if (a.source != b.source || a.fields.size() != b.fields.size() || a.fields.empty()) return false;
  for (size_t f = 0; f + 1 < a.fields.size(); ++f)
    if (a.fields[f] != b.fields[f]) return false;
  return true;
}

Status check_change(const ProfileChange &change) {
  for (const auto &[category, items] : change.items) {
    if (category < 0 || category >= kProfileCategories)
      return Status::fail(errc::kInvalidParameter,
                          "no profile category " + std::to_string(category));
    const va_profile_category_desc &d = desc(category);
    if (static_cast<int>(items.size()) > d.limit)
      return Status::fail(errc::kProfileLimit, std::string(d.log_word) + " holds at most " +
                                                   std::to_string(d.limit) + " items");
    for (const ProfileItem &item : items) {
      if (static_cast<int>(item.fields.size()) != d.string_count)
        return Status::fail(
            errc::kInvalidParameter,
            std::string(d.log_word) + " items have " + std::to_string(d.string_count) + " fields");
      if (!item.fields.back().empty())
        return Status::fail(errc::kReadOnlyField,
                            std::string(d.log_word) + ": verified is set by the agent only");
      for (const std::string &f : item.fields)
        if (f.size() > kMaxFieldBytes)
          return Status::fail(errc::kInvalidParameter, "a profile field is longer than 4096 bytes");
      const bool source_ok = d.has_source ? (item.source >= 0 && item.source <= kSourceUnset)
                                          : item.source == kSourceUnset;
      if (!source_ok)
        return Status::fail(errc::kInvalidParameter,
                            std::string(d.log_word) + ": source must be ACCOUNT or PROFILE");
    }
  }
  for (const auto &[category, privacy] : change.privacy) {
    if (category < 0 || category >= kProfileCategories)
      return Status::fail(errc::kInvalidParameter,
                          "no profile category " + std::to_string(category));
    if (privacy < 0 || privacy > 2)
      return Status::fail(errc::kInvalidParameter, "privacy must be 0, 1 or 2");
  }
  return {};
}

}  // namespace

ProfileItem empty_profile_item(int category) {
  ProfileItem item;
  if (const va_profile_category_desc *d = va_profile_category(category))
    item.fields.resize(static_cast<size_t>(d->string_count));
  return item;
}

const SchemaArea &profiles_schema() {
  static const SchemaArea area{
      "profiles",
      {
          // 1
          "CREATE TABLE profile_fields("
          "  login_id TEXT NOT NULL,"
          "  category INTEGER NOT NULL,"
          "  idx INTEGER NOT NULL,"
          "  position INTEGER NOT NULL,"
          "  value TEXT NOT NULL,"
          "  PRIMARY KEY(login_id, category, idx, position)) WITHOUT ROWID;"
          "CREATE TABLE profile_privacy("
          "  login_id TEXT NOT NULL,"
          "  category INTEGER NOT NULL,"
          "  privacy INTEGER NOT NULL,"
          "  PRIMARY KEY(login_id, category)) WITHOUT ROWID;"
          "CREATE TABLE profile_subscribers("
          "  login_id TEXT NOT NULL,"
          "  app_id TEXT NOT NULL,"
          "  PRIMARY KEY(login_id, app_id)) WITHOUT ROWID;",
      },
      {&kFields, &kDeleteCategory, &kInsertField, &kPrivacy, &kSetPrivacy, &kSubscribers,
       &kSubscribe, &kUnsubscribe, &kForgetSubscribers},
      &kForgetSubscribers};
  return area;
}

Status Profiles::check_caller(const std::string &login_id, const std::string &client_id) {
  if (login_id.empty() || client_id.empty())
    return Status::fail(errc::kInvalidParameter, "login id and client id are required");
  Result<Client> client = clients_.find(client_id);
  if (!client.ok()) return client.status();
  return accounts_.require_signed_in(login_id);
}

Result<UserProfile> Profiles::get(const std::string &login_id) {
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  UserProfile profile;
  Status st;
  {
    Query q(db_, kFields);
    q.bind(1, login_id);
    while (q.next(&st)) {
      const int64_t category = q.integer(0), idx = q.integer(1), position = q.integer(2);
      const va_profile_category_desc *d = va_profile_category(static_cast<int>(category));
      if (!d || idx < 0 || idx >= d->limit || position < 0 || position > d->string_count)
        continue;  // not a row this agent writes
      auto &items = profile.categories[category].items;
      while (static_cast<int64_t>(items.size()) <= idx)
        items.push_back(empty_profile_item(static_cast<int>(category)));
      ProfileItem &item = items[idx];
      if (position == d->string_count)
        item.source = q.text(3) == "0" ? 0 : 1;
      else
        item.fields[position] = q.text(3);
    }
  }
  if (!st.ok()) return st;
  Query q(db_, kPrivacy);
  q.bind(1, login_id);
  while (q.next(&st)) {
    const int64_t category = q.integer(0);
    if (category >= 0 && category < kProfileCategories)
      profile.categories[category].privacy = static_cast<int>(q.integer(1));
  }
  if (!st.ok()) return st;
  return profile;
}

Status Profiles::write_category(const std::string &login_id, int category,
                                const std::vector<ProfileItem> &items) {
  Query del(db_, kDeleteCategory);
  del.bind(1, login_id).bind(2, static_cast<int64_t>(category));
  Status st = del.run();
  const int source_position = desc(category).string_count;
  for (size_t i = 0; st.ok() && i < items.size(); ++i) {
    const ProfileItem &item = items[i];
    for (size_t f = 0; st.ok() && f <= item.fields.size(); ++f) {
      std::string value;
      if (f < item.fields.size())
        value = item.fields[f];
      else if (desc(category).has_source && item.source != kSourceUnset)
        value = std::to_string(item.source);
      if (value.empty()) continue;
      Query ins(db_, kInsertField);
      ins.bind(1, login_id)
          .bind(2, static_cast<int64_t>(category))
          .bind(3, static_cast<int64_t>(i))
          .bind(4, static_cast<int64_t>(f < item.fields.size() ? f : source_position))
          .bind(5, value);
      st = ins.run();
    }
  }
  return st;
}

Status Profiles::update(const std::string &login_id, const ProfileChange &change) {
  Status st = check_change(change);
  if (!st.ok()) return st;
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  Result<UserProfile> current = get(login_id);
  if (!current.ok()) return current.status();
  for (const auto &[category, items] : change.items) {
    std::vector<ProfileItem> stored = items;
    const auto &before = current->categories[category].items;
    for (size_t i = 0; i < stored.size() && i < before.size(); ++i)
      if (same_content(stored[i], before[i])) stored[i].fields.back() = before[i].fields.back();
    st = write_category(login_id, category, stored);
    if (!st.ok()) return st;
  }
  for (const auto &[category, privacy] : change.privacy) {
    Query q(db_, kSetPrivacy);
    q.bind(1, login_id)
        .bind(2, static_cast<int64_t>(category))
        .bind(3, static_cast<int64_t>(privacy));
    st = q.run();
    if (!st.ok()) return st;
  }
  return tx.commit();
}

Status Profiles::set_verified(const std::string &login_id, int category, int index,
                              const std::string &value) {
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  Result<UserProfile> current = get(login_id);
  if (!current.ok()) return current.status();
  if (category < 0 || category >= kProfileCategories || index < 0 ||
      index >= static_cast<int>(current->categories[category].items.size()))
    return Status::fail(errc::kInvalidParameter, "no such profile item");
  if (value.size() > kMaxFieldBytes)
    return Status::fail(errc::kInvalidParameter, "a profile field is longer than 4096 bytes");
  std::vector<ProfileItem> items = current->categories[category].items;
  items[index].fields.back() = value;
  Status st = write_category(login_id, category, items);
  if (!st.ok()) return st;
  return tx.commit();
}

Status Profiles::subscribe(const std::string &login_id, const std::string &app_id) {
  if (app_id.empty())
    return Status::fail(errc::kInvalidParameter, "only an application can subscribe");
  Status st = accounts_.require_signed_in(login_id);
  if (!st.ok()) return st;
  Result<std::vector<std::string>> now = subscribers(login_id);
  if (!now.ok()) return now.status();
  if (now->size() >= kMaxSubscribers)
    return Status::fail(errc::kInvalidParameter, "too many subscribed applications");
  Query q(db_, kSubscribe);
  q.bind(1, login_id).bind(2, app_id);
  return q.run();
}

Status Profiles::unsubscribe(const std::string &login_id, const std::string &app_id) {
  Status st = accounts_.require_signed_in(login_id);
  if (!st.ok()) return st;
  Query q(db_, kUnsubscribe);
  q.bind(1, login_id).bind(2, app_id);
  return q.run();
}

Result<std::vector<std::string>> Profiles::subscribers(const std::string &login_id) {
  std::vector<std::string> apps;
  Status st;
  Query q(db_, kSubscribers);
  q.bind(1, login_id);
  while (q.next(&st)) apps.push_back(q.text(0));
  if (!st.ok()) return st;
  return apps;
}

}  // namespace vagent
