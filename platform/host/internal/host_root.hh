// Velmora host platform: where a platform root keeps its parts.
#pragma once

#include <string>

namespace vhost {

// The platform root directory (VELMORA_PLATFORM_ROOT, else the per-user default).
std::string root_dir();
// A path below the root: root_path("packages") is "<root>/packages".
std::string root_path(const std::string &sub);
// Creates a directory and its parents (mode 0700). False on failure.
bool make_dirs(const std::string &path);

// The layout of a root.
inline constexpr const char *kDeviceConfig = "device.conf";   // key file: [device] profile=...
inline constexpr const char *kPackagesDir = "packages";       // one key file per package
inline constexpr const char *kRunDir = "run";                 // sockets and lock files
inline constexpr const char *kStoreDb = "store/accounts.db";  // the platform account store
inline constexpr const char *kAgentDir = "agent";             // the reference agent's state

}  // namespace vhost
