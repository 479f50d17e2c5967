// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the profile as app-control reply keys, parsed into a profile list.
//
//   "names", "phoneNumbers", ...           privacy of the category (decimal)
//   "names_count", ...                     number of items of the category (decimal)
//   "nicknames:value"                      a field of a single category's item
//   "names_2:givenName"                    a field of item 2 (1-based) of a list category
//   "names_1:metadata:source:type"         the source of a NAME or BIRTHDAY item ("ACCOUNT" or not)
//   "error_domain", "error_code", "error_msg"   the error report: not the parser's
//
// Everything arriving here comes from the other side: counts and item numbers beyond a category's
// slots are refused (logged and skipped), so that no later walk reads past them.
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "profile_internal.h"
#include "profile_record.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_log.h"

namespace {

// Categories of numbered keys, found by these words in the key, tested in this order.
constexpr struct {
  const char *word;
  int category;
} kNumberedWords[] = {
    {"names", VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME},
    {"birthdays", VELMORA_ACCOUNT_PROFILE_CATEGORY_BIRTHDAY},
    {"messenger", VELMORA_ACCOUNT_PROFILE_CATEGORY_MESSENGER},
    {"phoneNumber", VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE},
    {"email", VELMORA_ACCOUNT_PROFILE_CATEGORY_EMAIL},
    {"web", VELMORA_ACCOUNT_PROFILE_CATEGORY_WEB},
    {"events", VELMORA_ACCOUNT_PROFILE_CATEGORY_EVENT},
};

bool is_error_key(std::string_view key) {
  return key == "error_domain" || key == "error_code" || key == "error_msg";
}

// A whole decimal int (sign allowed); false for anything else.
bool parse_int(std::string_view text, int *out) {
  if (text.empty() || text.size() > 11) return false;
  char buf[12];
  memcpy(buf, text.data(), text.size());
  buf[text.size()] = '\0';
  char *end = nullptr;
  errno = 0;
  const long v = strtol(buf, &end, 10);
  if (errno != 0 || *end != '\0' || end == buf || v < INT_MIN || v > INT_MAX) return false;
  *out = static_cast<int>(v);
  return true;
}

// The category whose resource word, with `suffix` after it, is exactly `word`; -1 when none.
int category_named(std::string_view word, std::string_view suffix) {
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
    const std::string_view resource = va_profile_category(c)->resource;
    if (word.size() == resource.size() + suffix.size() &&
        word.substr(0, resource.size()) == resource && word.substr(resource.size()) == suffix)
      return c;
  }
  return -1;
}

constexpr int kSourceField = -2;  // the match is the item's source
constexpr int kNoField = -1;

// The field a key names: its category's words searched for in the whole key, in field order. A
// source key is told apart first where one of the words is part of "source:type" ("type"), last
// otherwise.
int field_of(std::string_view key, const va_profile_category_desc *d) {
  bool source_first = false;
  for (int f = 0; f < d->string_count; ++f)
    if (std::string_view(VA_PROFILE_SOURCE_MATCH).find(d->match_words[f]) != std::string_view::npos)
      source_first = true;
  const bool is_source = key.find(VA_PROFILE_SOURCE_MATCH) != std::string_view::npos;
  if (source_first && is_source) return kSourceField;
  for (int f = 0; f < d->string_count; ++f)
    if (key.find(d->match_words[f]) != std::string_view::npos) return f;
  return is_source ? kSourceField : kNoField;
}

void parse_plain_key(velmora_account_profile_list_h list, const char *key, const char *value) {
  const std::string_view k(key);
  if (is_error_key(k)) return;
  const std::string_view v = value ? value : "";
  int n = 0;
  if (k.find('_') != std::string_view::npos) {
    const int c = category_named(k, "_count");
    const va_profile_category_desc *d = va_profile_category(c);
    if (list != NULL && d != NULL && parse_int(v, &n) && n >= 0 && n <= d->limit)
      list->count[c] = n;
    else
      VA_LOGI("- Invalid, Key[%s], Value[%s]", key, value ? value : "");
    VA_LOGI("Count, Key[%s], Value[%s]", key, value ? value : "");
    return;
  }
  const int c = category_named(k, "");
  if (list != NULL && c >= 0 && parse_int(v, &n)) {
    list->privacy[c] = n;
    return;
  }
  VA_LOGI("- Key[%s], Value[%s]", key, value ? value : "");
}

}  // namespace

