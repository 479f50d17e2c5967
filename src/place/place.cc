// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: one saved place (velmora_account_place_*): create, destroy and the three
// getters. Every function needs agent API level 2.
#include <cstdlib>
#include <cstring>

#include "place_record.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_log.h"

// Hands one value out through `out` unless the caller passed no out-pointer, which is logged
// (under the getter's name) and skipped. Texts are copies; NULL stays NULL.
#define VA_GIVE(out, what, value)               \
  do {                                          \
    if ((out) == NULL)                          \
      VA_LOGI("out param [" what "] is NULL "); \
    else                                        \
      *(out) = (value);                         \
  } while (0)

namespace {

// The checks of create, destroy and get_place keep the extra parentheses of their logged
// condition: "((!handle))", "((data == NULL))", "((place == NULL))".

char *copy_of(const char *text) { return text ? va_strdup(text) : NULL; }

// A stored 0.0 (either sign) is handed out as +0.0.
double coordinate(double stored) { return stored == 0.0 ? 0.0 : stored; }

}  // namespace

extern "C" {

velmora_account_place_h va_place_new(void) {
  return static_cast<velmora_account_place_h>(va_calloc(1, sizeof(velmora_account_place_s)));
}

void va_place_free(velmora_account_place_h place) {
  if (place == NULL) return;
  free(place->name);
  free(place->address);
  free(place->wifi_name);
  free(place->wifi_bssid);
  free(place->bt_name);
  free(place->bt_address);
  free(place);
}

VELMORA_API int velmora_account_place_create(velmora_account_place_h *handle) {
  VA_PLACE_AGENT_CHECKS();
  VA_RETV_IF((!handle), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  velmora_account_place_h data = va_place_new();
  VA_RETV_IF(data == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  *handle = data;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_place_destroy(velmora_account_place_h place) {
  VA_PLACE_AGENT_CHECKS();
  velmora_account_place_h data = place;
  VA_RETV_IF((data == NULL), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  va_place_free(data);
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_place_get_place(velmora_account_place_h place, char **name,
                                                char **address, int *category) {
  VA_PLACE_AGENT_CHECKS();
  VA_RETV_IF((place == NULL), VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_GIVE(name, "name", copy_of(place->name));
  VA_GIVE(address, "address", copy_of(place->address));
  VA_GIVE(category, "category", place->category);
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_place_get_location(velmora_account_place_h place, int *type,
                                                   int *location_source, double *latitude,
                                                   double *longitude) {
  VA_PLACE_AGENT_CHECKS();
  VA_RETV_IF(place == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_GIVE(type, "type", place->type);
  VA_GIVE(location_source, "location_source", place->location_source);
  VA_GIVE(latitude, "latitude", coordinate(place->latitude));
  VA_GIVE(longitude, "longitude", coordinate(place->longitude));
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_place_get_network(velmora_account_place_h place, char **wifi_name,
                                                  char **wifi_bssid, char **bt_name,
                                                  char **bt_address) {
  VA_PLACE_AGENT_CHECKS();
  VA_RETV_IF(place == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_GIVE(wifi_name, "wifi_name", copy_of(place->wifi_name));
  VA_GIVE(wifi_bssid, "wifi_bssid", copy_of(place->wifi_bssid));
  VA_GIVE(bt_name, "bt_name", copy_of(place->bt_name));
  VA_GIVE(bt_address, "bt_address", copy_of(place->bt_address));
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
