// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the velmora-account command against the agent: every subcommand's success and
// failure, as text and as one JSON object, and its exit statuses (0 done, 1 failed or an answer
// without what was asked for, 2 bad usage, 3 no answer in time).
#include <glib.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "account_fixture.hh"
#include "json_view.hh"
#include "run_program.hh"
#include "velmora_account_version.h"

namespace vtest {
namespace {

std::string tool() { return PlatformRoot::build_dir() + "/tools/velmora-account"; }

class AccountCli : public AccountTest {
 protected:
  // The client's secret in a file below the root, for --client-secret-file.
  std::string secret_file() {
    const std::string path = root_.path_of("client-secret");
    g_file_set_contents(path.c_str(), (secret_ + "\n").c_str(), -1, nullptr);
    return path;
  }
  std::vector<std::string> who(const std::vector<std::string> &more = {}) {
    std::vector<std::string> args = {"--login-id",           kLogin,       "--client-id", kClient,
                                     "--client-secret-file", secret_file()};
    args.insert(args.end(), more.begin(), more.end());
    return args;
  }
  ProgramRun account(std::vector<std::string> args) {
    return run_program(tool(), args, "build the velmora-account tool");
  }
  ProgramRun command(const std::string &name, const std::vector<std::string> &more = {}) {
    std::vector<std::string> args = {name};
    for (const std::string &a : who(more)) args.push_back(a);
    return account(args);
  }
};

TEST_F(AccountCli, TokenPrintsTheAnswerAndExitsZeroInBothTransports) {
  prepare();
  for (const char *transport : {"app-control", "nidl"}) {
    const ProgramRun r = command("token", {"--transport", transport});
    EXPECT_EQ(r.exit_code, 0) << transport << "\n" << r.err;
    EXPECT_NE(r.out.find("access_token: "), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("login_id: " + std::string(kLogin) + "\n"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find(secret_), std::string::npos) << "the secret is never printed";
  }
}

TEST_F(AccountCli, EverySubcommandAnswersOneJsonObject) {
  prepare();
  const struct {
    std::vector<std::string> args;
    const char *property;
  } cases[] = {
      {{"token"}, "access_token"},
      {{"token", "--transport", "nidl"}, "access_token"},
      {{"last-token"}, "access_token"},
      {{"last-token", "--sync"}, "access_token"},
      {{"authcode"}, "authcode"},
      {{"authcode", "--transport", "nidl", "--device-code", "dev-1"}, "authcode"},
      {{"effortless"}, "authcode"},
  };
  for (const auto &c : cases) {
    std::vector<std::string> args = {c.args[0]};
    std::vector<std::string> rest(c.args.begin() + 1, c.args.end());
    rest.push_back("--json");
    for (const std::string &a : who(rest)) args.push_back(a);
    const ProgramRun r = account(args);
    EXPECT_EQ(r.exit_code, 0) << c.args[0] << "\n" << r.out << r.err;
    const Json json(r.out);
    ASSERT_TRUE(json.valid()) << r.out;
    EXPECT_EQ(json.integer("result"), 0);
    EXPECT_EQ(json.str("error"), "VELMORA_ACCOUNT_ERROR_NONE");
    EXPECT_EQ(json.integer("exit_status"), 0);
    EXPECT_NE(json.account(c.property), "<none>") << r.out;
    EXPECT_EQ(json.account("login_id"), kLogin);
  }
}

TEST_F(AccountCli, AgentFailureIsNamedInTextAndJsonWithExitOne) {
  prepare();
  std::vector<std::string> args = {"token", "--login-id", "nobody@velmora.dev", "--client-id",
                                   kClient};
  ProgramRun r = account(args);
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_NE(r.err.find("velmora-account: token failed: AGENT_ERROR_UNKNOWN_USER (-1056964607, "
                       "0xC1000001)\n  no user has this login id (or user id)\n"),
            std::string::npos)
      << r.err;
  args.push_back("--json");
  r = account(args);
  EXPECT_EQ(r.exit_code, 1);
  const Json json(r.out);
  ASSERT_TRUE(json.valid()) << r.out;
  EXPECT_EQ(json.integer("result"), -1056964607);
  EXPECT_EQ(json.str("error"), "AGENT_ERROR_UNKNOWN_USER");
  EXPECT_EQ(json.str("message"), "no user has this login id (or user id)");
  EXPECT_EQ(json.integer("exit_status"), 1);
  // The text goes to stderr with the JSON object too, as with the other tools.
  EXPECT_NE(r.err.find("velmora-account: token failed: AGENT_ERROR_UNKNOWN_USER (-1056964607, "
                       "0xC1000001)\n  no user has this login id (or user id)\n"),
            std::string::npos)
      << r.err;
}

TEST_F(AccountCli, AgentThatIsNotInstalledIsNotSupported) {
  prepare("mobile", std::nullopt);
  const ProgramRun r = account({"token", "--login-id", "l", "--client-id", "c", "--json"});
  EXPECT_EQ(r.exit_code, 1);
  const Json json(r.out);
  ASSERT_TRUE(json.valid()) << r.out;
  EXPECT_EQ(json.str("error"), "VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED");
  EXPECT_EQ(json.integer("result"), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
}

TEST_F(AccountCli, NoAnswerWithinTheTimeOutIsExitThreeAndOneJsonObject) {
  prepare();
  set_fault("getaccesstoken", "never_answer", "1");
  const ProgramRun r = command("token", {"--timeout", "1", "--json"});
  EXPECT_EQ(r.exit_code, 3);
  const Json json(r.out);
  ASSERT_TRUE(json.valid()) << r.out;
  EXPECT_TRUE(json.is_null("result")) << r.out;
  EXPECT_EQ(json.str("error"), "TIMED_OUT");
  EXPECT_EQ(json.str("message"), "waited 1 s for an answer from the agent (--timeout)");
  EXPECT_EQ(json.integer("exit_status"), 3);
}

TEST_F(AccountCli, TimeOutAlsoBoundsTheWaitOverThePort) {
  prepare();
  set_fault("RequestAccessToken", "never_answer", "1");
  const ProgramRun r = command("token", {"--timeout", "1", "--transport", "nidl", "--json"});
  // The method call's own wait ends with the time-out: the port gives up on the call.
  EXPECT_NE(r.exit_code, 0);
  const Json json(r.out);
  ASSERT_TRUE(json.valid()) << r.out;
  EXPECT_NE(json.str("error"), "VELMORA_ACCOUNT_ERROR_NONE");
  EXPECT_NE(json.str("platform_reason").find("no result within 1000 ms"), std::string::npos)
      << r.out;
}

TEST_F(AccountCli, SuccessWithoutWhatWasAskedForFailsAndShowsThePlatformsReason) {
  prepare();
  // An agent that exits before it listens: the launch fails, the reply carries no error code.
  root_.install_agent(5, "/bin/false");
  ProgramRun r = command("token", {"--json"});
  EXPECT_EQ(r.exit_code, 1);
  const Json json(r.out);
  ASSERT_TRUE(json.valid()) << r.out;
  EXPECT_EQ(json.integer("result"), 0);
  EXPECT_EQ(json.str("error"), "INCOMPLETE_ANSWER");
  EXPECT_EQ(json.str("message"), "the agent reported success but its answer has no access_token");
  EXPECT_NE(json.str("platform_reason").find("dev.velmora.account exited before it listened"),
            std::string::npos)
      << r.out;
  r = command("token");
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_NE(r.err.find("the platform said: dev.velmora.account exited before it listened"),
            std::string::npos)
      << r.err;
}

TEST_F(AccountCli, SecretComesFromAFileOrStandardInputNeverTheCommandLine) {
  prepare();
  ProgramRun r =
      account({"token", "--login-id", kLogin, "--client-id", kClient, "--client-secret", secret_});
  EXPECT_EQ(r.exit_code, 2);
  EXPECT_NE(r.err.find("Unknown option --client-secret"), std::string::npos) << r.err;
  r = account({"token", "--login-id", kLogin, "--client-id", kClient, "--client-secret-file",
               root_.path_of("missing")});
  EXPECT_EQ(r.exit_code, 2);
  EXPECT_NE(r.err.find("--client-secret-file: "), std::string::npos) << r.err;
  const std::string empty = root_.path_of("empty");
  g_file_set_contents(empty.c_str(), "\n", -1, nullptr);
  r = account(
      {"token", "--login-id", kLogin, "--client-id", kClient, "--client-secret-file", empty});
  EXPECT_EQ(r.exit_code, 2);
  EXPECT_NE(r.err.find(empty + " holds no secret"), std::string::npos) << r.err;
}

TEST_F(AccountCli, TheTokenToReplaceComesFromAFileNeverTheCommandLine) {
  prepare();
  ProgramRun first = command("token", {"--json"});
  ASSERT_EQ(first.exit_code, 0) << first.err;
  const std::string old_token = vtest::Json(first.out).account("access_token");
  ASSERT_NE(old_token, "<none>") << first.out;
  ProgramRun on_line = command("token", {"--expired-token", old_token});
  EXPECT_EQ(on_line.exit_code, 2);
  EXPECT_NE(on_line.err.find("Unknown option --expired-token"), std::string::npos) << on_line.err;
  EXPECT_EQ(on_line.err.find(old_token), std::string::npos) << "the token is not echoed";
  const std::string file = root_.path_of("expired-token");
  ASSERT_TRUE(g_file_set_contents(file.c_str(), (old_token + "\n").c_str(), -1, nullptr));
  ProgramRun replaced = command("token", {"--json", "--expired-token-file", file});
  ASSERT_EQ(replaced.exit_code, 0) << replaced.err;
  const std::string new_token = vtest::Json(replaced.out).account("access_token");
  EXPECT_NE(new_token, "<none>") << replaced.out;
  EXPECT_NE(new_token, old_token);
  ProgramRun missing = command("token", {"--expired-token-file", root_.path_of("missing")});
  EXPECT_EQ(missing.exit_code, 2);
  EXPECT_NE(missing.err.find("--expired-token-file: "), std::string::npos) << missing.err;
}

TEST_F(AccountCli, BadCommandLinesAreUsageErrorsWithAHint) {
  const struct {
    std::vector<std::string> args;
    const char *complaint;
  } cases[] = {
      {{}, "velmora-account: no command given\n(see velmora-account --help)"},
      {{"frobnicate"}, "velmora-account: unknown command 'frobnicate'"},
      {{"token", "--bogus"},
       "velmora-account token: Unknown option --bogus\n(see velmora-account token --help)"},
      {{"token", "--login-id"}, "Missing argument for --login-id"},
      {{"token", "--transport", "carrier-pigeon"}, "--transport must be nidl or app-control"},
      {{"token", "--timeout", "0"}, "--timeout must be 1 to 3600 seconds"},
      {{"token", "--timeout", "soon"}, "Cannot parse integer value “soon” for --timeout"},
      {{"token", "extra"}, "unexpected argument 'extra'"},
      {{"authcode", "--sync"}, "Unknown option --sync"},
  };
  for (const auto &c : cases) {
    const ProgramRun r = account(c.args);
    EXPECT_EQ(r.exit_code, 2) << c.complaint << "\n" << r.err;
    EXPECT_NE(r.err.find(c.complaint), std::string::npos) << r.err;
  }
}

// With --json a bad command line is one object too, naming the usage error and the help to read.
TEST_F(AccountCli, BadCommandLinesWithJsonAreOneObject) {
  const std::vector<std::vector<std::string>> cases = {
      {"--json"},
      {"--json", "frobnicate"},
      {"token", "--json", "--bogus"},
      {"token", "--json", "--transport", "carrier-pigeon"},
      {"token", "--json", "extra"},
  };
  for (const auto &args : cases) {
    const ProgramRun r = account(args);
    SCOPED_TRACE(args.back());
    EXPECT_EQ(r.exit_code, 2) << r.err;
    const Json json(r.out);
    ASSERT_TRUE(json.valid()) << "[" << r.out << "]";
    EXPECT_EQ(json.str("error"), "VELMORA_TOOL_ERROR_USAGE");
    EXPECT_NE(json.str("message").find("--help)"), std::string::npos) << r.out;
    EXPECT_EQ(json.integer("exit_status"), 2);
  }
}

TEST_F(AccountCli, DoubleDashEndsTheOptions) {
  prepare();
  std::vector<std::string> args = {"token"};
  for (const std::string &a : who()) args.push_back(a);
  args.push_back("--");
  args.push_back("--json");  // a word now, not an option: refused as an argument
  const ProgramRun r = account(args);
  EXPECT_EQ(r.exit_code, 2);
  EXPECT_NE(r.err.find("unexpected argument '--json'"), std::string::npos) << r.err;
}

TEST_F(AccountCli, HelpOfEveryCommandVersionManualAndCompletion) {
  ProgramRun r = account({"--help"});
  EXPECT_EQ(r.exit_code, 0);
  for (const char *part : {"token", "last-token", "authcode", "effortless",
                           "Exit status:", "  3  no answer within --timeout"})
    EXPECT_NE(r.out.find(part), std::string::npos) << part << "\n" << r.out;
  for (const char *c : {"token", "last-token", "authcode", "effortless"}) {
    r = account({c, "--help"});
    EXPECT_EQ(r.exit_code, 0) << c;
    EXPECT_NE(r.out.find(std::string("velmora-account [OPTION…] ") + c), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("--client-secret-file=FILE"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("--root=DIR"), std::string::npos) << r.out;
  }
  r = account({"--version"});
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_EQ(r.out, "velmora-account " VELMORA_ACCOUNT_VERSION_STRING "\n");
  r = account({"--man"});
  EXPECT_EQ(r.exit_code, 0);
  for (const char *part :
       {".TH VELMORA-ACCOUNT 1", ".SH EXIT STATUS", "\\fB\\-\\-timeout\\fR", ".SH ENVIRONMENT"})
    EXPECT_NE(r.out.find(part), std::string::npos) << part;
  r = account({"--bash-completion"});
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_NE(r.out.find("complete -F _velmora_account velmora-account"), std::string::npos);
}

TEST_F(AccountCli, BashCompletionCompletesCommandsAndOptions) {
  const ProgramRun script = account({"--bash-completion"});
  ASSERT_EQ(script.exit_code, 0);
  const std::string path = root_.path_of("completion.bash");
  g_file_set_contents(path.c_str(), script.out.c_str(), -1, nullptr);
  const ProgramRun words = run_program(
      "/bin/bash",
      {"-c", "source '" + path +
                 "'; COMP_WORDS=(velmora-account la); COMP_CWORD=1; _velmora_account;"
                 " echo \"${COMPREPLY[*]}\"; COMP_WORDS=(velmora-account token --cl); COMP_CWORD=2;"
                 " _velmora_account; echo \"${COMPREPLY[*]}\""},
      "bash");
  EXPECT_EQ(words.out, "last-token\n--client-id --client-secret-file\n") << words.err;
}

}  // namespace
}  // namespace vtest
