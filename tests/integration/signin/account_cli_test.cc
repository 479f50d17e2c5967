// SPDX-License-Identifier: Apache-2.0
// Velmora tests: velmora-account sign-in, sign-out and login-views against the agent: signing in
// with an authorization code read from a file (never printed), signing out, the listing of open
// login views for scripts, and the usage errors. The login view itself, with a person at a real
// browser, is tests/browser.
#include <glib.h>

#include <string>
#include <vector>

#include "run_program.hh"
#include "signin_fixture.hh"

namespace vtest {
namespace {

class SignInCli : public SignInTest {
 protected:
  ProgramRun account(const std::vector<std::string> &args) {
    return run_program(PlatformRoot::build_dir() + "/tools/velmora-account", args,
                       "build the velmora-account tool");
  }
  // A file below the root holding `text`.
  std::string file_with(const std::string &name, const std::string &text) {
    const std::string path = root_.path_of(name);
    g_file_set_contents(path.c_str(), (text + "\n").c_str(), -1, nullptr);
    return path;
  }
  std::vector<std::string> code_sign_in(const std::string &code_file,
                                        const char *device = kDevice) {
    return {"sign-in",
            "--authcode-file",
            code_file,
            "--api-server-url",
            "https://api.velmora.dev",
            "--auth-server-url",
            "https://auth.velmora.dev",
            "--device-code",
            device};
  }
};

TEST_F(SignInCli, AnAuthorizationCodeFromAFileSignsInAndSignOutSignsOut) {
  prepare_agent();
  const std::string code = device_code();
  std::vector<std::string> args = code_sign_in(file_with("code", code));
  args.push_back("--json");
  const ProgramRun in = account(args);
  EXPECT_EQ(in.exit_code, 0) << in.out << in.err;
  EXPECT_NE(in.out.find("\"login_id\":\"" + std::string(kLogin) + "\""), std::string::npos)
      << in.out;
  EXPECT_EQ(in.out.find(code), std::string::npos) << "the code is never printed";
  EXPECT_TRUE(signed_in(kLogin));

  const ProgramRun out = account({"sign-out", "--login-id", kLogin});
  EXPECT_EQ(out.exit_code, 0) << out.err;
  EXPECT_EQ(out.out, "sign-out: done\n");
  EXPECT_FALSE(signed_in(kLogin));
}

TEST_F(SignInCli, ACodeForAnotherDeviceFailsWithTheAgentsReason) {
  prepare_agent();
  const ProgramRun r = account(code_sign_in(file_with("code", device_code()), "other-device"));
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_NE(r.err.find("AGENT_ERROR_CODE_DEVICE_MISMATCH"), std::string::npos) << r.err;
  EXPECT_FALSE(signed_in(kLogin));
}

TEST_F(SignInCli, TheCodeCanComeFromStandardInput) {
  prepare_agent();
  const std::string code = device_code();
  const std::string script = "printf '%s\\n' '" + code + "' | '" + PlatformRoot::build_dir() +
                             "/tools/velmora-account' sign-in --authcode-file - " +
                             "--api-server-url https://api.velmora.dev --auth-server-url " +
                             "https://auth.velmora.dev --device-code " + kDevice;
  const ProgramRun r = run_program("/bin/sh", {"-c", script}, "a shell");
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_TRUE(signed_in(kLogin));
}

TEST_F(SignInCli, LoginViewsListsNoneAsTextAndJson) {
  prepare_agent();
  const ProgramRun text = account({"login-views"});
  EXPECT_EQ(text.exit_code, 0) << text.err;
  EXPECT_EQ(text.out, "no login view is open\n");
  const ProgramRun json = account({"login-views", "--json"});
  EXPECT_EQ(json.exit_code, 0) << json.err;
  EXPECT_NE(json.out.find("\"count\":0"), std::string::npos) << json.out;
  EXPECT_NE(json.out.find("\"views\":[]"), std::string::npos) << json.out;
}

TEST_F(SignInCli, BadCommandLinesAreUsageErrors) {
  prepare_agent();
  const struct {
    std::vector<std::string> args;
    const char *complaint;
  } cases[] = {
      {{"sign-out"}, "--login-id"},
      {{"sign-in", "--authcode-file", "/nonexistent/code"}, "--authcode-file"},
      {{"sign-in", "--login-id", kLogin}, "--authcode-file"},
      {{"sign-in", "--device-code", "d"}, "--authcode-file"},
      {{"confirm-user", "--login-id", kLogin}, "--login-id"},
      {{"sign-in", "--password", "x"}, "--password"},
  };
  for (const auto &c : cases) {
    const ProgramRun r = account(c.args);
    EXPECT_EQ(r.exit_code, 2) << c.args[0] << " " << c.complaint << "\n" << r.err;
    EXPECT_NE(r.err.find(c.complaint), std::string::npos) << r.err;
  }
  // The code form needs the servers and the device's code too.
  const std::string code = file_with("code", "abc");
  const ProgramRun r = account({"sign-in", "--authcode-file", code});
  EXPECT_EQ(r.exit_code, 2);
  EXPECT_NE(r.err.find("--api-server-url"), std::string::npos) << r.err;
}

}  // namespace
}  // namespace vtest
