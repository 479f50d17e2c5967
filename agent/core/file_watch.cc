// SPDX-License-Identifier: Apache-2.0
// Velmora agent: file change watching on one process-wide inotify instance.
#include "file_watch.hh"

#include <fcntl.h>
#include <glib-unix.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vagent {

namespace {

constexpr uint32_t kMask = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE |
                           IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

class Watcher {
 public:
  static Watcher &instance() {
    static Watcher w;
    return w;
  }

  void track(const std::string &dir, const std::string &name) {
    std::lock_guard<std::mutex> lock(mutex_);
    generations_.emplace(std::make_pair(dir, name), 1);
  }

  // The file's current generation: it moves on with every change seen. Where no watch can be set
  // it moves on at every question.
  uint64_t generation(const std::string &dir, const std::string &name) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (loops_ == 0 && (scopes_ == 0 || !drained_in_scope_)) {
      drain();
      drained_in_scope_ = scopes_ > 0;
    }
    uint64_t &gen = generations_[std::make_pair(dir, name)];
    if (!watching(dir)) return ++gen;
    return gen;
  }

  // Within a scope the first question drains; the others rely on it.
  void enter_scope() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (scopes_++ == 0) drained_in_scope_ = false;
  }
  void leave_scope() {
    std::lock_guard<std::mutex> lock(mutex_);
    --scopes_;
  }

  // A source that drains the queue from `ctx`'s loop, or nullptr (no inotify: every question
  // then answers "changed" as before).
  GSource *drain_from(GMainContext *ctx) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (fd_ < 0) return nullptr;
    GSource *source = g_unix_fd_source_new(fd_, G_IO_IN);
    g_source_set_priority(source, G_PRIORITY_HIGH);
    g_source_set_callback(source,
                          reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(on_readable)),
                          this, nullptr);
    g_source_attach(source, ctx);
    ++loops_;
    return source;
  }
  void stop_draining(GSource *source) {
    std::lock_guard<std::mutex> lock(mutex_);
    g_source_destroy(source);
    g_source_unref(source);
    --loops_;
  }

 private:
  Watcher() { fd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC); }

  static gboolean on_readable(gint, GIOCondition, gpointer data) {
    auto *self = static_cast<Watcher *>(data);
    std::lock_guard<std::mutex> lock(self->mutex_);
    self->drain();
    return G_SOURCE_CONTINUE;
  }
  ~Watcher() {
    if (fd_ >= 0) close(fd_);
  }

  // True when `dir` is watched (adding the watch when it is not yet).
  bool watching(const std::string &dir) {
    if (fd_ < 0) return false;
    if (wd_of_dir_.count(dir)) return true;
    const int wd = inotify_add_watch(fd_, dir.c_str(), kMask);
    if (wd < 0) return false;
    wd_of_dir_[dir] = wd;
    dirs_of_wd_[wd].push_back(dir);  // two spellings of one directory share its watch
    // What happened before the watch is unknown: whatever was kept from the dir is stale.
    bump_dir(dir);
    return true;
  }

  void bump_dir(const std::string &dir) {
    for (auto it = generations_.lower_bound({dir, ""});
         it != generations_.end() && it->first.first == dir; ++it)
      ++it->second;
  }

  void forget_wd(int wd) {
    auto it = dirs_of_wd_.find(wd);
    if (it == dirs_of_wd_.end()) return;
    const std::vector<std::string> dirs = std::move(it->second);
    dirs_of_wd_.erase(it);
    for (const std::string &dir : dirs) {
      wd_of_dir_.erase(dir);
      bump_dir(dir);
    }
  }

  void drain() {
    if (fd_ < 0) return;
    alignas(struct inotify_event) char buf[4096];
    for (;;) {
      const ssize_t n = read(fd_, buf, sizeof buf);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return;  // EAGAIN: nothing (more) happened
      for (ssize_t at = 0; at < n;) {
        const auto *e = reinterpret_cast<const struct inotify_event *>(buf + at);
        at += static_cast<ssize_t>(sizeof *e + e->len);
        if (e->mask & IN_Q_OVERFLOW) {
          for (auto &g : generations_) ++g.second;  // events were lost: everything may have changed
          continue;
        }
        auto dirs = dirs_of_wd_.find(e->wd);
        if (dirs == dirs_of_wd_.end()) continue;
        if (e->mask & (IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF)) {
          // Gone or moved: the path is watched again at the next question.
          if (!(e->mask & IN_IGNORED)) inotify_rm_watch(fd_, e->wd);
          forget_wd(e->wd);
          continue;
        }
        if (e->len == 0) continue;
        for (const std::string &dir : dirs->second) {
          auto gen = generations_.find({dir, std::string(e->name)});
          if (gen != generations_.end()) ++gen->second;
        }
      }
    }
  }

  std::mutex mutex_;
  int fd_ = -1;
  int scopes_ = 0;
  int loops_ = 0;  // sources draining the queue from a main loop
  bool drained_in_scope_ = false;
  std::unordered_map<std::string, int> wd_of_dir_;
  std::unordered_map<int, std::vector<std::string>> dirs_of_wd_;
  // Only the files somebody watches: names of other files in the same directories are ignored.
  std::map<std::pair<std::string, std::string>, uint64_t> generations_;
};

}  // namespace

WatchedFile::WatchedFile(const std::string &path) {
  const size_t slash = path.rfind('/');
  dir_ = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
  name_ = slash == std::string::npos ? path : path.substr(slash + 1);
  Watcher::instance().track(dir_, name_);
}

WatchFromLoop::WatchFromLoop(GMainContext *ctx) : source_(Watcher::instance().drain_from(ctx)) {}

WatchFromLoop::~WatchFromLoop() {
  if (source_) Watcher::instance().stop_draining(source_);
}

WatchScope::WatchScope() { Watcher::instance().enter_scope(); }

WatchScope::~WatchScope() { Watcher::instance().leave_scope(); }

bool WatchedFile::changed() {
  const uint64_t gen = Watcher::instance().generation(dir_, name_);
  if (gen == seen_) return false;
  seen_ = gen;
  return true;
}

}  // namespace vagent
