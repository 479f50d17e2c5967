// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the host platform's package and application information over the registry.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "app_info.h"
#include "package_manager.h"
#include "platform_root.hh"

namespace {

using Visit = std::pair<package_info_app_component_type_e, std::string>;

std::vector<Visit> visit(package_info_h info, package_info_app_component_type_e type,
                         int stop_after = -1) {
  struct State {
    std::vector<Visit> seen;
    int stop_after;
  } state{{}, stop_after};
  EXPECT_EQ(package_info_foreach_app_from_package(
                info, type,
                [](package_info_app_component_type_e t, const char *id, void *data) {
                  auto *s = static_cast<State *>(data);
                  s->seen.emplace_back(t, id);
                  return s->stop_after < 0 || static_cast<int>(s->seen.size()) < s->stop_after;
                },
                &state),
            PACKAGE_MANAGER_ERROR_NONE);
  return state.seen;
}

class PlatformPackages : public ::testing::Test {
 protected:
  void SetUp() override {
    root_.install_package("dev.example.mixed",
                          {{"dev.example.mixed.ui1", "ui", "/bin/a"},
                           {"dev.example.mixed", "service", "/bin/b"},
                           {"dev.example.mixed.ui2", "ui", "/bin/c"},
                           {"dev.example.mixed.svc2", "service", "/bin/d"}},
                          {{"dev.example.mixed", "first", "1"},
                           {"dev.example.mixed", "second", "two"},
                           {"dev.example.mixed", "empty", ""},
                           {"dev.example.mixed.ui1", "ui-key", "u"}});
  }
  vtest::PlatformRoot root_;
};

constexpr auto kUi = PACKAGE_INFO_APP_COMPONENT_TYPE_UI;
constexpr auto kService = PACKAGE_INFO_APP_COMPONENT_TYPE_SERVICE;

}  // namespace

TEST_F(PlatformPackages, PackageInfoOfAnInstalledPackage) {
  package_info_h info = nullptr;
  ASSERT_EQ(package_info_create("dev.example.mixed", &info), PACKAGE_MANAGER_ERROR_NONE);
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(package_info_destroy(info), PACKAGE_MANAGER_ERROR_NONE);
}

