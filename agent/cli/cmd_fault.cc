// velmora-agent fault: sets, clears and lists the injected faults of the platform root.
#include <cstdio>
#include <utility>

#include "admin.hh"
#include "app_control/operations.hh"
#include "cli/cli.hh"
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
  fprintf(stderr, "velmora-agent: no operation is called '%s'; the operations are:%s\n",
          operation.c_str(), known.c_str());
  *status = kExitUsage;
  return true;
}

}  // namespace

int cmd_fault(const Args &args) {
  const std::string root = velmora_host_root();
  if (args.empty()) return usage_error("usage: fault set|clear|list|keys ...");
  const std::string &verb = args[0];
  if (verb == "set") {
    if (args.size() < 3) return usage_error("usage: fault set <operation|*> key=value...");
    int status = 0;
    if (refuse_unknown_operation(args[1], &status)) return status;
    std::vector<std::pair<std::string, std::string>> settings;
    for (size_t i = 2; i < args.size(); ++i) {
      std::pair<std::string, std::string> kv;
      if (!split_setting(args[i], &kv)) return usage_error("'" + args[i] + "' is not key=value");
      settings.push_back(kv);
    }
    Status st = set_faults(root, args[1], settings);
    if (st.code == errc::kUnknownFaultKey || st.code == errc::kInvalidParameter) {
      std::string keys;
      for (const std::string &k : fault_keys()) keys += " " + k;
      fprintf(stderr, "velmora-agent: %s\nfault keys:%s\n", st.message.c_str(), keys.c_str());
      return kExitUsage;
    }
    if (!st.ok()) return failed(st);
    return 0;
  }
  if (verb == "clear") {
    if (args.size() > 2) return usage_error("usage: fault clear [operation|*]");
    int status = 0;
    if (args.size() == 2 && refuse_unknown_operation(args[1], &status)) return status;
    Status st = args.size() == 2 ? clear_faults(root, args[1]) : clear_faults(root);
    if (st.code == errc::kInvalidParameter) return usage_error(st.message);
    if (!st.ok()) return failed(st);
    return 0;
  }
  if (verb == "keys") {
    if (args.size() != 1) return usage_error("usage: fault keys");
    for (const std::string &k : fault_keys()) printf("%s\n", k.c_str());
    return 0;
  }
  if (verb == "list") {
    if (args.size() != 1) return usage_error("usage: fault list");
    for (const auto &f : list_faults(root))
      printf("[%s] %s\n", f.first.c_str(), f.second.describe().c_str());
    return 0;
  }
  return usage_error("unknown fault command '" + verb + "'");
}

}  // namespace vagent::cli
