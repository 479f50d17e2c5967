// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the method calls' argument checks and the not-connected path, which end before
// anything is sent; and the proxy's own argument checks.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "log_capture.hh"
#include "platform_result.h"
#include "proxy_fixture.hh"

namespace {

using vtest::Calls;

// Everything a method may take, made fresh for each call.
struct Args {
  rpc_port_AccountS_h account = nullptr;
  rpc_port_ProfileS_h profile = nullptr;
  rpc_port_PrivacyS_h privacy = nullptr;
  rpc_port_AccountSvc_ResponseCb_h response = nullptr;
  rpc_port_AccountSvc_ResponseErrorCb_h error = nullptr;
  rpc_port_AccountSvc_ResponsePlaceCb_h place = nullptr;
  rpc_port_AccountSvc_ResponseProfileCb_h profile_cb = nullptr;
  char *login = nullptr;
  bool signed_in = false;
  rpc_port_list_string_h list = nullptr;
  rpc_port_AccountS_h result_account = nullptr;

  Args() {
    rpc_port_AccountS_create(&account);
    rpc_port_ProfileS_create(&profile);
    rpc_port_PrivacyS_create(&privacy);
    response = rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, nullptr);
    error = rpc_port_AccountSvc_ResponseErrorCb_create(Calls::on_error, true, nullptr);
    place = rpc_port_AccountSvc_ResponsePlaceCb_create(Calls::on_place, true, nullptr);
    profile_cb = rpc_port_AccountSvc_ResponseProfileCb_create(Calls::on_profile, true, nullptr);
  }
  ~Args() {
    rpc_port_AccountS_destroy(account);
    rpc_port_ProfileS_destroy(profile);
    rpc_port_PrivacyS_destroy(privacy);
    // None of these calls reached the point where the proxy takes the delegate.
    rpc_port_AccountSvc_ResponseCb_destroy(response);
    rpc_port_AccountSvc_ResponseErrorCb_destroy(error);
    rpc_port_AccountSvc_ResponsePlaceCb_destroy(place);
    rpc_port_AccountSvc_ResponseProfileCb_destroy(profile_cb);
  }
};

struct Method {
  const char *name;
  // Calls the method on h with every argument given.
  std::function<int(rpc_port_proxy_AccountSvc_h, Args &)> call;
  // Calls it with each required argument (after the handle) NULL in turn; one entry per argument.
  std::vector<std::function<int(rpc_port_proxy_AccountSvc_h, Args &)>> nulls;
};