TEST_F(PlatformPackages, UnknownPackageIsNoSuchPackage) {
  package_info_h info = nullptr;
  EXPECT_EQ(package_info_create("dev.example.none", &info), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
  EXPECT_EQ(info, nullptr);
  EXPECT_EQ(package_info_create("../escape", &info), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
  EXPECT_EQ(package_info_create("", &info), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
}

TEST_F(PlatformPackages, PackageInfoRefusesNullArguments) {
  package_info_h info = nullptr;
  EXPECT_EQ(package_info_create(nullptr, &info), PACKAGE_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(package_info_create("dev.example.mixed", nullptr),
            PACKAGE_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(package_info_destroy(nullptr), PACKAGE_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(
      package_info_foreach_app_from_package(
          nullptr, kService,
          [](package_info_app_component_type_e, const char *, void *) { return true; }, nullptr),
      PACKAGE_MANAGER_ERROR_INVALID_PARAMETER);
}

TEST_F(PlatformPackages, MalformedPackageFileIsAnIoErrorNotACrash) {
  std::ofstream(root_.path_of("packages/dev.example.broken.pkg")) << "[package\nid=\n";
  package_info_h info = nullptr;
  EXPECT_EQ(package_info_create("dev.example.broken", &info), PACKAGE_MANAGER_ERROR_IO_ERROR);
  EXPECT_EQ(info, nullptr);
}

TEST_F(PlatformPackages, PackageFileOfAnotherIdIsMalformed) {
  std::filesystem::copy_file(root_.path_of("packages/dev.example.mixed.pkg"),
                             root_.path_of("packages/dev.example.copy.pkg"));
  package_info_h info = nullptr;
  EXPECT_EQ(package_info_create("dev.example.copy", &info), PACKAGE_MANAGER_ERROR_IO_ERROR);
}

TEST_F(PlatformPackages, ServiceWalkVisitsServiceAppsInOrder) {
  package_info_h info = nullptr;
  ASSERT_EQ(package_info_create("dev.example.mixed", &info), 0);
  EXPECT_EQ(visit(info, kService), (std::vector<Visit>{{kService, "dev.example.mixed"},
                                                       {kService, "dev.example.mixed.svc2"}}));
  package_info_destroy(info);
}

TEST_F(PlatformPackages, UiWalkVisitsUiAppsInOrder) {
  package_info_h info = nullptr;
  ASSERT_EQ(package_info_create("dev.example.mixed", &info), 0);
  EXPECT_EQ(visit(info, kUi),
            (std::vector<Visit>{{kUi, "dev.example.mixed.ui1"}, {kUi, "dev.example.mixed.ui2"}}));
  package_info_destroy(info);
}

TEST_F(PlatformPackages, AllWalkVisitsEveryAppWithItsType) {
  package_info_h info = nullptr;
  ASSERT_EQ(package_info_create("dev.example.mixed", &info), 0);
  EXPECT_EQ(visit(info, PACKAGE_INFO_APP_COMPONENT_TYPE_ALL),
            (std::vector<Visit>{{kUi, "dev.example.mixed.ui1"},
                                {kService, "dev.example.mixed"},
                                {kUi, "dev.example.mixed.ui2"},
                                {kService, "dev.example.mixed.svc2"}}));
  package_info_destroy(info);
}

TEST_F(PlatformPackages, WalkStopsWhenTheCallbackSaysSo) {
  package_info_h info = nullptr;
  ASSERT_EQ(package_info_create("dev.example.mixed", &info), 0);
  EXPECT_EQ(visit(info, PACKAGE_INFO_APP_COMPONENT_TYPE_ALL, 1).size(), 1u);
  package_info_destroy(info);
}

TEST_F(PlatformPackages, WalkRefusesUnknownComponentTypesAndNullCallback) {
  package_info_h info = nullptr;
  ASSERT_EQ(package_info_create("dev.example.mixed", &info), 0);
  auto cb = [](package_info_app_component_type_e, const char *, void *) { return true; };
  EXPECT_EQ(package_info_foreach_app_from_package(
                info, static_cast<package_info_app_component_type_e>(3), cb, nullptr),
            PACKAGE_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(package_info_foreach_app_from_package(info, kService, nullptr, nullptr),
            PACKAGE_MANAGER_ERROR_INVALID_PARAMETER);
  package_info_destroy(info);
}

TEST_F(PlatformPackages, AppInfoWalksMetadataInInstallationOrder) {
  app_info_h app = nullptr;
  ASSERT_EQ(app_info_create("dev.example.mixed", &app), APP_MANAGER_ERROR_NONE);
  std::vector<std::pair<std::string, std::string>> seen;
  EXPECT_EQ(app_info_foreach_metadata(
                app,
                [](const char *key, const char *value, void *data) {
                  static_cast<decltype(seen) *>(data)->emplace_back(key, value);
                  return true;
                },
                &seen),
            APP_MANAGER_ERROR_NONE);
  EXPECT_EQ(seen, (decltype(seen){{"first", "1"}, {"second", "two"}, {"empty", ""}}));
  EXPECT_EQ(app_info_destroy(app), APP_MANAGER_ERROR_NONE);
}

TEST_F(PlatformPackages, MetadataWalkStopsWhenTheCallbackSaysSo) {
  app_info_h app = nullptr;
  ASSERT_EQ(app_info_create("dev.example.mixed", &app), 0);
  int calls = 0;
  EXPECT_EQ(
      app_info_foreach_metadata(
          app,
          [](const char *, const char *, void *data) { return ++*static_cast<int *>(data) < 2; },
          &calls),
      0);
  EXPECT_EQ(calls, 2);
  app_info_destroy(app);
}

TEST_F(PlatformPackages, AppWithoutMetadataIsWalkedWithoutCalls) {
  app_info_h app = nullptr;
  ASSERT_EQ(app_info_create("dev.example.mixed.svc2", &app), 0);
  int calls = 0;
  EXPECT_EQ(
      app_info_foreach_metadata(
          app,
          [](const char *, const char *, void *data) { return ++*static_cast<int *>(data) > 0; },
          &calls),
      0);
  EXPECT_EQ(calls, 0);
  app_info_destroy(app);
}

TEST_F(PlatformPackages, UnknownAppIsNoSuchApp) {
  app_info_h app = nullptr;
  EXPECT_EQ(app_info_create("dev.example.none", &app), APP_MANAGER_ERROR_NO_SUCH_APP);
  EXPECT_EQ(app, nullptr);
}

TEST_F(PlatformPackages, AppInfoRefusesNullArguments) {
  app_info_h app = nullptr;
  EXPECT_EQ(app_info_create(nullptr, &app), APP_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_info_create("dev.example.mixed", nullptr), APP_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_info_foreach_metadata(nullptr, nullptr, nullptr),
            APP_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_info_destroy(nullptr), APP_MANAGER_ERROR_INVALID_PARAMETER);
}

TEST_F(PlatformPackages, RemovedPackageIsGone) {
  root_.remove_package("dev.example.mixed");
  package_info_h info = nullptr;
  EXPECT_EQ(package_info_create("dev.example.mixed", &info), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
  app_info_h app = nullptr;
  EXPECT_EQ(app_info_create("dev.example.mixed", &app), APP_MANAGER_ERROR_NO_SUCH_APP);
}
