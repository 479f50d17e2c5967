// SPDX-License-Identifier: Apache-2.0
// velmora-platform accounts [package-id]: the platform account store's records, one per line:
//   <package-id> <user name> [<key>=<value> ...]
// in insertion order (all packages when none is given, ordered by package); with --json
// {"accounts": [{"package_id": ..., "user_name": ..., "custom": {...}}]}.
#include <cstdio>
#include <string>

#include "account_store.h"
#include "commands.hh"
#include "velmora_host.h"
#include "velmora_host_store.h"

namespace vplat {

namespace {

struct Listing {
  vcli::JsonOut json;
  size_t records = 0;
};

bool print_record(const char *package, const char *user_name, const char *const *keys,
                  const char *const *values, size_t n, void *data) {
  auto *listing = static_cast<Listing *>(data);
  ++listing->records;
  if (options().json) {
    listing->json.begin_object(nullptr).str("package_id", package);
    if (user_name)
      listing->json.str("user_name", user_name);
    else
      listing->json.null("user_name");
    listing->json.begin_object("custom");
    for (size_t i = 0; i < n; ++i) listing->json.str(keys[i], values[i]);
    listing->json.end_object().end_object();
    return true;
  }
  std::string line = std::string(package) + " " + (user_name ? user_name : "(no user name)");
  for (size_t i = 0; i < n; ++i) line += std::string(" ") + keys[i] + "=" + values[i];
  printf("%s\n", line.c_str());
  return true;
}

// The store could not be read: its code's name, and what to do about it.
int store_failure(int err) {
  const std::string path = std::string(velmora_host_root()) + "/store/accounts.db";
  std::string message =
      "cannot read the account store " + path + " (" + platform_error_name(err, true) + "): ";
  switch (err) {
    case ACCOUNT_ERROR_DB_NOT_OPENED:
    case ACCOUNT_ERROR_DB_FAILED:
    case ACCOUNT_ERROR_QUERY_SYNTAX_ERROR:
      message +=
          "the file is damaged or is not an account store; restore it from a copy, or move it "
          "aside to start with an empty store (the accounts it held must then sign in again)";
      break;
    case ACCOUNT_ERROR_DATABASE_BUSY:
      message += "another process holds the store; try again when it is done";
      break;
    case ACCOUNT_ERROR_PERMISSION_DENIED:
      message += "this process may not read it; run as the user who owns the platform root";
      break;
    case ACCOUNT_ERROR_OUT_OF_MEMORY:
      message += "out of memory; free some memory and try again";
      break;
    default:
      message += "see the platform's log lines above (VELMORA_LOG_LEVEL=debug shows more)";
      break;
  }
  return fail(platform_error_name(err, true), message);
}

}  // namespace

int run_accounts(const Args &args) {
  const char *package = args.empty() ? nullptr : args[0].c_str();
  Listing listing;
  listing.json.begin_array("accounts");
  const int err = velmora_host_store_foreach(package, print_record, &listing);
  if (err != ACCOUNT_ERROR_NONE) return store_failure(err);
  listing.json.end_array();
  if (options().json)
    listing.json.print();
  else if (listing.records == 0)
    printf("no account is stored%s\n", package ? (" for " + args[0]).c_str() : "");
  return kExitOk;
}

}  // namespace vplat
