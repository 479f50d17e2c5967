// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a proxy record without a connection, and pushed-callback parcels built by hand,
// to drive the proxy's delegate and dispatch code directly.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "account_svc_proxy.h"
#include "dlog.h"
#include "proxy_internal.hh"
#include "rpc_port_parcel.h"

namespace vtest {

// A proxy record as create leaves it before connecting, but with no rpc-port object: nothing is
// sent or received through it. The main port can be set to a dummy value to pass the connection
// check only in tests that never reach a send.
inline rpc_port_proxy_AccountSvc_h bare_proxy() {
  auto *h =
      static_cast<rpc_port_proxy_AccountSvc_h>(calloc(1, sizeof(rpc_port_proxy_AccountSvc_s)));
  h->stub_appid = strdup("dev.velmora.account");
  g_rec_mutex_init(&h->mutex);
  return h;
}

// A parcel as the agent pushes it: protocol, delegate header (id, sequence number, once).
inline rpc_port_parcel_h pushed(int protocol, int id, int seq, bool once = true) {
  rpc_port_parcel_h p = nullptr;
  EXPECT_EQ(rpc_port_parcel_create(&p), 0);
  rpc_port_parcel_write_int32(p, protocol);
  rpc_port_parcel_write_int32(p, id);
  rpc_port_parcel_write_int32(p, seq);
  rpc_port_parcel_write_bool(p, once);
  return p;
}

// What the delegate callbacks saw.
struct Calls {
  struct Call {
    int result;
    std::string text;  // a field of the record handed to the callback ("" without one)
  };
  std::vector<Call> calls;

  static void on_account(void *self, int result, rpc_port_AccountS_h account) {
    char *login = nullptr;
    if (account) rpc_port_AccountS_get_LoginId(account, &login);
    static_cast<Calls *>(self)->calls.push_back({result, login ? login : ""});
    free(login);
  }
  static void on_error(void *self, int result) {
    static_cast<Calls *>(self)->calls.push_back({result, ""});
  }
  static void on_place(void *self, int result, rpc_port_PlaceInfoS_h info) {
    char *reserved = nullptr;
    if (info) rpc_port_PlaceInfoS_get_Reserved(info, &reserved);
    static_cast<Calls *>(self)->calls.push_back({result, reserved ? reserved : ""});
    free(reserved);
  }
  static void on_profile(void *self, int result, rpc_port_ProfileS_h profile) {
    char *resource = nullptr;
    if (profile) rpc_port_ProfileS_get_Resource(profile, &resource);
    static_cast<Calls *>(self)->calls.push_back({result, resource ? resource : ""});
    free(resource);
  }
};

inline unsigned int listed(rpc_port_proxy_AccountSvc_h h) { return g_list_length(h->delegates); }

}  // namespace vtest
