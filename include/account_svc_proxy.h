/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the interface of the agent's AccountSvc port.
 *
 * GENERATED FILE, do not edit: src/rpc/proxy_header/gen_proxy_header.cc writes it from the records
 * table (src/internal/account_svc_records.def.h) and the frame account_svc_proxy.h.in beside it.
 * Change those, then run `cmake --build <build dir> --target proxy-header`.
 *
 * Records, lists, reply delegates and the proxy with its fourteen method calls. Each family of
 * functions is documented once, where it begins; every function is then declared in full.
 *
 * Rules of this interface:
 *  1. Every function returns 0 on success and -1 on any failure, unless its comment says otherwise.
 *     Every failure is logged once at error priority under the tag "RPC_PORT_PROXY".
 *  2. Every handle is an opaque heap record made by a _create function and freed by its _destroy
 *     function. A record owns everything it points to (strings, nested records, list items).
 *  3. Strings and handles handed in are copied; the caller keeps its own. Strings handed out are
 *     new copies the caller frees with free(); handles handed out are clones the caller destroys.
 *  4. Items lent to a foreach callback belong to the list; the callback must not destroy them.
 *  5. Every record and list begins with its parcelable pair, so a handle can be given directly to
 *     rpc_port_parcel_write() / rpc_port_parcel_read() of the platform.
 *  6. Records, lists and delegates take no lock: a handle must not be used from two threads at
 *     once. Only a proxy serialises its method calls (each holds the proxy's mutex while it waits).
 */
#ifndef VELMORA_ACCOUNT_SVC_PROXY_H
#define VELMORA_ACCOUNT_SVC_PROXY_H

#include <stdbool.h>

#include "velmora_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* clang-format off */

/* ---- handles ----
 * rpc_port_<Type>_h for each record and each list: an opaque pointer. */
typedef struct rpc_port_AccountS_s *rpc_port_AccountS_h;
typedef struct rpc_port_NameS_s *rpc_port_NameS_h;
typedef struct rpc_port_BirthdayS_s *rpc_port_BirthdayS_h;
typedef struct rpc_port_MessengerS_s *rpc_port_MessengerS_h;
typedef struct rpc_port_PhoneS_s *rpc_port_PhoneS_h;
typedef struct rpc_port_EmailS_s *rpc_port_EmailS_h;
typedef struct rpc_port_EventS_s *rpc_port_EventS_h;
typedef struct rpc_port_WebS_s *rpc_port_WebS_h;
typedef struct rpc_port_NicknameS_s *rpc_port_NicknameS_h;
typedef struct rpc_port_GenderS_s *rpc_port_GenderS_h;
typedef struct rpc_port_StatusS_s *rpc_port_StatusS_h;
typedef struct rpc_port_NoteS_s *rpc_port_NoteS_h;
typedef struct rpc_port_PhotoS_s *rpc_port_PhotoS_h;
typedef struct rpc_port_OrganizationS_s *rpc_port_OrganizationS_h;
typedef struct rpc_port_HealthS_s *rpc_port_HealthS_h;
typedef struct rpc_port_PrivacyS_s *rpc_port_PrivacyS_h;
typedef struct rpc_port_ProfileS_s *rpc_port_ProfileS_h;
typedef struct rpc_port_PlaceS_s *rpc_port_PlaceS_h;
typedef struct rpc_port_PlaceInfoS_s *rpc_port_PlaceInfoS_h;
typedef struct rpc_port_list_NameS_s *rpc_port_list_NameS_h;
typedef struct rpc_port_list_BirthdayS_s *rpc_port_list_BirthdayS_h;
typedef struct rpc_port_list_MessengerS_s *rpc_port_list_MessengerS_h;
typedef struct rpc_port_list_PhoneS_s *rpc_port_list_PhoneS_h;
typedef struct rpc_port_list_EmailS_s *rpc_port_list_EmailS_h;
typedef struct rpc_port_list_WebS_s *rpc_port_list_WebS_h;
typedef struct rpc_port_list_EventS_s *rpc_port_list_EventS_h;
typedef struct rpc_port_list_PlaceS_s *rpc_port_list_PlaceS_h;
typedef struct rpc_port_list_string_s *rpc_port_list_string_h;

/* ---- records and lists: the per-type family ----
 *
 * int rpc_port_<Type>_create(rpc_port_<Type>_h *h)
 *   A new zeroed record (strings NULL, numbers 0, nested records NULL, lists empty) in *h, owned by
 *   the caller. -1 for NULL h or out of memory.
 * int rpc_port_<Type>_destroy(rpc_port_<Type>_h h)
 *   Frees the record and everything it owns. -1 for NULL h.
 * int rpc_port_<Type>_clone(rpc_port_<Type>_h h, rpc_port_<Type>_h *clone)
 *   A deep copy in *clone, owned by the caller; NULL fields stay NULL. -1 for NULL arguments, out
 *   of memory, or a NULL item in one of its lists; no partial copy is left behind.
 */

/* ---- records and lists: the per-field family ----
 *
 * String field:
 *   int rpc_port_<Type>_set_<Field>(h, const char *value)
 *     Replaces the field with a copy of value. Both must be non-NULL (a string cannot be set back
 *     to NULL). If copying fails the field is left NULL.
 *   int rpc_port_<Type>_get_<Field>(h, char **value)
 *     A new copy in *value (caller frees). -1 and *value untouched when the field is NULL, so
 *     callers pre-set *value; this case is logged as "Invalid parameter: h-><Field> is NULL".
 * int / long long / double field:
 *   int rpc_port_<Type>_set_<Field>(h, <type> value); int rpc_port_<Type>_get_<Field>(h, <type> *)
 *     Store and read the value; only NULL arguments fail.
 * Nested record field (ProfileS):
 *   int rpc_port_<Type>_set_<Field>(h, rpc_port_<Item>_h value)
 *     Replaces the field with a clone of value (the caller keeps value). If cloning fails the
 *     field is left NULL.
 *   int rpc_port_<Type>_get_<Field>(h, rpc_port_<Item>_h *value)
 *     A clone in *value (caller destroys); -1 and *value untouched when the field is NULL.
 * List field (ProfileS, PlaceInfoS, and the single field list_<Item>s of each list type):
 *   int rpc_port_<Type>_add_<Field>(h, rpc_port_<Item>_h value)   (const char * for strings)
 *     Appends a copy of value; the caller keeps value.
 *   int rpc_port_<Type>_foreach_<Field>(h, bool (*callback)(item, void *user_data), user_data)
 *     Calls callback for each item from the head, lending it; stops when callback returns false.
 *     NULL items are skipped with a warning. Returns 0 whether or not the walk was stopped.
 *   int rpc_port_<Type>_remove_<Field>(h, unsigned int nth)
 *     Removes and destroys the item at zero-based position nth; -1 (not logged) past the end.
 *   int rpc_port_<Type>_get_<Field>_length(h, unsigned int *length)
 *     The number of items in *length.
 */

/* ---- AccountS: 20 string fields, 3 int fields and 2 long long fields ---- */
VELMORA_API int rpc_port_AccountS_create(rpc_port_AccountS_h *h);
VELMORA_API int rpc_port_AccountS_destroy(rpc_port_AccountS_h h);
VELMORA_API int rpc_port_AccountS_clone(rpc_port_AccountS_h h, rpc_port_AccountS_h *clone);
VELMORA_API int rpc_port_AccountS_set_AccessToken(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_AccessToken(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_ApiServerUrl(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_ApiServerUrl(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_AuthCode(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_AuthCode(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_AuthServerUrl(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_AuthServerUrl(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_ClientId(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_ClientId(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_ClientSecret(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_ClientSecret(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_CountryCode(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_CountryCode(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_DeviceUniqueCode(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_DeviceUniqueCode(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_LastAccessToken(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_LastAccessToken(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_LoginId(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_LoginId(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_Mcc(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_Mcc(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_Password(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_Password(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_RefreshToken(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_RefreshToken(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_Scope(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_Scope(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_UserId(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_UserId(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_SigninAppMessage(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_SigninAppMessage(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_Aaa(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_Aaa(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_Bbb(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_Bbb(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_Ccc(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_Ccc(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_Reserved(rpc_port_AccountS_h h, const char *value);
VELMORA_API int rpc_port_AccountS_get_Reserved(rpc_port_AccountS_h h, char **value);
VELMORA_API int rpc_port_AccountS_set_TncStatus(rpc_port_AccountS_h h, int value);
VELMORA_API int rpc_port_AccountS_get_TncStatus(rpc_port_AccountS_h h, int *value);
VELMORA_API int rpc_port_AccountS_set_TokenExpiresIn(rpc_port_AccountS_h h, int value);
VELMORA_API int rpc_port_AccountS_get_TokenExpiresIn(rpc_port_AccountS_h h, int *value);
VELMORA_API int rpc_port_AccountS_set_TokenIssueTime(rpc_port_AccountS_h h, int value);
VELMORA_API int rpc_port_AccountS_get_TokenIssueTime(rpc_port_AccountS_h h, int *value);
VELMORA_API int rpc_port_AccountS_set_LongExpiresIn(rpc_port_AccountS_h h, long long value);
VELMORA_API int rpc_port_AccountS_get_LongExpiresIn(rpc_port_AccountS_h h, long long *value);
VELMORA_API int rpc_port_AccountS_set_LongIssueTime(rpc_port_AccountS_h h, long long value);
VELMORA_API int rpc_port_AccountS_get_LongIssueTime(rpc_port_AccountS_h h, long long *value);

/* ---- NameS: 10 string fields ---- */
VELMORA_API int rpc_port_NameS_create(rpc_port_NameS_h *h);
VELMORA_API int rpc_port_NameS_destroy(rpc_port_NameS_h h);
VELMORA_API int rpc_port_NameS_clone(rpc_port_NameS_h h, rpc_port_NameS_h *clone);
VELMORA_API int rpc_port_NameS_set_FamilyName(rpc_port_NameS_h h, const char *value);
VELMORA_API int rpc_port_NameS_get_FamilyName(rpc_port_NameS_h h, char **value);
VELMORA_API int rpc_port_NameS_set_MiddleName(rpc_port_NameS_h h, const char *value);
VELMORA_API int rpc_port_NameS_get_MiddleName(rpc_port_NameS_h h, char **value);
VELMORA_API int rpc_port_NameS_set_GivenName(rpc_port_NameS_h h, const char *value);
VELMORA_API int rpc_port_NameS_get_GivenName(rpc_port_NameS_h h, char **value);
VELMORA_API int rpc_port_NameS_set_PhoneticFamily(rpc_port_NameS_h h, const char *value);
VELMORA_API int rpc_port_NameS_get_PhoneticFamily(rpc_port_NameS_h h, char **value);
VELMORA_API int rpc_port_NameS_set_PhoneticMiddle(rpc_port_NameS_h h, const char *value);
VELMORA_API int rpc_port_NameS_get_PhoneticMiddle(rpc_port_NameS_h h, char **value);
VELMORA_API int rpc_port_NameS_set_PhoneticGiven(rpc_port_NameS_h h, const char *value);
VELMORA_API int rpc_port_NameS_get_PhoneticGiven(rpc_port_NameS_h h, char **value);
VELMORA_API int rpc_port_NameS_set_Prefix(rpc_port_NameS_h h, const char *value);
VELMORA_API int rpc_port_NameS_get_Prefix(rpc_port_NameS_h h, char **value);
VELMORA_API int rpc_port_NameS_set_Suffix(rpc_port_NameS_h h, const char *value);
VELMORA_API int rpc_port_NameS_get_Suffix(rpc_port_NameS_h h, char **value);
VELMORA_API int rpc_port_NameS_set_Verified(rpc_port_NameS_h h, const char *value);
VELMORA_API int rpc_port_NameS_get_Verified(rpc_port_NameS_h h, char **value);
VELMORA_API int rpc_port_NameS_set_Source(rpc_port_NameS_h h, const char *value);
VELMORA_API int rpc_port_NameS_get_Source(rpc_port_NameS_h h, char **value);

/* ---- BirthdayS: 7 string fields ---- */
VELMORA_API int rpc_port_BirthdayS_create(rpc_port_BirthdayS_h *h);
VELMORA_API int rpc_port_BirthdayS_destroy(rpc_port_BirthdayS_h h);
VELMORA_API int rpc_port_BirthdayS_clone(rpc_port_BirthdayS_h h, rpc_port_BirthdayS_h *clone);
VELMORA_API int rpc_port_BirthdayS_set_Day(rpc_port_BirthdayS_h h, const char *value);
VELMORA_API int rpc_port_BirthdayS_get_Day(rpc_port_BirthdayS_h h, char **value);
VELMORA_API int rpc_port_BirthdayS_set_Month(rpc_port_BirthdayS_h h, const char *value);
VELMORA_API int rpc_port_BirthdayS_get_Month(rpc_port_BirthdayS_h h, char **value);
VELMORA_API int rpc_port_BirthdayS_set_Year(rpc_port_BirthdayS_h h, const char *value);
VELMORA_API int rpc_port_BirthdayS_get_Year(rpc_port_BirthdayS_h h, char **value);
VELMORA_API int rpc_port_BirthdayS_set_Date(rpc_port_BirthdayS_h h, const char *value);
VELMORA_API int rpc_port_BirthdayS_get_Date(rpc_port_BirthdayS_h h, char **value);
VELMORA_API int rpc_port_BirthdayS_set_Type(rpc_port_BirthdayS_h h, const char *value);
VELMORA_API int rpc_port_BirthdayS_get_Type(rpc_port_BirthdayS_h h, char **value);
VELMORA_API int rpc_port_BirthdayS_set_Verified(rpc_port_BirthdayS_h h, const char *value);
VELMORA_API int rpc_port_BirthdayS_get_Verified(rpc_port_BirthdayS_h h, char **value);
VELMORA_API int rpc_port_BirthdayS_set_Source(rpc_port_BirthdayS_h h, const char *value);
VELMORA_API int rpc_port_BirthdayS_get_Source(rpc_port_BirthdayS_h h, char **value);

/* ---- MessengerS: 5 string fields ---- */
VELMORA_API int rpc_port_MessengerS_create(rpc_port_MessengerS_h *h);
VELMORA_API int rpc_port_MessengerS_destroy(rpc_port_MessengerS_h h);
VELMORA_API int rpc_port_MessengerS_clone(rpc_port_MessengerS_h h, rpc_port_MessengerS_h *clone);
VELMORA_API int rpc_port_MessengerS_set_Value(rpc_port_MessengerS_h h, const char *value);
VELMORA_API int rpc_port_MessengerS_get_Value(rpc_port_MessengerS_h h, char **value);
VELMORA_API int rpc_port_MessengerS_set_Type(rpc_port_MessengerS_h h, const char *value);
VELMORA_API int rpc_port_MessengerS_get_Type(rpc_port_MessengerS_h h, char **value);
VELMORA_API int rpc_port_MessengerS_set_Label(rpc_port_MessengerS_h h, const char *value);
VELMORA_API int rpc_port_MessengerS_get_Label(rpc_port_MessengerS_h h, char **value);
VELMORA_API int rpc_port_MessengerS_set_Key(rpc_port_MessengerS_h h, const char *value);
VELMORA_API int rpc_port_MessengerS_get_Key(rpc_port_MessengerS_h h, char **value);
VELMORA_API int rpc_port_MessengerS_set_Verified(rpc_port_MessengerS_h h, const char *value);
VELMORA_API int rpc_port_MessengerS_get_Verified(rpc_port_MessengerS_h h, char **value);

/* ---- PhoneS: 5 string fields ---- */
VELMORA_API int rpc_port_PhoneS_create(rpc_port_PhoneS_h *h);
VELMORA_API int rpc_port_PhoneS_destroy(rpc_port_PhoneS_h h);
VELMORA_API int rpc_port_PhoneS_clone(rpc_port_PhoneS_h h, rpc_port_PhoneS_h *clone);
VELMORA_API int rpc_port_PhoneS_set_Value(rpc_port_PhoneS_h h, const char *value);
VELMORA_API int rpc_port_PhoneS_get_Value(rpc_port_PhoneS_h h, char **value);
VELMORA_API int rpc_port_PhoneS_set_Type(rpc_port_PhoneS_h h, const char *value);
VELMORA_API int rpc_port_PhoneS_get_Type(rpc_port_PhoneS_h h, char **value);
VELMORA_API int rpc_port_PhoneS_set_Label(rpc_port_PhoneS_h h, const char *value);
VELMORA_API int rpc_port_PhoneS_get_Label(rpc_port_PhoneS_h h, char **value);
VELMORA_API int rpc_port_PhoneS_set_Key(rpc_port_PhoneS_h h, const char *value);
VELMORA_API int rpc_port_PhoneS_get_Key(rpc_port_PhoneS_h h, char **value);
VELMORA_API int rpc_port_PhoneS_set_Verified(rpc_port_PhoneS_h h, const char *value);
VELMORA_API int rpc_port_PhoneS_get_Verified(rpc_port_PhoneS_h h, char **value);

/* ---- EmailS: 5 string fields ---- */
VELMORA_API int rpc_port_EmailS_create(rpc_port_EmailS_h *h);
VELMORA_API int rpc_port_EmailS_destroy(rpc_port_EmailS_h h);
VELMORA_API int rpc_port_EmailS_clone(rpc_port_EmailS_h h, rpc_port_EmailS_h *clone);
VELMORA_API int rpc_port_EmailS_set_Value(rpc_port_EmailS_h h, const char *value);
VELMORA_API int rpc_port_EmailS_get_Value(rpc_port_EmailS_h h, char **value);
VELMORA_API int rpc_port_EmailS_set_Type(rpc_port_EmailS_h h, const char *value);
VELMORA_API int rpc_port_EmailS_get_Type(rpc_port_EmailS_h h, char **value);
VELMORA_API int rpc_port_EmailS_set_Label(rpc_port_EmailS_h h, const char *value);
VELMORA_API int rpc_port_EmailS_get_Label(rpc_port_EmailS_h h, char **value);
VELMORA_API int rpc_port_EmailS_set_Key(rpc_port_EmailS_h h, const char *value);
VELMORA_API int rpc_port_EmailS_get_Key(rpc_port_EmailS_h h, char **value);
VELMORA_API int rpc_port_EmailS_set_Verified(rpc_port_EmailS_h h, const char *value);
VELMORA_API int rpc_port_EmailS_get_Verified(rpc_port_EmailS_h h, char **value);

/* ---- EventS: 5 string fields ---- */
VELMORA_API int rpc_port_EventS_create(rpc_port_EventS_h *h);
VELMORA_API int rpc_port_EventS_destroy(rpc_port_EventS_h h);
VELMORA_API int rpc_port_EventS_clone(rpc_port_EventS_h h, rpc_port_EventS_h *clone);
VELMORA_API int rpc_port_EventS_set_Value(rpc_port_EventS_h h, const char *value);
VELMORA_API int rpc_port_EventS_get_Value(rpc_port_EventS_h h, char **value);
VELMORA_API int rpc_port_EventS_set_Type(rpc_port_EventS_h h, const char *value);
VELMORA_API int rpc_port_EventS_get_Type(rpc_port_EventS_h h, char **value);
VELMORA_API int rpc_port_EventS_set_Label(rpc_port_EventS_h h, const char *value);
VELMORA_API int rpc_port_EventS_get_Label(rpc_port_EventS_h h, char **value);
VELMORA_API int rpc_port_EventS_set_Key(rpc_port_EventS_h h, const char *value);
VELMORA_API int rpc_port_EventS_get_Key(rpc_port_EventS_h h, char **value);
VELMORA_API int rpc_port_EventS_set_Verified(rpc_port_EventS_h h, const char *value);
VELMORA_API int rpc_port_EventS_get_Verified(rpc_port_EventS_h h, char **value);

/* ---- WebS: 3 string fields ---- */
VELMORA_API int rpc_port_WebS_create(rpc_port_WebS_h *h);
VELMORA_API int rpc_port_WebS_destroy(rpc_port_WebS_h h);
VELMORA_API int rpc_port_WebS_clone(rpc_port_WebS_h h, rpc_port_WebS_h *clone);
VELMORA_API int rpc_port_WebS_set_Value(rpc_port_WebS_h h, const char *value);
VELMORA_API int rpc_port_WebS_get_Value(rpc_port_WebS_h h, char **value);
VELMORA_API int rpc_port_WebS_set_Key(rpc_port_WebS_h h, const char *value);
VELMORA_API int rpc_port_WebS_get_Key(rpc_port_WebS_h h, char **value);
VELMORA_API int rpc_port_WebS_set_Verified(rpc_port_WebS_h h, const char *value);
VELMORA_API int rpc_port_WebS_get_Verified(rpc_port_WebS_h h, char **value);

/* ---- NicknameS: 2 string fields ---- */
VELMORA_API int rpc_port_NicknameS_create(rpc_port_NicknameS_h *h);
VELMORA_API int rpc_port_NicknameS_destroy(rpc_port_NicknameS_h h);
VELMORA_API int rpc_port_NicknameS_clone(rpc_port_NicknameS_h h, rpc_port_NicknameS_h *clone);
VELMORA_API int rpc_port_NicknameS_set_Value(rpc_port_NicknameS_h h, const char *value);
VELMORA_API int rpc_port_NicknameS_get_Value(rpc_port_NicknameS_h h, char **value);
VELMORA_API int rpc_port_NicknameS_set_Verified(rpc_port_NicknameS_h h, const char *value);
VELMORA_API int rpc_port_NicknameS_get_Verified(rpc_port_NicknameS_h h, char **value);

/* ---- GenderS: 2 string fields ---- */
VELMORA_API int rpc_port_GenderS_create(rpc_port_GenderS_h *h);
VELMORA_API int rpc_port_GenderS_destroy(rpc_port_GenderS_h h);
VELMORA_API int rpc_port_GenderS_clone(rpc_port_GenderS_h h, rpc_port_GenderS_h *clone);
VELMORA_API int rpc_port_GenderS_set_Value(rpc_port_GenderS_h h, const char *value);
VELMORA_API int rpc_port_GenderS_get_Value(rpc_port_GenderS_h h, char **value);
VELMORA_API int rpc_port_GenderS_set_Verified(rpc_port_GenderS_h h, const char *value);
VELMORA_API int rpc_port_GenderS_get_Verified(rpc_port_GenderS_h h, char **value);

/* ---- StatusS: 2 string fields ---- */
VELMORA_API int rpc_port_StatusS_create(rpc_port_StatusS_h *h);
VELMORA_API int rpc_port_StatusS_destroy(rpc_port_StatusS_h h);
VELMORA_API int rpc_port_StatusS_clone(rpc_port_StatusS_h h, rpc_port_StatusS_h *clone);
VELMORA_API int rpc_port_StatusS_set_Value(rpc_port_StatusS_h h, const char *value);
VELMORA_API int rpc_port_StatusS_get_Value(rpc_port_StatusS_h h, char **value);
VELMORA_API int rpc_port_StatusS_set_Verified(rpc_port_StatusS_h h, const char *value);
VELMORA_API int rpc_port_StatusS_get_Verified(rpc_port_StatusS_h h, char **value);

/* ---- NoteS: 2 string fields ---- */
VELMORA_API int rpc_port_NoteS_create(rpc_port_NoteS_h *h);
VELMORA_API int rpc_port_NoteS_destroy(rpc_port_NoteS_h h);
VELMORA_API int rpc_port_NoteS_clone(rpc_port_NoteS_h h, rpc_port_NoteS_h *clone);
VELMORA_API int rpc_port_NoteS_set_Value(rpc_port_NoteS_h h, const char *value);
VELMORA_API int rpc_port_NoteS_get_Value(rpc_port_NoteS_h h, char **value);
VELMORA_API int rpc_port_NoteS_set_Verified(rpc_port_NoteS_h h, const char *value);
VELMORA_API int rpc_port_NoteS_get_Verified(rpc_port_NoteS_h h, char **value);

/* ---- PhotoS: 5 string fields ---- */
VELMORA_API int rpc_port_PhotoS_create(rpc_port_PhotoS_h *h);
VELMORA_API int rpc_port_PhotoS_destroy(rpc_port_PhotoS_h h);
VELMORA_API int rpc_port_PhotoS_clone(rpc_port_PhotoS_h h, rpc_port_PhotoS_h *clone);
VELMORA_API int rpc_port_PhotoS_set_Url(rpc_port_PhotoS_h h, const char *value);
VELMORA_API int rpc_port_PhotoS_get_Url(rpc_port_PhotoS_h h, char **value);
VELMORA_API int rpc_port_PhotoS_set_CreateIndex(rpc_port_PhotoS_h h, const char *value);
VELMORA_API int rpc_port_PhotoS_get_CreateIndex(rpc_port_PhotoS_h h, char **value);
VELMORA_API int rpc_port_PhotoS_set_CreateTime(rpc_port_PhotoS_h h, const char *value);
VELMORA_API int rpc_port_PhotoS_get_CreateTime(rpc_port_PhotoS_h h, char **value);
VELMORA_API int rpc_port_PhotoS_set_Hash(rpc_port_PhotoS_h h, const char *value);
VELMORA_API int rpc_port_PhotoS_get_Hash(rpc_port_PhotoS_h h, char **value);
VELMORA_API int rpc_port_PhotoS_set_Verified(rpc_port_PhotoS_h h, const char *value);
VELMORA_API int rpc_port_PhotoS_get_Verified(rpc_port_PhotoS_h h, char **value);

/* ---- OrganizationS: 4 string fields ---- */
VELMORA_API int rpc_port_OrganizationS_create(rpc_port_OrganizationS_h *h);
VELMORA_API int rpc_port_OrganizationS_destroy(rpc_port_OrganizationS_h h);
VELMORA_API int rpc_port_OrganizationS_clone(
    rpc_port_OrganizationS_h h, rpc_port_OrganizationS_h *clone);
VELMORA_API int rpc_port_OrganizationS_set_Company(rpc_port_OrganizationS_h h, const char *value);
VELMORA_API int rpc_port_OrganizationS_get_Company(rpc_port_OrganizationS_h h, char **value);
VELMORA_API int rpc_port_OrganizationS_set_Department(
    rpc_port_OrganizationS_h h, const char *value);
VELMORA_API int rpc_port_OrganizationS_get_Department(rpc_port_OrganizationS_h h, char **value);
VELMORA_API int rpc_port_OrganizationS_set_Title(rpc_port_OrganizationS_h h, const char *value);
VELMORA_API int rpc_port_OrganizationS_get_Title(rpc_port_OrganizationS_h h, char **value);
VELMORA_API int rpc_port_OrganizationS_set_Verified(rpc_port_OrganizationS_h h, const char *value);
VELMORA_API int rpc_port_OrganizationS_get_Verified(rpc_port_OrganizationS_h h, char **value);

/* ---- HealthS: 4 string fields ---- */
VELMORA_API int rpc_port_HealthS_create(rpc_port_HealthS_h *h);
VELMORA_API int rpc_port_HealthS_destroy(rpc_port_HealthS_h h);
VELMORA_API int rpc_port_HealthS_clone(rpc_port_HealthS_h h, rpc_port_HealthS_h *clone);
VELMORA_API int rpc_port_HealthS_set_Height(rpc_port_HealthS_h h, const char *value);
VELMORA_API int rpc_port_HealthS_get_Height(rpc_port_HealthS_h h, char **value);
VELMORA_API int rpc_port_HealthS_set_Weight(rpc_port_HealthS_h h, const char *value);
VELMORA_API int rpc_port_HealthS_get_Weight(rpc_port_HealthS_h h, char **value);
VELMORA_API int rpc_port_HealthS_set_ActivityLevel(rpc_port_HealthS_h h, const char *value);
VELMORA_API int rpc_port_HealthS_get_ActivityLevel(rpc_port_HealthS_h h, char **value);
VELMORA_API int rpc_port_HealthS_set_Verified(rpc_port_HealthS_h h, const char *value);
VELMORA_API int rpc_port_HealthS_get_Verified(rpc_port_HealthS_h h, char **value);

/* ---- PrivacyS: 14 int fields ---- */
VELMORA_API int rpc_port_PrivacyS_create(rpc_port_PrivacyS_h *h);
VELMORA_API int rpc_port_PrivacyS_destroy(rpc_port_PrivacyS_h h);
VELMORA_API int rpc_port_PrivacyS_clone(rpc_port_PrivacyS_h h, rpc_port_PrivacyS_h *clone);
VELMORA_API int rpc_port_PrivacyS_set_Name(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Name(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Birthday(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Birthday(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Messenger(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Messenger(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Phone(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Phone(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Email(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Email(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Web(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Web(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Event(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Event(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Nickname(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Nickname(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Photo(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Photo(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Organization(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Organization(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Gender(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Gender(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Status(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Status(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Note(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Note(rpc_port_PrivacyS_h h, int *value);
VELMORA_API int rpc_port_PrivacyS_set_Health(rpc_port_PrivacyS_h h, int value);
VELMORA_API int rpc_port_PrivacyS_get_Health(rpc_port_PrivacyS_h h, int *value);

/* ---- ProfileS: 4 string fields, 8 record fields and 7 list fields ---- */
VELMORA_API int rpc_port_ProfileS_create(rpc_port_ProfileS_h *h);
VELMORA_API int rpc_port_ProfileS_destroy(rpc_port_ProfileS_h h);
VELMORA_API int rpc_port_ProfileS_clone(rpc_port_ProfileS_h h, rpc_port_ProfileS_h *clone);
VELMORA_API int rpc_port_ProfileS_set_Type(rpc_port_ProfileS_h h, const char *value);
VELMORA_API int rpc_port_ProfileS_get_Type(rpc_port_ProfileS_h h, char **value);
VELMORA_API int rpc_port_ProfileS_set_Resource(rpc_port_ProfileS_h h, const char *value);
VELMORA_API int rpc_port_ProfileS_get_Resource(rpc_port_ProfileS_h h, char **value);
VELMORA_API int rpc_port_ProfileS_set_UpdateType(rpc_port_ProfileS_h h, const char *value);
VELMORA_API int rpc_port_ProfileS_get_UpdateType(rpc_port_ProfileS_h h, char **value);
VELMORA_API int rpc_port_ProfileS_set_Reserved(rpc_port_ProfileS_h h, const char *value);
VELMORA_API int rpc_port_ProfileS_get_Reserved(rpc_port_ProfileS_h h, char **value);
VELMORA_API int rpc_port_ProfileS_add_NameList(rpc_port_ProfileS_h h, rpc_port_NameS_h value);
VELMORA_API int rpc_port_ProfileS_foreach_NameList(
    rpc_port_ProfileS_h h, bool (*callback)(rpc_port_NameS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_ProfileS_remove_NameList(rpc_port_ProfileS_h h, unsigned int nth);
VELMORA_API int rpc_port_ProfileS_get_NameList_length(rpc_port_ProfileS_h h, unsigned int *length);
VELMORA_API int rpc_port_ProfileS_add_BirthdayList(
    rpc_port_ProfileS_h h, rpc_port_BirthdayS_h value);
VELMORA_API int rpc_port_ProfileS_foreach_BirthdayList(
    rpc_port_ProfileS_h h, bool (*callback)(rpc_port_BirthdayS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_ProfileS_remove_BirthdayList(rpc_port_ProfileS_h h, unsigned int nth);
VELMORA_API int rpc_port_ProfileS_get_BirthdayList_length(
    rpc_port_ProfileS_h h, unsigned int *length);
VELMORA_API int rpc_port_ProfileS_add_MessengerList(
    rpc_port_ProfileS_h h, rpc_port_MessengerS_h value);
VELMORA_API int rpc_port_ProfileS_foreach_MessengerList(
    rpc_port_ProfileS_h h, bool (*callback)(rpc_port_MessengerS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_ProfileS_remove_MessengerList(rpc_port_ProfileS_h h, unsigned int nth);
VELMORA_API int rpc_port_ProfileS_get_MessengerList_length(
    rpc_port_ProfileS_h h, unsigned int *length);
VELMORA_API int rpc_port_ProfileS_add_PhoneList(rpc_port_ProfileS_h h, rpc_port_PhoneS_h value);
VELMORA_API int rpc_port_ProfileS_foreach_PhoneList(
    rpc_port_ProfileS_h h, bool (*callback)(rpc_port_PhoneS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_ProfileS_remove_PhoneList(rpc_port_ProfileS_h h, unsigned int nth);
VELMORA_API int rpc_port_ProfileS_get_PhoneList_length(rpc_port_ProfileS_h h, unsigned int *length);
VELMORA_API int rpc_port_ProfileS_add_EmailList(rpc_port_ProfileS_h h, rpc_port_EmailS_h value);
VELMORA_API int rpc_port_ProfileS_foreach_EmailList(
    rpc_port_ProfileS_h h, bool (*callback)(rpc_port_EmailS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_ProfileS_remove_EmailList(rpc_port_ProfileS_h h, unsigned int nth);
VELMORA_API int rpc_port_ProfileS_get_EmailList_length(rpc_port_ProfileS_h h, unsigned int *length);
VELMORA_API int rpc_port_ProfileS_add_WebList(rpc_port_ProfileS_h h, rpc_port_WebS_h value);
VELMORA_API int rpc_port_ProfileS_foreach_WebList(
    rpc_port_ProfileS_h h, bool (*callback)(rpc_port_WebS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_ProfileS_remove_WebList(rpc_port_ProfileS_h h, unsigned int nth);
VELMORA_API int rpc_port_ProfileS_get_WebList_length(rpc_port_ProfileS_h h, unsigned int *length);
VELMORA_API int rpc_port_ProfileS_add_EventList(rpc_port_ProfileS_h h, rpc_port_EventS_h value);
VELMORA_API int rpc_port_ProfileS_foreach_EventList(
    rpc_port_ProfileS_h h, bool (*callback)(rpc_port_EventS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_ProfileS_remove_EventList(rpc_port_ProfileS_h h, unsigned int nth);
VELMORA_API int rpc_port_ProfileS_get_EventList_length(rpc_port_ProfileS_h h, unsigned int *length);
VELMORA_API int rpc_port_ProfileS_set_Nickname(rpc_port_ProfileS_h h, rpc_port_NicknameS_h value);
VELMORA_API int rpc_port_ProfileS_get_Nickname(rpc_port_ProfileS_h h, rpc_port_NicknameS_h *value);
VELMORA_API int rpc_port_ProfileS_set_Photo(rpc_port_ProfileS_h h, rpc_port_PhotoS_h value);
VELMORA_API int rpc_port_ProfileS_get_Photo(rpc_port_ProfileS_h h, rpc_port_PhotoS_h *value);
VELMORA_API int rpc_port_ProfileS_set_Organization(
    rpc_port_ProfileS_h h, rpc_port_OrganizationS_h value);
VELMORA_API int rpc_port_ProfileS_get_Organization(
    rpc_port_ProfileS_h h, rpc_port_OrganizationS_h *value);
VELMORA_API int rpc_port_ProfileS_set_Gender(rpc_port_ProfileS_h h, rpc_port_GenderS_h value);
VELMORA_API int rpc_port_ProfileS_get_Gender(rpc_port_ProfileS_h h, rpc_port_GenderS_h *value);
VELMORA_API int rpc_port_ProfileS_set_Status(rpc_port_ProfileS_h h, rpc_port_StatusS_h value);
VELMORA_API int rpc_port_ProfileS_get_Status(rpc_port_ProfileS_h h, rpc_port_StatusS_h *value);
VELMORA_API int rpc_port_ProfileS_set_Note(rpc_port_ProfileS_h h, rpc_port_NoteS_h value);
VELMORA_API int rpc_port_ProfileS_get_Note(rpc_port_ProfileS_h h, rpc_port_NoteS_h *value);
VELMORA_API int rpc_port_ProfileS_set_Health(rpc_port_ProfileS_h h, rpc_port_HealthS_h value);
VELMORA_API int rpc_port_ProfileS_get_Health(rpc_port_ProfileS_h h, rpc_port_HealthS_h *value);
VELMORA_API int rpc_port_ProfileS_set_Privacy(rpc_port_ProfileS_h h, rpc_port_PrivacyS_h value);
VELMORA_API int rpc_port_ProfileS_get_Privacy(rpc_port_ProfileS_h h, rpc_port_PrivacyS_h *value);

/* ---- PlaceS: 7 string fields, 3 int fields and 2 double fields ---- */
VELMORA_API int rpc_port_PlaceS_create(rpc_port_PlaceS_h *h);
VELMORA_API int rpc_port_PlaceS_destroy(rpc_port_PlaceS_h h);
VELMORA_API int rpc_port_PlaceS_clone(rpc_port_PlaceS_h h, rpc_port_PlaceS_h *clone);
VELMORA_API int rpc_port_PlaceS_set_Name(rpc_port_PlaceS_h h, const char *value);
VELMORA_API int rpc_port_PlaceS_get_Name(rpc_port_PlaceS_h h, char **value);
VELMORA_API int rpc_port_PlaceS_set_Address(rpc_port_PlaceS_h h, const char *value);
VELMORA_API int rpc_port_PlaceS_get_Address(rpc_port_PlaceS_h h, char **value);
VELMORA_API int rpc_port_PlaceS_set_WifiName(rpc_port_PlaceS_h h, const char *value);
VELMORA_API int rpc_port_PlaceS_get_WifiName(rpc_port_PlaceS_h h, char **value);
VELMORA_API int rpc_port_PlaceS_set_WifiBssid(rpc_port_PlaceS_h h, const char *value);
VELMORA_API int rpc_port_PlaceS_get_WifiBssid(rpc_port_PlaceS_h h, char **value);
VELMORA_API int rpc_port_PlaceS_set_BtName(rpc_port_PlaceS_h h, const char *value);
VELMORA_API int rpc_port_PlaceS_get_BtName(rpc_port_PlaceS_h h, char **value);
VELMORA_API int rpc_port_PlaceS_set_BtAddress(rpc_port_PlaceS_h h, const char *value);
VELMORA_API int rpc_port_PlaceS_get_BtAddress(rpc_port_PlaceS_h h, char **value);
VELMORA_API int rpc_port_PlaceS_set_Category(rpc_port_PlaceS_h h, int value);
VELMORA_API int rpc_port_PlaceS_get_Category(rpc_port_PlaceS_h h, int *value);
VELMORA_API int rpc_port_PlaceS_set_Type(rpc_port_PlaceS_h h, int value);
VELMORA_API int rpc_port_PlaceS_get_Type(rpc_port_PlaceS_h h, int *value);
VELMORA_API int rpc_port_PlaceS_set_LocationSource(rpc_port_PlaceS_h h, int value);
VELMORA_API int rpc_port_PlaceS_get_LocationSource(rpc_port_PlaceS_h h, int *value);
VELMORA_API int rpc_port_PlaceS_set_Latitude(rpc_port_PlaceS_h h, double value);
VELMORA_API int rpc_port_PlaceS_get_Latitude(rpc_port_PlaceS_h h, double *value);
VELMORA_API int rpc_port_PlaceS_set_Longitude(rpc_port_PlaceS_h h, double value);
VELMORA_API int rpc_port_PlaceS_get_Longitude(rpc_port_PlaceS_h h, double *value);
VELMORA_API int rpc_port_PlaceS_set_Reserved(rpc_port_PlaceS_h h, const char *value);
VELMORA_API int rpc_port_PlaceS_get_Reserved(rpc_port_PlaceS_h h, char **value);

/* ---- PlaceInfoS: 1 string field, 1 int field and 1 list field ---- */
VELMORA_API int rpc_port_PlaceInfoS_create(rpc_port_PlaceInfoS_h *h);
VELMORA_API int rpc_port_PlaceInfoS_destroy(rpc_port_PlaceInfoS_h h);
VELMORA_API int rpc_port_PlaceInfoS_clone(rpc_port_PlaceInfoS_h h, rpc_port_PlaceInfoS_h *clone);
VELMORA_API int rpc_port_PlaceInfoS_set_size(rpc_port_PlaceInfoS_h h, int value);
VELMORA_API int rpc_port_PlaceInfoS_get_size(rpc_port_PlaceInfoS_h h, int *value);
VELMORA_API int rpc_port_PlaceInfoS_set_Reserved(rpc_port_PlaceInfoS_h h, const char *value);
VELMORA_API int rpc_port_PlaceInfoS_get_Reserved(rpc_port_PlaceInfoS_h h, char **value);
VELMORA_API int rpc_port_PlaceInfoS_add_PlaceList(rpc_port_PlaceInfoS_h h, rpc_port_PlaceS_h value);
VELMORA_API int rpc_port_PlaceInfoS_foreach_PlaceList(
    rpc_port_PlaceInfoS_h h, bool (*callback)(rpc_port_PlaceS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_PlaceInfoS_remove_PlaceList(rpc_port_PlaceInfoS_h h, unsigned int nth);
VELMORA_API int rpc_port_PlaceInfoS_get_PlaceList_length(
    rpc_port_PlaceInfoS_h h, unsigned int *length);

/* ---- list_NameS: 1 list field ---- */
VELMORA_API int rpc_port_list_NameS_create(rpc_port_list_NameS_h *h);
VELMORA_API int rpc_port_list_NameS_destroy(rpc_port_list_NameS_h h);
VELMORA_API int rpc_port_list_NameS_clone(rpc_port_list_NameS_h h, rpc_port_list_NameS_h *clone);
VELMORA_API int rpc_port_list_NameS_add_list_NameSs(
    rpc_port_list_NameS_h h, rpc_port_NameS_h value);
VELMORA_API int rpc_port_list_NameS_foreach_list_NameSs(
    rpc_port_list_NameS_h h, bool (*callback)(rpc_port_NameS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_list_NameS_remove_list_NameSs(rpc_port_list_NameS_h h, unsigned int nth);
VELMORA_API int rpc_port_list_NameS_get_list_NameSs_length(
    rpc_port_list_NameS_h h, unsigned int *length);

/* ---- list_BirthdayS: 1 list field ---- */
VELMORA_API int rpc_port_list_BirthdayS_create(rpc_port_list_BirthdayS_h *h);
VELMORA_API int rpc_port_list_BirthdayS_destroy(rpc_port_list_BirthdayS_h h);
VELMORA_API int rpc_port_list_BirthdayS_clone(
    rpc_port_list_BirthdayS_h h, rpc_port_list_BirthdayS_h *clone);
VELMORA_API int rpc_port_list_BirthdayS_add_list_BirthdaySs(
    rpc_port_list_BirthdayS_h h, rpc_port_BirthdayS_h value);
VELMORA_API int rpc_port_list_BirthdayS_foreach_list_BirthdaySs(
    rpc_port_list_BirthdayS_h h, bool (*callback)(rpc_port_BirthdayS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_list_BirthdayS_remove_list_BirthdaySs(
    rpc_port_list_BirthdayS_h h, unsigned int nth);
VELMORA_API int rpc_port_list_BirthdayS_get_list_BirthdaySs_length(
    rpc_port_list_BirthdayS_h h, unsigned int *length);

/* ---- list_MessengerS: 1 list field ---- */
VELMORA_API int rpc_port_list_MessengerS_create(rpc_port_list_MessengerS_h *h);
VELMORA_API int rpc_port_list_MessengerS_destroy(rpc_port_list_MessengerS_h h);
VELMORA_API int rpc_port_list_MessengerS_clone(
    rpc_port_list_MessengerS_h h, rpc_port_list_MessengerS_h *clone);
VELMORA_API int rpc_port_list_MessengerS_add_list_MessengerSs(
    rpc_port_list_MessengerS_h h, rpc_port_MessengerS_h value);
VELMORA_API int rpc_port_list_MessengerS_foreach_list_MessengerSs(
    rpc_port_list_MessengerS_h h, bool (*callback)(rpc_port_MessengerS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_list_MessengerS_remove_list_MessengerSs(
    rpc_port_list_MessengerS_h h, unsigned int nth);
VELMORA_API int rpc_port_list_MessengerS_get_list_MessengerSs_length(
    rpc_port_list_MessengerS_h h, unsigned int *length);

/* ---- list_PhoneS: 1 list field ---- */
VELMORA_API int rpc_port_list_PhoneS_create(rpc_port_list_PhoneS_h *h);
VELMORA_API int rpc_port_list_PhoneS_destroy(rpc_port_list_PhoneS_h h);
VELMORA_API int rpc_port_list_PhoneS_clone(rpc_port_list_PhoneS_h h, rpc_port_list_PhoneS_h *clone);
VELMORA_API int rpc_port_list_PhoneS_add_list_PhoneSs(
    rpc_port_list_PhoneS_h h, rpc_port_PhoneS_h value);
VELMORA_API int rpc_port_list_PhoneS_foreach_list_PhoneSs(
    rpc_port_list_PhoneS_h h, bool (*callback)(rpc_port_PhoneS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_list_PhoneS_remove_list_PhoneSs(
    rpc_port_list_PhoneS_h h, unsigned int nth);
VELMORA_API int rpc_port_list_PhoneS_get_list_PhoneSs_length(
    rpc_port_list_PhoneS_h h, unsigned int *length);

/* ---- list_EmailS: 1 list field ---- */
VELMORA_API int rpc_port_list_EmailS_create(rpc_port_list_EmailS_h *h);
VELMORA_API int rpc_port_list_EmailS_destroy(rpc_port_list_EmailS_h h);
VELMORA_API int rpc_port_list_EmailS_clone(rpc_port_list_EmailS_h h, rpc_port_list_EmailS_h *clone);
VELMORA_API int rpc_port_list_EmailS_add_list_EmailSs(
    rpc_port_list_EmailS_h h, rpc_port_EmailS_h value);
VELMORA_API int rpc_port_list_EmailS_foreach_list_EmailSs(
    rpc_port_list_EmailS_h h, bool (*callback)(rpc_port_EmailS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_list_EmailS_remove_list_EmailSs(
    rpc_port_list_EmailS_h h, unsigned int nth);
VELMORA_API int rpc_port_list_EmailS_get_list_EmailSs_length(
    rpc_port_list_EmailS_h h, unsigned int *length);

/* ---- list_WebS: 1 list field ---- */
VELMORA_API int rpc_port_list_WebS_create(rpc_port_list_WebS_h *h);
VELMORA_API int rpc_port_list_WebS_destroy(rpc_port_list_WebS_h h);
VELMORA_API int rpc_port_list_WebS_clone(rpc_port_list_WebS_h h, rpc_port_list_WebS_h *clone);
VELMORA_API int rpc_port_list_WebS_add_list_WebSs(rpc_port_list_WebS_h h, rpc_port_WebS_h value);
VELMORA_API int rpc_port_list_WebS_foreach_list_WebSs(
    rpc_port_list_WebS_h h, bool (*callback)(rpc_port_WebS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_list_WebS_remove_list_WebSs(rpc_port_list_WebS_h h, unsigned int nth);
VELMORA_API int rpc_port_list_WebS_get_list_WebSs_length(
    rpc_port_list_WebS_h h, unsigned int *length);

/* ---- list_EventS: 1 list field ---- */
VELMORA_API int rpc_port_list_EventS_create(rpc_port_list_EventS_h *h);
VELMORA_API int rpc_port_list_EventS_destroy(rpc_port_list_EventS_h h);
VELMORA_API int rpc_port_list_EventS_clone(rpc_port_list_EventS_h h, rpc_port_list_EventS_h *clone);
VELMORA_API int rpc_port_list_EventS_add_list_EventSs(
    rpc_port_list_EventS_h h, rpc_port_EventS_h value);
VELMORA_API int rpc_port_list_EventS_foreach_list_EventSs(
    rpc_port_list_EventS_h h, bool (*callback)(rpc_port_EventS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_list_EventS_remove_list_EventSs(
    rpc_port_list_EventS_h h, unsigned int nth);
VELMORA_API int rpc_port_list_EventS_get_list_EventSs_length(
    rpc_port_list_EventS_h h, unsigned int *length);

/* ---- list_PlaceS: 1 list field ---- */
VELMORA_API int rpc_port_list_PlaceS_create(rpc_port_list_PlaceS_h *h);
VELMORA_API int rpc_port_list_PlaceS_destroy(rpc_port_list_PlaceS_h h);
VELMORA_API int rpc_port_list_PlaceS_clone(rpc_port_list_PlaceS_h h, rpc_port_list_PlaceS_h *clone);
VELMORA_API int rpc_port_list_PlaceS_add_list_PlaceSs(
    rpc_port_list_PlaceS_h h, rpc_port_PlaceS_h value);
VELMORA_API int rpc_port_list_PlaceS_foreach_list_PlaceSs(
    rpc_port_list_PlaceS_h h, bool (*callback)(rpc_port_PlaceS_h value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_list_PlaceS_remove_list_PlaceSs(
    rpc_port_list_PlaceS_h h, unsigned int nth);
VELMORA_API int rpc_port_list_PlaceS_get_list_PlaceSs_length(
    rpc_port_list_PlaceS_h h, unsigned int *length);

/* ---- list_string: 1 string list field ---- */
VELMORA_API int rpc_port_list_string_create(rpc_port_list_string_h *h);
VELMORA_API int rpc_port_list_string_destroy(rpc_port_list_string_h h);
VELMORA_API int rpc_port_list_string_clone(rpc_port_list_string_h h, rpc_port_list_string_h *clone);
VELMORA_API int rpc_port_list_string_add_list_strings(rpc_port_list_string_h h, const char *value);
VELMORA_API int rpc_port_list_string_foreach_list_strings(
    rpc_port_list_string_h h, bool (*callback)(const char *value, void *user_data),
    void *user_data);
VELMORA_API int rpc_port_list_string_remove_list_strings(
    rpc_port_list_string_h h, unsigned int nth);
VELMORA_API int rpc_port_list_string_get_list_strings_length(
    rpc_port_list_string_h h, unsigned int *length);

/* ---- the proxy ---- */

typedef struct rpc_port_proxy_AccountSvc_s *rpc_port_proxy_AccountSvc_h;

/* Connection events, called on the main loop with the proxy and the user data given to create. */
typedef struct {
  /* The connection stands: method calls may be made. */
  void (*connected)(rpc_port_proxy_AccountSvc_h h, void *user_data);
  /* The agent closed the connection or went away. */
  void (*disconnected)(rpc_port_proxy_AccountSvc_h h, void *user_data);
  /* The agent refused the connection, or could not be reached at all. */
  void (*rejected)(rpc_port_proxy_AccountSvc_h h, void *user_data);
} rpc_port_proxy_AccountSvc_callback_s;

/*
 * A new, not yet connected proxy for the AccountSvc port of application stub_appid, in *h (caller
 * destroys). The callbacks are copied; user_data (may be NULL) is handed back to them.
 * Returns 0; -1 for a NULL argument or out of memory; the rpc-port library's error code when an
 * event callback cannot be registered.
 */
VELMORA_API int rpc_port_proxy_AccountSvc_create(const char *stub_appid,
                                                 rpc_port_proxy_AccountSvc_callback_s *callback,
                                                 void *user_data, rpc_port_proxy_AccountSvc_h *h);
/* Starts connecting; the outcome arrives as the connected or rejected event. Returns 0, -1 for a
 * NULL or unusable proxy, or the rpc-port library's error code. */
VELMORA_API int rpc_port_proxy_AccountSvc_connect(rpc_port_proxy_AccountSvc_h h);
/* Frees the proxy with every delegate it still holds (their callbacks are never called).
 * Returns 0, or -1 for NULL. */
VELMORA_API int rpc_port_proxy_AccountSvc_destroy(rpc_port_proxy_AccountSvc_h h);

/* ---- reply delegates ----
 * A delegate stands for one awaited answer of the agent. Passing it to a method call hands it to
 * the proxy: from then on the proxy frees it (after its callback when it was made with once = true,
 * on dispose, or with the proxy). The record handed to a callback lives only for the call; clone
 * what you keep. */

/* The handles of the four delegate types. */
typedef struct rpc_port_AccountSvc_ResponseCb_s *rpc_port_AccountSvc_ResponseCb_h;
typedef struct rpc_port_AccountSvc_ResponseErrorCb_s *rpc_port_AccountSvc_ResponseErrorCb_h;
typedef struct rpc_port_AccountSvc_ResponsePlaceCb_s *rpc_port_AccountSvc_ResponsePlaceCb_h;
typedef struct rpc_port_AccountSvc_ResponseProfileCb_s *rpc_port_AccountSvc_ResponseProfileCb_h;

/* The callback of each delegate type: the user data given to create, the answer's result code and,
 * but for ResponseErrorCb, the answer's record (lent for the call). When the agent answered success
 * but its record could not be read whole, the result says so instead: RPC_PORT_ERROR_OUT_OF_MEMORY
 * (-12) when memory ran out (the record is then NULL or holds what was read before), -1 when the
 * answer did not hold the whole record. A failure the agent answered is passed as it came. */
typedef void (*rpc_port_AccountSvc_ResponseCb_cb)(void *user_data, int result,
                                                  rpc_port_AccountS_h account);
typedef void (*rpc_port_AccountSvc_ResponseErrorCb_cb)(void *user_data, int result);
typedef void (*rpc_port_AccountSvc_ResponsePlaceCb_cb)(void *user_data, int result,
                                                       rpc_port_PlaceInfoS_h place_info);
typedef void (*rpc_port_AccountSvc_ResponseProfileCb_cb)(void *user_data, int result,
                                                         rpc_port_ProfileS_h profile);

/*
 * Per delegate type <D> (ResponseCb, ResponseErrorCb, ResponsePlaceCb, ResponseProfileCb):
 *
 * rpc_port_AccountSvc_<D>_h rpc_port_AccountSvc_<D>_create(<D>_cb callback, bool once,
 *                                                          void *user_data)
 *   A new delegate with the type's next sequence number, owned by the caller until it is passed
 *   to a method. Returns the handle, or NULL when out of memory.
 * int rpc_port_AccountSvc_<D>_destroy(rpc_port_AccountSvc_<D>_h h)
 *   Frees a delegate that was never passed to a method. -1 for NULL.
 * int rpc_port_proxy_AccountSvc_<D>_dispose(rpc_port_proxy_AccountSvc_h proxy,
 *                                          rpc_port_AccountSvc_<D>_h delegate)
 *   Withdraws a delegate that was passed to a method and frees it. -1 for NULL arguments, and
 *   (without freeing it) for a delegate the proxy does not hold.
 */
VELMORA_API rpc_port_AccountSvc_ResponseCb_h rpc_port_AccountSvc_ResponseCb_create(
    rpc_port_AccountSvc_ResponseCb_cb callback, bool once, void *user_data);
VELMORA_API int rpc_port_AccountSvc_ResponseCb_destroy(rpc_port_AccountSvc_ResponseCb_h h);
VELMORA_API int rpc_port_proxy_AccountSvc_ResponseCb_dispose(
    rpc_port_proxy_AccountSvc_h proxy, rpc_port_AccountSvc_ResponseCb_h delegate);
VELMORA_API rpc_port_AccountSvc_ResponseErrorCb_h rpc_port_AccountSvc_ResponseErrorCb_create(
    rpc_port_AccountSvc_ResponseErrorCb_cb callback, bool once, void *user_data);
VELMORA_API int rpc_port_AccountSvc_ResponseErrorCb_destroy(
    rpc_port_AccountSvc_ResponseErrorCb_h h);
VELMORA_API int rpc_port_proxy_AccountSvc_ResponseErrorCb_dispose(
    rpc_port_proxy_AccountSvc_h proxy, rpc_port_AccountSvc_ResponseErrorCb_h delegate);
VELMORA_API rpc_port_AccountSvc_ResponsePlaceCb_h rpc_port_AccountSvc_ResponsePlaceCb_create(
    rpc_port_AccountSvc_ResponsePlaceCb_cb callback, bool once, void *user_data);
VELMORA_API int rpc_port_AccountSvc_ResponsePlaceCb_destroy(
    rpc_port_AccountSvc_ResponsePlaceCb_h h);
VELMORA_API int rpc_port_proxy_AccountSvc_ResponsePlaceCb_dispose(
    rpc_port_proxy_AccountSvc_h proxy, rpc_port_AccountSvc_ResponsePlaceCb_h delegate);
VELMORA_API rpc_port_AccountSvc_ResponseProfileCb_h rpc_port_AccountSvc_ResponseProfileCb_create(
    rpc_port_AccountSvc_ResponseProfileCb_cb callback, bool once, void *user_data);
VELMORA_API int rpc_port_AccountSvc_ResponseProfileCb_destroy(
    rpc_port_AccountSvc_ResponseProfileCb_h h);
VELMORA_API int rpc_port_proxy_AccountSvc_ResponseProfileCb_dispose(
    rpc_port_proxy_AccountSvc_h proxy, rpc_port_AccountSvc_ResponseProfileCb_h delegate);

/* ---- method calls ----
 * Each call sends one request on the proxy's main port and blocks until the agent's result comes
 * back. It returns the agent's int result, or -1 when the call never reached one (NULL argument,
 * not connected, connection lost); it also sets the platform's last result to 0 when the request
 * was sent and to -5 when sending failed. A NULL string argument is sent as "". Records are
 * written as they are and stay the caller's. A delegate argument belongs to the proxy from the call
 * on, whatever the result; the method's real answer arrives later through it. Out-arguments are
 * filled only from a result: strings are freed by the caller, records and lists destroyed. An
 * output that could not be read whole makes the call return RPC_PORT_ERROR_OUT_OF_MEMORY (-12)
 * when memory ran out, -1 when the result did not hold it (a record output is still handed out,
 * NULL when it could not be made, for the caller to destroy). */

/* The default account's login id in *login_id. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(rpc_port_proxy_AccountSvc_h h,
                                                                   char **login_id);
/* Makes login_id the default account. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_SetDefaultAccount(rpc_port_proxy_AccountSvc_h h,
                                                                   const char *login_id);
/* Whether login_id is signed in, in *is_signed_in. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_IsSignedIn(rpc_port_proxy_AccountSvc_h h,
                                                            const char *login_id,
                                                            bool *is_signed_in);
/* The signed-in accounts' login ids in a new list in *list. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_GetAccountList(rpc_port_proxy_AccountSvc_h h,
                                                                rpc_port_list_string_h *list);
/* The last access token of account, as a new record in *result_account. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_GetLastAccessToken(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account,
    rpc_port_AccountS_h *result_account);
/* Asks for an access token of account; answered through callback. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_RequestAccessToken(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account,
    rpc_port_AccountSvc_ResponseCb_h callback);
/* Asks for an authorization code; answered through callback. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_RequestAuthcode(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account,
    rpc_port_AccountSvc_ResponseCb_h callback);
/* Asks for an authorization code without user interaction; answered through callback. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_RequestAuthcodeEffortless(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account,
    rpc_port_AccountSvc_ResponseCb_h callback);
/* Asks for the user's saved places; answered through callback. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_RequestPlaceInfo(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account,
    rpc_port_AccountSvc_ResponsePlaceCb_h callback);
/* Asks for the profile (resource "all"); answered through callback. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_RequestProfileInfo(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account, const char *resource,
    rpc_port_AccountSvc_ResponseProfileCb_h callback);
/* Sends a profile update of kind request_type; answered through callback. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_UpdateProfileInfo(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account, int request_type,
    rpc_port_ProfileS_h profile, rpc_port_AccountSvc_ResponseErrorCb_h callback);
/* Sends new privacy settings; answered through callback. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_UpdatePrivacyInfo(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account, rpc_port_PrivacyS_h privacy,
    rpc_port_AccountSvc_ResponseErrorCb_h callback);
/* An account request selected by request_type; answered through callback. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_CommonAccount(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account, int request_type,
    rpc_port_AccountSvc_ResponseCb_h callback);
/* A profile request selected by request_type on resource; answered through callback. */
VELMORA_API int rpc_port_proxy_AccountSvc_invoke_CommonProfile(
    rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account, int request_type,
    const char *resource, rpc_port_AccountSvc_ResponseProfileCb_h callback);

/* clang-format on */

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_ACCOUNT_SVC_PROXY_H */
