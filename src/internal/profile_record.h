/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the profile records behind velmora_account_profile_h and
 * velmora_account_profile_list_h, the fourteen item records, and the category table that the
 * profile code is driven by.
 *
 * Everything is allocated with calloc/strdup and released with free(): a list owns every item
 * record, every string and its walk view; a profile owns the item of its category.
 */
#ifndef VELMORA_PROFILE_RECORD_H
#define VELMORA_PROFILE_RECORD_H

#include <stdbool.h>
#include <stddef.h>

#include "velmora_account_profile.h"

#ifdef __cplusplus
extern "C" {
#endif

#define VA_PROFILE_CATEGORY_COUNT 14
/* A NAME or BIRTHDAY item whose source was never set. */
#define VA_PROFILE_SOURCE_UNSET 2
/* Initial value of the list's reserved entries (not used by any profile operation). */
#define VA_PROFILE_RESERVED_INITIAL 2

/* Where a category's source comes from: kept per item (NAME, BIRTHDAY) or fixed by the category. */
typedef enum {
  VA_PROFILE_SOURCE_STORED = -1,
  VA_PROFILE_SOURCE_IS_ACCOUNT = VELMORA_ACCOUNT_PROFILE_SOURCE_ACCOUNT,
  VA_PROFILE_SOURCE_IS_PROFILE = VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE
} va_profile_source_kind_e;

/*
 * The categories, in category order:
 *   X(value, CONSTANT, member, item type, log word, resource word, is list, most items, source,
 *     copy line, privacy-only line, Nidl)
 * CONSTANT completes VELMORA_ACCOUNT_PROFILE_CATEGORY_ and
 * VELMORA_ACCOUNT_PROFILE_ITEM_<CONSTANT>_; member names the profile record's item pointer and,
 * with "l_" in front, the list's slot. The two lines are what
 * velmora_account_profile_get_profile_list logs for a single category (NULL for list categories,
 * which log "<log word> LIST [ n ]"); their spellings are the ones the service's tools look for.
 * Nidl names the category in the port's records: its item record <Nidl>S, its field of ProfileS
 * (<Nidl>List for a list category, <Nidl> for a single one) and its field of PrivacyS (<Nidl>).
 */
/* clang-format off */
#define VA_PROFILE_CATEGORIES(X)                                                                   \
  X(0, NAME, name, va_profile_name_s, "NAME", "names", true, 2, VA_PROFILE_SOURCE_STORED,          \
    NULL, NULL, Name)                                                                              \
  X(1, BIRTHDAY, birthday, va_profile_birthday_s, "BIRTHDAY", "birthdays", true, 2,                \
    VA_PROFILE_SOURCE_STORED, NULL, NULL, Birthday)                                                \
  X(2, NICKNAME, nickname, va_profile_nickname_s, "NICKNAME", "nicknames", false, 1,               \
    VA_PROFILE_SOURCE_IS_ACCOUNT, "get profile list [NICKNAME]", "NICKNAME[ 0 ], Privacy only",   \
    Nickname)                                                                                      \
  X(3, PHOTO, photo, va_profile_photo_s, "PHOTO", "photos", false, 1,                              \
    VA_PROFILE_SOURCE_IS_ACCOUNT, "get profile list [PHOTO]", "PHOTO[ 0 ], Privacy only", Photo)   \
  X(4, ORGANIZATION, organization, va_profile_organization_s, "ORGANIZATION", "organizations",     \
    false, 1, VA_PROFILE_SOURCE_IS_ACCOUNT, "get profile list [ORGANIZATION]",                     \
    "ORGANIZATION[ 0 ], Privacy only", Organization)                                               \
  X(5, GENDER, gender, va_profile_gender_s, "GENDER", "genders", false, 1,                         \
    VA_PROFILE_SOURCE_IS_ACCOUNT, "get profile list [GENDER]", "GENDER[ 0 ], Privacy only",       \
    Gender)                                                                                        \
  X(6, STATUS, status, va_profile_status_s, "STATUS", "statusMessages", false, 1,                  \
    VA_PROFILE_SOURCE_IS_PROFILE, "get_profile list [STATUS]", "STATUS [ 0 ], Privacy only",      \
    Status)                                                                                        \
  X(7, NOTE, note, va_profile_note_s, "NOTE", "notes", false, 1,                                   \
    VA_PROFILE_SOURCE_IS_PROFILE, "get prifile list [NOTE]", "NOTE[ 0 ], Privacy only", Note)      \
  X(8, MESSENGER, messenger, va_profile_messenger_s, "MESSENGER", "messengerAccounts", true, 50,   \
    VA_PROFILE_SOURCE_IS_PROFILE, NULL, NULL, Messenger)                                           \
  X(9, PHONE, phone, va_profile_phone_s, "PHONE", "phoneNumbers", true, 50,                        \
    VA_PROFILE_SOURCE_IS_PROFILE, NULL, NULL, Phone)                                               \
  X(10, EMAIL, email, va_profile_email_s, "EMAIL", "emailAddresses", true, 50,                     \
    VA_PROFILE_SOURCE_IS_PROFILE, NULL, NULL, Email)                                               \
  X(11, WEB, web, va_profile_web_s, "WEB", "webAddresses", true, 50,                               \
    VA_PROFILE_SOURCE_IS_PROFILE, NULL, NULL, Web)                                                 \
  X(12, EVENT, event, va_profile_event_s, "EVENT", "events", true, 50,                             \
    VA_PROFILE_SOURCE_IS_PROFILE, NULL, NULL, Event)                                               \
  X(13, HEALTH, health, va_profile_health_s, "HEALTH", "healths", false, 1,                        \
    VA_PROFILE_SOURCE_IS_ACCOUNT, "get profile list [HEALTH]", "HEALTH[ 0 ], Privacy only",       \
    Health)

/*
 * The string fields of each category's item, in item-id order (the field at position n has item
 * id base + n); "verified" is always last.
 *   F(member, wire word, match word, Nidl)
 * The wire word names the field in update bodies and reply keys ("<resource>[_n]:<word>"); the
 * match word is what the reply parser looks for in a key, in field order. They differ only where a
 * shorter word is matched (NAME's phonetic fields). The capital letters keep "givenName" from
 * matching "phoneticGivenName". Nidl is the field of the port's item record (<Nidl>S) that carries
 * it; NAME and BIRTHDAY keep their source in the record's field Source ("ACCOUNT", "PROFILE").
 */
#define VA_PROFILE_NAME_FIELDS(F)                                                \
  F(prefix, "prefixName", "prefixName", Prefix)                                  \
  F(given_name, "givenName", "givenName", GivenName)                             \
  F(middle_name, "middleName", "middleName", MiddleName)                         \
  F(family_name, "familyName", "familyName", FamilyName)                         \
  F(suffix, "suffixName", "suffixName", Suffix)                                  \
  F(phonetic_given, "phoneticGivenName", "phoneticGiven", PhoneticGiven)         \
  F(phonetic_middle, "phoneticMiddleName", "phoneticMiddle", PhoneticMiddle)     \
  F(phonetic_family, "phoneticFamilyName", "phoneticFamily", PhoneticFamily)     \
  F(verified, "verified", "verified", Verified)
#define VA_PROFILE_BIRTHDAY_FIELDS(F)                                            \
  F(year, "date:year", "date:year", Year)                                        \
  F(month, "date:month", "date:month", Month)                                    \
  F(day, "date:day", "date:day", Day)                                            \
  F(date, "value", "value", Date)                                                \
  F(type, "type", "type", Type)                                                  \
  F(verified, "verified", "verified", Verified)
#define VA_PROFILE_NICKNAME_FIELDS(F)                                            \
  F(value, "value", "value", Value)                                              \
  F(verified, "verified", "verified", Verified)
#define VA_PROFILE_PHOTO_FIELDS(F)                                               \
  F(url, "url", "url", Url)                                                      \
  F(create_index, "createIndex", "createIndex", CreateIndex)                     \
  F(create_time, "createTime", "createTime", CreateTime)                         \
  F(hash, "hash", "hash", Hash)                                                  \
  F(verified, "verified", "verified", Verified)
#define VA_PROFILE_ORGANIZATION_FIELDS(F)                                        \
  F(company, "company", "company", Company)                                      \
  F(department, "department", "department", Department)                          \
  F(title, "title", "title", Title)                                              \
  F(verified, "verified", "verified", Verified)
#define VA_PROFILE_GENDER_FIELDS(F)                                              \
  F(value, "value", "value", Value)                                              \
  F(verified, "verified", "verified", Verified)
#define VA_PROFILE_STATUS_FIELDS(F)                                              \
  F(value, "value", "value", Value)                                              \
  F(verified, "verified", "verified", Verified)
#define VA_PROFILE_NOTE_FIELDS(F)                                                \
  F(value, "value", "value", Value)                                              \
  F(verified, "verified", "verified", Verified)
#define VA_PROFILE_CONTACT_FIELDS(F)                                             \
  F(value, "value", "value", Value)                                              \
  F(type, "type", "type", Type)                                                  \
  F(label, "label", "label", Label)                                              \
  F(key, "key", "key", Key)                                                      \
  F(verified, "verified", "verified", Verified)
#define VA_PROFILE_MESSENGER_FIELDS(F) VA_PROFILE_CONTACT_FIELDS(F)
#define VA_PROFILE_PHONE_FIELDS(F) VA_PROFILE_CONTACT_FIELDS(F)
#define VA_PROFILE_EMAIL_FIELDS(F) VA_PROFILE_CONTACT_FIELDS(F)
#define VA_PROFILE_WEB_FIELDS(F)                                                 \
  F(value, "value", "value", Value)                                              \
  F(key, "key", "key", Key)                                                      \
  F(verified, "verified", "verified", Verified)
#define VA_PROFILE_EVENT_FIELDS(F) VA_PROFILE_CONTACT_FIELDS(F)
#define VA_PROFILE_HEALTH_FIELDS(F)                                              \
  F(height, "height", "height", Height)                                          \
  F(weight, "weight", "weight", Weight)                                          \
  F(activity_level, "activityLevel", "activityLevel", ActivityLevel)             \
  F(verified, "verified", "verified", Verified)
/* clang-format on */

/* The word that names a NAME or BIRTHDAY item's source in update bodies and reply keys
 * ("names_2:metadata:source:type" = "ACCOUNT"), and what the reply parser looks for. */
#define VA_PROFILE_SOURCE_WORD "metadata:source:type"
#define VA_PROFILE_SOURCE_MATCH "source:type"

#define VA_PROFILE_STRING_MEMBER(member, word, match, nidl) char *member;

/* Item records. NAME and BIRTHDAY also keep a source (VELMORA_ACCOUNT_PROFILE_SOURCE_* or
 * VA_PROFILE_SOURCE_UNSET). */
typedef struct va_profile_name_s {
  VA_PROFILE_NAME_FIELDS(VA_PROFILE_STRING_MEMBER)
  int source;
} va_profile_name_s;
typedef struct va_profile_birthday_s {
  VA_PROFILE_BIRTHDAY_FIELDS(VA_PROFILE_STRING_MEMBER)
  int source;
} va_profile_birthday_s;
typedef struct va_profile_nickname_s {
  VA_PROFILE_NICKNAME_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_nickname_s;
typedef struct va_profile_photo_s {
  VA_PROFILE_PHOTO_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_photo_s;
typedef struct va_profile_organization_s {
  VA_PROFILE_ORGANIZATION_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_organization_s;
typedef struct va_profile_gender_s {
  VA_PROFILE_GENDER_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_gender_s;
typedef struct va_profile_status_s {
  VA_PROFILE_STATUS_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_status_s;
typedef struct va_profile_note_s {
  VA_PROFILE_NOTE_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_note_s;
typedef struct va_profile_messenger_s {
  VA_PROFILE_MESSENGER_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_messenger_s;
typedef struct va_profile_phone_s {
  VA_PROFILE_PHONE_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_phone_s;
typedef struct va_profile_email_s {
  VA_PROFILE_EMAIL_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_email_s;
typedef struct va_profile_web_s {
  VA_PROFILE_WEB_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_web_s;
typedef struct va_profile_event_s {
  VA_PROFILE_EVENT_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_event_s;
typedef struct va_profile_health_s {
  VA_PROFILE_HEALTH_FIELDS(VA_PROFILE_STRING_MEMBER)
} va_profile_health_s;

/* A profile: one item of one category. Only the item pointer of its category is set; the walk view
 * of a list (the list's `cb`) points one of them at a list item at a time and owns none. */
struct velmora_account_profile_s {
  int category;
  int privacy; /* VELMORA_ACCOUNT_PROFILE_PRIVACY_*, UNKNOWN at creation */
  va_profile_name_s *name;
  va_profile_birthday_s *birthday;
  va_profile_nickname_s *nickname;
  va_profile_photo_s *photo;
  va_profile_organization_s *organization;
  va_profile_gender_s *gender;
  va_profile_status_s *status;
  va_profile_note_s *note;
  va_profile_messenger_s *messenger;
  va_profile_phone_s *phone;
  va_profile_email_s *email;
  va_profile_web_s *web;
  va_profile_event_s *event;
  va_profile_health_s *health;
};

/* A profile list. A single category's slot points to one item record; a list category's slot to an
 * array of `limit` item pointers, each NULL until an item is stored there. */
struct velmora_account_profile_list_s {
  int count[VA_PROFILE_CATEGORY_COUNT];
  int reserved[VA_PROFILE_CATEGORY_COUNT]; /* VA_PROFILE_RESERVED_INITIAL, otherwise unused */
  int privacy[VA_PROFILE_CATEGORY_COUNT];  /* UNKNOWN at creation */
  va_profile_name_s **l_name;
  va_profile_birthday_s **l_birthday;
  va_profile_nickname_s *l_nickname;
  va_profile_photo_s *l_photo;
  va_profile_organization_s *l_organization;
  va_profile_gender_s *l_gender;
  va_profile_status_s *l_status;
  va_profile_note_s *l_note;
  va_profile_messenger_s **l_messenger;
  va_profile_phone_s **l_phone;
  va_profile_email_s **l_email;
  va_profile_web_s **l_web;
  va_profile_event_s **l_event;
  va_profile_health_s *l_health;
  struct velmora_account_profile_s *cb; /* the walk view; NULL until the first walk */
};

/* What the code needs to know about one category. */
typedef struct {
  int category;
  const char *member;   /* "name", "phone", ...: the record's member, in condition logs */
  const char *log_word; /* "NAME", "PHONE", ... */
  const char *resource; /* the category's name on the wire: "names", "phoneNumbers", ... */
  bool is_list;
  int limit;                       /* most items in a list */
  va_profile_source_kind_e source; /* stored per item, or fixed ACCOUNT / PROFILE */
  const char *copy_line;           /* get_profile_list's lines for a single category */
  const char *privacy_only_line;
  int item_base;                   /* item id of the first string field */
  int string_count;                /* string fields; the last is "verified" */
  const size_t *string_offsets;    /* offset of each string field in the item record */
  const char *const *string_names; /* member name of each string field */
  const char *const *wire_words;   /* each field's word in update bodies and reply keys */
  const char *const *match_words;  /* each field's word as the reply parser looks for it */
  const char *nidl;                /* "Name": the port's NameS, ProfileS.NameList, PrivacyS.Name */
  const char *const *nidl_fields;  /* each field's name in the port's item record */
  bool has_source;                 /* NAME and BIRTHDAY */
  size_t source_offset;
  size_t item_size;
} va_profile_category_desc;

/* The description of `category`, or NULL for a value outside 0 to 13. */
const va_profile_category_desc *va_profile_category(int category);

/* Splits an item id into category and field position. The position equals the category's
 * string_count for its source id. False for an id that addresses nothing. */
bool va_profile_item_id_decode(int item_id, int *category, int *position);

/* ---- item records ---- */

/* A zeroed item record of `category` (source VA_PROFILE_SOURCE_UNSET for NAME and BIRTHDAY), or
 * NULL (unknown category, no memory). */
void *va_profile_item_new(int category);
/* Frees the strings of an item record of `category` and the record. NULL is fine. */
void va_profile_item_free(int category, void *item);
/* The string field at `position` of an item record of `category`, or NULL for a bad position. */
char **va_profile_item_str(void *item, int category, int position);
/* The source of a NAME or BIRTHDAY item record, or NULL for other categories. */
int *va_profile_item_source(void *item, int category);

/* ---- profile records ---- */

/* The profile's item pointer of `category` (NULL when unset or for a bad category). */
void *va_profile_get_item(const struct velmora_account_profile_s *profile, int category);
/* Sets the profile's item pointer of `category` (an item record of that category, or NULL); the
 * previous pointer is not freed. False for a bad category. */
bool va_profile_set_item(struct velmora_account_profile_s *profile, int category, void *item);

/* ---- list records ---- */

/* A new list: counts 0, reserved entries 2, privacy UNKNOWN, the single categories' item records
 * and the list categories' pointer arrays allocated. NULL when out of memory. */
struct velmora_account_profile_list_s *va_profile_list_new(void);
/* Frees the whole list: item records, strings, pointer arrays and the walk view (not the items the
 * view points at, which are the list's own). NULL is fine. Also releases an account's link. */
void va_profile_list_release(struct velmora_account_profile_list_s *list);
/* Item `index` of `category` in the list: the single item record (index 0) of a single category, or
 * entry `index` of a list category's array. NULL when absent or out of range. */
void *va_profile_list_get_item(const struct velmora_account_profile_list_s *list, int category,
                               int index);
/* Item `index` of `category`, allocated (zeroed) and stored when missing; *existed (may be NULL)
 * tells which. NULL when the slot or the index is not there, or out of memory. */
void *va_profile_list_item_at(struct velmora_account_profile_list_s *list, int category, int index,
                              bool *existed);
/* The slot of `category`: the single item record of a single category, or the pointer array of a
 * list category; NULL when it is missing (or for a bad category). */
void *va_profile_list_slot(const struct velmora_account_profile_list_s *list, int category);
/* Stores `item` as item `index` of `category` (the previous record is not freed). False when the
 * category, the index or the list category's array is not there. */
bool va_profile_list_set_item(struct velmora_account_profile_list_s *list, int category, int index,
                              void *item);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PROFILE_RECORD_H */
