// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the platform root directory and the checks that keep others out of it
// (see host_root.hh).
#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "dlog.h"
#include "host_root.hh"
#include "velmora_host.h"

namespace vhost {

namespace {

constexpr const char *kLogTag = "VELMORA_HOST";
constexpr const char *kRootAdvice =
    "remove it, or set VELMORA_PLATFORM_ROOT to a directory of your own";

std::string mode_text(mode_t mode) {
  char buf[8];
  snprintf(buf, sizeof(buf), "%04o", (unsigned)(mode & 07777));
  return buf;
}

bool others_may_write(mode_t mode) { return (mode & (S_IWGRP | S_IWOTH)) != 0; }

// The absolute form of `path` (relative to the working directory), without "." and empty parts.
std::vector<std::string> components(const std::string &path) {
  std::string abs = path;
  if (!g_path_is_absolute(path.c_str())) {
    gchar *cwd = g_get_current_dir();
    abs = std::string(cwd) + "/" + path;
    g_free(cwd);
  }
  std::vector<std::string> parts;
  gchar **split = g_strsplit(abs.c_str(), "/", -1);
  for (gchar **p = split; *p; ++p) {
    if (!**p || strcmp(*p, ".") == 0) continue;
    if (strcmp(*p, "..") == 0) {
      if (!parts.empty()) parts.pop_back();
      continue;
    }
    parts.emplace_back(*p);
  }
  g_strfreev(split);
  return parts;
}

std::string join(const std::vector<std::string> &parts, size_t n) {
  if (n == 0) return "/";
  std::string out;
  for (size_t i = 0; i < n; ++i) out += "/" + parts[i];
  return out;
}

enum class Seen { kOk, kMissing, kBad };

// What a symbolic link met on the way may be: above the root, one that root or the current user
// owns (it is followed); below it, none.
enum class Links { kFollowOwned, kRefuse };

// Looks at `path` without following a final symbolic link, then (for a link that may be followed)
// at what it names: *st describes the directory found.
Seen look(const std::string &path, const char *role, Links links, struct stat *st,
          std::string *error) {
  if (lstat(path.c_str(), st) != 0) {
    if (errno == ENOENT) return Seen::kMissing;
    *error = "cannot inspect " + std::string(role) + " " + path + ": " + strerror(errno);
    return Seen::kBad;
  }
  if (S_ISLNK(st->st_mode)) {
    if (links == Links::kRefuse) {
      *error = std::string(role) + " " + path + " in the platform root is a symbolic link";
      return Seen::kBad;
    }
    if (st->st_uid != 0 && st->st_uid != geteuid()) {
      *error = std::string(role) + " " + path + " is a symbolic link of uid " +
               std::to_string(st->st_uid) + ", who could point it elsewhere";
      return Seen::kBad;
    }
    if (stat(path.c_str(), st) != 0) {
      if (errno == ENOENT) return Seen::kMissing;
      *error = "cannot inspect " + std::string(role) + " " + path + ": " + strerror(errno);
      return Seen::kBad;
    }
  }
  if (!S_ISDIR(st->st_mode)) {
    *error = std::string(role) + " " + path + " is not a directory";
    return Seen::kBad;
  }
  return Seen::kOk;
}

// A directory above the root: root's or ours, and not writable by others unless sticky.
Seen check_ancestor(const std::string &path, const std::string &root, std::string *error) {
  struct stat st;
  Seen seen = look(path, "directory", Links::kFollowOwned, &st, error);
  if (seen != Seen::kOk) return seen;
  const bool owner_ok = st.st_uid == 0 || st.st_uid == geteuid();
  if (!owner_ok || (others_may_write(st.st_mode) && !(st.st_mode & S_ISVTX))) {
    *error = "directory " + path + " above the platform root " + root +
             (owner_ok ? " can be changed by other users (mode " + mode_text(st.st_mode) + ")"
                       : " belongs to uid " + std::to_string(st.st_uid)) +
             ": choose a platform root (VELMORA_PLATFORM_ROOT) whose parent directories only "
             "root or you can change";
    return Seen::kBad;
  }
  return Seen::kOk;
}

// The root itself, or a directory of the platform below it: ours, and writable by nobody else.
// What the owner check says of a directory found (*st).
Seen owned(const std::string &path, const char *role, const char *advice, const struct stat *st,
           std::string *error) {
  if (st->st_uid != geteuid()) {
    *error = std::string(role) + " " + path + " belongs to uid " + std::to_string(st->st_uid) +
             ", not to you (uid " + std::to_string(geteuid()) + "): " + advice;
    return Seen::kBad;
  }
  if (others_may_write(st->st_mode)) {
    *error = std::string(role) + " " + path + " can be written by other users (mode " +
             mode_text(st->st_mode) + "): run chmod go-w " + path + ", or " + advice;
    return Seen::kBad;
  }
  return Seen::kOk;
}

Seen check_own(const std::string &path, const char *role, const char *advice, Links links,
               struct stat *st, std::string *error) {
  Seen seen = look(path, role, links, st, error);
  if (seen == Seen::kBad) *error += std::string(": ") + advice;
  if (seen != Seen::kOk) return seen;
  return owned(path, role, advice, st, error);
}

// The last root that passed the full check, as lstat() saw it.
struct Verified {
  std::string path;
  uid_t euid = 0;
  dev_t dev = 0;
  ino_t ino = 0;
  uid_t uid = 0;
  mode_t mode = 0;
};
std::mutex g_verified_mutex;
Verified g_verified;

RootState full_check(const std::string &root, std::string *error) {
  const std::vector<std::string> parts = components(root);
  for (size_t n = 0; n < parts.size(); ++n) {
    Seen seen = check_ancestor(join(parts, n), root, error);
    if (seen == Seen::kMissing) return RootState::kMissing;
    if (seen == Seen::kBad) return RootState::kRefused;
  }
  struct stat st;
  Seen seen = check_own(join(parts, parts.size()), "platform root", kRootAdvice,
                        Links::kFollowOwned, &st, error);
  if (seen == Seen::kMissing) return RootState::kMissing;
  if (seen == Seen::kBad) return RootState::kRefused;
  struct stat link;
  if (lstat(root.c_str(), &link) == 0 && S_ISDIR(link.st_mode)) {
    std::lock_guard<std::mutex> lock(g_verified_mutex);
    g_verified = {root, geteuid(), link.st_dev, link.st_ino, link.st_uid, link.st_mode};
  }
  return RootState::kReady;
}

bool still_verified(const std::string &root) {
  struct stat st;
  if (lstat(root.c_str(), &st) != 0) return false;
  std::lock_guard<std::mutex> lock(g_verified_mutex);
  return g_verified.path == root && g_verified.euid == geteuid() && g_verified.dev == st.st_dev &&
         g_verified.ino == st.st_ino && g_verified.uid == st.st_uid &&
         g_verified.mode == st.st_mode;
}

// mkdir 0700 whatever the umask. True when it was made or already exists.
bool make_private(const std::string &path, std::string *error) {
  if (mkdir(path.c_str(), kPrivateDirMode) == 0) {
    if (chmod(path.c_str(), kPrivateDirMode) != 0) {
      *error = "cannot set the mode of " + path + ": " + strerror(errno);
      return false;
    }
    return true;
  }
  if (errno == EEXIST) return true;
  *error = "cannot create " + path + ": " + strerror(errno);
  return false;
}

// The parts of `path` below the root (none for the root itself); false when it is not in it.
// The last answer for absolute paths is kept per thread: a sender asks the same of the registry's
// directory for every request.
bool below_root(const std::string &path, std::vector<std::string> *rest, std::string *error) {
  struct Memo {
    std::string root;
    std::string path;
    std::vector<std::string> rest;
  };
  thread_local Memo memo;
  const std::string root_path = root_dir();
  const bool absolute = g_path_is_absolute(root_path.c_str()) && g_path_is_absolute(path.c_str());
  if (absolute && !memo.path.empty() && memo.path == path && memo.root == root_path) {
    *rest = memo.rest;
    return true;
  }
  const std::vector<std::string> root = components(root_path);
  const std::vector<std::string> parts = components(path);
  if (parts.size() < root.size() || !std::equal(root.begin(), root.end(), parts.begin())) {
    *error = path + " is not below the platform root " + root_path;
    return false;
  }
  rest->assign(parts.begin() + (long)root.size(), parts.end());
  if (absolute) memo = Memo{root_path, path, *rest};
  return true;
}

const char *kDirAdvice = "remove it (the platform creates it again, private)";

}  // namespace

namespace {
thread_local const std::string *g_scoped_root = nullptr;
}  // namespace

RootScope::RootScope(std::string root) : previous_(g_scoped_root), root_(std::move(root)) {
  g_scoped_root = &root_;
}

RootScope::~RootScope() { g_scoped_root = previous_; }

std::string root_dir() {
  if (g_scoped_root) return *g_scoped_root;
  const char *root = getenv("VELMORA_PLATFORM_ROOT");
  if (root && *root) return root;
  const char *runtime = getenv("XDG_RUNTIME_DIR");
  if (runtime && *runtime) return std::string(runtime) + "/velmora-platform";
  return "/tmp/velmora-platform-" + std::to_string(getuid());
}

std::string root_path(const std::string &sub) { return root_dir() + "/" + sub; }

RootState root_check(std::string *error) {
  const std::string root = root_dir();
  if (still_verified(root)) return RootState::kReady;
  return full_check(root, error);
}

bool root_prepare(std::string *error) {
  const std::string root = root_dir();
  RootState state = root_check(error);
  if (state == RootState::kReady) return true;
  if (state == RootState::kRefused) return false;
  // Create what is missing, from the first missing directory down; then check it all again, so
  // that a directory another user slipped in meanwhile is seen.
  const std::vector<std::string> parts = components(root);
  for (size_t n = 1; n <= parts.size(); ++n) {
    struct stat st;
    const std::string path = join(parts, n);
    if (lstat(path.c_str(), &st) == 0) continue;
    if (!make_private(path, error)) return false;
  }
  state = full_check(root, error);
  if (state == RootState::kMissing) *error = "the platform root " + root + " vanished";
  return state == RootState::kReady;
}

RootState dir_check(const std::string &path, std::string *error, struct stat *seen) {
  std::vector<std::string> rest;
  if (!below_root(path, &rest, error)) return RootState::kRefused;
  RootState state = root_check(error);
  if (state != RootState::kReady) return state;
  std::string at = root_dir();
  struct stat st = {};
  if (rest.empty() && seen && lstat(at.c_str(), &st) != 0) return RootState::kMissing;
  for (const std::string &part : rest) {
    at += "/" + part;
    // One lstat() a directory: below the root a link is refused, so it says all there is.
    const Seen found = check_own(at, "directory", kDirAdvice, Links::kRefuse, &st, error);
    if (found == Seen::kMissing) return RootState::kMissing;
    if (found == Seen::kBad) return RootState::kRefused;
  }
  if (seen) *seen = st;
  return RootState::kReady;
}

bool private_dir(const std::string &path, std::string *error) {
  std::vector<std::string> rest;
  if (!below_root(path, &rest, error) || !root_prepare(error)) return false;
  std::string at = root_dir();
  for (const std::string &part : rest) {
    at += "/" + part;
    if (!make_private(at, error)) return false;
    struct stat st;
    const Seen found = check_own(at, "directory", kDirAdvice, Links::kRefuse, &st, error);
    if (found == Seen::kMissing) *error = "directory " + at + " vanished as it was made";
    if (found != Seen::kOk) return false;
  }
  return true;
}

bool private_file(const std::string &path, std::string *error) {
  std::vector<std::string> rest;
  if (!below_root(path, &rest, error)) return false;
  if (rest.empty()) {
    *error = path + " is the platform root, not a file in it";
    return false;
  }
  const std::string dir = path.substr(0, path.rfind('/'));
  if (!private_dir(dir, error)) return false;
  int fd = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kPrivateFileMode);
  if (fd >= 0) {
    const bool ok = fchmod(fd, kPrivateFileMode) == 0;
    if (!ok) *error = "cannot set the mode of " + path + ": " + strerror(errno);
    close(fd);
    return ok;
  }
  if (errno != EEXIST) {
    *error = "cannot create " + path + ": " + strerror(errno);
    return false;
  }
  struct stat st;
  if (lstat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) {
    *error = path + " is not a regular file: remove it";
    return false;
  }
  if (st.st_uid != geteuid()) {
    *error =
        "file " + path + " belongs to uid " + std::to_string(st.st_uid) + ", not to you: remove it";
    return false;
  }
  // A file of an older root may be readable by others: it holds state, so it becomes private.
  if ((st.st_mode & 07777) != kPrivateFileMode && chmod(path.c_str(), kPrivateFileMode) != 0) {
    *error = "cannot set the mode of " + path + ": " + strerror(errno);
    return false;
  }
  return true;
}

