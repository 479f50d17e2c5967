// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the platform refuses a root that another user could change, and keeps state
// files private.
//
// As root the tests hand directories to another uid with chown; every user can make a directory
// writable by others with chmod, so those cases run everywhere.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "account_store.h"
#include "agent_state.hh"
#include "app_control.h"
#include "app_info.h"
#include "dlog.h"
#include "ipc_fixture.hh"
#include "log_capture.hh"
#include "package_manager.h"
#include "system_info.h"
#include "velmora_host.h"

namespace {

using vtest::IpcTest;
using vtest::LogCapture;
using vtest::apps::run_until;

constexpr const char *kApp = "test.squatted";
constexpr uid_t kOtherUid = 65534;  // nobody

std::string mode_of(const std::string &path) {
  struct stat st;
  if (lstat(path.c_str(), &st) != 0) return "missing";
  char buf[8];
  snprintf(buf, sizeof(buf), "%04o", (unsigned)(st.st_mode & 07777));
  return buf;
}

int send_to(const std::string &app) {
  app_control_h h = nullptr;
  app_control_create(&h);
  app_control_set_app_id(h, app.c_str());
  int ret = app_control_send_launch_request(h, nullptr, nullptr);
  app_control_destroy(h);
  return ret;
}

std::string check_root_error() {
  char *error = nullptr;
  int ret = velmora_host_check_root(&error);
  std::string out = std::to_string(ret) + " " + (error ? error : "");
  free(error);
  return out;
}

class PlatformRootTrust : public IpcTest {
 protected:
  void SetUp() override { install(kApp, "ipc_callee"); }
  void TearDown() override {
    // Give everything back, so that the root can be removed.
    if (geteuid() == 0) chown_tree(root.path(), 0);
    chmod(root.path().c_str(), 0700);
  }
  static void chown_tree(const std::string &path, uid_t uid) {
    ASSERT_EQ(lchown(path.c_str(), uid, uid), 0) << path;
    if (GDir *d = g_dir_open(path.c_str(), 0, nullptr)) {
      while (const gchar *name = g_dir_read_name(d)) chown_tree(path + "/" + name, uid);
      g_dir_close(d);
    }
  }
  // Everything that reads the root is refused, nothing of it is started, and the reason is logged.
  void expect_refused(const std::string &why) {
    LogCapture log;
    EXPECT_EQ(send_to(kApp), APP_CONTROL_ERROR_PERMISSION_DENIED);
    package_info_h pkg = nullptr;
    EXPECT_EQ(package_info_create(kApp, &pkg), PACKAGE_MANAGER_ERROR_IO_ERROR);
    app_info_h app = nullptr;
    EXPECT_EQ(app_info_create(kApp, &app), APP_MANAGER_ERROR_IO_ERROR);
    char *error = nullptr;
    EXPECT_EQ(velmora_host_install_package("test.other", nullptr, 0, nullptr, 0, &error), -13);
    EXPECT_EQ(std::string(error ? error : ""), why);
    free(error);
    EXPECT_TRUE(log.has("VELMORA_HOST", DLOG_ERROR, why)) << log.dump();
    EXPECT_EQ(log.count(why), 1) << "logged once, not per call";
    vtest::Client c;
    ASSERT_EQ(c.connect(kApp), 0);
    ASSERT_TRUE(run_until([&] { return c.ended(); }));
    EXPECT_EQ(c.rejected, 1);
    EXPECT_TRUE(starts(kApp).empty());
  }
};

TEST_F(PlatformRootTrust, RootOfAnotherUserIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to give the root to another user";
  chown_tree(root.path(), kOtherUid);
  const std::string why = "platform root " + root.path() +
                          " belongs to uid 65534, not to you (uid 0): remove it, or set "
                          "VELMORA_PLATFORM_ROOT to a directory of your own";
  EXPECT_EQ(check_root_error(), "-13 " + why);
  expect_refused(why);
  EXPECT_EQ(
      account_query_account_by_package_name([](account_h, void *) { return true; }, "p", nullptr),
      ACCOUNT_ERROR_PERMISSION_DENIED);
  char *profile = nullptr;
  EXPECT_EQ(system_info_get_platform_string(SYSTEM_INFO_KEY_PROFILE, &profile),
            SYSTEM_INFO_ERROR_IO_ERROR);
}

TEST_F(PlatformRootTrust, RootThatOthersCanWriteIsRefused) {
  ASSERT_EQ(chmod(root.path().c_str(), 0777), 0);
  const std::string why = "platform root " + root.path() +
                          " can be written by other users (mode 0777): run chmod go-w " +
                          root.path() +
                          ", or remove it, or set VELMORA_PLATFORM_ROOT to a directory of your own";
  EXPECT_EQ(check_root_error(), "-13 " + why);
  expect_refused(why);
  ASSERT_EQ(chmod(root.path().c_str(), 0755), 0);  // readable by others is fine
  EXPECT_EQ(check_root_error(), "0 ");
}

TEST_F(PlatformRootTrust, PackagesDirectoryThatOthersCanWriteIsRefused) {
  const std::string packages = root.path_of("packages");
  ASSERT_EQ(chmod(packages.c_str(), 0773), 0);
  expect_refused("directory " + packages +
                 " can be written by other users (mode 0773): run chmod go-w " + packages +
                 ", or remove it (the platform creates it again, private)");
}

TEST_F(PlatformRootTrust, PackagesDirectoryOfAnotherUserIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to give a directory to another user";
  const std::string packages = root.path_of("packages");
  chown_tree(packages, kOtherUid);
  expect_refused("directory " + packages +
                 " belongs to uid 65534, not to you (uid 0): remove it (the platform creates it "
                 "again, private)");
}

// Below the root a symbolic link is refused even when it is our own: whoever could write where it
// points would hold a directory of the platform.
TEST_F(PlatformRootTrust, PackagesDirectoryThatIsOurOwnSymbolicLinkIsRefused) {
  const std::string packages = root.path_of("packages");
  const std::string real = root.path_of("packages.real");
  ASSERT_EQ(rename(packages.c_str(), real.c_str()), 0);
  ASSERT_EQ(symlink(real.c_str(), packages.c_str()), 0);
  expect_refused("directory " + packages +
                 " in the platform root is a symbolic link: remove it (the platform creates it "
                 "again, private)");
}

TEST_F(PlatformRootTrust, PackagesDirectoryThatIsAFileIsRefused) {
  const std::string packages = root.path_of("packages");
  ASSERT_EQ(rename(packages.c_str(), root.path_of("packages.old").c_str()), 0);
  ASSERT_TRUE(g_file_set_contents(packages.c_str(), "", 0, nullptr));
  ASSERT_EQ(chmod(packages.c_str(), 0600), 0);
  expect_refused("directory " + packages +
                 " is not a directory: remove it (the platform creates it again, private)");
}

TEST_F(PlatformRootTrust, PackageFileOfAnotherUserIsNotRead) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to give a file to another user";
  const std::string file = root.path_of("packages/") + kApp + ".pkg";
  ASSERT_EQ(chown(file.c_str(), kOtherUid, kOtherUid), 0);
  EXPECT_EQ(send_to(kApp), APP_CONTROL_ERROR_APP_NOT_FOUND);
  char **ids = nullptr, **errors = nullptr;
  EXPECT_EQ(velmora_host_list_packages(&ids, &errors), -5);
  ASSERT_NE(errors, nullptr);
  ASSERT_NE(errors[0], nullptr);
  EXPECT_EQ(std::string(errors[0]),
            file + " belongs to uid 65534, not to you: remove it and install the package again");
  velmora_host_strv_free(ids);
  velmora_host_strv_free(errors);
  EXPECT_TRUE(starts(kApp).empty());
}

