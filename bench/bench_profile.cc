// SPDX-License-Identifier: Apache-2.0
// Velmora benchmarks: a whole profile asked of the agent (velmora_account_profile_request_info,
// every category full: 2 names, 2 birthdays, 50 items in each list category, every single
// category set) from the call to its callback, in each transport, next to that transport's floor
// measured in the same run; and the app-control reply's key parser next to a hash-map parse of
// the same keys.
//
// Rows, each run unpinned and pinned (this process, the agent and the echo peer on one CPU):
//
//   floor/<regime>/<transport>     a Unix stream socketpair between two processes carrying, in one
//                                  round trip, a request and an answer of the sizes that transport
//                                  sends (app control: the request's extras and the reply's keys as
//                                  the host encodes them; port: the request parcel and the answer
//                                  parcel the agent's codec makes of the full profile), echoed by a
//                                  child that does nothing else
//   profile/<regime>/<transport>   the request on a platform root, agent and client of its own
//                                  (made when the row starts, removed when it ends, so the order of
//                                  the rows does not matter); the agent's CPU time per request
//   parse/<regime>/keys            va_profile_parse_extra over every key and value of the agent's
//                                  reply (put_profile of the same full profile) into a new list
//   parse/<regime>/hash_map        the same keys looked up in a hash map made once of every key
//                                  the profile table allows, stored into a new list the same way
//
// Both parses are checked to give the same list before timing. After the runs a table prints every
// figure with its reference and the ratio. The numbers are whatever this machine measures: take
// them on a quiet machine.
//
//   bench_profile [--benchmark_filter=REGEX] [--benchmark_min_time=S]
//   VELMORA_AGENT_EXEC   the agent executable (default ../agent/velmora-agent next to this)
#include <benchmark/benchmark.h>
#include <glib.h>
#include <sched.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "account_record.h"
#include "agent_state.hh"
#include "app_control/profile_keys.hh"
#include "bench_common.hh"
#include "port/codec.hh"
#include "port/methods.hh"
#include "profile_internal.h"
#include "profile_record.h"
#include "rpc_port_parcel.h"
#include "token_rig.hh"
#include "velmora_account_profile.h"
#include "velmora_account_request_op.h"
#include "velmora_host.h"

namespace {

using vbench::die;
using vbench::now_ns;
using vbench::Regime;
using vbench::Transport;

constexpr int kWarmUp = 20;  // requests of a new client before it is timed

// ---- the full profile ----

// The text of field `f` of item `i` of `category`.
std::string field_value(int category, int i, int f) {
  return std::string(va_profile_category(category)->log_word) + "-" + std::to_string(i) + "-" +
         std::to_string(f);
}

// Every category at its limit, every field but "verified" set, sources ACCOUNT and PROFILE in
// turn, privacy 0, 1, 2 in turn.
vagent::ProfileChange full_profile() {
  vagent::ProfileChange change;
  for (int c = 0; c < vagent::kProfileCategories; ++c) {
    const va_profile_category_desc &d = *va_profile_category(c);
    std::vector<vagent::ProfileItem> &items = change.items[c];
    for (int i = 0; i < d.limit; ++i) {
      vagent::ProfileItem item = vagent::empty_profile_item(c);
      for (int f = 0; f + 1 < d.string_count; ++f) item.fields[f] = field_value(c, i, f);
      if (d.has_source) item.source = i % 2;
      items.push_back(item);
    }
    change.privacy[c] = c % 3;
  }
  return change;
}

void store_full_profile(const std::string &root) {
  auto opened = vagent::AgentState::open(root);
  if (!opened.ok()) die("agent state: " + opened.status().describe());
  const vagent::Status st = opened.value()->profiles().update(vbench::kLogin, full_profile());
  if (!st.ok()) die("storing the profile: " + st.describe());
}

// The app-control reply's keys and values for the full profile, as the agent writes them.
const vagent::appcontrol::Extras &reply_keys() {
  static const vagent::appcontrol::Extras keys = [] {
    vagent::UserProfile profile;
    for (const auto &[c, items] : full_profile().items) profile.categories[c].items = items;
    for (const auto &[c, privacy] : full_profile().privacy) profile.categories[c].privacy = privacy;
    vagent::appcontrol::Extras out;
    vagent::appcontrol::put_profile(&out, profile);
    return out;
  }();
  return keys;
}

// True when `list` holds the full profile: every category's count and privacy, every item's
// fields and source.
bool holds_full_profile(const velmora_account_profile_list_s *list) {
  const vagent::ProfileChange want = full_profile();
  for (int c = 0; c < vagent::kProfileCategories; ++c) {
    const va_profile_category_desc &d = *va_profile_category(c);
    if (list->count[c] != d.limit || list->privacy[c] != want.privacy.at(c)) return false;
    for (int i = 0; i < d.limit; ++i) {
      void *item = va_profile_list_get_item(list, c, i);
      if (!item) return false;
      for (int f = 0; f + 1 < d.string_count; ++f) {
        char **v = va_profile_item_str(item, c, f);
        if (!v || !*v || field_value(c, i, f) != *v) return false;
      }
      if (d.has_source && *va_profile_item_source(item, c) != i % 2) return false;
    }
  }
  return true;
}

// ---- the client ----

class ProfileClient {
 public:
  explicit ProfileClient(Transport transport) : handle_(transport, vbench::kPublicClient) {}

