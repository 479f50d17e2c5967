/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora platform: installed packages and the applications they contain.
 */
#ifndef VELMORA_PLATFORM_PACKAGE_MANAGER_H
#define VELMORA_PLATFORM_PACKAGE_MANAGER_H

#include <stdbool.h>

#include "platform_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The result codes of the package functions. */
typedef enum {
  PACKAGE_MANAGER_ERROR_NONE = 0,
  PACKAGE_MANAGER_ERROR_INVALID_PARAMETER = -22,
  PACKAGE_MANAGER_ERROR_OUT_OF_MEMORY = -12,
  PACKAGE_MANAGER_ERROR_IO_ERROR = -5,
  PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE = (int)0xFE710001,
} package_manager_error_e;

/* Which applications of a package a walk visits. */
typedef enum {
  PACKAGE_INFO_APP_COMPONENT_TYPE_ALL = 0,
  PACKAGE_INFO_APP_COMPONENT_TYPE_UI = 1,
  PACKAGE_INFO_APP_COMPONENT_TYPE_SERVICE = 2,
} package_info_app_component_type_e;

/* What the platform knows of one installed package. */
typedef struct package_info_s *package_info_h;

/* Called once per application; return true to go on, false to stop the walk. */
typedef bool (*package_info_app_cb)(package_info_app_component_type_e comp_type, const char *app_id,
                                    void *user_data);

/* Looks up an installed package. PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE when it is not installed. */
PLATFORM_API int package_info_create(const char *package, package_info_h *package_info);
/* Visits the package's applications of the given component type, in installation order. */
PLATFORM_API int package_info_foreach_app_from_package(package_info_h package_info,
                                                       package_info_app_component_type_e comp_type,
                                                       package_info_app_cb callback,
                                                       void *user_data);
/* Frees a handle made by package_info_create. */
PLATFORM_API int package_info_destroy(package_info_h package_info);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PLATFORM_PACKAGE_MANAGER_H */
