// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the AccountSvc proxy and its reply delegates inside the library.
//
// The layouts of the proxy record and of the four delegate types, the table that describes the
// delegate types, and the entry points of the pushed-callback path, so that the proxy's own
// files, the tests and the fuzzers can drive dispatch with parcels they build themselves.
#pragma once

#include <glib.h>

#include "account_svc_proxy.h"
#include "records_internal.hh"
#include "rpc_port.h"
#include "rpc_port_parcel.h"

// Protocol values in the first int32 of every parcel on either port.
inline constexpr int kProtocolResult = 0;    // the result of a method call (main port)
inline constexpr int kProtocolCallback = 1;  // a pushed delegate callback (callback port)

// The proxy record behind rpc_port_proxy_AccountSvc_h.
struct rpc_port_proxy_AccountSvc_s {
  char *stub_appid;        // owned copy
  rpc_port_proxy_h proxy;  // the rpc-port connection object
  rpc_port_h port;         // main port; NULL while not connected
  rpc_port_h callback_port;
  rpc_port_proxy_AccountSvc_callback_s callback;
  void *user_data;
  GList *delegates;  // outstanding delegates of any of the four types, owned
  GRecMutex mutex;   // held by a method call while it waits for its result
  // A callback may destroy its own proxy (an application that disconnects from inside a
  // completion or connection callback): while one of the proxy's events runs, destroy only marks
  // the record, and the event frees it when it is done with it.
  int dispatching;
  bool destroy_requested;
};

namespace va::proxy {

// What all four delegate types share; the typed handles below are this record under their names.
// The fields are in this order: parcelable pair, id, sequence number, callback, once, user data.
struct Delegate {
  rpc_port_parcelable_t parcelable;
  int id;
  int seq;
  void (*callback)();  // the type's own callback signature; see DelegateType::call
  bool once;
  void *user_data;
};

}  // namespace va::proxy

struct rpc_port_AccountSvc_ResponseCb_s : va::proxy::Delegate {};
struct rpc_port_AccountSvc_ResponseErrorCb_s : va::proxy::Delegate {};
struct rpc_port_AccountSvc_ResponsePlaceCb_s : va::proxy::Delegate {};
struct rpc_port_AccountSvc_ResponseProfileCb_s : va::proxy::Delegate {};

namespace va::proxy {

// Fixed delegate ids, as they appear in every parcel.
enum DelegateId : int {
  kResponseCb = 1,
  kResponseErrorCb = 2,
  kResponsePlaceCb = 3,
  kResponseProfileCb = 4,
};

// One delegate type: its id, name, the record its callback receives (nullptr: the result only),
// and how to call a delegate of this type with its own signature.
struct DelegateType {
  int id;
  const char *name;  // "ResponseCb"
  const va::rec::RecordDesc *record;
  void (*call)(const Delegate &d, int result, void *record);
};

// The type with this id (1..4), or nullptr.
const DelegateType *delegate_type(int id);

// The last sequence number handed out for type `id` (0 before the first delegate of the process).
unsigned int last_sequence(int id);

// The receive routine of one type: reads the callback's arguments from `parcel`, calls the first
// delegate in `*list` whose id and sequence number match, and unlinks and frees it when its own
// once flag is set. A callback that matches nothing is read and dropped.
void receive(const DelegateType &type, GList **list, rpc_port_parcel_h parcel, int seq, int id);

// Steps after the parcel was taken from the callback port: checks the protocol, reads the
// delegate header, dispatches by id, destroys the parcel and logs the event line. Takes the parcel.
void dispatch_callback(rpc_port_proxy_AccountSvc_h h, rpc_port_parcel_h parcel,
                       const char *endpoint, const char *port_name);

// Frees a delegate record of any type (no log).
void free_delegate(void *delegate);

}  // namespace va::proxy
