// SPDX-License-Identifier: Apache-2.0
// Velmora tests: replies over the AccountSvc port: the AccountS record written into the clone, and
// the reply delegates.
#include <gtest/gtest.h>

#include "account_svc_proxy.h"
#include "reply_fixture.hh"

namespace vtest {
namespace {

using NidlResult = ReplyTest;
using NidlReply = ReplyTest;

struct AccountS {
  rpc_port_AccountS_h h = nullptr;
  AccountS() { EXPECT_EQ(rpc_port_AccountS_create(&h), 0); }
  ~AccountS() { rpc_port_AccountS_destroy(h); }
};

TEST_F(NidlResult, CopiesTheFieldsIntoTheirProperties) {
  AccountS s;
  rpc_port_AccountS_set_AccessToken(s.h, "AT");
  rpc_port_AccountS_set_ApiServerUrl(s.h, "api");
  rpc_port_AccountS_set_AuthCode(s.h, "code");
  rpc_port_AccountS_set_AuthServerUrl(s.h, "auth");
  rpc_port_AccountS_set_ClientId(s.h, "client");
  rpc_port_AccountS_set_ClientSecret(s.h, "secret");
  rpc_port_AccountS_set_CountryCode(s.h, "KR");
  rpc_port_AccountS_set_DeviceUniqueCode(s.h, "dev");
  rpc_port_AccountS_set_LastAccessToken(s.h, "last");
  rpc_port_AccountS_set_LoginId(s.h, "login");
  rpc_port_AccountS_set_Mcc(s.h, "450");
  rpc_port_AccountS_set_Password(s.h, "pw");
  rpc_port_AccountS_set_RefreshToken(s.h, "RT");
  rpc_port_AccountS_set_Scope(s.h, "scope");
  rpc_port_AccountS_set_UserId(s.h, "guid");
  rpc_port_AccountS_set_SigninAppMessage(s.h, "msg");
  rpc_port_AccountS_set_Aaa(s.h, "aaa");
  rpc_port_AccountS_set_Bbb(s.h, "cs");
  rpc_port_AccountS_set_Ccc(s.h, "idt");
  rpc_port_AccountS_set_TokenExpiresIn(s.h, 3600);
  rpc_port_AccountS_set_TokenIssueTime(s.h, 1700000000);

  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  ASSERT_EQ(va_fill_from_account_s(account, s.h), 0);
  const std::pair<int, const char *> expected[] = {
      {VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, "AT"},
      {VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL, "api"},
      {VELMORA_ACCOUNT_PROPERTY_AUTHCODE, "code"},
      {VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL, "auth"},
      {VELMORA_ACCOUNT_PROPERTY_CLIENT_ID, "client"},
      {VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET, "secret"},
      {VELMORA_ACCOUNT_PROPERTY_CC, "KR"},
      {VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE, "dev"},
      {VELMORA_ACCOUNT_PROPERTY_LAST_ACCESS_TOKEN, "last"},
      {VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "login"},
      {VELMORA_ACCOUNT_PROPERTY_MCC, "450"},
      {VELMORA_ACCOUNT_PROPERTY_PASSWORD, "pw"},
      {VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN, "RT"},
      {VELMORA_ACCOUNT_PROPERTY_SCOPE, "scope"},
      {VELMORA_ACCOUNT_PROPERTY_USER_ID, "guid"},
      {VELMORA_ACCOUNT_PROPERTY_SIGNIN_APP_MESSAGE, "msg"},
      {VELMORA_ACCOUNT_PROPERTY_CUSTOMIZEDSERVICE, "cs"},
      {VELMORA_ACCOUNT_PROPERTY_ID_TOKEN, "idt"},
  };
  for (const auto &e : expected) EXPECT_EQ(str_of(account, e.first), e.second) << e.first;
  int n = 0;
  EXPECT_EQ(va_account_get_int(account, 0, &n), 0);
  EXPECT_EQ(n, 3600);
  EXPECT_EQ(va_account_get_int(account, 1, &n), 0);
  EXPECT_EQ(n, 1700000000);
  velmora_account_destroy(account);
}

TEST_F(NidlResult, EmptyAndMissingFieldsKeepTheClonesValues) {
  set(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, "mine");
  set(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me");
  set(VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN, "my-refresh");
  ASSERT_EQ(velmora_account_set_property_int(handle_, 0, 77), 0);
  AccountS s;
  rpc_port_AccountS_set_AccessToken(s.h, "");
  rpc_port_AccountS_set_RefreshToken(s.h, "-1");
  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  LogCapture log;
  ASSERT_EQ(va_fill_from_account_s(account, s.h), 0);
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "mine");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), "me");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN), "my-refresh");
  int n = 0;
  EXPECT_EQ(va_account_get_int(account, 0, &n), 0);
  EXPECT_EQ(n, 77);  // a zero expiry leaves it
  // Unset fields are probed through the record's getters, which report them.
  EXPECT_TRUE(log.has(kRpcTag, 6, "Invalid parameter: h->LoginId is NULL")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[set_response_handle_from_nild_result] <<<< ended"))
      << log.dump();
  velmora_account_destroy(account);
}

