// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the host platform's administration functions (velmora_host.h), used by the
// velmora-platform command and by PlatformRoot.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "app_info.h"
#include "package_manager.h"
#include "platform_root.hh"
#include "velmora_host.h"

namespace {

// Runs `call` with an error out-parameter; returns the message ("" without one).
template <typename F>
std::string message_of(F call, int *code) {
  char *error = nullptr;
  *code = call(&error);
  std::string message = error ? error : "";
  free(error);
  return message;
}

std::vector<std::string> strv(char **v) {
  std::vector<std::string> out;
  for (char **s = v; s && *s; ++s) out.push_back(*s);
  velmora_host_strv_free(v);
  return out;
}

}  // namespace

TEST(HostAdmin, InitRootCreatesRegistryAndMobileProfile) {
  vtest::PlatformRoot root;
  std::filesystem::remove_all(root.path());
  ASSERT_EQ(velmora_host_init_root(nullptr, nullptr), 0);
  EXPECT_TRUE(std::filesystem::is_directory(root.path_of("packages")));
  char *profile = nullptr;
  ASSERT_EQ(velmora_host_get_profile(&profile, nullptr), 0);
  EXPECT_STREQ(profile, "mobile");
  free(profile);
}

TEST(HostAdmin, InitRootWithAProfileSetsIt) {
  vtest::PlatformRoot root;
  ASSERT_EQ(velmora_host_init_root("tv", nullptr), 0);
  char *profile = nullptr;
  ASSERT_EQ(velmora_host_get_profile(&profile, nullptr), 0);
  EXPECT_STREQ(profile, "tv");
  free(profile);
}

TEST(HostAdmin, InitRootKeepsAnExistingProfile) {
  vtest::PlatformRoot root;
  root.set_profile("wearable");
  ASSERT_EQ(velmora_host_init_root(nullptr, nullptr), 0);
  char *profile = nullptr;
  ASSERT_EQ(velmora_host_get_profile(&profile, nullptr), 0);
  EXPECT_STREQ(profile, "wearable");
  free(profile);
}

TEST(HostAdmin, InitRootReportsAMalformedConfiguration) {
  vtest::PlatformRoot root;
  std::ofstream(root.path_of("device.conf")) << "garbage\n";
  int code = 0;
  const std::string message =
      message_of([](char **e) { return velmora_host_init_root(nullptr, e); }, &code);
  EXPECT_EQ(code, -5);
  EXPECT_NE(message.find("device.conf"), std::string::npos) << message;
}

TEST(HostAdmin, InvalidProfileWordsAreRefused) {
  vtest::PlatformRoot root;
  for (const char *bad : {"", "TV", "t v", "tv\n[x]", "../tv"}) {
    int code = 0;
    const std::string message =
        message_of([bad](char **e) { return velmora_host_set_profile(bad, e); }, &code);
    EXPECT_EQ(code, -22) << bad;
    EXPECT_NE(message.find("invalid profile"), std::string::npos) << message;
  }
  EXPECT_EQ(velmora_host_set_profile(nullptr, nullptr), -22);
}

TEST(HostAdmin, InstallRefusesBadPackages) {
  vtest::PlatformRoot root;
  const velmora_host_app_s good{"dev.example.a", "service", "/bin/true"};
  const velmora_host_app_s bad_type{"dev.example.a", "daemon", "/bin/true"};
  const velmora_host_app_s bad_id{"dev/example", "service", "/bin/true"};
  const velmora_host_app_s twice[] = {good, good};
  const velmora_host_metadata_s stray{"dev.example.other", "k", "v"};
  const velmora_host_metadata_s bad_key{"dev.example.a", "a=b", "v"};
  int code = 0;
  std::string m;
  m = message_of(
      [&](char **e) { return velmora_host_install_package("bad id", &good, 1, nullptr, 0, e); },
      &code);
  EXPECT_EQ(code, -22);
  EXPECT_NE(m.find("invalid package id"), std::string::npos) << m;
  m = message_of(
      [&](char **e) {
        return velmora_host_install_package("dev.example.a", &bad_type, 1, nullptr, 0, e);
      },
      &code);
  EXPECT_EQ(code, -22);
  EXPECT_NE(m.find("type must be service or ui"), std::string::npos) << m;
  m = message_of(
      [&](char **e) {
        return velmora_host_install_package("dev.example.a", &bad_id, 1, nullptr, 0, e);
      },
      &code);
  EXPECT_EQ(code, -22);
  m = message_of(
      [&](char **e) {
        return velmora_host_install_package("dev.example.a", twice, 2, nullptr, 0, e);
      },
      &code);
  EXPECT_EQ(code, -22);
  EXPECT_NE(m.find("given twice"), std::string::npos) << m;
  m = message_of(
      [&](char **e) {
        return velmora_host_install_package("dev.example.a", &good, 1, &stray, 1, e);
      },
      &code);
  EXPECT_EQ(code, -22);
  EXPECT_NE(m.find("not an application of dev.example.a"), std::string::npos) << m;
  m = message_of(
      [&](char **e) {
        return velmora_host_install_package("dev.example.a", &good, 1, &bad_key, 1, e);
      },
      &code);
  EXPECT_EQ(code, -22);
  EXPECT_EQ(velmora_host_install_package(nullptr, &good, 1, nullptr, 0, nullptr), -22);
  // None of these left a package behind.
  char **ids = nullptr;
  EXPECT_EQ(velmora_host_list_packages(&ids, nullptr), 0);
  EXPECT_TRUE(strv(ids).empty());
}

