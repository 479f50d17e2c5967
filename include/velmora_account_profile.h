/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the user's profile (names, birthdays, phone numbers, e-mail and web
 * addresses, photo, health data ...), its sources and privacy.
 *
 * The profile has fourteen categories. A profile handle holds one item of one category and a
 * privacy value; a profile list holds, for every category at once, up to a fixed number of items
 * (2 for NAME and BIRTHDAY, 50 for MESSENGER, PHONE, EMAIL, WEB and EVENT, 1 for the others), a
 * count and a privacy value per category. Every string field of every category is addressed by an
 * item id (VELMORA_ACCOUNT_PROFILE_ITEM_*); the id after a category's last string field addresses
 * its source. The rules of velmora_account.h hold.
 *
 * velmora_account_profile_request_info fills the profile that the response handle carries; copy a
 * category out of it with velmora_account_profile_get_profile_list.
 */
#ifndef VELMORA_ACCOUNT_PROFILE_H
#define VELMORA_ACCOUNT_PROFILE_H

#include <stdbool.h>

#include "velmora_account.h"
#include "velmora_account_error.h"
#include "velmora_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Profile categories. The value is also the category's index; 14 and above are invalid. */
typedef enum {
  VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME = 0,         /* list, at most 2 */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_BIRTHDAY = 1,     /* list, at most 2 */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME = 2,     /* single */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_PHOTO = 3,        /* single */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_ORGANIZATION = 4, /* single */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_GENDER = 5,       /* single */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_STATUS = 6,       /* single */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_NOTE = 7,         /* single */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_MESSENGER = 8,    /* list, at most 50 */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE = 9,        /* list, at most 50 */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_EMAIL = 10,       /* list, at most 50 */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_WEB = 11,         /* list, at most 50 */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_EVENT = 12,       /* list, at most 50 */
  VELMORA_ACCOUNT_PROFILE_CATEGORY_HEALTH = 13       /* single */
} velmora_account_profile_category_e;

/* Item ids: a base per category (0x100 + 0x10 per category up to PHONE, 0x200 + 0x10 per category
 * from EMAIL on) plus the field's position. The VERIFIED fields are filled only by the agent and
 * cannot be set. The SOURCE ids address the category's source (velmora_account_profile_source_e).
 */
