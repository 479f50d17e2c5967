// SPDX-License-Identifier: Apache-2.0
// Velmora agent: saved places.
#include "places.hh"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace vagent {

namespace {

#define PLACE_COLUMNS                                                                     \
  "place_id, name, address, wifi_name, wifi_bssid, bt_name, bt_address, category, type, " \
  "location_source, latitude, longitude"

const Statement kOfUser{"SELECT " PLACE_COLUMNS
                        " FROM places WHERE login_id = ?1 ORDER BY place_id",
                        Access::kLookup, "PRIMARY KEY"};
const Statement kFind{"SELECT " PLACE_COLUMNS " FROM places WHERE login_id = ?1 AND place_id = ?2",
                      Access::kLookup, "PRIMARY KEY"};
const Statement kCount{"SELECT COUNT(*), MAX(place_id) FROM places WHERE login_id = ?1",
                       Access::kLookup, "PRIMARY KEY"};
const Statement kInsert{"INSERT INTO places(login_id, " PLACE_COLUMNS
                        ") VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13)"};
const Statement kUpdate{
    "UPDATE places SET name = ?3, address = ?4, wifi_name = ?5, wifi_bssid = ?6, bt_name = ?7,"
    " bt_address = ?8, category = ?9, type = ?10, location_source = ?11, latitude = ?12,"
    " longitude = ?13 WHERE login_id = ?1 AND place_id = ?2",
    Access::kLookup, "PRIMARY KEY"};
const Statement kDelete{"DELETE FROM places WHERE login_id = ?1 AND place_id = ?2", Access::kLookup,
                        "PRIMARY KEY"};

std::optional<int> opt_int(const Query &q, int column) {
  if (q.is_null(column)) return std::nullopt;
  return static_cast<int>(q.integer(column));
}

std::optional<double> opt_double(const Query &q, int column) {
  if (q.is_null(column)) return std::nullopt;
  return std::strtod(q.text(column).c_str(), nullptr);
}

Place read_place(const Query &q) {
  Place p;
  p.id = static_cast<int>(q.integer(0));
  p.name = q.text(1);
  p.address = q.text(2);
  p.wifi_name = q.text(3);
  p.wifi_bssid = q.text(4);
  p.bt_name = q.text(5);
  p.bt_address = q.text(6);
  p.category = opt_int(q, 7);
  p.type = opt_int(q, 8);
  p.location_source = opt_int(q, 9);
  p.latitude = opt_double(q, 10);
  p.longitude = opt_double(q, 11);
  return p;
}

void bind_opt(Query &q, int index, const std::optional<int> &v) {
  if (v)
    q.bind(index, static_cast<int64_t>(*v));
  else
    q.bind_null(index);
}

// Coordinates are kept as text written with every digit a double has, so they read back exactly.
void bind_opt(Query &q, int index, const std::optional<double> &v) {
  if (!v) {
    q.bind_null(index);
    return;
  }
  char text[64];
  *std::to_chars(text, text + sizeof text - 1, *v).ptr = '\0';  // shortest exact text
  q.bind(index, std::string(text));
}

template <typename T>
void apply(std::optional<T> &&from, T *to) {
  if (from) *to = std::move(*from);
}
template <typename T>
void apply(std::optional<T> &&from, std::optional<T> *to) {
  if (from) *to = std::move(from);
}

// Every field `c` sets replaces the one of `p`.
void merge(PlaceChange c, Place *p) {
  apply(std::move(c.name), &p->name);
  apply(std::move(c.address), &p->address);
  apply(std::move(c.wifi_name), &p->wifi_name);
  apply(std::move(c.wifi_bssid), &p->wifi_bssid);
  apply(std::move(c.bt_name), &p->bt_name);
  apply(std::move(c.bt_address), &p->bt_address);
  apply(std::move(c.category), &p->category);
  apply(std::move(c.type), &p->type);
  apply(std::move(c.location_source), &p->location_source);
  apply(std::move(c.latitude), &p->latitude);
  apply(std::move(c.longitude), &p->longitude);
}

Status validate(const Place &p) {
  for (const std::string *s :
       {&p.name, &p.address, &p.wifi_name, &p.wifi_bssid, &p.bt_name, &p.bt_address})
    if (s->size() > kMaxPlaceText)
      return Status::fail(errc::kInvalidParameter, "a place text is longer than 1024 bytes");
  // 200 / 200.0 mean "not given" to the library: a stored value never takes them.
  for (const std::optional<int> *v : {&p.category, &p.type, &p.location_source})
    if (*v && **v == 200)
      return Status::fail(errc::kInvalidParameter, "200 means \"not given\"; leave the value out");
  if (p.latitude && (!std::isfinite(*p.latitude) || *p.latitude < -90 || *p.latitude > 90))
    return Status::fail(errc::kInvalidParameter, "latitude outside -90..90");
  if (p.longitude && (!std::isfinite(*p.longitude) || *p.longitude < -180 || *p.longitude > 180))
    return Status::fail(errc::kInvalidParameter, "longitude outside -180..180");
  return Status::success();
}

}  // namespace

