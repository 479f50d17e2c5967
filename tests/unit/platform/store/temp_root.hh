// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a temporary platform root for one test (VELMORA_PLATFORM_ROOT while it lives).
#pragma once

#include <glib.h>
#include <glib/gstdio.h>

#include <cstdlib>
#include <string>

namespace store_test {

class TempRoot {
 public:
  TempRoot() {
    gchar *dir = g_dir_make_tmp("velmora-store-XXXXXX", nullptr);
    path_ = dir ? dir : "";
    g_free(dir);
    setenv("VELMORA_PLATFORM_ROOT", path_.c_str(), 1);
  }
  ~TempRoot() {
    unsetenv("VELMORA_PLATFORM_ROOT");
    remove_tree(path_);
  }
  TempRoot(const TempRoot &) = delete;
  TempRoot &operator=(const TempRoot &) = delete;

  const std::string &path() const { return path_; }
  std::string sub(const std::string &name) const { return path_ + "/" + name; }

  static void remove_tree(const std::string &path) {
    if (path.empty()) return;
    if (g_file_test(path.c_str(), G_FILE_TEST_IS_DIR) &&
        !g_file_test(path.c_str(), G_FILE_TEST_IS_SYMLINK)) {
      if (GDir *d = g_dir_open(path.c_str(), 0, nullptr)) {
        while (const gchar *name = g_dir_read_name(d)) remove_tree(path + "/" + name);
        g_dir_close(d);
      }
      g_rmdir(path.c_str());
    } else {
      g_unlink(path.c_str());
    }
  }

 private:
  std::string path_;
};

}  // namespace store_test