typedef enum {
  VELMORA_ACCOUNT_PROFILE_ITEM_NAME_PREFIX = 0x100,
  VELMORA_ACCOUNT_PROFILE_ITEM_NAME_GIVEN = 0x101,
  VELMORA_ACCOUNT_PROFILE_ITEM_NAME_MIDDLE = 0x102,
  VELMORA_ACCOUNT_PROFILE_ITEM_NAME_FAMILY = 0x103,
  VELMORA_ACCOUNT_PROFILE_ITEM_NAME_SUFFIX = 0x104,
  VELMORA_ACCOUNT_PROFILE_ITEM_NAME_PHONETIC_GIVEN = 0x105,
  VELMORA_ACCOUNT_PROFILE_ITEM_NAME_PHONETIC_MIDDLE = 0x106,
  VELMORA_ACCOUNT_PROFILE_ITEM_NAME_PHONETIC_FAMILY = 0x107,
  VELMORA_ACCOUNT_PROFILE_ITEM_NAME_VERIFIED = 0x108,
  VELMORA_ACCOUNT_PROFILE_ITEM_NAME_SOURCE = 0x109,

  VELMORA_ACCOUNT_PROFILE_ITEM_BIRTHDAY_YEAR = 0x110,
  VELMORA_ACCOUNT_PROFILE_ITEM_BIRTHDAY_MONTH = 0x111,
  VELMORA_ACCOUNT_PROFILE_ITEM_BIRTHDAY_DAY = 0x112,
  VELMORA_ACCOUNT_PROFILE_ITEM_BIRTHDAY_DATE = 0x113,
  VELMORA_ACCOUNT_PROFILE_ITEM_BIRTHDAY_TYPE = 0x114,
  VELMORA_ACCOUNT_PROFILE_ITEM_BIRTHDAY_VERIFIED = 0x115,
  VELMORA_ACCOUNT_PROFILE_ITEM_BIRTHDAY_SOURCE = 0x116,

  VELMORA_ACCOUNT_PROFILE_ITEM_NICKNAME_VALUE = 0x120,
  VELMORA_ACCOUNT_PROFILE_ITEM_NICKNAME_VERIFIED = 0x121,
  VELMORA_ACCOUNT_PROFILE_ITEM_NICKNAME_SOURCE = 0x122,

  VELMORA_ACCOUNT_PROFILE_ITEM_PHOTO_URL = 0x130,
  VELMORA_ACCOUNT_PROFILE_ITEM_PHOTO_CREATE_INDEX = 0x131,
  VELMORA_ACCOUNT_PROFILE_ITEM_PHOTO_CREATE_TIME = 0x132,
  VELMORA_ACCOUNT_PROFILE_ITEM_PHOTO_HASH = 0x133,
  VELMORA_ACCOUNT_PROFILE_ITEM_PHOTO_VERIFIED = 0x134,
  VELMORA_ACCOUNT_PROFILE_ITEM_PHOTO_SOURCE = 0x135,

  VELMORA_ACCOUNT_PROFILE_ITEM_ORGANIZATION_COMPANY = 0x140,
  VELMORA_ACCOUNT_PROFILE_ITEM_ORGANIZATION_DEPARTMENT = 0x141,
  VELMORA_ACCOUNT_PROFILE_ITEM_ORGANIZATION_TITLE = 0x142,
  VELMORA_ACCOUNT_PROFILE_ITEM_ORGANIZATION_VERIFIED = 0x143,
  VELMORA_ACCOUNT_PROFILE_ITEM_ORGANIZATION_SOURCE = 0x144,

  VELMORA_ACCOUNT_PROFILE_ITEM_GENDER_VALUE = 0x150,
  VELMORA_ACCOUNT_PROFILE_ITEM_GENDER_VERIFIED = 0x151,
  VELMORA_ACCOUNT_PROFILE_ITEM_GENDER_SOURCE = 0x152,

  VELMORA_ACCOUNT_PROFILE_ITEM_STATUS_VALUE = 0x160,
  VELMORA_ACCOUNT_PROFILE_ITEM_STATUS_VERIFIED = 0x161,
  VELMORA_ACCOUNT_PROFILE_ITEM_STATUS_SOURCE = 0x162,

  VELMORA_ACCOUNT_PROFILE_ITEM_NOTE_VALUE = 0x170,
  VELMORA_ACCOUNT_PROFILE_ITEM_NOTE_VERIFIED = 0x171,
  VELMORA_ACCOUNT_PROFILE_ITEM_NOTE_SOURCE = 0x172,

  VELMORA_ACCOUNT_PROFILE_ITEM_MESSENGER_VALUE = 0x180,
  VELMORA_ACCOUNT_PROFILE_ITEM_MESSENGER_TYPE = 0x181,
  VELMORA_ACCOUNT_PROFILE_ITEM_MESSENGER_LABEL = 0x182,
  VELMORA_ACCOUNT_PROFILE_ITEM_MESSENGER_KEY = 0x183,
  VELMORA_ACCOUNT_PROFILE_ITEM_MESSENGER_VERIFIED = 0x184,
  VELMORA_ACCOUNT_PROFILE_ITEM_MESSENGER_SOURCE = 0x185,

  VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_VALUE = 0x190,
  VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_TYPE = 0x191,
  VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_LABEL = 0x192,
  VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_KEY = 0x193,
  VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_VERIFIED = 0x194,
  VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_SOURCE = 0x195,

  VELMORA_ACCOUNT_PROFILE_ITEM_EMAIL_VALUE = 0x200,
  VELMORA_ACCOUNT_PROFILE_ITEM_EMAIL_TYPE = 0x201,
  VELMORA_ACCOUNT_PROFILE_ITEM_EMAIL_LABEL = 0x202,
  VELMORA_ACCOUNT_PROFILE_ITEM_EMAIL_KEY = 0x203,
  VELMORA_ACCOUNT_PROFILE_ITEM_EMAIL_VERIFIED = 0x204,
  VELMORA_ACCOUNT_PROFILE_ITEM_EMAIL_SOURCE = 0x205,

  VELMORA_ACCOUNT_PROFILE_ITEM_WEB_VALUE = 0x210,
  VELMORA_ACCOUNT_PROFILE_ITEM_WEB_KEY = 0x211,
  VELMORA_ACCOUNT_PROFILE_ITEM_WEB_VERIFIED = 0x212,
  VELMORA_ACCOUNT_PROFILE_ITEM_WEB_SOURCE = 0x213,

  VELMORA_ACCOUNT_PROFILE_ITEM_EVENT_VALUE = 0x220,
  VELMORA_ACCOUNT_PROFILE_ITEM_EVENT_TYPE = 0x221,
  VELMORA_ACCOUNT_PROFILE_ITEM_EVENT_LABEL = 0x222,
  VELMORA_ACCOUNT_PROFILE_ITEM_EVENT_KEY = 0x223,
  VELMORA_ACCOUNT_PROFILE_ITEM_EVENT_VERIFIED = 0x224,
  VELMORA_ACCOUNT_PROFILE_ITEM_EVENT_SOURCE = 0x225,

  VELMORA_ACCOUNT_PROFILE_ITEM_HEALTH_HEIGHT = 0x230,
  VELMORA_ACCOUNT_PROFILE_ITEM_HEALTH_WEIGHT = 0x231,
  VELMORA_ACCOUNT_PROFILE_ITEM_HEALTH_ACTIVITY_LEVEL = 0x232,
  VELMORA_ACCOUNT_PROFILE_ITEM_HEALTH_VERIFIED = 0x233,
  VELMORA_ACCOUNT_PROFILE_ITEM_HEALTH_SOURCE = 0x234
} velmora_account_profile_item_e;

