// SPDX-License-Identifier: Apache-2.0
// Velmora tests: creating, cloning and destroying the account handle.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "account_record.h"
#include "dlog.h"
#include "log_capture.hh"
#include "platform_root.hh"
#include "profile_record.h"
#include "velmora_account.h"

using vtest::kVaTag;

namespace {

class AccountHandle : public ::testing::Test {
 protected:
  void SetUp() override { root_.install_agent(5); }
  vtest::PlatformRoot root_;
};

// A handle made by create, destroyed by the test's end.
struct Handle {
  Handle() { EXPECT_EQ(velmora_account_create(&h), 0); }
  ~Handle() {
    if (h) velmora_account_destroy(h);
  }
  velmora_account_h h = nullptr;
};

std::string str(velmora_account_h h, int property) {
  char *value = nullptr;
  if (velmora_account_get_property_str(h, property, &value) != 0) return "<no data>";
  std::string s = value;
  free(value);
  return s;
}

}  // namespace

// ---- create ----

TEST(AccountCreate, WithoutAgentIsNotSupported) {
  vtest::PlatformRoot root;
  vtest::LogCapture log;
  velmora_account_h h = nullptr;
  EXPECT_EQ(velmora_account_create(&h), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(h, nullptr);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_create] 1.4.9")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(is_agent_installed() == false)")) << log.dump();
}

TEST(AccountCreate, AgentCheckComesBeforeTheArgumentCheck) {
  vtest::PlatformRoot root;
  EXPECT_EQ(velmora_account_create(nullptr), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
}

TEST_F(AccountHandle, CreateLogsTheLibraryVersion) {
  vtest::LogCapture log;
  Handle a;
  ASSERT_NE(a.h, nullptr);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_create] 1.4.9")) << log.dump();
}

TEST_F(AccountHandle, CreateRefusesNullHandle) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_create(nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(!handle)")) << log.dump();
}

TEST_F(AccountHandle, NewHandleHasNoFlagsSetAndIsNotConnected) {
  Handle a;
  EXPECT_EQ(a.h->request_to_server, 2);
  EXPECT_EQ(a.h->mobile_account_exist, 2);
  EXPECT_EQ(a.h->register_trusted_device, 2);
  EXPECT_EQ(a.h->check_2factor_authentication, 2);
  EXPECT_EQ(a.h->account_linking_status, 2);
  EXPECT_FALSE(a.h->connected);
  EXPECT_EQ(a.h->proxy, nullptr);
  EXPECT_EQ(a.h->link, nullptr);
  EXPECT_EQ(a.h->tnc_status, 0);
}

TEST_F(AccountHandle, CreateDoesNotContactTheAgent) {
  // The agent's executable does not exist in this root: create works anyway.
  vtest::PlatformRoot root;
  root.install_agent(5, "/nonexistent/velmora-agent");
  Handle a;
  EXPECT_NE(a.h, nullptr);
}

// ---- destroy ----

TEST(AccountDestroy, WithoutAgentIsNotSupported) {
  vtest::PlatformRoot root;
  EXPECT_EQ(velmora_account_destroy(nullptr), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
}

TEST_F(AccountHandle, DestroyRefusesNull) {
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_destroy(nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_destroy]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(data == NULL)")) << log.dump();
}

TEST_F(AccountHandle, DestroyReleasesEveryOtherStringProperty) {
  velmora_account_h h = nullptr;
  ASSERT_EQ(velmora_account_create(&h), 0);
  for (int p = 0; p <= 17; ++p)
    ASSERT_EQ(velmora_account_set_property_str(h, p, ("value " + std::to_string(p)).c_str()), 0);
  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_destroy(h), 0);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_destroy] <<<< ended")) << log.dump();
  EXPECT_EQ(log.count("data->link(Profile) exist."), 0);
  // Under the leak checker this test fails if any of the 18 strings was kept.
}

TEST_F(AccountHandle, DestroyReleasesTheProfileLink) {
  velmora_account_h h = nullptr;
  ASSERT_EQ(velmora_account_create(&h), 0);
  velmora_account_profile_list_s *list = va_profile_list_new();
  ASSERT_NE(list, nullptr);
  // A populated link: two names, a nickname, a phone and a walk view.
  for (int i = 0; i < 2; ++i) {
    auto *name = static_cast<va_profile_name_s *>(
        va_profile_item_new(VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME));
    name->given_name = strdup("Ada");
    name->verified = strdup("Y");
    ASSERT_TRUE(va_profile_list_set_item(list, VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME, i, name));
  }
  list->count[VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME] = 2;
  list->l_nickname->value = strdup("ada");
  auto *phone = static_cast<va_profile_phone_s *>(
      va_profile_item_new(VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE));
  phone->value = strdup("+1 555");
  list->l_phone[7] = phone;
  list->cb = static_cast<velmora_account_profile_s *>(calloc(1, sizeof(velmora_account_profile_s)));
  list->cb->phone = phone;  // the view points into the list; only the view itself is freed with it
  h->link = list;

  vtest::LogCapture log;
  EXPECT_EQ(velmora_account_destroy(h), 0);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "data->link(Profile) exist.")) << log.dump();
}

