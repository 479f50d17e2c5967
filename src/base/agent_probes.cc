// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: is the account agent installed, and is its API level high enough.
//
// Both answers are cached for the life of the process in plain variables (the library runs on the
// application's thread only). A missing agent and a failed package query are not cached: the next
// call asks the platform again.
#include <cstdlib>
#include <cstring>

#include "app_info.h"
#include "package_manager.h"
#include "va_base.h"
#include "va_constants.h"
#include "va_log.h"

namespace {

// -1 unknown, 1 installed.
int g_agent_installed = -1;

// Per required level: -1 unknown, 0 the agent is not lower, 1 it is lower. Levels 2 to 8 fit;
// higher levels are answered without caching.
constexpr int kLevelCacheSize = 9;
int g_lower_agent[kLevelCacheSize] = {-1, -1, -1, -1, -1, -1, -1, -1, -1};

// Levels below this are never lower: every agent offers them.
constexpr int kLowestGatedLevel = 2;

// The visitors' lines keep the names the service's tools know.
bool app_info_metadata_cb(const char *metadata_key, const char *metadata_value, void *user_data) {
  VA_LOG_NAME("_app_info_metadata_cb");
  VA_LOGI("[_app_info_metadata_cb] %s", metadata_key ? metadata_key : "(null)");
  VA_ENTRY();
  if (metadata_key == NULL) {
    VA_LOGE("meta_key is NULL");
    return true;
  }
  if (strcmp(metadata_key, AGENT_API_LEVEL_METADATA_KEY) != 0) return true;

  const char *value = metadata_value ? metadata_value : "";
  VA_LOGI(">> meta key[%s] value[%s]", metadata_key, value);
  *static_cast<int *>(user_data) = static_cast<int>(strtol(value, NULL, 10));
  VA_EXIT();
  return false;
}

// Only the first application whose metadata could be read is consulted.
bool package_info_foreach_cb(package_info_app_component_type_e comp_type, const char *app_id,
                             void *user_data) {
  VA_LOG_NAME("_package_info_foreach_cb");
  VA_ENTRY();
  app_info_h app_info = NULL;
  int ret = app_info_create(app_id, &app_info);
  if (ret != APP_MANAGER_ERROR_NONE) {
    VA_LOGE("app_info_create() Fail(%d)", ret);
    return true;
  }
  ret = app_info_foreach_metadata(app_info, app_info_metadata_cb, user_data);
  if (ret != APP_MANAGER_ERROR_NONE) {
    VA_LOGE("app_info_foreach_metadata() Fail(%d)", ret);
    app_info_destroy(app_info);
    return true;
  }
  app_info_destroy(app_info);
  VA_EXIT();
  return false;
}

}  // namespace

extern "C" {

bool va_is_agent_installed(void) {
  VA_LOG_NAME("is_agent_installed");
  if (g_agent_installed > 0) return true;

  VA_ENTRY();
  package_info_h package_info = NULL;
  if (package_info_create(AGENT_APP_ID, &package_info) == PACKAGE_MANAGER_ERROR_NONE) {
    g_agent_installed = 1;
    package_info_destroy(package_info);
  }
  VA_EXIT();
  return g_agent_installed == 1;
}

bool va_is_lower_agent(int api_level) {
  VA_LOG_NAME("is_lower_agent");
  VA_LOGI("[is_lower_agent] api_level : %d", api_level);
  if (api_level < kLowestGatedLevel) return false;

  const bool cacheable = api_level < kLevelCacheSize;
  if (cacheable && (g_lower_agent[api_level] == 0 || g_lower_agent[api_level] == 1))
    return g_lower_agent[api_level] == 1;

  package_info_h package_info = NULL;
  int ret = package_info_create(AGENT_APP_ID, &package_info);
  if (ret != PACKAGE_MANAGER_ERROR_NONE) {
    VA_LOGI("-- package_info_create failed [%d]", ret);
    return false;
  }

  // An agent without the metadata key has level 0: lower than every gated level.
  int agent_level = 0;
  package_info_foreach_app_from_package(package_info, PACKAGE_INFO_APP_COMPONENT_TYPE_SERVICE,
                                        package_info_foreach_cb, &agent_level);

  int lower;
  if (agent_level < api_level) {
    VA_LOGI("LOWER_VERSION - agent version is lower than capi level [agent: %d, capi: %d]",
            agent_level, api_level);
    lower = 1;
  } else {
    VA_LOGI("Sucess to api level check [agent: %d, capi: %d]", agent_level, api_level);
    lower = 0;
  }
  if (cacheable) g_lower_agent[api_level] = lower;

  package_info_destroy(package_info);
  VA_EXIT();
  return lower == 1;
}

}  // extern "C"
