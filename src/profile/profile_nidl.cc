// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: profile lists to and from the port's records: the reader of a
// ResponseProfileCb's ProfileS, and the ProfileS and PrivacyS an update sends.
#include <cstdlib>
#include <cstring>

#include "profile_internal.h"
#include "profile_record.h"
#include "records_internal.hh"
#include "va_alloc.h"
#include "va_log.h"

namespace {

// The reader's lines carry the name it has always logged under.
constexpr const char *kReader = "GetProfileListFromNidl";

constexpr const char *kSourceAccount = "ACCOUNT";
constexpr const char *kSourceProfile = "PROFILE";

// Copies the non-empty strings of a port item record into a list item record.
bool read_item(const va_profile_category_desc *d, void *from, void *to) {
  const int c = d->category;
  for (int f = 0; f < d->string_count; ++f) {
    const char *value = *va_profile_nidl_field(from, c, f);
    if (value == NULL || value[0] == '\0') continue;
    char *copy = va_strdup(value);
    if (copy == NULL) return false;
    char **dest = va_profile_item_str(to, c, f);
    free(*dest);
    *dest = copy;
  }
  if (d->has_source)
    *va_profile_item_source(to, c) =
        va_profile_source_from_text(*va_profile_nidl_field(from, c, d->string_count));
  return true;
}

// Copies the non-NULL strings of a list item record into a port item record, "verified" left out
// (the agent's to fill), the source as its word.
bool write_item(const va_profile_category_desc *d, void *from, void *to) {
  const int c = d->category;
  for (int f = 0; f + 1 < d->string_count; ++f) {
    const char *value = *va_profile_item_str(from, c, f);
    if (value == NULL) continue;
    char *copy = va_strdup(value);
    if (copy == NULL) return false;
    *va_profile_nidl_field(to, c, f) = copy;
  }
  const char *source =
      d->has_source ? va_profile_source_text(*va_profile_item_source(from, c)) : NULL;
  if (source != NULL) {
    char *copy = va_strdup(source);
    if (copy == NULL) return false;
    *va_profile_nidl_field(to, c, d->string_count) = copy;
  }
  return true;
}

// The readers of one category return false when an item could not be made or copied for lack of
// memory.
bool read_list_category(velmora_account_profile_list_h list, rpc_port_ProfileS_h profile,
                        const va_profile_category_desc *d) {
  const int c = d->category;
  if (va_profile_list_slot(list, c) == NULL) {
    VA_LOG_AS(DLOG_ERROR, kReader, "(list->l_%s == NULL)", d->member);
    return false;
  }
  GList *items = *va_profile_nidl_list(profile, c);
  // The list has `limit` slots; a longer reply is read as far as they go.
  int length = static_cast<int>(g_list_length(items));
  if (length > d->limit) length = d->limit;
  list->count[c] = length;
  int i = 0;
  for (GList *l = items; l != NULL && i < length; l = l->next, ++i) {
    if (l->data == NULL) continue;
    void *to = va_profile_list_item_at(list, c, i, NULL);
    if (to == NULL || !read_item(d, l->data, to)) {
      VA_LOG_AS(DLOG_ERROR, kReader, "(list->l_%s[i] == NULL)", d->member);
      return false;
    }
  }
  return true;
}

bool read_single_category(velmora_account_profile_list_h list, rpc_port_ProfileS_h profile,
                          const va_profile_category_desc *d) {
  const int c = d->category;
  void *from = *va_profile_nidl_single(profile, c);
  if (from == NULL) return true;
  void *to = va_profile_list_item_at(list, c, 0, NULL);
  if (to == NULL) {
    VA_LOG_AS(DLOG_ERROR, kReader, "(data->l_%s == NULL)", d->member);
    return false;
  }
  if (!read_item(d, from, to)) return false;
  list->count[c] = 1;
  return true;
}

}  // namespace

extern "C" {

int va_profile_source_from_text(const char *text) {
  if (text == NULL || text[0] == '\0') return VA_PROFILE_SOURCE_UNSET;
  return strcmp(text, kSourceAccount) == 0 ? VELMORA_ACCOUNT_PROFILE_SOURCE_ACCOUNT
                                           : VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE;
}

const char *va_profile_source_text(int source) {
  switch (source) {
    case VELMORA_ACCOUNT_PROFILE_SOURCE_ACCOUNT:
      return kSourceAccount;
    case VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE:
      return kSourceProfile;
    default:
      return NULL;
  }
}

int va_profile_update_category(velmora_account_profile_list_h list) {
  // Single categories first, then the lists, each in category order.
  for (int pass = 0; pass < 2; ++pass)
    for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c)
      if (va_profile_category(c)->is_list == (pass == 1) && list->count[c] >= 1) return c;
  return -1;
}

int va_profile_list_from_nidl(velmora_account_profile_list_h list, rpc_port_ProfileS_h profile) {
  if (list == NULL || profile == NULL) return VELMORA_ACCOUNT_ERROR_NONE;
  bool complete = true;
  for (int pass = 0; pass < 2; ++pass) {
    for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
      const va_profile_category_desc *d = va_profile_category(c);
      if (pass == 0 && d->is_list && !read_list_category(list, profile, d)) complete = false;
      if (pass == 1 && !d->is_list && !read_single_category(list, profile, d)) complete = false;
    }
  }
  rpc_port_PrivacyS_h privacy = *va_profile_nidl_privacy_of(profile);
  if (privacy != NULL)
    for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c)
      list->privacy[c] = *va_profile_nidl_privacy(privacy, c);
  return complete ? VELMORA_ACCOUNT_ERROR_NONE : VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
}

rpc_port_PrivacyS_h va_profile_nidl_privacy_from_list(velmora_account_profile_list_h list) {
  rpc_port_PrivacyS_h privacy = NULL;
  if (rpc_port_PrivacyS_create(&privacy) != 0) return NULL;
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c)
    *va_profile_nidl_privacy(privacy, c) = list->privacy[c];
  return privacy;
}

rpc_port_ProfileS_h va_profile_nidl_from_list(velmora_account_profile_list_h list, int category) {
  const va_profile_category_desc *d = va_profile_category(category);
  rpc_port_ProfileS_h profile = NULL;
  if (list == NULL || rpc_port_ProfileS_create(&profile) != 0) return NULL;
  // Without a category (a list holding no item) the record carries the privacy alone.
  bool ok = rpc_port_ProfileS_set_Type(profile, "profile") == 0 &&
            (d == NULL || rpc_port_ProfileS_set_Resource(profile, d->resource) == 0);
  const int count = d == NULL    ? 0
                    : d->is_list ? list->count[category]
                                 : (list->count[category] >= 1 ? 1 : 0);
  for (int i = 0; ok && i < count && i < d->limit; ++i) {  // count is 0 without a category
    void *from = va_profile_list_get_item(list, category, i);
    void *to = va_profile_nidl_item_new(category);
    ok = to != NULL && (from == NULL || write_item(d, from, to));
    if (to == NULL) break;
    if (d->is_list) {
      GList **items = va_profile_nidl_list(profile, category);
      *items = g_list_append(*items, to);
    } else {
      *va_profile_nidl_single(profile, category) = to;
    }
  }
  rpc_port_PrivacyS_h privacy = ok ? va_profile_nidl_privacy_from_list(list) : NULL;
  if (privacy == NULL) {
    rpc_port_ProfileS_destroy(profile);
    return NULL;
  }
  *va_profile_nidl_privacy_of(profile) = privacy;
  return profile;
}

}  // extern "C"