// A directory above the root that others can write lets them swap the root itself.
TEST(PlatformRootParents, ParentThatOthersCanWriteIsRefusedUnlessSticky) {
  gchar *dir = g_dir_make_tmp("velmora-parent-XXXXXX", nullptr);
  ASSERT_NE(dir, nullptr);
  const std::string parent = dir;
  g_free(dir);
  const std::string root = parent + "/root";
  setenv("VELMORA_PLATFORM_ROOT", root.c_str(), 1);
  ASSERT_EQ(chmod(parent.c_str(), 0777), 0);
  char *error = nullptr;
  EXPECT_EQ(velmora_host_init_root(nullptr, &error), -13);
  EXPECT_EQ(std::string(error ? error : ""),
            "directory " + parent + " above the platform root " + root +
                " can be changed by other users (mode 0777): choose a platform root "
                "(VELMORA_PLATFORM_ROOT) whose parent directories only root or you can change");
  free(error);
  EXPECT_EQ(mode_of(root), "missing");         // nothing was made there
  ASSERT_EQ(chmod(parent.c_str(), 01777), 0);  // as /tmp: others cannot replace what is ours
  EXPECT_EQ(velmora_host_init_root(nullptr, nullptr), 0);
  EXPECT_EQ(mode_of(root), "0700");
  unsetenv("VELMORA_PLATFORM_ROOT");
  std::string cmd = "rm -rf '" + parent + "'";
  ASSERT_EQ(system(cmd.c_str()), 0);
}

