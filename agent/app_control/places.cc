// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the app-control operation of the saved places (REQUEST_OP_PLACE_GET).
//
// The reply numbers the places from 1 and carries each field as "<field>_<number>": "name_1",
// "address_1", "category_1", "type_1", "locationType_1" (the location source), "latitude_1",
// "longitude_1", "wifiName_1", "wifiBSSID_1", "bluetoothName_1", "bluetoothMacAddress_1". A field
// the place does not have is left out.
#include <charconv>
#include <cstdio>

#include "app_control/operations.hh"
#include "velmora_account_request_op.h"

namespace vagent::appcontrol {

namespace {

std::string coordinate(double v) {
  char text[64];
  *std::to_chars(text, text + sizeof text - 1, v).ptr = '\0';  // shortest exact text
  return text;
}

void put_number(Extras *e, const std::string &key, const std::optional<int> &v) {
  if (v) e->emplace_back(key, std::to_string(*v));
}

void put_coordinate(Extras *e, const std::string &key, const std::optional<double> &v) {
  if (v) e->emplace_back(key, coordinate(*v));
}

Answer place_list(AgentState &state, const Request &req) {
  Result<std::vector<Place>> places = state.places().of(req.extra("login_id"));
  if (!places.ok()) return failure(places.code());
  Answer a;
  int n = 0;
  for (const Place &p : places.value()) {
    const std::string at = "_" + std::to_string(++n);
    put(&a.extras, ("name" + at).c_str(), p.name);
    put(&a.extras, ("address" + at).c_str(), p.address);
    put_number(&a.extras, "category" + at, p.category);
    put_number(&a.extras, "type" + at, p.type);
    put_number(&a.extras, "locationType" + at, p.location_source);
    put_coordinate(&a.extras, "latitude" + at, p.latitude);
    put_coordinate(&a.extras, "longitude" + at, p.longitude);
    put(&a.extras, ("wifiName" + at).c_str(), p.wifi_name);
    put(&a.extras, ("wifiBSSID" + at).c_str(), p.wifi_bssid);
    put(&a.extras, ("bluetoothName" + at).c_str(), p.bt_name);
    put(&a.extras, ("bluetoothMacAddress" + at).c_str(), p.bt_address);
  }
  return a;
}

}  // namespace

const std::vector<Operation> &place_operations() {
  static const std::vector<Operation> table = {
      {&REQUEST_OP_PLACE_GET, "getuserplacelist", place_list},
  };
  return table;
}

}  // namespace vagent::appcontrol