/* Where an item's data lives. Only NAME and BIRTHDAY keep a source of their own; for the other
 * categories it is fixed by the category. */
typedef enum {
  VELMORA_ACCOUNT_PROFILE_SOURCE_ACCOUNT = 0,
  VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE = 1
} velmora_account_profile_source_e;

/* Privacy of a category. GROUP is the largest value that may be set; UNKNOWN (3) means that no
 * privacy is known and is the initial value everywhere. */
typedef enum {
  VELMORA_ACCOUNT_PROFILE_PRIVACY_PRIVATE = 0,
  VELMORA_ACCOUNT_PROFILE_PRIVACY_PUBLIC = 1,
  VELMORA_ACCOUNT_PROFILE_PRIVACY_GROUP = 2,
  VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN = 3
} velmora_account_profile_privacy_e;

/* One profile item of one category, with a privacy value. */
typedef struct velmora_account_profile_s *velmora_account_profile_h;
/* Items of all fourteen categories, with a count and a privacy value per category. */
typedef struct velmora_account_profile_list_s *velmora_account_profile_list_h;

/* Called by velmora_account_profile_list_foreach for each item, category by category (and once
 * for a category that has a privacy but no item; the profile then holds no item). `profile` is a
 * view lent for the call: do not destroy it. `result` is VELMORA_ACCOUNT_ERROR_NONE. Return true to
 * go on, false to stop. */
typedef bool (*velmora_account_profile_cb)(int result, velmora_account_profile_h profile,
                                           int category, void *user_data);

/* Completion of velmora_account_profile_request_profile and _request_privacy: `list` holds what
 * the agent sent and belongs to the receiver (velmora_account_profile_list_destroy). */
typedef void (*velmora_account_profile_list_response_cb)(int result,
                                                         velmora_account_profile_list_h list,
                                                         void *user_data);

/* ---- profile items and lists ---- */

/* Creates an empty profile of `category` (velmora_account_profile_category_e) with an unknown
 * privacy; the caller releases it with velmora_account_profile_destroy.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER (NULL handle, unknown category), OUT_OF_MEMORY. */
VELMORA_API int velmora_account_profile_create(int category, velmora_account_profile_h *handle);

/* Releases a profile and its item. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER. */
VELMORA_API int velmora_account_profile_destroy(velmora_account_profile_h profile);

/* Creates an empty profile list (no items, unknown privacy everywhere); the caller releases it with
 * velmora_account_profile_list_destroy. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER,
 * OUT_OF_MEMORY. */
VELMORA_API int velmora_account_profile_list_create(velmora_account_profile_list_h *handle);

/* Releases a profile list and everything in it. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER. */
VELMORA_API int velmora_account_profile_list_destroy(velmora_account_profile_list_h list);

/* Copies the profile's item (and its privacy, when known) into the list; the caller keeps the
 * profile. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER (NULL argument, the category is full),
 * OUT_OF_MEMORY. */
VELMORA_API int velmora_account_profile_list_append(velmora_account_profile_list_h list,
                                                    velmora_account_profile_h profile);

/* ---- item access ---- */

/* Hands out a copy of the string field `item` (velmora_account_profile_item_e) in *value; the
 * caller frees it. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER (NULL argument, not a string id),
 * NO_DATA (the profile has no such field set). */
VELMORA_API int velmora_account_profile_get_item_str(velmora_account_profile_h profile, int item,
                                                     char **value);

/* Sets the string field `item` to a copy of `value`. VERIFIED fields cannot be set.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER (NULL argument, unknown or VERIFIED id, a field of
 * another category). */
VELMORA_API int velmora_account_profile_set_item_str(velmora_account_profile_h profile, int item,
                                                     const char *value);

