// Velmora tests: the admin commands of the built velmora-agent executable (exit codes, output,
// effects on the state, the platform store and the fault file).
#include <glib.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "agent_state.hh"
#include "clock_offset.hh"
#include "faults.hh"
#include "platform_root.hh"
#include "run_program.hh"
#include "store_view.hh"

namespace {

using CliRun = vtest::ProgramRun;

std::string agent_path() { return vtest::PlatformRoot::agent_exec(); }

// The secret a command printed on its "client_secret=" line ("" without one).
std::string printed_secret(const std::string &out) {
  const std::string key = "client_secret=";
  const size_t at = out.rfind("\n" + key);
  const size_t start = out.rfind(key, 0) == 0    ? key.size()
                       : at == std::string::npos ? at
                                                 : at + 1 + key.size();
  if (start == std::string::npos) return "";
  return out.substr(start, out.find('\n', start) - start);
}

// Runs velmora-agent with `args` under the current environment (and so the test's root).
CliRun run_agent(const std::vector<std::string> &args) {
  return vtest::run_program(agent_path(), args, "build the velmora-agent target");
}

class AdminCli : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(g_file_test(agent_path().c_str(), G_FILE_TEST_IS_EXECUTABLE))
        << agent_path() << " is missing: build the velmora-agent target";
  }
  vtest::PlatformRoot root_;
};

}  // namespace

TEST_F(AdminCli, SeedUserSignsInAndShowsTheMadeSecretOnce) {
  CliRun seed = run_agent({"seed-user", "--login-id", "alice@velmora.dev", "--password",
                           "Pw-Canary-1", "--default", "--client-id", "app.one", "--with-secret",
                           "--scope", "profile.read", "--scope", "account.read"});
  ASSERT_EQ(seed.exit_code, 0) << seed.err;
  EXPECT_NE(seed.out.find("seeded alice@velmora.dev"), std::string::npos) << seed.out;
  const std::string secret = printed_secret(seed.out);
  ASSERT_EQ(secret.size(), 43u) << seed.out;
  CliRun state = run_agent({"state"});
  ASSERT_EQ(state.exit_code, 0) << state.err;
  EXPECT_NE(state.out.find("alice@velmora.dev default"), std::string::npos) << state.out;
  EXPECT_NE(state.out.find("app.one scopes=\"profile.read account.read\" secret=yes"),
            std::string::npos)
      << state.out;
  // The password is never printed; the secret only by the command that made it.
  for (const CliRun *r : {&seed, &state}) EXPECT_EQ(r->out.find("Pw-Canary-1"), std::string::npos);
  for (const CliRun *r : {&seed, &state}) EXPECT_EQ(r->err.find("Pw-Canary-1"), std::string::npos);
  EXPECT_EQ(state.out.find(secret), std::string::npos);
  EXPECT_EQ(agent_test::store_summary("dev.velmora.account"), "alice@velmora.dev*");
  auto opened = vagent::AgentState::open();
  ASSERT_TRUE(opened.ok());
  EXPECT_TRUE(opened.value()->accounts().sign_in("alice@velmora.dev", "Pw-Canary-1").ok());
  EXPECT_TRUE(opened.value()->clients().check_secret("app.one", secret, true).ok());
}

TEST_F(AdminCli, RegisterClientWithoutASecretPrintsNone) {
  CliRun reg = run_agent({"register-client", "--client-id", "app.open", "--scope", "read"});
  ASSERT_EQ(reg.exit_code, 0) << reg.err;
  EXPECT_EQ(reg.out, "registered client app.open\n");
  CliRun again = run_agent({"register-client", "--client-id", "app.open", "--with-secret"});
  ASSERT_EQ(again.exit_code, 0) << again.err;
  EXPECT_EQ(printed_secret(again.out).size(), 43u) << again.out;
  // An operator's own secret is not taken.
  EXPECT_EQ(
      run_agent({"register-client", "--client-id", "app.x", "--client-secret", "s"}).exit_code, 2);
}

TEST_F(AdminCli, SeedUserWithoutSignInLeavesTheStoreEmpty) {
  ASSERT_EQ(run_agent({"seed-user", "--login-id", "bob", "--password", "pw"}).exit_code, 0);
  int err = 0;
  agent_test::store_records("dev.velmora.account", &err);
  EXPECT_EQ(err, ACCOUNT_ERROR_RECORD_NOT_FOUND);
}