TEST_F(AccountHandle, DestroyDoesNotTouchTheProxy) {
  velmora_account_h h = nullptr;
  ASSERT_EQ(velmora_account_create(&h), 0);
  // A pointer that must never be dereferenced or freed by destroy.
  h->proxy = reinterpret_cast<rpc_port_proxy_AccountSvc_s *>(0x1);
  EXPECT_EQ(velmora_account_destroy(h), 0);
}

// ---- clone ----

TEST_F(AccountHandle, CloneRefusesNullArguments) {
  Handle a;
  velmora_account_h c = nullptr;
  vtest::LogCapture log;
  EXPECT_EQ(va_account_clone(nullptr, &c), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(!handle)")) << log.dump();
  EXPECT_EQ(va_account_clone(a.h, nullptr), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(log.has(kVaTag, DLOG_ERROR, "(!clone)")) << log.dump();
  EXPECT_EQ(c, nullptr);
}

TEST_F(AccountHandle, CloneCopiesTheFirstSixteenStringsAndTheTokenTimes) {
  Handle a;
  for (int p = 0; p <= 17; ++p)
    ASSERT_EQ(velmora_account_set_property_str(a.h, p, ("v" + std::to_string(p)).c_str()), 0);
  ASSERT_EQ(velmora_account_set_property_int(
                a.h, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN, 3600),
            0);
  ASSERT_EQ(velmora_account_set_property_int(
                a.h, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_ISSUE_TIME, 77),
            0);
  ASSERT_EQ(velmora_account_set_property_int(a.h, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, 30), 0);
  a.h->tnc_status = 3;

  vtest::LogCapture log;
  Handle c;
  ASSERT_EQ(velmora_account_destroy(c.h), 0);  // reuse the holder for the clone
  c.h = nullptr;
  ASSERT_EQ(va_account_clone(a.h, &c.h), 0);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_clone]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_clone] <<<< ended")) << log.dump();

  for (int p = 0; p <= 15; ++p) EXPECT_EQ(str(c.h, p), "v" + std::to_string(p)) << p;
  for (int p = 16; p <= 17; ++p) EXPECT_EQ(str(c.h, p), "<no data>") << p;
  EXPECT_NE(c.h->access_token, a.h->access_token);  // fresh copies, not shared
  int v = 0;
  EXPECT_EQ(velmora_account_get_property_int(
                c.h, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN, &v),
            0);
  EXPECT_EQ(v, 3600);
  EXPECT_EQ(velmora_account_get_property_int(
                c.h, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_ISSUE_TIME, &v),
            0);
  EXPECT_EQ(v, 77);
  EXPECT_EQ(velmora_account_get_property_int(c.h, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, &v),
            VELMORA_ACCOUNT_ERROR_NO_DATA);
  EXPECT_EQ(c.h->tnc_status, 3);
}

TEST_F(AccountHandle, CloneOfAHandleWithIdTokenHasNoIdToken) {
  Handle a;
  ASSERT_EQ(velmora_account_set_property_str(a.h, VELMORA_ACCOUNT_PROPERTY_ID_TOKEN, "id"), 0);
  velmora_account_h c = nullptr;
  ASSERT_EQ(va_account_clone(a.h, &c), 0);
  char *value = nullptr;
  EXPECT_EQ(velmora_account_get_property_str(c, VELMORA_ACCOUNT_PROPERTY_ID_TOKEN, &value),
            VELMORA_ACCOUNT_ERROR_NO_DATA);
  EXPECT_EQ(value, nullptr);
  velmora_account_destroy(c);
}

TEST_F(AccountHandle, CloneFlagsReadFalseNotUnset) {
  Handle a;
  ASSERT_EQ(
      velmora_account_set_property_bool(a.h, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, true),
      0);
  velmora_account_h c = nullptr;
  ASSERT_EQ(va_account_clone(a.h, &c), 0);
  for (int p = 0; p <= 4; ++p) {
    bool value = true;
    EXPECT_EQ(velmora_account_get_property_bool(c, p, &value), 0) << p;
    EXPECT_FALSE(value) << p;
  }
  velmora_account_destroy(c);
}

TEST_F(AccountHandle, CloneCarriesNoConnectionAndNoProfile) {
  Handle a;
  a.h->connected = true;
  a.h->connection_user_data = &a;
  a.h->link = va_profile_list_new();
  velmora_account_h c = nullptr;
  ASSERT_EQ(va_account_clone(a.h, &c), 0);
  EXPECT_FALSE(c->connected);
  EXPECT_EQ(c->proxy, nullptr);
  EXPECT_EQ(c->connection_cb, nullptr);
  EXPECT_EQ(c->connection_user_data, nullptr);
  EXPECT_EQ(c->link, nullptr);
  velmora_account_destroy(c);
}

TEST_F(AccountHandle, CloneNeverChangesTheOriginal) {
  Handle a;
  ASSERT_EQ(velmora_account_set_property_str(a.h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "me"), 0);
  velmora_account_h c = nullptr;
  ASSERT_EQ(va_account_clone(a.h, &c), 0);
  ASSERT_EQ(velmora_account_set_property_str(c, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "other"), 0);
  EXPECT_EQ(str(a.h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), "me");
  velmora_account_destroy(c);
}
