// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the calling application's own id, VELMORA_APP_ID of its environment.
#include <cstdlib>
#include <cstring>

#include "app_common.h"

extern "C" int app_get_id(char **id) {
  if (!id) return APP_ERROR_INVALID_PARAMETER;
  const char *app_id = getenv("VELMORA_APP_ID");
  if (!app_id || !*app_id) return APP_ERROR_INVALID_CONTEXT;
  char *copy = strdup(app_id);
  if (!copy) return APP_ERROR_OUT_OF_MEMORY;
  *id = copy;
  return APP_ERROR_NONE;
}
