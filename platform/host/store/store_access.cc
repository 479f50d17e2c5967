// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: who may write the platform account store.
//
// Any process may read the store. Writing is for account services and for the user's own admin
// commands:
//   - a process that is not a launched application (no VELMORA_APP_ID: velmora-platform, the
//     agent's admin commands, a test) writes any package's records;
//   - an application writes the records of its own package, and those of the packages it keeps
//     records for on the device's behalf (kDelegated: the account agent keeps the records of the
//     single-sign-on service, which has no application of its own on the host);
//   - any other application, or an id the package registry does not know, is refused with
//     ACCOUNT_ERROR_PERMISSION_DENIED and one log line.
// Within one Unix user an app id is not a security boundary (the trust boundary of the host is the
// user): the rule keeps applications from changing account records by mistake, as on a device.
#include <cstdlib>
#include <cstring>
#include <string>

#include "dlog.h"
#include "registry.hh"
#include "store_internal.hh"

namespace vstore {

namespace {

struct Delegation {
  const char *package;  // the records' package
  const char *kept_by;  // the package whose applications write them
};

constexpr Delegation kDelegated[] = {
    {"dev.velmora.sso", "dev.velmora.account"},
};

bool kept_by(const std::string &writer_package, const char *package) {
  if (writer_package == package) return true;
  for (const Delegation &d : kDelegated)
    if (strcmp(d.package, package) == 0 && writer_package == d.kept_by) return true;
  return false;
}

}  // namespace

int check_writer(const char *package_name) {
  const char *app_id = getenv("VELMORA_APP_ID");
  if (!app_id || !*app_id) return ACCOUNT_ERROR_NONE;
  vhost::AppRecord app;
  if (vhost::registry_find_app(app_id, &app) && package_name &&
      kept_by(app.package_id, package_name))
    return ACCOUNT_ERROR_NONE;
  dlog_print(DLOG_ERROR, "VELMORA_STORE", "store: %s may not write the records of %s", app_id,
             package_name ? package_name : "(no package)");
  return ACCOUNT_ERROR_PERMISSION_DENIED;
}

}  // namespace vstore
