/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora platform: app control, launch requests between applications.
 *
 * An app control names a target application, an operation URI and string extra data (keys unique,
 * insertion order kept). Sending it as a launch request starts the target if it is registered but
 * not running and delivers the request to it; the target answers with a reply app control, which
 * reaches the sender's reply callback on the sender's thread-default GLib main context. A reply
 * callback runs at most once per request, and always once when the target dies before replying
 * or does not reply within the platform's reply time-out. Sending never waits for the target.
 */
#ifndef VELMORA_PLATFORM_APP_CONTROL_H
#define VELMORA_PLATFORM_APP_CONTROL_H

#include <stdbool.h>

#include "platform_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The result codes of app control. */
typedef enum {
  APP_CONTROL_ERROR_NONE = 0,
  APP_CONTROL_ERROR_INVALID_PARAMETER = -22,
  APP_CONTROL_ERROR_OUT_OF_MEMORY = -12,
  APP_CONTROL_ERROR_APP_NOT_FOUND = (int)0xFEF00021,
  APP_CONTROL_ERROR_KEY_NOT_FOUND = -126,
  APP_CONTROL_ERROR_KEY_REJECTED = -129,
  APP_CONTROL_ERROR_INVALID_DATA_TYPE = (int)0xFEF00022,
  APP_CONTROL_ERROR_LAUNCH_REJECTED = (int)0xFEF00023,
  APP_CONTROL_ERROR_PERMISSION_DENIED = -13,
  APP_CONTROL_ERROR_LAUNCH_FAILED = (int)0xFEF00024,
  APP_CONTROL_ERROR_TIMED_OUT = (int)0xC0000001,
  APP_CONTROL_ERROR_IO_ERROR = -5,
} app_control_error_e;

/* How a launch request ended, as its reply callback receives it. */
typedef enum {
  APP_CONTROL_RESULT_APP_STARTED = 1,
  APP_CONTROL_RESULT_SUCCEEDED = 0,
  APP_CONTROL_RESULT_FAILED = -1,
  APP_CONTROL_RESULT_CANCELED = -2,
} app_control_result_e;

/* An app control: target application, operation and extra data. */
typedef struct app_control_s *app_control_h;

/* The answer to a launch request. `reply` is lent for the call (NULL when the target died). */
typedef void (*app_control_reply_cb)(app_control_h request, app_control_h reply,
                                     app_control_result_e result, void *user_data);
/* Called once per extra key, in insertion order; return true to go on, false to stop. */
typedef bool (*app_control_extra_data_cb)(app_control_h app_control, const char *key,
                                          void *user_data);

/* Making, freeing and copying app controls, and choosing the target application: create hands
 * out an empty app control the caller destroys; clone copies one into *clone. */
PLATFORM_API int app_control_create(app_control_h *app_control);
PLATFORM_API int app_control_destroy(app_control_h app_control);
PLATFORM_API int app_control_clone(app_control_h *clone, app_control_h app_control);

/* Sets the target application by its app id (copied). */
PLATFORM_API int app_control_set_app_id(app_control_h app_control, const char *app_id);
/* APP_CONTROL_ERROR_NONE with *app_id NULL when none is set; the caller frees the copy. */
PLATFORM_API int app_control_get_app_id(app_control_h app_control, char **app_id);
/* The operation URI of the request; get hands out a copy the caller frees (NULL when none is
 * set). */
PLATFORM_API int app_control_set_operation(app_control_h app_control, const char *operation);
PLATFORM_API int app_control_get_operation(app_control_h app_control, char **operation);

/* Adds or replaces the extra `key`. A NULL or empty key or a NULL value is refused. */
PLATFORM_API int app_control_add_extra_data(app_control_h app_control, const char *key,
                                            const char *value);
/* APP_CONTROL_ERROR_KEY_NOT_FOUND when absent; the caller frees the copy. */
PLATFORM_API int app_control_get_extra_data(app_control_h app_control, const char *key,
                                            char **value);
/* Removes the extra `key` (APP_CONTROL_ERROR_KEY_NOT_FOUND when absent), or visits every extra in
 * insertion order. */
PLATFORM_API int app_control_remove_extra_data(app_control_h app_control, const char *key);
PLATFORM_API int app_control_foreach_extra_data(app_control_h app_control,
                                                app_control_extra_data_cb callback,
                                                void *user_data);

/*
 * Sends `app_control` to its target application. Returns at once: APP_CONTROL_ERROR_APP_NOT_FOUND
 * for an application that is not registered; the other failures (launch rejected, launch failed)
 * are returned when known before the request is handed over, else reported through `callback`
 * with APP_CONTROL_RESULT_FAILED. `callback` may be NULL when no reply is wanted.
 */
PLATFORM_API int app_control_send_launch_request(app_control_h app_control,
                                                 app_control_reply_cb callback, void *user_data);

/* ---- callee side ---- */

/* The id of the application that sent `app_control` (a received request, or a clone of one); ""
 * when the sender runs as no application. APP_CONTROL_ERROR_INVALID_PARAMETER for an app control
 * that was not received. The caller frees the copy. */
PLATFORM_API int app_control_get_caller(app_control_h app_control, char **id);
/* Answers the received launch request `request` (or a clone of it) with `reply` and a result. Once
 * per request: a second reply, from the request or any clone, is refused with
 * APP_CONTROL_ERROR_INVALID_PARAMETER; a reply the sender can no longer receive (it went away)
 * returns APP_CONTROL_ERROR_IO_ERROR. */
PLATFORM_API int app_control_reply_to_launch_request(app_control_h reply, app_control_h request,
                                                     app_control_result_e result);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PLATFORM_APP_CONTROL_H */
