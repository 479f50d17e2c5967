// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the fourteen AccountSvc methods, called through the library's proxy on the
// reference agent, answered from the agent's real state.
#include "agent_fixture.hh"

namespace {

using vtest::Replies;
using vtest::Reply;

class NidlMethods : public vtest::AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("alice@example.com", true, true);
    seed("bob@example.com", true, false);
    seed("carol@example.com", false, false);  // known, not signed in
    proxy_ = connect_proxy(&events_);
    ASSERT_NE(proxy_, nullptr);
  }

  // Requests an access token for `login_id` and returns the delegate's answer.
  Reply access_token(const char *login_id) {
    Replies replies;
    rpc_port_AccountS_h a =
        vtest::account_of({{rpc_port_AccountS_set_LoginId, login_id},
                           {rpc_port_AccountS_set_ClientId, kClient},
                           {rpc_port_AccountS_set_ClientSecret, secret_.c_str()}});
    auto *d = rpc_port_AccountSvc_ResponseCb_create(Replies::on_account, true, &replies);
    EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_RequestAccessToken(proxy_, a, d), 0);
    rpc_port_AccountS_destroy(a);
    EXPECT_TRUE(wait_replies(replies, 1));
    return replies.got.empty() ? Reply{} : replies.got[0];
  }

  vtest::Events events_;
  rpc_port_proxy_AccountSvc_h proxy_ = nullptr;
};

TEST_F(NidlMethods, GetDefaultAccountAnswersTheDefaultLoginId) {
  char *login = nullptr;
  set_last_result(-99);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(proxy_, &login), 0);
  EXPECT_EQ(get_last_result(), 0);
  ASSERT_NE(login, nullptr);
  EXPECT_STREQ(login, "alice@example.com");
  free(login);
}

TEST_F(NidlMethods, SetDefaultAccountChangesTheDefault) {
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_SetDefaultAccount(proxy_, "bob@example.com"), 0);
  char *login = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(proxy_, &login), 0);
  ASSERT_NE(login, nullptr);
  EXPECT_STREQ(login, "bob@example.com");
  free(login);
  // Not signed in: the agent's need-sign-in code comes back as it is.
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_SetDefaultAccount(proxy_, "carol@example.com"),
            vagent::errc::kNeedSignIn);
}

TEST_F(NidlMethods, SetDefaultAccountWithNullSendsEmptyStringAndReturnsTheAgentsResult) {
  // The agent reads "" and refuses it as an invalid parameter; a request that could not be read
  // would have closed the connection instead (-1).
  vtest::LogCapture log;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_SetDefaultAccount(proxy_, nullptr),
            vagent::errc::kInvalidParameter);
  EXPECT_EQ(get_last_result(), 0);
  EXPECT_EQ(log.count("Invalid parameter"), 0) << log.dump();
  char *login = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(proxy_, &login), 0);
  EXPECT_STREQ(login, "alice@example.com");
  free(login);
}

TEST_F(NidlMethods, IsSignedInTellsSignedInFromNot) {
  bool signed_in = false;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_IsSignedIn(proxy_, "bob@example.com", &signed_in), 0);
  EXPECT_TRUE(signed_in);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_IsSignedIn(proxy_, "carol@example.com", &signed_in),
            0);
  EXPECT_FALSE(signed_in);
  // NULL is sent as "": any account at all.
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_IsSignedIn(proxy_, nullptr, &signed_in), 0);
  EXPECT_TRUE(signed_in);
}

bool collect(const char *value, void *out) {
  static_cast<std::vector<std::string> *>(out)->push_back(value);
  return true;
}

TEST_F(NidlMethods, GetAccountListListsSignedInAccountsInOrder) {
  rpc_port_list_string_h list = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetAccountList(proxy_, &list), 0);
  ASSERT_NE(list, nullptr);
  std::vector<std::string> ids;
  rpc_port_list_string_foreach_list_strings(list, collect, &ids);
  EXPECT_EQ(ids, (std::vector<std::string>{"alice@example.com", "bob@example.com"}));
  rpc_port_list_string_destroy(list);
}

