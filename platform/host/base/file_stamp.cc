// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: stamps of files and directories (see file_stamp.hh).
#include "file_stamp.hh"

#include <sys/stat.h>
#include <time.h>

#include <algorithm>

namespace vhost {

namespace {

int64_t ns_of(const struct timespec &t) { return (int64_t)t.tv_sec * 1000000000 + t.tv_nsec; }

// The stamp of `st`, taken at `taken_ns`.
Stamp stamp_at(const struct stat &st, int64_t taken_ns) {
  Stamp s;
  s.taken_ns = taken_ns;
  s.exists = true;
  s.dev = st.st_dev;
  s.ino = st.st_ino;
  s.size = st.st_size;
  s.mtime_ns = ns_of(st.st_mtim);
  s.ctime_ns = ns_of(st.st_ctim);
  return s;
}

int64_t now_ns() {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return ns_of(now);
}

}  // namespace

Stamp stamp_of(const std::string &path) {
  const int64_t taken = now_ns();
  struct stat st;
  if (stat(path.c_str(), &st) != 0) {
    Stamp s;
    s.taken_ns = taken;
    return s;
  }
  return stamp_at(st, taken);
}

// The clock is read just after the stat() here: microseconds later, well inside kRacyNs.
Stamp stamp_of(const struct stat &st) { return stamp_at(st, now_ns()); }

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
