// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent's app-control operations of the account state queries and account
// services, talked to directly with launch requests (no library in between): the keys of their
// replies and their refusals, each with "error_code" and a message.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "account_fixture.hh"
#include "app_control.h"
#include "app_control_reply.hh"
#include "velmora_account_request_op.h"
#include "velmora_host.h"

namespace vtest {
namespace {

using AgentQueries = AccountTest;

using Reply = AppControlReply;

// A refusal: FAILED, the code, and a message that says more than the code's name.
void expect_refused(const Reply &r, int code) {
  EXPECT_EQ(r.result, APP_CONTROL_RESULT_FAILED);
  auto it = r.extras.find("error_code");
  ASSERT_NE(it, r.extras.end());
  EXPECT_EQ(it->second, std::to_string(code));
  auto msg = r.extras.find("error_msg");
  ASSERT_NE(msg, r.extras.end());
  EXPECT_NE(msg->second.find(": "), std::string::npos) << msg->second;
}

TEST_F(AgentQueries, IsSignedInWithAndWithoutALoginId) {
  prepare();
  seed_user("bob@velmora.dev", false);
  Reply any = send_to_agent(REQUEST_OP_IS_SIGNEDIN, {});
  ASSERT_EQ(any.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(any.extras["is_signin"], "true");
  EXPECT_EQ(send_to_agent(REQUEST_OP_IS_SIGNEDIN, {{"login_id", kLogin}}).extras["is_signin"],
            "true");
  EXPECT_EQ(
      send_to_agent(REQUEST_OP_IS_SIGNEDIN, {{"login_id", "bob@velmora.dev"}}).extras["is_signin"],
      "false");
}

TEST_F(AgentQueries, AccountListIsOneLoginIdKeyPerAccountInSignInOrder) {
  prepare();
  seed_user("bob@velmora.dev", true);
  Reply r = send_to_agent(REQUEST_OP_IS_SIGNEDINLIST, {});
  ASSERT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(r.extras.size(), 2u);
  EXPECT_EQ(r.extras["login_id_0"], kLogin);
  EXPECT_EQ(r.extras["login_id_1"], "bob@velmora.dev");
}

TEST_F(AgentQueries, DefaultAccountGetAndSet) {
  prepare();
  const std::string first_user_id = user_id_;
  seed_user("bob@velmora.dev", true);
  Reply d = send_to_agent(REQUEST_OP_GETDEFAULTACCOUNT, {});
  ASSERT_EQ(d.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(d.extras["login_id"], kLogin);
  EXPECT_EQ(d.extras["user_id"], first_user_id);
  Reply s = send_to_agent(REQUEST_OP_SETDEFAULTACCOUNT, {{"login_id", "bob@velmora.dev"}});
  ASSERT_EQ(s.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(s.extras["login_id"], "bob@velmora.dev");
  EXPECT_EQ(s.extras["user_id"], user_id_);
  EXPECT_EQ(send_to_agent(REQUEST_OP_GETDEFAULTACCOUNT, {}).extras["login_id"], "bob@velmora.dev");
  expect_refused(send_to_agent(REQUEST_OP_SETDEFAULTACCOUNT, {}),
                 VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  expect_refused(send_to_agent(REQUEST_OP_SETDEFAULTACCOUNT, {{"login_id", "nobody"}}),
                 static_cast<int>(0xC1000001u));
}

TEST_F(AgentQueries, NoDefaultWithoutAnySignedInAccount) {
  prepare("mobile", 5, false);
  expect_refused(send_to_agent(REQUEST_OP_GETDEFAULTACCOUNT, {}),
                 VELMORA_ACCOUNT_ERROR_NEED_SIGNIN);
  EXPECT_EQ(send_to_agent(REQUEST_OP_IS_SIGNEDIN, {}).extras["is_signin"], "false");
  Reply list = send_to_agent(REQUEST_OP_IS_SIGNEDINLIST, {});
  EXPECT_EQ(list.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_TRUE(list.extras.empty());
}

TEST_F(AgentQueries, AccountFromUserId) {
  prepare();
  Reply r = send_to_agent(REQUEST_OP_GETACCOUNT_FROM_GUID, {{"user_id", user_id_}});
  ASSERT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(r.extras["login_id"], kLogin);
  EXPECT_EQ(r.extras["user_id"], user_id_);
  expect_refused(send_to_agent(REQUEST_OP_GETACCOUNT_FROM_GUID, {{"user_id", "no-such-guid"}}),
                 static_cast<int>(0xC1000001u));
  expect_refused(send_to_agent(REQUEST_OP_GETACCOUNT_FROM_GUID, {}),
                 VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
}

TEST_F(AgentQueries, CurrentMccIsTheDevicesOnceSet) {
  prepare();
  Reply before = send_to_agent(REQUEST_OP_CURRENT_MCC, {{"login_id", kLogin}});
  ASSERT_EQ(before.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(before.extras["login_id"], kLogin);
  EXPECT_EQ(before.extras["mcc"].size(), 3u);
  EXPECT_FALSE(before.extras["cc"].empty());
  char *error = nullptr;
  ASSERT_EQ(velmora_host_set_mcc("262", &error), 0);
  EXPECT_EQ(send_to_agent(REQUEST_OP_CURRENT_MCC, {{"login_id", kLogin}}).extras["mcc"], "262");
  expect_refused(send_to_agent(REQUEST_OP_CURRENT_MCC, {{"login_id", "nobody"}}),
                 static_cast<int>(0xC1000001u));
}

TEST_F(AgentQueries, TncUpdateNeedsTheMandatoryConsents) {
  prepare();
  const std::map<std::string, std::string> only_service = {
      {"login_id", kLogin}, {"mcc", "450"}, {"velmoraService", "Y"}, {"personalInfo", "N"}};
  expect_refused(send_to_agent(REQUEST_OP_TNC_UPDATE, only_service), static_cast<int>(0xC100000Fu));
  Reply ok = send_to_agent(REQUEST_OP_TNC_UPDATE, {{"login_id", kLogin},
                                                   {"mcc", "450"},
                                                   {"velmoraService", "Y"},
                                                   {"personalInfo", "Y"},
                                                   {"customizedservice", "N"},
                                                   {"customizedserviceadvertisement", "Y"}});
  ASSERT_EQ(ok.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(ok.extras["mcc"], "450");
  auto state = vagent::AgentState::open(root_.path());
  ASSERT_TRUE(state.ok());
  EXPECT_EQ(state.value()->consents().get(kLogin).value(), 1 | 2 | 8);
  auto records = state.value()->consents().records(kLogin);
  ASSERT_TRUE(records.ok());
  EXPECT_GT((*records)[0].at, 0);
  EXPECT_EQ((*records)[2].at, 0);  // never given
}

TEST_F(AgentQueries, LinkingStatusOfARegisteredPartner) {
  prepare();
  {
    auto state = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(state.ok());
    vagent::NewClient partner;
    partner.client_id = "dev.partner.tv";
    ASSERT_TRUE(state.value()->clients().register_client(partner).ok());
    ASSERT_TRUE(state.value()->linking().register_partner("dev.partner.tv", "Partner").ok());
    ASSERT_TRUE(state.value()->linking().set(kLogin, "dev.partner.tv", true).ok());
  }
  Reply token =
      send_to_agent(REQUEST_OP_GETACCESSTOKEN,
                    {{"login_id", kLogin}, {"client_id", kClient}, {"client_secret", secret_}});
  ASSERT_EQ(token.result, APP_CONTROL_RESULT_SUCCEEDED);
  std::map<std::string, std::string> q = {{"login_id", kLogin},
                                          {"client_id", kClient},
                                          {"partner_client_id", "dev.partner.tv"},
                                          {"access_token", token.extras["access_token"]},
                                          {"auth_server_url", "https://auth.velmora.dev"}};
  Reply r = send_to_agent(REQUEST_OP_ACCOUNT_LINKING, q);
  ASSERT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
  EXPECT_EQ(r.extras["account_linking_status"], "Y");
  q["partner_client_id"] = kClient;  // a client, but not a partner
  expect_refused(send_to_agent(REQUEST_OP_ACCOUNT_LINKING, q), static_cast<int>(0xC1000004u));
}

}  // namespace
}  // namespace vtest
