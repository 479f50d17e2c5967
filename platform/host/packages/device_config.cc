// Velmora host platform: the device configuration file of a platform root.
#include "device_config.hh"

#include <glib.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>

#include "file_stamp.hh"
#include "host_root.hh"

namespace vhost {

namespace {

constexpr const char *kGroup = "device";
constexpr const char *kProfileKey = "profile";
constexpr size_t kMaxProfileLength = 64;

struct KeyFileDeleter {
  void operator()(GKeyFile *k) const { g_key_file_free(k); }
};

std::string take_error(GError *err) {
  std::string message = err ? err->message : "unknown error";
  if (err) g_error_free(err);
  return message;
}

// Reads device.conf (the root is usable). False with *error.
bool read_profile(std::string *profile, std::string *error) {
  const std::string path = root_path(kDeviceConfig);
  std::unique_ptr<GKeyFile, KeyFileDeleter> kf(g_key_file_new());
  GError *err = nullptr;
  if (!g_key_file_load_from_file(kf.get(), path.c_str(), G_KEY_FILE_NONE, &err)) {
    if (g_error_matches(err, G_FILE_ERROR, G_FILE_ERROR_NOENT)) {
      g_error_free(err);
      *profile = kDefaultProfile;
      return true;
    }
    // A file that cannot be opened as such is unreadable; one that opens but does not parse is
    // malformed.
    const bool malformed =
        err && err->domain == G_KEY_FILE_ERROR && g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR);
    *error =
        (malformed ? path + " is malformed: " : "cannot read " + path + ": ") + take_error(err);
    return false;
  }
  gchar *value = g_key_file_get_string(kf.get(), kGroup, kProfileKey, &err);
  if (!value) {
    *error = path + " is malformed: " + take_error(err);
    return false;
  }
  std::string result = value;
  g_free(value);
  if (!device_profile_valid(result)) {
    *error = path + " is malformed: invalid profile '" + result + "'";
    return false;
  }
  *profile = result;
  return true;
}

// What device.conf held when it was last read, and its stamp taken before that.
struct Cached {
  bool valid = false;
  std::string path;
  Stamp stamp;
  bool ok = false;
  std::string profile;
  std::string error;
};
std::mutex g_cached_mutex;
Cached g_cached;
std::atomic<unsigned> g_reads{0};

}  // namespace

// The configuration is read when it changes (file_stamp.hh), not on every request.
bool device_profile_read(std::string *profile, std::string *error) {
  switch (root_check(error)) {
    case RootState::kRefused:
      return false;
    case RootState::kMissing:
      *profile = kDefaultProfile;
      return true;
    case RootState::kReady:
      break;
  }
  const std::string path = root_path(kDeviceConfig);
  const Stamp now = stamp_of(path);
  {
    std::lock_guard<std::mutex> lock(g_cached_mutex);
    if (g_cached.valid && g_cached.path == path && stamp_unchanged(g_cached.stamp, now)) {
      (g_cached.ok ? *profile : *error) = g_cached.ok ? g_cached.profile : g_cached.error;
      return g_cached.ok;
    }
  }
  ++g_reads;
  Cached fresh;
  fresh.valid = true;
  fresh.path = path;
  fresh.stamp = now;
  fresh.ok = read_profile(&fresh.profile, &fresh.error);
  (fresh.ok ? *profile : *error) = fresh.ok ? fresh.profile : fresh.error;
  std::lock_guard<std::mutex> lock(g_cached_mutex);
  g_cached = std::move(fresh);
  return g_cached.ok;
}

unsigned device_profile_reads() { return g_reads.load(); }

bool device_profile_valid(const std::string &profile) {
  if (profile.empty() || profile.size() > kMaxProfileLength) return false;
  return std::all_of(profile.begin(), profile.end(), [](char c) {
    return g_ascii_islower(c) || g_ascii_isdigit(c) || c == '-' || c == '_';
  });
}

bool device_profile_known(const std::string &profile) {
  return profile == "mobile" || profile == "wearable" || profile == "tv";
}

bool device_profile_write(const std::string &profile, std::string *error) {
  if (!device_profile_valid(profile)) {
    *error = "invalid profile '" + profile + "'";
    return false;
  }
  if (!root_prepare(error)) return false;
  std::unique_ptr<GKeyFile, KeyFileDeleter> kf(g_key_file_new());
  g_key_file_set_string(kf.get(), kGroup, kProfileKey, profile.c_str());
  gsize size = 0;
  gchar *data = g_key_file_to_data(kf.get(), &size, nullptr);
  const bool ok = private_write(root_path(kDeviceConfig), data, size, error);
  g_free(data);
  std::lock_guard<std::mutex> lock(g_cached_mutex);
  g_cached.valid = false;  // read again next time
  return ok;
}

}  // namespace vhost
