// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the fourteen method calls of the AccountSvc proxy.
//
// Every method is the same routine: check the required arguments and the connection, write the
// method id and the arguments into a parcel, list the delegate, send, then wait under the proxy's
// mutex for the result parcel on the main port and read the outputs and the int result from it.
// Each exported function only describes its call: method id, arguments, output.
#include <initializer_list>

#include "platform_result.h"
#include "proxy_internal.hh"
#include "va_log.h"

namespace {

// Method ids; 0 and 1 are the protocol values and never method ids.
enum MethodId : int {
  kGetDefaultAccount = 2,
  kSetDefaultAccount = 3,
  kIsSignedIn = 4,
  kGetAccountList = 5,
  kGetLastAccessToken = 6,
  kRequestAccessToken = 7,
  kRequestAuthcode = 8,
  kRequestAuthcodeEffortless = 9,
  kRequestPlaceInfo = 10,
  kRequestProfileInfo = 11,
  kUpdateProfileInfo = 12,
  kUpdatePrivacyInfo = 13,
  kCommonAccount = 14,
  kCommonProfile = 15,
};

// One argument of a request, in its parcel form.
struct Arg {
  enum Kind { kString, kInt, kRecord, kDelegate } kind;
  const void *ptr;  // string, record or delegate
  int value;        // kInt
  bool required;    // NULL is refused as an invalid parameter

  static Arg string(const char *s, bool required = false) { return {kString, s, 0, required}; }
  static Arg integer(int v) { return {kInt, nullptr, v, false}; }
  static Arg record(const void *r) { return {kRecord, r, 0, true}; }
  static Arg delegate(const void *d) { return {kDelegate, d, 0, true}; }
};

// The output of a result parcel, read before the int result.
struct Out {
  enum Kind { kNone, kString, kBool, kStringList, kAccount } kind;
  void *ptr;  // char **, bool *, rpc_port_list_string_h *, rpc_port_AccountS_h *

  static Out none() { return {kNone, nullptr}; }
};

void write_arg(rpc_port_parcel_h parcel, const Arg &a) {
  switch (a.kind) {
    case Arg::kString: {
      const char *s = static_cast<const char *>(a.ptr);
      rpc_port_parcel_write_string(parcel, s ? s : "");
      break;
    }
    case Arg::kInt:
      rpc_port_parcel_write_int32(parcel, a.value);
      break;
    case Arg::kRecord:
    case Arg::kDelegate: {
      void *p = const_cast<void *>(a.ptr);
      rpc_port_parcel_write(parcel, va::rec::parcelable_of(p), p);
      break;
    }
  }
}

// A record output, made fresh and read whole or not; *out gets it either way (NULL when it could
// not be made), and the caller destroys it.
template <typename H>
va::rec::ReadStatus read_record(rpc_port_parcel_h parcel, const va::rec::RecordDesc &desc,
                                int (*create)(H *), H *out) {
  H record = nullptr;
  create(&record);
  *out = record;
  if (!record) return va::rec::ReadStatus::kOutOfMemory;
  return va::rec::decode(desc, parcel, record);
}

va::rec::ReadStatus read_output(rpc_port_parcel_h parcel, const Out &out) {
  switch (out.kind) {
    case Out::kNone:
      break;
    case Out::kString:
      return va::rec::status_of(rpc_port_parcel_read_string(parcel, static_cast<char **>(out.ptr)));
    case Out::kBool:
      return va::rec::status_of(rpc_port_parcel_read_bool(parcel, static_cast<bool *>(out.ptr)));
    case Out::kStringList:
      return read_record(parcel, va::rec::kDesc_list_string, rpc_port_list_string_create,
                         static_cast<rpc_port_list_string_h *>(out.ptr));
    case Out::kAccount:
      return read_record(parcel, va::rec::kDesc_AccountS, rpc_port_AccountS_create,
                         static_cast<rpc_port_AccountS_h *>(out.ptr));
  }
  return va::rec::ReadStatus::kWhole;
}

// The call routine shared by every method; `func` is the exported name the log lines carry.
int call(rpc_port_proxy_AccountSvc_h h, int method, std::initializer_list<Arg> args, Out out,
         const char *func) {
  int ret = -1;
  bool missing = !h || (out.kind != Out::kNone && !out.ptr);
  for (const Arg &a : args) missing = missing || (a.required && !a.ptr);
  if (missing) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return ret;
  }
  if (!h->port) {
    RPC_LOG_AT(DLOG_ERROR, func, "Not connected");
    return ret;
  }

  rpc_port_parcel_h parcel = nullptr;
  rpc_port_parcel_create(&parcel);
  rpc_port_parcel_write_int32(parcel, method);
  for (const Arg &a : args) {
    write_arg(parcel, a);
    // From here on the proxy owns the delegate, whatever happens to the call.
    if (a.kind == Arg::kDelegate)
      h->delegates = g_list_append(h->delegates, const_cast<void *>(a.ptr));
  }