TEST_F(NidlResult, NullArgumentsAreInvalid) {
  AccountS s;
  LogCapture log;
  EXPECT_EQ(va_fill_from_account_s(nullptr, s.h), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(va_fill_from_account_s(handle_, nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 6, "(account == NULL)")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 6, "(s == NULL)")) << log.dump();
  EXPECT_EQ(va_fill_linking_from_account_s(nullptr, s.h), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(va_fill_linking_from_account_s(handle_, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, 6, "(info == NULL)")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 6, "(h == NULL)")) << log.dump();
}

TEST_F(NidlResult, LinkingStatusComesFromThePasswordField) {
  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  bool flag = false;
  const std::pair<const char *, bool> cases[] = {
      {"Y", true}, {"x", true}, {"N", false}, {"y", false}};
  for (const auto &c : cases) {
    AccountS s;
    rpc_port_AccountS_set_Password(s.h, c.first);
    rpc_port_AccountS_set_AccessToken(s.h, "not copied");
    ASSERT_EQ(va_fill_linking_from_account_s(account, s.h), 0);
    EXPECT_EQ(
        va_account_get_flag(account, VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS, &flag),
        0);
    EXPECT_EQ(flag, c.second) << c.first;
  }
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "<unset>");
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_PASSWORD), "<unset>");
  velmora_account_destroy(account);
}

TEST_F(NidlReply, CreateNidlRequestFillsAccountCallbackAndUserData) {
  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  Received rx;
  velmora_account_request_h request =
      va_request_create_port(account, as_request_cb(Received::response), &rx);
  ASSERT_NE(request, nullptr);
  EXPECT_EQ(request->account, account);
  EXPECT_EQ(request->nidl_cb, as_request_cb(Received::response));
  EXPECT_EQ(request->user_data, &rx);
  EXPECT_EQ(request->data, nullptr);
  EXPECT_EQ(request->app_control_cb, nullptr);
  free(request);
  velmora_account_destroy(account);
}

TEST_F(NidlReply, DelegateCallbacksFillTheCloneAndPassTheResultUnchanged) {
  // The reply names the rows of the ResponseCb family give; one generic callback serves them all.
  const std::pair<int, const char *> family[] = {
      {0, "NidlEffortlessCb"}, {0, "NidlAccessTokenCb"},     {0, "NidlAuthCodeCb"},
      {0, "NidlMccCb"},        {0, "NidlAccountFromGuidCb"},
  };
  for (const auto &member : family) {
    velmora_account_h account = nullptr;
    ASSERT_EQ(va_account_clone(handle_, &account), 0);
    Received rx;
    velmora_account_request_h request =
        va_request_create_port(account, as_request_cb(Received::response), &rx);
    AccountS s;
    rpc_port_AccountS_set_AccessToken(s.h, "AT");
    LogCapture log;
    port_reply_as(member.second, request, -1056964607, s.h);
    EXPECT_EQ(rx.calls, 1);
    EXPECT_EQ(rx.result, -1056964607);
    EXPECT_EQ(rx.account, account);
    EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "AT");
    const std::string name = member.second;
    EXPECT_TRUE(log.has(kVaTag, 4, "[" + name + "]")) << log.dump();
    EXPECT_TRUE(log.has(kVaTag, 4, "[" + name + "] <<<< ended")) << log.dump();
  }
}

TEST_F(NidlReply, LinkingDelegateReadsOnlyTheStatus) {
  velmora_account_h account = nullptr;
  ASSERT_EQ(va_account_clone(handle_, &account), 0);
  Received rx;
  velmora_account_request_h request =
      va_request_create_port(account, as_request_cb(Received::response), &rx);
  AccountS s;
  rpc_port_AccountS_set_Password(s.h, "Y");
  rpc_port_AccountS_set_AccessToken(s.h, "AT");
  port_reply_as("NidlAccountLinkingCb", request, 0, s.h);
  EXPECT_EQ(rx.calls, 1);
  bool linked = false;
  EXPECT_EQ(
      va_account_get_flag(account, VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS, &linked),
      0);
  EXPECT_TRUE(linked);
  EXPECT_EQ(str_of(account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), "<unset>");
}

TEST_F(NidlReply, MissingRequestIsLoggedAsAnError) {
  AccountS s;
  LogCapture log;
  port_reply_as("NidlAccessTokenCb", nullptr, 0, s.h);
  EXPECT_TRUE(log.has(kVaTag, 6, "request is NULL")) << log.dump();
}

}  // namespace
}  // namespace vtest
