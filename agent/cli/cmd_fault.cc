// SPDX-License-Identifier: Apache-2.0
// velmora-agent fault: sets, clears and lists the injected faults of the platform root.
#include <cstdio>
#include <utility>

#include "admin.hh"
#include "app_control/operations.hh"
#include "cli/agent_cli.hh"
#include "faults.hh"
#include "port/methods.hh"
#include "velmora_host.h"

namespace vagent::cli {

namespace {

// The groups of faults.conf the agent reads: every AccountSvc method, every app-control
// operation, the two servers (reject_connection) and "*" for all of them.
std::vector<std::string> fault_groups() {
  std::vector<std::string> groups = {"*", "AccountSvc", "AppControl"};
  for (const nidl::Method &m : nidl::methods()) groups.push_back(m.name);
  for (const appcontrol::Operation &o : appcontrol::app_control_operations())
    groups.push_back(o.fault_name);
  return groups;
}

// A usage error for an operation the agent never reads faults for, with the ones it does.
bool refuse_unknown_operation(const std::string &operation, int *status) {
  const std::vector<std::string> groups = fault_groups();
  for (const std::string &g : groups)
    if (g == operation) return false;
  std::string known;
  for (const std::string &g : groups) known += " " + g;
  *status = usage_error("no operation is called '" + operation + "'; the operations are:" + known);
  return true;
}

// The faults of one operation as a JSON object: numbers and flags by key.
void add_settings(JsonReply &json, const Fault &fault) {
  json.begin_object("settings");
  for (const Fault::Setting &s : fault.settings())
    s.is_flag ? json.boolean(s.key, true) : json.integer(s.key, s.value);
  json.end_object();
}

int print_faults(const std::string &root) {
  const std::vector<std::pair<std::string, Fault>> faults = list_faults(root);
  if (options().json) {
    JsonReply json;
    json.begin_array("faults");
    for (const auto &[operation, fault] : faults) {
      json.begin_object(nullptr).str("operation", operation);
      add_settings(json, fault);
      json.end_object();
    }
    json.end_array().print();
  } else if (faults.empty()) {
    printf("no fault is set\n");
  }
  for (const auto &f : faults)
    if (!options().json) printf("[%s] %s\n", f.first.c_str(), f.second.describe().c_str());
  return kExitOk;
}

int set(const std::string &root, const Args &args) {
  if (args.size() < 3) return usage_error("fault set <operation|*> KEY=VALUE...");
  int status = 0;
  if (refuse_unknown_operation(args[1], &status)) return status;
  std::vector<std::pair<std::string, std::string>> settings;
  for (size_t i = 2; i < args.size(); ++i) {
    std::pair<std::string, std::string> kv;
    if (!split_setting(args[i], &kv)) return usage_error("'" + args[i] + "' is not KEY=VALUE");
    settings.push_back(kv);
  }
  Status st = set_faults(root, args[1], settings);
  if (st.code == errc::kUnknownFaultKey || st.code == errc::kInvalidParameter) {
    std::string keys;
    for (const std::string &k : fault_keys()) keys += " " + k;
    return usage_error(st.message + "; the fault keys are:" + keys);
  }
  if (!st.ok()) return failed(st);
  if (options().json) {
    JsonReply json;
    json.str("operation", args[1]);
    add_settings(json, faults_for(root, args[1]));
    json.print();
  }
  return kExitOk;
}

int clear(const std::string &root, const Args &args) {
  if (args.size() > 2) return usage_error("fault clear [operation|*]");
  int status = 0;
  if (args.size() == 2 && refuse_unknown_operation(args[1], &status)) return status;
  Status st = args.size() == 2 ? clear_faults(root, args[1]) : clear_faults(root);
  if (st.code == errc::kInvalidParameter) return usage_error(st.message);
  if (!st.ok()) return failed(st);
  if (options().json) {
    JsonReply json;
    if (args.size() == 2)
      json.str("cleared", args[1]);
    else
      json.str("cleared", "all");
    json.print();
  }
  return kExitOk;
}

}  // namespace

int run_fault(const Args &args) {
  const std::string root = velmora_host_root();
  const std::string &verb = args[0];
  if (verb == "set") return set(root, args);
  if (verb == "clear") return clear(root, args);
  if (verb == "keys") {
    if (args.size() != 1) return usage_error("fault keys takes no arguments");
    if (options().json) {
      JsonReply json;
      json.begin_array("keys");
      for (const std::string &k : fault_keys()) json.add_str(k);
      json.end_array().print();
    } else {
      for (const std::string &k : fault_keys()) printf("%s\n", k.c_str());
    }
    return kExitOk;
  }
  if (verb == "list") {
    if (args.size() != 1) return usage_error("fault list takes no arguments");
    return print_faults(root);
  }
  return usage_error("unknown fault command '" + verb + "' (set, clear, list or keys)");
}

}  // namespace vagent::cli
