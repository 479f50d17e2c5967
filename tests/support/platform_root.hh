// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a fresh platform root per test.
//
// PlatformRoot makes a new temporary directory, points VELMORA_PLATFORM_ROOT at it and, when it
// goes out of scope, restores the variable and removes the directory. With it a test sets the
// device profile and installs packages (the account agent, with any API level or none) without
// sharing anything with other tests.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vtest {

class PlatformRoot {
 public:
  struct App {
    std::string app_id;
    std::string type;  // "service" or "ui"
    std::string exec;  // need not exist for tests that only look the app up
  };
  struct Metadata {
    std::string app_id;
    std::string key;
    std::string value;
  };

  // The agent's ids and its API-level metadata key, as the library expects them.
  static constexpr const char *kAgentAppId = "dev.velmora.account";
  static constexpr const char *kAgentUiAppId = "dev.velmora.account.ui";
  static constexpr const char *kApiLevelKey = "velmora-experience-service-api-level";

  // Creates and enters a fresh root (device profile "mobile", no packages). Throws
  // std::runtime_error when the directory cannot be made.
  PlatformRoot();
  ~PlatformRoot();
  PlatformRoot(const PlatformRoot &) = delete;
  PlatformRoot &operator=(const PlatformRoot &) = delete;

  const std::string &path() const { return path_; }
  // A path below the root: path_of("device.conf").
  std::string path_of(const std::string &sub) const { return path_ + "/" + sub; }

  // Sets the device profile ("mobile", "wearable", "tv", or another word for tests). Throws on
  // failure, as do the functions below.
  void set_profile(const std::string &profile);

  // Installs the agent package: the service app kAgentAppId and the UI app kAgentUiAppId, both
  // running `exec` (default: agent_exec()). With an API level, the service app carries it as its
  // metadata; without (std::nullopt), it has no metadata at all.
  void install_agent(std::optional<int> api_level = 5, const std::string &exec = "");
  void install_agent_without_metadata(const std::string &exec = "");
  // Installs (or replaces) any package.
  void install_package(const std::string &package_id, const std::vector<App> &apps,
                       const std::vector<Metadata> &metadata = {});
  void remove_package(const std::string &package_id);

  // The build directory (VELMORA_BUILD_DIR, set by the test runner; "." without it).
  static std::string build_dir();
  // The built reference agent: "<build dir>/agent/velmora-agent" (it may not exist yet).
  static std::string agent_exec();

 private:
  std::string path_;
  std::optional<std::string> previous_root_;
};

}  // namespace vtest
