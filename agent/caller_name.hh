// SPDX-License-Identifier: Apache-2.0
// Velmora agent: how the servers name a caller in their log lines.
//
// The platform hands the servers the caller's application id, or "" for a process that runs as no
// application (an administration command, a test, a tool started from a shell without
// VELMORA_APP_ID). Such a caller still gets a name in the log, so that "from" never reads empty.
#pragma once

#include <string>

namespace vagent {

constexpr const char *kUnnamedCaller = "an unnamed caller";

// `app_id` as the log shows it.
inline const char *caller_name(const char *app_id) {
  return app_id && *app_id ? app_id : kUnnamedCaller;
}
inline const char *caller_name(const std::string &app_id) { return caller_name(app_id.c_str()); }

}  // namespace vagent
