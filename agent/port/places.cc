// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the AccountSvc method of the saved places (RequestPlaceInfo).
//
// The places travel as one PlaceInfoS: `size` is their number and PlaceList holds a PlaceS each,
// in id order. A number or coordinate the place does not have is sent as 200 / 200.0, the values
// the library reads as "not given"; an absent text is left unset.
#include <utility>

#include "port/answers.hh"
#include "port/methods.hh"

namespace vagent::nidl {

namespace {

constexpr int kNotGiven = 200;
constexpr double kNotGivenCoordinate = 200.0;

using PlaceSetter = int (*)(rpc_port_PlaceS_h, const char *);

void put_text(rpc_port_PlaceS_h h, PlaceSetter set, const std::string &value) {
  if (!value.empty()) set(h, value.c_str());
}

// One PlaceS, added to `info` (which keeps a copy).
bool add_place(rpc_port_PlaceInfoS_h info, const Place &p) {
  rpc_port_PlaceS_h h = nullptr;
  if (rpc_port_PlaceS_create(&h) != 0) return false;
  put_text(h, rpc_port_PlaceS_set_Name, p.name);
  put_text(h, rpc_port_PlaceS_set_Address, p.address);
  put_text(h, rpc_port_PlaceS_set_WifiName, p.wifi_name);
  put_text(h, rpc_port_PlaceS_set_WifiBssid, p.wifi_bssid);
  put_text(h, rpc_port_PlaceS_set_BtName, p.bt_name);
  put_text(h, rpc_port_PlaceS_set_BtAddress, p.bt_address);
  rpc_port_PlaceS_set_Category(h, p.category.value_or(kNotGiven));
  rpc_port_PlaceS_set_Type(h, p.type.value_or(kNotGiven));
  rpc_port_PlaceS_set_LocationSource(h, p.location_source.value_or(kNotGiven));
  rpc_port_PlaceS_set_Latitude(h, p.latitude.value_or(kNotGivenCoordinate));
  rpc_port_PlaceS_set_Longitude(h, p.longitude.value_or(kNotGivenCoordinate));
  const bool added = rpc_port_PlaceInfoS_add_PlaceList(info, h) == 0;
  rpc_port_PlaceS_destroy(h);
  return added;
}

}  // namespace

Answer request_place_info(AgentState &state, const NidlRequest &req) {
  Result<std::vector<Place>> places = state.places().of(req.field(rpc_port_AccountS_get_LoginId));
  if (!places.ok()) return pushed(places.code());
  rpc_port_PlaceInfoS_h info = nullptr;
  if (rpc_port_PlaceInfoS_create(&info) != 0) return pushed(errc::kOutOfMemory);
  PlaceInfo owned(info);
  for (const Place &p : places.value())
    if (!add_place(info, p)) return pushed(errc::kOutOfMemory);
  rpc_port_PlaceInfoS_set_size(info, static_cast<int>(places->size()));
  Answer a = pushed(errc::kNone);
  a.push_places = std::move(owned);
  return a;
}

}  // namespace vagent::nidl
