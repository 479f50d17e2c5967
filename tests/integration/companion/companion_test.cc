// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a wearable asks its paired phone for the account and signs in through it, end to
// end: library, wearable agent and UI application, the platform's companion link, phone agent.
#include <gtest/gtest.h>

#include "companion_fixture.hh"
#include "dlog.h"
#include "run_program.hh"

using vtest::CompanionReply;
using vtest::CompanionTest;
using vtest::kPhoneLogin;

namespace {
constexpr int kNotPaired = static_cast<int>(0xC1000022u);
constexpr int kPhoneUnreachable = static_cast<int>(0xC1000023u);
constexpr int kNoPhoneAccount = static_cast<int>(0xC1000024u);
}  // namespace

TEST_F(CompanionTest, APhoneWithAnAccountSaysSo) {
  pair();
  seed_phone_account();
  vtest::LogCapture log;
  CompanionReply r;
  ASSERT_EQ(velmora_account_companion_get_account(handle(), CompanionReply::cb, &r), 0);
  ASSERT_TRUE(r.wait());
  EXPECT_EQ(r.result, 0);
  EXPECT_TRUE(r.had_account);
  EXPECT_EQ(r.exists, 1);
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_INFO, "companion_get_account [Wearable]")) << log.dump();
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_INFO, "Key[check_mobile_account_exist], Value[true]"))
      << log.dump();
  EXPECT_EQ(log.find("REQUEST_HANDLE_FREE")->function(), "companion_get_account_cb");
}

TEST_F(CompanionTest, APhoneWithoutAnAccountSaysThat) {
  pair();
  CompanionReply r;
  ASSERT_EQ(velmora_account_companion_get_account(handle(), CompanionReply::cb, &r), 0);
  ASSERT_TRUE(r.wait());
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.exists, 0);
}

TEST_F(CompanionTest, SignInThroughThePhoneSignsTheWearableIn) {
  pair();
  seed_phone_account();
  EXPECT_FALSE(wearable_signed_in(kPhoneLogin));
  vtest::LogCapture log;
  CompanionReply r;
  ASSERT_EQ(velmora_account_companion_sign_in(handle(), CompanionReply::cb, &r), 0);
  ASSERT_TRUE(r.wait());
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.exists, 1);
  EXPECT_TRUE(wearable_signed_in(kPhoneLogin));
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_INFO, "Get mobile_account_exist [Wearable]"))
      << log.dump();
  EXPECT_EQ(log.find("REQUEST_HANDLE_FREE")->function(), "companion_sign_in_result_cb");

  // Again: the account is there already and is signed in again.
  CompanionReply again;
  ASSERT_EQ(velmora_account_companion_sign_in(handle(), CompanionReply::cb, &again), 0);
  ASSERT_TRUE(again.wait());
  EXPECT_EQ(again.result, 0);
}

TEST_F(CompanionTest, SignInWithoutAPhoneAccountFails) {
  pair();
  CompanionReply r;
  ASSERT_EQ(velmora_account_companion_sign_in(handle(), CompanionReply::cb, &r), 0);
  ASSERT_TRUE(r.wait());
  EXPECT_EQ(r.result, kNoPhoneAccount);
  EXPECT_EQ(r.exists, -1);  // the companion handle is passed unfilled: not known (NO_DATA)
  EXPECT_FALSE(wearable_signed_in(kPhoneLogin));
}

TEST_F(CompanionTest, AnUnpairedWearableIsNotPaired) {
  for (bool sign_in : {false, true}) {
    const char *reply_name = sign_in ? "companion_sign_in_result_cb" : "companion_get_account_cb";
    vtest::LogCapture log;
    CompanionReply r;
    velmora_account_h h = handle();
    ASSERT_EQ(sign_in ? velmora_account_companion_sign_in(h, CompanionReply::cb, &r)
                      : velmora_account_companion_get_account(h, CompanionReply::cb, &r),
              0);
    ASSERT_TRUE(r.wait());
    EXPECT_EQ(r.result, kNotPaired) << reply_name;
    EXPECT_TRUE(r.had_account);
    EXPECT_EQ(r.exists, -1);  // the companion handle is passed unfilled
    const vtest::LogLine *entry = log.find(std::string("[") + reply_name + "]");
    ASSERT_NE(entry, nullptr) << log.dump();
    EXPECT_EQ(entry->function(), reply_name);
    const vtest::LogLine *failed = log.find("[CONVERT_ERROR_CODE] AppControl result fail");
    ASSERT_NE(failed, nullptr) << log.dump();
    EXPECT_EQ(failed->function(), reply_name);
  }
}

TEST_F(CompanionTest, APhoneWithoutTheAgentIsUnreachable) {
  pair();
  in_root(phone_root_);
  phone_.remove_package(vtest::PlatformRoot::kAgentAppId);
  in_root(wearable_.path());
  CompanionReply r;
  ASSERT_EQ(velmora_account_companion_sign_in(handle(), CompanionReply::cb, &r), 0);
  ASSERT_TRUE(r.wait());
  EXPECT_EQ(r.result, kPhoneUnreachable);
}

TEST_F(CompanionTest, APhoneThatDoesNotAnswerInTheTimeOutIsUnreachable) {
  pair();
  seed_phone_account();
  set_phone_fault("companion_phone_signin", "never_answer", "1");
  velmora_account_h h = handle();
  ASSERT_EQ(velmora_account_set_property_int(h, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, 1), 0);
  CompanionReply r;
  ASSERT_EQ(velmora_account_companion_sign_in(h, CompanionReply::cb, &r), 0);
  ASSERT_TRUE(r.wait());
  EXPECT_EQ(r.result, kPhoneUnreachable);
  EXPECT_FALSE(wearable_signed_in(kPhoneLogin));
}

