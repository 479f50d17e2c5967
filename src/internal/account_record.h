/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the account record behind velmora_account_h, its property table, and the
 * internal functions that work on it (the copy a request carries, the property logic without the
 * agent check).
 *
 * The same layout serves the companion handle (velmora_account_companion_h).
 */
#ifndef VELMORA_ACCOUNT_RECORD_H
#define VELMORA_ACCOUNT_RECORD_H

#include <stdbool.h>

#include "velmora_account.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The generated proxy of the agent's port (account_svc_proxy.h); only its pointer is kept here. */
struct rpc_port_proxy_AccountSvc_s;
/* The profile list record (profile_record.h). */
struct velmora_account_profile_list_s;

/*
 * ---- The property table ----
 *
 * Every field of the record that a property reaches (and the terms bits, which a clone copies),
 * in record order, one line each. The record's fields, create, clone, destroy, every accessor and
 * the property counts are all read from it: adding a property is one line here (and its id in
 * velmora_account.h).
 *
 *   X(member, type, property id, cloned by va_account_clone, released by destroy)
 *
 *   type      STR   char *, a heap copy owned by the record; NULL: not set
 *             INT   int; below 1: not set
 *             FLAG  tri-state int: VA_TRISTATE_FALSE, _TRUE, or _UNSET (create's value)
 *             BITS  int without a property id (its own functions reach it)
 *   id        the id within its type, as the public accessors take it (-1 for BITS). Flags' ids do
 *             not follow their order in the record.
 *   cloned    CLONED or NOT_CLONED: a clone leaves the field zero (a flag then reads as false)
 *   released  RELEASED or KEPT: velmora_account_destroy leaves a KEPT string allocated (the
 *             handle's long-standing behaviour, kept as it is; see tests/lsan.supp)
 */
#define VA_ACCOUNT_PROPERTIES(X)                                            \
  X(access_token, STR, 0, CLONED, RELEASED)                                 \
  X(api_server_url, STR, 1, CLONED, RELEASED)                               \
  X(authcode, STR, 2, CLONED, RELEASED)                                     \
  X(auth_server_url, STR, 3, CLONED, RELEASED)                              \
  X(client_id, STR, 4, CLONED, RELEASED)                                    \
  X(client_secret, STR, 5, CLONED, RELEASED)                                \
  X(cc, STR, 6, CLONED, RELEASED) /* country code */                        \
  X(device_unique_code, STR, 7, CLONED, RELEASED)                           \
  X(expired_access_token, STR, 8, CLONED, RELEASED) /* last access token */ \
  X(login_id, STR, 9, CLONED, RELEASED)                                     \
  X(mcc, STR, 10, CLONED, RELEASED)                                         \
  X(password, STR, 11, CLONED, RELEASED)                                    \
  X(refresh_token, STR, 12, CLONED, RELEASED)                               \
  X(scope, STR, 13, CLONED, RELEASED)                                       \
  X(user_id, STR, 14, CLONED, RELEASED)                                     \
  X(signin_app_message, STR, 15, CLONED, RELEASED)                          \
  X(customizedservice, STR, 16, NOT_CLONED, RELEASED)                       \
  X(id_token, STR, 17, NOT_CLONED, RELEASED)                                \
  X(authentication_token, STR, 18, NOT_CLONED, KEPT)                        \
  X(authentication_code, STR, 19, NOT_CLONED, KEPT)                         \
  X(partner_client_id, STR, 20, NOT_CLONED, KEPT)                           \
  X(access_token_expires_in, INT, 0, CLONED, RELEASED)                      \
  X(access_token_issue_time, INT, 1, CLONED, RELEASED)                      \
  X(tnc_status, BITS, -1, CLONED, RELEASED) /* velmora_account_set_tnc */   \
  X(api_timeout, INT, 2, NOT_CLONED, RELEASED)                              \
  X(request_to_server, FLAG, 0, NOT_CLONED, RELEASED)                       \
  X(mobile_account_exist, FLAG, 3, NOT_CLONED, RELEASED)                    \
  X(register_trusted_device, FLAG, 1, NOT_CLONED, RELEASED)                 \
  X(check_2factor_authentication, FLAG, 2, NOT_CLONED, RELEASED)            \
  X(account_linking_status, FLAG, 4, NOT_CLONED, RELEASED)

