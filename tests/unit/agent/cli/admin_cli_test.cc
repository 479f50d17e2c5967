// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the admin commands of the built velmora-agent executable (exit codes, output,
// effects on the state, the platform store and the fault file).
#include <glib.h>
#include <gtest/gtest.h>
#include <json-glib/json-glib.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "agent_state.hh"
#include "clock_offset.hh"
#include "faults.hh"
#include "json_view.hh"
#include "platform_root.hh"
#include "run_program.hh"
#include "store_view.hh"
#include "velmora_account_version.h"
#include "velmora_host.h"

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

// Runs velmora-agent with `password` (and a line end) on its standard input.
CliRun run_agent_with_password(const std::vector<std::string> &args, const std::string &password) {
  return vtest::run_program_with_input(agent_path(), args, password + "\n",
                                       "build the velmora-agent target");
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
  CliRun seed =
      run_agent_with_password({"seed-user", "--login-id", "alice@velmora.dev", "--password-file",
                               "-", "--default", "--client-id", "app.one", "--with-secret",
                               "--scope", "profile.read", "--scope", "account.read"},
                              "Pw-Canary-1");
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
  ASSERT_EQ(
      run_agent_with_password({"seed-user", "--login-id", "bob", "--password-file", "-"}, "pw")
          .exit_code,
      0);
  int err = 0;
  agent_test::store_records("dev.velmora.account", &err);
  EXPECT_EQ(err, ACCOUNT_ERROR_RECORD_NOT_FOUND);
}

TEST_F(AdminCli, BadUsageExitsWithTwo) {
  CliRun no_password = run_agent({"seed-user", "--login-id", "alice"});
  EXPECT_EQ(no_password.exit_code, 2);
  EXPECT_NE(no_password.err.find("--password"), std::string::npos) << no_password.err;
  EXPECT_EQ(run_agent_with_password(
                {"seed-user", "--login-id", "a", "--password-file", "-", "--bogus"}, "p")
                .exit_code,
            2);
  EXPECT_EQ(run_agent_with_password(
                {"seed-user", "--login-id", "a", "--password-file", "-", "--scope", "x"}, "p")
                .exit_code,
            2);
  EXPECT_EQ(run_agent({"seed-user", "--login-id"}).exit_code, 2);
  EXPECT_EQ(run_agent({"no-such-command"}).exit_code, 2);
  EXPECT_EQ(run_agent({"state", "extra"}).exit_code, 2);
  EXPECT_EQ(run_agent({"--root"}).exit_code, 2);
}