TEST_F(CompanionTest, ThePhonesAgentKilledDuringASignInMakesItUnreachable) {
  pair();
  seed_phone_account();
  set_phone_fault("companion_phone_signin", "never_answer", "1");
  CompanionReply r;
  ASSERT_EQ(velmora_account_companion_sign_in(handle(), CompanionReply::cb, &r), 0);
  // The phone's agent has taken the request (it says it leaves it unanswered); then it is killed.
  ASSERT_TRUE(vtest::run_until([&] { return phone_logged("companion_phone_signin from"); }));
  EXPECT_EQ(r.calls, 0);
  stop_pid(pid_in(phone_root_), SIGKILL);
  ASSERT_TRUE(r.wait());
  EXPECT_EQ(r.result, kPhoneUnreachable);
  EXPECT_FALSE(wearable_signed_in(kPhoneLogin));
}

TEST_F(CompanionTest, TheWearablesAgentKilledDuringASignInPassesTheCompanionUnfilled) {
  pair();
  seed_phone_account();
  set_phone_fault("companion_phone_signin", "never_answer", "1");
  vtest::LogCapture log;
  CompanionReply r;
  ASSERT_EQ(velmora_account_companion_sign_in(handle(), CompanionReply::cb, &r), 0);
  // The wearable's agent has taken the request and passed it to the phone, which leaves it
  // unanswered; then the wearable's agent is killed: the launch fails without a reply.
  ASSERT_TRUE(vtest::run_until([&] { return phone_logged("companion_phone_signin from"); }));
  EXPECT_EQ(r.calls, 0);
  stop_pid(pid_in(wearable_.path()), SIGKILL);
  ASSERT_TRUE(r.wait());
  // No "error_code" to convert: the result is 0, and the companion handle is passed unfilled.
  EXPECT_EQ(r.result, VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(r.had_account);
  EXPECT_EQ(r.exists, -1);
  const vtest::LogLine *failed = log.find("[CONVERT_ERROR_CODE] AppControl result fail");
  ASSERT_NE(failed, nullptr) << log.dump();
  EXPECT_EQ(failed->function(), "companion_sign_in_result_cb");
  EXPECT_TRUE(log.has(vtest::kVaTag, DLOG_INFO, "ErrorCode is NULL [(null)], value set to 0"))
      << log.dump();
  EXPECT_EQ(log.count("Fail to app_control_foreach_extra_data"), 0) << log.dump();
  EXPECT_EQ(log.find("REQUEST_HANDLE_FREE")->function(), "companion_sign_in_result_cb");
  EXPECT_FALSE(wearable_signed_in(kPhoneLogin));
}

TEST_F(CompanionTest, AHandleOverThePortIsRefusedBeforeAnyAllocation) {
  pair();
  seed_phone_account();
  vtest::Connection connection;
  velmora_account_h h = nullptr;
  ASSERT_EQ(velmora_account_connect(&h, vtest::Connection::cb, &connection), 0);
  vtest::LogCapture log;
  CompanionReply r;
  EXPECT_EQ(velmora_account_companion_get_account(h, CompanionReply::cb, &r),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(velmora_account_companion_sign_in(h, CompanionReply::cb, &r),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(log.count("wearable, [ERROR_NOT_SUPPORTED]"), 2) << log.dump();
  EXPECT_EQ(log.count("companion_get_account [Wearable]"), 0);  // logged only after the clone
  EXPECT_EQ(log.count("Get mobile_account_exist [Wearable]"), 0);
  EXPECT_TRUE(vtest::run_until([&] { return connection.events > 0; }));
  EXPECT_EQ(velmora_account_disconnect(h), 0);
  EXPECT_EQ(r.calls, 0);
}

TEST_F(CompanionTest, TheCommandLineAsksThePhoneAndSignsInThroughIt) {
  const std::string tool = vtest::PlatformRoot::build_dir() + "/tools/velmora-account";
  const std::string hint = "build the velmora-account tool";
  vtest::ProgramRun r = vtest::run_program(tool, {"companion", "status"}, hint);
  EXPECT_EQ(r.exit_code, 1) << r.out << r.err;
  EXPECT_NE((r.out + r.err).find("AGENT_ERROR_NOT_PAIRED"), std::string::npos) << r.out << r.err;

  pair();
  r = vtest::run_program(tool, {"companion", "status", "--json"}, hint);
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out,
            "{\"operation\":\"companion status\",\"result\":0,\"phone_has_account\":false,"
            "\"signed_in\":false}\n");
  r = vtest::run_program(tool, {"companion", "sign-in"}, hint);
  EXPECT_EQ(r.exit_code, 1) << r.out << r.err;
  EXPECT_NE((r.out + r.err).find("AGENT_ERROR_NO_PHONE_ACCOUNT"), std::string::npos) << r.out;

  seed_phone_account();
  r = vtest::run_program(tool, {"companion", "status"}, hint);
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out, "phone_has_account: true\n");
  r = vtest::run_program(tool, {"companion", "sign-in", "--timeout", "301"}, hint);
  EXPECT_EQ(r.exit_code, 1) << r.out << r.err;
  EXPECT_NE((r.out + r.err).find("INVALID_PARAMETER"), std::string::npos) << r.out << r.err;
  EXPECT_FALSE(wearable_signed_in(kPhoneLogin));
  r = vtest::run_program(tool, {"companion", "sign-in", "--timeout", "30"}, hint);
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out, "phone_has_account: true\nsigned in through the phone\n");
  EXPECT_TRUE(wearable_signed_in(kPhoneLogin));
  EXPECT_EQ(vtest::run_program(tool, {"companion", "nothing"}, hint).exit_code, 2);
}
