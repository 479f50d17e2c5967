// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the generic record operations behind the exported record families.
//
// Every exported rpc_port_<Type>_* function is a one-line wrapper (exports.cc) that calls one of
// these with its type's descriptor or field descriptor and its own name, which the log lines carry.
// Results and log texts are those of the exported functions.
#pragma once

#include <cstdlib>

#include "records_internal.hh"
#include "va_log.h"

namespace va::rec {

// The member that `f` describes inside record `h`.
template <typename T>
T &member(void *h, const FieldDesc &f) {
  return *reinterpret_cast<T *>(static_cast<char *>(h) + f.offset);
}
template <typename T>
const T &member(const void *h, const FieldDesc &f) {
  return *reinterpret_cast<const T *>(static_cast<const char *>(h) + f.offset);
}

// ---- records (record_ops.cc) ----
int create_out(const RecordDesc &d, void **out, const char *func);
int destroy_checked(const RecordDesc &d, void *h, const char *func);
int clone_out(const RecordDesc &d, const void *h, void **out, const char *func);

int set_string(const FieldDesc &f, void *h, const char *value, const char *func);
int get_string(const FieldDesc &f, const void *h, char **value, const char *func);
int set_record(const FieldDesc &f, void *h, const void *value, const char *func);
int get_record(const FieldDesc &f, const void *h, void **value, const char *func);

template <typename T>
int set_scalar(const FieldDesc &f, void *h, T value, const char *func) {
  if (!h) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  member<T>(h, f) = value;
  return 0;
}

template <typename T>
int get_scalar(const FieldDesc &f, const void *h, T *value, const char *func) {
  if (!h || !value) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  *value = member<T>(h, f);
  return 0;
}

// ---- list fields (list_ops.cc); a list item is a record handle (LIST) or a char * (STRLIST) ----
int list_add(const FieldDesc &f, void *h, const void *value, const char *func);
int list_remove(const FieldDesc &f, void *h, unsigned int nth, const char *func);
int list_length(const FieldDesc &f, const void *h, unsigned int *length, const char *func);

// Lends each non-NULL item to `callback` from the head until it returns false.
template <typename Item>
int list_foreach(const FieldDesc &f, void *h, bool (*callback)(Item, void *), void *user_data,
                 const char *func) {
  if (!h || !callback) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  for (GList *l = member<GList *>(h, f); l;) {
    GList *next = l->next;  // the callback may remove the item it is given
    if (!l->data) {
      RPC_LOG_AT(DLOG_WARN, func, "Warning: value is NULL");
    } else if (!callback(static_cast<Item>(l->data), user_data)) {
      break;
    }
    l = next;
  }
  return 0;
}

// Helpers shared by records, lists and encoding.
void destroy_item(const FieldDesc &f, void *item);
void destroy_items(const FieldDesc &f, GList *list);
// Appends clones of every item of `src` to `*dst`; false (logged) on a NULL item or failed clone.
bool clone_items(const FieldDesc &f, const GList *src, GList **dst, const char *func);
// Appends `item` to the list whose head is *head and last node *last (both may be nullptr), in
// constant time; *last must be the list's last node.
void append_item(GList **head, GList **last, void *item);

// ---- encoding (encoding.cc): the bodies of every type's write and read functions ----
void write(const RecordDesc &d, rpc_port_parcel_h parcel, void *h, const char *func);
// A read goes on after a failed primitive read, as the type's read function always has; what it
// returns tells whether the record came whole.
ReadStatus read(const RecordDesc &d, rpc_port_parcel_h parcel, void *h, const char *func);

}  // namespace va::rec