TEST_F(NidlMethods, GetLastAccessTokenAnswersTheTokenLastHandedOut) {
  rpc_port_AccountS_h ask = vtest::account_of({{rpc_port_AccountS_set_LoginId, "alice@example.com"},
                                               {rpc_port_AccountS_set_ClientId, kClient}});
  rpc_port_AccountS_h out = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetLastAccessToken(proxy_, ask, &out),
            vagent::errc::kNoToken);
  ASSERT_NE(out, nullptr);  // the output is read even with an error result: an empty record
  rpc_port_AccountS_destroy(out);
  out = nullptr;

  Reply issued = access_token("alice@example.com");
  ASSERT_EQ(issued.result, 0);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetLastAccessToken(proxy_, ask, &out), 0);
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(Replies::str(out, rpc_port_AccountS_get_AccessToken), issued.access_token);
  EXPECT_EQ(Replies::str(out, rpc_port_AccountS_get_LoginId), "alice@example.com");
  int expires_in = 0, issue_time = 0;
  rpc_port_AccountS_get_TokenExpiresIn(out, &expires_in);
  rpc_port_AccountS_get_TokenIssueTime(out, &issue_time);
  EXPECT_EQ(expires_in, 3600);
  EXPECT_GT(issue_time, 0);
  rpc_port_AccountS_destroy(out);
  rpc_port_AccountS_destroy(ask);
}

TEST_F(NidlMethods, RequestAccessTokenAnswersThroughTheDelegateAndDropsIt) {
  Replies replies;
  rpc_port_AccountS_h a = vtest::account_of({{rpc_port_AccountS_set_LoginId, "bob@example.com"},
                                             {rpc_port_AccountS_set_ClientId, kClient}});
  auto *d = rpc_port_AccountSvc_ResponseCb_create(Replies::on_account, true, &replies);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_RequestAccessToken(proxy_, a, d), 0);
  rpc_port_AccountS_destroy(a);
  EXPECT_EQ(vtest::listed(proxy_), 1u);
  ASSERT_TRUE(wait_replies(replies, 1));
  const Reply &r = replies.got[0];
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.login_id, "bob@example.com");
  EXPECT_EQ(r.access_token.size(), 43u);
  EXPECT_FALSE(r.refresh_token.empty());
  EXPECT_EQ(r.expires_in, 3600);
  EXPECT_EQ(vtest::listed(proxy_), 0u) << "a once-delegate goes after its callback";
}

TEST_F(NidlMethods, RequestAccessTokenFailuresArriveAsTheCallbacksResult) {
  Reply wrong = access_token("carol@example.com");
  EXPECT_EQ(wrong.result, vagent::errc::kNeedSignIn);
  EXPECT_TRUE(wrong.access_token.empty());

  Replies replies;
  rpc_port_AccountS_h a = vtest::account_of({{rpc_port_AccountS_set_LoginId, "bob@example.com"},
                                             {rpc_port_AccountS_set_ClientId, "no.such.client"}});
  auto *d = rpc_port_AccountSvc_ResponseCb_create(Replies::on_account, true, &replies);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_RequestAccessToken(proxy_, a, d), 0);
  rpc_port_AccountS_destroy(a);
  ASSERT_TRUE(wait_replies(replies, 1));
  EXPECT_EQ(replies.got[0].result, vagent::errc::kUnknownClient);
}

