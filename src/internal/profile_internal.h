/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: what the profile area's files share: copying items into a list, and
 * (with the requests) turning replies into lists and lists into update bodies.
 */
#ifndef VELMORA_PROFILE_INTERNAL_H
#define VELMORA_PROFILE_INTERNAL_H

#include <glib.h>
#include <stdbool.h>

#include "account_svc_proxy.h"
#include "app_control.h"
#include "profile_record.h"
#include "request_record.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Copies every non-NULL string field of the item record `source` into `dest` (both of
 * `category`), replacing what `dest` held; the field at `skip_position` is left alone (-1: none).
 * A NULL source copies nothing. False when out of memory (the fields copied so far stay). */
bool va_profile_item_copy(void *dest, const void *source, int category, int skip_position);

/* Copies the profile's item of `category` into `dest` at position count (the single record of a
 * single category), allocating the item record when missing; the profile's privacy, when known,
 * becomes the list's privacy for the category. The count is left to the caller.
 * Returns NONE, INVALID_PARAMETER (NULL argument), OUT_OF_MEMORY. */
int va_profile_append_item(velmora_account_profile_list_h dest, velmora_account_profile_h source,
                           int category);

/* The category an update sends: the first of NICKNAME, PHOTO, ORGANIZATION, GENDER, STATUS, NOTE,
 * HEALTH, NAME, BIRTHDAY, MESSENGER, PHONE, EMAIL, WEB, EVENT that the list holds an item of; -1
 * when it holds none. */
int va_profile_update_category(velmora_account_profile_list_h list);

/* ---- app-control reply keys ---- */

/* Parses one reply extra into `list` (which may be NULL: keys that need a list are then logged and
 * skipped): privacy keys ("names"), count keys ("names_count"), item fields ("nicknames:value",
 * "names_2:givenName") and sources ("names_2:metadata:source:type"). Counts and item numbers beyond
 * a category's slots are refused with a log line. Returns VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY when
 * the item or the value's copy could not be made ("OUT_OF_MEMORY, calloc failed."), else NONE. */
int va_profile_parse_extra(velmora_account_profile_list_h list, const char *key, const char *value);
/* app_control_foreach_extra_data visitor: reads the value of `key` and parses it into the list
 * given as user data; always goes on with the next key. */
bool va_profile_foreach_extra_cb(app_control_h app_control, const char *key, void *user_data);
/* The same into the list of a va_profile_fill_s, whose out_of_memory it sets when a value could
 * not be stored for lack of memory. */
typedef struct {
  velmora_account_profile_list_h list;
  bool out_of_memory;
} va_profile_fill_s;
bool va_profile_fill_extra_cb(app_control_h app_control, const char *key, void *user_data);

/* Adds the update body of `list_h` to an app control: "resource" and the fields of the one
 * category an update sends (va_profile_update_category); nothing when the list holds no item.
 * Returns NONE, INVALID_PARAMETER (NULL argument), OUT_OF_MEMORY. */
int va_profile_add_update_body(app_control_h app_control, velmora_account_profile_list_h list_h);

/* ---- the port's records (ProfileS, PrivacyS and the item records <Nidl>S) ---- */

/* A new, empty item record of the port for `category` (NULL for a bad category or no memory);
 * release it with va_profile_nidl_item_free. */
void *va_profile_nidl_item_new(int category);
void va_profile_nidl_item_free(int category, void *item);
/* The string field at `position` of the port's item record of `category`; position string_count
 * is the record's Source (NAME and BIRTHDAY). NULL when there is no such field. */
char **va_profile_nidl_field(void *item, int category, int position);
/* The item list of a list category in `profile` (NULL for a single category). */
GList **va_profile_nidl_list(rpc_port_ProfileS_h profile, int category);
/* The item record field of a single category in `profile` (NULL for a list category). */
void **va_profile_nidl_single(rpc_port_ProfileS_h profile, int category);
/* The Privacy field of `profile`, and the value of `category` in a privacy record. */
rpc_port_PrivacyS_h *va_profile_nidl_privacy_of(rpc_port_ProfileS_h profile);
int *va_profile_nidl_privacy(rpc_port_PrivacyS_h privacy, int category);

/* The source of a port item record read as a list's stored source: "ACCOUNT" 0, another non-empty
 * text 1, none 2 (not set). */
int va_profile_source_from_text(const char *text);
/* The word a stored source travels as: "ACCOUNT", "PROFILE", or NULL when it is not set. */
const char *va_profile_source_text(int source);

/* Fills `list` from the port's profile record: every list category's items (at most its limit)
 * with their count, every single category the record carries (count 1), and the privacy values
 * when the record has them. Logs under the name "GetProfileListFromNidl". Returns
 * VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY when an item could not be made or copied (the rest is read),
 * else NONE. */
int va_profile_list_from_nidl(velmora_account_profile_list_h list, rpc_port_ProfileS_h profile);

/* The port's profile record of an update: Type "profile", Resource the word of `category`, the
 * list's items of that category (verified fields left out) and the list's privacy values; for a
 * category of -1 (nothing to send) the Type and the privacy alone. NULL when out of memory. */
rpc_port_ProfileS_h va_profile_nidl_from_list(velmora_account_profile_list_h list, int category);

/* The port's privacy record holding the list's fourteen privacy values (3 where none is known).
 * NULL when out of memory. */
rpc_port_PrivacyS_h va_profile_nidl_privacy_from_list(velmora_account_profile_list_h list);

/* ---- replies to the profile requests (profile_replies.cc) ---- */

/* App-control reply parsers (va_reply_parser_fn): the whole profile into the clone's link (new),
 * then (result, clone); one category or the privacy into a new list in the request's list slot,
 * then (result, list) and the clone released; an update's result to (result, clone); a
 * subscription's "login_id" into the clone, then (result, clone). */
void va_profile_reply_info(velmora_account_request_h request, app_control_h reply,
                           app_control_result_e launch, int result);
void va_profile_reply_list(velmora_account_request_h request, app_control_h reply,
                           app_control_result_e launch, int result);
void va_profile_reply_update(velmora_account_request_h request, app_control_h reply,
                             app_control_result_e launch, int result);
void va_profile_reply_subscription(velmora_account_request_h request, app_control_h reply,
                                   app_control_result_e launch, int result);

/* Port delegate callbacks, user data the request record: ResponseProfileCb of request_info (the
 * clone's link) and of request_profile / request_privacy (a list to the caller), ResponseErrorCb
 * of update_info and of update_privacy (whose request record is kept, not freed). */
void va_profile_port_info_cb(void *user_data, int result, rpc_port_ProfileS_h profile);
void va_profile_port_list_cb(void *user_data, int result, rpc_port_ProfileS_h profile);
void va_profile_port_update_cb(void *user_data, int result);
void va_profile_port_privacy_cb(void *user_data, int result);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PROFILE_INTERNAL_H */
