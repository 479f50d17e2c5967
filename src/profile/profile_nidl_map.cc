// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: where each profile category and field lives in the port's records
// (ProfileS, PrivacyS and the fourteen item records), found once from the category table and the
// records' descriptors.
#include <cstring>
#include <string>

#include "profile_internal.h"
#include "profile_record.h"
#include "records_internal.hh"

namespace {

constexpr size_t kNoField = static_cast<size_t>(-1);

struct CategoryPlace {
  const va::rec::RecordDesc *item = nullptr;  // <Nidl>S
  size_t fields[16] = {};                     // offset of each string field in <Nidl>S
  size_t source = kNoField;                   // offset of Source (NAME, BIRTHDAY)
  size_t in_profile = kNoField;               // offset of <Nidl>List / <Nidl> in ProfileS
  size_t in_privacy = kNoField;               // offset of <Nidl> in PrivacyS
};

size_t offset_of(const va::rec::RecordDesc *desc, const std::string &name) {
  if (!desc) return kNoField;
  for (const va::rec::FieldDesc &f : desc->field_span())
    if (name == f.name) return f.offset;
  return kNoField;
}

struct Places {
  CategoryPlace category[VA_PROFILE_CATEGORY_COUNT];
  size_t privacy_in_profile = kNoField;

  Places() {
    const va::rec::RecordDesc *profile = va::rec::find_type("ProfileS");
    const va::rec::RecordDesc *privacy = va::rec::find_type("PrivacyS");
    privacy_in_profile = offset_of(profile, "Privacy");
    for (int c = 0; c < VA_PROFILE_CATEGORY_COUNT; ++c) {
      const va_profile_category_desc *d = va_profile_category(c);
      CategoryPlace &p = category[c];
      const std::string nidl = d->nidl;
      p.item = va::rec::find_type((nidl + "S").c_str());
      for (int f = 0; f < d->string_count && f < 16; ++f)
        p.fields[f] = offset_of(p.item, d->nidl_fields[f]);
      if (d->has_source) p.source = offset_of(p.item, "Source");
      p.in_profile = offset_of(profile, d->is_list ? nidl + "List" : nidl);
      p.in_privacy = offset_of(privacy, nidl);
    }
  }
};

const Places &places() {
  static const Places p;  // built once, before any use
  return p;
}

template <typename T>
T *at(void *record, size_t offset) {
  if (!record || offset == kNoField) return nullptr;
  return reinterpret_cast<T *>(static_cast<char *>(record) + offset);
}

const CategoryPlace *place(int category) {
  if (!va_profile_category(category)) return nullptr;
  return &places().category[category];
}

}  // namespace

extern "C" {

void *va_profile_nidl_item_new(int category) {
  const CategoryPlace *p = place(category);
  return p && p->item ? va::rec::create(*p->item, "va_profile_nidl_item_new") : nullptr;
}

void va_profile_nidl_item_free(int category, void *item) {
  const CategoryPlace *p = place(category);
  if (p && p->item) va::rec::destroy(*p->item, item);
}

char **va_profile_nidl_field(void *item, int category, int position) {
  const va_profile_category_desc *d = va_profile_category(category);
  if (!d || position < 0 || position > d->string_count) return nullptr;
  const CategoryPlace *p = place(category);
  return at<char *>(item, position == d->string_count ? p->source : p->fields[position]);
}

GList **va_profile_nidl_list(rpc_port_ProfileS_h profile, int category) {
  const va_profile_category_desc *d = va_profile_category(category);
  if (!d || !d->is_list) return nullptr;
  return at<GList *>(profile, place(category)->in_profile);
}

void **va_profile_nidl_single(rpc_port_ProfileS_h profile, int category) {
  const va_profile_category_desc *d = va_profile_category(category);
  if (!d || d->is_list) return nullptr;
  return at<void *>(profile, place(category)->in_profile);
}

rpc_port_PrivacyS_h *va_profile_nidl_privacy_of(rpc_port_ProfileS_h profile) {
  return at<rpc_port_PrivacyS_h>(profile, places().privacy_in_profile);
}

int *va_profile_nidl_privacy(rpc_port_PrivacyS_h privacy, int category) {
  const CategoryPlace *p = place(category);
  return p ? at<int>(privacy, p->in_privacy) : nullptr;
}

}  // extern "C"
