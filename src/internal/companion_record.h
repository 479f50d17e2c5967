/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the companion handle (velmora_account_companion_h) is an account record
 * (account_record.h) made by velmora_account_companion_create; this header has what the companion
 * operations share.
 */
#ifndef VELMORA_COMPANION_RECORD_H
#define VELMORA_COMPANION_RECORD_H

#include <stdbool.h>

#include "account_record.h"
#include "app_control.h"
#include "request_record.h"
#include "velmora_account_companion.h"

#ifdef __cplusplus
/* The companion record is the account record: the same fields, reached by the same property code
 * (a companion handle converts to an account handle). */
struct velmora_account_companion_s : velmora_account_s {};

extern "C" {
#endif

/* A new companion record: zeroed, not connected, its two tri-states (mobile_account_exist and
 * register_trusted_device) VA_TRISTATE_UNSET. NULL when out of memory. */
velmora_account_companion_h va_companion_new(void);
/* Frees every string of the record and the record. */
void va_companion_free(velmora_account_companion_h companion);

/* One extra of a companion reply (foreach_companion_extra_cb; user_data: the companion record):
 * "check_mobile_account_exist" = "true" / "false" sets mobile_account_exist to 1 / 0; any other
 * value, and every other key, leave it. */
bool va_foreach_companion_extra_cb(app_control_h reply, const char *key, void *user_data);

/* The reading of both companion replies (companion_get_account_cb, companion_sign_in_result_cb):
 * a new companion record, filled from a successful launch's reply, handed with the response handle
 * to the caller's velmora_account_companion_cb. A failed launch passes the record unfilled, whether
 * or not its reply carries an "error_code". The result is -12 when the record could not be made,
 * the converted error of a failed launch (0 without an "error_code"), else the result of walking
 * the reply's extras. */
void va_companion_reply_parser(velmora_account_request_h request, app_control_h reply,
                               app_control_result_e launch, int result);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_COMPANION_RECORD_H */
