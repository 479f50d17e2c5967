// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the account state queries and account services through the library against the
// agent, in both transports where they have them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "account_fixture.hh"
#include "velmora_account_request_op.h"
#include "velmora_host.h"

namespace vtest {
namespace {

constexpr const char *kBob = "bob@velmora.dev";

struct SignedIn {
  int calls = 0;
  int result = 12345;
  bool signed_in = false;
  static void cb(int result, velmora_account_h account, bool signed_in, void *user_data) {
    auto *self = static_cast<SignedIn *>(user_data);
    ++self->calls;
    self->result = result;
    self->signed_in = signed_in;
    velmora_account_destroy(account);
  }
};

struct List {
  int calls = 0;
  int result = 12345;
  std::vector<std::string> ids;
  static void cb(int result, velmora_account_h account, char **list, int count, void *user_data) {
    auto *self = static_cast<List *>(user_data);
    ++self->calls;
    self->result = result;
    for (int i = 0; i < count; ++i) self->ids.push_back(list[i]);
    velmora_account_destroy(account);
  }
};

class Queries : public AccountTest {
 protected:
  std::string default_in_store() {
    char *login = nullptr;
    velmora_account_h h = nullptr;
    EXPECT_EQ(velmora_account_create(&h), 0);
    const int ret = velmora_account_get_default_account_sync(h, &login);
    velmora_account_destroy(h);
    std::string out = ret == 0 && login ? login : "<" + std::to_string(ret) + ">";
    free(login);
    return out;
  }
  // Uploads the consent bits 1, 2 and 8 of `h` with the MCC 450 and waits for the answer.
  static void update_tnc(velmora_account_h h, Completion &done) {
    ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_MCC, "450"), 0);
    for (int bit : {1, 2, 8}) ASSERT_EQ(velmora_account_set_tnc(h, bit, true), 0);
    ASSERT_EQ(velmora_account_update_tnc_info(h, Completion::cb, &done), 0);
    ASSERT_TRUE(done.wait());
  }
  std::string partner_linked() {
    auto state = vagent::AgentState::open(root_.path());
    EXPECT_TRUE(state.ok());
    vagent::NewClient partner;
    partner.client_id = "dev.partner.tv";
    EXPECT_TRUE(state.value()->clients().register_client(partner).ok());
    EXPECT_TRUE(state.value()->linking().register_partner("dev.partner.tv", "").ok());
    EXPECT_TRUE(state.value()->linking().set(kLogin, "dev.partner.tv", true).ok());
    return "dev.partner.tv";
  }
};

TEST_F(Queries, IsSignedInAndTheAccountListOverAppControl) {
  prepare();
  seed_user(kBob, true);
  velmora_account_h h = app_control_handle();
  SignedIn s;
  LogCapture log;
  ASSERT_EQ(velmora_account_is_signed_in(h, kBob, SignedIn::cb, &s), 0);
  ASSERT_TRUE(run_until([&] { return s.calls > 0; }));
  EXPECT_EQ(s.result, 0);
  EXPECT_TRUE(s.signed_in);
  EXPECT_TRUE(log.has(kVaTag, 4, "Is SignedIn requested")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "[signed_in_status_cb]"));
  SignedIn nobody;
  ASSERT_EQ(velmora_account_is_signed_in(h, "nobody@velmora.dev", SignedIn::cb, &nobody), 0);
  ASSERT_TRUE(run_until([&] { return nobody.calls > 0; }));
  EXPECT_FALSE(nobody.signed_in);

  List l;
  ASSERT_EQ(velmora_account_get_account_list(h, List::cb, &l), 0);
  ASSERT_TRUE(run_until([&] { return l.calls > 0; }));
  EXPECT_EQ(l.result, 0);
  EXPECT_EQ(l.ids, (std::vector<std::string>{kLogin, kBob}));
  EXPECT_TRUE(log.has(kVaTag, 4, "[__velmora_account_destroy_accountId] [length = 2]"));
}