TEST_F(NidlMethods, RequestAuthcodeAndEffortlessIssueSingleUseCodes) {
  Replies replies;
  rpc_port_AccountS_h a = vtest::account_of({{rpc_port_AccountS_set_LoginId, "alice@example.com"},
                                             {rpc_port_AccountS_set_ClientId, kClient},
                                             {rpc_port_AccountS_set_DeviceUniqueCode, "dev-1"}});
  auto *d1 = rpc_port_AccountSvc_ResponseCb_create(Replies::on_account, true, &replies);
  auto *d2 = rpc_port_AccountSvc_ResponseCb_create(Replies::on_account, true, &replies);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_RequestAuthcode(proxy_, a, d1), 0);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_RequestAuthcodeEffortless(proxy_, a, d2), 0);
  rpc_port_AccountS_destroy(a);
  ASSERT_TRUE(wait_replies(replies, 2));
  for (const Reply &r : replies.got) {
    EXPECT_EQ(r.result, 0);
    EXPECT_EQ(r.auth_code.size(), 32u);
    EXPECT_EQ(r.login_id, "alice@example.com");
  }
  EXPECT_NE(replies.got[0].auth_code, replies.got[1].auth_code);
  auto s = state();
  ASSERT_NE(s, nullptr);
  auto redeemed = s->codes().redeem(vagent::CodeKind::kAuthCode, replies.got[0].auth_code, kClient,
                                    "alice@example.com");
  EXPECT_TRUE(redeemed.ok()) << redeemed.status().describe();
  EXPECT_EQ(redeemed->device_unique_code, "dev-1");
  auto effortless = s->codes().redeem(vagent::CodeKind::kEffortless, replies.got[1].auth_code,
                                      kClient, "alice@example.com");
  EXPECT_TRUE(effortless.ok()) << effortless.status().describe();
}

TEST_F(NidlMethods, CommonAccountServesMccTermsGuidAndLinking) {
  Replies replies;
  auto call = [&](rpc_port_AccountS_h a, int type) {
    auto *d = rpc_port_AccountSvc_ResponseCb_create(Replies::on_account, true, &replies);
    EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_CommonAccount(proxy_, a, type, d), 0);
    rpc_port_AccountS_destroy(a);
    size_t n = replies.got.size() + 1;
    EXPECT_TRUE(wait_replies(replies, n));
    return replies.got.back();
  };

  // 0: current MCC.
  Reply mcc = call(vtest::account_of({{rpc_port_AccountS_set_LoginId, "alice@example.com"}}), 0);
  EXPECT_EQ(mcc.result, 0);
  EXPECT_EQ(mcc.mcc, "310");
  EXPECT_EQ(mcc.country_code, "US");

  // 1: terms update with a new MCC; both mandatory consents given.
  rpc_port_AccountS_h tnc = vtest::account_of(
      {{rpc_port_AccountS_set_LoginId, "alice@example.com"}, {rpc_port_AccountS_set_Mcc, "450"}});
  rpc_port_AccountS_set_TncStatus(tnc, 1 | 2 | 8);
  Reply updated = call(tnc, 1);
  EXPECT_EQ(updated.result, 0);
  EXPECT_EQ(updated.mcc, "450");
  EXPECT_EQ(updated.tnc, 11);
  rpc_port_AccountS_h partial = vtest::account_of(
      {{rpc_port_AccountS_set_LoginId, "alice@example.com"}, {rpc_port_AccountS_set_Mcc, "450"}});
  rpc_port_AccountS_set_TncStatus(partial, 1);
  EXPECT_EQ(call(partial, 1).result, vagent::errc::kConsentRequired);

  // 4: the account of a user id (GUID).
  auto s = state();
  ASSERT_NE(s, nullptr);
  auto bob = s->users().find("bob@example.com");
  ASSERT_TRUE(bob.ok());
  Reply guid = call(vtest::account_of({{rpc_port_AccountS_set_UserId, bob->user_id.c_str()}}), 4);
  EXPECT_EQ(guid.result, 0);
  EXPECT_EQ(guid.login_id, "bob@example.com");
  EXPECT_EQ(guid.user_id, bob->user_id);

  // 6: linking status, the partner client id in and the answer out in the Password field.
  ASSERT_TRUE(s->clients().register_client({"dev.velmora.partner", "", {}, 3600}).ok());
  ASSERT_TRUE(s->linking().register_partner("dev.velmora.partner", "Partner").ok());
  Reply token = access_token("alice@example.com");
  ASSERT_EQ(token.result, 0);
  auto linking = [&] {
    return call(vtest::account_of({{rpc_port_AccountS_set_LoginId, "alice@example.com"},
                                   {rpc_port_AccountS_set_ClientId, kClient},
                                   {rpc_port_AccountS_set_Password, "dev.velmora.partner"},
                                   {rpc_port_AccountS_set_AccessToken, token.access_token.c_str()},
                                   {rpc_port_AccountS_set_AuthServerUrl, "https://auth"}}),
                6);
  };
  Reply before = linking();
  EXPECT_EQ(before.result, 0);
  EXPECT_EQ(before.password, "N");
  ASSERT_TRUE(s->linking().set("alice@example.com", "dev.velmora.partner", true).ok());
  EXPECT_EQ(linking().password, "Y");

  // Any other request type is not served.
  EXPECT_EQ(
      call(vtest::account_of({{rpc_port_AccountS_set_LoginId, "alice@example.com"}}), 99).result,
      vagent::errc::kNotSupported);
}

