// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the velmora-account subcommands of the account state queries and the account
// services against the agent (status, accounts, default, whois, mcc, consent, linking), in both
// forms where a blocking one exists, as text and as one JSON object, with their exit statuses.
#include <glib.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "account_fixture.hh"
#include "json_view.hh"
#include "run_program.hh"
#include "velmora_host.h"

namespace vtest {
namespace {

constexpr const char *kBob = "bob@velmora.dev";
constexpr int kUnknownUser = static_cast<int>(0xC1000001u);

std::string tool() { return PlatformRoot::build_dir() + "/tools/velmora-account"; }

class AccountCliQueries : public AccountTest {
 protected:
  ProgramRun account(const std::vector<std::string> &args) {
    return run_program(tool(), args, "build the velmora-account tool");
  }
  // A file below the root holding `text`, for the options that read a secret from a file.
  std::string file_with(const char *name, const std::string &text) {
    const std::string path = root_.path_of(name);
    g_file_set_contents(path.c_str(), (text + "\n").c_str(), -1, nullptr);
    return path;
  }
};

TEST_F(AccountCliQueries, StatusInBothFormsAsTextAndJson) {
  prepare();
  for (const char *form : {"", "--sync"}) {
    std::vector<std::string> args = {"status", kLogin};
    if (*form) args.push_back(form);
    ProgramRun r = account(args);
    EXPECT_EQ(r.exit_code, 0) << form << "\n" << r.err;
    EXPECT_EQ(r.out, "login_id: " + std::string(kLogin) + "\nsigned_in: true\n") << form;

    args = {"status", "nobody@velmora.dev", "--json"};
    if (*form) args.push_back(form);
    r = account(args);
    EXPECT_EQ(r.exit_code, 0) << form << "\n" << r.err;
    const Json json(r.out);
    ASSERT_TRUE(json.valid()) << r.out;
    EXPECT_EQ(json.integer("result"), 0);
    EXPECT_TRUE(json.has("signed_in")) << r.out;
    EXPECT_FALSE(json.boolean("signed_in")) << r.out;

    // Without a login id: whether any account is signed in.
    args = {"status"};
    if (*form) args.push_back(form);
    r = account(args);
    EXPECT_EQ(r.out, "signed_in: true\n") << form << "\n" << r.err;
  }
}

TEST_F(AccountCliQueries, AccountsAndTheDefaultFromTheAgentAndFromTheStore) {
  prepare();
  seed_user(kBob, true);
  const std::string both = std::string(kLogin) + "\n" + kBob + "\n";
  for (const char *form : {"", "--sync"}) {
    std::vector<std::string> args = {"accounts"};
    if (*form) args.push_back(form);
    ProgramRun r = account(args);
    EXPECT_EQ(r.exit_code, 0) << form << "\n" << r.err;
    EXPECT_EQ(r.out, both) << form;
    args.push_back("--json");
    r = account(args);
    const Json json(r.out);
    ASSERT_TRUE(json.valid()) << r.out;
    EXPECT_EQ(json.strings("accounts"), (std::vector<std::string>{kLogin, kBob})) << r.out;
    EXPECT_EQ(json.integer("exit_status"), 0);
  }
  ProgramRun r = account({"default"});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(r.out.find("login_id: " + std::string(kLogin) + "\n"), std::string::npos) << r.out;
  r = account({"default", "get", "--sync", "--json"});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(Json(r.out).str("login_id"), kLogin) << r.out;
}

TEST_F(AccountCliQueries, DefaultSetInEitherFormMovesTheDefault) {
  prepare();
  seed_user(kBob, true);
  ProgramRun r = account({"default", "set", kBob});
  EXPECT_EQ(r.exit_code, 0) << r.out << r.err;
  EXPECT_NE(r.out.find("login_id: " + std::string(kBob) + "\n"), std::string::npos) << r.out;
  r = account({"default", "--sync"});
  EXPECT_EQ(r.out, "login_id: " + std::string(kBob) + "\n") << r.err;

  // The blocking form goes over the port.
  r = account({"default", "set", kLogin, "--sync"});
  EXPECT_EQ(r.exit_code, 0) << r.out << r.err;
  EXPECT_EQ(r.out, "login_id: " + std::string(kLogin) + "\n");
  r = account({"default", "--sync"});
  EXPECT_EQ(r.out, "login_id: " + std::string(kLogin) + "\n") << r.err;

  // Over app control there is no blocking form: the library refuses it.
  r = account({"default", "set", kBob, "--sync", "--transport", "app-control", "--json"});
  EXPECT_EQ(r.exit_code, 1) << r.out << r.err;
  EXPECT_EQ(Json(r.out).str("error"), "VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED") << r.out;

  // A user that is not signed in cannot be the default; the default stays.
  r = account({"default", "set", "nobody@velmora.dev", "--sync", "--json"});
  EXPECT_EQ(r.exit_code, 1) << r.out << r.err;
  EXPECT_EQ(Json(r.out).integer("result"), kUnknownUser) << r.out;
  r = account({"default", "--sync"});
  EXPECT_EQ(r.out, "login_id: " + std::string(kLogin) + "\n") << r.err;
}

TEST_F(AccountCliQueries, DefaultRefusesABadCommandLine) {
  prepare();
  for (const std::vector<std::string> &args : {std::vector<std::string>{"default", "frobnicate"},
                                               {"default", "set"},
                                               {"default", "get", kLogin},
                                               {"default", "set", kLogin, "extra"}}) {
    const ProgramRun r = account(args);
    EXPECT_EQ(r.exit_code, 2) << args[1] << "\n" << r.err;
  }
}

TEST_F(AccountCliQueries, WithoutAccountsTheListsSaySo) {
  prepare("mobile", 5, /*seed=*/false);
  ProgramRun r = account({"accounts"});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out, "no account is signed in\n");
  r = account({"accounts", "--sync", "--json"});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  const Json json(r.out);
  ASSERT_TRUE(json.valid()) << r.out;
  EXPECT_TRUE(json.has("accounts"));
  EXPECT_TRUE(json.strings("accounts").empty()) << r.out;
  r = account({"status", "--sync"});
  EXPECT_EQ(r.out, "signed_in: false\n") << r.err;
  // No default to show: the store says that sign-in is needed.
  r = account({"default", "--sync", "--json"});
  EXPECT_EQ(r.exit_code, 1) << r.out;
  EXPECT_EQ(Json(r.out).integer("result"), VELMORA_ACCOUNT_ERROR_NEED_SIGNIN) << r.out;
}

TEST_F(AccountCliQueries, WhoisFindsTheAccountOfAUserIdInBothTransports) {
  prepare();
  for (const char *transport : {"app-control", "nidl"}) {
    ProgramRun r = account({"whois", user_id_, "--transport", transport});
    EXPECT_EQ(r.exit_code, 0) << transport << "\n" << r.out << r.err;
    EXPECT_NE(r.out.find("login_id: " + std::string(kLogin) + "\n"), std::string::npos) << r.out;
    r = account({"whois", "no-such-user-id", "--transport", transport, "--json"});
    EXPECT_EQ(r.exit_code, 1) << transport << "\n" << r.out;
    EXPECT_TRUE(Json(r.out).valid()) << r.out;
  }
}

TEST_F(AccountCliQueries, MccIsTheDevicesInBothTransports) {
  prepare();
  char *error = nullptr;
  ASSERT_EQ(velmora_host_set_mcc("262", &error), 0);
  for (const char *transport : {"app-control", "nidl"}) {
    const ProgramRun r = account({"mcc", "--login-id", kLogin, "--transport", transport, "--json"});
    EXPECT_EQ(r.exit_code, 0) << transport << "\n" << r.out << r.err;
    EXPECT_EQ(Json(r.out).account("mcc"), "262") << r.out;
  }
  const ProgramRun r = account({"mcc", "--json"});
  EXPECT_EQ(r.exit_code, 1) << r.out;
  EXPECT_EQ(Json(r.out).str("error"), "VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER") << r.out;
}

TEST_F(AccountCliQueries, ConsentGivesTheNamedConsentsAndNeedsTheMandatoryTwo) {
  prepare();
  for (const char *transport : {"app-control", "nidl"}) {
    ProgramRun r = account({"consent", "service", "personal-info", "advertisement", "--login-id",
                            kLogin, "--mcc", "450", "--transport", transport});
    EXPECT_EQ(r.exit_code, 0) << transport << "\n" << r.out << r.err;
    {
      auto state = vagent::AgentState::open(root_.path());
      ASSERT_TRUE(state.ok());
      EXPECT_EQ(state.value()->consents().get(kLogin).value(), 1 | 2 | 8) << transport;
    }
    // Only the service's terms: the library refuses the update before sending it.
    r = account(
        {"consent", "service", "--login-id", kLogin, "--mcc", "450", "--transport", transport});
    EXPECT_EQ(r.exit_code, 1) << transport << "\n" << r.out;
    EXPECT_NE(r.err.find("VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER"), std::string::npos) << r.err;
  }
  const ProgramRun r = account({"consent", "service", "cookies", "--login-id", kLogin});
  EXPECT_EQ(r.exit_code, 2);
  EXPECT_NE(r.err.find("unknown consent 'cookies'"), std::string::npos) << r.err;
}

TEST_F(AccountCliQueries, LinkingShowsTheStatusTrueOrFalseInBothTransports) {
  prepare();
  {
    auto state = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(state.ok());
    for (const char *partner : {"dev.partner.tv", "dev.partner.car"}) {
      vagent::NewClient client;
      client.client_id = partner;
      ASSERT_TRUE(state.value()->clients().register_client(client).ok());
      ASSERT_TRUE(state.value()->linking().register_partner(partner, "").ok());
    }
    ASSERT_TRUE(state.value()->linking().set(kLogin, "dev.partner.tv", true).ok());
  }
  velmora_account_h h = app_control_handle();
  Completion token;
  ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &token), 0);
  ASSERT_TRUE(token.wait());
  ASSERT_EQ(token.result, 0);
  const std::string token_file =
      file_with("access-token", token.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN));
  for (const char *transport : {"app-control", "nidl"}) {
    for (const char *partner : {"dev.partner.tv", "dev.partner.car"}) {
      const bool linked = std::string(partner) == "dev.partner.tv";
      const ProgramRun r =
          account({"linking", "--login-id", kLogin, "--client-id", kClient, "--partner-client-id",
                   partner, "--access-token-file", token_file, "--auth-server-url",
                   "https://auth.velmora.dev", "--transport", transport});
      EXPECT_EQ(r.exit_code, 0) << transport << " " << partner << "\n" << r.out << r.err;
      EXPECT_NE(r.out.find(std::string("account_linking_status: ") + (linked ? "true" : "false")),
                std::string::npos)
          << transport << " " << partner << "\n"
          << r.out;
    }
  }
}

}  // namespace
}  // namespace vtest