TEST_F(Queries, DefaultAccountSetOverAppControlIsWhatTheStoreSays) {
  prepare();
  seed_user(kBob, true);
  EXPECT_EQ(default_in_store(), kLogin);
  velmora_account_h h = app_control_handle();
  Completion get;
  ASSERT_EQ(velmora_account_get_default_account(h, Completion::cb, &get), 0);
  ASSERT_TRUE(get.wait());
  EXPECT_EQ(get.result, 0);
  EXPECT_EQ(get.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kLogin);

  ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kBob), 0);
  Completion set;
  ASSERT_EQ(velmora_account_set_default_account(h, Completion::cb, &set), 0);
  ASSERT_TRUE(set.wait());
  EXPECT_EQ(set.result, 0);
  EXPECT_EQ(default_in_store(), kBob);
}

TEST_F(Queries, SetDefaultSyncOverThePortSurvivesTheAgentsRestart) {
  prepare();
  seed_user(kBob, true);
  velmora_account_h h = connected_handle();
  LogCapture log;
  EXPECT_EQ(velmora_account_set_default_account_sync(h, kBob), 0) << log.dump();
  EXPECT_EQ(default_in_store(), kBob);
  EXPECT_EQ(velmora_account_set_default_account_sync(h, "nobody@velmora.dev"),
            static_cast<int>(0xC1000001u));
  EXPECT_TRUE(log.has(kVaTag, 4, "Failed to rpc_port_SetDefaultAccount. err = -1056964607"))
      << log.dump();
  stop_agent();
  // A fresh instance answers from its state on disk.
  velmora_account_h again = app_control_handle();
  Completion get;
  ASSERT_EQ(velmora_account_get_default_account(again, Completion::cb, &get), 0);
  ASSERT_TRUE(get.wait());
  EXPECT_EQ(get.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kBob);
}

TEST_F(Queries, AccountFromUserIdInBothTransports) {
  prepare();
  // The handles say kLogin; the user id is Bob's, so the answer's login id comes from the agent.
  seed_user(kBob, true);
  for (bool port : {false, true}) {
    velmora_account_h h = port ? connected_handle() : app_control_handle();
    ASSERT_EQ(
        velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_USER_ID, user_id_.c_str()), 0);
    Completion done;
    LogCapture log;
    ASSERT_EQ(velmora_account_get_account_from_property(h, Completion::cb, &done), 0);
    ASSERT_TRUE(done.wait());
    EXPECT_EQ(done.result, 0) << log.dump();
    EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kBob);
    EXPECT_TRUE(log.has(kVaTag, 4,
                        port ? "Get Account from GUID to [NIDL] Mode"
                             : "Get Account from GUID to [APP_CONTROL] Mode"))
        << log.dump();
    EXPECT_TRUE(
        log.has(kVaTag, 4, port ? "[NidlAccountFromGuidCb]" : "[get_account_from_property_cb]"));
  }
}

TEST_F(Queries, MccInBothTransportsIsTheDevicesOnceItIsOnANetwork) {
  prepare();
  char *error = nullptr;
  ASSERT_EQ(velmora_host_set_mcc("262", &error), 0);
  for (bool port : {false, true}) {
    velmora_account_h h = port ? connected_handle() : app_control_handle();
    Completion done;
    LogCapture log;
    ASSERT_EQ(velmora_account_request_mcc(h, Completion::cb, &done), 0);
    ASSERT_TRUE(done.wait());
    EXPECT_EQ(done.result, 0) << log.dump();
    EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_MCC), "262");
    EXPECT_TRUE(log.has(kVaTag, 4,
                        port ? "Request MCC to [NIDL] Mode" : "Request MCC to [APP_CONTROL] Mode"));
    EXPECT_TRUE(log.has(kVaTag, 4, port ? "[NidlMccCb]" : "[mcc_cb]")) << log.dump();
  }
}