const SchemaArea &places_schema() {
  static const SchemaArea area{"places",
                               {
                                   // 1
                                   "CREATE TABLE places("
                                   "  login_id TEXT NOT NULL,"
                                   "  place_id INTEGER NOT NULL,"
                                   "  name TEXT NOT NULL DEFAULT '',"
                                   "  address TEXT NOT NULL DEFAULT '',"
                                   "  wifi_name TEXT NOT NULL DEFAULT '',"
                                   "  wifi_bssid TEXT NOT NULL DEFAULT '',"
                                   "  bt_name TEXT NOT NULL DEFAULT '',"
                                   "  bt_address TEXT NOT NULL DEFAULT '',"
                                   "  category INTEGER,"
                                   "  type INTEGER,"
                                   "  location_source INTEGER,"
                                   "  latitude TEXT,"
                                   "  longitude TEXT,"
                                   "  PRIMARY KEY(login_id, place_id)) WITHOUT ROWID;",
                               },
                               {&kOfUser, &kFind, &kCount, &kInsert, &kUpdate, &kDelete}};
  return area;
}

Result<std::vector<Place>> Places::of(const std::string &login_id) {
  if (login_id.empty()) return Status::fail(errc::kInvalidParameter, "login id is required");
  Status st = accounts_.require_signed_in(login_id);
  if (!st.ok()) return st;
  return list(login_id);
}

Result<std::vector<Place>> Places::list(const std::string &login_id) {
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  std::vector<Place> out;
  Status st;
  Query q(db_, kOfUser);
  q.bind(1, login_id);
  while (q.next(&st)) out.push_back(read_place(q));
  if (!st.ok()) return st;
  return out;
}

Result<Place> Places::find(const std::string &login_id, int id) {
  Status st;
  Query q(db_, kFind);
  q.bind(1, login_id).bind(2, static_cast<int64_t>(id));
  if (q.next(&st)) return read_place(q);
  if (!st.ok()) return st;
  return Status::fail(errc::kUnknownPlace, "no place " + std::to_string(id) + " of " + login_id);
}

Status Places::store(const std::string &login_id, const Place &p, bool insert) {
  Query q(db_, insert ? kInsert : kUpdate);
  q.bind(1, login_id).bind(2, static_cast<int64_t>(p.id));
  q.bind(3, p.name).bind(4, p.address).bind(5, p.wifi_name).bind(6, p.wifi_bssid);
  q.bind(7, p.bt_name).bind(8, p.bt_address);
  bind_opt(q, 9, p.category);
  bind_opt(q, 10, p.type);
  bind_opt(q, 11, p.location_source);
  bind_opt(q, 12, p.latitude);
  bind_opt(q, 13, p.longitude);
  return q.run();
}

Result<Place> Places::add(const std::string &login_id, const PlaceChange &change) {
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  Place p;
  merge(change, &p);
  Status st = validate(p);
  if (!st.ok()) return st;

  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  {
    Query count(db_, kCount);
    count.bind(1, login_id);
    if (!count.next(&st)) return st.ok() ? Status::fail(errc::kDbFailed, "no count") : st;
    if (count.integer(0) >= kMaxPlacesPerUser)
      return Status::fail(errc::kTooManyPlaces, login_id + " keeps 100 places already");
    p.id = static_cast<int>(count.integer(1)) + 1;
  }
  if (!(st = store(login_id, p, true)).ok()) return st;
  if (!(st = tx.commit()).ok()) return st;
  return p;
}

Result<Place> Places::change(const std::string &login_id, int id, const PlaceChange &change) {
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  Result<Place> found = find(login_id, id);
  if (!found.ok()) return found;
  Place p = found.value();
  merge(change, &p);
  Status st = validate(p);
  if (!st.ok()) return st;
  if (!(st = store(login_id, p, false)).ok()) return st;
  if (!(st = tx.commit()).ok()) return st;
  return p;
}

Status Places::remove(const std::string &login_id, int id) {
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  Query q(db_, kDelete);
  q.bind(1, login_id).bind(2, static_cast<int64_t>(id));
  Status st = q.run();
  if (!st.ok()) return st;
  if (q.changes() == 0)
    return Status::fail(errc::kUnknownPlace, "no place " + std::to_string(id) + " of " + login_id);
  return Status::success();
}

}  // namespace vagent
