// SPDX-License-Identifier: Apache-2.0
// Velmora tests: velmora-account profile (get, set, privacy, watch) against the agent, in both
// transports, as text and as one JSON object.
#include <glib.h>
#include <gtest/gtest.h>
#include <json-glib/json-glib.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "profile_fixture.hh"
#include "run_program.hh"

namespace vtest {
namespace {

std::string tool() { return PlatformRoot::build_dir() + "/tools/velmora-account"; }

class ProfileCli : public ProfileOpsTest {
 protected:
  ProgramRun profile(std::vector<std::string> args, const std::string &transport = "app-control") {
    std::vector<std::string> all = {"profile"};
    all.insert(all.end(), args.begin(), args.end());
    for (const char *a : {"--login-id", kLogin, "--client-id", kClient, "--transport"})
      all.push_back(a);
    all.push_back(transport);
    return run_program(tool(), all, "build the velmora-account tool");
  }
};

TEST_F(ProfileCli, SetAndGetInBothTransports) {
  prepare();
  for (const char *transport : {"app-control", "nidl"}) {
    const std::string t = transport;
    ProgramRun r = profile({"set", "phoneNumbers", "value=+1 555 0100", "type=home",
                            "2:value=+1 555 " + std::string(t == "nidl" ? "0202" : "0102")},
                           t);
    EXPECT_EQ(r.exit_code, 0) << t << "\n" << r.out << r.err;
    EXPECT_EQ(r.out, "phoneNumbers: 2 item(s) set\n");
    r = profile({"set", "names", "givenName=Ada", "familyName=Lovelace", "source=PROFILE"}, t);
    EXPECT_EQ(r.exit_code, 0) << r.err;
    r = profile({"privacy", "phoneNumbers=2", "names=1"}, t);
    EXPECT_EQ(r.exit_code, 0) << r.err;

    r = profile({"get"}, t);
    EXPECT_EQ(r.exit_code, 0) << r.err;
    for (const std::string line :
         {"names=1\n", "names_1:givenName=Ada\n", "names_1:familyName=Lovelace\n",
          "names_1:metadata:source:type=PROFILE\n", "phoneNumbers=2\n",
          "phoneNumbers_1:value=+1 555 0100\n", "phoneNumbers_1:type=home\n"})
      EXPECT_NE(r.out.find(line), std::string::npos) << t << " " << line << "\n" << r.out;
    EXPECT_NE(r.out.find(t == "nidl" ? "phoneNumbers_2:value=+1 555 0202\n"
                                     : "phoneNumbers_2:value=+1 555 0102\n"),
              std::string::npos)
        << r.out;

    r = profile({"get", "phoneNumbers", "--json"}, t);
    EXPECT_EQ(r.exit_code, 0) << r.err;
    JsonParser *parser = json_parser_new();
    ASSERT_TRUE(json_parser_load_from_data(parser, r.out.c_str(), -1, nullptr)) << r.out;
    JsonObject *root = json_node_get_object(json_parser_get_root(parser));
    JsonObject *phones = json_object_get_object_member(
        json_object_get_object_member(root, "profile"), "phoneNumbers");
    EXPECT_EQ(json_object_get_int_member(phones, "privacy"), 2);
    JsonArray *items = json_object_get_array_member(phones, "items");
    ASSERT_EQ(json_array_get_length(items), 2u);
    EXPECT_STREQ(json_object_get_string_member(json_array_get_object_element(items, 0), "value"),
                 "+1 555 0100");
    EXPECT_EQ(json_object_get_int_member(root, "exit_status"), 0);
    // Only the category asked for.
    EXPECT_FALSE(json_object_has_member(json_object_get_object_member(root, "profile"), "names"));
    g_object_unref(parser);
  }
}

TEST_F(ProfileCli, BadWordsAreUsageErrorsAndAgentRefusalsFailures) {
  prepare();
  EXPECT_EQ(profile({"get", "phones"}).exit_code, 2);
  EXPECT_EQ(profile({"set", "phoneNumbers", "colour=red"}).exit_code, 2);
  EXPECT_EQ(profile({"set", "phoneNumbers", "verified=Y"}).exit_code, 2);
  EXPECT_EQ(profile({"set", "nicknames", "2:value=x"}).exit_code, 2);
  EXPECT_EQ(profile({"set", "phoneNumbers", "3:value=x"}).exit_code, 2);  // items 1 and 2 missing
  EXPECT_EQ(profile({"privacy", "phoneNumbers=3"}).exit_code, 2);
  EXPECT_EQ(profile({"frobnicate"}).exit_code, 2);
  const ProgramRun r = profile({"watch"});
  EXPECT_EQ(r.exit_code, 2);
  EXPECT_NE(r.err.find("VELMORA_APP_ID"), std::string::npos) << r.err;
  // Subscriptions travel over app control only.
  root_.install_package("dev.example.cli", {{"dev.example.cli", "service", tool()}});
  setenv("VELMORA_APP_ID", "dev.example.cli", 1);
  const ProgramRun port = profile({"watch"}, "nidl");
  unsetenv("VELMORA_APP_ID");
  EXPECT_EQ(port.exit_code, 1) << port.err;
  EXPECT_NE(port.err.find("VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED"), std::string::npos) << port.err;
}

TEST_F(ProfileCli, WatchPrintsTheChangesItIsTold) {
  prepare();
  constexpr const char *kApp = "dev.example.cli";
  root_.install_package(kApp, {{kApp, "service", tool()}});
  const std::string out = root_.path_of("watch.txt");
  setenv("VELMORA_APP_ID", kApp, 1);
  const GPid pid = spawn({tool(), "profile", "watch", "--count", "2", "--login-id", kLogin,
                          "--client-id", kClient, "--json"},
                         out);
  unsetenv("VELMORA_APP_ID");
  ASSERT_NE(pid, 0);
  // The watcher has subscribed once the agent lists it.
  const std::string agent = PlatformRoot::agent_exec();
  ASSERT_TRUE(run_until([&] {
    const ProgramRun r = run_program(agent, {"profile", "subscribers", "--login-id", kLogin}, "");
    return r.out.find(kApp) != std::string::npos;
  }));
  EXPECT_EQ(profile({"set", "nicknames", "value=Ada"}).exit_code, 0);
  EXPECT_EQ(profile({"privacy", "nicknames=1"}, "nidl").exit_code, 0);
  EXPECT_EQ(wait_exit(pid), 0);
  std::ifstream in(out);
  std::stringstream text;
  text << in.rdbuf();
  JsonParser *parser = json_parser_new();
  ASSERT_TRUE(json_parser_load_from_data(parser, text.str().c_str(), -1, nullptr)) << text.str();
  JsonObject *root = json_node_get_object(json_parser_get_root(parser));
  JsonArray *changes = json_object_get_array_member(root, "changes");
  ASSERT_EQ(json_array_get_length(changes), 2u) << text.str();
  JsonObject *first = json_array_get_object_element(changes, 0);
  EXPECT_STREQ(json_object_get_string_member(first, "resource"), "nicknames");
  EXPECT_STREQ(json_object_get_string_member(first, "nicknames:value"), "Ada");
  JsonObject *second = json_array_get_object_element(changes, 1);
  EXPECT_STREQ(json_object_get_string_member(second, "category"), "privacy");
  EXPECT_STREQ(json_object_get_string_member(second, "nicknames"), "1");
  g_object_unref(parser);
  // Unsubscribed on the way out.
  const ProgramRun after = run_program(agent, {"profile", "subscribers", "--login-id", kLogin}, "");
  EXPECT_EQ(after.out.find(kApp), std::string::npos) << after.out;
}

}  // namespace
}  // namespace vtest