std::vector<Method> methods() {
  using H = rpc_port_proxy_AccountSvc_h;
  return {
      {"GetDefaultAccount",
       [](H h, Args &a) { return rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(h, &a.login); },
       {[](H h, Args &) {
         return rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(h, nullptr);
       }}},
      {"SetDefaultAccount",
       [](H h, Args &) { return rpc_port_proxy_AccountSvc_invoke_SetDefaultAccount(h, "x"); },
       {}},
      {"IsSignedIn",
       [](H h, Args &a) {
         return rpc_port_proxy_AccountSvc_invoke_IsSignedIn(h, "x", &a.signed_in);
       },
       {[](H h, Args &) { return rpc_port_proxy_AccountSvc_invoke_IsSignedIn(h, "x", nullptr); }}},
      {"GetAccountList",
       [](H h, Args &a) { return rpc_port_proxy_AccountSvc_invoke_GetAccountList(h, &a.list); },
       {[](H h, Args &) { return rpc_port_proxy_AccountSvc_invoke_GetAccountList(h, nullptr); }}},
      {"GetLastAccessToken",
       [](H h, Args &a) {
         return rpc_port_proxy_AccountSvc_invoke_GetLastAccessToken(h, a.account,
                                                                    &a.result_account);
       },
       {[](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_GetLastAccessToken(h, nullptr, &a.result_account);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_GetLastAccessToken(h, a.account, nullptr);
        }}},
      {"RequestAccessToken",
       [](H h, Args &a) {
         return rpc_port_proxy_AccountSvc_invoke_RequestAccessToken(h, a.account, a.response);
       },
       {[](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_RequestAccessToken(h, nullptr, a.response);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_RequestAccessToken(h, a.account, nullptr);
        }}},
      {"RequestAuthcode",
       [](H h, Args &a) {
         return rpc_port_proxy_AccountSvc_invoke_RequestAuthcode(h, a.account, a.response);
       },
       {[](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_RequestAuthcode(h, nullptr, a.response);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_RequestAuthcode(h, a.account, nullptr);
        }}},
      {"RequestAuthcodeEffortless",
       [](H h, Args &a) {
         return rpc_port_proxy_AccountSvc_invoke_RequestAuthcodeEffortless(h, a.account,
                                                                           a.response);
       },
       {[](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_RequestAuthcodeEffortless(h, nullptr, a.response);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_RequestAuthcodeEffortless(h, a.account, nullptr);
        }}},
      {"RequestPlaceInfo",
       [](H h, Args &a) {
         return rpc_port_proxy_AccountSvc_invoke_RequestPlaceInfo(h, a.account, a.place);
       },
       {[](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_RequestPlaceInfo(h, nullptr, a.place);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_RequestPlaceInfo(h, a.account, nullptr);
        }}},
      {"RequestProfileInfo",
       // The resource string may be NULL (it is sent as "").
       [](H h, Args &a) {
         return rpc_port_proxy_AccountSvc_invoke_RequestProfileInfo(h, a.account, nullptr,
                                                                    a.profile_cb);
       },
       {[](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_RequestProfileInfo(h, nullptr, "all",
                                                                     a.profile_cb);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_RequestProfileInfo(h, a.account, "all", nullptr);
        }}},
      {"UpdateProfileInfo",
       [](H h, Args &a) {
         return rpc_port_proxy_AccountSvc_invoke_UpdateProfileInfo(h, a.account, 1, a.profile,
                                                                   a.error);
       },
       {[](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_UpdateProfileInfo(h, nullptr, 1, a.profile,
                                                                    a.error);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_UpdateProfileInfo(h, a.account, 1, nullptr,
                                                                    a.error);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_UpdateProfileInfo(h, a.account, 1, a.profile,
                                                                    nullptr);
        }}},
      {"UpdatePrivacyInfo",
       [](H h, Args &a) {
         return rpc_port_proxy_AccountSvc_invoke_UpdatePrivacyInfo(h, a.account, a.privacy,
                                                                   a.error);
       },
       {[](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_UpdatePrivacyInfo(h, nullptr, a.privacy, a.error);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_UpdatePrivacyInfo(h, a.account, nullptr, a.error);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_UpdatePrivacyInfo(h, a.account, a.privacy,
                                                                    nullptr);
        }}},
      {"CommonAccount",
       [](H h, Args &a) {
         return rpc_port_proxy_AccountSvc_invoke_CommonAccount(h, a.account, 0, a.response);
       },
       {[](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_CommonAccount(h, nullptr, 0, a.response);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_CommonAccount(h, a.account, 0, nullptr);
        }}},
      {"CommonProfile",
       [](H h, Args &a) {
         return rpc_port_proxy_AccountSvc_invoke_CommonProfile(h, a.account, 2, nullptr,
                                                               a.profile_cb);
       },
       {[](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_CommonProfile(h, nullptr, 2, "all", a.profile_cb);
        },
        [](H h, Args &a) {
          return rpc_port_proxy_AccountSvc_invoke_CommonProfile(h, a.account, 2, "all", nullptr);
        }}},
  };
}

std::string invoke_name(const Method &m) {
  return std::string("rpc_port_proxy_AccountSvc_invoke_") + m.name;
}

TEST(ProxyInvoke, AllFourteenMethodsAreDescribed) { EXPECT_EQ(methods().size(), 14u); }