TEST_F(AdminCli, FailedCommandsExitWithOneAndNameTheError) {
  ASSERT_EQ(
      run_agent_with_password({"seed-user", "--login-id", "alice", "--password-file", "-"}, "pw")
          .exit_code,
      0);
  CliRun again =
      run_agent_with_password({"seed-user", "--login-id", "alice", "--password-file", "-"}, "pw2");
  EXPECT_EQ(again.exit_code, 1);
  EXPECT_NE(again.err.find("AGENT_ERROR_USER_EXISTS"), std::string::npos) << again.err;
  CliRun bad_mcc = run_agent_with_password(
      {"seed-user", "--login-id", "bob", "--password-file", "-", "--mcc", "1"}, "pw");
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
  ASSERT_EQ(run_agent_with_password({"--root", root_.path(), "seed-user", "--login-id", "alice",
                                     "--password-file", "-", "--sign-in"},
                                    "pw")
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

namespace {

// `velmora-agent serve` as the platform launches it (VELMORA_APP_ID of the agent), in the test's
// root, its stderr read until it says it serves (or ends). SIGTERM stops it.
class ServingAgent {
 public:
  ServingAgent() {
    const std::string exe = agent_path();
    gchar *argv[] = {const_cast<gchar *>(exe.c_str()), nullptr};
    gchar **envp = g_get_environ();
    envp = g_environ_setenv(envp, "VELMORA_APP_ID", "dev.velmora.account", TRUE);
    envp = g_environ_setenv(envp, "VELMORA_LOG_LEVEL", "info", TRUE);
    GError *error = nullptr;
    const bool spawned =
        g_spawn_async_with_pipes(nullptr, argv, envp, G_SPAWN_DO_NOT_REAP_CHILD, nullptr, nullptr,
                                 &pid_, nullptr, nullptr, &err_fd_, &error);
    g_strfreev(envp);
    if (!spawned) {
      seen_ = error ? error->message : "?";
      g_clear_error(&error);
      pid_ = 0;
      return;
    }
    // Wait for the line the agent logs once it is ready to serve.
    while (!ready_) {
      struct pollfd p = {err_fd_, POLLIN, 0};
      if (poll(&p, 1, 30000) <= 0) break;  // a guard against hanging, not a timing assertion
      char buf[512];
      ssize_t n = read(err_fd_, buf, sizeof buf);
      if (n <= 0) break;
      seen_.append(buf, static_cast<size_t>(n));
      ready_ = seen_.find("agent: serving as dev.velmora.account") != std::string::npos;
    }
  }
  ~ServingAgent() { stop(); }
  ServingAgent(const ServingAgent &) = delete;
  ServingAgent &operator=(const ServingAgent &) = delete;

  bool ready() const { return ready_; }
  // What it wrote to stderr so far (or why it did not start).
  const std::string &seen() const { return seen_; }
  // Sends SIGTERM and reaps it: its wait status, or -1 when it was not running.
  int stop() {
    if (pid_ == 0) return -1;
    kill(pid_, SIGTERM);
    int status = 0;
    if (waitpid(pid_, &status, 0) != pid_) status = -1;
    close(err_fd_);
    g_spawn_close_pid(pid_);
    pid_ = 0;
    return status;
  }

 private:
  GPid pid_ = 0;
  gint err_fd_ = -1;
  bool ready_ = false;
  std::string seen_;
};

// What `serve` says when a server cannot start, after "velmora-agent: " on stderr and as the JSON
// object's message.
std::string not_started(const std::string &server, const std::string &error) {
  return "serve failed: server " + server + " did not start: " + error +
         "; it serves as dev.velmora.account, one instance in a platform root: let a request "
         "launch it, or serve by hand with VELMORA_APP_ID=dev.velmora.account once no other "
         "instance runs (velmora-platform ps; velmora-platform stop dev.velmora.account)";
}

// Runs `serve` in text and in JSON: both fail with exit status 1 and say `message`, on stderr, and
// under --json also as the one object on stdout.
void expect_serve_fails(const std::string &message) {
  CliRun text = run_agent({"serve"});
  EXPECT_EQ(text.exit_code, 1);
  EXPECT_EQ(text.out, "");
  EXPECT_NE(text.err.find("velmora-agent: " + message + "\n"), std::string::npos) << text.err;

  CliRun json = run_agent({"serve", "--json"});
  EXPECT_EQ(json.exit_code, 1);
  vtest::Json object(json.out);
  ASSERT_TRUE(object.valid()) << json.out;
  EXPECT_EQ(object.str("command"), "serve");
  EXPECT_EQ(object.str("error"), "VELMORA_TOOL_ERROR_FAILED");
  EXPECT_EQ(object.str("message"), message);
  EXPECT_EQ(object.integer("exit_status"), 1);
  EXPECT_NE(json.err.find("velmora-agent: " + message + "\n"), std::string::npos) << json.err;
}

}  // namespace

TEST_F(AdminCli, ServingAgentQuitsCleanlyOnSigterm) {
  ServingAgent agent;
  EXPECT_TRUE(agent.ready()) << agent.seen();
  const int status = agent.stop();
  ASSERT_NE(status, -1);
  EXPECT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_TRUE(g_file_test(root_.path_of("agent/state.db").c_str(), G_FILE_TEST_IS_REGULAR));
}

// Started by hand without an application id, the agent cannot listen on its port (only an
// application may): it says so and what to do, and exits instead of serving.
TEST_F(AdminCli, ServeWithoutTheApplicationIdFailsAndSaysWhatToDo) {
  g_unsetenv("VELMORA_APP_ID");
  expect_serve_fails(not_started("account-svc", "cannot listen on AccountSvc (-22)"));
}

// A second agent in a root that one serves already cannot take the port.
TEST_F(AdminCli, ServeWhileAnotherAgentServesTheRootFails) {
  ServingAgent first;
  ASSERT_TRUE(first.ready()) << first.seen();
  g_setenv("VELMORA_APP_ID", "dev.velmora.account", TRUE);
  expect_serve_fails(not_started("account-svc", "cannot listen on AccountSvc (-5)"));
  g_unsetenv("VELMORA_APP_ID");
  // The first one still serves, and stops cleanly.
  const int status = first.stop();
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
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
  ASSERT_EQ(run_agent_with_password(
                {"seed-user", "--login-id", "alice", "--password-file", "-", "--sign-in"}, "pw")
                .exit_code,
            0);
  const std::string db = root_.path_of("agent/state.db");
  ASSERT_EQ(truncate(db.c_str(), 0), 0);
  const std::string way_out = "velmora-agent --root " + root_.path() + " reset-state";
  const std::string password = root_.path_of("password");
  ASSERT_TRUE(g_file_set_contents(password.c_str(), "pw\n", -1, nullptr));
  for (const std::vector<std::string> &args :
       {std::vector<std::string>{"serve"}, std::vector<std::string>{"state"},
        std::vector<std::string>{"seed-user", "--login-id", "bob", "--password-file", password}}) {
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
  ASSERT_EQ(run_agent_with_password(
                {"seed-user", "--login-id", "alice", "--password-file", "-", "--sign-in"}, "pw")
                .exit_code,
            0);
  CliRun kept = run_agent({"reset-state"});
  EXPECT_EQ(kept.exit_code, 1);
  EXPECT_NE(kept.err.find("nothing was reset"), std::string::npos) << kept.err;
  EXPECT_NE(run_agent({"state"}).out.find("alice default"), std::string::npos);
  ASSERT_EQ(run_agent({"reset-state", "--force"}).exit_code, 0);
  EXPECT_NE(run_agent({"state"}).out.find("users (0)"), std::string::npos);
}

TEST_F(AdminCli, PlacesAreAddedChangedListedAndRemoved) {
  ASSERT_EQ(
      run_agent_with_password({"seed-user", "--login-id", "alice", "--password-file", "-"}, "pw")
          .exit_code,
      0);
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
  EXPECT_EQ(run_agent({"places", "list", "--login-id", "alice"}).out,
            "no places saved for alice\n");

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
  EXPECT_EQ(run_agent({"places", "move", "--login-id", "alice"}).exit_code, 2);
  EXPECT_EQ(run_agent({"places", "add", "--login-id", "alice", "--id", "3"}).exit_code, 2);
  EXPECT_EQ(run_agent({"places", "list", "extra", "--login-id", "alice"}).exit_code, 2);
}

TEST_F(AdminCli, PlacesInJson) {
  ASSERT_EQ(
      run_agent_with_password({"seed-user", "--login-id", "alice", "--password-file", "-"}, "pw")
          .exit_code,
      0);
  CliRun add = run_agent({"places", "add", "--json", "--login-id", "alice", "--name", "Home",
                          "--latitude", "37.5", "--type", "2"});
  ASSERT_EQ(add.exit_code, 0) << add.err;
  vtest::Json added(add.out);
  ASSERT_TRUE(added.valid()) << add.out;
  EXPECT_EQ(added.str("command"), "places");
  JsonObject *place = json_object_get_object_member(added.object(), "place");
  ASSERT_NE(place, nullptr) << add.out;
  EXPECT_EQ(json_object_get_int_member(place, "id"), 1);
  EXPECT_STREQ(json_object_get_string_member(place, "name"), "Home");
  EXPECT_DOUBLE_EQ(json_object_get_double_member(place, "latitude"), 37.5);
  EXPECT_EQ(json_object_get_int_member(place, "type"), 2);
  EXPECT_TRUE(json_object_get_null_member(place, "category")) << add.out;
  EXPECT_TRUE(json_object_get_null_member(place, "longitude")) << add.out;

  vtest::Json listed(run_agent({"places", "list", "--json", "--login-id", "alice"}).out);
  ASSERT_NE(listed.array("places"), nullptr);
  ASSERT_EQ(json_array_get_length(listed.array("places")), 1u);
  EXPECT_STREQ(json_object_get_string_member(
                   json_array_get_object_element(listed.array("places"), 0), "name"),
               "Home");
  vtest::Json removed(
      run_agent({"places", "remove", "--json", "--login-id", "alice", "--id", "1"}).out);
  EXPECT_EQ(removed.integer("removed"), 1);
  vtest::Json empty(run_agent({"places", "list", "--json", "--login-id", "alice"}).out);
  ASSERT_NE(empty.array("places"), nullptr);
  EXPECT_EQ(json_array_get_length(empty.array("places")), 0u);

  CliRun unknown = run_agent({"places", "remove", "--json", "--login-id", "alice", "--id", "1"});
  EXPECT_EQ(unknown.exit_code, 1);
  vtest::Json failure(unknown.out);
  ASSERT_TRUE(failure.valid()) << unknown.out;
  // Like every tool: the text on stderr, one object on stdout.
  const std::string said = "places failed: AGENT_ERROR_UNKNOWN_PLACE: no place 1 of alice (" +
                           std::to_string(vagent::errc::kUnknownPlace) + ")";
  EXPECT_EQ(failure.str("command"), "places");
  EXPECT_EQ(failure.str("error"), "AGENT_ERROR_UNKNOWN_PLACE");
  EXPECT_EQ(failure.str("message"), said);
  EXPECT_EQ(failure.integer("exit_status"), 1);
  EXPECT_EQ(unknown.err, "velmora-agent: " + said + "\n");
}

TEST_F(AdminCli, ProfileUsageIsCheckedBeforeTheStateIsOpened) {
  for (const std::vector<std::string> &args : std::vector<std::vector<std::string>>{
           {"profile"},
           {"profile", "show"},
           {"profile", "edit", "--login-id", "alice"},
           {"profile", "show", "--login-id", "alice", "names=1"},
           {"profile", "set", "--login-id", "alice", "names:givenName=Ada"},
           {"profile", "set", "--login-id", "alice", "--category", "names", "givenName"},
           {"profile", "privacy", "--login-id", "alice"},
           {"profile", "verify", "--login-id", "alice", "--category", "names"},
           {"profile", "verify", "--login-id", "alice", "--category", "nope", "--item", "1"}}) {
    CliRun r = run_agent(args);
    EXPECT_EQ(r.exit_code, 2) << args.size() << " " << args.back() << ": " << r.err;
  }
  EXPECT_FALSE(g_file_test(root_.path_of("agent/state.db").c_str(), G_FILE_TEST_EXISTS));
}

TEST_F(AdminCli, ProfileSetShowAndSubscribersInTextAndJson) {
  ASSERT_EQ(run_agent_with_password(
                {"seed-user", "--login-id", "alice", "--password-file", "-", "--sign-in"}, "pw")
                .exit_code,
            0);
  CliRun none = run_agent({"profile", "subscribers", "--login-id", "alice"});
  EXPECT_EQ(none.exit_code, 0) << none.err;
  EXPECT_EQ(none.out, "no application is subscribed to the profile of alice\n");
  CliRun set = run_agent({"profile", "set", "--json", "--login-id", "alice", "--category",
                          "nicknames", "nicknames:value=Ada"});
  ASSERT_EQ(set.exit_code, 0) << set.err;
  vtest::Json changed(set.out);
  ASSERT_TRUE(changed.valid()) << set.out;
  EXPECT_TRUE(changed.boolean("changed"));
  CliRun show = run_agent({"profile", "show", "--login-id", "alice", "--category", "nicknames"});
  ASSERT_EQ(show.exit_code, 0) << show.err;
  EXPECT_NE(show.out.find("nicknames:value=Ada\n"), std::string::npos) << show.out;
  CliRun shown =
      run_agent({"profile", "show", "--json", "--login-id", "alice", "--category", "nicknames"});
  vtest::Json profile(shown.out);
  ASSERT_TRUE(profile.valid()) << shown.out;
  JsonObject *keys = json_object_get_object_member(profile.object(), "profile");
  ASSERT_NE(keys, nullptr) << shown.out;
  EXPECT_STREQ(json_object_get_string_member(keys, "nicknames:value"), "Ada") << shown.out;
  vtest::Json subs(run_agent({"profile", "subscribers", "--json", "--login-id", "alice"}).out);
  ASSERT_NE(subs.array("subscribers"), nullptr);
  EXPECT_EQ(json_array_get_length(subs.array("subscribers")), 0u);
  CliRun stranger = run_agent({"profile", "show", "--json", "--login-id", "nobody"});
  EXPECT_EQ(stranger.exit_code, 1);
  vtest::Json failure(stranger.out);
  ASSERT_TRUE(failure.valid()) << stranger.out;
  EXPECT_EQ(failure.str("command"), "profile");
}

using JsonOutput = vtest::Json;

// A password is never taken from the command line: from a file or standard input only.
TEST_F(AdminCli, PasswordComesFromAFileOrStandardInputNeverTheCommandLine) {
  CliRun on_line = run_agent({"seed-user", "--login-id", "alice", "--password", "Pw-Canary-2"});
  EXPECT_EQ(on_line.exit_code, 2);
  EXPECT_NE(on_line.err.find("--password"), std::string::npos) << on_line.err;
  EXPECT_NE(on_line.err.find("velmora-agent seed-user --help"), std::string::npos) << on_line.err;

  CliRun empty =
      run_agent_with_password({"seed-user", "--login-id", "alice", "--password-file", "-"}, "");
  EXPECT_EQ(empty.exit_code, 2);
  EXPECT_NE(empty.err.find("standard input holds no secret"), std::string::npos) << empty.err;
  CliRun missing = run_agent(
      {"seed-user", "--login-id", "alice", "--password-file", root_.path_of("no-such-file")});
  EXPECT_EQ(missing.exit_code, 2);
  EXPECT_NE(missing.err.find("no-such-file"), std::string::npos) << missing.err;

  const std::string file = root_.path_of("password");
  ASSERT_TRUE(g_file_set_contents(file.c_str(), "Pw-Canary-2\nignored second line\n", -1, nullptr));
  CliRun from_file = run_agent({"seed-user", "--login-id", "alice", "--password-file", file});
  ASSERT_EQ(from_file.exit_code, 0) << from_file.err;
  ASSERT_EQ(run_agent_with_password({"seed-user", "--login-id", "bob", "--password-file", "-"},
                                    "Pw-Canary-3")
                .exit_code,
            0);
  auto opened = vagent::AgentState::open();
  ASSERT_TRUE(opened.ok());
  EXPECT_TRUE(opened.value()->accounts().sign_in("alice", "Pw-Canary-2").ok());
  EXPECT_TRUE(opened.value()->accounts().sign_in("bob", "Pw-Canary-3").ok());
  EXPECT_FALSE(
      opened.value()->accounts().sign_in("alice", "Pw-Canary-2\nignored second line").ok());
}

// Every command has --help with the exit statuses; the tool has --help, --version, its manual page
// and its bash completion, all from one table.
TEST_F(AdminCli, HelpOnEveryCommandVersionManualPageAndCompletion) {
  CliRun help = run_agent({"--help"});
  ASSERT_EQ(help.exit_code, 0) << help.err;
  // Every command the help lists, and at least these.
  std::vector<std::string> commands;
  const size_t table = help.out.find("Commands:\n");
  ASSERT_NE(table, std::string::npos) << help.out;
  for (size_t at = help.out.find('\n', table) + 1; help.out.compare(at, 2, "  ") == 0;
       at = help.out.find('\n', at) + 1)
    commands.push_back(help.out.substr(at + 2, help.out.find(' ', at + 2) - at - 2));
  for (const char *c :
       {"serve", "seed-user", "register-client", "sign-out", "register-partner", "link", "consents",
        "places", "profile", "reset-state", "fault", "clock", "state", "errors"})
    EXPECT_NE(std::find(commands.begin(), commands.end(), c), commands.end()) << c << help.out;
  for (const std::string &c : commands) {
    EXPECT_NE(help.out.find("  " + c + " "), std::string::npos) << c << "\n" << help.out;
    CliRun one = run_agent({c, "--help"});
    EXPECT_EQ(one.exit_code, 0) << c << ": " << one.err;
    EXPECT_NE(one.out.find("Usage:\n  velmora-agent [OPTION"), std::string::npos) << one.out;
    EXPECT_NE(one.out.find("] " + c), std::string::npos) << one.out;
    EXPECT_NE(one.out.find("Exit status:\n  0  done\n  1  the command failed"), std::string::npos)
        << one.out;
    EXPECT_NE(one.out.find("--root=DIR"), std::string::npos) << one.out;
  }
  EXPECT_NE(run_agent({"seed-user", "--help"}).out.find("--password-file=FILE|-"),
            std::string::npos);
  // --help of a command does nothing else: no state was made.
  EXPECT_FALSE(g_file_test(root_.path_of("agent/state.db").c_str(), G_FILE_TEST_EXISTS));

  CliRun version = run_agent({"--version"});
  EXPECT_EQ(version.exit_code, 0);
  EXPECT_EQ(version.out, std::string("velmora-agent ") + VELMORA_ACCOUNT_VERSION_STRING + "\n");
  CliRun man = run_agent({"--man"});
  EXPECT_EQ(man.exit_code, 0);
  EXPECT_NE(man.out.find(".TH VELMORA-AGENT 1"), std::string::npos) << man.out;
  EXPECT_NE(man.out.find("\\fBseed\\-user\\fR [\\fB\\-\\-login\\-id\\fR"), std::string::npos)
      << man.out;
  EXPECT_NE(man.out.find("VELMORA_AGENT_IDLE_MS"), std::string::npos) << man.out;
  CliRun completion = run_agent({"--bash-completion"});
  EXPECT_EQ(completion.exit_code, 0);
  EXPECT_NE(completion.out.find("complete -F _velmora_agent velmora-agent"), std::string::npos)
      << completion.out;
  EXPECT_NE(completion.out.find("--password-file"), std::string::npos) << completion.out;

  CliRun unknown = run_agent({"--frobnicate"});
  EXPECT_EQ(unknown.exit_code, 2);
  EXPECT_NE(unknown.err.find("--frobnicate"), std::string::npos) << unknown.err;
}

// --json: every command's outcome, failures included, is one JSON object.
TEST_F(AdminCli, JsonOutcomesAreOneObject) {
  CliRun seed = run_agent_with_password(
      {"--json", "seed-user", "--login-id", "alice", "--password-file", "-", "--default",
       "--client-id", "app.one", "--with-secret", "--scope", "read"},
      "Pw-Canary-4");
  ASSERT_EQ(seed.exit_code, 0) << seed.err;
  JsonOutput seeded(seed.out);
  ASSERT_TRUE(seeded.valid()) << seed.out;
  EXPECT_EQ(seeded.str("command"), "seed-user");
  EXPECT_EQ(seeded.str("login_id"), "alice");
  EXPECT_TRUE(json_object_get_boolean_member(seeded.object(), "default"));
  JsonObject *client = json_object_get_object_member(seeded.object(), "client");
  ASSERT_NE(client, nullptr);
  EXPECT_STREQ(json_object_get_string_member(client, "client_id"), "app.one");
  const std::string secret = json_object_get_string_member(client, "client_secret");
  EXPECT_EQ(secret.size(), 43u);

  CliRun state = run_agent({"state", "--json"});
  ASSERT_EQ(state.exit_code, 0) << state.err;
  JsonOutput view(state.out);
  ASSERT_TRUE(view.valid()) << state.out;
  EXPECT_EQ(view.str("root"), root_.path());
  EXPECT_EQ(view.str("profile"), "mobile");
  ASSERT_NE(view.array("users"), nullptr) << state.out;
  ASSERT_EQ(json_array_get_length(view.array("users")), 1u);
  EXPECT_STREQ(json_object_get_string_member(json_array_get_object_element(view.array("users"), 0),
                                             "login_id"),
               "alice");
  JsonObject *c = json_array_get_object_element(view.array("clients"), 0);
  EXPECT_TRUE(json_object_get_boolean_member(c, "secret"));
  EXPECT_STREQ(json_array_get_string_element(json_object_get_array_member(c, "scopes"), 0), "read");
  JsonObject *a = json_array_get_object_element(view.array("signed_in"), 0);
  EXPECT_STREQ(json_object_get_string_member(a, "login_id"), "alice");
  EXPECT_TRUE(json_object_get_boolean_member(a, "default"));
  EXPECT_EQ(json_array_get_length(view.array("platform_store")), 1u);
  EXPECT_EQ(json_array_get_length(view.array("faults")), 0u);
  EXPECT_EQ(state.out.find("Pw-Canary-4"), std::string::npos);
  EXPECT_EQ(state.out.find(secret), std::string::npos);

  ASSERT_EQ(run_agent({"fault", "set", "RequestAccessToken", "delay_ms=20", "crash=1"}).exit_code,
            0);
  CliRun faults = run_agent({"--json", "fault", "list"});
  JsonOutput listed(faults.out);
  ASSERT_TRUE(listed.valid()) << faults.out;
  JsonObject *f = json_array_get_object_element(listed.array("faults"), 0);
  EXPECT_STREQ(json_object_get_string_member(f, "operation"), "RequestAccessToken");
  JsonObject *settings = json_object_get_object_member(f, "settings");
  EXPECT_EQ(json_object_get_int_member(settings, "delay_ms"), 20);
  EXPECT_TRUE(json_object_get_boolean_member(settings, "crash"));
  JsonOutput in_state(run_agent({"state", "--json"}).out);
  EXPECT_EQ(json_array_get_length(in_state.array("faults")), 1u);

  JsonOutput errors(run_agent({"errors", "--json"}).out);
  ASSERT_NE(errors.array("errors"), nullptr);
  EXPECT_GT(json_array_get_length(errors.array("errors")), 5u);
  JsonOutput clock(run_agent({"clock", "advance", "7", "--json"}).out);
  EXPECT_EQ(clock.integer("offset_s"), 7);
  JsonOutput keys(run_agent({"fault", "keys", "--json"}).out);
  ASSERT_NE(keys.array("keys"), nullptr);
  ASSERT_EQ(run_agent({"register-partner", "--client-id", "app.one"}).exit_code, 0);
  JsonOutput linked(
      run_agent({"link", "--json", "--login-id", "alice", "--partner-client-id", "app.one"}).out);
  EXPECT_EQ(linked.str("partner_client_id"), "app.one");
  JsonOutput out(run_agent({"sign-out", "--json", "--login-id", "alice"}).out);
  EXPECT_EQ(out.str("login_id"), "alice");

  // A failure is one object too, naming the error, with the exit status.
  CliRun again = run_agent_with_password(
      {"seed-user", "--json", "--login-id", "alice", "--password-file", "-"}, "pw");
  EXPECT_EQ(again.exit_code, 1);
  JsonOutput failure(again.out);
  ASSERT_TRUE(failure.valid()) << again.out;
  EXPECT_EQ(failure.str("command"), "seed-user");
  EXPECT_EQ(failure.str("error"), "AGENT_ERROR_USER_EXISTS");
  EXPECT_EQ(failure.integer("exit_status"), 1);
  // The same text on stderr, as every tool says its failures.
  const std::string said =
      "seed-user failed: AGENT_ERROR_USER_EXISTS: login id or user id in use: alice (" +
      std::to_string(vagent::errc::kUserExists) + ")";
  EXPECT_EQ(failure.str("message"), said);
  EXPECT_EQ(again.err, "velmora-agent: " + said + "\n");
}

TEST_F(AdminCli, DoubleDashEndsTheOptions) {
  CliRun r = run_agent({"state", "--", "--json"});  // a word now, not an option: refused
  EXPECT_EQ(r.exit_code, 2);
  EXPECT_NE(r.err.find("unexpected argument '--json'"), std::string::npos) << r.err;
  EXPECT_EQ(r.out, "");  // no JSON object: --json was not asked for
  // Words after it are the command's arguments, as they would be without it.
  r = run_agent({"fault", "set", "--", "RequestAccessToken", "delay_ms=20"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  vtest::Json listed(run_agent({"fault", "list", "--json"}).out);
  ASSERT_NE(listed.array("faults"), nullptr);
  ASSERT_EQ(json_array_get_length(listed.array("faults")), 1u);
  JsonObject *f = json_array_get_object_element(listed.array("faults"), 0);
  EXPECT_STREQ(json_object_get_string_member(f, "operation"), "RequestAccessToken");
}

TEST_F(AdminCli, EmptyFaultListSaysSo) {
  CliRun r = run_agent({"fault", "list"});
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_EQ(r.out, "no fault is set\n");
}

TEST_F(AdminCli, PartnersAndConsentsInTextAndJson) {
  CliRun none = run_agent({"register-partner", "--list"});
  EXPECT_EQ(none.exit_code, 0) << none.err;
  EXPECT_EQ(none.out, "no partner clients\n");
  EXPECT_EQ(run_agent({"register-partner", "--list", "--client-id", "x"}).exit_code, 2);
  EXPECT_EQ(run_agent({"register-partner"}).exit_code, 2);
  CliRun unknown = run_agent({"register-partner", "--client-id", "partner.one"});
  EXPECT_EQ(unknown.exit_code, 1);
  EXPECT_NE(unknown.err.find("AGENT_ERROR_UNKNOWN_CLIENT"), std::string::npos) << unknown.err;

  ASSERT_EQ(run_agent({"register-client", "--client-id", "partner.one"}).exit_code, 0);
  CliRun reg = run_agent({"register-partner", "--client-id", "partner.one", "--name", "One"});
  ASSERT_EQ(reg.exit_code, 0) << reg.err;
  EXPECT_EQ(reg.out, "partner partner.one registered\n");
  JsonOutput partners(run_agent({"register-partner", "--list", "--json"}).out);
  ASSERT_NE(partners.array("partners"), nullptr);
  ASSERT_EQ(json_array_get_length(partners.array("partners")), 1u);
  JsonObject *p = json_array_get_object_element(partners.array("partners"), 0);
  EXPECT_STREQ(json_object_get_string_member(p, "client_id"), "partner.one");
  EXPECT_STREQ(json_object_get_string_member(p, "name"), "One");

  ASSERT_EQ(
      run_agent_with_password({"seed-user", "--login-id", "alice", "--password-file", "-"}, "pw")
          .exit_code,
      0);
  CliRun consents = run_agent({"consents", "--login-id", "alice"});
  EXPECT_EQ(consents.exit_code, 0) << consents.err;
  JsonOutput listed(run_agent({"consents", "--login-id", "alice", "--json"}).out);
  ASSERT_TRUE(listed.valid());
  EXPECT_EQ(listed.str("login_id"), "alice");
  ASSERT_NE(listed.array("consents"), nullptr);
  // One line of text per consent, one JSON element each.
  size_t lines = 0;
  for (char c : consents.out) lines += c == '\n';
  EXPECT_EQ(json_array_get_length(listed.array("consents")), lines) << consents.out;
  EXPECT_EQ(run_agent({"consents"}).exit_code, 2);
}

TEST_F(AdminCli, SecondFactorEnrolsAndWithdrawsAUser) {
  ASSERT_EQ(
      run_agent_with_password({"seed-user", "--login-id", "bob", "--password-file", "-"}, "pw")
          .exit_code,
      0);
  CliRun on = run_agent({"second-factor", "--login-id", "bob", "--phone", "+15550100"});
  ASSERT_EQ(on.exit_code, 0) << on.err;
  {
    auto state = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(state.ok()) << state.status().describe();
    auto phone = state.value()->second_factor().phone_of("bob");
    ASSERT_TRUE(phone.ok());
    EXPECT_EQ(phone.value().value_or("<none>"), "+15550100");
  }
  ASSERT_EQ(run_agent({"second-factor", "--login-id", "bob", "--off"}).exit_code, 0);
  auto state = vagent::AgentState::open(root_.path());
  ASSERT_TRUE(state.ok()) << state.status().describe();
  auto phone = state.value()->second_factor().phone_of("bob");
  ASSERT_TRUE(phone.ok());
  EXPECT_FALSE(phone.value().has_value());
}

TEST_F(AdminCli, SecondFactorOutboxAndIssueCodeAnswerInJson) {
  ASSERT_EQ(
      run_agent_with_password(
          {"seed-user", "--login-id", "bob", "--password-file", "-", "--client-id", "c1"}, "pw")
          .exit_code,
      0);
  vtest::Json on(
      run_agent({"second-factor", "--json", "--login-id", "bob", "--phone", "+15550100"}).out);
  ASSERT_TRUE(on.valid());
  EXPECT_EQ(on.str("command"), "second-factor");
  EXPECT_TRUE(on.boolean("second_factor"));
  ASSERT_EQ(velmora_host_sms_send("+15550100", "your number 123456", nullptr), 0);
  vtest::Json outbox(run_agent({"outbox", "--json"}).out);
  ASSERT_TRUE(outbox.valid());
  ASSERT_NE(outbox.array("messages"), nullptr);
  ASSERT_EQ(json_array_get_length(outbox.array("messages")), 1u);
  JsonObject *message = json_array_get_object_element(outbox.array("messages"), 0);
  EXPECT_STREQ(json_object_get_string_member(message, "to"), "+15550100");
  EXPECT_STREQ(json_object_get_string_member(message, "text"), "your number 123456");
  vtest::Json code(run_agent({"issue-code", "--json", "--login-id", "bob", "--client-id", "c1",
                              "--device-code", "device-1"})
                       .out);
  ASSERT_TRUE(code.valid());
  EXPECT_FALSE(code.str("authcode").empty());
  vtest::Json unknown(run_agent({"issue-code", "--json", "--login-id", "nobody", "--client-id",
                                 "c1", "--device-code", "d"})
                          .out);
  ASSERT_TRUE(unknown.valid()) << "a failure is one JSON object too";
}

TEST_F(AdminCli, SecondFactorOfAnUnknownUserFailsAndBadUsageIsTwo) {
  CliRun r = run_agent({"second-factor", "--login-id", "nobody", "--phone", "+15550100"});
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_NE(r.err.find("AGENT_ERROR_UNKNOWN_USER"), std::string::npos) << r.err;
  EXPECT_EQ(run_agent({"second-factor", "--login-id", "bob"}).exit_code, 2);
  EXPECT_EQ(run_agent({"second-factor", "--login-id", "b", "--phone", "1", "--off"}).exit_code, 2);
}

TEST_F(AdminCli, OutboxPrintsTheMessagesSentOldestFirst) {
  CliRun empty = run_agent({"outbox"});
  EXPECT_EQ(empty.exit_code, 0);
  EXPECT_EQ(empty.out, "");
  EXPECT_NE(empty.err.find("no message was sent"), std::string::npos) << empty.err;
  ASSERT_EQ(velmora_host_sms_send("+15550100", "first 123456", nullptr), 0);
  ASSERT_EQ(velmora_host_sms_send("+15550101", "second 654321", nullptr), 0);
  CliRun r = run_agent({"outbox"});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  const size_t first = r.out.find("\t+15550100\tfirst 123456\n");
  const size_t second = r.out.find("\t+15550101\tsecond 654321\n");
  ASSERT_NE(first, std::string::npos) << r.out;
  ASSERT_NE(second, std::string::npos) << r.out;
  EXPECT_LT(first, second);
}

TEST_F(AdminCli, IssueCodeMakesADeviceBoundCodeThatRedeemsOnce) {
  ASSERT_EQ(
      run_agent_with_password(
          {"seed-user", "--login-id", "bob", "--password-file", "-", "--client-id", "c1"}, "pw")
          .exit_code,
      0);
  CliRun r = run_agent(
      {"issue-code", "--login-id", "bob", "--client-id", "c1", "--device-code", "device-1"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const std::string key = "authcode=";
  ASSERT_EQ(r.out.rfind(key, 0), 0u) << r.out;
  const std::string code = r.out.substr(key.size(), r.out.find('\n') - key.size());
  EXPECT_FALSE(code.empty());
  auto state = vagent::AgentState::open(root_.path());
  ASSERT_TRUE(state.ok()) << state.status().describe();
  auto other = state.value()->codes().redeem(vagent::CodeKind::kAuthCode, code, "c1", "bob",
                                             std::string("device-2"));
  EXPECT_EQ(other.code(), vagent::errc::kCodeDeviceMismatch);
  auto used = state.value()->codes().redeem(vagent::CodeKind::kAuthCode, code, "c1", "bob",
                                            std::string("device-1"));
  EXPECT_TRUE(used.ok()) << used.status().describe();
  EXPECT_EQ(
      run_agent({"issue-code", "--login-id", "nobody", "--client-id", "c1", "--device-code", "d"})
          .exit_code,
      1);
  EXPECT_EQ(run_agent({"issue-code", "--login-id", "bob"}).exit_code, 2);
}
