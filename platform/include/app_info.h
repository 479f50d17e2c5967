/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora platform: an installed application's information and metadata.
 */
#ifndef VELMORA_PLATFORM_APP_INFO_H
#define VELMORA_PLATFORM_APP_INFO_H

#include <stdbool.h>

#include "platform_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The result codes of the application information functions. */
typedef enum {
  APP_MANAGER_ERROR_NONE = 0,
  APP_MANAGER_ERROR_INVALID_PARAMETER = -22,
  APP_MANAGER_ERROR_OUT_OF_MEMORY = -12,
  APP_MANAGER_ERROR_IO_ERROR = -5,
  APP_MANAGER_ERROR_NO_SUCH_APP = (int)0xFE720001,
} app_manager_error_e;

/* What the platform knows of one installed application. */
typedef struct app_info_s *app_info_h;

/* Called once per metadata entry, in the order installed; return true to go on, false to stop. */
typedef bool (*app_info_metadata_cb)(const char *metadata_key, const char *metadata_value,
                                     void *user_data);

/* Looks up an installed application. APP_MANAGER_ERROR_NO_SUCH_APP when it is not installed. */
PLATFORM_API int app_info_create(const char *app_id, app_info_h *app_info);
/* Visits the application's metadata entries, then frees the handle made by app_info_create. */
PLATFORM_API int app_info_foreach_metadata(app_info_h app_info, app_info_metadata_cb callback,
                                           void *user_data);
PLATFORM_API int app_info_destroy(app_info_h app_info);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PLATFORM_APP_INFO_H */
