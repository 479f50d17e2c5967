// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the property table of the account record and the property logic
// without the agent check.
//
// The rows come from VA_ACCOUNT_PROPERTIES (account_record.h); every property function, create,
// clone and destroy find their fields here by type and id.
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "account_record.h"
#include "va_alloc.h"
#include "va_log.h"
#include "velmora_account_error.h"

// One row of kProperties from one line of VA_ACCOUNT_PROPERTIES.
#define VA_PROPERTY_ROW_(member, type, id, cloned, released)   \
  {#member,                                                    \
   VA_PROPERTY_##type,                                         \
   id,                                                         \
   static_cast<unsigned>(offsetof(velmora_account_s, member)), \
   VA_##cloned##_,                                             \
   VA_##released##_,                                           \
   VA_PROPERTY_##type == VA_PROPERTY_STR ? "data->" #member " == NULL" : nullptr},

namespace {

constexpr bool VA_CLONED_ = true;
constexpr bool VA_NOT_CLONED_ = false;
constexpr bool VA_RELEASED_ = true;
constexpr bool VA_KEPT_ = false;

constexpr va_property_s kProperties[] = {VA_ACCOUNT_PROPERTIES(VA_PROPERTY_ROW_)};
constexpr int kPropertyCount = sizeof(kProperties) / sizeof(kProperties[0]);

constexpr int count_ids(va_property_type_e type) {
  int n = 0;
  for (const va_property_s &p : kProperties)
    if (p.type == type) ++n;
  return n;
}

// Ids of each type run from 0 without gaps, so that an id is also an index.
constexpr bool ids_are_dense() {
  for (const va_property_s &p : kProperties) {
    if (p.type == VA_PROPERTY_BITS) continue;
    if (p.id < 0 || p.id >= count_ids(p.type)) return false;
    for (const va_property_s &q : kProperties)
      if (&p != &q && q.type == p.type && q.id == p.id) return false;
  }
  return true;
}
static_assert(ids_are_dense(), "property ids of one type must be 0, 1, 2, ... without repeats");
static_assert(count_ids(VA_PROPERTY_STR) == VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID + 1,
              "a string property of velmora_account.h has no row, or a row has no id there");
static_assert(count_ids(VA_PROPERTY_INT) == VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT + 1,
              "an int property of velmora_account.h has no row, or a row has no id there");
static_assert(count_ids(VA_PROPERTY_FLAG) ==
                  VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS + 1,
              "a bool property of velmora_account.h has no row, or a row has no id there");

template <typename T>
T *field_of(velmora_account_h data, const va_property_s &p) {
  return reinterpret_cast<T *>(reinterpret_cast<char *>(data) + p.offset);
}

}  // namespace

// The copy stored in a field that velmora_account_destroy leaves alone. A function of its own so
// that the leak checkers' suppressions (tests/lsan.supp, tests/valgrind.supp) name exactly these
// copies.
extern "C" __attribute__((noinline)) char *va_dup_field_not_released_by_destroy(const char *value) {
  return va_strdup(value);
}

extern "C" {

const va_property_s *va_account_property_table(int *count) {
  if (count != nullptr) *count = kPropertyCount;
  return kProperties;
}

int va_account_property_ids(va_property_type_e type) { return count_ids(type); }

const va_property_s *va_account_property(va_property_type_e type, int id) {
  for (const va_property_s &p : kProperties)
    if (p.type == type && p.id == id && type != VA_PROPERTY_BITS) return &p;
  return nullptr;
}

char **va_account_str_field(velmora_account_h data, int id) {
  const va_property_s *p = va_account_property(VA_PROPERTY_STR, id);
  if (data == nullptr || p == nullptr) return nullptr;
  return field_of<char *>(data, *p);
}

int *va_account_int_field(velmora_account_h data, va_property_type_e type, int id) {
  const va_property_s *p = va_account_property(type, id);
  if (data == nullptr || p == nullptr || type == VA_PROPERTY_STR) return nullptr;
  return field_of<int>(data, *p);
}

void va_account_set_flags_unset(velmora_account_h data) {
  for (const va_property_s &p : kProperties)
    if (p.type == VA_PROPERTY_FLAG) *field_of<int>(data, p) = VA_TRISTATE_UNSET;
}

int va_account_get_str(velmora_account_h data, int property, char **value) {
  VA_LOG_NAME("velmora_account_util_get_property_str");
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  const va_property_s *p = va_account_property(VA_PROPERTY_STR, property);
  if (p == nullptr) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  const char *stored = *field_of<char *>(data, *p);
  if (stored == NULL) {
    VA_LOGE("(%s)", p->unset_condition);
    return VELMORA_ACCOUNT_ERROR_NO_DATA;
  }
  char *copy = va_strdup(stored);
  VA_RETV_IF(copy == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  *value = copy;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int va_account_set_str(velmora_account_h data, int property, const char *value) {
  VA_LOG_NAME("velmora_account_util_set_property_str");
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  const va_property_s *p = va_account_property(VA_PROPERTY_STR, property);
  if (p == nullptr) {
    VA_LOGI("INVALID_PARAMETER [type : %d]", property);
    return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  }
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  char *copy = p->released ? va_strdup(value) : va_dup_field_not_released_by_destroy(value);
  VA_RETV_IF(copy == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  char *&stored = *field_of<char *>(data, *p);
  free(stored);
  stored = copy;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

bool va_account_clear_str(velmora_account_h data, int property) {
  char **field = va_account_str_field(data, property);
  if (field == nullptr) return false;
  free(*field);
  *field = nullptr;
  return true;
}

int va_account_get_int(velmora_account_h data, int property, int *value) {
  VA_LOG_NAME("velmora_account_util_get_property_int");
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  int *field = va_account_int_field(data, VA_PROPERTY_INT, property);
  if (field == nullptr) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  if (*field < 1) return VELMORA_ACCOUNT_ERROR_NO_DATA;  // below 1 counts as not set
  *value = *field;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int va_account_set_int(velmora_account_h data, int property, int value) {
  VA_LOG_NAME("velmora_account_util_set_property_int");
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  int *field = va_account_int_field(data, VA_PROPERTY_INT, property);
  if (field == nullptr) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  // Stored as given: zero and negative values read back as not set.
  *field = value;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int va_account_get_flag(velmora_account_h data, int property, bool *value) {
  VA_LOG_NAME("velmora_account_util_get_property_bool");
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  int *field = va_account_int_field(data, VA_PROPERTY_FLAG, property);
  if (field == nullptr) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  VA_RETV_IF(value == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  if (*field == VA_TRISTATE_UNSET) return VELMORA_ACCOUNT_ERROR_NO_DATA;
  *value = *field != VA_TRISTATE_FALSE;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

int va_account_set_flag(velmora_account_h data, int property, bool value) {
  VA_LOG_NAME("velmora_account_util_set_property_bool");
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  int *field = va_account_int_field(data, VA_PROPERTY_FLAG, property);
  if (field == nullptr) return VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER;
  *field = value ? VA_TRISTATE_TRUE : VA_TRISTATE_FALSE;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
