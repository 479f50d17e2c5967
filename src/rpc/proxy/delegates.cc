// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the four reply delegate types of the AccountSvc proxy.
//
// A delegate is the client's record of an awaited callback. All four types are one record layout
// (va::proxy::Delegate) and one implementation driven by a small table; the exported functions of
// each type are thin wrappers expanded from a list of the type names.
#include <atomic>
#include <cstdlib>

#include "proxy_internal.hh"
#include "va_alloc.h"
#include "va_log.h"

namespace va::proxy {

namespace {

// Each type calls back with its own signature; the record argument is absent for ResponseErrorCb.
void call_response(const Delegate &d, int result, void *record) {
  reinterpret_cast<rpc_port_AccountSvc_ResponseCb_cb>(d.callback)(
      d.user_data, result, static_cast<rpc_port_AccountS_h>(record));
}
void call_error(const Delegate &d, int result, void *) {
  reinterpret_cast<rpc_port_AccountSvc_ResponseErrorCb_cb>(d.callback)(d.user_data, result);
}
void call_place(const Delegate &d, int result, void *record) {
  reinterpret_cast<rpc_port_AccountSvc_ResponsePlaceCb_cb>(d.callback)(
      d.user_data, result, static_cast<rpc_port_PlaceInfoS_h>(record));
}
void call_profile(const Delegate &d, int result, void *record) {
  reinterpret_cast<rpc_port_AccountSvc_ResponseProfileCb_cb>(d.callback)(
      d.user_data, result, static_cast<rpc_port_ProfileS_h>(record));
}

const DelegateType kTypes[] = {
    {kResponseCb, "ResponseCb", &va::rec::kDesc_AccountS, call_response},
    {kResponseErrorCb, "ResponseErrorCb", nullptr, call_error},
    {kResponsePlaceCb, "ResponsePlaceCb", &va::rec::kDesc_PlaceInfoS, call_place},
    {kResponseProfileCb, "ResponseProfileCb", &va::rec::kDesc_ProfileS, call_profile},
};

// One process-wide counter per type, indexed by id - 1. A new delegate takes the incremented
// value, so the first delegate of each type has sequence number 1. Sequentially consistent
// read-modify-write: a full barrier on either side. Wrap-around after 2^32 delegates is not
// handled.
std::atomic<unsigned int> g_sequence[4];

// The parcel form of every delegate: int32 id, int32 sequence number, bool once.
void write_delegate(rpc_port_parcel_h parcel, void *data) {
  auto *d = static_cast<Delegate *>(data);
  if (!parcel || !d) {
    RPC_LOGE("Invalid parameter");
    return;
  }
  rpc_port_parcel_write_int32(parcel, d->id);
  rpc_port_parcel_write_int32(parcel, d->seq);
  rpc_port_parcel_write_bool(parcel, d->once);
}

void read_delegate(rpc_port_parcel_h parcel, void *data) {
  auto *d = static_cast<Delegate *>(data);
  if (!parcel || !d) {
    RPC_LOGE("Invalid parameter");
    return;
  }
  rpc_port_parcel_read_int32(parcel, &d->id);
  rpc_port_parcel_read_int32(parcel, &d->seq);
  rpc_port_parcel_read_bool(parcel, &d->once);
}

Delegate *create(int id, void (*callback)(), bool once, void *user_data, const char *func) {
  auto *d = static_cast<Delegate *>(va_calloc(1, sizeof(Delegate)));
  if (!d) {
    RPC_LOG_AT(DLOG_ERROR, func, "Out of memory");
    return nullptr;
  }
  d->parcelable.to = write_delegate;
  d->parcelable.from = read_delegate;
  d->id = id;
  d->seq = static_cast<int>(g_sequence[id - 1].fetch_add(1, std::memory_order_seq_cst) + 1);
  d->callback = callback;
  d->once = once;
  d->user_data = user_data;
  return d;
}

int destroy(Delegate *d, const char *func) {
  if (!d) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  free(d);
  return 0;
}

int dispose(rpc_port_proxy_AccountSvc_h proxy, Delegate *d, const char *func) {
  if (!proxy || !d) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid handle %p %p", static_cast<void *>(proxy),
               static_cast<void *>(d));
    return -1;
  }
  GList *link = g_list_find(proxy->delegates, d);
  if (!link) return -1;  // not ours (or the list is empty): left to the caller, not freed
  proxy->delegates = g_list_remove_link(proxy->delegates, link);
  g_list_free(link);
  free(d);
  return 0;
}

}  // namespace

