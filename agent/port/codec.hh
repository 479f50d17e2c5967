// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the parcels of the AccountSvc port as the agent sees them.
//
// A request is the method id followed by the method's arguments; the agent reads them into a
// NidlRequest. It answers with a result parcel (protocol 0, the method's outputs, int result)
// and, for a method that carries a reply delegate, later pushes a callback parcel on the
// connection's callback port (protocol 1, the delegate header, int result, the delegate type's
// record).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "account_svc_proxy.h"
#include "rpc_port_parcel.h"

namespace vagent::nidl {

inline constexpr int kProtocolResult = 0;
inline constexpr int kProtocolCallback = 1;

// Delegate ids as they travel.
inline constexpr int kResponseCb = 1;
inline constexpr int kResponseErrorCb = 2;
inline constexpr int kResponsePlaceCb = 3;
inline constexpr int kResponseProfileCb = 4;

// Owning handles of the records the agent reads and writes.
struct AccountDeleter {
  void operator()(rpc_port_AccountS_s *h) const { rpc_port_AccountS_destroy(h); }
};
using Account = std::unique_ptr<rpc_port_AccountS_s, AccountDeleter>;
// A new empty AccountS (nullptr only when out of memory).
Account new_account();

struct PlaceInfoDeleter {
  void operator()(rpc_port_PlaceInfoS_s *h) const { rpc_port_PlaceInfoS_destroy(h); }
};
using PlaceInfo = std::unique_ptr<rpc_port_PlaceInfoS_s, PlaceInfoDeleter>;
struct ProfileDeleter {
  void operator()(rpc_port_ProfileS_s *h) const { rpc_port_ProfileS_destroy(h); }
};
using Profile = std::unique_ptr<rpc_port_ProfileS_s, ProfileDeleter>;
struct PrivacyDeleter {
  void operator()(rpc_port_PrivacyS_s *h) const { rpc_port_PrivacyS_destroy(h); }
};
using Privacy = std::unique_ptr<rpc_port_PrivacyS_s, PrivacyDeleter>;

struct ParcelDeleter {
  void operator()(rpc_port_parcel_s *h) const { rpc_port_parcel_destroy(h); }
};
using Parcel = std::unique_ptr<rpc_port_parcel_s, ParcelDeleter>;

// The arguments a method can carry, in the order the method's row lists them.
enum class ArgKind { kString, kInt, kAccount, kProfile, kPrivacy, kDelegate };
// What a method's result parcel carries before the int result.
enum class OutKind { kNone, kString, kBool, kStringList, kAccount };

struct DelegateRef {
  int id = 0;
  int seq = 0;
  bool once = false;
};

// A decoded request. Strings and ints are kept in argument order, records as they were read.
struct NidlRequest {
  std::vector<std::string> strings;
  std::vector<int> ints;
  Account account;
  Profile profile;
  Privacy privacy;
  bool has_delegate = false;
  DelegateRef delegate;

  // The string field `get` of the AccountS argument, "" when unset or absent.
  std::string field(int (*get)(rpc_port_AccountS_h, char **)) const;
  int int_field(int (*get)(rpc_port_AccountS_h, int *)) const;
};

// Reads the arguments after the method id. False when the parcel ends early or a record cannot
// be made; what was read is then incomplete and the request must not be served.
bool read_request(rpc_port_parcel_h parcel, const std::vector<ArgKind> &args, NidlRequest *out);

// The outputs of a method's result.
struct Output {
  std::string text;               // kString
  bool flag = false;              // kBool
  std::vector<std::string> list;  // kStringList
  Account account;                // kAccount (empty record when null)
};

// protocol 0, the output of kind `kind`, the result.
Parcel result_parcel(OutKind kind, const Output &output, int result);

// How a pushed callback is spoiled on purpose (fault injection).
struct PushFaults {
  bool unknown_id = false;      // an id no delegate type has
  bool wrong_sequence = false;  // a sequence number the caller never handed out
  bool malformed_body = false;  // a body too short to read even the result
};

// protocol 1, the delegate header, the result, and the record of the delegate's type (the given
// account for ResponseCb, the given places for ResponsePlaceCb, the given profile for
// ResponseProfileCb, an empty record where none is given, nothing for ResponseErrorCb).
Parcel callback_parcel(const DelegateRef &delegate, int result, const rpc_port_AccountS_h account,
                       const rpc_port_PlaceInfoS_h places, const PushFaults &faults,
                       const rpc_port_ProfileS_h profile = nullptr);

}  // namespace vagent::nidl
