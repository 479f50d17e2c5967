// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the extras of a profile update in APP_CONTROL mode.
//
// One category is sent, the first the list holds (va_profile_update_category): "resource" names
// it, and each item's fields travel as "<resource><suffix>:<word>" with the item's source as
// "<resource><suffix>:metadata:source:type". "verified" fields are never sent.
#include <algorithm>
#include <cstdio>
#include <string>

#include "profile_internal.h"
#include "profile_record.h"
#include "va_base.h"
#include "va_log.h"

namespace {

// The suffix of item i. It is made in a buffer of 3 bytes for items 1 to 9 and of 4 bytes from
// item 10 on, so the tenth item's "_10" comes out as "_1": the agent reads the number after the
// underscore, and the keys of all items stay distinct ("", "_2" .. "_9", "_1", "_11" ...). Kept.
std::string item_suffix(int i) {
  if (i == 0) return "";
  char buf[16];
  snprintf(buf, sizeof buf, "_%d", i + 1);
  std::string suffix = buf;
  suffix.resize(std::min<size_t>(suffix.size(), i < 10 ? 2 : 3));  // what the small buffer held
  return suffix;
}

int add(app_control_h app_control, const std::string &key, const char *value) {
  const int err = app_control_add_extra_data(app_control, key.c_str(), value);
  return err == APP_CONTROL_ERROR_NONE ? VELMORA_ACCOUNT_ERROR_NONE
                                       : VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
}

int add_item(app_control_h app_control, const va_profile_category_desc *d, void *item,
             const std::string &prefix) {
  const int c = d->category;
  for (int f = 0; f + 1 < d->string_count; ++f) {  // the last field, "verified", stays home
    const char *value = *va_profile_item_str(item, c, f);
    if (value == NULL) continue;
    int ret = add(app_control, prefix + d->wire_words[f], value);
    if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  }
  const char *source = d->has_source ? va_profile_source_text(*va_profile_item_source(item, c))
                                     : va_profile_source_text(d->source);
  if (source == NULL) return VELMORA_ACCOUNT_ERROR_NONE;  // NAME or BIRTHDAY source not set
  return add(app_control, prefix + VA_PROFILE_SOURCE_WORD, source);
}

}  // namespace

extern "C" {

int va_profile_add_update_body(app_control_h app_control, velmora_account_profile_list_h list_h) {
  VA_RETV_IF(app_control == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(list_h == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  const int category = va_profile_update_category(list_h);
  if (category < 0) return VELMORA_ACCOUNT_ERROR_NONE;  // nothing to send, not a key
  const va_profile_category_desc *d = va_profile_category(category);
  VA_LOGI("CreateBody %s", d->log_word);
  int ret = add(app_control, "resource", d->resource);
  const int count = d->is_list ? list_h->count[category] : 1;
  for (int i = 0; ret == VELMORA_ACCOUNT_ERROR_NONE && i < count && i < d->limit; ++i) {
    void *item = va_profile_list_get_item(list_h, category, i);
    if (item == NULL) continue;
    ret = add_item(app_control, d, item, d->resource + item_suffix(i) + ":");
  }
  return ret;
}

}  // extern "C"