const DelegateType *delegate_type(int id) {
  if (id < kResponseCb || id > kResponseProfileCb) return nullptr;
  return &kTypes[id - 1];
}

unsigned int last_sequence(int id) {
  if (id < kResponseCb || id > kResponseProfileCb) return 0;
  return g_sequence[id - 1].load();
}

void free_delegate(void *delegate) { free(delegate); }

void receive(const DelegateType &type, GList **list, rpc_port_parcel_h parcel, int seq, int id) {
  // A body too short to hold the result reads as -1, the failure a method call reports when no
  // result came, never as success.
  int result = -1;
  rpc_port_parcel_read_int32(parcel, &result);

  // The delegate gets its call whatever became of the record, so that its request ends; but a
  // record that could not be made, or not read whole, is never presented as a success. Where the
  // agent answered success, the result says why instead: RPC_PORT_ERROR_OUT_OF_MEMORY (then the
  // record is NULL, or holds what was read before the allocation failed), or -1 for a record the
  // parcel did not hold whole (the failure of a call that never got its answer). An agent's
  // failure stays as it came.
  void *record = nullptr;
  if (type.record) {
    record = va::rec::create(*type.record, type.record->fn_create);
    const va::rec::ReadStatus read =
        record ? va::rec::decode(*type.record, parcel, record) : va::rec::ReadStatus::kOutOfMemory;
    if (read != va::rec::ReadStatus::kWhole && result == RPC_PORT_ERROR_NONE)
      result = read == va::rec::ReadStatus::kOutOfMemory ? RPC_PORT_ERROR_OUT_OF_MEMORY : -1;
  }

  GList *match = nullptr;
  for (GList *l = *list; l; l = l->next) {
    auto *d = static_cast<Delegate *>(l->data);
    if (d && d->id == id && d->seq == seq) {
      match = l;
      break;
    }
  }
  if (match) {
    auto *d = static_cast<Delegate *>(match->data);
    const bool once = d->once;  // the delegate's own flag decides, not the one in the header
    type.call(*d, result, record);
    // The callback may have disposed delegates; the match is looked up again before unlinking.
    if (once) {
      GList *still = g_list_find(*list, d);
      if (still) {
        *list = g_list_remove_link(*list, still);
        g_list_free(still);
        free(d);
      }
    }
  }
  if (record) va::rec::destroy(*type.record, record);
}

}  // namespace va::proxy

// ---- the exported functions of each type ----
#define VPROXY_EXPORT_DELEGATE_(D)                                                                \
  VELMORA_API rpc_port_AccountSvc_##D##_h rpc_port_AccountSvc_##D##_create(                       \
      rpc_port_AccountSvc_##D##_cb callback, bool once, void *user_data) {                        \
    return static_cast<rpc_port_AccountSvc_##D##_h>(va::proxy::create(                            \
        va::proxy::k##D, reinterpret_cast<void (*)()>(callback), once, user_data, __func__));     \
  }                                                                                               \
  VELMORA_API int rpc_port_AccountSvc_##D##_destroy(rpc_port_AccountSvc_##D##_h h) {              \
    return va::proxy::destroy(h, __func__);                                                       \
  }                                                                                               \
  VELMORA_API int rpc_port_proxy_AccountSvc_##D##_dispose(rpc_port_proxy_AccountSvc_h proxy,      \
                                                          rpc_port_AccountSvc_##D##_h delegate) { \
    return va::proxy::dispose(proxy, delegate, __func__);                                         \
  }

RPC_PORT_DELEGATES(VPROXY_EXPORT_DELEGATE_)
