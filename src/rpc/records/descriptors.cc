// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the descriptors of every AccountSvc record and list, and each type's
// parcel write and read functions, all expanded from account_svc_records.def.h.
#include <cstring>
#include <iterator>

#include "record_ops.hh"

namespace va::rec {

namespace {

// Each type's parcelable pair: __<Type>_to and __<Type>_from, the names their log lines carry.
// The platform's parcelable read has no result: whether the record came whole is for
// va::rec::decode to tell.
#define VREC_TO_FROM_(T)                                    \
  void __##T##_to(rpc_port_parcel_h parcel, void *data) {   \
    write(kDesc_##T, parcel, data, __func__);               \
  }                                                         \
  void __##T##_from(rpc_port_parcel_h parcel, void *data) { \
    read(kDesc_##T, parcel, data, __func__);                \
  }
RPC_PORT_RECORDS(VREC_TO_FROM_)
RPC_PORT_LISTS(VREC_TO_FROM_)
#undef VREC_TO_FROM_

#define VREC_ITEM_STRING_(A) nullptr
#define VREC_ITEM_INT_(A) nullptr
#define VREC_ITEM_LLONG_(A) nullptr
#define VREC_ITEM_DOUBLE_(A) nullptr
#define VREC_ITEM_RECORD_(A) &kDesc_##A
#define VREC_ITEM_LIST_(A) &kDesc_##A
#define VREC_ITEM_STRLIST_(A) nullptr
#define VREC_FIELD_(T, F, K, A) \
  FieldDesc{#F, FieldKind::K, offsetof(rpc_port_##T##_s, F), VREC_ITEM_##K##_(A)},
#define VREC_FIELDS_(T) constexpr FieldDesc kFields_##T[] = {RPC_PORT_FIELDS_##T(VREC_FIELD_)};
RPC_PORT_RECORDS(VREC_FIELDS_)
RPC_PORT_LISTS(VREC_FIELDS_)
#undef VREC_FIELDS_
#undef VREC_FIELD_

}  // namespace

#define VREC_DESC_(T)                                                 \
  constinit const RecordDesc kDesc_##T = {#T,                         \
                                          sizeof(rpc_port_##T##_s),   \
                                          kFields_##T,                \
                                          std::size(kFields_##T),     \
                                          {__##T##_to, __##T##_from}, \
                                          "rpc_port_" #T "_create",   \
                                          "rpc_port_" #T "_destroy",  \
                                          "rpc_port_" #T "_clone",    \
                                          "__" #T "_from"};
RPC_PORT_RECORDS(VREC_DESC_)
RPC_PORT_LISTS(VREC_DESC_)
#undef VREC_DESC_

namespace {
#define VREC_DESC_PTR_(T) &kDesc_##T,
constexpr const RecordDesc *kAllTypes[] = {RPC_PORT_RECORDS(VREC_DESC_PTR_)
                                               RPC_PORT_LISTS(VREC_DESC_PTR_)};
#undef VREC_DESC_PTR_
}  // namespace

std::span<const RecordDesc *const> all_types() { return kAllTypes; }

const RecordDesc *find_type(const char *name) {
  if (!name) return nullptr;
  for (const RecordDesc *d : kAllTypes)
    if (strcmp(d->name, name) == 0) return d;
  return nullptr;
}

}  // namespace va::rec
