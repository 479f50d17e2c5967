// SPDX-License-Identifier: Apache-2.0
// velmora-agent places: the saved places of a user (list, add, change, remove).
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "cli/agent_cli.hh"

namespace vagent::cli {

namespace {

bool parse_int(const std::string &text, int *out) {
  char *end = nullptr;
  errno = 0;
  const long v = strtol(text.c_str(), &end, 10);
  if (text.empty() || *end || errno || v < INT_MIN || v > INT_MAX) return false;
  *out = static_cast<int>(v);
  return true;
}

bool parse_double(const std::string &text, double *out) {
  char *end = nullptr;
  errno = 0;
  const double v = strtod(text.c_str(), &end);
  if (text.empty() || *end || errno) return false;
  *out = v;
  return true;
}

// The place fields as options: text fields, then numbers, then coordinates. `key` names the field
// in the text and JSON output.
struct TextField {
  const char *key;
  gchar *Options::*option;
  std::optional<std::string> PlaceChange::*change;
  std::string Place::*place;
};
const TextField kTextFields[] = {
    {"name", &Options::name, &PlaceChange::name, &Place::name},
    {"address", &Options::address, &PlaceChange::address, &Place::address},
    {"wifi_name", &Options::wifi_name, &PlaceChange::wifi_name, &Place::wifi_name},
    {"wifi_bssid", &Options::wifi_bssid, &PlaceChange::wifi_bssid, &Place::wifi_bssid},
    {"bt_name", &Options::bt_name, &PlaceChange::bt_name, &Place::bt_name},
    {"bt_address", &Options::bt_address, &PlaceChange::bt_address, &Place::bt_address},
};
struct IntField {
  const char *key;
  gchar *Options::*option;
  std::optional<int> PlaceChange::*change;
  std::optional<int> Place::*place;
};
const IntField kIntFields[] = {
    {"category", &Options::category, &PlaceChange::category, &Place::category},
    {"type", &Options::type, &PlaceChange::type, &Place::type},
    {"location_source", &Options::location_source, &PlaceChange::location_source,
     &Place::location_source},
};
struct CoordinateField {
  const char *key;
  gchar *Options::*option;
  std::optional<double> PlaceChange::*change;
  std::optional<double> Place::*place;
};
const CoordinateField kCoordinateFields[] = {
    {"latitude", &Options::latitude, &PlaceChange::latitude, &Place::latitude},
    {"longitude", &Options::longitude, &PlaceChange::longitude, &Place::longitude},
};

// "--location-source" for the key "location_source".
std::string option_name(const char *key) {
  std::string name = std::string("--") + key;
  for (char &c : name)
    if (c == '_') c = '-';
  return name;
}

// The fields given on the command line. False with *status after a usage error.
bool read_change(PlaceChange *c, bool *any, int *status) {
  const Options &o = options();
  *any = false;
  for (const TextField &f : kTextFields)
    if (o.*f.option) {
      c->*f.change = std::string(o.*f.option);
      *any = true;
    }
  for (const IntField &f : kIntFields) {
    int v = 0;
    if (!(o.*f.option)) continue;
    if (!parse_int(o.*f.option, &v)) {
      *status = usage_error(option_name(f.key) + " needs a whole number");
      return false;
    }
    c->*f.change = v;
    *any = true;
  }
  for (const CoordinateField &f : kCoordinateFields) {
    double v = 0;
    if (!(o.*f.option)) continue;
    if (!parse_double(o.*f.option, &v)) {
      *status = usage_error(option_name(f.key) + " needs a number");
      return false;
    }
    c->*f.change = v;
    *any = true;
  }
  return true;
}

std::string optional_text(const std::optional<int> &v) { return v ? std::to_string(*v) : "-"; }
std::string optional_text(const std::optional<double> &v) {
  if (!v) return "-";
  char text[64];
  *std::to_chars(text, text + sizeof text - 1, *v).ptr = '\0';  // shortest exact text
  return text;
}

void print_place(const Place &p) {
  printf(
      "%d\tname=%s\taddress=%s\tcategory=%s\ttype=%s\tlocation_source=%s\tlatitude=%s"
      "\tlongitude=%s\twifi=%s/%s\tbt=%s/%s\n",
      p.id, p.name.c_str(), p.address.c_str(), optional_text(p.category).c_str(),
      optional_text(p.type).c_str(), optional_text(p.location_source).c_str(),
      optional_text(p.latitude).c_str(), optional_text(p.longitude).c_str(), p.wifi_name.c_str(),
      p.wifi_bssid.c_str(), p.bt_name.c_str(), p.bt_address.c_str());
}

// A place as a JSON object (inside an array when `name` is nullptr); a field not set is null.
void add_place(JsonReply &json, const char *name, const Place &p) {
  json.begin_object(name).integer("id", p.id);
  for (const TextField &f : kTextFields) json.str(f.key, p.*f.place);
  for (const IntField &f : kIntFields)
    (p.*f.place) ? json.integer(f.key, *(p.*f.place)) : json.null(f.key);
  for (const CoordinateField &f : kCoordinateFields)
    (p.*f.place) ? json.real(f.key, *(p.*f.place)) : json.null(f.key);
  json.end_object();
}

int list(Places &places, const std::string &login_id) {
  Result<std::vector<Place>> all = places.list(login_id);
  if (!all.ok()) return failed(all.status());
  if (options().json) {
    JsonReply json;
    json.str("login_id", login_id).begin_array("places");
    for (const Place &p : all.value()) add_place(json, nullptr, p);
    json.end_array().print();
    return kExitOk;
  }
  if (all->empty()) printf("no places saved for %s\n", login_id.c_str());
  for (const Place &p : all.value()) print_place(p);
  return kExitOk;
}

}  // namespace

int run_places(const Args &args) {
  const Options &o = options();
  const std::string verb = args[0];
  if (verb != "list" && verb != "add" && verb != "change" && verb != "remove")
    return usage_error("no places command is called '" + verb +
                       "'; they are list, add, change and remove");
  if (!o.login_id) return usage_error("places " + verb + " needs --login-id");
  const bool needs_id = verb == "change" || verb == "remove";
  if (needs_id != (o.id != nullptr))
    return usage_error(needs_id ? "places " + verb + " needs --id N"
                                : "places " + verb + " takes no --id");
  int id = 0;
  if (needs_id && !parse_int(o.id, &id)) return usage_error("--id needs a place number");
  PlaceChange change;
  bool has_fields = false;
  int status = 0;
  if (!read_change(&change, &has_fields, &status)) return status;
  if ((verb == "list" || verb == "remove") && has_fields)
    return usage_error("places " + verb + " takes no place fields");

  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  Places &places = state.value()->places();
  const std::string login_id = o.login_id;
  if (verb == "list") return list(places, login_id);
  if (verb == "remove") {
    Status st = places.remove(login_id, id);
    if (!st.ok()) return failed(st);
    if (o.json)
      JsonReply().str("login_id", login_id).integer("removed", id).print();
    else
      printf("removed place %d of %s\n", id, login_id.c_str());
    return kExitOk;
  }
  Result<Place> p =
      verb == "add" ? places.add(login_id, change) : places.change(login_id, id, change);
  if (!p.ok()) return failed(p.status());
  if (o.json) {
    JsonReply json;
    json.str("login_id", login_id);
    add_place(json, "place", p.value());
    json.print();
  } else {
    print_place(p.value());
  }
  return kExitOk;
}

}  // namespace vagent::cli
