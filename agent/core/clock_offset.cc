// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the per-root clock offset file.
#include "clock_offset.hh"

#include <glib.h>
#include <glib/gstdio.h>

#include <cerrno>
#include <cstring>

#include "config.hh"

namespace vagent {

namespace {
constexpr int64_t kMaxOffset = 10LL * 365 * 24 * 3600;
}

std::string clock_offset_path(const std::string &root) { return root + "/" + kClockFile; }

int64_t clock_offset(const std::string &root) {
  GKeyFile *kf = g_key_file_new();
  int64_t offset = 0;
  if (g_key_file_load_from_file(kf, clock_offset_path(root).c_str(), G_KEY_FILE_NONE, nullptr)) {
    GError *err = nullptr;
    gint64 v = g_key_file_get_int64(kf, "clock", "offset_s", &err);
    if (!err && v >= -kMaxOffset && v <= kMaxOffset) offset = v;
    g_clear_error(&err);
  }
  g_key_file_free(kf);
  return offset;
}

int64_t ClockOffsetFile::offset() {
  if (watch_.changed()) {
    ++reads_;
    offset_ = clock_offset(root_);
  }
  return offset_;
}

Status set_clock_offset(const std::string &root, int64_t offset_s) {
  if (offset_s < -kMaxOffset || offset_s > kMaxOffset)
    return Status::fail(errc::kInvalidParameter, "clock offset beyond ten years");
  const std::string path = clock_offset_path(root);
  if (offset_s == 0) {
    if (g_unlink(path.c_str()) != 0 && errno != ENOENT)
      return Status::fail(errc::kDbFailed, "cannot remove " + path + ": " + strerror(errno));
    return Status::success();
  }
  const std::string dir = root + "/" + kStateDir;
  if (g_mkdir_with_parents(dir.c_str(), 0700) != 0)
    return Status::fail(errc::kDbFailed, "cannot create " + dir);
  const std::string text = "[clock]\noffset_s=" + std::to_string(offset_s) + "\n";
  GError *err = nullptr;
  if (!g_file_set_contents(path.c_str(), text.c_str(), -1, &err)) {
    std::string why = err ? err->message : "unknown error";
    g_clear_error(&err);
    return Status::fail(errc::kDbFailed, "cannot write " + path + ": " + why);
  }
  return Status::success();
}

}  // namespace vagent