TEST(ProxyInvoke, NullProxyIsInvalidParameter) {
  for (const Method &m : methods()) {
    Args args;
    vtest::LogCapture log;
    set_last_result(77);
    EXPECT_EQ(m.call(nullptr, args), -1) << m.name;
    ASSERT_EQ(log.lines().size(), 1u) << m.name << "\n" << log.dump();
    EXPECT_EQ(log.lines()[0].tag, vtest::kRpcTag);
    EXPECT_EQ(log.lines()[0].prio, DLOG_ERROR);
    EXPECT_EQ(log.lines()[0].text(), "Invalid parameter");
    EXPECT_EQ(log.lines()[0].function(), invoke_name(m));
    EXPECT_EQ(get_last_result(), 77) << "the status is left alone";
  }
}

TEST(ProxyInvoke, NullRequiredArgumentIsInvalidParameterAndListsNothing) {
  rpc_port_proxy_AccountSvc_h proxy = vtest::bare_proxy();
  int checked = 0;
  for (const Method &m : methods()) {
    for (const auto &call : m.nulls) {
      Args args;
      vtest::LogCapture log;
      EXPECT_EQ(call(proxy, args), -1) << m.name;
      EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Invalid parameter")) << m.name;
      EXPECT_EQ(log.count("Not connected"), 0) << m.name;
      EXPECT_EQ(vtest::listed(proxy), 0u) << m.name;
      ++checked;
    }
  }
  EXPECT_EQ(checked, 25);
  rpc_port_proxy_AccountSvc_destroy(proxy);
}

TEST(ProxyInvoke, NotConnectedSendsNothingAndListsNoDelegate) {
  rpc_port_proxy_AccountSvc_h proxy = vtest::bare_proxy();  // never connected: no main port
  for (const Method &m : methods()) {
    Args args;
    vtest::LogCapture log;
    set_last_result(55);
    EXPECT_EQ(m.call(proxy, args), -1) << m.name;
    ASSERT_EQ(log.lines().size(), 1u) << m.name << "\n" << log.dump();
    EXPECT_EQ(log.lines()[0].tag, vtest::kRpcTag);
    EXPECT_EQ(log.lines()[0].prio, DLOG_ERROR);
    EXPECT_EQ(log.lines()[0].text(), "Not connected");
    EXPECT_EQ(log.lines()[0].function(), invoke_name(m));
    EXPECT_EQ(vtest::listed(proxy), 0u) << m.name;
    EXPECT_EQ(get_last_result(), 55) << m.name;
    EXPECT_EQ(args.login, nullptr);
    EXPECT_EQ(args.list, nullptr);
    EXPECT_EQ(args.result_account, nullptr);
  }
  rpc_port_proxy_AccountSvc_destroy(proxy);
}

TEST(ProxyLifecycle, CreateRefusesNullArguments) {
  rpc_port_proxy_AccountSvc_callback_s cbs = {nullptr, nullptr, nullptr};
  rpc_port_proxy_AccountSvc_h h = nullptr;
  vtest::LogCapture log;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_create(nullptr, &cbs, nullptr, &h), -1);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_create("dev.velmora.account", nullptr, nullptr, &h), -1);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_create("dev.velmora.account", &cbs, nullptr, nullptr), -1);
  EXPECT_EQ(h, nullptr);
  EXPECT_EQ(log.count("Invalid parameter"), 3) << log.dump();
  EXPECT_EQ(log.lines()[0].function(), "rpc_port_proxy_AccountSvc_create");
  EXPECT_EQ(log.lines()[0].tag, vtest::kRpcTag);
}

TEST(ProxyLifecycle, ConnectAndDestroyRefuseNull) {
  vtest::LogCapture log;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_connect(nullptr), -1);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_destroy(nullptr), -1);
  // A record without its rpc-port object cannot connect.
  rpc_port_proxy_AccountSvc_h proxy = vtest::bare_proxy();
  EXPECT_EQ(rpc_port_proxy_AccountSvc_connect(proxy), -1);
  EXPECT_EQ(log.count("Invalid parameter"), 3) << log.dump();
  EXPECT_EQ(log.lines()[0].function(), "rpc_port_proxy_AccountSvc_connect");
  EXPECT_EQ(log.lines()[1].function(), "rpc_port_proxy_AccountSvc_destroy");
  EXPECT_EQ(rpc_port_proxy_AccountSvc_destroy(proxy), 0);
}

}  // namespace
