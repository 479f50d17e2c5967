// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the profile data model: the category table, item records, profile and
// list records, and their release.
//
// Everything here is generated from the category table and the field lists of profile_record.h:
// adding a field to a category is one word there.
#include <cstddef>
#include <cstdlib>
#include <iterator>

#include "profile_record.h"
#include "va_alloc.h"

namespace {

// Item ids: 0x100 + 0x10 per category up to category 9, then 0x200 again from category 10 on (the
// category number read as two decimal digits in the second and third hexadecimal places).
constexpr int item_base(int category) {
  return category < 10 ? 0x100 + 0x10 * category : 0x200 + 0x10 * (category - 10);
}

template <typename T>
constexpr bool kHasSource = requires(T t) {
  t.source;
};

template <typename T>
constexpr size_t source_offset() {
  if constexpr (kHasSource<T>)
    return offsetof(T, source);
  else
    return 0;
}

// Per category: the offsets and member names of the item's string fields.
#define VA_FIELD_OFFSET(m, word, match, nidl) offsetof(Item, m),
#define VA_FIELD_NAME(m, word, match, nidl) #m,
#define VA_FIELD_WORD(m, word, match, nidl) word,
#define VA_FIELD_MATCH(m, word, match, nidl) match,
#define VA_FIELD_NIDL(m, word, match, nidl) #nidl,
#define VA_DEFINE_FIELDS(value, CONST, member, type, ...)                             \
  namespace cat_##CONST {                                                             \
    using Item = type;                                                                \
    constexpr size_t kOffsets[] = {VA_PROFILE_##CONST##_FIELDS(VA_FIELD_OFFSET)};     \
    constexpr const char *kNames[] = {VA_PROFILE_##CONST##_FIELDS(VA_FIELD_NAME)};    \
    constexpr const char *kWords[] = {VA_PROFILE_##CONST##_FIELDS(VA_FIELD_WORD)};    \
    constexpr const char *kMatches[] = {VA_PROFILE_##CONST##_FIELDS(VA_FIELD_MATCH)}; \
    constexpr const char *kNidl[] = {VA_PROFILE_##CONST##_FIELDS(VA_FIELD_NIDL)};     \
  }
VA_PROFILE_CATEGORIES(VA_DEFINE_FIELDS)
#undef VA_DEFINE_FIELDS

#define VA_DESCRIBE(value, CONST, member, type, log_word, resource, is_list, limit, source, \
                    copy_line, privacy_only_line, nidl)                                     \
  {value,                                                                                   \
   #member,                                                                                 \
   log_word,                                                                                \
   resource,                                                                                \
   is_list,                                                                                 \
   limit,                                                                                   \
   source,                                                                                  \
   copy_line,                                                                               \
   privacy_only_line,                                                                       \
   item_base(value),                                                                        \
   static_cast<int>(std::size(cat_##CONST::kOffsets)),                                      \
   cat_##CONST::kOffsets,                                                                   \
   cat_##CONST::kNames,                                                                     \
   cat_##CONST::kWords,                                                                     \
   cat_##CONST::kMatches,                                                                   \
   #nidl,                                                                                   \
   cat_##CONST::kNidl,                                                                      \
   kHasSource<type>,                                                                        \
   source_offset<type>(),                                                                   \
   sizeof(type)},
constexpr va_profile_category_desc kCategories[] = {VA_PROFILE_CATEGORIES(VA_DESCRIBE)};
#undef VA_DESCRIBE
static_assert(std::size(kCategories) == VA_PROFILE_CATEGORY_COUNT);

// The table agrees with the public constants: category values, and each category's last string id
// (VERIFIED) and source id.
#define VA_CHECK(value, CONST, member, type, log_word, resource, is_list, limit, source, ...) \
  static_assert((source == VA_PROFILE_SOURCE_STORED) == kHasSource<type>);                    \
  static_assert(VELMORA_ACCOUNT_PROFILE_CATEGORY_##CONST == value);                           \
  static_assert(VELMORA_ACCOUNT_PROFILE_ITEM_##CONST##_VERIFIED ==                            \
                item_base(value) + std::size(cat_##CONST::kOffsets) - 1);                     \
  static_assert(VELMORA_ACCOUNT_PROFILE_ITEM_##CONST##_SOURCE ==                              \
                item_base(value) + std::size(cat_##CONST::kOffsets));
VA_PROFILE_CATEGORIES(VA_CHECK)
#undef VA_CHECK

// Slot helpers: a single category's slot is an item pointer, a list category's slot an array.
template <typename T>
void *slot_get(T *single, int index, int) {
  return index == 0 ? single : nullptr;
}
template <typename T>
void *slot_get(T **array, int index, int limit) {
  return array && index >= 0 && index < limit ? array[index] : nullptr;
}

template <typename T>
bool slot_set(T *&single, int index, int, void *item) {
  if (index != 0) return false;
  single = static_cast<T *>(item);
  return true;
}
template <typename T>
bool slot_set(T **&array, int index, int limit, void *item) {
  if (!array || index < 0 || index >= limit) return false;
  array[index] = static_cast<T *>(item);
  return true;
}

template <typename T>
bool slot_alloc(T *&single, int category, int) {
  single = static_cast<T *>(va_profile_item_new(category));
  return single != nullptr;
}
template <typename T>
bool slot_alloc(T **&array, int, int limit) {
  array = static_cast<T **>(va_calloc(static_cast<size_t>(limit), sizeof(T *)));
  return array != nullptr;
}

template <typename T>
void slot_release(T *single, int category, int) {
  va_profile_item_free(category, single);
}
template <typename T>
void slot_release(T **array, int category, int limit) {
  if (!array) return;
  for (int i = 0; i < limit; ++i) va_profile_item_free(category, array[i]);
  free(array);
}

}  // namespace

extern "C" {

const va_profile_category_desc *va_profile_category(int category) {
  if (category < 0 || category >= VA_PROFILE_CATEGORY_COUNT) return nullptr;
  return &kCategories[category];
}

bool va_profile_item_id_decode(int item_id, int *category, int *position) {
  int cat;
  if (item_id >= item_base(0) && item_id < item_base(9) + 0x10)
    cat = (item_id - item_base(0)) >> 4;
  else if (item_id >= item_base(10) && item_id < item_base(VA_PROFILE_CATEGORY_COUNT - 1) + 0x10)
    cat = 10 + ((item_id - item_base(10)) >> 4);
  else
    return false;
  const int pos = (item_id - item_base(cat)) & 0xF;
  if (pos > kCategories[cat].string_count) return false;  // string_count itself is the source id
  if (category) *category = cat;
  if (position) *position = pos;
  return true;
}

void *va_profile_item_new(int category) {
  const va_profile_category_desc *desc = va_profile_category(category);
  if (!desc) return nullptr;
  void *item = va_calloc(1, desc->item_size);
  if (item && desc->has_source) *va_profile_item_source(item, category) = VA_PROFILE_SOURCE_UNSET;
  return item;
}

void va_profile_item_free(int category, void *item) {
  const va_profile_category_desc *desc = va_profile_category(category);
  if (!desc || !item) return;
  for (int i = 0; i < desc->string_count; ++i) free(*va_profile_item_str(item, category, i));
  free(item);
}

char **va_profile_item_str(void *item, int category, int position) {
  const va_profile_category_desc *desc = va_profile_category(category);
  if (!desc || !item || position < 0 || position >= desc->string_count) return nullptr;
  return reinterpret_cast<char **>(static_cast<char *>(item) + desc->string_offsets[position]);
}

int *va_profile_item_source(void *item, int category) {
  const va_profile_category_desc *desc = va_profile_category(category);
  if (!desc || !item || !desc->has_source) return nullptr;
  return reinterpret_cast<int *>(static_cast<char *>(item) + desc->source_offset);
}

void *va_profile_get_item(const velmora_account_profile_s *profile, int category) {
  if (!profile) return nullptr;
  switch (category) {
#define VA_GET(value, CONST, member, ...) \
  case value:                             \
    return profile->member;
    VA_PROFILE_CATEGORIES(VA_GET)
#undef VA_GET
  }
  return nullptr;
}

bool va_profile_set_item(velmora_account_profile_s *profile, int category, void *item) {
  if (!profile) return false;
  switch (category) {
#define VA_SET(value, CONST, member, type, ...)  \
  case value:                                    \
    profile->member = static_cast<type *>(item); \
    return true;
    VA_PROFILE_CATEGORIES(VA_SET)
#undef VA_SET
  }
  return false;
}

velmora_account_profile_list_s *va_profile_list_new(void) {
  auto *list = static_cast<velmora_account_profile_list_s *>(
      va_calloc(1, sizeof(velmora_account_profile_list_s)));
  if (!list) return nullptr;
  for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
    list->reserved[c] = VA_PROFILE_RESERVED_INITIAL;
    list->privacy[c] = VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN;
  }
  bool ok = true;
#define VA_ALLOC(value, CONST, member, type, log_word, resource, is_list, limit, ...) \
  ok = slot_alloc(list->l_##member, value, limit) && ok;
  VA_PROFILE_CATEGORIES(VA_ALLOC)
#undef VA_ALLOC
  if (!ok) {
    va_profile_list_release(list);
    return nullptr;
  }
  return list;
}

void va_profile_list_release(velmora_account_profile_list_s *list) {
  if (!list) return;
#define VA_RELEASE(value, CONST, member, type, log_word, resource, is_list, limit, ...) \
  slot_release(list->l_##member, value, limit);
  VA_PROFILE_CATEGORIES(VA_RELEASE)
#undef VA_RELEASE
  free(list->cb);  // the view only: the items it may still point at were released above
  free(list);
}

void *va_profile_list_get_item(const velmora_account_profile_list_s *list, int category,
                               int index) {
  if (!list) return nullptr;
  switch (category) {
#define VA_LIST_GET(value, CONST, member, type, log_word, resource, is_list, limit, ...) \
  case value:                                                                            \
    return slot_get(list->l_##member, index, limit);
    VA_PROFILE_CATEGORIES(VA_LIST_GET)
#undef VA_LIST_GET
  }
  return nullptr;
}

void *va_profile_list_item_at(velmora_account_profile_list_s *list, int category, int index,
                              bool *existed) {
  void *item = va_profile_list_get_item(list, category, index);
  if (existed) *existed = item != nullptr;
  if (item) return item;
  const va_profile_category_desc *desc = va_profile_category(category);
  if (!desc || !list || index < 0 || index >= desc->limit) return nullptr;
  if (desc->is_list && !va_profile_list_slot(list, category)) return nullptr;
  item = va_profile_item_new(category);
  if (item && !va_profile_list_set_item(list, category, index, item)) {
    va_profile_item_free(category, item);
    item = nullptr;
  }
  return item;
}

void *va_profile_list_slot(const velmora_account_profile_list_s *list, int category) {
  if (!list) return nullptr;
  switch (category) {
#define VA_LIST_SLOT(value, CONST, member, ...) \
  case value:                                   \
    return list->l_##member;
    VA_PROFILE_CATEGORIES(VA_LIST_SLOT)
#undef VA_LIST_SLOT
  }
  return nullptr;
}

bool va_profile_list_set_item(velmora_account_profile_list_s *list, int category, int index,
                              void *item) {
  if (!list) return false;
  switch (category) {
#define VA_LIST_SET(value, CONST, member, type, log_word, resource, is_list, limit, ...) \
  case value:                                                                            \
    return slot_set(list->l_##member, index, limit, item);
    VA_PROFILE_CATEGORIES(VA_LIST_SET)
#undef VA_LIST_SET
  }
  return false;
}

}  // extern "C"
