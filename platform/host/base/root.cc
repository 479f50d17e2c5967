// Velmora host platform: the platform root directory.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "host_root.hh"
#include "velmora_host.h"

namespace vhost {

std::string root_dir() {
  const char *root = getenv("VELMORA_PLATFORM_ROOT");
  if (root && *root) return root;
  const char *runtime = getenv("XDG_RUNTIME_DIR");
  if (runtime && *runtime) return std::string(runtime) + "/velmora-platform";
  return "/tmp/velmora-platform-" + std::to_string(getuid());
}

std::string root_path(const std::string &sub) { return root_dir() + "/" + sub; }

bool make_dirs(const std::string &path) {
  if (path.empty()) return false;
  std::string partial;
  size_t start = 0;
  while (start <= path.size()) {
    size_t slash = path.find('/', start);
    if (slash == std::string::npos) slash = path.size();
    partial = path.substr(0, slash);
    if (!partial.empty() && mkdir(partial.c_str(), 0700) != 0 && errno != EEXIST) return false;
    start = slash + 1;
  }
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace vhost

extern "C" const char *velmora_host_root(void) {
  // One string per thread, refreshed on each call, so that a test may switch roots.
  thread_local std::string root;
  root = vhost::root_dir();
  return root.c_str();
}
