// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: a wearable paired with a phone, two platform roots on one machine.
//
// Pairing writes "<root>/companion.conf" in both roots (a key file, 0600):
//
//   [companion]                     [companion]
//   phone=/abs/path/of/phone/root   wearable=/abs/path/of/wearable/root
//   (in the wearable's root)        (in the phone's root)
//
// The link between the two is the platform's own: a launch request for the phone goes through the
// same sending code, framing, limits, peer checks, root checks, launch on demand and reply
// time-outs as any other, with the phone's root in place of the wearable's (RootScope). So a
// phone app is launched in the phone's root, with the phone's environment, and its reply comes
// back on the wearable's main loop; a phone app that dies before it replies fails the request.
#include <glib.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "app_control.h"
#include "device_config.hh"
#include "host_root.hh"
#include "ipc_log.hh"
#include "velmora_host.h"

namespace {

constexpr const char *kCompanionConfig = "companion.conf";
constexpr const char *kGroup = "companion";
constexpr int kInvalid = -22;
constexpr int kIoError = -5;
constexpr int kRefused = -13;

struct KeyFileDeleter {
  void operator()(GKeyFile *kf) const { g_key_file_free(kf); }
};

int fail(int code, const std::string &message, char **error) {
  if (error) *error = strdup(message.c_str());
  return code;
}

std::string absolute(const std::string &path) {
  if (g_path_is_absolute(path.c_str())) return path;
  gchar *cwd = g_get_current_dir();
  gchar *abs = g_build_filename(cwd, path.c_str(), nullptr);
  gchar *canonical = g_canonicalize_filename(abs, nullptr);
  std::string out = canonical;
  g_free(canonical);
  g_free(abs);
  g_free(cwd);
  return out;
}

// The value of `key` in the current root's companion.conf ("" when there is none).
std::string read_peer(const char *key) {
  std::unique_ptr<GKeyFile, KeyFileDeleter> kf(g_key_file_new());
  const std::string path = vhost::root_path(kCompanionConfig);
  if (!g_key_file_load_from_file(kf.get(), path.c_str(), G_KEY_FILE_NONE, nullptr)) return "";
  gchar *value = g_key_file_get_string(kf.get(), kGroup, key, nullptr);
  std::string out = value ? value : "";
  g_free(value);
  return out;
}

bool write_peer(const char *key, const std::string &value, std::string *error) {
  std::unique_ptr<GKeyFile, KeyFileDeleter> kf(g_key_file_new());
  g_key_file_set_string(kf.get(), kGroup, key, value.c_str());
  gsize size = 0;
  gchar *data = g_key_file_to_data(kf.get(), &size, nullptr);
  const bool ok = vhost::private_write(vhost::root_path(kCompanionConfig), data, size, error);
  g_free(data);
  return ok;
}

bool remove_peer(std::string *error) {
  const std::string path = vhost::root_path(kCompanionConfig);
  if (unlink(path.c_str()) == 0 || errno == ENOENT) return true;
  *error = "cannot remove " + path + ": " + strerror(errno);
  return false;
}

// The root must exist, be trusted, and have this profile.
int check_root(const std::string &want_profile, char **error) {
  std::string message;
  switch (vhost::root_check(&message)) {
    case vhost::RootState::kRefused:
      return fail(kRefused, message, error);
    case vhost::RootState::kMissing:
      return fail(kInvalid, vhost::root_dir() + " is not a platform root (velmora-platform init)",
                  error);
    case vhost::RootState::kReady:
      break;
  }
  std::string profile;
  if (!vhost::device_profile_read(&profile, &message)) return fail(kIoError, message, error);
  if (profile != want_profile)
    return fail(kInvalid,
                vhost::root_dir() + " is a " + profile + ", not a " + want_profile +
                    " (velmora-platform profile " + want_profile + ")",
                error);
  return 0;
}

}  // namespace

extern "C" {

int velmora_host_pair_phone(const char *phone_root, char **error) {
  if (!phone_root || !*phone_root) return fail(kInvalid, "no phone root given", error);
  const std::string wearable = absolute(vhost::root_dir());
  const std::string phone = absolute(phone_root);
  if (phone == wearable) return fail(kInvalid, "a root cannot be paired with itself", error);
  int code = check_root("wearable", error);
  if (code != 0) return code;
  std::string message;
  {
    vhost::RootScope in_phone(phone);
    if ((code = check_root("mobile", error)) != 0) return code;
    if (!write_peer("wearable", wearable, &message)) return fail(kIoError, message, error);
  }
  if (!write_peer("phone", phone, &message)) return fail(kIoError, message, error);
  return 0;
}

int velmora_host_unpair(char **error) {
  const std::string phone = read_peer("phone");
  const std::string wearable = absolute(vhost::root_dir());
  std::string message;
  if (!phone.empty()) {
    // The phone forgets this wearable only (it may have been paired with another since).
    vhost::RootScope in_phone(phone);
    if (read_peer("wearable") == wearable && !remove_peer(&message))
      return fail(kIoError, message, error);
  }
  if (!remove_peer(&message)) return fail(kIoError, message, error);
  return 0;
}

int velmora_host_paired_phone(char **phone_root) {
  if (!phone_root) return kInvalid;
  *phone_root = nullptr;
  const std::string phone = read_peer("phone");
  if (phone.empty()) return VELMORA_HOST_NOT_PAIRED;
  *phone_root = strdup(phone.c_str());
  return *phone_root ? 0 : -12;
}

int velmora_host_paired_wearable(char **wearable_root) {
  if (!wearable_root) return kInvalid;
  *wearable_root = nullptr;
  const std::string wearable = read_peer("wearable");
  if (wearable.empty()) return VELMORA_HOST_NOT_PAIRED;
  *wearable_root = strdup(wearable.c_str());
  return *wearable_root ? 0 : -12;
}

int velmora_host_companion_send_launch_request(app_control_h app_control,
                                               app_control_reply_cb callback, void *user_data) {
  const std::string phone = read_peer("phone");
  if (phone.empty()) return VELMORA_HOST_NOT_PAIRED;
  vhost::RootScope in_phone(phone);
  return app_control_send_launch_request(app_control, callback, user_data);
}

}  // extern "C"
