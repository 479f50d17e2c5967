// Velmora host platform: system information (the device profile of the platform root).
#include "system_info.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "device_config.hh"
#include "dlog.h"

extern "C" int system_info_get_platform_string(const char *key, char **value) {
  if (!key || !value) return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
  if (strcmp(key, SYSTEM_INFO_KEY_PROFILE) != 0) return SYSTEM_INFO_ERROR_NOT_SUPPORTED;

  std::string profile, error;
  if (!vhost::device_profile_read(&profile, &error)) {
    dlog_print(DLOG_ERROR, "VELMORA_HOST", "system_info: %s", error.c_str());
    return SYSTEM_INFO_ERROR_IO_ERROR;
  }
  char *copy = strdup(profile.c_str());
  if (!copy) return SYSTEM_INFO_ERROR_OUT_OF_MEMORY;
  *value = copy;
  return SYSTEM_INFO_ERROR_NONE;
}