  int status = 0;
  int sent = rpc_port_parcel_send(parcel, h->port);
  if (sent != 0) {
    RPC_LOG_AT(DLOG_ERROR, func, "Failed to send parcel. result(%d)", sent);
    status = -5;  // the wait below still runs, exactly as after a good send
  }
  rpc_port_parcel_destroy(parcel);

  g_rec_mutex_lock(&h->mutex);
  rpc_port_parcel_h result = nullptr;
  int protocol = -1;
  for (;;) {
    result = nullptr;
    rpc_port_parcel_create_from_port(&result, h->port);
    if (!result) break;
    rpc_port_parcel_read_int32(result, &protocol);
    if (protocol == kProtocolResult) break;
    rpc_port_parcel_destroy(result);  // not a method result: wait for the next parcel
  }
  if (result) {
    // The int result follows the outputs: after an output that could not be read whole it cannot
    // be found, and the call answers why instead.
    const va::rec::ReadStatus read = read_output(result, out);
    rpc_port_parcel_read_int32(result, &ret);
    if (read != va::rec::ReadStatus::kWhole)
      ret = read == va::rec::ReadStatus::kOutOfMemory ? RPC_PORT_ERROR_OUT_OF_MEMORY : -1;
    rpc_port_parcel_destroy(result);
  } else {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid protocol");
  }
  g_rec_mutex_unlock(&h->mutex);

  set_last_result(status);
  return ret;
}

}  // namespace

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(rpc_port_proxy_AccountSvc_h h,
                                                                   char **login_id) {
  return call(h, kGetDefaultAccount, {}, {Out::kString, login_id}, __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_SetDefaultAccount(rpc_port_proxy_AccountSvc_h h,
                                                                   const char *login_id) {
  return call(h, kSetDefaultAccount, {Arg::string(login_id)}, Out::none(), __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_IsSignedIn(rpc_port_proxy_AccountSvc_h h,
                                                            const char *login_id,
                                                            bool *is_signed_in) {
  return call(h, kIsSignedIn, {Arg::string(login_id)}, {Out::kBool, is_signed_in}, __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_GetAccountList(rpc_port_proxy_AccountSvc_h h,
                                                                rpc_port_list_string_h *list) {
  return call(h, kGetAccountList, {}, {Out::kStringList, list}, __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_GetLastAccessToken(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account,
    rpc_port_AccountS_h *result_account) {
  return call(h, kGetLastAccessToken, {Arg::record(account)}, {Out::kAccount, result_account},
              __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_RequestAccessToken(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account,
    rpc_port_AccountSvc_ResponseCb_h callback) {
  return call(h, kRequestAccessToken, {Arg::record(account), Arg::delegate(callback)}, Out::none(),
              __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_RequestAuthcode(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account,
    rpc_port_AccountSvc_ResponseCb_h callback) {
  return call(h, kRequestAuthcode, {Arg::record(account), Arg::delegate(callback)}, Out::none(),
              __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_RequestAuthcodeEffortless(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account,
    rpc_port_AccountSvc_ResponseCb_h callback) {
  return call(h, kRequestAuthcodeEffortless, {Arg::record(account), Arg::delegate(callback)},
              Out::none(), __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_RequestPlaceInfo(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account,
    rpc_port_AccountSvc_ResponsePlaceCb_h callback) {
  return call(h, kRequestPlaceInfo, {Arg::record(account), Arg::delegate(callback)}, Out::none(),
              __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_RequestProfileInfo(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account, const char *resource,
    rpc_port_AccountSvc_ResponseProfileCb_h callback) {
  return call(h, kRequestProfileInfo,
              {Arg::record(account), Arg::string(resource), Arg::delegate(callback)}, Out::none(),
              __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_UpdateProfileInfo(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account, int request_type,
    rpc_port_ProfileS_h profile, rpc_port_AccountSvc_ResponseErrorCb_h callback) {
  return call(h, kUpdateProfileInfo,
              {Arg::record(account), Arg::integer(request_type), Arg::record(profile),
               Arg::delegate(callback)},
              Out::none(), __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_UpdatePrivacyInfo(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account, rpc_port_PrivacyS_h privacy,
    rpc_port_AccountSvc_ResponseErrorCb_h callback) {
  return call(h, kUpdatePrivacyInfo,
              {Arg::record(account), Arg::record(privacy), Arg::delegate(callback)}, Out::none(),
              __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_CommonAccount(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account, int request_type,
    rpc_port_AccountSvc_ResponseCb_h callback) {
  return call(h, kCommonAccount,
              {Arg::record(account), Arg::integer(request_type), Arg::delegate(callback)},
              Out::none(), __func__);
}

VELMORA_API int rpc_port_proxy_AccountSvc_invoke_CommonProfile(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account, int request_type,
    const char *resource, rpc_port_AccountSvc_ResponseProfileCb_h callback) {
  return call(h, kCommonProfile,
              {Arg::record(account), Arg::integer(request_type), Arg::string(resource),
               Arg::delegate(callback)},
              Out::none(), __func__);
}