  // One request, from the call to its callback: true when the agent answered with a profile.
  // With `check`, also true only when the profile the response handle carries (its link) is the
  // full profile, field by field.
  bool request(bool check = false) {
    Outcome o;
    o.check = check;
    if (velmora_account_profile_request_info(handle_.get(), on_profile, &o) != 0) return false;
    while (!o.done) g_main_context_iteration(nullptr, TRUE);
    return o.result == 0 && o.ok;
  }

 private:
  struct Outcome {
    bool check = false;
    bool done = false;
    int result = -1;
    bool ok = false;
  };
  static void on_profile(int result, velmora_account_h account, void *user_data) {
    auto *o = static_cast<Outcome *>(user_data);
    o->result = result;
    o->ok = !o->check;
    if (o->check) o->ok = account->link != nullptr && holds_full_profile(account->link);
    velmora_account_destroy(account);
    o->done = true;
  }
  vbench::ClientHandle handle_;
};

// ---- the floor's frames ----

struct FrameSizes {
  size_t request = 0;
  size_t response = 0;
};

size_t parcel_size(rpc_port_parcel_h p) {
  const void *raw = nullptr;
  unsigned int size = 0;
  velmora_host_parcel_get_raw(p, &raw, &size);
  return size;
}

// An app control as the host encodes it: flags, app id, operation, the number of extras, then
// each key and value, every string after its 4-byte length.
size_t app_control_size(const std::string &app_id, const std::string &operation,
                        const vagent::appcontrol::Extras &extras) {
  size_t n = 1 + 4 + app_id.size() + 4 + operation.size() + 4;
  for (const auto &[key, value] : extras) n += 4 + key.size() + 4 + value.size();
  return n;
}

// The request and the answer of `t` as they go over the wire (the host's frame lengths aside):
// over app control the request's extras and the reply's keys; over the port the request parcel
// and the answer the agent's codec makes of the full profile (read from a state holding it).
FrameSizes measure_sizes(Transport t) {
  if (t == Transport::kAppControl) {
    const vagent::appcontrol::Extras request = {{"login_id", vbench::kLogin},
                                                {"client_id", vbench::kPublicClient},
                                                {"resource", "all"},
                                                {"request_to_server", "false"}};
    return FrameSizes{app_control_size(vagent::kAgentAppId, REQUEST_OP_PROFILE_GET, request),
                      app_control_size("", "", reply_keys())};
  }
  FrameSizes out;
  vagent::nidl::NidlRequest req;
  req.account = vagent::nidl::new_account();
  if (!req.account) die("out of memory");
  rpc_port_AccountS_set_LoginId(req.account.get(), vbench::kLogin);
  rpc_port_AccountS_set_ClientId(req.account.get(), vbench::kPublicClient);
  req.strings = {"all"};
  rpc_port_AccountSvc_ResponseProfileCb_h delegate =
      rpc_port_AccountSvc_ResponseProfileCb_create(nullptr, true, nullptr);
  rpc_port_parcel_h p = nullptr;
  rpc_port_parcel_create(&p);
  rpc_port_parcel_write_int32(p, 11);  // RequestProfileInfo
  rpc_port_parcel_write(p, reinterpret_cast<rpc_port_parcelable_t *>(req.account.get()),
                        req.account.get());
  rpc_port_parcel_write_string(p, "all");
  rpc_port_parcel_write(p, reinterpret_cast<rpc_port_parcelable_t *>(delegate), delegate);
  out.request = parcel_size(p);
  rpc_port_parcel_destroy(p);
  rpc_port_AccountSvc_ResponseProfileCb_destroy(delegate);

  vbench::Rig rig(vbench::RigOptions{});
  store_full_profile(rig.root());
  auto opened = vagent::AgentState::open(rig.root());
  if (!opened.ok()) die("agent state: " + opened.status().describe());
  const vagent::nidl::Answer answer = vagent::nidl::request_profile_info(*opened.value(), req);
  if (answer.push_result != 0 || !answer.push_profile) die("the agent core gave no profile");
  const vagent::nidl::Parcel pushed = vagent::nidl::callback_parcel(
      vagent::nidl::DelegateRef{vagent::nidl::kResponseProfileCb, 1, true}, 0, nullptr, nullptr,
      vagent::nidl::PushFaults{}, answer.push_profile.get());
  if (!pushed) die("out of memory");
  out.response = parcel_size(pushed.get());
  return out;
}

const FrameSizes &frame_sizes(Transport t) {
  static std::map<Transport, FrameSizes> sizes;
  auto it = sizes.find(t);
  if (it == sizes.end()) it = sizes.emplace(t, measure_sizes(t)).first;
  return it->second;
}

// ---- the hash-map parse ----

struct Target {
  enum Kind { kPrivacy, kCount, kField, kSource } kind;
  int category;
  int index;  // item (0-based)
  int field;
};

// Every key the profile table allows, once.
const std::unordered_map<std::string, Target> &key_map() {
  static const std::unordered_map<std::string, Target> map = [] {
    std::unordered_map<std::string, Target> m;
    for (int c = 0; c < vagent::kProfileCategories; ++c) {
      const va_profile_category_desc &d = *va_profile_category(c);
      const std::string resource = d.resource;
      m.emplace(resource, Target{Target::kPrivacy, c, 0, 0});
      m.emplace(resource + "_count", Target{Target::kCount, c, 0, 0});
      for (int i = 0; i < d.limit; ++i) {
        std::string head = resource;
        if (d.is_list) head.append("_").append(std::to_string(i + 1));
        head.append(":");
        for (int f = 0; f < d.string_count; ++f)
          m.emplace(head + d.wire_words[f], Target{Target::kField, c, i, f});
        if (d.has_source)
          m.emplace(head + VA_PROFILE_SOURCE_WORD, Target{Target::kSource, c, i, 0});
      }
    }
    return m;
  }();
  return map;
}

int parse_decimal(const char *text) { return static_cast<int>(strtol(text, nullptr, 10)); }

void hash_map_parse(velmora_account_profile_list_s *list, const char *key, const char *value) {
  const auto &map = key_map();
  auto it = map.find(key);
  if (it == map.end()) return;
  const Target &t = it->second;
  switch (t.kind) {
    case Target::kPrivacy:
      list->privacy[t.category] = parse_decimal(value);
      return;
    case Target::kCount:
      list->count[t.category] = parse_decimal(value);
      return;
    case Target::kField:
    case Target::kSource: {
      void *item = va_profile_list_item_at(list, t.category, t.index, nullptr);
      if (!item) return;
      if (list->count[t.category] <= t.index) list->count[t.category] = t.index + 1;
      if (t.kind == Target::kSource) {
        *va_profile_item_source(item, t.category) = strcmp(value, "ACCOUNT") == 0 ? 0 : 1;
        return;
      }
      char **dest = va_profile_item_str(item, t.category, t.field);
      free(*dest);
      *dest = strdup(value);
      return;
    }
  }
}

using Parser = void (*)(velmora_account_profile_list_s *, const char *, const char *);

void key_parse(velmora_account_profile_list_s *list, const char *key, const char *value) {
  va_profile_parse_extra(list, key, value);
}

// Parses every reply key into a new list; true when it holds the full profile (with `check`).
bool parse_reply(Parser parse, bool check) {
  velmora_account_profile_list_s *list = va_profile_list_new();
  if (!list) return false;
  for (const auto &[key, value] : reply_keys()) parse(list, key.c_str(), value.c_str());
  const bool ok = !check || holds_full_profile(list);
  va_profile_list_release(list);
  return ok;
}

// ---- rows ----

enum class Kind { kFloor, kRequest, kParseKeys, kParseHashMap };

struct Row {
  std::string name;
  Regime regime = Regime::kUnpinned;
  Kind kind = Kind::kRequest;
  Transport transport = Transport::kAppControl;
};

std::string transport_slug(Transport t) { return t == Transport::kPort ? "port" : "app_control"; }

struct Result {
  vbench::Samples samples;
  double agent_cpu_us = -1;  // per request
};

std::map<std::string, Result> &results() {
  static std::map<std::string, Result> r;
  return r;
}

// The row being run: its rig, client and echo peer, made when the row's first run starts and torn
// down when another row starts, and at the end.
using Current = vbench::RowRun<ProfileClient>;

Current &start(const Row &row) {
  Current &c = Current::current();
  if (row.kind == Kind::kFloor) frame_sizes(row.transport);  // before any regime is entered
  if (!c.begin(row.name, row.regime)) return c;
  if (row.kind == Kind::kFloor) {
    const FrameSizes &sizes = frame_sizes(row.transport);
    c.start_floor(sizes.request, sizes.response);
    return c;
  }
  if (row.kind != Kind::kRequest) {
    const Parser parse = row.kind == Kind::kParseKeys ? key_parse : hash_map_parse;
    if (!parse_reply(parse, true)) die(row.name + ": the parse does not give the full profile");
    return c;
  }
  c.rig = std::make_unique<vbench::Rig>(vbench::RigOptions{});
  store_full_profile(c.rig->root());
  // The first request launches the agent, in this row's regime.
  c.client = std::make_unique<ProfileClient>(row.transport);
  if (!c.client->request(true)) die(row.name + ": the answer is not the full profile");
  for (int i = 0; i < kWarmUp; ++i)
    if (!c.client->request()) die(row.name + ": no profile");
  c.check_agent_affinity();
  return c;
}

void run_row(benchmark::State &state, const Row *row) {
  Current &c = start(*row);
  Result &r = results()[row->name];
  r.samples.clear();
  const std::vector<unsigned char> req = row->kind == Kind::kFloor
                                             ? vbench::frame(frame_sizes(row->transport).request)
                                             : std::vector<unsigned char>{};
  std::vector<unsigned char> in;
  const int64_t cpu0 = c.rig ? c.rig->agent_cpu_ns() : -1;
  for (auto _ : state) {
    const int64_t t0 = now_ns();
    bool ok = false;
    switch (row->kind) {
      case Kind::kFloor:
        ok = vbench::echo_once(c.echo, req, &in);
        break;
      case Kind::kRequest:
        ok = c.client->request();
        break;
      case Kind::kParseKeys:
        ok = parse_reply(key_parse, false);
        break;
      case Kind::kParseHashMap:
        ok = parse_reply(hash_map_parse, false);
        break;
    }
    r.samples.add(now_ns() - t0);
    if (!ok) {
      state.SkipWithError("the row failed");
      break;
    }
  }
  const int64_t cpu1 = c.rig ? c.rig->agent_cpu_ns() : -1;
  if (cpu0 >= 0 && cpu1 >= cpu0 && r.samples.size() > 0)
    r.agent_cpu_us = static_cast<double>(cpu1 - cpu0) / 1000.0 / r.samples.size();
  state.counters["median_us"] = r.samples.median();
  state.counters["p99_us"] = r.samples.percentile(99);
  if (r.agent_cpu_us >= 0) state.counters["agent_cpu_us"] = r.agent_cpu_us;
}

void register_rows() {
  static std::vector<Row> rows;  // the benchmarks point at them
  for (Regime regime : {Regime::kUnpinned, Regime::kPinned}) {
    const std::string reg = vbench::regime_name(regime);
    for (Transport t : {Transport::kAppControl, Transport::kPort}) {
      rows.push_back(Row{"floor/" + reg + "/" + transport_slug(t), regime, Kind::kFloor, t});
      rows.push_back(Row{"profile/" + reg + "/" + transport_slug(t), regime, Kind::kRequest, t});
    }
    rows.push_back(Row{"parse/" + reg + "/keys", regime, Kind::kParseKeys});
    rows.push_back(Row{"parse/" + reg + "/hash_map", regime, Kind::kParseHashMap});
  }
  for (const Row &row : rows)
    benchmark::RegisterBenchmark(row.name.c_str(), run_row, &row)->Unit(benchmark::kMicrosecond);
}

// ---- the table ----

// The figure a regime is judged by: the median unpinned, the mean pinned (as bench_tokens).
double figure(const Result &r, Regime regime) {
  return regime == Regime::kPinned ? r.samples.mean() : r.samples.median();
}

const Result *find(const std::string &name) {
  auto it = results().find(name);
  return it == results().end() || it->second.samples.size() == 0 ? nullptr : &it->second;
}

void print_line(Regime regime, const std::string &label, const Result &r, const Result *ref) {
  char ratio[32] = "-";
  if (ref && figure(*ref, regime) > 0)
    snprintf(ratio, sizeof ratio, "%.2f", figure(r, regime) / figure(*ref, regime));
  char cpu[32] = "-";
  if (r.agent_cpu_us >= 0) snprintf(cpu, sizeof cpu, "%.1f", r.agent_cpu_us);
  printf("%-9s %-40s %9.1f %9.1f %9.1f %9s %8s\n", vbench::regime_name(regime), label.c_str(),
         r.samples.median(), r.samples.mean(), r.samples.percentile(99), cpu, ratio);
}

void print_table() {
  printf("\nThe whole profile (%zu reply keys), call to callback, each on its own platform root,\n",
         reply_keys().size());
  printf("agent and client, against the floor of the same transport and regime; the key parser\n");
  printf(
      "against a hash map. Judged by the median unpinned and the mean pinned. Microseconds.\n\n");
  printf("%-9s %-40s %9s %9s %9s %9s %8s\n", "regime", "row", "median", "mean", "p99", "agent cpu",
         "x ref");
  for (Regime regime : {Regime::kUnpinned, Regime::kPinned}) {
    const std::string reg = vbench::regime_name(regime);
    for (Transport t : {Transport::kAppControl, Transport::kPort}) {
      const Result *floor = find("floor/" + reg + "/" + transport_slug(t));
      const Result *request = find("profile/" + reg + "/" + transport_slug(t));
      if (floor) {
        const FrameSizes &s = frame_sizes(t);
        print_line(regime,
                   std::string("floor, ") + vbench::transport_name(t) + " (" +
                       std::to_string(s.request) + " B / " + std::to_string(s.response) + " B)",
                   *floor, nullptr);
      }
      if (request)
        print_line(regime, std::string("profile, ") + vbench::transport_name(t), *request, floor);
    }
    const Result *hash_map = find("parse/" + reg + "/hash_map");
    const Result *keys = find("parse/" + reg + "/keys");
    if (hash_map) print_line(regime, "reply keys, hash-map parse", *hash_map, nullptr);
    if (keys) print_line(regime, "reply keys, the library's parser", *keys, hash_map);
  }
  printf("(floor frames: request / answer bytes of that transport, frame lengths aside)\n");
}

}  // namespace

int main(int argc, char **argv) {
  // The library logs every call at info; printing them would measure the terminal.
  setenv("VELMORA_LOG_LEVEL", "silent", 0);
  return vbench::run_rig_benchmarks(
      argc, argv, "velmora-bench-profile-XXXXXX", register_rows,
      [] { Current::current().tear_down(); }, print_table);
}