bool private_write(const std::string &path, const char *data, size_t size, std::string *error) {
  const std::string dir = path.substr(0, path.rfind('/'));
  if (!private_dir(dir, error)) return false;
  GError *err = nullptr;
  if (!g_file_set_contents_full(path.c_str(), data, (gssize)size, G_FILE_SET_CONTENTS_CONSISTENT,
                                kPrivateFileMode, &err)) {
    *error = "cannot write " + path + ": " + (err ? err->message : "unknown error");
    g_clear_error(&err);
    return false;
  }
  return true;
}

void log_refusal(const std::string &error) {
  static std::mutex mutex;
  static std::set<std::string> logged;
  {
    std::lock_guard<std::mutex> lock(mutex);
    if (logged.size() >= 64) logged.clear();
    if (!logged.insert(error).second) return;
  }
  dlog_print(DLOG_ERROR, kLogTag, "%s", error.c_str());
}

}  // namespace vhost

namespace {

int fail(int code, const std::string &message, char **error) {
  if (error) *error = strdup(message.c_str());
  return code;
}

}  // namespace

extern "C" int velmora_host_check_root(char **error) {
  std::string message;
  if (vhost::root_check(&message) == vhost::RootState::kRefused) return fail(-13, message, error);
  return 0;
}

extern "C" int velmora_host_prepare_state_file(const char *path, char **error) {
  if (!path || !*path) return fail(-22, "no path given", error);
  std::string message;
  if (vhost::root_check(&message) == vhost::RootState::kRefused) return fail(-13, message, error);
  if (!vhost::private_file(path, &message)) return fail(-5, message, error);
  return 0;
}

extern "C" const char *velmora_host_root(void) {
  // One string per thread, refreshed on each call, so that a test may switch roots.
  thread_local std::string root;
  root = vhost::root_dir();
  return root.c_str();
}
