// SPDX-License-Identifier: Apache-2.0
// Velmora tests: what the reply tests share: a platform root with the agent installed (handles need
// it), app-control replies built in the test, and a caller's callback that records what it got.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "account_record.h"
#include "app_control.h"
#include "log_capture.hh"
#include "platform_root.hh"
#include "request_operation.h"
#include "request_record.h"
#include "request_reply.h"
#include "velmora_account.h"

namespace vtest {

// A string property of `account`, or "<unset>".
inline std::string str_of(velmora_account_h account, int property) {
  char *value = nullptr;
  if (va_account_get_str(account, property, &value) != 0) return "<unset>";
  std::string out = value;
  free(value);
  return out;
}

// An app control holding `extras` in this order; the caller destroys it.
inline app_control_h make_reply(const std::vector<std::pair<std::string, std::string>> &extras) {
  app_control_h reply = nullptr;
  EXPECT_EQ(app_control_create(&reply), APP_CONTROL_ERROR_NONE);
  for (const auto &kv : extras)
    EXPECT_EQ(app_control_add_extra_data(reply, kv.first.c_str(), kv.second.c_str()),
              APP_CONTROL_ERROR_NONE);
  return reply;
}

// What the caller's callback received.
struct Received {
  int calls = 0;
  int result = 12345;
  velmora_account_h account = nullptr;
  bool signed_in = false;
  std::vector<std::string> ids;
  bool list_null = false;
  int length = -1;

  ~Received() {
    if (account != nullptr) velmora_account_destroy(account);
  }

  static void response(int result, velmora_account_h account, void *user_data) {
    auto *self = static_cast<Received *>(user_data);
    ++self->calls;
    self->result = result;
    self->account = account;  // the receiver owns it
  }
  static void status(int result, velmora_account_h account, bool signed_in, void *user_data) {
    auto *self = static_cast<Received *>(user_data);
    ++self->calls;
    self->result = result;
    self->account = account;
    self->signed_in = signed_in;
  }
  static void list(int result, velmora_account_h account, char **ids, int length, void *user_data) {
    auto *self = static_cast<Received *>(user_data);
    ++self->calls;
    self->result = result;
    self->account = account;
    self->list_null = ids == nullptr;
    self->length = length;
    for (int i = 0; ids != nullptr && i < length; ++i) self->ids.emplace_back(ids[i]);
  }
};

class ReplyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root_.install_agent(5, "/nonexistent/velmora-agent");
    ASSERT_EQ(velmora_account_create(&handle_), 0);
  }
  void TearDown() override {
    if (handle_ != nullptr) velmora_account_destroy(handle_);
  }

  // A request record as an app-control send leaves it: a clone of handle_, the callback, `rx`.
  velmora_account_request_h app_control_request(velmora_account_request_cb callback, Received *rx,
                                                void *holder = nullptr) {
    velmora_account_h clone = nullptr;
    EXPECT_EQ(va_account_clone(handle_, &clone), 0);
    auto *request =
        static_cast<velmora_account_request_h>(calloc(1, sizeof(struct velmora_account_request_s)));
    request->account = clone;
    request->data = holder;
    request->app_control_cb = callback;
    request->user_data = rx;
    return request;
  }

  void set(int property, const char *value) {
    ASSERT_EQ(velmora_account_set_property_str(handle_, property, value), 0);
  }

  PlatformRoot root_;
  velmora_account_h handle_ = nullptr;
};

// A row whose replies are logged as `name`, as an operation's row names its reply callback; the
// reply parsers of the library's own rows go with their names (signed_in_status_cb,
// account_list_cb, NidlAccountLinkingCb).
inline const va_operation_s *reply_row(const std::string &name) {
  static std::deque<std::string> names;
  static std::deque<va_operation_s> rows;
  for (const va_operation_s &row : rows)
    if (name == row.app_control.reply_name) return &row;
  names.push_back(name);
  va_operation_s row = {};
  row.name = "test_operation";
  row.app_control.reply_name = names.back().c_str();
  row.port.reply_name = names.back().c_str();
  if (name == "signed_in_status_cb") row.app_control.parser = va_reply_parse_signed_in_status;
  if (name == "account_list_cb") row.app_control.parser = va_reply_parse_account_list;
  if (name == "NidlAccountLinkingCb") row.port.fill = va_fill_linking_from_account_s;
  rows.push_back(row);
  return &rows.back();
}

// The app-control reply of an operation whose row names its reply callback `name`, as the
// platform delivers it: the generic callback with the request record.
inline void reply_as(const std::string &name, app_control_h reply, app_control_result_e result,
                     velmora_account_request_h request) {
  if (request != nullptr) request->op = reply_row(name);
  va_reply_app_control_cb(nullptr, reply, result, request);
}

// The same for a ResponseCb delegate answer over the port.
inline void port_reply_as(const std::string &name, velmora_account_request_h request, int result,
                          rpc_port_AccountS_h s) {
  if (request != nullptr) request->op = reply_row(name);
  va_reply_port_cb(request, result, s);
}

template <typename F>
velmora_account_request_cb as_request_cb(F f) {
  return reinterpret_cast<velmora_account_request_cb>(f);
}

}  // namespace vtest
