/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: companion accounts, the account of the phone paired with a wearable.
 *
 * A wearable application asks the agent whether the paired phone has an account and signs the
 * wearable in through the phone. The answer is a companion handle whose properties use the ids of
 * velmora_account.h (the boolean VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST tells whether
 * the phone has an account). Every function requires agent API level 5; the two requests work only
 * on a wearable and with a handle made by velmora_account_create. The rules of velmora_account.h
 * hold.
 */
#ifndef VELMORA_ACCOUNT_COMPANION_H
#define VELMORA_ACCOUNT_COMPANION_H

#include <stdbool.h>

#include "velmora_account.h"
#include "velmora_account_error.h"
#include "velmora_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A companion account: what the agent reported about the paired phone's account. */
typedef struct velmora_account_companion_s *velmora_account_companion_h;

/* Completion of a companion request: `account` is the response handle (released with
 * velmora_account_destroy), `companion` the phone's account (released with
 * velmora_account_companion_destroy); both belong to the receiver. */
typedef void (*velmora_account_companion_cb)(int result, velmora_account_h account,
                                             velmora_account_companion_h companion,
                                             void *user_data);

/* Creates an empty companion handle; the caller releases it with velmora_account_companion_destroy.
 * Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER, OUT_OF_MEMORY. */
VELMORA_API int velmora_account_companion_create(velmora_account_companion_h *handle);

/* Releases a companion handle. Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER. */
VELMORA_API int velmora_account_companion_destroy(velmora_account_companion_h handle);

/* Property accessors: as velmora_account_get_property_str and its siblings, on a companion handle.
 * Each returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER, and the getters NO_DATA. */
VELMORA_API int velmora_account_companion_get_property_str(velmora_account_companion_h handle,
                                                           int property, char **value);
VELMORA_API int velmora_account_companion_set_property_str(velmora_account_companion_h handle,
                                                           int property, const char *value);
VELMORA_API int velmora_account_companion_get_property_int(velmora_account_companion_h handle,
                                                           int property, int *value);
VELMORA_API int velmora_account_companion_set_property_int(velmora_account_companion_h handle,
                                                           int property, int value);
VELMORA_API int velmora_account_companion_get_property_bool(velmora_account_companion_h handle,
                                                            int property, bool *value);
VELMORA_API int velmora_account_companion_set_property_bool(velmora_account_companion_h handle,
                                                            int property, bool value);

/* Asks whether the paired phone has an account. Wearable only.
 * Returns NONE, NOT_SUPPORTED (no agent, not a wearable, connected handle), LOWER_VERSION,
 * INVALID_PARAMETER, OUT_OF_MEMORY, launch failure. */
VELMORA_API int velmora_account_companion_get_account(velmora_account_h handle,
                                                      velmora_account_companion_cb callback,
                                                      void *user_data);

/* Signs the wearable in through the phone's account. The integer property API_TIMEOUT, when set,
 * limits the wait (seconds, at most 300). Wearable only.
 * Returns NONE, NOT_SUPPORTED, LOWER_VERSION, INVALID_PARAMETER (also: time-out above 300),
 * OUT_OF_MEMORY, launch failure. */
VELMORA_API int velmora_account_companion_sign_in(velmora_account_h handle,
                                                  velmora_account_companion_cb callback,
                                                  void *user_data);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_ACCOUNT_COMPANION_H */
