// SPDX-License-Identifier: Apache-2.0
// Velmora tests: launch on demand: one instance however many launchers, environment, reaping.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "app_control_fixture.hh"
#include "ipc_fixture.hh"

namespace {

using vtest::Client;
using vtest::IpcTest;
using vtest::Replies;
using vtest::Result;
using vtest::apps::exit_status;
using vtest::apps::process_exists;
using vtest::apps::run_until;

constexpr const char *kStub = "test.echo";
constexpr const char *kCallee = "test.callee";

std::string environ_of(pid_t pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/environ");
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// Field 22 of /proc/<pid>/stat, the process start time.
std::string start_time_of(pid_t pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
  std::string stat((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::istringstream rest(stat.substr(stat.rfind(')') + 2));
  std::string field;
  for (int i = 3; i <= 22 && rest >> field; ++i) {
  }
  return field;
}

void write_pid_file(const std::string &root, const std::string &app, const std::string &text) {
  g_mkdir_with_parents((root + "/run").c_str(), 0700);
  std::ofstream(root + "/run/" + app + ".pid") << text;
}

class Launcher : public IpcTest {
 protected:
  void SetUp() override {
    install(kStub, "ipc_echo_stub");
    install(kCallee, "ipc_callee");
  }
  void expect_echo(Client *c) {
    Result r(c->main_port, {"echo", "hi"});
    ASSERT_EQ(r.status, 0);
    vtest::take_string(r.parcel);
    EXPECT_EQ(vtest::take_string(r.parcel), "hi");
  }
};

TEST_F(Launcher, StartedAppGetsItsIdTheRootAndOnlyThePlatformsEnvironment) {
  setenv("VTEST_NOT_INHERITED", "yes", 1);
  setenv("VELMORA_TEST_SETTING", "kept", 1);          // the platform's settings travel along
  setenv("VELMORA_APP_ID", "test.launching.app", 1);  // the launched app gets its own id instead
  setenv("VELMORA_LOG_LEVEL", "debug", 1);            // the launcher's level is not the app's
  Client c;
  ASSERT_EQ(c.connect(kStub), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  unsetenv("VTEST_NOT_INHERITED");
  unsetenv("VELMORA_TEST_SETTING");
  unsetenv("VELMORA_LOG_LEVEL");
  ASSERT_EQ(c.connected, 1);
  const pid_t pid = vtest::apps::instance_pid(root.path(), kStub);
  ASSERT_GT(pid, 0);
  const std::string env = environ_of(pid);
  EXPECT_NE(env.find(std::string("VELMORA_APP_ID=") + kStub + '\0'), std::string::npos);
  EXPECT_EQ(env.find("VELMORA_APP_ID=test.launching.app"), std::string::npos);
  EXPECT_NE(env.find("VELMORA_PLATFORM_ROOT=" + root.path() + '\0'), std::string::npos);
  EXPECT_NE(env.find(std::string("VELMORA_TEST_SETTING=kept") + '\0'), std::string::npos);
  EXPECT_NE(env.find(std::string("VELMORA_LOG_LEVEL=info") + '\0'), std::string::npos);
  EXPECT_NE(env.find(std::string("PATH=/usr/local/bin:/usr/bin:/bin") + '\0'), std::string::npos);
  EXPECT_EQ(env.find("VTEST_NOT_INHERITED"), std::string::npos);
  EXPECT_EQ(env.find("HOME="), std::string::npos);
  // The pid file names the instance with its start time.
  std::ifstream in(root.path() + "/run/" + kStub + ".pid");
  std::string pid_text, start;
  in >> pid_text >> start;
  EXPECT_EQ(pid_text, std::to_string(pid));
  EXPECT_EQ(start, start_time_of(pid));
}

TEST_F(Launcher, AppLogLevelComesFromVelmoraAppLogLevel) {
  setenv("VELMORA_APP_LOG_LEVEL", "warn", 1);
  Client c;
  ASSERT_EQ(c.connect(kStub), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  unsetenv("VELMORA_APP_LOG_LEVEL");
  const pid_t pid = vtest::apps::instance_pid(root.path(), kStub);
  ASSERT_GT(pid, 0);
  EXPECT_NE(environ_of(pid).find(std::string("VELMORA_LOG_LEVEL=warn") + '\0'), std::string::npos);
}

std::string link_of(const std::string &path) {
  char buf[4096];
  const ssize_t n = readlink(path.c_str(), buf, sizeof buf - 1);
  return n < 0 ? "" : std::string(buf, static_cast<size_t>(n));
}

TEST_F(Launcher, StartedAppIsDetachedWithItsOutputInItsLogFile) {
  Client c;
  ASSERT_EQ(c.connect(kStub), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  const pid_t pid = vtest::apps::instance_pid(root.path(), kStub);
  ASSERT_GT(pid, 0);
  // A session (and so a process group) of its own: no terminal signal of ours reaches it.
  EXPECT_EQ(getsid(pid), pid);
  EXPECT_NE(getsid(pid), getsid(0));
  const std::string fds = "/proc/" + std::to_string(pid) + "/fd/";
  EXPECT_EQ(link_of(fds + "0"), "/dev/null");
  const std::string log = root.path() + "/log/" + kStub + ".log";
  EXPECT_EQ(link_of(fds + "1"), log);
  EXPECT_EQ(link_of(fds + "2"), log);
  char *path = velmora_host_app_log_path(kStub);
  ASSERT_NE(path, nullptr);
  EXPECT_EQ(path, log);
  free(path);
  struct stat st {};
  ASSERT_EQ(stat(log.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
}

TEST_F(Launcher, RunningAppsAreListedAndStopped) {
  velmora_host_running_s *apps = nullptr;
  size_t count = 7;
  ASSERT_EQ(velmora_host_list_running(&apps, &count), 0);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(apps, nullptr);

  Client c;
  ASSERT_EQ(c.connect(kStub), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  const pid_t pid = vtest::apps::instance_pid(root.path(), kStub);
  ASSERT_GT(pid, 0);
  ASSERT_EQ(velmora_host_list_running(&apps, &count), 0);
  ASSERT_EQ(count, 1u);
  EXPECT_STREQ(apps[0].app_id, kStub);
  EXPECT_EQ(apps[0].pid, pid);
  velmora_host_running_free(apps, count);

  char *error = nullptr;
  EXPECT_EQ(velmora_host_stop_app(kStub, 5000, &error), 0);
  EXPECT_EQ(error, nullptr);
  EXPECT_TRUE(run_until([&] { return !process_exists(pid); }));
  ASSERT_EQ(velmora_host_list_running(&apps, &count), 0);
  EXPECT_EQ(count, 0u);

  EXPECT_EQ(velmora_host_stop_app(kStub, 5000, &error), -ESRCH);
  ASSERT_NE(error, nullptr);
  EXPECT_STREQ(error, (std::string(kStub) + " is not running").c_str());
  free(error);
  EXPECT_EQ(velmora_host_stop_app("../bad id", 5000, nullptr), -EINVAL);
}

TEST_F(Launcher, RetiredAppIsLaunchedAgainOnTheNextConnect) {
  Client first;
  ASSERT_EQ(first.connect(kStub), 0);
  ASSERT_TRUE(run_until([&] { return first.ended(); }));
  const pid_t pid = vtest::apps::instance_pid(root.path(), kStub);
  ASSERT_GT(pid, 0);
  {
    Result r(first.main_port, {"retire"});
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(vtest::take_int(r.parcel), 0);
  }
  // Retired: its socket and pid files are gone, so the next client launches a new instance.
  EXPECT_FALSE(g_file_test((root.path() + "/run/" + kStub + ".pid").c_str(), G_FILE_TEST_EXISTS));
  EXPECT_TRUE(run_until([&] { return !process_exists(pid); }));
  Client second;
  ASSERT_EQ(second.connect(kStub), 0);
  ASSERT_TRUE(run_until([&] { return second.ended(); }));
  EXPECT_EQ(second.connected, 1);
  EXPECT_EQ(starts(kStub).size(), 2u);
  expect_echo(&second);
}

TEST_F(Launcher, TwoProxiesConnectingAtOnceStartOneInstance) {
  setenv("VELMORA_TEST_START_DELAY_MS", "300", 1);  // keeps the instance "starting" for a while
  Client a, b;
  ASSERT_EQ(a.connect(kStub), 0);
  ASSERT_EQ(b.connect(kStub), 0);
  ASSERT_TRUE(run_until([&] { return a.ended() && b.ended(); }));
  ASSERT_EQ(a.connected, 1);
  ASSERT_EQ(b.connected, 1);
  expect_echo(&a);
  expect_echo(&b);
  EXPECT_EQ(starts(kStub).size(), 1u);
}

TEST_F(Launcher, ProcessesConnectingAtOnceStartOneInstance) {
  setenv("VELMORA_TEST_START_DELAY_MS", "300", 1);
  std::vector<GPid> senders;
  for (int i = 0; i < 3; ++i)
    senders.push_back(vtest::apps::spawn("ipc_sender", {"proxy", kStub, "Echo"}));
  Client c;
  ASSERT_EQ(c.connect(kStub), 0);
  std::vector<int> codes(senders.size(), -1);
  ASSERT_TRUE(run_until(
      [&] {
        for (size_t i = 0; i < senders.size(); ++i)
          if (codes[i] < 0) codes[i] = exit_status(senders[i]);
        return c.ended() && std::count(codes.begin(), codes.end(), -1) == 0;
      },
      40000));
  EXPECT_EQ(codes, (std::vector<int>{0, 0, 0}));
  ASSERT_EQ(c.connected, 1);
  expect_echo(&c);
  EXPECT_EQ(starts(kStub).size(), 1u);
}

TEST_F(Launcher, ConcurrentLaunchRequestsStartOneInstance) {
  setenv("VELMORA_TEST_START_DELAY_MS", "300", 1);
  std::vector<GPid> senders;
  for (int i = 0; i < 2; ++i)
    senders.push_back(vtest::apps::spawn("ipc_sender", {"appcontrol", kCallee}));
  Replies r1, r2;
  ASSERT_EQ(vtest::send_request(kCallee, {}, &r1), 0);
  ASSERT_EQ(vtest::send_request(kCallee, {}, &r2), 0);
  std::vector<int> codes(senders.size(), -1);
  ASSERT_TRUE(run_until(
      [&] {
        for (size_t i = 0; i < senders.size(); ++i)
          if (codes[i] < 0) codes[i] = exit_status(senders[i]);
        return r1.calls > 0 && r2.calls > 0 && std::count(codes.begin(), codes.end(), -1) == 0;
      },
      40000));
  EXPECT_EQ(codes, (std::vector<int>{0, 0}));
  EXPECT_EQ(r1.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(r2.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(starts(kCallee).size(), 1u);
}

TEST_F(Launcher, KilledInstanceIsReplacedOnTheNextConnect) {
  Client c;
  ASSERT_EQ(c.connect(kStub), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  const pid_t first = vtest::apps::instance_pid(root.path(), kStub);
  ASSERT_EQ(kill(first, SIGKILL), 0);
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  // Its socket file and pid file stay behind; neither may stop the next launch.
  ASSERT_EQ(c.connect(kStub), 0);
  ASSERT_TRUE(run_until([&] { return c.connected == 2 || c.rejected > 0; }));
  ASSERT_EQ(c.connected, 2);
  expect_echo(&c);
  EXPECT_EQ(starts(kStub).size(), 2u);
  EXPECT_NE(vtest::apps::instance_pid(root.path(), kStub), first);
}

TEST_F(Launcher, PidFileNamingAnotherProcessDoesNotCountAsRunning) {
  // This very process is alive, but its start time is not the one recorded.
  write_pid_file(root.path(), kStub, std::to_string(getpid()) + " 1\n");
  Client c;
  ASSERT_EQ(c.connect(kStub), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  EXPECT_EQ(starts(kStub).size(), 1u);
}

TEST_F(Launcher, InstanceThatEndsWithoutListeningWhileAwaitedIsStartedAnew) {
  // Another "launcher's" instance: alive and recorded, but it never listens.
  setenv("VELMORA_TEST_NO_LISTEN", "1", 1);
  GPid other = vtest::apps::spawn("ipc_echo_stub", {});
  ASSERT_GT(other, 0);
  ASSERT_TRUE(run_until([&] { return !start_time_of(other).empty(); }));
  write_pid_file(root.path(), kStub, std::to_string(other) + " " + start_time_of(other) + "\n");
  unsetenv("VELMORA_TEST_NO_LISTEN");
  Client c;
  ASSERT_EQ(c.connect(kStub), 0);  // waits for that instance ...
  vtest::apps::drain();
  EXPECT_EQ(starts(kStub).size(), 0u);
  ASSERT_EQ(kill(other, SIGKILL), 0);  // ... which ends: the waiter starts its own
  int status = -1;
  ASSERT_TRUE(run_until([&] { return status >= 0 || (status = exit_status(other)) >= 0; }));
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  EXPECT_EQ(starts(kStub).size(), 1u);
}

TEST_F(Launcher, ExitedInstanceIsReaped) {
  install("test.quitter", "ipc_quitter");
  Client c;
  ASSERT_EQ(c.connect("test.quitter"), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  EXPECT_EQ(c.rejected, 1);
  const pid_t pid = vtest::apps::instance_pid(root.path(), "test.quitter");
  ASSERT_GT(pid, 0);
  // A zombie still exists for kill(); once the launcher collected it, the pid is gone.
  EXPECT_TRUE(run_until([&] { return !process_exists(pid); }));
}

TEST_F(Launcher, LaunchRequestToAnAppThatNeverListensFailsAfterTheTimeOut) {
  setenv("VELMORA_TEST_NO_LISTEN", "1", 1);
  setenv("VELMORA_LAUNCH_TIMEOUT_MS", "400", 1);
  Replies r;
  ASSERT_EQ(vtest::send_request(kCallee, {}, &r), 0);
  ASSERT_TRUE(run_until([&] { return r.calls > 0; }));
  vtest::apps::drain();
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  EXPECT_FALSE(r.had_reply);
  // Started once (it may still be writing its start line: it never listens, so nothing waited).
  EXPECT_TRUE(run_until([&] { return starts(kCallee).size() == 1; }));
}

}  // namespace
