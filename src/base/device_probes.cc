// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: is the device a TV, is it a wearable.
//
// The TV answer is cached for the life of the process; the wearable answer is read each time.
#include <cstdlib>
#include <cstring>

#include "system_info.h"
#include "va_base.h"
#include "va_constants.h"
#include "va_log.h"

namespace {

// -1 unknown, 0 not a TV, 1 a TV.
int g_tv_profile = -1;

// The device profile string (the caller frees it), or NULL when the platform cannot tell. Such a
// device is treated as neither TV nor wearable, and nothing is cached for it.
char *read_profile() {
  char *profile = NULL;
  const int ret = system_info_get_platform_string(DEVICE_PROFILE_FEATURE_KEY, &profile);
  if (ret != SYSTEM_INFO_ERROR_NONE || profile == NULL) {
    VA_LOGE("system_info_get_platform_string failed [%d]", ret);
    free(profile);
    return NULL;
  }
  return profile;
}

}  // namespace

extern "C" {

bool va_is_tv_profile(void) {
  VA_LOG_NAME("is_tv_profile");
  if (g_tv_profile == 0 || g_tv_profile == 1) return g_tv_profile == 1;

  VA_ENTRY();
  char *profile = read_profile();
  if (profile == NULL) return false;
  if (strcmp(profile, "tv") == 0) {
    VA_LOGI("norvik_profile [%s] TRUE", profile);
    g_tv_profile = 1;
  } else {
    VA_LOGI("norvik_profile [%s] FALSE", profile);
    g_tv_profile = 0;
  }
  free(profile);
  VA_EXIT();
  return g_tv_profile == 1;
}

bool va_is_wearable_profile(void) {
  VA_LOG_NAME("is_wearable_profile");
  VA_ENTRY();
  char *profile = read_profile();
  if (profile == NULL) return false;
  const bool wearable = strcmp(profile, "wearable") == 0;
  if (wearable) VA_LOGI("norvik_profile [%s] TRUE", profile);
  free(profile);
  return wearable;
}

}  // extern "C"
