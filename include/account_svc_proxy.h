/*
 * Velmora Account client: the generated interface of the agent's AccountSvc port.
 *
 * Records, lists, reply delegates and the proxy with its fourteen method calls. The record and list
 * families are expanded from the table in account_svc_records.def.h; each family is documented
 * once below, with its generated names written as patterns (rpc_port_<Type>_set_<Field>, ...).
 *
 * Rules of this interface:
 *  1. Every function returns 0 on success and -1 on any failure, unless its comment says otherwise.
 *     Every failure is logged once at error priority under the tag "RPC_PORT_PROXY".
 *  2. Every handle is an opaque heap record made by a _create function and freed by its _destroy
 *     function. A record owns everything it points to (strings, nested records, list items).
 *  3. Strings and handles handed in are copied; the caller keeps its own. Strings handed out are
 * new copies the caller frees with free(); handles handed out are clones the caller destroys.
 *  4. Items lent to a foreach callback belong to the list; the callback must not destroy them.
 *  5. Every record and list begins with its parcelable pair, so a handle can be given directly to
 *     rpc_port_parcel_write() / rpc_port_parcel_read() of the platform.
 *  6. Records, lists and delegates take no lock: a handle must not be used from two threads at
 *     once. Only a proxy serialises its method calls (each holds the proxy's mutex while it waits).
 */
#ifndef VELMORA_ACCOUNT_SVC_PROXY_H
#define VELMORA_ACCOUNT_SVC_PROXY_H

#include <stdbool.h>

#include "account_svc_records.def.h"
#include "velmora_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- handles ----
 * rpc_port_<Type>_h for each record (rpc_port_AccountS_h, ... rpc_port_PlaceInfoS_h) and each list
 * (rpc_port_list_NameS_h, ... rpc_port_list_string_h). */
#define RPC_PORT_DECLARE_HANDLE_(T) typedef struct rpc_port_##T##_s *rpc_port_##T##_h;
RPC_PORT_RECORDS(RPC_PORT_DECLARE_HANDLE_)
RPC_PORT_LISTS(RPC_PORT_DECLARE_HANDLE_)
#undef RPC_PORT_DECLARE_HANDLE_

/* ---- records and lists: the per-type family ----
 *
 * int rpc_port_<Type>_create(rpc_port_<Type>_h *h)
 *   A new zeroed record (strings NULL, numbers 0, nested records NULL, lists empty) in *h, owned by
 *   the caller. -1 for NULL h or out of memory.
 * int rpc_port_<Type>_destroy(rpc_port_<Type>_h h)
 *   Frees the record and everything it owns. -1 for NULL h.
 * int rpc_port_<Type>_clone(rpc_port_<Type>_h h, rpc_port_<Type>_h *clone)
 *   A deep copy in *clone, owned by the caller; NULL fields stay NULL. -1 for NULL arguments, out
 * of memory, or a NULL item in one of its lists; no partial copy is left behind.
 */
#define RPC_PORT_DECLARE_LIFECYCLE_(T)                        \
  VELMORA_API int rpc_port_##T##_create(rpc_port_##T##_h *h); \
  VELMORA_API int rpc_port_##T##_destroy(rpc_port_##T##_h h); \
  VELMORA_API int rpc_port_##T##_clone(rpc_port_##T##_h h, rpc_port_##T##_h *clone);

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
#define RPC_PORT_DECLARE_FIELD_(T, F, K, A) RPC_PORT_DECLARE_##K##_(T, F, A)

#define RPC_PORT_DECLARE_STRING_(T, F, A)                                        \
  VELMORA_API int rpc_port_##T##_set_##F(rpc_port_##T##_h h, const char *value); \
  VELMORA_API int rpc_port_##T##_get_##F(rpc_port_##T##_h h, char **value);
#define RPC_PORT_DECLARE_SCALAR_(T, F, C)                              \
  VELMORA_API int rpc_port_##T##_set_##F(rpc_port_##T##_h h, C value); \
  VELMORA_API int rpc_port_##T##_get_##F(rpc_port_##T##_h h, C *value);
#define RPC_PORT_DECLARE_INT_(T, F, A) RPC_PORT_DECLARE_SCALAR_(T, F, int)
#define RPC_PORT_DECLARE_LLONG_(T, F, A) RPC_PORT_DECLARE_SCALAR_(T, F, long long)
#define RPC_PORT_DECLARE_DOUBLE_(T, F, A) RPC_PORT_DECLARE_SCALAR_(T, F, double)
#define RPC_PORT_DECLARE_RECORD_(T, F, A) RPC_PORT_DECLARE_SCALAR_(T, F, rpc_port_##A##_h)
#define RPC_PORT_DECLARE_ITEMS_(T, F, I)                                                \
  VELMORA_API int rpc_port_##T##_add_##F(rpc_port_##T##_h h, I value);                  \
  VELMORA_API int rpc_port_##T##_foreach_##F(                                           \
      rpc_port_##T##_h h, bool (*callback)(I value, void *user_data), void *user_data); \
  VELMORA_API int rpc_port_##T##_remove_##F(rpc_port_##T##_h h, unsigned int nth);      \
  VELMORA_API int rpc_port_##T##_get_##F##_length(rpc_port_##T##_h h, unsigned int *length);