/* Tri-state values of a FLAG field. */
#define VA_TRISTATE_FALSE 0
#define VA_TRISTATE_TRUE 1
#define VA_TRISTATE_UNSET 2

#define VA_ACCOUNT_CTYPE_STR char *
#define VA_ACCOUNT_CTYPE_INT int
#define VA_ACCOUNT_CTYPE_FLAG int
#define VA_ACCOUNT_CTYPE_BITS int
#define VA_ACCOUNT_DECLARE_FIELD_(member, type, id, cloned, released) \
  VA_ACCOUNT_CTYPE_##type member;

/* The record: the table's fields in its order, then the connection and the profile link. */
struct velmora_account_s {
  VA_ACCOUNT_PROPERTIES(VA_ACCOUNT_DECLARE_FIELD_)
  bool connected; /* made by velmora_account_connect (requests over the port) */
  struct rpc_port_proxy_AccountSvc_s *proxy;   /* NULL after a disconnected event */
  velmora_account_connection_cb connection_cb; /* the caller's connection callback */
  void *connection_user_data;
  struct velmora_account_profile_list_s *link; /* the profile last received, or NULL */
};

#undef VA_ACCOUNT_DECLARE_FIELD_

/* The kinds of property, as the table names them. */
typedef enum {
  VA_PROPERTY_STR,
  VA_PROPERTY_INT,
  VA_PROPERTY_FLAG,
  VA_PROPERTY_BITS,
} va_property_type_e;

/* One row of the property table. */
typedef struct {
  const char *member; /* the field's name */
  va_property_type_e type;
  int id;
  unsigned offset;             /* of the field in struct velmora_account_s */
  bool cloned;                 /* copied by va_account_clone */
  bool released;               /* a string freed by velmora_account_destroy */
  const char *unset_condition; /* STR: logged when a get finds it unset ("data->mcc == NULL") */
} va_property_s;

/* The table, in record order; its length in *count. */
const va_property_s *va_account_property_table(int *count);

/* The number of ids of a type (21 strings, 3 ints, 5 flags, counted from the table). */
int va_account_property_ids(va_property_type_e type);
/* The row of property `id` of `type`, or NULL for an id the type does not have. */
const va_property_s *va_account_property(va_property_type_e type, int id);

/* The field behind string property `id` of `data`, or NULL for an unknown id or a NULL record.
 * Reading and freeing through it is fine; store new values with va_account_set_str. */
char **va_account_str_field(velmora_account_h data, int id);
/* The field behind int (VA_PROPERTY_INT) or flag (VA_PROPERTY_FLAG) property `id`, or NULL. */
int *va_account_int_field(velmora_account_h data, va_property_type_e type, int id);

/* Sets every flag of `data` to VA_TRISTATE_UNSET (a new handle's flags). */
void va_account_set_flags_unset(velmora_account_h data);

/*
 * The copy of a handle that a request carries: the CLONED fields of the table only. Everything
 * else stays zero: the other strings and ints, the flags (so a clone's flags read as false, not as
 * not set), the connection and the profile link. Logs as velmora_account_clone.
 * Returns NONE, INVALID_PARAMETER (NULL argument), OUT_OF_MEMORY.
 */
int va_account_clone(velmora_account_h handle, velmora_account_h *clone);

/*
 * The property logic of the public accessors, without the agent check; the same arguments and
 * results. Used by the public accessors, the companion accessors and the reply parsers.
 */
int va_account_get_str(velmora_account_h data, int property, char **value);
int va_account_set_str(velmora_account_h data, int property, const char *value);
int va_account_get_int(velmora_account_h data, int property, int *value);
int va_account_set_int(velmora_account_h data, int property, int value);
int va_account_get_flag(velmora_account_h data, int property, bool *value);
int va_account_set_flag(velmora_account_h data, int property, bool value);

/* Clears string property `property` of `data`: frees the value and sets it NULL. False for an
 * unknown id. No log. */
bool va_account_clear_str(velmora_account_h data, int property);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_ACCOUNT_RECORD_H */
