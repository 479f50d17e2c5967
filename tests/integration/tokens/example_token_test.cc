// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the C example examples/token.c, run as a program against the agent in both
// transports.
#include <fcntl.h>
#include <glib.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "account_fixture.hh"

namespace vtest {
namespace {

using ExampleToken = AccountTest;

// Runs the example with `args`; its output goes to a file (the agent it launches inherits the
// output, so a pipe would stay open). Returns the exit status, or -1.
int run_example(const std::string &root, const std::vector<std::string> &args, std::string *out) {
  const std::string exe = PlatformRoot::build_dir() + "/examples/example_token";
  if (access(exe.c_str(), X_OK) != 0) return -2;
  const std::string path = root + "/example.out";
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (fd < 0) return -1;
  std::vector<gchar *> argv = {const_cast<gchar *>(exe.c_str())};
  for (const std::string &a : args) argv.push_back(const_cast<gchar *>(a.c_str()));
  argv.push_back(nullptr);
  GPid pid = 0;
  GError *error = nullptr;
  const gboolean spawned =
      g_spawn_async_with_fds(nullptr, argv.data(), nullptr, G_SPAWN_DO_NOT_REAP_CHILD, nullptr,
                             nullptr, &pid, -1, fd, -1, &error);
  close(fd);
  if (!spawned) {
    ADD_FAILURE() << error->message;
    g_clear_error(&error);
    return -1;
  }
  int status = 0;
  // The example bounds its own wait (30 s); this waits for it to end.
  if (waitpid(pid, &status, 0) != pid) return -1;
  g_spawn_close_pid(pid);
  gchar *contents = nullptr;
  if (g_file_get_contents(path.c_str(), &contents, nullptr, nullptr)) {
    *out = contents;
    g_free(contents);
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The client secret in a private file of the root, the way the example reads it.
std::string secret_file(const std::string &root, const std::string &secret) {
  const std::string path = root + "/client-secret";
  EXPECT_TRUE(g_file_set_contents(path.c_str(), (secret + "\n").c_str(), -1, nullptr));
  chmod(path.c_str(), 0600);
  return path;
}

TEST_F(ExampleToken, PrintsAnAccessTokenInBothTransports) {
  prepare();
  const std::string secret = secret_file(root_.path(), secret_);
  for (const bool nidl : {false, true}) {
    std::vector<std::string> args;
    if (nidl) args.push_back("--nidl");
    args.insert(args.end(), {"--client-secret-file", secret, kLogin, kClient});
    std::string out;
    const int status = run_example(root_.path(), args, &out);
    if (status == -2) GTEST_SKIP() << "example_token is not built";
    EXPECT_EQ(status, 0) << out;
    const size_t at = out.find("access_token: ");
    ASSERT_NE(at, std::string::npos) << out;
    EXPECT_EQ(out.substr(at + 14, out.find('\n', at) - at - 14).size(), 43u) << out;
    EXPECT_NE(out.find("expires_in: 3600"), std::string::npos) << out;
  }
}

TEST_F(ExampleToken, FailsForAUserThatIsNotSignedIn) {
  prepare();
  std::string out;
  const int status = run_example(
      root_.path(),
      {"--client-secret-file", secret_file(root_.path(), secret_), "nobody@velmora.dev", kClient},
      &out);
  if (status == -2) GTEST_SKIP() << "example_token is not built";
  EXPECT_EQ(status, 1) << out;
  EXPECT_EQ(out.find("access_token"), std::string::npos) << out;
}

// The secret never travels on the command line: a third argument is a usage error, and so is a
// secret file that cannot be read; no request is made.
TEST_F(ExampleToken, RefusesASecretOnTheCommandLine) {
  prepare();
  std::string out;
  int status = run_example(root_.path(), {kLogin, kClient, secret_}, &out);
  if (status == -2) GTEST_SKIP() << "example_token is not built";
  EXPECT_EQ(status, 2) << out;
  EXPECT_EQ(out.find("access_token"), std::string::npos) << out;
  status =
      run_example(root_.path(),
                  {"--client-secret-file", root_.path() + "/no-such-file", kLogin, kClient}, &out);
  EXPECT_EQ(status, 2) << out;
  EXPECT_EQ(out.find("access_token"), std::string::npos) << out;
}

}  // namespace
}  // namespace vtest
