// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: telling whether a file or a directory changed since it was read, so that
// the registry and the configuration are read when they change, not on every request.
//
// A Stamp is what stat() says of a path: device, inode, size, change and modification times. A
// path whose stamp is the same has not changed, with one catch: file systems keep times at the
// grain of a clock tick, so a change made within the tick in which the path was read would leave
// the stamp as it was. A stamp taken less than kRacyNs after the path's last change is therefore
// not trusted: the next look reads the path again (as version control tools treat files changed
// in the same second as their index). Take the stamp before reading what it stamps.
//
// The platform writes its files by replacing them (a new file renamed over the old), which changes
// the directory's stamp as well; a directory's stamp therefore covers the files written into it.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <string>

namespace vhost {

inline constexpr int64_t kRacyNs = 100 * 1000 * 1000;

struct Stamp {
  bool exists = false;
  dev_t dev = 0;
  ino_t ino = 0;
  off_t size = 0;
  int64_t mtime_ns = 0;
  int64_t ctime_ns = 0;
  int64_t taken_ns = 0;  // wall-clock time of the stat()
};

// The stamp of `path` now (following symbolic links).
Stamp stamp_of(const std::string &path);
// The stamp of what a stat() (or, for anything but a link, an lstat()) just said.
Stamp stamp_of(const struct stat &st);
// True when `now` shows the same, unchanged path as `then`, and `then` can be trusted.
bool stamp_unchanged(const Stamp &then, const Stamp &now);

}  // namespace vhost