// The default root below a shared directory: another user may have made it first.
class DefaultRoot : public ::testing::Test {
 protected:
  DefaultRoot() {
    gchar *dir = g_dir_make_tmp("velmora-runtime-XXXXXX", nullptr);
    runtime = dir ? dir : "";
    g_free(dir);
    unsetenv("VELMORA_PLATFORM_ROOT");
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    root = runtime + "/velmora-platform";
  }
  ~DefaultRoot() override {
    unsetenv("XDG_RUNTIME_DIR");
    std::string cmd = "chown -R 0:0 '" + runtime + "' 2>/dev/null; rm -rf '" + runtime + "'";
    if (system(cmd.c_str()) != 0) ADD_FAILURE() << cmd;
  }
  std::string runtime;
  std::string root;
};

TEST_F(DefaultRoot, IsCreatedPrivateWhateverTheUmask) {
  const mode_t old = umask(0);
  EXPECT_EQ(std::string(velmora_host_root()), root);
  EXPECT_EQ(velmora_host_init_root(nullptr, nullptr), 0);
  umask(old);
  EXPECT_EQ(mode_of(root), "0700");
  EXPECT_EQ(mode_of(root + "/packages"), "0700");
  EXPECT_EQ(mode_of(root + "/device.conf"), "0600");
}

TEST_F(DefaultRoot, SquattedByAnotherUserIsRefusedAndItsPackageNotStarted) {
  // The squatter makes the root first, with a package of its own.
  ASSERT_EQ(velmora_host_init_root(nullptr, nullptr), 0);
  const std::string exe = vtest::apps::path("ipc_quitter");
  velmora_host_app_s app = {kApp, "service", exe.c_str()};
  ASSERT_EQ(velmora_host_install_package(kApp, &app, 1, nullptr, 0, nullptr), 0);
  if (geteuid() == 0) {
    std::string cmd = "chown -R 65534:65534 '" + root + "'";
    ASSERT_EQ(system(cmd.c_str()), 0);
  } else {
    ASSERT_EQ(chmod(root.c_str(), 0777), 0);
  }
  EXPECT_EQ(send_to(kApp), APP_CONTROL_ERROR_PERMISSION_DENIED);
  char *error = nullptr;
  EXPECT_EQ(velmora_host_init_root(nullptr, &error), -13);
  EXPECT_NE(std::string(error ? error : "").find("platform root " + root), std::string::npos);
  free(error);
  EXPECT_TRUE(vtest::apps::starts(root, kApp).empty());
}

