// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a fresh platform root per test.
#include "platform_root.hh"

#include <glib.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "velmora_host.h"

namespace vtest {

namespace {

// Throws with the platform's message when `code` is a failure.
void check(int code, char *error, const std::string &what) {
  if (code == 0) return;
  std::string message = what + ": " + (error ? error : "error " + std::to_string(code));
  free(error);
  throw std::runtime_error(message);
}

}  // namespace

PlatformRoot::PlatformRoot() {
  if (const char *previous = getenv("VELMORA_PLATFORM_ROOT")) previous_root_ = previous;
  GError *err = nullptr;
  gchar *dir = g_dir_make_tmp("velmora-test-XXXXXX", &err);
  if (!dir) {
    std::string message = err ? err->message : "unknown error";
    g_clear_error(&err);
    throw std::runtime_error("cannot make a platform root: " + message);
  }
  path_ = dir;
  g_free(dir);
  setenv("VELMORA_PLATFORM_ROOT", path_.c_str(), 1);
  char *error = nullptr;
  check(velmora_host_init_root(nullptr, &error), error, "init " + path_);
}

PlatformRoot::~PlatformRoot() {
  if (previous_root_)
    setenv("VELMORA_PLATFORM_ROOT", previous_root_->c_str(), 1);
  else
    unsetenv("VELMORA_PLATFORM_ROOT");
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

void PlatformRoot::set_profile(const std::string &profile) {
  char *error = nullptr;
  check(velmora_host_set_profile(profile.c_str(), &error), error, "set profile " + profile);
}

void PlatformRoot::install_agent(std::optional<int> api_level, const std::string &exec) {
  const std::string path = exec.empty() ? agent_exec() : exec;
  std::vector<Metadata> metadata;
  if (api_level) metadata.push_back({kAgentAppId, kApiLevelKey, std::to_string(*api_level)});
  install_package(kAgentAppId, {{kAgentAppId, "service", path}, {kAgentUiAppId, "ui", path}},
                  metadata);
}

void PlatformRoot::install_agent_without_metadata(const std::string &exec) {
  install_agent(std::nullopt, exec);
}

void PlatformRoot::install_package(const std::string &package_id, const std::vector<App> &apps,
                                   const std::vector<Metadata> &metadata) {
  std::vector<velmora_host_app_s> c_apps;
  for (const App &a : apps) c_apps.push_back({a.app_id.c_str(), a.type.c_str(), a.exec.c_str()});
  std::vector<velmora_host_metadata_s> c_meta;
  for (const Metadata &m : metadata)
    c_meta.push_back({m.app_id.c_str(), m.key.c_str(), m.value.c_str()});
  char *error = nullptr;
  check(velmora_host_install_package(package_id.c_str(), c_apps.data(), c_apps.size(),
                                     c_meta.data(), c_meta.size(), &error),
        error, "install " + package_id);
}

void PlatformRoot::remove_package(const std::string &package_id) {
  char *error = nullptr;
  check(velmora_host_remove_package(package_id.c_str(), &error), error, "remove " + package_id);
}

std::string PlatformRoot::build_dir() {
  const char *dir = getenv("VELMORA_BUILD_DIR");
  return dir && *dir ? dir : ".";
}

std::string PlatformRoot::agent_exec() { return build_dir() + "/agent/velmora-agent"; }

}  // namespace vtest