TEST_F(AdminCli, BadUsageExitsWithTwo) {
  CliRun no_password = run_agent({"seed-user", "--login-id", "alice"});
  EXPECT_EQ(no_password.exit_code, 2);
  EXPECT_NE(no_password.err.find("--password"), std::string::npos) << no_password.err;
  EXPECT_EQ(run_agent({"seed-user", "--login-id", "a", "--password", "p", "--bogus"}).exit_code, 2);
  EXPECT_EQ(
      run_agent({"seed-user", "--login-id", "a", "--password", "p", "--scope", "x"}).exit_code, 2);
  EXPECT_EQ(run_agent({"seed-user", "--login-id"}).exit_code, 2);
  EXPECT_EQ(run_agent({"no-such-command"}).exit_code, 2);
  EXPECT_EQ(run_agent({"state", "extra"}).exit_code, 2);
  EXPECT_EQ(run_agent({"--root"}).exit_code, 2);
}

TEST_F(AdminCli, FailedCommandsExitWithOneAndNameTheError) {
  ASSERT_EQ(run_agent({"seed-user", "--login-id", "alice", "--password", "pw"}).exit_code, 0);
  CliRun again = run_agent({"seed-user", "--login-id", "alice", "--password", "pw2"});
  EXPECT_EQ(again.exit_code, 1);
  EXPECT_NE(again.err.find("AGENT_ERROR_USER_EXISTS"), std::string::npos) << again.err;
  CliRun bad_mcc = run_agent({"seed-user", "--login-id", "bob", "--password", "pw", "--mcc", "1"});
  EXPECT_EQ(bad_mcc.exit_code, 1);
  EXPECT_NE(bad_mcc.err.find("INVALID_PARAMETER"), std::string::npos) << bad_mcc.err;
  CliRun sign_out = run_agent({"sign-out", "--login-id", "alice"});
  EXPECT_EQ(sign_out.exit_code, 1);
  EXPECT_NE(sign_out.err.find("NEED_SIGNIN"), std::string::npos) << sign_out.err;
}

TEST_F(AdminCli, FaultSetIsReadBackByTheCoreAndClearRemovesIt) {
  CliRun set = run_agent({"fault", "set", "RequestAccessToken", "error_code=0xC1000001",
                          "delay_ms=20", "never_answer=true"});
  ASSERT_EQ(set.exit_code, 0) << set.err;
  ASSERT_EQ(run_agent({"fault", "set", "*", "reject_connection=true"}).exit_code, 0);
  vagent::Fault f = vagent::faults_for("RequestAccessToken");
  EXPECT_EQ(f.error_code.value(), vagent::errc::kUnknownUser);
  EXPECT_EQ(f.delay_ms, 20);
  EXPECT_TRUE(f.never_answer);
  EXPECT_TRUE(f.reject_connection);
  CliRun list = run_agent({"fault", "list"});
  EXPECT_NE(list.out.find("[RequestAccessToken] delay_ms=20"), std::string::npos) << list.out;
  ASSERT_EQ(run_agent({"fault", "clear", "*"}).exit_code, 0);
  EXPECT_FALSE(vagent::faults_for("GetDefaultAccount").any());
  EXPECT_TRUE(vagent::faults_for("RequestAccessToken").never_answer);
  ASSERT_EQ(run_agent({"fault", "clear"}).exit_code, 0);
  EXPECT_FALSE(vagent::faults_for("RequestAccessToken").any());
}

TEST_F(AdminCli, FaultWithUnknownKeyOrBadValueExitsWithTwo) {
  CliRun unknown = run_agent({"fault", "set", "GetDefaultAccount", "slowly=1"});
  EXPECT_EQ(unknown.exit_code, 2);
  EXPECT_NE(unknown.err.find("delay_ms"), std::string::npos) << unknown.err;  // lists the keys
  EXPECT_EQ(run_agent({"fault", "set", "GetDefaultAccount", "crash"}).exit_code, 2);
  EXPECT_EQ(run_agent({"fault", "set", "GetDefaultAccount", "delay_ms=x"}).exit_code, 2);
  EXPECT_EQ(run_agent({"fault", "set", "GetDefaultAccount"}).exit_code, 2);
  EXPECT_EQ(run_agent({"fault", "frobnicate"}).exit_code, 2);
  CliRun keys = run_agent({"fault", "keys"});
  EXPECT_EQ(keys.exit_code, 0);
  for (const std::string &k : vagent::fault_keys())
    EXPECT_NE(keys.out.find(k + "\n"), std::string::npos) << k;
  EXPECT_FALSE(vagent::faults_for("GetDefaultAccount").any());
}

