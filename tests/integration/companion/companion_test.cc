// Velmora tests: a wearable asks its paired phone for the account and signs in through it, end to
// end: library, wearable agent and UI application, the platform's companion link, phone agent.
#include <gtest/gtest.h>

#include "companion_fixture.hh"
#include "dlog.h"

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
    CompanionReply r;
    velmora_account_h h = handle();
    ASSERT_EQ(sign_in ? velmora_account_companion_sign_in(h, CompanionReply::cb, &r)
                      : velmora_account_companion_get_account(h, CompanionReply::cb, &r),
              0);
    ASSERT_TRUE(r.wait());
    EXPECT_EQ(r.result, kNotPaired) << (sign_in ? "sign-in" : "account");
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