TEST(HostAdmin, AnAppIdBelongsToOnePackage) {
  vtest::PlatformRoot root;
  root.install_package("dev.example.a", {{"dev.example.shared", "service", "/bin/true"}});
  const velmora_host_app_s same{"dev.example.shared", "service", "/bin/true"};
  int code = 0;
  const std::string m = message_of(
      [&](char **e) {
        return velmora_host_install_package("dev.example.b", &same, 1, nullptr, 0, e);
      },
      &code);
  EXPECT_EQ(code, -22);
  EXPECT_NE(m.find("belongs to package 'dev.example.a'"), std::string::npos) << m;
}

TEST(HostAdmin, ReinstallReplacesThePackage) {
  vtest::PlatformRoot root;
  root.install_agent(2);
  root.install_agent(5, "/opt/agent");
  char *exec = nullptr;
  ASSERT_EQ(velmora_host_get_app_exec("dev.velmora.account", &exec, nullptr), 0);
  EXPECT_STREQ(exec, "/opt/agent");
  free(exec);
}

TEST(HostAdmin, RemoveOfAnUnknownPackageIsNoSuchPackage) {
  vtest::PlatformRoot root;
  int code = 0;
  const std::string m = message_of(
      [](char **e) { return velmora_host_remove_package("dev.example.none", e); }, &code);
  EXPECT_EQ(code, PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
  EXPECT_NE(m.find("is not installed"), std::string::npos) << m;
}

TEST(HostAdmin, ListIsSortedAndNamesMalformedFiles) {
  vtest::PlatformRoot root;
  root.install_package("dev.example.b", {{"dev.example.b", "service", "/bin/true"}});
  root.install_package("dev.example.a", {{"dev.example.a", "ui", "/bin/true"}});
  char **ids = nullptr;
  char **errors = nullptr;
  EXPECT_EQ(velmora_host_list_packages(&ids, &errors), 0);
  EXPECT_EQ(strv(ids), (std::vector<std::string>{"dev.example.a", "dev.example.b"}));
  EXPECT_TRUE(strv(errors).empty());

  std::ofstream(root.path_of("packages/dev.example.c.pkg")) << "[oops\n";
  EXPECT_EQ(velmora_host_list_packages(&ids, &errors), -5);
  EXPECT_EQ(strv(ids), (std::vector<std::string>{"dev.example.a", "dev.example.b"}));
  const std::vector<std::string> messages = strv(errors);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_NE(messages[0].find("dev.example.c"), std::string::npos) << messages[0];
}

TEST(HostAdmin, AppExecOfAnUnknownAppIsNoSuchApp) {
  vtest::PlatformRoot root;
  char *exec = nullptr;
  EXPECT_EQ(velmora_host_get_app_exec("dev.example.none", &exec, nullptr),
            APP_MANAGER_ERROR_NO_SUCH_APP);
  EXPECT_EQ(exec, nullptr);
}

TEST(PlatformRootSupport, MakesAFreshRootAndRemovesIt) {
  std::string path;
  {
    vtest::PlatformRoot root;
    path = root.path();
    EXPECT_EQ(std::string(getenv("VELMORA_PLATFORM_ROOT")), path);
    EXPECT_STREQ(velmora_host_root(), path.c_str());
    EXPECT_TRUE(std::filesystem::is_directory(path));
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(PlatformRootSupport, NestedRootsRestoreTheOuterOne) {
  vtest::PlatformRoot outer;
  {
    vtest::PlatformRoot inner;
    EXPECT_NE(inner.path(), outer.path());
    EXPECT_EQ(std::string(getenv("VELMORA_PLATFORM_ROOT")), inner.path());
  }
  EXPECT_EQ(std::string(getenv("VELMORA_PLATFORM_ROOT")), outer.path());
}

TEST(PlatformRootSupport, AgentWithALevelCarriesItsMetadata) {
  vtest::PlatformRoot root;
  root.install_agent(3);
  app_info_h app = nullptr;
  ASSERT_EQ(app_info_create("dev.velmora.account", &app), 0);
  std::string level;
  app_info_foreach_metadata(
      app,
      [](const char *k, const char *v, void *d) {
        if (std::string(k) == "velmora-experience-service-api-level")
          *static_cast<std::string *>(d) = v;
        return true;
      },
      &level);
  app_info_destroy(app);
  EXPECT_EQ(level, "3");
  char *exec = nullptr;
  ASSERT_EQ(velmora_host_get_app_exec("dev.velmora.account.ui", &exec, nullptr), 0);
  EXPECT_EQ(std::string(exec), vtest::PlatformRoot::agent_exec());
  free(exec);
}
