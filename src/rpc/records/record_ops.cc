// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: create, destroy, clone and the string / nested-record accessors of every
// AccountSvc record and list, driven by the type descriptors.
#include "record_ops.hh"

#include <cstdlib>
#include <cstring>

#include "va_alloc.h"

namespace va::rec {

void *create(const RecordDesc &d, const char *func) {
  void *h = va_calloc(1, d.size);
  if (!h) {
    RPC_LOG_AT(DLOG_ERROR, func, "Out of memory");
    return nullptr;
  }
  *parcelable_of(h) = d.parcelable;
  return h;
}

void destroy(const RecordDesc &d, void *h) {
  if (!h) return;
  for (const FieldDesc &f : d.field_span()) {
    switch (f.kind) {
      case FieldKind::STRING:
        free(member<char *>(h, f));
        break;
      case FieldKind::RECORD:
        destroy(*f.item, member<void *>(h, f));
        break;
      case FieldKind::LIST:
      case FieldKind::STRLIST:
        destroy_items(f, member<GList *>(h, f));
        break;
      case FieldKind::INT:
      case FieldKind::LLONG:
      case FieldKind::DOUBLE:
        break;
    }
  }
  free(h);
}

void *clone(const RecordDesc &d, const void *h, const char *func) {
  void *copy = create(d, d.fn_create);
  if (!copy) {
    RPC_LOG_AT(DLOG_ERROR, func, "Failed to create %s handle", d.name);
    return nullptr;
  }
  for (const FieldDesc &f : d.field_span()) {
    switch (f.kind) {
      case FieldKind::STRING: {
        const char *value = member<char *>(h, f);
        if (!value) break;
        char *dup = va_strdup(value);
        if (!dup) {
          RPC_LOG_AT(DLOG_ERROR, func, "Failed to duplicate h->%s", f.name);
          destroy(d, copy);
          return nullptr;
        }
        member<char *>(copy, f) = dup;
        break;
      }
      case FieldKind::INT:
        member<int>(copy, f) = member<int>(h, f);
        break;
      case FieldKind::LLONG:
        member<long long>(copy, f) = member<long long>(h, f);
        break;
      case FieldKind::DOUBLE:
        member<double>(copy, f) = member<double>(h, f);
        break;
      case FieldKind::RECORD: {
        const void *value = member<void *>(h, f);
        if (!value) break;
        void *dup = clone(*f.item, value, f.item->fn_clone);
        if (!dup) {
          RPC_LOG_AT(DLOG_ERROR, func, "Failed to duplicate h->%s", f.name);
          destroy(d, copy);
          return nullptr;
        }
        member<void *>(copy, f) = dup;
        break;
      }
      case FieldKind::LIST:
      case FieldKind::STRLIST:
        if (!clone_items(f, member<GList *>(h, f), &member<GList *>(copy, f), func)) {
          destroy(d, copy);
          return nullptr;
        }
        break;
    }
  }
  return copy;
}

int create_out(const RecordDesc &d, void **out, const char *func) {
  if (!out) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  void *h = create(d, func);
  if (!h) return -1;
  *out = h;
  return 0;
}

int destroy_checked(const RecordDesc &d, void *h, const char *func) {
  if (!h) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  destroy(d, h);
  return 0;
}

int clone_out(const RecordDesc &d, const void *h, void **out, const char *func) {
  if (!h || !out) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  void *copy = clone(d, h, func);
  if (!copy) return -1;
  *out = copy;
  return 0;
}

// The copy is made before the old value goes, so that a value that aliases the field is safe; a
// failed copy still leaves the field NULL.
int set_string(const FieldDesc &f, void *h, const char *value, const char *func) {
  if (!h || !value) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  char *copy = va_strdup(value);
  char *&slot = member<char *>(h, f);
  free(slot);
  slot = copy;
  if (!copy) {
    RPC_LOG_AT(DLOG_ERROR, func, "Failed to duplicate data");
    return -1;
  }
  return 0;
}

int get_string(const FieldDesc &f, const void *h, char **value, const char *func) {
  if (!h || !value) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  const char *current = member<char *>(h, f);
  if (!current) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter: h->%s is NULL", f.name);
    return -1;
  }
  char *copy = va_strdup(current);
  if (!copy) {
    RPC_LOG_AT(DLOG_ERROR, func, "Failed to duplicate %s", f.name);
    return -1;
  }
  *value = copy;
  return 0;
}

int set_record(const FieldDesc &f, void *h, const void *value, const char *func) {
  if (!h || !value) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  void *copy = clone(*f.item, value, f.item->fn_clone);
  void *&slot = member<void *>(h, f);
  destroy(*f.item, slot);
  slot = copy;
  if (!copy) {
    RPC_LOG_AT(DLOG_ERROR, func, "Failed to duplicate data");
    return -1;
  }
  return 0;
}

int get_record(const FieldDesc &f, const void *h, void **value, const char *func) {
  if (!h || !value) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  const void *current = member<void *>(h, f);
  if (!current) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter: h->%s is NULL", f.name);
    return -1;
  }
  void *copy = clone(*f.item, current, f.item->fn_clone);
  if (!copy) {
    RPC_LOG_AT(DLOG_ERROR, func, "Failed to duplicate %s", f.name);
    return -1;
  }
  *value = copy;
  return 0;
}

bool has_null_items(const RecordDesc &d, const void *h) {
  if (!h) return false;
  for (const FieldDesc &f : d.field_span()) {
    switch (f.kind) {
      case FieldKind::RECORD:
        if (has_null_items(*f.item, member<void *>(h, f))) return true;
        break;
      case FieldKind::LIST:
      case FieldKind::STRLIST:
        for (const GList *l = member<GList *>(h, f); l; l = l->next) {
          if (!l->data) return true;
          if (f.kind == FieldKind::LIST && has_null_items(*f.item, l->data)) return true;
        }
        break;
      case FieldKind::STRING:
      case FieldKind::INT:
      case FieldKind::LLONG:
      case FieldKind::DOUBLE:
        break;
    }
  }
  return false;
}

}  // namespace va::rec