TEST_F(AdminCli, FaultForAnOperationTheAgentDoesNotHaveIsRefusedWithTheList) {
  CliRun r = run_agent({"fault", "set", "RequestAccesToken", "crash=1"});  // misspelt
  EXPECT_EQ(r.exit_code, 2);
  EXPECT_NE(r.err.find("no operation is called 'RequestAccesToken'; the operations are: * "
                       "AccountSvc AppControl "),
            std::string::npos)
      << r.err;
  EXPECT_NE(r.err.find(" RequestAccessToken "), std::string::npos) << r.err;
  EXPECT_NE(r.err.find(" getaccesstoken"), std::string::npos) << r.err;
  EXPECT_FALSE(vagent::faults_for("RequestAccesToken").any());
  EXPECT_EQ(run_agent({"fault", "clear", "nothing"}).exit_code, 2);
  EXPECT_EQ(run_agent({"fault", "set", "getaccesstoken", "delay_ms=5"}).exit_code, 0);
}

TEST_F(AdminCli, RootOptionOverridesTheEnvironment) {
  vtest::PlatformRoot other;  // now the environment's root
  ASSERT_EQ(run_agent({"--root", root_.path(), "seed-user", "--login-id", "alice", "--password",
                       "pw", "--sign-in"})
                .exit_code,
            0);
  CliRun here = run_agent({"state"});
  EXPECT_EQ(here.out.find("alice"), std::string::npos) << here.out;
  CliRun there = run_agent({"--root=" + root_.path(), "state"});
  EXPECT_NE(there.out.find("alice default"), std::string::npos) << there.out;
}