// Places are answered; the profile methods are, for a registered client of a signed-in account
// (tests/integration/profile): without a client id they refuse the request in their callback.
TEST_F(NidlMethods, PlacesAreAnsweredAndProfileMethodsCheckTheCaller) {
  Replies replies;
  rpc_port_AccountS_h a = vtest::account_of({{rpc_port_AccountS_set_LoginId, "alice@example.com"}});
  rpc_port_ProfileS_h profile = nullptr;
  rpc_port_ProfileS_create(&profile);
  rpc_port_PrivacyS_h privacy = nullptr;
  rpc_port_PrivacyS_create(&privacy);

  EXPECT_EQ(
      rpc_port_proxy_AccountSvc_invoke_RequestPlaceInfo(
          proxy_, a, rpc_port_AccountSvc_ResponsePlaceCb_create(Replies::on_place, true, &replies)),
      0);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_RequestProfileInfo(
                proxy_, a, "all",
                rpc_port_AccountSvc_ResponseProfileCb_create(Replies::on_profile, true, &replies)),
            0);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_UpdateProfileInfo(
                proxy_, a, 1, profile,
                rpc_port_AccountSvc_ResponseErrorCb_create(Replies::on_error, true, &replies)),
            0);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_UpdatePrivacyInfo(
                proxy_, a, privacy,
                rpc_port_AccountSvc_ResponseErrorCb_create(Replies::on_error, true, &replies)),
            0);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_CommonProfile(
                proxy_, a, 2, "name",
                rpc_port_AccountSvc_ResponseProfileCb_create(Replies::on_profile, true, &replies)),
            0);
  ASSERT_TRUE(wait_replies(replies, 5));
  // The places of a signed-in account (none saved): an empty PlaceInfoS.
  EXPECT_EQ(replies.got[0].result, 0);
  EXPECT_TRUE(replies.got[0].has_record);
  for (size_t i = 1; i < replies.got.size(); ++i)
    EXPECT_EQ(replies.got[i].result, vagent::errc::kInvalidParameter) << i;
  EXPECT_TRUE(replies.got[1].has_record);  // an (empty) ProfileS
  EXPECT_EQ(vtest::listed(proxy_), 0u);
  rpc_port_AccountS_destroy(a);
  rpc_port_ProfileS_destroy(profile);
  rpc_port_PrivacyS_destroy(privacy);
}

TEST_F(NidlMethods, ErrorCodeFaultReplacesTheWork) {
  fault("GetDefaultAccount", "error_code", "0xC1000001");
  fault("RequestAccessToken", "error_code", "-1073741830");
  char *login = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(proxy_, &login),
            vagent::errc::kUnknownUser);
  EXPECT_STREQ(login, "");
  free(login);
  Reply r = access_token("alice@example.com");
  EXPECT_EQ(r.result, vagent::errc::kNeedSignIn);
}

TEST_F(NidlMethods, DelayedAnswersStillArriveInFull) {
  fault("*", "delay_ms", "200");
  char *login = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(proxy_, &login), 0);
  EXPECT_STREQ(login, "alice@example.com");
  free(login);
  Reply r = access_token("bob@example.com");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.login_id, "bob@example.com");
}

}  // namespace
