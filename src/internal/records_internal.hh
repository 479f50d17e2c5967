// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the AccountSvc records and lists inside the library.
//
// The layouts of every record and list (expanded from account_svc_records.def.h), their
// descriptors, and the few generic entry points that the proxy, the tests, the fuzzers and the
// benchmarks need. Each record begins with its parcelable pair, so
// rpc_port_parcel_write(parcel, va::rec::parcelable_of(h), h) writes any record, list or delegate.
#pragma once

#include <glib.h>

#include <cstddef>
#include <span>

#include "account_svc_proxy.h"
#include "account_svc_records.def.h"
#include "rpc_port_parcel.h"

// ---- layouts: the parcelable pair, then the fields in declaration order ----
#define VREC_MEMBER_(T, F, K, A) VREC_MEMBER_##K##_(F, A)
#define VREC_MEMBER_STRING_(F, A) char *F;
#define VREC_MEMBER_INT_(F, A) int F;
#define VREC_MEMBER_LLONG_(F, A) long long F;
#define VREC_MEMBER_DOUBLE_(F, A) double F;
#define VREC_MEMBER_RECORD_(F, A) rpc_port_##A##_h F;
#define VREC_MEMBER_LIST_(F, A) GList *F;
#define VREC_MEMBER_STRLIST_(F, A) GList *F;
#define VREC_STRUCT_(T)               \
  struct rpc_port_##T##_s {           \
    rpc_port_parcelable_t parcelable; \
    RPC_PORT_FIELDS_##T(VREC_MEMBER_) \
  };
RPC_PORT_RECORDS(VREC_STRUCT_)
RPC_PORT_LISTS(VREC_STRUCT_)
#undef VREC_STRUCT_

namespace va::rec {

enum class FieldKind { STRING, INT, LLONG, DOUBLE, RECORD, LIST, STRLIST };

struct RecordDesc;

struct FieldDesc {
  const char *name;  // "AccessToken"
  FieldKind kind;
  size_t offset;           // of the member in the record
  const RecordDesc *item;  // RECORD: the nested type; LIST: the item type; else nullptr
};

struct RecordDesc {
  const char *name;  // "AccountS", "list_NameS"
  size_t size;
  const FieldDesc *fields;
  size_t field_count;
  rpc_port_parcelable_t parcelable;  // the type's write and read functions
  // The exported functions of the type, named in the log lines of nested calls.
  const char *fn_create;
  const char *fn_destroy;
  const char *fn_clone;
  const char *fn_read;  // the type's read function ("__AccountS_from")

  std::span<const FieldDesc> field_span() const { return {fields, field_count}; }
};

// One descriptor per type: va::rec::kDesc_AccountS, va::rec::kDesc_list_string, ...
#define VREC_DECLARE_DESC_(T) extern const RecordDesc kDesc_##T;
RPC_PORT_RECORDS(VREC_DECLARE_DESC_)
RPC_PORT_LISTS(VREC_DECLARE_DESC_)
#undef VREC_DECLARE_DESC_

// Every type: the nineteen records, then the nine lists, in table order.
std::span<const RecordDesc *const> all_types();
// The type named `name` ("AccountS", "list_string"), or nullptr.
const RecordDesc *find_type(const char *name);

// The parcelable pair heading any record, list or delegate (nullptr for nullptr).
inline rpc_port_parcelable_t *parcelable_of(void *h) {
  return static_cast<rpc_port_parcelable_t *>(h);
}

// Generic forms of the exported family; `func` is the name the log lines carry.
// A new zeroed record of type d, or nullptr (logged "Out of memory") when allocation fails.
void *create(const RecordDesc &d, const char *func);
// Frees h and everything it owns; nullptr is ignored.
void destroy(const RecordDesc &d, void *h);
// Deep copy of h (not nullptr), or nullptr after logging why.
void *clone(const RecordDesc &d, const void *h, const char *func);

// How reading a record from a parcel went. The first failure decides: kOutOfMemory when a record,
// a list item or a string could not be allocated, kMalformed when the parcel ran short or refused
// a value (a list count its bytes cannot back). Either way the record holds what was read before
// and whatever the failed reads left; it is not the record that was sent.
enum class ReadStatus { kWhole, kOutOfMemory, kMalformed };

// What the result of a primitive parcel read (rpc_port_parcel_read_string, _int32, ...) says
// about the value being read.
inline ReadStatus status_of(int read_result) {
  if (read_result == RPC_PORT_ERROR_NONE) return ReadStatus::kWhole;
  return read_result == RPC_PORT_ERROR_OUT_OF_MEMORY ? ReadStatus::kOutOfMemory
                                                     : ReadStatus::kMalformed;
}

// Reads a record of type d from `parcel` into h (made by create()) exactly as the type's read
// function does (rpc_port_parcel_read), and tells whether it came whole.
ReadStatus decode(const RecordDesc &d, rpc_port_parcel_h parcel, void *h);

// True when h, or any record below it, holds a NULL list item. Such a record does not encode to
// a stream that decodes back to it: the item is counted but not written.
bool has_null_items(const RecordDesc &d, const void *h);

}  // namespace va::rec
