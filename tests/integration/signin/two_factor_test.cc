// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a user with a second factor signs in through the login view: the password step,
// the number sent by SMS to the host's outbox, wrong numbers, a new number, trusting the device.
// Also the lock-out after wrong passwords, as the person at the page sees it.
#include "signin_fixture.hh"

namespace vtest {
namespace {

class TwoFactorView : public SignInTest {
 protected:
  void SetUp() override {
    SignInTest::SetUp();
    prepare_agent();
    enrol(kLogin);
    run_as(kOrdinaryApp);
  }
  // An ordinary application asks to sign in; the person opens the view and enters the password.
  Page password_step(Completion *done) {
    EXPECT_EQ(velmora_account_sign_in(handle({}), Completion::cb, done),
              VELMORA_ACCOUNT_ERROR_NONE);
    EXPECT_TRUE(view_.wait_for_view());
    view_.open();
    return view_.submit({{"action", "sign_in"}, {"login_id", kLogin}, {"password", kPassword}});
  }
  std::string other_than(const std::string &number) {
    std::string n = number;
    n[0] = n[0] == '9' ? '0' : static_cast<char>(n[0] + 1);
    return n;
  }
  LoginViewDriver view_;
};

TEST_F(TwoFactorView, TheNumberFromTheSmsSignsIn) {
  Completion done;
  Page page = password_step(&done);
  EXPECT_TRUE(page.has("Enter your sign-in number")) << page.body;
  EXPECT_TRUE(page.has("id=\"number\""));
  EXPECT_FALSE(page.has(kPassword));  // the password is not sent back to the page
  const std::vector<std::string> sms = outbox();
  ASSERT_EQ(sms.size(), 1u);
  EXPECT_NE(sms[0].find(std::string("\t") + kPhone + "\tYour Velmora sign-in number is "),
            std::string::npos)
      << sms[0];
  const std::string number = last_number();
  ASSERT_EQ(number.size(), 6u);
  EXPECT_FALSE(signed_in(kLogin));

  page = view_.submit({{"action", "verify"}, {"number", other_than(number)}});
  EXPECT_TRUE(page.has("The number is wrong.")) << page.body;
  run_pending();
  EXPECT_EQ(done.calls, 0);
  page = view_.submit({{"action", "verify"}, {"number", number}});
  EXPECT_TRUE(page.has("You are signed in as demo@velmora.dev")) << page.body;
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kLogin);
  EXPECT_TRUE(signed_in(kLogin));
  // Neither the password nor the number reached the logs of the applications.
  EXPECT_EQ(ui_log().find(number), std::string::npos);
  std::ifstream agent_log(root_.path_of("log/dev.velmora.account.log"));
  const std::string text((std::istreambuf_iterator<char>(agent_log)),
                         std::istreambuf_iterator<char>());
  EXPECT_EQ(text.find(number), std::string::npos);
  EXPECT_EQ(text.find(kPassword), std::string::npos);
}

TEST_F(TwoFactorView, ATrustedDeviceSkipsTheNumberNextTime) {
  Completion first;
  password_step(&first);
  Page page = view_.submit({{"action", "verify"}, {"number", last_number()}, {"trust", "Y"}});
  ASSERT_TRUE(page.has("You are signed in")) << page.body;
  ASSERT_TRUE(first.wait());
  Completion out;
  ASSERT_TRUE(out.run(velmora_account_sign_out, credentials()));
  ASSERT_EQ(out.result, 0);

  Completion second;
  page = password_step(&second);
  EXPECT_TRUE(page.has("You are signed in as demo@velmora.dev")) << page.body;
  ASSERT_TRUE(second.wait());
  EXPECT_EQ(second.result, VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(outbox().size(), 1u);  // no second SMS
}

TEST_F(TwoFactorView, WithoutTrustTheNextSignInAsksAgain) {
  Completion first;
  password_step(&first);
  ASSERT_TRUE(view_.submit({{"action", "verify"}, {"number", last_number()}}).has("signed in"));
  ASSERT_TRUE(first.wait());
  Completion out;
  ASSERT_TRUE(out.run(velmora_account_sign_out, credentials()));
  Completion second;
  EXPECT_TRUE(password_step(&second).has("Enter your sign-in number"));
  EXPECT_EQ(outbox().size(), 2u);
  // The request must be answered before `second` goes.
  view_.submit({{"action", "cancel"}});
  ASSERT_TRUE(second.wait());
  EXPECT_EQ(second.result, kCanceled);
}

TEST_F(TwoFactorView, AttemptsAreLimitedAndANewNumberStartsAgain) {
  Completion done;
  password_step(&done);
  const std::string number = last_number();
  for (int i = 0; i < 3; ++i)
    EXPECT_TRUE(view_.submit({{"action", "verify"}, {"number", other_than(number)}})
                    .has("The number is wrong."))
        << i;
  Page page = view_.submit({{"action", "verify"}, {"number", number}});
  EXPECT_TRUE(page.has("The number has expired or was tried too often.")) << page.body;
  page = view_.submit({{"action", "resend"}});
  EXPECT_TRUE(page.has("Enter your sign-in number")) << page.body;
  ASSERT_EQ(outbox().size(), 2u);
  EXPECT_NE(last_number(), "");
  page = view_.submit({{"action", "verify"}, {"number", last_number()}});
  EXPECT_TRUE(page.has("You are signed in")) << page.body;
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, VELMORA_ACCOUNT_ERROR_NONE);
}

TEST_F(TwoFactorView, CancelAtTheNumberStep) {
  Completion done;
  password_step(&done);
  EXPECT_TRUE(view_.submit({{"action", "cancel"}}).has("Cancelled"));
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, kCanceled);
  EXPECT_FALSE(signed_in(kLogin));
}

// The password step alone answers with the second factor's error and the token; without the
// number, nobody is signed in.
TEST_F(TwoFactorView, WrongPasswordsLockTheLoginId) {
  Completion done;
  EXPECT_EQ(velmora_account_sign_in(handle({}), Completion::cb, &done), 0);
  ASSERT_TRUE(view_.wait_for_view());
  view_.open();
  for (int i = 0; i < 4; ++i)
    EXPECT_TRUE(view_.submit({{"action", "sign_in"}, {"login_id", kLogin}, {"password", "no"}})
                    .has("The login ID or the password is wrong."))
        << i;
  Page page = view_.submit({{"action", "sign_in"}, {"login_id", kLogin}, {"password", "no"}});
  EXPECT_TRUE(page.has("this login ID is locked for a while")) << page.body;
  // Now even the right password is refused, and no SMS goes out.
  page = view_.submit({{"action", "sign_in"}, {"login_id", kLogin}, {"password", kPassword}});
  EXPECT_TRUE(page.has("this login ID is locked for a while")) << page.body;
  EXPECT_TRUE(outbox().empty());
  EXPECT_FALSE(signed_in(kLogin));
  run_pending();
  EXPECT_EQ(done.calls, 0);
  view_.submit({{"action", "cancel"}});
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, kCanceled);
}

}  // namespace
}  // namespace vtest
