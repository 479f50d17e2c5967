/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the user's saved places (home, work and the like).
 *
 * velmora_account_place_request_info asks the agent for the places; the callback receives a place
 * list, walked with velmora_account_place_list_foreach, each place read with the three getters.
 * Every function requires agent API level 2. The rules of velmora_account.h hold.
 */
#ifndef VELMORA_ACCOUNT_PLACE_H
#define VELMORA_ACCOUNT_PLACE_H

#include <stdbool.h>

#include "velmora_account.h"
#include "velmora_account_error.h"
#include "velmora_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* One place: name, address, category, location and the networks that identify it. */
typedef struct velmora_account_place_s *velmora_account_place_h;
/* Up to 50 places. */
typedef struct velmora_account_place_list_s *velmora_account_place_list_h;

/* Called for each place of a list, in order; `place` is lent for the call and may be NULL for a
 * position the reply did not fill. Return true to go on, false to stop. */
typedef bool (*velmora_account_place_cb)(velmora_account_place_h place, void *user_data);

/* Completion of velmora_account_place_request_info: `account` is the response handle, `list` the
 * places; both belong to the receiver (velmora_account_destroy,
 * velmora_account_place_list_destroy). */
typedef void (*velmora_account_place_response_cb)(int result, velmora_account_h account,
                                                  velmora_account_place_list_h list,
                                                  void *user_data);

/* Creates an empty place. Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER,
 * OUT_OF_MEMORY. */
VELMORA_API int velmora_account_place_create(velmora_account_place_h *handle);

/* Releases a place. Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER. */
VELMORA_API int velmora_account_place_destroy(velmora_account_place_h place);

/* Creates an empty place list. Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER,
 * OUT_OF_MEMORY. */
VELMORA_API int velmora_account_place_list_create(velmora_account_place_list_h *handle);

/* Releases a place list and every place in it. Returns NONE, NOT_SUPPORTED, LOWER_VERSION,
 * INVALID_PARAMETER. */
VELMORA_API int velmora_account_place_list_destroy(velmora_account_place_list_h list);

/* Calls `callback` for each place of the list. Returns NONE, NOT_SUPPORTED, LOWER_VERSION,
 * INVALID_PARAMETER, NO_DATA (empty list). */
VELMORA_API int velmora_account_place_list_foreach(velmora_account_place_list_h list,
                                                   velmora_account_place_cb callback,
                                                   void *user_data);

/* Hands out the place's name and address (copies the caller frees; NULL when absent) and category.
 * Any out-pointer may be NULL. Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER. */
VELMORA_API int velmora_account_place_get_place(velmora_account_place_h place, char **name,
                                                char **address, int *category);

/* Hands out the place's location: type, source, latitude and longitude. Any out-pointer may be
 * NULL. Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER. */
VELMORA_API int velmora_account_place_get_location(velmora_account_place_h place, int *type,
                                                   int *location_source, double *latitude,
                                                   double *longitude);

/* Hands out the Wi-Fi network and Bluetooth device of the place (copies the caller frees; NULL when
 * absent). Any out-pointer may be NULL. Returns NONE, NOT_SUPPORTED, LOWER_VERSION,
 * INVALID_PARAMETER. */
VELMORA_API int velmora_account_place_get_network(velmora_account_place_h place, char **wifi_name,
                                                  char **wifi_bssid, char **bt_name,
                                                  char **bt_address);

/* Asks the agent for the places of the handle's login id (required).
 * Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER, OUT_OF_MEMORY, launch or port
 * failure. */
VELMORA_API int velmora_account_place_request_info(velmora_account_h handle,
                                                   velmora_account_place_response_cb callback,
                                                   void *user_data);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_ACCOUNT_PLACE_H */
