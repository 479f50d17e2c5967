// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the velmora-platform command, run as a separate program.
#include <glib.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "json_view.hh"
#include "platform_root.hh"
#include "run_program.hh"
#include "system_info.h"
#include "va_base.h"

namespace {

struct CliRun {
  int status = -1;
  std::string out, err;
};

std::string tool() { return vtest::PlatformRoot::build_dir() + "/tools/velmora-platform"; }

// Runs the command with `args`. The environment is the test's, with VELMORA_PLATFORM_ROOT set to
// `root` (removed when `root` is empty).
CliRun run(const std::vector<std::string> &args, const std::string &root,
           const std::string &cwd = "") {
  std::vector<const char *> argv{"velmora-platform"};
  for (const std::string &a : args) argv.push_back(a.c_str());
  argv.push_back(nullptr);
  gchar **env = g_get_environ();
  env = root.empty() ? g_environ_unsetenv(env, "VELMORA_PLATFORM_ROOT")
                     : g_environ_setenv(env, "VELMORA_PLATFORM_ROOT", root.c_str(), TRUE);
  const std::string program = tool();
  argv[0] = program.c_str();
  CliRun r;
  gchar *out = nullptr, *err = nullptr;
  gint wait_status = 0;
  GError *error = nullptr;
  if (g_spawn_sync(cwd.empty() ? nullptr : cwd.c_str(), const_cast<gchar **>(argv.data()), env,
                   G_SPAWN_DEFAULT, nullptr, nullptr, &out, &err, &wait_status, &error)) {
    r.status = WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : -1;
    r.out = out ? out : "";
    r.err = err ? err : "";
  } else {
    r.err = std::string("cannot run ") + program + ": " + (error ? error->message : "?");
    g_clear_error(&error);
  }
  g_free(out);
  g_free(err);
  g_strfreev(env);
  return r;
}

constexpr const char *kUsageError = "VELMORA_TOOL_ERROR_USAGE";

bool contains(const std::string &text, const std::string &part) {
  return text.find(part) != std::string::npos;
}

std::string profile_of_root() {
  char *value = nullptr;
  if (system_info_get_platform_string(SYSTEM_INFO_KEY_PROFILE, &value) != 0) return "<error>";
  std::string p = value;
  free(value);
  return p;
}

class PlatformCli : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(std::filesystem::exists(tool())) << tool() << " is not built";
  }
  vtest::PlatformRoot root_;
};

}  // namespace

