/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the place and place-list records behind velmora_account_place_h and
 * velmora_account_place_list_h, and the readers that fill a list from the agent's replies.
 */
#ifndef VELMORA_PLACE_RECORD_H
#define VELMORA_PLACE_RECORD_H

#include <stdbool.h>

#include "account_svc_proxy.h"
#include "app_control.h"
#include "request_record.h"
#include "velmora_account_place.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The slots of a place list: a list never holds more places. */
#define VA_PLACE_LIST_SLOTS 50

/* Fields in this order. Strings are owned copies, NULL when absent; a new place is all zero. */
struct velmora_account_place_s {
  char *name;
  char *address;
  char *wifi_name;
  char *wifi_bssid;
  char *bt_name;
  char *bt_address;
  int category;
  int type; /* the location type */
  int location_source;
  double latitude;
  double longitude;
};

/* `l` has exactly VA_PLACE_LIST_SLOTS slots, each NULL or an owned place; count is the number of
 * slots in use (a slot below count may still be NULL when a reply skipped it). */
struct velmora_account_place_list_s {
  int count;
  velmora_account_place_h *l;
};

/* The place list and the place without the agent checks (for the reply readers and tests):
 * NULL when out of memory. */
velmora_account_place_h va_place_new(void);
void va_place_free(velmora_account_place_h place);
velmora_account_place_list_h va_place_list_new(void);
void va_place_list_free(velmora_account_place_list_h list);

/*
 * One extra of an app-control place reply (foreach_place_cb): "<field>_<index>" with index 1..50
 * stores the value in place index-1 of `list` (user_data), creating it; the list's count becomes
 * the largest index seen. Keys holding "error" or no "_" are ignored, and so are indexes out of
 * range (logged). Returns false only when the value could not be read (the visit stops).
 */
bool va_foreach_place_cb(app_control_h reply, const char *key, void *user_data);

/* Applies one key and its value to `list`, as va_foreach_place_cb does once it has the value.
 * Returns VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY when the place or the text could not be made (the
 * list is left as it was), else NONE. */
int va_place_list_apply(velmora_account_place_list_h list, const char *key, const char *value);

/*
 * Fills `list` from a PlaceInfoS of the port (set_place_list_from_nidl_result): count from 0, one
 * place per entry of its place list in order, at most VA_PLACE_LIST_SLOTS; 200 and 200.0 mean a
 * number or coordinate was not given and leave it 0. Returns the number of places read.
 */
int va_place_list_from_nidl(velmora_account_place_list_h list, rpc_port_PlaceInfoS_h info);

/*
 * The replies of velmora_account_place_request_info. The app-control reader (request record,
 * reply, the reply's result) makes the list in the request's holder, reads the extras, calls the
 * caller's velmora_account_place_response_cb and leaves the request record to be freed by its
 * caller. The delegate callback (nidl_request_place_cb) does the same from a PlaceInfoS and frees
 * the request record itself. A successful reply of which a place could not be stored whole for
 * lack of memory reaches the callback as VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY (with what could be
 * stored); a port reply for which no list can be made ends without a callback ("place_list_create
 * failed"), its clone released.
 */
void va_place_reply_from_app_control(velmora_account_request_h request, app_control_h reply,
                                     app_control_result_e launch, int result);
void va_place_reply_from_port(void *user_data, int result, rpc_port_PlaceInfoS_h info);

#ifdef __cplusplus
}
#endif

/* The checks every place function starts with: the agent is installed ("(is_agent_installed() ==
 * false)", NOT_SUPPORTED), then its API level is 2 or more ("(is_lower_agent(2) == true)",
 * LOWER_VERSION). Needs va_base.h and va_log.h. */
#define VA_PLACE_AGENT_CHECKS() \
  do {                          \
    VA_RETV_IF_NO_AGENT();      \
    VA_RETV_IF_LOWER_AGENT(2);  \
  } while (0)

#endif /* VELMORA_PLACE_RECORD_H */