TEST_F(Queries, TncUpdateSendsTheOptionalConsentsAsTheBitsSay) {
  prepare();
  for (bool port : {false, true}) {
    velmora_account_h h = port ? connected_handle() : app_control_handle();
    Completion done;
    LogCapture log;
    update_tnc(h, done);
    EXPECT_EQ(done.result, 0) << log.dump();
    EXPECT_TRUE(log.has(kVaTag, 4, "TNC status is normal [11] ")) << log.dump();
    EXPECT_TRUE(
        log.has(kVaTag, 4,
                port ? "Update TNC info to [NIDL] Mode" : "Update TNC info to [APP_CONTROL] Mode"));
    // "customizedservice" = "N", "customizedserviceadvertisement" = "Y": the agent kept 1|2|8.
    auto state = vagent::AgentState::open(root_.path());
    ASSERT_TRUE(state.ok());
    EXPECT_EQ(state.value()->consents().get(kLogin).value(), 11);
    auto records = state.value()->consents().records(kLogin);
    ASSERT_TRUE(records.ok());
    EXPECT_FALSE((*records)[2].given);
    EXPECT_TRUE((*records)[3].given);
    ASSERT_TRUE(state.value()->consents().update({kLogin, "450", 3}).ok());  // reset for the next
  }
}

TEST_F(Queries, TncUpdateNamesTheOptionalConsentsByTheirKeys) {
  prepare_recorder();
  velmora_account_h h = app_control_handle(/*secret=*/false, /*scope=*/nullptr);
  Completion done;
  LogCapture log;
  update_tnc(h, done);
  EXPECT_EQ(done.result, 0) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, 4, "Update TNC info to [APP_CONTROL] Mode")) << log.dump();
  EXPECT_EQ(recorded(),
            std::vector<std::string>{std::string(REQUEST_OP_TNC_UPDATE) + "\tlogin_id=" + kLogin +
                                     "\tmcc=450\tvelmoraService=Y\tpersonalInfo=Y"
                                     "\tcustomizedservice=N"
                                     "\tcustomizedserviceadvertisement=Y"});
}

TEST_F(Queries, LinkingStatusInBothTransports) {
  prepare();
  const std::string partner = partner_linked();
  for (bool port : {false, true}) {
    velmora_account_h h = port ? connected_handle() : app_control_handle();
    Completion token;
    ASSERT_EQ(velmora_account_request_access_token(h, Completion::cb, &token), 0);
    ASSERT_TRUE(token.wait());
    ASSERT_EQ(token.result, 0);
    const std::string access = token.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN);
    ASSERT_EQ(
        velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, access.c_str()),
        0);
    ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID,
                                               partner.c_str()),
              0);
    ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL,
                                               "https://auth.velmora.dev"),
              0);
    Completion done;
    LogCapture log;
    ASSERT_EQ(velmora_account_request_account_linking_info(h, Completion::cb, &done), 0);
    ASSERT_TRUE(done.wait());
    // Over the port the partner id went in Password: the agent found the partner and the link.
    EXPECT_EQ(done.result, 0) << log.dump();
    bool linked = false;
    ASSERT_EQ(velmora_account_get_property_bool(
                  done.account, VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS, &linked),
              0);
    EXPECT_TRUE(linked);
    EXPECT_TRUE(log.has(kVaTag, 4, port ? "[NidlAccountLinkingCb]" : "[effortless_result_cb]"))
        << log.dump();
  }
}

TEST_F(Queries, AnAgentRefusalReachesTheCallbackWithItsCode) {
  prepare();
  velmora_account_h h = app_control_handle();
  ASSERT_EQ(
      velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "nobody@velmora.dev"),
      0);
  Completion done;
  ASSERT_EQ(velmora_account_request_mcc(h, Completion::cb, &done), 0);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(done.result, static_cast<int>(0xC1000001u));
}

}  // namespace
}  // namespace vtest
