// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the operations on list fields, shared by the list fields of ProfileS and
// PlaceInfoS and by the nine stand-alone list types (each a record with one list field).
#include <cstdlib>
#include <cstring>

#include "record_ops.hh"
#include "va_alloc.h"

namespace va::rec {

namespace {

void *clone_item(const FieldDesc &f, const void *item) {
  if (f.kind == FieldKind::STRLIST) return va_strdup(static_cast<const char *>(item));
  return clone(*f.item, item, f.item->fn_clone);
}

}  // namespace

void destroy_item(const FieldDesc &f, void *item) {
  if (!item) return;
  if (f.kind == FieldKind::STRLIST)
    free(item);
  else
    destroy(*f.item, item);
}

void destroy_items(const FieldDesc &f, GList *list) {
  for (GList *l = list; l; l = l->next) destroy_item(f, l->data);
  g_list_free(list);
}

void append_item(GList **head, GList **last, void *item) {
  // g_list_append walks from the node it is given: from the last node that walk is one step.
  GList *node = g_list_append(*last, item);
  if (!*head) *head = node;
  *last = *last ? (*last)->next : node;
}

bool clone_items(const FieldDesc &f, const GList *src, GList **dst, const char *func) {
  GList *last = g_list_last(*dst);
  for (const GList *l = src; l; l = l->next) {
    if (!l->data) {
      RPC_LOG_AT(DLOG_ERROR, func, "Error: value is NULL");
      return false;
    }
    void *copy = clone_item(f, l->data);
    if (!copy) {
      RPC_LOG_AT(DLOG_ERROR, func, "Failed to duplicate value");
      return false;
    }
    append_item(dst, &last, copy);
  }
  return true;
}

int list_add(const FieldDesc &f, void *h, const void *value, const char *func) {
  if (!h || !value) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  void *copy = clone_item(f, value);
  if (!copy) {
    RPC_LOG_AT(DLOG_ERROR, func, "Out of memory");
    return -1;
  }
  GList *&list = member<GList *>(h, f);
  list = g_list_append(list, copy);
  return 0;
}

int list_remove(const FieldDesc &f, void *h, unsigned int nth, const char *func) {
  if (!h) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  GList *&list = member<GList *>(h, f);
  GList *link = g_list_nth(list, nth);
  if (!link) return -1;
  void *item = link->data;
  list = g_list_remove_link(list, link);
  g_list_free(link);
  destroy_item(f, item);
  return 0;
}

int list_length(const FieldDesc &f, const void *h, unsigned int *length, const char *func) {
  if (!h || !length) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return -1;
  }
  *length = g_list_length(member<GList *>(h, f));
  return 0;
}

}  // namespace va::rec