#define RPC_PORT_DECLARE_LIST_(T, F, A) RPC_PORT_DECLARE_ITEMS_(T, F, rpc_port_##A##_h)
#define RPC_PORT_DECLARE_STRLIST_(T, F, A) RPC_PORT_DECLARE_ITEMS_(T, F, const char *)

#define RPC_PORT_DECLARE_TYPE_(T) \
  RPC_PORT_DECLARE_LIFECYCLE_(T)  \
  RPC_PORT_FIELDS_##T(RPC_PORT_DECLARE_FIELD_)

RPC_PORT_RECORDS(RPC_PORT_DECLARE_TYPE_)
RPC_PORT_LISTS(RPC_PORT_DECLARE_TYPE_)

#undef RPC_PORT_DECLARE_TYPE_
#undef RPC_PORT_DECLARE_STRLIST_
#undef RPC_PORT_DECLARE_LIST_
#undef RPC_PORT_DECLARE_ITEMS_
#undef RPC_PORT_DECLARE_RECORD_
#undef RPC_PORT_DECLARE_DOUBLE_
#undef RPC_PORT_DECLARE_LLONG_
#undef RPC_PORT_DECLARE_INT_
#undef RPC_PORT_DECLARE_SCALAR_
#undef RPC_PORT_DECLARE_STRING_
#undef RPC_PORT_DECLARE_FIELD_
#undef RPC_PORT_DECLARE_LIFECYCLE_

/* ---- the proxy ---- */

typedef struct rpc_port_proxy_AccountSvc_s *rpc_port_proxy_AccountSvc_h;

/* Connection events, called on the main loop with the proxy and the user data given to create. */
typedef struct {
  void (*connected)(rpc_port_proxy_AccountSvc_h h, void *user_data);
  void (*disconnected)(rpc_port_proxy_AccountSvc_h h, void *user_data);
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

typedef struct rpc_port_AccountSvc_ResponseCb_s *rpc_port_AccountSvc_ResponseCb_h;
typedef struct rpc_port_AccountSvc_ResponseErrorCb_s *rpc_port_AccountSvc_ResponseErrorCb_h;
typedef struct rpc_port_AccountSvc_ResponsePlaceCb_s *rpc_port_AccountSvc_ResponsePlaceCb_h;
typedef struct rpc_port_AccountSvc_ResponseProfileCb_s *rpc_port_AccountSvc_ResponseProfileCb_h;

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
#define RPC_PORT_DECLARE_DELEGATE_(D)                                                        \
  VELMORA_API rpc_port_AccountSvc_##D##_h rpc_port_AccountSvc_##D##_create(                  \
      rpc_port_AccountSvc_##D##_cb callback, bool once, void *user_data);                    \
  VELMORA_API int rpc_port_AccountSvc_##D##_destroy(rpc_port_AccountSvc_##D##_h h);          \
  VELMORA_API int rpc_port_proxy_AccountSvc_##D##_dispose(rpc_port_proxy_AccountSvc_h proxy, \
                                                          rpc_port_AccountSvc_##D##_h delegate);
RPC_PORT_DECLARE_DELEGATE_(ResponseCb)
RPC_PORT_DECLARE_DELEGATE_(ResponseErrorCb)
RPC_PORT_DECLARE_DELEGATE_(ResponsePlaceCb)
RPC_PORT_DECLARE_DELEGATE_(ResponseProfileCb)
#undef RPC_PORT_DECLARE_DELEGATE_

/* ---- method calls ----
 * Each call sends one request on the proxy's main port and blocks until the agent's result comes
 * back. It returns the agent's int result, or -1 when the call never reached one (NULL argument,
 * not connected, connection lost); it also sets the platform's last result to 0 when the request
 * was sent and to -5 when sending failed. A NULL string argument is sent as "". Records are
 * written as they are and stay the caller's. A delegate argument belongs to the proxy from the call
 * on, whatever the result; the method's real answer arrives later through it. Out-arguments are
 * filled only from a result: strings are freed by the caller, records and lists destroyed. */

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

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_ACCOUNT_SVC_PROXY_H */
