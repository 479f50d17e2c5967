// velmora-agent places: the saved places of a user (list, add, change, remove).
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "cli/cli.hh"

namespace vagent::cli {

namespace {

constexpr const char *kUsage =
    "usage: places list --login-id L\n"
    "       places add --login-id L [place fields]\n"
    "       places change --login-id L --id N [place fields]\n"
    "       places remove --login-id L --id N";

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

// The place fields as options: text fields, then numbers, then coordinates.
struct TextField {
  const char *option;
  std::optional<std::string> PlaceChange::*member;
};
const TextField kTextFields[] = {
    {"name", &PlaceChange::name},           {"address", &PlaceChange::address},
    {"wifi-name", &PlaceChange::wifi_name}, {"wifi-bssid", &PlaceChange::wifi_bssid},
    {"bt-name", &PlaceChange::bt_name},     {"bt-address", &PlaceChange::bt_address},
};
struct IntField {
  const char *option;
  std::optional<int> PlaceChange::*member;
};
const IntField kIntFields[] = {
    {"category", &PlaceChange::category},
    {"type", &PlaceChange::type},
    {"location-source", &PlaceChange::location_source},
};
struct CoordinateField {
  const char *option;
  std::optional<double> PlaceChange::*member;
};
const CoordinateField kCoordinateFields[] = {
    {"latitude", &PlaceChange::latitude},
    {"longitude", &PlaceChange::longitude},
};

std::vector<Options::OptionDef> option_defs() {
  std::vector<Options::OptionDef> defs = {{"login-id", true, false}, {"id", true, false}};
  for (const TextField &f : kTextFields) defs.push_back({f.option, true, false});
  for (const IntField &f : kIntFields) defs.push_back({f.option, true, false});
  for (const CoordinateField &f : kCoordinateFields) defs.push_back({f.option, true, false});
  return defs;
}

bool read_change(const Options &o, PlaceChange *c, std::string *error) {
  for (const TextField &f : kTextFields)
    if (o.has(f.option)) c->*f.member = o.get(f.option);
  for (const IntField &f : kIntFields) {
    int v = 0;
    if (!o.has(f.option)) continue;
    if (!parse_int(o.get(f.option), &v)) {
      *error = std::string("--") + f.option + " needs a whole number";
      return false;
    }
    c->*f.member = v;
  }
  for (const CoordinateField &f : kCoordinateFields) {
    double v = 0;
    if (!o.has(f.option)) continue;
    if (!parse_double(o.get(f.option), &v)) {
      *error = std::string("--") + f.option + " needs a number";
      return false;
    }
    c->*f.member = v;
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

}  // namespace

int cmd_places(const Args &args) {
  if (args.empty()) return usage_error(kUsage);
  const std::string verb = args[0];
  Options o(option_defs());
  std::string error;
  if (!o.parse(Args(args.begin() + 1, args.end()), &error)) return usage_error(error);
  if (!o.has("login-id") || !o.positional().empty()) return usage_error(kUsage);
  const bool needs_id = verb == "change" || verb == "remove";
  if (needs_id != o.has("id")) return usage_error(kUsage);
  int id = 0;
  if (needs_id && !parse_int(o.get("id"), &id)) return usage_error("--id needs a place number");
  PlaceChange change;
  if (!read_change(o, &change, &error)) return usage_error(error);
  const bool has_fields = o.has("name") || o.has("address") || o.has("wifi-name") ||
                          o.has("wifi-bssid") || o.has("bt-name") || o.has("bt-address") ||
                          o.has("category") || o.has("type") || o.has("location-source") ||
                          o.has("latitude") || o.has("longitude");
  if ((verb == "list" || verb == "remove") && has_fields) return usage_error(kUsage);

  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  Places &places = state.value()->places();
  const std::string login_id = o.get("login-id");
  if (verb == "list") {
    Result<std::vector<Place>> all = places.list(login_id);
    if (!all.ok()) return failed(all.status());
    for (const Place &p : all.value()) print_place(p);
    return 0;
  }
  if (verb == "add" || verb == "change") {
    Result<Place> p =
        verb == "add" ? places.add(login_id, change) : places.change(login_id, id, change);
    if (!p.ok()) return failed(p.status());
    print_place(p.value());
    return 0;
  }
  if (verb == "remove") {
    Status st = places.remove(login_id, id);
    if (!st.ok()) return failed(st);
    printf("removed place %d of %s\n", id, login_id.c_str());
    return 0;
  }
  return usage_error("unknown places command '" + verb + "'");
}

}  // namespace vagent::cli
