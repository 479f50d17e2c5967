// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: administration of the device profile and the package registry, for the
// velmora-platform command and the tests (the velmora_host_* functions of velmora_host.h).
#include <glib.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "app_info.h"
#include "device_config.hh"
#include "host_root.hh"
#include "package_manager.h"
#include "registry.hh"
#include "velmora_host.h"

namespace {

constexpr int kInvalid = -22;
constexpr int kIoError = -5;
constexpr int kRefused = -13;

int fail(int code, const std::string &message, char **error) {
  if (error) *error = strdup(message.c_str());
  return code;
}

// A NULL-terminated copy of `items` (freed with velmora_host_strv_free).
char **to_strv(const std::vector<std::string> &items) {
  char **strv = static_cast<char **>(calloc(items.size() + 1, sizeof(char *)));
  if (!strv) return nullptr;
  for (size_t i = 0; i < items.size(); ++i) strv[i] = strdup(items[i].c_str());
  return strv;
}

// True (and *code set) when the root or its registry cannot be trusted.
bool refused(int *code, char **error) {
  std::string message;
  if (vhost::registry_usable(&message)) return false;
  *code = fail(kRefused, message, error);
  return true;
}

}  // namespace

extern "C" {

int velmora_host_init_root(const char *profile, char **error) {
  int code = 0;
  if (refused(&code, error)) return code;
  std::string message;
  if (!vhost::private_dir(vhost::root_path(vhost::kPackagesDir), &message)) {
    vhost::RootState state = vhost::root_check(&message);
    return fail(state == vhost::RootState::kRefused ? kRefused : kIoError, message, error);
  }
  if (profile) {
    if (!vhost::device_profile_write(profile, &message))
      return fail(vhost::device_profile_valid(profile) ? kIoError : kInvalid, message, error);
    return 0;
  }
  if (g_file_test(vhost::root_path(vhost::kDeviceConfig).c_str(), G_FILE_TEST_EXISTS)) {
    std::string current;
    if (!vhost::device_profile_read(&current, &message)) return fail(kIoError, message, error);
    return 0;
  }
  if (!vhost::device_profile_write(vhost::kDefaultProfile, &message))
    return fail(kIoError, message, error);
  return 0;
}

int velmora_host_set_profile(const char *profile, char **error) {
  if (!profile) return fail(kInvalid, "no profile given", error);
  int code = 0;
  if (refused(&code, error)) return code;
  std::string message;
  if (!vhost::device_profile_write(profile, &message))
    return fail(vhost::device_profile_valid(profile) ? kIoError : kInvalid, message, error);
  return 0;
}

int velmora_host_get_profile(char **profile, char **error) {
  if (!profile) return fail(kInvalid, "no place for the profile", error);
  int code = 0;
  if (refused(&code, error)) return code;
  std::string value, message;
  if (!vhost::device_profile_read(&value, &message)) return fail(kIoError, message, error);
  *profile = strdup(value.c_str());
  return 0;
}

int velmora_host_set_mcc(const char *mcc, char **error) {
  int code = 0;
  if (refused(&code, error)) return code;
  std::string value = mcc ? mcc : "", message;
  if (!vhost::device_mcc_write(value, &message))
    return fail(vhost::device_mcc_valid(value) || value.empty() ? kIoError : kInvalid, message,
                error);
  return 0;
}

int velmora_host_get_mcc(char **mcc, char **error) {
  if (!mcc) return fail(kInvalid, "no place for the MCC", error);
  int code = 0;
  if (refused(&code, error)) return code;
  std::string value, message;
  if (!vhost::device_mcc_read(&value, &message)) return fail(kIoError, message, error);
  *mcc = strdup(value.c_str());
  return 0;
}

int velmora_host_install_package(const char *package_id, const velmora_host_app_s *apps,
                                 size_t n_apps, const velmora_host_metadata_s *metadata,
                                 size_t n_metadata, char **error) {
  if (!package_id || (n_apps && !apps) || (n_metadata && !metadata))
    return fail(kInvalid, "missing package id, applications or metadata", error);
  int code = 0;
  if (refused(&code, error)) return code;
  vhost::PackageRecord package;
  package.id = package_id;
  for (size_t i = 0; i < n_apps; ++i) {
    const velmora_host_app_s &a = apps[i];
    if (!a.app_id || !a.type || !a.exec)
      return fail(kInvalid, "an application needs an id, a type and an executable", error);
    for (const vhost::AppRecord &seen : package.apps)
      if (seen.app_id == a.app_id)
        return fail(kInvalid, std::string("application '") + a.app_id + "' is given twice", error);
    package.apps.push_back(vhost::AppRecord{a.app_id, package.id, a.type, a.exec, {}});
  }
  for (size_t i = 0; i < n_metadata; ++i) {
    const velmora_host_metadata_s &m = metadata[i];
    if (!m.app_id || !m.key || !m.value)
      return fail(kInvalid, "a metadata entry needs an application, a key and a value", error);
    vhost::AppRecord *owner = nullptr;
    for (vhost::AppRecord &app : package.apps)
      if (app.app_id == m.app_id) owner = &app;
    if (!owner)
      return fail(kInvalid,
                  std::string("metadata for '") + m.app_id + "', which is not an application of " +
                      package.id,
                  error);
    owner->metadata.emplace_back(m.key, m.value);
  }
  std::string message;
  if (!vhost::registry_install_package(package, &message)) return fail(kInvalid, message, error);
  return 0;
}

int velmora_host_remove_package(const char *package_id, char **error) {
  if (!package_id) return fail(kInvalid, "no package id given", error);
  int code = 0;
  if (refused(&code, error)) return code;
  std::string message;
  if (!vhost::registry_remove_package(package_id, &message))
    return fail(PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE, message, error);
  return 0;
}

int velmora_host_list_packages(char ***package_ids, char ***errors) {
  if (!package_ids) return kInvalid;
  std::string refusal;
  if (!vhost::registry_usable(&refusal)) {
    *package_ids = to_strv({});
    if (errors) *errors = to_strv({refusal});
    return kRefused;
  }
  std::vector<std::string> messages;
  std::vector<std::string> ids;
  for (const vhost::PackageRecord &package : vhost::registry_list_packages(&messages))
    ids.push_back(package.id);
  *package_ids = to_strv(ids);
  if (errors) *errors = to_strv(messages);
  return messages.empty() ? 0 : kIoError;
}

int velmora_host_get_app_exec(const char *app_id, char **exec, char **error) {
  if (!app_id || !exec) return fail(kInvalid, "missing application id", error);
  int code = 0;
  if (refused(&code, error)) return code;
  vhost::AppRecord app;
  if (!vhost::registry_find_app(app_id, &app))
    return fail(APP_MANAGER_ERROR_NO_SUCH_APP,
                std::string("application '") + app_id + "' is not installed", error);
  *exec = strdup(app.exec.c_str());
  return 0;
}

void velmora_host_read_counts(unsigned *registry, unsigned *device_config) {
  if (registry) *registry = vhost::registry_reads();
  if (device_config) *device_config = vhost::device_profile_reads();
}

void velmora_host_strv_free(char **strv) {
  if (!strv) return;
  for (char **s = strv; *s; ++s) free(*s);
  free(strv);
}

}  // extern "C"
