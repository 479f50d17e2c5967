// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the package registry and the device configuration are read when they change,
// not on every request, and every change is seen: one made through the platform in this process,
// one made by another process, and a package file edited in place.
#include <glib.h>
#include <gtest/gtest.h>

#include <string>

#include "app_info.h"
#include "platform_root.hh"
#include "run_program.hh"
#include "system_info.h"
#include "velmora_host.h"

namespace {

// A change is trusted to show in a file's times once this long has passed (a change within the
// same clock tick could otherwise hide; see platform/host/internal/file_stamp.hh).
constexpr gulong kPastTheTickUs = 250 * 1000;

unsigned registry_reads() {
  unsigned n = 0;
  velmora_host_read_counts(&n, nullptr);
  return n;
}

unsigned config_reads() {
  unsigned n = 0;
  velmora_host_read_counts(nullptr, &n);
  return n;
}

// The metadata value `key` of an installed app ("<none>" when the app is not found).
std::string metadata(const std::string &app_id, const std::string &key) {
  app_info_h info = nullptr;
  if (app_info_create(app_id.c_str(), &info) != APP_MANAGER_ERROR_NONE) return "<none>";
  struct Want {
    std::string key, value = "<unset>";
  } want{key};
  app_info_foreach_metadata(
      info,
      [](const char *k, const char *v, void *d) {
        auto *w = static_cast<Want *>(d);
        if (w->key == k) w->value = v;
        return true;
      },
      &want);
  app_info_destroy(info);
  return want.value;
}

class ReadWhenChanged : public ::testing::Test {
 protected:
  void SetUp() override {
    for (int i = 0; i < 50; ++i) {
      const std::string id = "dev.example.p" + std::to_string(i);
      root_.install_package(id, {{id, "service", "/bin/true"}}, {{id, "level", std::to_string(i)}});
    }
    g_usleep(kPastTheTickUs);
  }
  vtest::PlatformRoot root_;
};

TEST_F(ReadWhenChanged, RegistryIsReadOnceForManyLookups) {
  ASSERT_EQ(metadata("dev.example.p0", "level"), "0");
  const unsigned before = registry_reads();
  for (int n = 0; n < 200; ++n) {
    const std::string id = "dev.example.p" + std::to_string(n % 50);
    ASSERT_EQ(metadata(id, "level"), std::to_string(n % 50));
  }
  EXPECT_EQ(registry_reads(), before);
  EXPECT_EQ(metadata("dev.example.missing", "level"), "<none>");
  EXPECT_EQ(registry_reads(), before);
}

TEST_F(ReadWhenChanged, PackageInstalledByAnotherProcessIsSeenAtOnce) {
  ASSERT_EQ(metadata("dev.example.p1", "level"), "1");
  vtest::ProgramRun run = vtest::run_program(
      vtest::PlatformRoot::build_dir() + "/tools/velmora-platform",
      {"install", "dev.example.late", "--app", "dev.example.late:service:/bin/true", "--meta",
       "dev.example.late:level=late"},
      "build the velmora-platform tool");
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(metadata("dev.example.late", "level"), "late");
  vtest::run_program(vtest::PlatformRoot::build_dir() + "/tools/velmora-platform",
                     {"remove", "dev.example.late"}, "build the velmora-platform tool");
  EXPECT_EQ(metadata("dev.example.late", "level"), "<none>");
}

TEST_F(ReadWhenChanged, PackageFileEditedInPlaceIsSeenAtOnce) {
  ASSERT_EQ(metadata("dev.example.p2", "level"), "2");
  const unsigned before = registry_reads();
  // Rewritten in place: the directory does not change, the file does.
  const std::string file = root_.path_of("packages/dev.example.p2.pkg");
  gchar *text = nullptr;
  ASSERT_TRUE(g_file_get_contents(file.c_str(), &text, nullptr, nullptr));
  std::string edited = text;
  g_free(text);
  const size_t at = edited.find("level=2");
  ASSERT_NE(at, std::string::npos);
  edited.replace(at, 7, "level=two");
  FILE *f = fopen(file.c_str(), "r+");
  ASSERT_NE(f, nullptr);
  ASSERT_EQ(fwrite(edited.data(), 1, edited.size(), f), edited.size());
  fclose(f);
  EXPECT_EQ(metadata("dev.example.p2", "level"), "two");
  EXPECT_EQ(registry_reads(), before + 1);
}

TEST_F(ReadWhenChanged, DeviceConfigurationIsReadOnceAndChangesAreSeen) {
  root_.set_profile("wearable");
  g_usleep(kPastTheTickUs);
  auto profile = [] {
    char *value = nullptr;
    EXPECT_EQ(system_info_get_platform_string(SYSTEM_INFO_KEY_PROFILE, &value), 0);
    std::string out = value ? value : "";
    free(value);
    return out;
  };
  ASSERT_EQ(profile(), "wearable");
  const unsigned before = config_reads();
  for (int n = 0; n < 100; ++n) ASSERT_EQ(profile(), "wearable");
  EXPECT_EQ(config_reads(), before);
  vtest::ProgramRun run =
      vtest::run_program(vtest::PlatformRoot::build_dir() + "/tools/velmora-platform",
                         {"profile", "tv"}, "build the velmora-platform tool");
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(profile(), "tv");
  EXPECT_EQ(config_reads(), before + 1);
}

}  // namespace

// A lookup answers for the root of the moment: entering another root and coming back is seen at
// once, by the same thread, for the same app id.
TEST_F(ReadWhenChanged, ALookupAnswersForTheRootOfTheMoment) {
  ASSERT_EQ(metadata("dev.example.p3", "level"), "3");
  {
    vtest::PlatformRoot other;  // entered: it has no packages
    EXPECT_EQ(metadata("dev.example.p3", "level"), "<none>");
    other.install_package("dev.example.p3", {{"dev.example.p3", "service", "/bin/true"}},
                          {{"dev.example.p3", "level", "other"}});
    EXPECT_EQ(metadata("dev.example.p3", "level"), "other");
  }
  EXPECT_EQ(metadata("dev.example.p3", "level"), "3");
}
