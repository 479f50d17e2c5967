// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: stamps of files and directories (see file_stamp.hh).
#include "file_stamp.hh"

#include <sys/stat.h>
#include <time.h>

#include <algorithm>

namespace vhost {

namespace {

int64_t ns_of(const struct timespec &t) { return (int64_t)t.tv_sec * 1000000000 + t.tv_nsec; }

}  // namespace

Stamp stamp_of(const std::string &path) {
  Stamp s;
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  s.taken_ns = ns_of(now);
  struct stat st;
  if (stat(path.c_str(), &st) != 0) return s;
  s.exists = true;
  s.dev = st.st_dev;
  s.ino = st.st_ino;
  s.size = st.st_size;
  s.mtime_ns = ns_of(st.st_mtim);
  s.ctime_ns = ns_of(st.st_ctim);
  return s;
}

bool stamp_unchanged(const Stamp &then, const Stamp &now) {
  if (then.exists != now.exists) return false;
  if (!then.exists) return true;
  if (then.dev != now.dev || then.ino != now.ino || then.size != now.size ||
      then.mtime_ns != now.mtime_ns || then.ctime_ns != now.ctime_ns)
    return false;
  // Changed so shortly before it was read that a later change could carry the same times.
  return then.taken_ns - std::max(then.mtime_ns, then.ctime_ns) >= kRacyNs;
}

}  // namespace vhost