TEST_F(DefaultRoot, SymbolicLinkOfAnotherUserIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to make a link of another user";
  const std::string target = runtime + "/elsewhere";
  ASSERT_EQ(mkdir(target.c_str(), 0700), 0);
  ASSERT_EQ(symlink(target.c_str(), root.c_str()), 0);
  ASSERT_EQ(lchown(root.c_str(), kOtherUid, kOtherUid), 0);
  EXPECT_EQ(check_root_error(), "-13 platform root " + root +
                                    " is a symbolic link of uid 65534, who could point it "
                                    "elsewhere: remove it, or set VELMORA_PLATFORM_ROOT to a "
                                    "directory of your own");
  ASSERT_EQ(lchown(root.c_str(), 0, 0), 0);
  EXPECT_EQ(check_root_error(), "0 ");
}

// Every file the platform and the agent write below the root is 0600 and every directory 0700,
// even with a umask that would let others read them.
TEST_F(PlatformRootTrust, StateFilesArePrivateWhateverTheUmask) {
  const mode_t old = umask(0);
  root.set_profile("wearable");
  root.install_package("test.other", {{"test.other", "service", "/nonexistent"}});
  account_h a = nullptr;
  ASSERT_EQ(account_create(&a), ACCOUNT_ERROR_NONE);
  account_set_package_name(a, "p");
  account_set_user_name(a, "u");
  int id = 0;
  ASSERT_EQ(account_insert_to_db(a, &id), ACCOUNT_ERROR_NONE);
  account_destroy(a);
  {
    auto state = vagent::AgentState::open(root.path());
    ASSERT_TRUE(state.ok());
  }
  // Launching the callee makes its run directory, lock, pid file and socket.
  ASSERT_EQ(send_to(kApp), APP_CONTROL_ERROR_NONE);
  const std::string socket = root.path_of("run/") + kApp + "/appcontrol.sock";
  // The socket is bound, then made private: wait for the end of that step, not its start.
  ASSERT_TRUE(run_until([&] {
    return g_file_test(socket.c_str(), G_FILE_TEST_EXISTS) && mode_of(socket) == "0600";
  })) << socket
      << " is " << mode_of(socket);
  umask(old);
  std::vector<std::string> seen;
  std::function<void(const std::string &)> walk = [&](const std::string &path) {
    struct stat st;
    ASSERT_EQ(lstat(path.c_str(), &st), 0);
    if (S_ISDIR(st.st_mode)) {
      EXPECT_EQ(mode_of(path), "0700") << path;
      GDir *d = g_dir_open(path.c_str(), 0, nullptr);
      while (const gchar *name = g_dir_read_name(d))
        if (std::string(name) != "test-markers") walk(path + "/" + name);
      g_dir_close(d);
    } else {
      EXPECT_EQ(mode_of(path), "0600") << path;
      seen.push_back(path.substr(root.path().size() + 1));
    }
  };
  walk(root.path());
  for (const char *expected :
       {"device.conf", "packages/test.other.pkg", "store/accounts.db", "store/accounts.db-wal",
        "store/accounts.db-shm", "agent/state.db", "run/test.squatted.pid",
        "run/test.squatted.lock", "run/test.squatted/appcontrol.sock"})
    EXPECT_NE(std::find(seen.begin(), seen.end(), expected), seen.end()) << expected;
}

TEST_F(PlatformRootTrust, StateFileOfAnOlderRootBecomesPrivate) {
  const std::string file = root.path_of("agent/state.db");
  ASSERT_EQ(g_mkdir_with_parents(root.path_of("agent").c_str(), 0700), 0);
  ASSERT_TRUE(g_file_set_contents(file.c_str(), "", 0, nullptr));
  ASSERT_EQ(chmod(file.c_str(), 0644), 0);
  EXPECT_EQ(velmora_host_prepare_state_file(file.c_str(), nullptr), 0);
  EXPECT_EQ(mode_of(file), "0600");
  char *error = nullptr;
  EXPECT_EQ(velmora_host_prepare_state_file("/elsewhere/state.db", &error), -5);
  EXPECT_EQ(std::string(error ? error : ""),
            "/elsewhere/state.db is not below the platform root " + root.path());
  free(error);
}

}  // namespace
