// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: where a platform root keeps its parts, and whether it can be trusted.
//
// The platform starts the executables its package registry names, as the current user. A root that
// another user could change (plant a package in, swap a directory of) would let that user run code
// as this one, so the platform trusts a directory only when:
//   - it belongs to the current user and neither its group nor others may write it, and
//   - every directory above it belongs to root or the current user and is not writable by group
//     or others unless it has the sticky bit (as /tmp has: there only an entry's owner may remove
//     or rename it).
// A symbolic link on the way counts as the directory it names, and must itself belong to root or
// the current user. The platform refuses a root, and every directory of it that it reads from or
// creates, that fails these rules; the error names the path and what to do.
//
// Directories the platform creates are 0700, files holding state 0600, whatever the umask.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <string>

namespace vhost {

// The platform root directory (VELMORA_PLATFORM_ROOT, else the per-user default), or the root a
// RootScope of this thread names.
std::string root_dir();

// While it lives, root_dir() of this thread is `root`: the platform acts in another root (the
// paired phone's, companion.hh) with the same code and checks. Scopes nest.
class RootScope {
 public:
  explicit RootScope(std::string root);
  ~RootScope();
  RootScope(const RootScope &) = delete;
  RootScope &operator=(const RootScope &) = delete;

 private:
  const std::string *previous_;
  std::string root_;
};
// A path below the root: root_path("packages") is "<root>/packages".
std::string root_path(const std::string &sub);

inline constexpr mode_t kPrivateDirMode = 0700;
inline constexpr mode_t kPrivateFileMode = 0600;

enum class RootState {
  kReady,    // it exists and can be trusted
  kMissing,  // it does not exist (yet): nothing is installed
  kRefused,  // it exists but fails the rules: *error says why and what to do
};

// Checks the root. The result of a full check is kept for this process while the root stays the
// same directory (same device, inode, owner and mode), so that a request costs one lstat().
RootState root_check(std::string *error);
// Creates a missing root (0700; for the default root below a shared directory such as /tmp this
// is what keeps others out), then checks it. False with *error.
bool root_prepare(std::string *error);
// Checks a directory below the root (the root is checked too): kMissing when it does not exist.
// Each directory below the root costs one lstat(); *seen (when given) gets what it said of `path`
// itself, when it is kReady.
RootState dir_check(const std::string &path, std::string *error, struct stat *seen = nullptr);
// Creates `path`, a directory below the root, with the directories on the way (0700, the root
// included), checking each one that exists. False with *error.
bool private_dir(const std::string &path, std::string *error);
// Creates `path`, a file below the root, 0600 when it does not exist (its directories with
// private_dir); an existing one must belong to the current user and not be writable by others.
// False with *error.
bool private_file(const std::string &path, std::string *error);
// Writes `size` bytes to `path` below the root, atomically (a new file renamed over the old one),
// 0600. False with *error.
bool private_write(const std::string &path, const char *data, size_t size, std::string *error);

// Logs a refusal at error priority, once per distinct message in this process (a caller that
// fails every request must not flood the log).
void log_refusal(const std::string &error);

// The layout of a root.
inline constexpr const char *kDeviceConfig = "device.conf";   // key file: [device] profile=...
inline constexpr const char *kPackagesDir = "packages";       // one key file per package
inline constexpr const char *kRunDir = "run";                 // sockets and lock files
inline constexpr const char *kLogDir = "log";                 // launched applications' output
inline constexpr const char *kStoreDb = "store/accounts.db";  // the platform account store
inline constexpr const char *kAgentDir = "agent";             // the reference agent's state

}  // namespace vhost
