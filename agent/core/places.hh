// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the user's saved places (home, work and the like), kept per login id.
//
// A place has a name, an address, a category, a location (type, source, latitude, longitude) and
// the Wi-Fi network and Bluetooth device that identify it. Numbers and coordinates are optional:
// an absent one is not sent over app control and travels as 200 / 200.0 over the port, the values
// the library reads as "not given". Places are numbered per user from 1 in the order they were
// added; the number of a removed place is not handed out again while a later place exists.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "accounts.hh"
#include "result.hh"
#include "schema.hh"
#include "state_db.hh"
#include "users.hh"

namespace vagent {

// The most places a user may keep. More than the library's 50 slots on purpose: the agent hands
// out what it keeps and the library stops at its own limit.
inline constexpr int kMaxPlacesPerUser = 100;
// The longest string a place field may hold (bytes).
inline constexpr size_t kMaxPlaceText = 1024;

struct Place {
  int id = 0;  // 1.. per user
  std::string name;
  std::string address;
  std::string wifi_name;
  std::string wifi_bssid;
  std::string bt_name;
  std::string bt_address;
  std::optional<int> category;
  std::optional<int> type;
  std::optional<int> location_source;
  std::optional<double> latitude;
  std::optional<double> longitude;
};

// A change to a place: each field that is set replaces the stored one.
struct PlaceChange {
  std::optional<std::string> name, address, wifi_name, wifi_bssid, bt_name, bt_address;
  std::optional<int> category, type, location_source;
  std::optional<double> latitude, longitude;
};

const SchemaArea &places_schema();

class Places {
 public:
  Places(StateDb &db, Users &users, Accounts &accounts)
      : db_(db), users_(users), accounts_(accounts) {}

  // The places of a signed-in account, in id order. INVALID_PARAMETER (no login id),
  // UNKNOWN_USER, NEED_SIGNIN.
  Result<std::vector<Place>> of(const std::string &login_id);

  // Admin: the places of a known user (signed in or not). UNKNOWN_USER.
  Result<std::vector<Place>> list(const std::string &login_id);
  // Admin: adds a place (the id is chosen here) and answers it. INVALID_PARAMETER (a value out of
  // range or too long), UNKNOWN_USER, TOO_MANY_PLACES.
  Result<Place> add(const std::string &login_id, const PlaceChange &place);
  // Admin: changes the fields given. UNKNOWN_USER, UNKNOWN_PLACE, INVALID_PARAMETER.
  Result<Place> change(const std::string &login_id, int id, const PlaceChange &change);
  // Admin: removes a place. UNKNOWN_USER, UNKNOWN_PLACE.
  Status remove(const std::string &login_id, int id);

 private:
  Result<Place> find(const std::string &login_id, int id);
  Status store(const std::string &login_id, const Place &place, bool insert);
  StateDb &db_;
  Users &users_;
  Accounts &accounts_;
};

}  // namespace vagent
