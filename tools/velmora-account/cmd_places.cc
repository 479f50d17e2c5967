// SPDX-License-Identifier: Apache-2.0
// velmora-account places: the saved places of --login-id (velmora_account_place_request_info),
// in either transport. Places are added, changed and removed by the agent's administrator
// (velmora-agent places add|change|remove).
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "account_cli.hh"
#include "json_out.hh"
#include "velmora_account_place.h"

namespace vacc {

namespace {

struct Place {
  bool empty = true;  // a position the reply did not fill
  std::string name, address, wifi_name, wifi_bssid, bt_name, bt_address;
  int category = 0, type = 0, source = 0;
  double latitude = 0, longitude = 0;
};

struct PlacesAnswer : Reply {
  std::vector<Place> places;
};

std::string take(char *s) {
  std::string out = s ? s : "";
  free(s);
  return out;
}

// The shortest text that reads back to the same coordinate.
std::string coordinate(double v) {
  char text[64];
  *std::to_chars(text, text + sizeof text - 1, v).ptr = '\0';
  return text;
}

bool on_place(velmora_account_place_h place, void *user_data) {
  Place p;
  if (place) {
    p.empty = false;
    char *name = nullptr, *address = nullptr, *wn = nullptr, *wb = nullptr, *bn = nullptr,
         *ba = nullptr;
    velmora_account_place_get_place(place, &name, &address, &p.category);
    velmora_account_place_get_location(place, &p.type, &p.source, &p.latitude, &p.longitude);
    velmora_account_place_get_network(place, &wn, &wb, &bn, &ba);
    p.name = take(name);
    p.address = take(address);
    p.wifi_name = take(wn);
    p.wifi_bssid = take(wb);
    p.bt_name = take(bn);
    p.bt_address = take(ba);
  }
  static_cast<PlacesAnswer *>(user_data)->places.push_back(p);
  return true;
}

void on_places(int result, velmora_account_h account, velmora_account_place_list_h list,
               void *user_data) {
  auto *a = static_cast<PlacesAnswer *>(user_data);
  a->result = result;
  if (list) {
    velmora_account_place_list_foreach(list, on_place, a);  // NO_DATA: no places
    velmora_account_place_list_destroy(list);
  }
  if (account) velmora_account_destroy(account);
  finish(&a->wait);
}

void print_json(const std::vector<Place> &places) {
  vcli::JsonOut out;
  out.str("operation", "places").integer("result", 0).begin_array("places");
  for (const Place &p : places) {
    out.begin_object(nullptr);
    if (!p.empty) {
      out.str("name", p.name).str("address", p.address).integer("category", p.category);
      out.integer("type", p.type).integer("location_source", p.source);
      out.real("latitude", p.latitude).real("longitude", p.longitude);
      out.str("wifi_name", p.wifi_name).str("wifi_bssid", p.wifi_bssid);
      out.str("bt_name", p.bt_name).str("bt_address", p.bt_address);
    }
    out.end_object();
  }
  out.end_array().print();
}

void print_text(const std::vector<Place> &places) {
  if (places.empty()) printf("no saved places\n");
  int n = 0;
  for (const Place &p : places) {
    ++n;
    if (p.empty) {
      printf("%d: (empty)\n", n);
      continue;
    }
    printf("%d: %s%s\n   category %d, type %d, source %d, at %s, %s\n", n, p.name.c_str(),
           p.address.empty() ? "" : (" (" + p.address + ")").c_str(), p.category, p.type, p.source,
           coordinate(p.latitude).c_str(), coordinate(p.longitude).c_str());
    if (!p.wifi_name.empty() || !p.wifi_bssid.empty())
      printf("   wifi %s %s\n", p.wifi_name.c_str(), p.wifi_bssid.c_str());
    if (!p.bt_name.empty() || !p.bt_address.empty())
      printf("   bluetooth %s %s\n", p.bt_name.c_str(), p.bt_address.c_str());
  }
}

}  // namespace

int cmd_places(const Args &) {
  velmora_account_h h = nullptr;
  int status = open_handle("places", &h);
  if (status != vcli::kExitOk) return status;
  PlacesAnswer answer;
  int result = 0;
  status = await_reply("places", h, velmora_account_place_request_info(h, on_places, &answer),
                       &answer, &result);
  if (status != vcli::kExitOk) return status;
  if (result != VELMORA_ACCOUNT_ERROR_NONE) return print_failure("places", result);
  if (options().json)
    print_json(answer.places);
  else
    print_text(answer.places);
  return vcli::kExitOk;
}

}  // namespace vacc
