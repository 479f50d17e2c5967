// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent's login view, played over HTTP as a browser without JavaScript would:
// an ordinary application asks to sign in (or to confirm the user), the agent hands the request to
// its UI application, a person uses the page, and the application's callback gets the outcome,
// exactly once. Also the page's protections: CSRF token, own address, body size, one-time path.
#include "signin_fixture.hh"
#include "ui/web_server.hh"

namespace vtest {
namespace {

class LoginView : public SignInTest {
 protected:
  // The demo user (not signed in); this process as an ordinary application asking to sign in.
  void ask() {
    prepare_agent();
    run_as(kOrdinaryApp);
    ASSERT_EQ(velmora_account_sign_in(handle({}), Completion::cb, &done_),
              VELMORA_ACCOUNT_ERROR_NONE);
    ASSERT_TRUE(view_.wait_for_view());
  }
  // The callback did not run (yet): the main loop turns a little first.
  bool still_waiting() {
    run_pending();
    return done_.calls == 0;
  }
  Completion done_;
  LoginViewDriver view_;
};

TEST_F(LoginView, SignInThroughThePage) {
  ask();
  const std::vector<vagent::ui::LoginViewInfo> listed = view_.views();
  ASSERT_EQ(listed.size(), 1u);
  EXPECT_EQ(listed[0].kind, "sign-in");
  EXPECT_EQ(listed[0].caller, kOrdinaryApp);
  EXPECT_EQ(view_.url().rfind("http://127.0.0.1:", 0), 0u) << view_.url();
  Page page = view_.open();
  ASSERT_EQ(page.status, 200u) << page.body;
  EXPECT_TRUE(page.has("dev.example.notes")) << page.body;
  EXPECT_TRUE(page.has("id=\"password\""));
  EXPECT_EQ(view_.csrf().size(), 32u);
  page = view_.submit({{"action", "sign_in"}, {"login_id", kLogin}, {"password", kPassword}});
  EXPECT_EQ(page.status, 200u);
  EXPECT_TRUE(page.has("You are signed in as demo@velmora.dev")) << page.body;
  ASSERT_TRUE(done_.wait());
  EXPECT_EQ(done_.calls, 1);
  EXPECT_EQ(done_.result, VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(done_.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kLogin);
  EXPECT_EQ(done_.str(VELMORA_ACCOUNT_PROPERTY_USER_ID), user_id_);
  EXPECT_TRUE(signed_in(kLogin));
  // The view is gone: its address answers nothing any more, and nothing more reaches the caller.
  EXPECT_EQ(view_.open().status, 404u);
  EXPECT_TRUE(view_.views().empty());
  EXPECT_EQ(done_.calls, 1);
  // Nothing typed reached the UI application's log.
  const std::string log = ui_log();
  EXPECT_NE(log.find("login view 1 (sign-in) ended: done"), std::string::npos) << log;
  EXPECT_EQ(log.find(kPassword), std::string::npos);
  EXPECT_EQ(log.find(view_.url().substr(view_.origin().size())), std::string::npos);
}

TEST_F(LoginView, AWrongPasswordShowsAnErrorAndTheViewStaysOpen) {
  ask();
  view_.open();
  Page page = view_.submit({{"action", "sign_in"}, {"login_id", kLogin}, {"password", "not-it"}});
  EXPECT_EQ(page.status, 200u);
  EXPECT_TRUE(page.has("id=\"message\"")) << page.body;
  EXPECT_TRUE(page.has("The login ID or the password is wrong."));
  EXPECT_TRUE(page.has("value=\"demo@velmora.dev\""));  // the login id stays filled in
  EXPECT_TRUE(still_waiting());
  page = view_.submit({{"action", "sign_in"}, {"login_id", kLogin}, {"password", kPassword}});
  EXPECT_TRUE(page.has("You are signed in")) << page.body;
  ASSERT_TRUE(done_.wait());
  EXPECT_EQ(done_.result, VELMORA_ACCOUNT_ERROR_NONE);
}

TEST_F(LoginView, CancelAnswersTheCallerOnce) {
  ask();
  view_.open();
  Page page = view_.submit({{"action", "cancel"}});
  EXPECT_TRUE(page.has("Cancelled")) << page.body;
  ASSERT_TRUE(done_.wait());
  EXPECT_EQ(done_.result, kCanceled);
  EXPECT_EQ(view_.submit({{"action", "cancel"}}).status, 404u);
  run_pending();
  EXPECT_EQ(done_.calls, 1);
  EXPECT_FALSE(signed_in(kLogin));
}

TEST_F(LoginView, NobodyInTimeIsATimeOut) {
  setenv("VELMORA_LOGIN_VIEW_TIMEOUT_MS", "1500", 1);
  ask();
  ASSERT_TRUE(done_.wait());
  EXPECT_EQ(done_.result, kLoginViewTimedOut);
  EXPECT_EQ(view_.open().status, 404u);
}

TEST_F(LoginView, APageThatWentAwayClosesTheView) {
  ask();
  ASSERT_EQ(view_.open().status, 200u);
  ASSERT_EQ(view_.alive().status, 200u);  // the presence frame, once; then the page is gone
  ASSERT_TRUE(done_.wait());
  EXPECT_EQ(done_.result, kLoginViewClosed);
}

TEST_F(LoginView, AViewNobodyOpenedIsNotClosed) {
  setenv("VELMORA_LOGIN_VIEW_TIMEOUT_MS", "8000", 1);
  ask();
  // Longer than a closed page takes to be noticed (three heartbeats and a second).
  EXPECT_FALSE(run_until([this] { return done_.calls > 0; }, 5500));
  ASSERT_TRUE(done_.wait());
  EXPECT_EQ(done_.result, kLoginViewTimedOut);
}

TEST_F(LoginView, AFormWithoutItsTokenIsRefused) {
  ask();
  view_.open();
  const std::string submit = view_.url() + "submit";
  const std::map<std::string, std::string> creds = {
      {"action", "sign_in"}, {"login_id", kLogin}, {"password", kPassword}};
  EXPECT_EQ(view_.post(submit, creds).status, 403u);
  std::map<std::string, std::string> wrong = creds;
  wrong["csrf"] = std::string(32, 'A');
  EXPECT_EQ(view_.post(submit, wrong).status, 403u);
  // The right token from another site's page.
  std::map<std::string, std::string> foreign = creds;
  foreign["csrf"] = view_.csrf();
  EXPECT_EQ(view_.post(submit, foreign, {{"Origin", "http://evil.example"}}).status, 403u);
  EXPECT_TRUE(still_waiting());
  EXPECT_FALSE(signed_in(kLogin));
}

TEST_F(LoginView, OnlyItsOwnAddressAndSmallBodiesAreServed) {
  ask();
  EXPECT_EQ(view_.get(view_.url(), {{"Host", "evil.example"}}).status, 421u);
  const std::string big(static_cast<size_t>(vagent::ui::kMaxBodyBytes) + 1, 'x');
  EXPECT_EQ(view_.post(view_.url() + "submit", {{"pad", big}}).status, 413u);
  EXPECT_EQ(view_.get(view_.origin() + "/login/not-a-view/").status, 404u);
  EXPECT_EQ(view_.get(view_.origin() + "/").status, 404u);
  EXPECT_EQ(view_.get(view_.url() + "submit").status, 405u);
  EXPECT_TRUE(still_waiting());
}

TEST_F(LoginView, PagesAreNotCachedNorFramedNorUsingScripts) {
  ask();
  Page page = view_.open();
  EXPECT_FALSE(page.has("<script")) << page.body;
  EXPECT_TRUE(page.has("method=\"post\""));
  EXPECT_TRUE(page.has("name=\"csrf\""));
  // The form's address holds no credentials; fields go in the body.
  EXPECT_TRUE(page.has("action=\"/login/"));
}

TEST_F(LoginView, ConfirmUserThroughThePage) {
  prepare_agent();
  with_state(
      [](vagent::AgentState &s) { ASSERT_TRUE(s.accounts().sign_in(kLogin, kPassword).ok()); });
  run_as(kOrdinaryApp);
  ASSERT_EQ(velmora_account_request_confirm_user(handle({}), Completion::cb, &done_),
            VELMORA_ACCOUNT_ERROR_NONE);
  ASSERT_TRUE(view_.wait_for_view());
  EXPECT_EQ(view_.views().at(0).kind, "confirm-user");
  Page page = view_.open();
  EXPECT_TRUE(page.has("Confirm it is you")) << page.body;
  page = view_.submit({{"action", "confirm"}, {"login_id", kLogin}, {"password", kPassword}});
  EXPECT_TRUE(page.has("You confirmed that you are demo@velmora.dev")) << page.body;
  ASSERT_TRUE(done_.wait());
  EXPECT_EQ(done_.result, VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(done_.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kLogin);
}

TEST_F(LoginView, TwoCallersGetTwoViews) {
  ask();
  Completion second;
  ASSERT_EQ(velmora_account_sign_in(handle({}), Completion::cb, &second),
            VELMORA_ACCOUNT_ERROR_NONE);
  ASSERT_TRUE(view_.wait_for_view(2));
  const std::vector<vagent::ui::LoginViewInfo> views = view_.views();
  ASSERT_EQ(views.size(), 2u);
  EXPECT_NE(views[0].url, views[1].url);
  view_.set_url(views[1].url);
  view_.open();
  view_.submit({{"action", "cancel"}});
  ASSERT_TRUE(second.wait());
  EXPECT_EQ(second.result, kCanceled);
  EXPECT_TRUE(still_waiting());  // the first caller's view is still open
}

}  // namespace
}  // namespace vtest
