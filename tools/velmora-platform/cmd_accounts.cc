// velmora-platform accounts [package-id]: the platform account store's records, one per line:
//   <package-id> <user name> [<key>=<value> ...]
// in insertion order (all packages when none is given, ordered by package).
#include <cstdio>
#include <string>

#include "account_store.h"
#include "commands.hh"
#include "velmora_host_store.h"

namespace vplat {

namespace {

bool print_record(const char *package, const char *user_name, const char *const *keys,
                  const char *const *values, size_t n, void *) {
  std::string line = std::string(package) + " " + (user_name ? user_name : "(no user name)");
  for (size_t i = 0; i < n; ++i) line += std::string(" ") + keys[i] + "=" + values[i];
  printf("%s\n", line.c_str());
  return true;
}

}  // namespace

int run_accounts(const Args &args) {
  if (args.size() > 1) return usage_error("accounts", "too many arguments");
  const char *package = args.empty() ? nullptr : args[0].c_str();
  int err = velmora_host_store_foreach(package, print_record, nullptr);
  if (err != ACCOUNT_ERROR_NONE)
    return fail("cannot read the account store (error " + std::to_string(err) + ")");
  return kExitOk;
}

}  // namespace vplat
