// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the package registry, one key file per package below the platform root.
#include "registry.hh"

#include <glib.h>
#include <glib/gstdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "file_stamp.hh"
#include "host_root.hh"

namespace vhost {

namespace {

constexpr const char *kSuffix = ".pkg";

struct KeyFileDeleter {
  void operator()(GKeyFile *k) const { g_key_file_free(k); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileDeleter>;

std::string packages_dir() { return root_path(kPackagesDir); }
std::string package_path(const std::string &id) { return packages_dir() + "/" + id + kSuffix; }

std::string take_error(GError *err) {
  std::string message = err ? err->message : "unknown error";
  if (err) g_error_free(err);
  return message;
}

std::string get_string(GKeyFile *kf, const std::string &group, const char *key,
                       std::string *error) {
  GError *err = nullptr;
  gchar *v = g_key_file_get_string(kf, group.c_str(), key, &err);
  if (!v) {
    *error = "[" + group + "] " + key + ": " + take_error(err);
    return {};
  }
  std::string s = v;
  g_free(v);
  return s;
}

// A package file names an executable the launcher starts as this user: only the user's own, and
// one nobody else can write, is read.
bool file_trusted(const std::string &path, std::string *error) {
  struct stat st;
  if (lstat(path.c_str(), &st) != 0) return true;  // loading it reports what is wrong
  if (!S_ISREG(st.st_mode)) {
    *error = path + " is not a regular file: remove it";
    return false;
  }
  if (st.st_uid != geteuid() || (st.st_mode & (S_IWGRP | S_IWOTH))) {
    *error =
        path +
        (st.st_uid != geteuid() ? " belongs to uid " + std::to_string(st.st_uid) + ", not to you"
                                : std::string(" can be written by other users")) +
        ": remove it and install the package again";
    return false;
  }
  return true;
}

bool parse_package(GKeyFile *kf, const std::string &expected_id, PackageRecord *out,
                   std::string *error) {
  PackageRecord pkg;
  pkg.id = get_string(kf, "package", "id", error);
  if (pkg.id.empty()) return false;
  if (pkg.id != expected_id) {
    *error = "package id '" + pkg.id + "' does not match its file name";
    return false;
  }
  gsize n_apps = 0;
  gchar **apps = g_key_file_get_string_list(kf, "package", "apps", &n_apps, nullptr);
  for (gsize i = 0; apps && i < n_apps; ++i) {
    AppRecord app;
    app.app_id = apps[i];
    app.package_id = pkg.id;
    const std::string group = "app " + app.app_id;
    app.type = get_string(kf, group, "type", error);
    app.exec = get_string(kf, group, "exec", error);
    if (app.type.empty() || !registry_valid_id(app.app_id)) {
      if (error->empty()) *error = "invalid app '" + app.app_id + "'";
      g_strfreev(apps);
      return false;
    }
    const std::string meta = "metadata " + app.app_id;
    gsize n_keys = 0;
    gchar **keys = g_key_file_get_keys(kf, meta.c_str(), &n_keys, nullptr);
    for (gsize k = 0; keys && k < n_keys; ++k) {
      gchar *v = g_key_file_get_value(kf, meta.c_str(), keys[k], nullptr);
      app.metadata.emplace_back(keys[k], v ? v : "");
      g_free(v);
    }
    g_strfreev(keys);
    pkg.apps.push_back(std::move(app));
  }
  g_strfreev(apps);
  *out = std::move(pkg);
  return true;
}

// Reads one package file (the registry is usable). False with *error.
bool read_package(const std::string &package_id, PackageRecord *out, std::string *error) {
  if (!file_trusted(package_path(package_id), error)) return false;
  KeyFile kf(g_key_file_new());
  GError *err = nullptr;
  if (!g_key_file_load_from_file(kf.get(), package_path(package_id).c_str(), G_KEY_FILE_NONE,
                                 &err)) {
    const bool missing = err && g_error_matches(err, G_FILE_ERROR, G_FILE_ERROR_NOENT);
    *error = missing ? "package '" + package_id + "' is not installed"
                     : "package '" + package_id + "': " + take_error(err);
    if (missing) g_error_free(err);
    return false;
  }
  if (!parse_package(kf.get(), package_id, out, error)) {
    *error = "package '" + package_id + "' is malformed: " + *error;
    return false;
  }
  return true;
}

// What the registry of one root held when it was last read. Requests look things up here; the
// files are read again only when the directory or the file looked at changed (file_stamp.hh).
struct Snapshot {
  std::string dir;
  Stamp stamp;                             // of the directory, taken before it was read
  std::vector<PackageRecord> packages;     // the readable ones, sorted by id
  std::vector<std::string> errors;         // one message per package file that cannot be read
  std::map<std::string, Stamp> files;      // package id -> stamp of its file, taken before reading
  std::map<std::string, std::string> bad;  // package id -> why its file cannot be read
  std::map<std::string, const AppRecord *> apps;  // app id -> its record in `packages`
};

std::mutex g_snapshot_mutex;
std::shared_ptr<const Snapshot> g_snapshot;
std::atomic<unsigned> g_reads{0};

std::shared_ptr<const Snapshot> read_snapshot(const std::string &dir) {
  auto snap = std::make_shared<Snapshot>();
  snap->dir = dir;
  snap->stamp = stamp_of(dir);
  ++g_reads;
  GDir *d = g_dir_open(dir.c_str(), 0, nullptr);
  if (d) {
    while (const gchar *name = g_dir_read_name(d)) {
      const std::string file = name;
      if (!g_str_has_suffix(name, kSuffix)) continue;
      const std::string id = file.substr(0, file.size() - strlen(kSuffix));
      snap->files[id] = stamp_of(dir + "/" + file);
      PackageRecord pkg;
      std::string error;
      if (registry_valid_id(id) && read_package(id, &pkg, &error)) {
        snap->packages.push_back(std::move(pkg));
      } else {
        if (error.empty()) error = "invalid package id '" + id + "'";
        snap->bad[id] = error;
        snap->errors.push_back(error);
      }
    }
    g_dir_close(d);
  }
  std::sort(snap->packages.begin(), snap->packages.end(),
            [](const PackageRecord &a, const PackageRecord &b) { return a.id < b.id; });
  for (const PackageRecord &pkg : snap->packages)
    for (const AppRecord &app : pkg.apps) snap->apps.emplace(app.app_id, &app);
  return snap;
}

// The registry as of `dir_now`, the stamp of its directory just taken: the last snapshot while the
// directory and `package_id`'s file (when given) are unchanged, else a new one.
std::shared_ptr<const Snapshot> snapshot_at(const std::string &package_id, const Stamp &dir_now) {
  const std::string dir = packages_dir();
  std::shared_ptr<const Snapshot> snap;
  {
    std::lock_guard<std::mutex> lock(g_snapshot_mutex);
    snap = g_snapshot;
  }
  bool fresh = snap && snap->dir == dir && stamp_unchanged(snap->stamp, dir_now);
  if (fresh && !package_id.empty()) {
    auto it = snap->files.find(package_id);
    if (it != snap->files.end())
      fresh = stamp_unchanged(it->second, stamp_of(package_path(package_id)));
  }
  if (fresh) return snap;
  snap = read_snapshot(dir);
  std::lock_guard<std::mutex> lock(g_snapshot_mutex);
  g_snapshot = snap;
  return snap;
}

// The registry of the current root (see snapshot_at), with the stamp of its directory in
// *dir_now (when given). The check of the root looks at the directory anyway (an lstat(), and it
// is no link), so that look gives the stamp too. nullptr (and *refused) for a root that cannot be
// trusted.
std::shared_ptr<const Snapshot> snapshot(const std::string &package_id, std::string *refused,
                                         Stamp *dir_now = nullptr) {
  struct stat seen;
  const RootState state = dir_check(packages_dir(), refused, &seen);
  if (state == RootState::kRefused) return nullptr;
  Stamp now;  // a directory not made yet: nothing installed
  if (state == RootState::kReady) now = stamp_of(seen);
  if (dir_now) *dir_now = now;
  return snapshot_at(package_id, now);
}

// A write through the platform: the next look reads the registry again.
void forget_snapshot() {
  std::lock_guard<std::mutex> lock(g_snapshot_mutex);
  g_snapshot.reset();
}

}  // namespace

bool registry_valid_id(const std::string &id) {
  if (id.empty() || id.size() > 255 || id[0] == '.') return false;
  return std::all_of(id.begin(), id.end(),
                     [](char c) { return g_ascii_isalnum(c) || c == '.' || c == '-' || c == '_'; });
}

bool registry_usable(std::string *error) {
  return dir_check(packages_dir(), error) != RootState::kRefused;
}

bool registry_load_package(const std::string &package_id, PackageRecord *out, std::string *error) {
  std::string ignored;
  if (!error) error = &ignored;
  error->clear();
  if (!registry_valid_id(package_id)) {
    *error = "invalid package id '" + package_id + "'";
    return false;
  }
  std::shared_ptr<const Snapshot> snap = snapshot(package_id, error);
  if (!snap) return false;
  auto bad = snap->bad.find(package_id);
  if (bad != snap->bad.end()) {
    *error = bad->second;
    return false;
  }
  for (const PackageRecord &pkg : snap->packages)
    if (pkg.id == package_id) {
      *out = pkg;
      return true;
    }
  *error = "package '" + package_id + "' is not installed";
  return false;
}

unsigned registry_reads() { return g_reads.load(); }

bool registry_package_exists(const std::string &package_id) {
  return registry_valid_id(package_id) &&
         g_file_test(package_path(package_id).c_str(), G_FILE_TEST_EXISTS);
}

std::vector<PackageRecord> registry_list_packages(std::vector<std::string> *errors) {
  std::string refused;
  std::shared_ptr<const Snapshot> snap = snapshot("", &refused);
  if (!snap) {
    log_refusal(refused);
    if (errors) errors->push_back(refused);
    return {};
  }
  if (errors) errors->insert(errors->end(), snap->errors.begin(), snap->errors.end());
  return snap->packages;
}

bool registry_find_app(const std::string &app_id, AppRecord *out, std::string *refused) {
  std::string refusal;
  Stamp dir_now;
  std::shared_ptr<const Snapshot> snap = snapshot("", &refusal, &dir_now);
  if (!snap) {
    if (refused)
      *refused = refusal;
    else
      log_refusal(refusal);
    return false;
  }
  auto it = snap->apps.find(app_id);
  if (it == snap->apps.end()) return false;
  // The file of the package that holds the app may have been changed in place (the directory
  // was looked at just now).
  snap = snapshot_at(it->second->package_id, dir_now);
  if (!snap || (it = snap->apps.find(app_id)) == snap->apps.end()) return false;
  if (out) *out = *it->second;
  return true;
}

bool registry_install_package(const PackageRecord &package, std::string *error) {
  std::string ignored;
  if (!error) error = &ignored;
  if (!registry_valid_id(package.id)) {
    *error = "invalid package id '" + package.id + "'";
    return false;
  }
  KeyFile kf(g_key_file_new());
  g_key_file_set_string(kf.get(), "package", "id", package.id.c_str());
  std::vector<const gchar *> ids;
  for (const AppRecord &app : package.apps) {
    if (!registry_valid_id(app.app_id)) {
      *error = "invalid app id '" + app.app_id + "'";
      return false;
    }
    if (app.type != "service" && app.type != "ui") {
      *error = "app '" + app.app_id + "': type must be service or ui";
      return false;
    }
    AppRecord existing;
    if (registry_find_app(app.app_id, &existing) && existing.package_id != package.id) {
      *error = "app '" + app.app_id + "' belongs to package '" + existing.package_id + "'";
      return false;
    }
    ids.push_back(app.app_id.c_str());
    const std::string group = "app " + app.app_id;
    g_key_file_set_string(kf.get(), group.c_str(), "type", app.type.c_str());
    g_key_file_set_string(kf.get(), group.c_str(), "exec", app.exec.c_str());
    const std::string meta = "metadata " + app.app_id;
    for (const auto &[key, value] : app.metadata) {
      if (key.empty() || key.find_first_of("=[]\n") != std::string::npos) {
        *error = "invalid metadata key '" + key + "'";
        return false;
      }
      g_key_file_set_value(kf.get(), meta.c_str(), key.c_str(), value.c_str());
    }
  }
  g_key_file_set_string_list(kf.get(), "package", "apps", ids.data(), ids.size());
  gsize size = 0;
  gchar *data = g_key_file_to_data(kf.get(), &size, nullptr);
  const bool ok = private_write(package_path(package.id), data, size, error);
  g_free(data);
  forget_snapshot();
  return ok;
}

bool registry_remove_package(const std::string &package_id, std::string *error) {
  std::string ignored;
  if (!error) error = &ignored;
  if (!registry_valid_id(package_id)) {
    *error = "invalid package id '" + package_id + "'";
    return false;
  }
  if (!registry_usable(error)) return false;
  const bool removed = g_unlink(package_path(package_id).c_str()) == 0;
  forget_snapshot();
  if (!removed) {
    *error = "package '" + package_id + "' is not installed";
    return false;
  }
  return true;
}

}  // namespace vhost
