/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora platform: the calling application's own identity.
 */
#ifndef VELMORA_PLATFORM_APP_COMMON_H
#define VELMORA_PLATFORM_APP_COMMON_H

#include "platform_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The result codes of the application functions. */
typedef enum {
  APP_ERROR_NONE = 0,
  APP_ERROR_INVALID_PARAMETER = -22,
  APP_ERROR_OUT_OF_MEMORY = -12,
  APP_ERROR_INVALID_CONTEXT = (int)0xFEF00001, /* the process runs as no application */
} app_error_e;

/*
 * Hands out the calling application's id in *id (the caller frees it).
 * APP_ERROR_INVALID_CONTEXT when the process is not running as an application.
 */
PLATFORM_API int app_get_id(char **id);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PLATFORM_APP_COMMON_H */