/* Reads the source (velmora_account_profile_source_e) addressed by a SOURCE item id.
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, NO_DATA (NAME or BIRTHDAY source not set). */
VELMORA_API int velmora_account_profile_get_item_source(velmora_account_profile_h profile, int item,
                                                        int *value);

/* Sets the source of a NAME or BIRTHDAY profile (item VELMORA_ACCOUNT_PROFILE_ITEM_NAME_SOURCE or
 * _BIRTHDAY_SOURCE). Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER. */
VELMORA_API int velmora_account_profile_set_item_source(velmora_account_profile_h profile, int item,
                                                        int value);

/* Reads the profile's privacy (velmora_account_profile_privacy_e) into *value; `category` is only
 * checked. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, NO_DATA (privacy unknown; *value is
 * then VELMORA_ACCOUNT_PROFILE_PRIVACY_UNKNOWN). */
VELMORA_API int velmora_account_profile_get_privacy(velmora_account_profile_h profile, int category,
                                                    int *value);

/* Sets the profile's privacy (at most VELMORA_ACCOUNT_PROFILE_PRIVACY_GROUP); `category` is only
 * checked. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER. */
VELMORA_API int velmora_account_profile_set_privacy(velmora_account_profile_h profile, int category,
                                                    int value);

/* Copies one category of the profile that `handle` carries (filled by
 * velmora_account_profile_request_info) into `list`, a list made by
 * velmora_account_profile_list_create. Returns NONE (also when only a privacy is known),
 * NOT_SUPPORTED, INVALID_PARAMETER, NO_DATA (no profile, or nothing of the category),
 * OUT_OF_MEMORY. */
VELMORA_API int velmora_account_profile_get_profile_list(velmora_account_h handle, int category,
                                                         velmora_account_profile_list_h list);

/* Walks the list, calling `callback` for each item (see velmora_account_profile_cb).
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY. */
VELMORA_API int velmora_account_profile_list_foreach(velmora_account_profile_list_h list,
                                                     velmora_account_profile_cb callback,
                                                     void *user_data);

/* ---- requests to the agent ---- */

/* Asks for one category of the profile (login id and client id required). Requires agent API
 * level 3. Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER, OUT_OF_MEMORY, launch or
 * port failure. */
VELMORA_API int velmora_account_profile_request_profile(
    velmora_account_h handle, int category, velmora_account_profile_list_response_cb callback,
    void *user_data);

/* Asks for the privacy of every category (login id and client id required). Requires agent API
 * level 3. Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER, OUT_OF_MEMORY, launch or
 * port failure. */
VELMORA_API int velmora_account_profile_request_privacy(
    velmora_account_h handle, velmora_account_profile_list_response_cb callback, void *user_data);

/* Asks for the whole profile (login id and client id required); the response handle carries it for
 * velmora_account_profile_get_profile_list. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER,
 * OUT_OF_MEMORY, launch or port failure. */
VELMORA_API int velmora_account_profile_request_info(velmora_account_h handle,
                                                     velmora_account_response_cb callback,
                                                     void *user_data);

/* Sends the items of `list` to the agent (login id and client id required); the list stays the
 * caller's. Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch or port failure.
 */
VELMORA_API int velmora_account_profile_update_info(velmora_account_h handle,
                                                    velmora_account_profile_list_h list,
                                                    velmora_account_response_cb callback,
                                                    void *user_data);

/* Sends the privacy values of `list` to the agent (login id and client id required).
 * Returns NONE, NOT_SUPPORTED, INVALID_PARAMETER, OUT_OF_MEMORY, launch or port failure. */
VELMORA_API int velmora_account_profile_update_privacy(velmora_account_h handle,
                                                       velmora_account_profile_list_h list,
                                                       velmora_account_response_cb callback,
                                                       void *user_data);

/* Registers for profile-change notification (login id required). Requires agent API level 2; not
 * offered for a connected handle. Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER,
 * OUT_OF_MEMORY, launch failure. */
VELMORA_API int velmora_account_profile_subscribe(velmora_account_h handle,
                                                  velmora_account_response_cb callback,
                                                  void *user_data);

/* Unregisters from profile-change notification (login id required). Requires agent API level 2;
 * not offered for a connected handle. Returns NONE, NOT_SUPPORTED, LOWER_VERSION,
 * INVALID_PARAMETER, OUT_OF_MEMORY, launch failure. */
VELMORA_API int velmora_account_profile_unsubscribe(velmora_account_h handle,
                                                    velmora_account_response_cb callback,
                                                    void *user_data);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_ACCOUNT_PROFILE_H */