extern "C" {

int va_profile_parse_extra(velmora_account_profile_list_h list, const char *key,
                           const char *value) {
  if (key == NULL) return VELMORA_ACCOUNT_ERROR_NONE;
  const std::string_view k(key);
  const size_t colon = k.find(':');
  if (colon == std::string_view::npos) {
    parse_plain_key(list, key, value);
    return VELMORA_ACCOUNT_ERROR_NONE;
  }
  if (list == NULL) {
    VA_LOGE("(list == NULL)");
    return VELMORA_ACCOUNT_ERROR_NONE;
  }
  if (value == NULL) {
    VA_LOGE("(value == NULL)");
    return VELMORA_ACCOUNT_ERROR_NONE;
  }

  const std::string_view head = k.substr(0, colon);
  const size_t underscore = head.find('_');
  int category = -1;
  int number = 1;  // a list category's key without a number names its first item
  if (underscore != std::string_view::npos) {
    for (const auto &w : kNumberedWords) {
      if (k.find(w.word) != std::string_view::npos) {
        category = w.category;
        break;
      }
    }
    if (!parse_int(head.substr(underscore + 1), &number)) category = -1;
  } else {
    category = category_named(head, "");
  }
  const va_profile_category_desc *d = va_profile_category(category);
  const int field = d ? field_of(k, d) : kNoField;
  if (d == NULL || number < 1 || number > d->limit || field == kNoField ||
      (field == kSourceField && !d->has_source)) {
    VA_LOGI("- Invalid, Key[%s], Value[%s]", key, value);
    return VELMORA_ACCOUNT_ERROR_NONE;
  }

  void *item = va_profile_list_item_at(list, category, number - 1, NULL);
  if (item == NULL) {
    VA_LOGE("OUT_OF_MEMORY, calloc failed.");
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  // The count covers the item, as a "_count" key would say (a single category's too).
  if (list->count[category] < number) list->count[category] = number;
  if (field == kSourceField) {
    VA_LOGI("- source:type [%s]", value);
    *va_profile_item_source(item, category) = strcmp(value, "ACCOUNT") == 0
                                                  ? VELMORA_ACCOUNT_PROFILE_SOURCE_ACCOUNT
                                                  : VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE;
    return VELMORA_ACCOUNT_ERROR_NONE;
  }
  char *copy = va_strdup(value);
  if (copy == NULL) {
    VA_LOGE("OUT_OF_MEMORY, calloc failed.");
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  char **dest = va_profile_item_str(item, category, field);
  free(*dest);
  *dest = copy;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

bool va_profile_fill_extra_cb(app_control_h app_control, const char *key, void *user_data) {
  auto *fill = static_cast<va_profile_fill_s *>(user_data);
  if (key == NULL) {
    VA_LOGE("Error. key is null");
    return true;
  }
  char *value = NULL;
  const int err = app_control_get_extra_data(app_control, key, &value);
  if (err != APP_CONTROL_ERROR_NONE) {
    VA_LOGI("foreach_extra_profile_cb failed.%s [key : %s]", va_app_control_error_name(err), key);
    if (err == APP_CONTROL_ERROR_OUT_OF_MEMORY) fill->out_of_memory = true;
    return true;
  }
  VA_LOGI("Key[%s]", key);
  if (va_profile_parse_extra(fill->list, key, value) == VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY)
    fill->out_of_memory = true;
  free(value);
  return true;
}

bool va_profile_foreach_extra_cb(app_control_h app_control, const char *key, void *user_data) {
  va_profile_fill_s fill = {static_cast<velmora_account_profile_list_h>(user_data), false};
  return va_profile_fill_extra_cb(app_control, key, &fill);
}

}  // extern "C"
