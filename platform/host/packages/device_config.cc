// SPDX-License-Identifier: Apache-2.0
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
constexpr const char *kMccKey = "mcc";
constexpr size_t kMaxProfileLength = 64;

struct KeyFileDeleter {
  void operator()(GKeyFile *k) const { g_key_file_free(k); }
};

std::string take_error(GError *err) {
  std::string message = err ? err->message : "unknown error";
  if (err) g_error_free(err);
  return message;
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

void forget_cached() {
  std::lock_guard<std::mutex> lock(g_cached_mutex);
  g_cached.valid = false;  // read again next time
}

}  // namespace

bool device_profile_valid(const std::string &profile) {
  if (profile.empty() || profile.size() > kMaxProfileLength) return false;
  return std::all_of(profile.begin(), profile.end(), [](char c) {
    return g_ascii_islower(c) || g_ascii_isdigit(c) || c == '-' || c == '_';
  });
}

bool device_profile_known(const std::string &profile) {
  return profile == "mobile" || profile == "wearable" || profile == "tv";
}

bool device_mcc_valid(const std::string &mcc) {
  return mcc.size() == 3 &&
         std::all_of(mcc.begin(), mcc.end(), [](char c) { return g_ascii_isdigit(c); });
}

namespace {

enum class Load { kLoaded, kNoFile, kUnusable, kFailed };

// Loads device.conf into `kf`. kNoFile when the root or the file does not exist; kUnusable when the
// file exists but cannot be read or parsed; kFailed when the root is refused.
Load load_config(GKeyFile *kf, std::string *error) {
  const std::string path = root_path(kDeviceConfig);
  switch (root_check(error)) {
    case RootState::kRefused:
      return Load::kFailed;
    case RootState::kMissing:
      return Load::kNoFile;
    case RootState::kReady:
      break;
  }
  GError *err = nullptr;
  if (!g_key_file_load_from_file(kf, path.c_str(), G_KEY_FILE_NONE, &err)) {
    if (g_error_matches(err, G_FILE_ERROR, G_FILE_ERROR_NOENT)) {
      g_error_free(err);
      return Load::kNoFile;
    }
    // A file that cannot be opened as such is unreadable; one that opens but does not parse is
    // malformed.
    const bool malformed =
        err && err->domain == G_KEY_FILE_ERROR && g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR);
    *error =
        (malformed ? path + " is malformed: " : "cannot read " + path + ": ") + take_error(err);
    return Load::kUnusable;
  }
  return Load::kLoaded;
}

// Loads device.conf into `kf` for reading: true with *present false when there is none, false with
// *error when the root is refused or the file cannot be read or parsed.
bool load_readable(GKeyFile *kf, bool *present, std::string *error) {
  const Load loaded = load_config(kf, error);
  *present = loaded == Load::kLoaded;
  return loaded == Load::kLoaded || loaded == Load::kNoFile;
}

// Sets one key of device.conf (an empty value removes it), keeping the others. A file that cannot
// be read or parsed is written anew.
bool write_setting(const char *key, const std::string &value, std::string *error) {
  if (!root_prepare(error)) return false;
  std::unique_ptr<GKeyFile, KeyFileDeleter> kf(g_key_file_new());
  const Load loaded = load_config(kf.get(), error);
  if (loaded == Load::kFailed) return false;
  if (loaded == Load::kUnusable) {
    error->clear();
    kf.reset(g_key_file_new());
  }
  // A new file says the profile too, which a device.conf always does.
  if (loaded != Load::kLoaded)
    g_key_file_set_string(kf.get(), kGroup, kProfileKey, kDefaultProfile);
  if (value.empty())
    g_key_file_remove_key(kf.get(), kGroup, key, nullptr);
  else
    g_key_file_set_string(kf.get(), kGroup, key, value.c_str());
  gsize size = 0;
  gchar *data = g_key_file_to_data(kf.get(), &size, nullptr);
  const bool ok = private_write(root_path(kDeviceConfig), data, size, error);
  g_free(data);
  forget_cached();
  return ok;
}

// Reads the profile from device.conf. False with *error.
bool read_profile(std::string *profile, std::string *error) {
  std::unique_ptr<GKeyFile, KeyFileDeleter> kf(g_key_file_new());
  bool present = false;
  if (!load_readable(kf.get(), &present, error)) return false;
  if (!present) {
    *profile = kDefaultProfile;
    return true;
  }
  const std::string path = root_path(kDeviceConfig);
  GError *err = nullptr;
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

bool device_profile_write(const std::string &profile, std::string *error) {
  if (!device_profile_valid(profile)) {
    *error = "invalid profile '" + profile + "'";
    return false;
  }
  return write_setting(kProfileKey, profile, error);
}

bool device_mcc_read(std::string *mcc, std::string *error) {
  std::unique_ptr<GKeyFile, KeyFileDeleter> kf(g_key_file_new());
  bool present = false;
  if (!load_readable(kf.get(), &present, error)) return false;
  if (!present) {
    mcc->clear();
    return true;
  }
  gchar *value = g_key_file_get_string(kf.get(), kGroup, kMccKey, nullptr);
  std::string result = value ? value : "";
  g_free(value);
  if (!result.empty() && !device_mcc_valid(result)) {
    *error = root_path(kDeviceConfig) + " is malformed: invalid mcc '" + result + "'";
    return false;
  }
  *mcc = result;
  return true;
}

bool device_mcc_write(const std::string &mcc, std::string *error) {
  if (!mcc.empty() && !device_mcc_valid(mcc)) {
    *error = "invalid mcc '" + mcc + "' (three digits)";
    return false;
  }
  return write_setting(kMccKey, mcc, error);
}

}  // namespace vhost
