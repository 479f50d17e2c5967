// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the replies of the profile requests reach the caller: app-control replies through
// the generic reply callback and the profile parsers, port replies through the delegate callbacks.
#include <gtest/gtest.h>

#include <cstdlib>

#include "account_record.h"
#include "profile_fixture.hh"
#include "profile_internal.h"
#include "request_operation.h"
#include "request_reply.h"

namespace ptest {
namespace {

struct Got {
  int calls = 0;
  int result = 12345;
  velmora_account_profile_list_h list = nullptr;
  velmora_account_h account = nullptr;
  ~Got() {
    if (list) velmora_account_profile_list_destroy(list);
    if (account) velmora_account_destroy(account);
  }
  static void on_list(int result, velmora_account_profile_list_h list, void *data) {
    auto *g = static_cast<Got *>(data);
    ++g->calls;
    g->result = result;
    g->list = list;
  }
  static void on_account(int result, velmora_account_h account, void *data) {
    auto *g = static_cast<Got *>(data);
    ++g->calls;
    g->result = result;
    g->account = account;
  }
};

class ProfileReplies : public ProfileTest {
 protected:
  // A request record as the send paths make it: a clone, the row, the callback.
  velmora_account_request_h request(const va_operation_s *row, velmora_account_request_cb cb,
                                    Got *got, bool port) {
    auto *r =
        static_cast<velmora_account_request_h>(calloc(1, sizeof(struct velmora_account_request_s)));
    EXPECT_EQ(velmora_account_create(&r->account), 0);
    r->op = row;
    if (port)
      r->nidl_cb = cb;
    else
      r->app_control_cb = cb;
    r->user_data = got;
    return r;
  }
  static app_control_h reply(std::initializer_list<std::pair<const char *, const char *>> extras) {
    app_control_h h = nullptr;
    EXPECT_EQ(app_control_create(&h), 0);
    for (const auto &[k, v] : extras) app_control_add_extra_data(h, k, v);
    return h;
  }
};

va_operation_s list_row(const char *reply_name, const char *port_name) {
  va_operation_s row = {};
  row.name = "velmora_account_profile_request_privacy";
  row.app_control.reply_name = reply_name;
  row.app_control.parser = va_profile_reply_list;
  row.port.reply_name = port_name;
  return row;
}

TEST_F(ProfileReplies, AFailedLaunchWithAnErrorCodeStillDeliversTheParsedList) {
  const va_operation_s row = list_row("privacy_response_cb", "NidlSinglePrivacyCb");
  Got got;
  app_control_h r = reply({{"error_code", "-22"},
                           {"nicknames", "1"},
                           {"phoneNumbers_count", "1"},
                           {"phoneNumbers_1:value", "+1 555 0100"}});
  vtest::LogCapture log;
  va_reply_app_control_cb(nullptr, r, APP_CONTROL_RESULT_FAILED,
                          request(&row, VA_REQUEST_CB(Got::on_list), &got, false));
  app_control_destroy(r);
  EXPECT_EQ(got.calls, 1);
  EXPECT_EQ(got.result, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  ASSERT_NE(got.list, nullptr);
  EXPECT_EQ(got.list->privacy[VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME], 1);
  EXPECT_EQ(got.list->count[VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME], 0);
  ASSERT_EQ(got.list->count[VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE], 1);
  EXPECT_EQ(field(va_profile_list_get_item(got.list, VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE, 0),
                  VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE, 0),
            "+1 555 0100");
  for (const char *text :
       {"[privacy_response_cb]", "[CONVERT_ERROR_CODE] AppControl result fail",
        "[privacy_response_cb] profile handle", "[privacy_response_cb] foreach_profile_cb",
        "REQUEST_HANDLE_FREE", "[privacy_response_cb] <<<< ended"})
    EXPECT_TRUE(HasInfo(log, text)) << text;
}

TEST_F(ProfileReplies, TheInfoReplyFillsTheLinkAndKeepsOneThatIsThere) {
  va_operation_s row = {};
  row.name = "velmora_account_profile_request_info";
  row.app_control.reply_name = "profile_request_info_cb";
  row.app_control.parser = va_profile_reply_info;
  Got got;
  velmora_account_request_h req = request(&row, VA_REQUEST_CB(Got::on_account), &got, false);
  req->account->link = va_profile_list_new();
  req->account->link->privacy[VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME] = 2;
  app_control_h r = reply({{"names_2:givenName", "Ada"}});
  vtest::LogCapture log;
  va_reply_app_control_cb(nullptr, r, APP_CONTROL_RESULT_SUCCEEDED, req);
  app_control_destroy(r);
  ASSERT_EQ(got.calls, 1);
  EXPECT_EQ(got.result, 0);
  ASSERT_NE(got.account, nullptr);
  velmora_account_profile_list_h link = got.account->link;
  ASSERT_NE(link, nullptr);
  EXPECT_EQ(link->privacy[VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME], 2);  // the same list
  EXPECT_EQ(link->count[VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME], 2);
  EXPECT_EQ(va_profile_list_get_item(link, VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME, 0), nullptr);
  EXPECT_TRUE(HasInfo(log, "Error : Profile handle is not null"));
  EXPECT_TRUE(HasInfo(log, "[profile_request_info_cb] foreach_profile_cb"));

  // The walk of that category stops at the missing first name, with NONE.
  List copy;
  EXPECT_EQ(velmora_account_profile_get_profile_list(got.account,
                                                     VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME, copy),
            VELMORA_ACCOUNT_ERROR_NONE);
}

TEST_F(ProfileReplies, APortListReplyDropsWhatEarlierRepliesLeft) {
  const va_operation_s row = list_row("privacy_response_cb", "NidlSinglePrivacyCb");
  Got got;
  velmora_account_request_h req = request(&row, VA_REQUEST_CB(Got::on_list), &got, true);
  req->data = va_profile_list_new();
  req->account->link = va_profile_list_new();
  rpc_port_ProfileS_h record = nullptr;
  ASSERT_EQ(rpc_port_ProfileS_create(&record), 0);
  vtest::LogCapture log;
  va_profile_port_list_cb(req, 0, record);
  rpc_port_ProfileS_destroy(record);
  EXPECT_EQ(got.calls, 1);
  EXPECT_EQ(got.result, 0);
  EXPECT_NE(got.list, nullptr);
  for (const char *text :
       {"[NidlSinglePrivacyCb]", "Destroy previous profile_list [request->va_profile_list_h]",
        "Destroy previous profile_list [request->va_request_h->link]",
        "[NidlSinglePrivacyCb] <<<< ended"})
    EXPECT_TRUE(HasInfo(log, text)) << text;
}

TEST_F(ProfileReplies, ThePrivacyUpdateReplyKeepsItsRequestRecord) {
  va_operation_s row = {};
  row.name = "velmora_account_profile_update_privacy";
  row.port.reply_name = "NidlUpdatePrivacyCb";
  row.port.reply_keeps_request = true;
  Got got;
  velmora_account_h clone = nullptr;
  ASSERT_EQ(velmora_account_create(&clone), 0);
  velmora_account_request_h req =
      va_request_create_port_kept(clone, VA_REQUEST_CB(Got::on_account), &got);
  ASSERT_NE(req, nullptr);
  req->op = &row;
  vtest::LogCapture log;
  va_profile_port_privacy_cb(req, VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_EQ(got.calls, 1);
  EXPECT_EQ(got.account, clone);
  EXPECT_TRUE(HasInfo(log, "[NidlUpdatePrivacyCb] <<<< ended"));
  // The record is still the request's: readable, and released here (a second release would be
  // reported by the sanitizers).
  EXPECT_EQ(req->account, clone);
  EXPECT_EQ(req->user_data, &got);
  free(req);
}

}  // namespace
}  // namespace ptest