TEST_F(PlatformCli, HelpListsEveryCommand) {
  const CliRun r = run({"--help"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(contains(r.out, "velmora-platform [OPTION…] <command>")) << r.out;
  EXPECT_TRUE(contains(r.out, "Exit status:\n  0  done\n")) << r.out;
  for (const char *c : {"init", "profile", "mcc", "install", "remove", "list", "show", "accounts",
                        "ps", "stop", "logs"})
    EXPECT_TRUE(contains(r.out, std::string("  ") + c + " ")) << c << "\n" << r.out;
}

TEST_F(PlatformCli, CommandHelpShowsItsUsage) {
  const CliRun r = run({"install", "--help"}, "");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(contains(r.out, "velmora-platform [OPTION…] install <package-id>")) << r.out;
  EXPECT_TRUE(contains(r.out, "--app=APP-ID:TYPE:EXEC")) << r.out;
  EXPECT_TRUE(contains(r.out, "--root=DIR")) << r.out;
}

TEST_F(PlatformCli, NoCommandIsAUsageError) {
  const CliRun r = run({}, root_.path());
  EXPECT_EQ(r.status, 2);
  EXPECT_TRUE(contains(r.err, "velmora-platform: no command given\n(see velmora-platform --help)"))
      << r.err;
}

TEST_F(PlatformCli, UnknownCommandAndOptionAreUsageErrors) {
  CliRun r = run({"frobnicate"}, root_.path());
  EXPECT_EQ(r.status, 2);
  EXPECT_TRUE(contains(r.err, "unknown command 'frobnicate'")) << r.err;
  r = run({"--verbose", "list"}, root_.path());
  EXPECT_EQ(r.status, 2);
  EXPECT_TRUE(contains(r.err, "Unknown option --verbose")) << r.err;
  r = run({"list", "extra"}, root_.path());
  EXPECT_EQ(r.status, 2);
}

TEST_F(PlatformCli, MissingRootIsAClearError) {
  const CliRun r = run({"list"}, "");
  EXPECT_EQ(r.status, 2);
  EXPECT_TRUE(contains(r.err, "no platform root: give --root DIR or set VELMORA_PLATFORM_ROOT"))
      << r.err;
  const CliRun dangling = run({"list", "--root"}, "");
  EXPECT_EQ(dangling.status, 2);
  EXPECT_TRUE(contains(dangling.err, "Missing argument for --root")) << dangling.err;
}

TEST_F(PlatformCli, RootThatDoesNotExistIsRefused) {
  const std::string missing = root_.path_of("not-there");
  for (const std::vector<std::string> &command : {std::vector<std::string>{"profile"},
                                                  {"show", "dev.velmora.account"},
                                                  {"remove", "x"},
                                                  {"install", "x", "--app", "x:service:/x"}}) {
    std::vector<std::string> args{"--root", missing};
    args.insert(args.end(), command.begin(), command.end());
    const CliRun r = run(args, "");
    EXPECT_EQ(r.status, 1) << command[0] << " " << r.err;
    EXPECT_TRUE(contains(r.err, "does not exist (create it with: velmora-platform init --root"))
        << r.err;
  }
  const CliRun r = run({"--root", missing, "list"}, "");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(contains(r.err, "platform root " + missing + " does not exist")) << r.err;
  EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(PlatformCli, InitCreatesARootWithTheGivenProfile) {
  const std::string dir = root_.path_of("fresh");
  const CliRun r = run({"init", "--root", dir, "--profile", "wearable"}, "");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "platform root " + dir + " (profile wearable)\n");
  EXPECT_TRUE(std::filesystem::is_directory(dir + "/packages"));
  setenv("VELMORA_PLATFORM_ROOT", dir.c_str(), 1);
  EXPECT_EQ(profile_of_root(), "wearable");
  setenv("VELMORA_PLATFORM_ROOT", root_.path().c_str(), 1);
}

TEST_F(PlatformCli, InitWithoutAProfileMakesAMobile) {
  const std::string dir = root_.path_of("phone");
  const CliRun r = run({"--root=" + dir, "init"}, "");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "platform root " + dir + " (profile mobile)\n");
}

TEST_F(PlatformCli, InitRefusesAnUnknownProfile) {
  const CliRun r = run({"init", "--profile", "toaster"}, root_.path());
  EXPECT_EQ(r.status, 2);
  EXPECT_TRUE(contains(r.err, "unknown profile 'toaster' (mobile, wearable or tv)")) << r.err;
}

TEST_F(PlatformCli, RelativeRootIsTakenFromTheCurrentDirectory) {
  const CliRun r = run({"--root", "rel", "init"}, "", root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(std::filesystem::is_directory(root_.path_of("rel/packages")));
}

TEST_F(PlatformCli, ProfileIsShownAndSet) {
  CliRun r = run({"profile"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "mobile\n");
  r = run({"profile", "tv"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "profile tv\n");
  EXPECT_EQ(profile_of_root(), "tv");
  EXPECT_TRUE(va_is_tv_profile());
  r = run({"profile"}, root_.path());
  EXPECT_EQ(r.out, "tv\n");
}

TEST_F(PlatformCli, ProfileRefusesUnknownWordsAndExtraArguments) {
  CliRun r = run({"profile", "tvbox"}, root_.path());
  EXPECT_EQ(r.status, 2);
  EXPECT_TRUE(contains(r.err, "unknown profile 'tvbox'")) << r.err;
  r = run({"profile", "tv", "wearable"}, root_.path());
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(profile_of_root(), "mobile");
}

TEST_F(PlatformCli, MccIsShownSetAndRemoved) {
  CliRun r = run({"mcc"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "no network (no MCC)\n");
  r = run({"mcc", "262"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "262\n");
  // Applications read it as system information; the profile is kept.
  char *value = nullptr;
  ASSERT_EQ(system_info_get_platform_string(SYSTEM_INFO_KEY_MCC, &value), 0);
  EXPECT_STREQ(value, "262");
  free(value);
  EXPECT_EQ(profile_of_root(), "mobile");
  r = run({"mcc", "--json"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "{\"mcc\":\"262\"}\n");
  r = run({"mcc", "none", "--json"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "{\"mcc\":null}\n");
  EXPECT_EQ(system_info_get_platform_string(SYSTEM_INFO_KEY_MCC, &value),
            SYSTEM_INFO_ERROR_NO_DATA);
}

TEST_F(PlatformCli, DoubleDashEndsTheOptions) {
  CliRun r = run({"list", "--", "--json"}, root_.path());  // a word now, not an option: refused
  EXPECT_EQ(r.status, 2);
  EXPECT_TRUE(contains(r.err, "unexpected argument '--json'")) << r.err;
  EXPECT_EQ(r.out, "");  // no JSON object: --json was not asked for
  // Words after it are the command's arguments, as they would be without it.
  r = run({"profile", "--", "tv"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "profile tv\n");
  EXPECT_EQ(profile_of_root(), "tv");
}

TEST_F(PlatformCli, MccRefusesAnythingButThreeDigits) {
  for (const char *bad : {"26", "2622", "26a", "-12"}) {
    const CliRun r = run({"mcc", "--", bad}, root_.path());
    EXPECT_EQ(r.status, 2) << bad;
    EXPECT_TRUE(contains(r.err, std::string("an MCC is three digits, not '") + bad + "'")) << r.err;
  }
  const CliRun r = run({"mcc"}, root_.path());
  EXPECT_EQ(r.out, "no network (no MCC)\n");
}

TEST_F(PlatformCli, ProfileOfAMalformedConfigurationIsAClearError) {
  std::ofstream(root_.path_of("device.conf")) << "[device]\nprofile=Not A Word\n";
  const CliRun r = run({"profile"}, root_.path());
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(contains(r.err, "device.conf is malformed: invalid profile 'Not A Word'")) << r.err;
}

TEST_F(PlatformCli, InstallsTheAgentWithAnApiLevel) {
  const CliRun r =
      run({"install", "dev.velmora.account", "--app", "dev.velmora.account:service:/bin/true",
           "--app", "dev.velmora.account.ui:ui:/bin/true", "--meta",
           "dev.velmora.account:velmora-experience-service-api-level=3"},
          root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "installed dev.velmora.account (2 applications)\n");
  EXPECT_TRUE(va_is_agent_installed());
  EXPECT_FALSE(va_is_lower_agent(3));
  EXPECT_TRUE(va_is_lower_agent(5));
}

TEST_F(PlatformCli, InstallsTheAgentWithoutAnyLevel) {
  const CliRun r =
      run({"install", "dev.velmora.account", "--app", "dev.velmora.account:service:/bin/true"},
          root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "installed dev.velmora.account (1 application)\n");
  EXPECT_TRUE(va_is_agent_installed());
  EXPECT_TRUE(va_is_lower_agent(2));
}

TEST_F(PlatformCli, ShowPrintsApplicationsExecutablesAndMetadata) {
  g_mkdir_with_parents(root_.path_of("bin").c_str(), 0700);
  ASSERT_TRUE(g_file_set_contents(root_.path_of("bin/app").c_str(), "#!/bin/sh\n", -1, nullptr));
  ASSERT_EQ(chmod(root_.path_of("bin/app").c_str(), 0700), 0);
  ASSERT_EQ(run({"install", "dev.example.app", "--app", "dev.example.app:service:bin/app", "--app",
                 "dev.example.app.ui:ui:/bin/true", "--meta", "dev.example.app:url=http://x/y?a=b",
                 "--meta", "dev.example.app:empty="},
                root_.path(), root_.path())
                .status,
            0);
  const CliRun r = run({"show", "dev.example.app"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "package dev.example.app\n"
            "app dev.example.app\n"
            "  type service\n"
            "  exec " +
                root_.path() +
                "/bin/app\n"  // relative paths are made absolute
                "  metadata url=http://x/y?a=b\n"
                "  metadata empty=\n"
                "app dev.example.app.ui\n"
                "  type ui\n"
                "  exec /bin/true\n");
}

TEST_F(PlatformCli, InstallRefusesMalformedArguments) {
  const struct {
    std::vector<std::string> args;
    const char *complaint;
  } cases[] = {
      {{"install"}, "needs <package-id>"},
      {{"install", "dev.example.a"}, "a package needs at least one --app"},
      {{"install", "dev.example.a", "--app"}, "Missing argument for --app"},
      {{"install", "dev.example.a", "--app", "dev.example.a"},
       "is not <app-id>:<service|ui>:<exec>"},
      {{"install", "dev.example.a", "--app", "dev.example.a:daemon:/x"},
       "the type is service or ui"},
      {{"install", "dev.example.a", "--app", "dev.example.a:service:"},
       "needs an application id and an executable"},
      {{"install", "dev.example.a", "--app", "dev.example.a:service:/nonexistent/app"},
       "/nonexistent/app is not an executable file (give the full path of the program"},
      {{"install", "dev.example.a", "--app", "dev.example.a:service:not-executable"},
       "/not-executable is not an executable file"},
      {{"install", "dev.example.a", "--app", "a:service:/bin/true", "--meta", "a:novalue"},
       "is not <app-id>:<key>=<value>"},
      {{"install", "dev.example.a", "--app", "a:service:/bin/true", "--meta", ":k=v"},
       "is not <app-id>:<key>=<value>"},
      {{"install", "dev.example.a", "--app", "a:service:/bin/true", "--force"},
       "Unknown option --force"},
      {{"install", "dev.example.a", "dev.example.b", "--app", "a:service:/bin/true"},
       "unexpected argument 'dev.example.b'"},
  };
  // A file that exists but may not be executed.
  ASSERT_TRUE(g_file_set_contents(root_.path_of("not-executable").c_str(), "x", -1, nullptr));
  ASSERT_EQ(chmod(root_.path_of("not-executable").c_str(), 0600), 0);
  for (const auto &c : cases) {
    const CliRun r = run(c.args, root_.path(), root_.path());
    EXPECT_EQ(r.status, 2) << c.complaint << "\n" << r.err;
    EXPECT_TRUE(contains(r.err, c.complaint)) << r.err;
    EXPECT_TRUE(contains(r.err, "(see velmora-platform install --help)")) << r.err;
  }
  EXPECT_EQ(run({"list"}, root_.path()).out, "no package is installed\n");
}

TEST_F(PlatformCli, InstallReportsWhatThePlatformRefuses) {
  CliRun r = run({"install", "dev.example.a", "--app", "dev.example.a:service:/bin/true", "--meta",
                  "dev.example.other:k=v"},
                 root_.path());
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(contains(
      r.err, "metadata for 'dev.example.other', which is not an application of dev.example.a"))
      << r.err;
  r = run({"install", "bad/id", "--app", "x:service:/bin/true"}, root_.path());
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(contains(r.err, "invalid package id 'bad/id'")) << r.err;
}

TEST_F(PlatformCli, RemoveRemovesAndUnknownPackagesFail) {
  root_.install_agent(5);
  CliRun r = run({"remove", "dev.velmora.account"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "removed dev.velmora.account\n");
  EXPECT_FALSE(va_is_agent_installed());
  r = run({"remove", "dev.velmora.account"}, root_.path());
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(contains(r.err, "package 'dev.velmora.account' is not installed")) << r.err;
  r = run({"remove"}, root_.path());
  EXPECT_EQ(r.status, 2);
}

TEST_F(PlatformCli, ListShowsPackagesInOrderWithTheirApplications) {
  root_.install_agent(5);
  root_.install_package("dev.example.a", {{"dev.example.a", "ui", "/x"}});
  const CliRun r = run({"list"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "dev.example.a: dev.example.a (ui)\n"
            "dev.velmora.account: dev.velmora.account (service), dev.velmora.account.ui (ui)\n");
}

TEST_F(PlatformCli, ListNamesAMalformedPackageFileAndFails) {
  root_.install_package("dev.example.a", {{"dev.example.a", "ui", "/x"}});
  std::ofstream(root_.path_of("packages/dev.example.b.pkg"))
      << "[package]\nid=dev.example.b\napps=x\n";
  const CliRun r = run({"list"}, root_.path());
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "dev.example.a: dev.example.a (ui)\n");
  EXPECT_TRUE(contains(r.err, "package 'dev.example.b' is malformed")) << r.err;
}

TEST_F(PlatformCli, ShowOfAnUnknownOrMalformedPackageFails) {
  CliRun r = run({"show", "dev.example.none"}, root_.path());
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(contains(r.err, "package 'dev.example.none' is not installed")) << r.err;
  std::ofstream(root_.path_of("packages/dev.example.bad.pkg")) << "\x01\x02 binary junk\n";
  r = run({"show", "dev.example.bad"}, root_.path());
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(
      contains(r.err, "package 'dev.example.bad' cannot be read: its package file is malformed"))
      << r.err;
  r = run({"show"}, root_.path());
  EXPECT_EQ(r.status, 2);
}

TEST_F(PlatformCli, UnknownLogLevelIsReportedNotSilentlyReplaced) {
  setenv("VELMORA_LOG_LEVEL", "loud", 1);
  const vtest::ProgramRun r =
      vtest::run_program(vtest::PlatformRoot::build_dir() + "/tools/velmora-account",
                         {"token", "--login-id", "l", "--client-id", "c"}, "build velmora-account");
  unsetenv("VELMORA_LOG_LEVEL");
  EXPECT_TRUE(contains(r.err, "unknown VELMORA_LOG_LEVEL 'loud'")) << r.err;
}

// ps, logs and stop on the agent, launched on demand by a request of velmora-account.
TEST_F(PlatformCli, PsLogsAndStopShowAndEndALaunchedApplication) {
  root_.install_agent();
  CliRun r = run({"ps"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "no application is running\n");
  r = run({"logs", "dev.velmora.account"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(contains(r.out, "has no log yet")) << r.out;

  // A request launches the agent (the agent refuses it: nobody is signed in).
  const vtest::ProgramRun request = vtest::run_program(
      vtest::PlatformRoot::build_dir() + "/tools/velmora-account",
      {"token", "--login-id", "nobody@velmora.dev", "--client-id", "c"}, "build velmora-account");
  EXPECT_EQ(request.exit_code, 1) << request.err;

  r = run({"ps"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(g_str_has_prefix(r.out.c_str(), "dev.velmora.account ")) << r.out;
  r = run({"logs", "dev.velmora.account"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(contains(r.out, "I/VELMORA_AGENT: agent: serving as dev.velmora.account")) << r.out;
  r = run({"stop", "dev.velmora.account"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "stopped dev.velmora.account\n");
  r = run({"ps"}, root_.path());
  EXPECT_EQ(r.out, "no application is running\n");
  r = run({"stop", "dev.velmora.account"}, root_.path());
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(contains(r.err, "dev.velmora.account is not running")) << r.err;
}

// --json: listings and answers are one JSON object; empty listings say so in text.
TEST_F(PlatformCli, ListingsAsJsonAndEmptyListingsSaySo) {
  CliRun r = run({"list"}, root_.path());
  EXPECT_EQ(r.out, "no package is installed\n");
  r = run({"accounts"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "no account is stored\n");
  r = run({"list", "--json"}, root_.path());
  EXPECT_EQ(r.out, "{\"packages\":[]}\n");
  r = run({"ps", "--json"}, root_.path());
  EXPECT_EQ(r.out, "{\"running\":[]}\n");
  r = run({"accounts", "--json"}, root_.path());
  EXPECT_EQ(r.out, "{\"accounts\":[]}\n");

  root_.install_package("dev.example.a", {{"dev.example.a", "service", "/bin/true"}},
                        {{"dev.example.a", "level", "5"}});
  r = run({"list", "--json"}, root_.path());
  EXPECT_EQ(r.out,
            "{\"packages\":[{\"package_id\":\"dev.example.a\",\"apps\":[{\"app_id\":\"dev."
            "example.a\",\"type\":\"service\"}]}]}\n");
  r = run({"show", "dev.example.a", "--json"}, root_.path());
  EXPECT_EQ(r.out,
            "{\"package_id\":\"dev.example.a\",\"apps\":[{\"app_id\":\"dev.example.a\",\"type\":"
            "\"service\",\"exec\":\"/bin/true\",\"metadata\":{\"level\":\"5\"}}]}\n");
  r = run({"profile", "--json"}, root_.path());
  EXPECT_EQ(r.out, "{\"profile\":\"mobile\"}\n");
  r = run({"--json", "remove", "dev.example.a"}, root_.path());
  EXPECT_EQ(r.out, "{\"removed\":\"dev.example.a\"}\n");
}

// --json: every failure is one object too, naming the error and saying what to do; the text goes
// to stderr as without --json.
TEST_F(PlatformCli, FailuresAsJsonNameTheErrorAndSayWhatToDo) {
  const struct {
    std::vector<std::string> args;
    int status;
    const char *error;
    const char *advice;  // part of "message"
  } cases[] = {
      {{"show", "dev.example.none", "--json"},
       1,
       "PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE",
       "`velmora-platform list` shows the installed packages"},
      {{"--json", "remove", "dev.example.none"},
       1,
       "PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE",
       "`velmora-platform list` shows the installed packages"},
      {{"stop", "dev.example.none", "--json"},
       1,
       "PLATFORM_ERROR_NOT_RUNNING",
       "`velmora-platform ps` lists the running applications"},
      {{"--json", "--root", root_.path_of("not-there"), "profile"},
       1,
       "PLATFORM_ERROR_NO_SUCH_ROOT",
       "create it with: velmora-platform init --root"},
      {{"profile", "Not-A-Profile", "--json"},
       2,
       kUsageError,
       "(see velmora-platform profile --help)"},
      {{"--json", "frobnicate"}, 2, kUsageError, "(see velmora-platform --help)"},
      {{"--json", "--bogus", "list"}, 2, kUsageError, "Unknown option --bogus"},
      {{"--json"}, 2, kUsageError, "no command given (see velmora-platform --help)"},
  };
  for (const auto &c : cases) {
    const CliRun r = run(c.args, root_.path());
    SCOPED_TRACE(c.args[0] + " " + (c.args.size() > 1 ? c.args[1] : ""));
    EXPECT_EQ(r.status, c.status) << r.err;
    const vtest::Json json(r.out);
    ASSERT_TRUE(json.valid()) << "[" << r.out << "]";
    EXPECT_EQ(json.str("error"), c.error) << r.out;
    EXPECT_TRUE(contains(json.str("message"), c.advice)) << r.out;
    EXPECT_EQ(json.integer("exit_status"), c.status) << r.out;
    EXPECT_FALSE(r.err.empty());  // and the same in text for a person
  }
  // A subcommand's failure names the subcommand; --version is an object too.
  EXPECT_EQ(vtest::Json(run({"stop", "x.y", "--json"}, root_.path()).out).str("command"), "stop");
  const CliRun version = run({"--version", "--json"}, root_.path());
  EXPECT_EQ(vtest::Json(version.out).str("tool"), "velmora-platform") << version.out;
}

// A device configuration that cannot be read is named with the way to write a new one.
TEST_F(PlatformCli, MalformedConfigurationAsJsonSaysHowToRewriteIt) {
  std::ofstream(root_.path_of("device.conf")) << "[device\nprofile=mobile\n";
  for (const char *command : {"profile", "mcc"}) {
    const CliRun r = run({command, "--json"}, root_.path());
    EXPECT_EQ(r.status, 1) << r.err;
    const vtest::Json json(r.out);
    ASSERT_TRUE(json.valid()) << command << " [" << r.out << "]";
    EXPECT_EQ(json.str("error"), "PLATFORM_ERROR_IO_ERROR");
    EXPECT_TRUE(contains(json.str("message"), "device.conf is malformed")) << r.out;
    EXPECT_TRUE(contains(json.str("message"), "velmora-platform profile mobile|wearable|tv"))
        << r.out;
  }
  // ... and doing so works.
  EXPECT_EQ(run({"profile", "wearable"}, root_.path()).status, 0);
  EXPECT_EQ(run({"profile"}, root_.path()).out, "wearable\n");
}

// An account store that is not a database: the code's name (not a number) and what to do.
TEST_F(PlatformCli, DamagedAccountStoreIsNamedWithWhatToDo) {
  ASSERT_EQ(run({"accounts"}, root_.path()).status, 0);
  const std::string store = root_.path_of("store/accounts.db");
  std::ofstream(store, std::ios::trunc) << std::string(4096, 'x');
  CliRun r = run({"accounts", "--json"}, root_.path());
  EXPECT_EQ(r.status, 1) << r.err;
  const vtest::Json json(r.out);
  ASSERT_TRUE(json.valid()) << "[" << r.out << "]";
  EXPECT_EQ(json.str("error"), "ACCOUNT_ERROR_DB_NOT_OPENED");
  EXPECT_TRUE(contains(json.str("message"), store)) << r.out;
  EXPECT_TRUE(contains(json.str("message"), "move it aside to start with an empty store")) << r.out;
  EXPECT_FALSE(json.has("accounts"));
  EXPECT_TRUE(contains(r.err, "ACCOUNT_ERROR_DB_NOT_OPENED")) << r.err;
  EXPECT_FALSE(contains(r.err, "error -")) << r.err;
  // Moving it aside gives an empty store, as the message says.
  std::filesystem::rename(store, store + ".damaged");
  r = run({"accounts", "--json"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "{\"accounts\":[]}\n");
}

// A listing that is partly read is still one object: what could be read, and the failure.
TEST_F(PlatformCli, ListWithAMalformedPackageFileIsOneJsonObject) {
  root_.install_package("dev.example.a", {{"dev.example.a", "ui", "/x"}});
  std::ofstream(root_.path_of("packages/dev.example.b.pkg"))
      << "[package]\nid=dev.example.b\napps=x\n";
  const CliRun r = run({"list", "--json"}, root_.path());
  EXPECT_EQ(r.status, 1);
  const vtest::Json json(r.out);
  ASSERT_TRUE(json.valid()) << "[" << r.out << "]";
  EXPECT_TRUE(contains(r.out, "\"packages\":[{\"package_id\":\"dev.example.a\"")) << r.out;
  ASSERT_EQ(json.strings("errors").size(), 1u) << r.out;
  EXPECT_TRUE(contains(json.strings("errors")[0], "package 'dev.example.b' is malformed"));
  EXPECT_EQ(json.str("error"), "PLATFORM_ERROR_IO_ERROR");
  EXPECT_TRUE(contains(json.str("message"), "velmora-platform remove")) << r.out;
  EXPECT_EQ(json.integer("exit_status"), 1);
  EXPECT_TRUE(contains(r.err, "package 'dev.example.b' is malformed")) << r.err;
}

TEST_F(PlatformCli, VersionManualPageAndCompletion) {
  CliRun r = run({"--version"}, root_.path());
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(g_str_has_prefix(r.out.c_str(), "velmora-platform ")) << r.out;
  r = run({"--man"}, root_.path());
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(contains(r.out, ".TH VELMORA-PLATFORM 1")) << r.out;
  EXPECT_TRUE(contains(r.out, "\\fBstop\\fR <app\\-id>")) << r.out;
  r = run({"--bash-completion"}, root_.path());
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(contains(r.out, "complete -F _velmora_platform velmora-platform")) << r.out;
  // --root DIR before the command is skipped when completing the command's options.
  EXPECT_TRUE(contains(r.out, "--root|--profile|--app|--meta|--phone) ((i++)) ;;")) << r.out;
}

TEST_F(PlatformCli, PairPairsAWearableWithAPhoneShowsAndForgetsIt) {
  vtest::PlatformRoot phone;
  ASSERT_EQ(run({"profile", "mobile"}, phone.path()).status, 0);
  ASSERT_EQ(run({"profile", "wearable"}, root_.path()).status, 0);
  EXPECT_EQ(run({"pair"}, root_.path()).out, "not paired\n");

  CliRun r = run({"pair", "--phone", phone.path()}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "paired with phone " + phone.path() + "\n");
  r = run({"pair", "--json"}, root_.path());
  EXPECT_EQ(r.out, "{\"paired_with\":\"phone\",\"root\":\"" + phone.path() + "\"}\n");
  EXPECT_EQ(run({"pair"}, phone.path()).out, "wearable " + root_.path() + "\n");

  r = run({"pair", "--unpair"}, root_.path());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "unpaired\n");
  EXPECT_EQ(run({"pair"}, root_.path()).out, "not paired\n");
  EXPECT_EQ(run({"pair"}, phone.path()).out, "not paired\n");

  // Only a wearable pairs, and only with a phone; --phone and --unpair exclude each other.
  r = run({"pair", "--phone", root_.path()}, phone.path());
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(contains(r.err, "not a wearable")) << r.err;
  EXPECT_EQ(run({"pair", "--phone", phone.path(), "--unpair"}, root_.path()).status, 2);
}