TEST_F(AdminCli, ErrorsCommandListsTheTable) {
  CliRun r = run_agent({"errors"});
  ASSERT_EQ(r.exit_code, 0);
  EXPECT_NE(r.out.find("0xC1000001  AGENT_ERROR_UNKNOWN_USER"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("-1073741830"), std::string::npos);
}

TEST_F(AdminCli, ServingAgentQuitsCleanlyOnSigterm) {
  const std::string exe = agent_path();
  gchar *argv[] = {const_cast<gchar *>(exe.c_str()), nullptr};
  gchar **envp = g_get_environ();
  envp = g_environ_setenv(envp, "VELMORA_APP_ID", "dev.velmora.account", TRUE);
  envp = g_environ_setenv(envp, "VELMORA_LOG_LEVEL", "info", TRUE);
  GPid pid = 0;
  gint err_fd = -1;
  GError *error = nullptr;
  ASSERT_TRUE(g_spawn_async_with_pipes(nullptr, argv, envp, G_SPAWN_DO_NOT_REAP_CHILD, nullptr,
                                       nullptr, &pid, nullptr, nullptr, &err_fd, &error))
      << (error ? error->message : "?");
  g_strfreev(envp);
  // Wait for the line the agent logs once it is ready to serve.
  std::string seen;
  bool ready = false;
  while (!ready) {
    struct pollfd p = {err_fd, POLLIN, 0};
    if (poll(&p, 1, 30000) <= 0) break;  // a guard against hanging, not a timing assertion
    char buf[512];
    ssize_t n = read(err_fd, buf, sizeof buf);
    if (n <= 0) break;
    seen.append(buf, static_cast<size_t>(n));
    ready = seen.find("agent: serving as dev.velmora.account") != std::string::npos;
  }
  EXPECT_TRUE(ready) << seen;
  kill(pid, SIGTERM);
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  close(err_fd);
  g_spawn_close_pid(pid);
  EXPECT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_TRUE(g_file_test(root_.path_of("agent/state.db").c_str(), G_FILE_TEST_IS_REGULAR));
}

TEST_F(AdminCli, ClockAdvanceAddsUpAndResetRemovesTheOffset) {
  ASSERT_EQ(run_agent({"clock", "advance", "100"}).exit_code, 0);
  CliRun second = run_agent({"clock", "advance", "50"});
  ASSERT_EQ(second.exit_code, 0) << second.err;
  EXPECT_EQ(run_agent({"clock", "show"}).out, "offset_s=150\n");
  EXPECT_EQ(vagent::clock_offset(root_.path()), 150);
  EXPECT_EQ(run_agent({"clock", "advance", "soon"}).exit_code, 2);
  EXPECT_EQ(run_agent({"clock"}).exit_code, 2);
  ASSERT_EQ(run_agent({"clock", "reset"}).exit_code, 0);
  EXPECT_EQ(vagent::clock_offset(root_.path()), 0);
}

// A state emptied behind the agent's back: the agent refuses to serve, and so does every command,
// naming the recovery command, which starts over.
TEST_F(AdminCli, ALostStateIsRefusedUntilResetState) {
  ASSERT_EQ(
      run_agent({"seed-user", "--login-id", "alice", "--password", "pw", "--sign-in"}).exit_code,
      0);
  const std::string db = root_.path_of("agent/state.db");
  ASSERT_EQ(truncate(db.c_str(), 0), 0);
  const std::string way_out = "velmora-agent --root " + root_.path() + " reset-state";
  for (const std::vector<std::string> &args :
       {std::vector<std::string>{"serve"}, std::vector<std::string>{"state"},
        std::vector<std::string>{"seed-user", "--login-id", "bob", "--password", "pw"}}) {
    CliRun r = run_agent(args);
    EXPECT_EQ(r.exit_code, 1) << args[0];
    EXPECT_NE(r.err.find("AGENT_ERROR_STATE_LOST"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find(way_out), std::string::npos) << r.err;
  }
  EXPECT_EQ(agent_test::store_summary("dev.velmora.account"), "alice*");
  CliRun reset = run_agent({"reset-state"});
  ASSERT_EQ(reset.exit_code, 0) << reset.err;
  EXPECT_NE(reset.out.find("starts over"), std::string::npos) << reset.out;
  EXPECT_EQ(agent_test::store_summary("dev.velmora.account"), "");
  CliRun state = run_agent({"state"});
  ASSERT_EQ(state.exit_code, 0) << state.err;
  EXPECT_NE(state.out.find("users (0)"), std::string::npos) << state.out;
}

TEST_F(AdminCli, ResetStateKeepsAStateThatIsNotLostUnlessForced) {
  ASSERT_EQ(
      run_agent({"seed-user", "--login-id", "alice", "--password", "pw", "--sign-in"}).exit_code,
      0);
  CliRun kept = run_agent({"reset-state"});
  EXPECT_EQ(kept.exit_code, 1);
  EXPECT_NE(kept.err.find("nothing was reset"), std::string::npos) << kept.err;
  EXPECT_NE(run_agent({"state"}).out.find("alice default"), std::string::npos);
  ASSERT_EQ(run_agent({"reset-state", "--force"}).exit_code, 0);
  EXPECT_NE(run_agent({"state"}).out.find("users (0)"), std::string::npos);
}

TEST_F(AdminCli, PlacesAreAddedChangedListedAndRemoved) {
  ASSERT_EQ(run_agent({"seed-user", "--login-id", "alice", "--password", "pw"}).exit_code, 0);
  CliRun add = run_agent({"places", "add", "--login-id", "alice", "--name", "Home", "--category",
                          "1", "--latitude", "37.5", "--wifi-name", "home-net"});
  ASSERT_EQ(add.exit_code, 0) << add.err;
  EXPECT_EQ(add.out,
            "1\tname=Home\taddress=\tcategory=1\ttype=-\tlocation_source=-\tlatitude=37.5"
            "\tlongitude=-\twifi=home-net/\tbt=/\n");
  CliRun change =
      run_agent({"places", "change", "--login-id", "alice", "--id", "1", "--address", "1 Main St"});
  ASSERT_EQ(change.exit_code, 0) << change.err;
  CliRun list = run_agent({"places", "list", "--login-id", "alice"});
  ASSERT_EQ(list.exit_code, 0) << list.err;
  EXPECT_EQ(list.out,
            "1\tname=Home\taddress=1 Main St\tcategory=1\ttype=-\tlocation_source=-"
            "\tlatitude=37.5\tlongitude=-\twifi=home-net/\tbt=/\n");
  CliRun remove = run_agent({"places", "remove", "--login-id", "alice", "--id", "1"});
  EXPECT_EQ(remove.exit_code, 0) << remove.err;
  EXPECT_EQ(remove.out, "removed place 1 of alice\n");
  EXPECT_EQ(run_agent({"places", "list", "--login-id", "alice"}).out, "");

  CliRun unknown = run_agent({"places", "remove", "--login-id", "alice", "--id", "1"});
  EXPECT_EQ(unknown.exit_code, 1);
  EXPECT_NE(unknown.err.find("AGENT_ERROR_UNKNOWN_PLACE"), std::string::npos) << unknown.err;
  // 200 means "not given" to the library: never stored.
  CliRun not_given = run_agent({"places", "add", "--login-id", "alice", "--category", "200"});
  EXPECT_EQ(not_given.exit_code, 1);
  EXPECT_NE(not_given.err.find("INVALID_PARAMETER"), std::string::npos) << not_given.err;
  // Usage: change and remove need --id, list takes no fields, numbers must be numbers.
  EXPECT_EQ(run_agent({"places", "change", "--login-id", "alice", "--name", "x"}).exit_code, 2);
  EXPECT_EQ(run_agent({"places", "list", "--login-id", "alice", "--name", "x"}).exit_code, 2);
  EXPECT_EQ(run_agent({"places", "add", "--login-id", "alice", "--latitude", "north"}).exit_code,
            2);
  EXPECT_EQ(run_agent({"places", "add", "--name", "x"}).exit_code, 2);
}
