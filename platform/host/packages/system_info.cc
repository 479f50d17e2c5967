// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: system information (the device profile and MCC of the platform root).
#include "system_info.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "device_config.hh"
#include "dlog.h"

extern "C" int system_info_get_platform_string(const char *key, char **value) {
  if (!key || !value) return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
  const bool profile = strcmp(key, SYSTEM_INFO_KEY_PROFILE) == 0;
  if (!profile && strcmp(key, SYSTEM_INFO_KEY_MCC) != 0) return SYSTEM_INFO_ERROR_NOT_SUPPORTED;

  std::string text, error;
  if (!(profile ? vhost::device_profile_read(&text, &error)
                : vhost::device_mcc_read(&text, &error))) {
    dlog_print(DLOG_ERROR, "VELMORA_HOST", "system_info: %s", error.c_str());
    return SYSTEM_INFO_ERROR_IO_ERROR;
  }
  if (text.empty()) return SYSTEM_INFO_ERROR_NO_DATA;
  char *copy = strdup(text.c_str());
  if (!copy) return SYSTEM_INFO_ERROR_OUT_OF_MEMORY;
  *value = copy;
  return SYSTEM_INFO_ERROR_NONE;
}
