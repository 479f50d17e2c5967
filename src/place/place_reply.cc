// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: reading the agent's place replies into a place list.
//
// Over app control the places come as extras "<field>_<index>" (index 1..50): "name_1",
// "latitude_3", ... (foreach_place_cb). Over the port they come as one PlaceInfoS whose place list
// holds a PlaceS per place (set_place_list_from_nidl_result, PlaceInfoS_Listcb), where 200 and
// 200.0 mean "not given". Either way the list keeps at most 50 places. Log lines name the
// functions as the service's tools know them.
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "place_record.h"
#include "records_internal.hh"
#include "request_operation.h"
#include "request_reply.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_log.h"

namespace {

constexpr const char *kForeachName = "foreach_place_cb";
constexpr const char *kNidlSetName = "set_place_list_from_nidl_result";
constexpr const char *kNidlItemName = "PlaceInfoS_Listcb";
constexpr const char *kNidlReplyName = "nidl_request_place_cb";
constexpr const char *kAppControlReplyName = "place_request_info_cb";

constexpr int kNotGiven = 200;
constexpr double kNotGivenCoordinate = 200.0;

enum class Kind { kText, kInt, kDouble };

// The fields of a reply key, in the order they are tried: the first whose word the key contains
// (case-sensitive) is the field. "locationType" comes after "type" and still wins for its keys,
// as "type" is lower-case.
struct KeyField {
  const char *word;
  Kind kind;
  size_t offset;
};

const KeyField kKeyFields[] = {
    {"name", Kind::kText, offsetof(velmora_account_place_s, name)},
    {"address", Kind::kText, offsetof(velmora_account_place_s, address)},
    {"category", Kind::kInt, offsetof(velmora_account_place_s, category)},
    {"type", Kind::kInt, offsetof(velmora_account_place_s, type)},
    {"locationType", Kind::kInt, offsetof(velmora_account_place_s, location_source)},
    {"latitude", Kind::kDouble, offsetof(velmora_account_place_s, latitude)},
    {"longitude", Kind::kDouble, offsetof(velmora_account_place_s, longitude)},
    {"wifiName", Kind::kText, offsetof(velmora_account_place_s, wifi_name)},
    {"wifiBSSID", Kind::kText, offsetof(velmora_account_place_s, wifi_bssid)},
    {"bluetoothName", Kind::kText, offsetof(velmora_account_place_s, bt_name)},
    {"bluetoothMacAddress", Kind::kText, offsetof(velmora_account_place_s, bt_address)},
};

template <typename T>
T *member(velmora_account_place_h place, size_t offset) {
  return reinterpret_cast<T *>(reinterpret_cast<char *>(place) + offset);
}

// Stores a key's value in its field. False when a text could not be copied (the field keeps its
// previous value).
bool store(velmora_account_place_h place, const KeyField &f, const char *value) {
  switch (f.kind) {
    case Kind::kText: {
      char *copy = va_strdup(value);
      if (copy == NULL) return false;
      char **slot = member<char *>(place, f.offset);
      free(*slot);
      *slot = copy;
      break;
    }
    case Kind::kInt:
      *member<int>(place, f.offset) = static_cast<int>(strtol(value, NULL, 10));
      break;
    case Kind::kDouble:
      *member<double>(place, f.offset) = strtod(value, NULL);
      break;
  }
  return true;
}

// Copies a string field of a PlaceS when it is set and not empty. False when it could not be
// copied (the place keeps its previous value).
bool copy_text(const char *value, char **to) {
  if (value == NULL || value[0] == '\0') return true;
  char *copy = va_strdup(value);
  if (copy == NULL) return false;
  free(*to);
  *to = copy;
  return true;
}

void copy_int(rpc_port_PlaceS_h from, int (*get)(rpc_port_PlaceS_h, int *), int *to) {
  int value = 0;
  if (get(from, &value) == 0 && value != kNotGiven) *to = value;
}

void copy_double(rpc_port_PlaceS_h from, int (*get)(rpc_port_PlaceS_h, double *), double *to) {
  double value = 0;
  if (get(from, &value) == 0 && value != kNotGivenCoordinate) *to = value;
}

// A place list being filled from a reply, and whether a value could not be stored for lack of
// memory.
struct Fill {
  velmora_account_place_list_h list;
  bool out_of_memory;
};

// PlaceInfoS_Listcb: one PlaceS of the reply into the slot at the list's count.
bool place_item_cb(rpc_port_PlaceS_h item, void *user_data) {
  auto *fill = static_cast<Fill *>(user_data);
  velmora_account_place_list_h list = fill->list;
  if (list == NULL) {
    VA_LOG_AS(DLOG_ERROR, kNidlItemName, "(%s)", "list == NULL");
    return false;
  }
  // The list has fifty slots, whatever the reply's length says.
  if (list->count >= VA_PLACE_LIST_SLOTS) return false;
  velmora_account_place_h place = list->l[list->count];
  if (place == NULL) {
    VA_LOG_AS(DLOG_ERROR, kNidlItemName, "(%s)", "list->l[i] == NULL");
    return false;
  }
  const bool copied =
      copy_text(item->Name, &place->name) && copy_text(item->Address, &place->address) &&
      copy_text(item->WifiName, &place->wifi_name) &&
      copy_text(item->WifiBssid, &place->wifi_bssid) && copy_text(item->BtName, &place->bt_name) &&
      copy_text(item->BtAddress, &place->bt_address);
  if (!copied) fill->out_of_memory = true;
  copy_int(item, rpc_port_PlaceS_get_Category, &place->category);
  copy_int(item, rpc_port_PlaceS_get_Type, &place->type);
  copy_int(item, rpc_port_PlaceS_get_LocationSource, &place->location_source);
  copy_double(item, rpc_port_PlaceS_get_Latitude, &place->latitude);
  copy_double(item, rpc_port_PlaceS_get_Longitude, &place->longitude);
  list->count++;
  return true;
}

// foreach_place_cb for the list of `fill`.
bool visit_place_key(app_control_h reply, const char *key, Fill *fill) {
  char *value = NULL;
  const int ret = app_control_get_extra_data(reply, key, &value);
  if (ret != APP_CONTROL_ERROR_NONE) {
    VA_LOG_AS(DLOG_INFO, kForeachName, "foreach_place_cb failed.%s [key : %s]",
              va_app_control_error_name(ret), key ? key : "(null)");
    free(value);
    if (ret == APP_CONTROL_ERROR_OUT_OF_MEMORY) fill->out_of_memory = true;
    return false;
  }
  if (key == NULL) {
    VA_LOG_AS(DLOG_INFO, kForeachName, "Error. key is null");
    free(value);
    return true;
  }
  VA_LOG_AS(DLOG_INFO, kForeachName, "Key[%s]", key);
  if (va_place_list_apply(fill->list, key, value) == VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY)
    fill->out_of_memory = true;
  free(value);
  return true;
}

bool fill_place_cb(app_control_h reply, const char *key, void *user_data) {
  return visit_place_key(reply, key, static_cast<Fill *>(user_data));
}

// set_place_list_from_nidl_result into the list of `fill`.
int read_nidl(Fill *fill, rpc_port_PlaceInfoS_h info) {
  velmora_account_place_list_h list = fill->list;
  if (list == NULL) {
    VA_LOG_AS(DLOG_ERROR, kNidlSetName, "(%s)", "list == NULL");
    return 0;
  }
  list->count = 0;
  unsigned int length = 0;
  if (info != NULL) rpc_port_PlaceInfoS_get_PlaceList_length(info, &length);
  const unsigned int slots = length < VA_PLACE_LIST_SLOTS ? length : VA_PLACE_LIST_SLOTS;
  for (unsigned int i = 0; i < slots; ++i) {
    if (list->l[i] != NULL) continue;
    list->l[i] = va_place_new();
    if (list->l[i] == NULL) {
      VA_LOG_AS(DLOG_ERROR, kNidlSetName, "(%s)", "list->l[i] == NULL");
      fill->out_of_memory = true;
      break;
    }
  }
  if (info != NULL) rpc_port_PlaceInfoS_foreach_PlaceList(info, place_item_cb, fill);
  return list->count;
}

}  // namespace

extern "C" {

int va_place_list_apply(velmora_account_place_list_h list, const char *key, const char *value) {
  if (list == NULL || key == NULL || value == NULL) return VELMORA_ACCOUNT_ERROR_NONE;
  const char *underscore = strchr(key, '_');
  if (strstr(key, "error") != NULL || underscore == NULL) return VELMORA_ACCOUNT_ERROR_NONE;

  const long parsed = strtol(underscore + 1, NULL, 10);
  if (parsed < 1 || parsed > VA_PLACE_LIST_SLOTS) {
    const int shown = parsed > INT_MAX ? INT_MAX : parsed < INT_MIN ? INT_MIN : (int)parsed;
    VA_LOG_AS(DLOG_ERROR, kForeachName, "index[%d] exception", shown);
    return VELMORA_ACCOUNT_ERROR_NONE;
  }
  const int index = static_cast<int>(parsed);

  const KeyField *field = NULL;
  for (const KeyField &f : kKeyFields)
    if (strstr(key, f.word) != NULL) {
      field = &f;
      break;
    }
  if (list->count < index) list->count = index;
  if (list->l[index - 1] == NULL) {
    list->l[index - 1] = va_place_new();
    if (list->l[index - 1] == NULL) {
      VA_LOG_AS(DLOG_ERROR, kForeachName, "data->l[%d] calloc failed.", index - 1);
      return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
    }
  }
  if (field != NULL && !store(list->l[index - 1], *field, value))
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  return VELMORA_ACCOUNT_ERROR_NONE;
}

bool va_foreach_place_cb(app_control_h reply, const char *key, void *user_data) {
  Fill fill = {static_cast<velmora_account_place_list_h>(user_data), false};
  return visit_place_key(reply, key, &fill);
}

int va_place_list_from_nidl(velmora_account_place_list_h list, rpc_port_PlaceInfoS_h info) {
  Fill fill = {list, false};
  return read_nidl(&fill, info);
}

void va_place_reply_from_app_control(velmora_account_request_h request, app_control_h reply,
                                     app_control_result_e, int result) {
  velmora_account_place_list_h list = va_place_list_new();
  request->data = list;
  VA_LOG_AS(DLOG_INFO, kAppControlReplyName, "[place_request_info_cb] foreach_place_cb");
  Fill fill = {list, list == NULL};
  if (list != NULL &&
      app_control_foreach_extra_data(reply, fill_place_cb, &fill) != APP_CONTROL_ERROR_NONE)
    VA_LOG_AS(DLOG_INFO, kAppControlReplyName, "Fail to app_control_foreach_extra_data");
  // A place that could not be stored whole makes the answer an out-of-memory one.
  if (fill.out_of_memory && result == VELMORA_ACCOUNT_ERROR_NONE)
    result = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  auto callback = reinterpret_cast<velmora_account_place_response_cb>(request->app_control_cb);
  if (callback != NULL) callback(result, request->account, list, request->user_data);
  request->data = NULL;  // the list belongs to the callback's receiver now
}

void va_place_reply_from_port(void *user_data, int result, rpc_port_PlaceInfoS_h info) {
  auto *request = static_cast<velmora_account_request_h>(user_data);
  VA_LOG_AS(DLOG_INFO, kNidlReplyName, "[%s]", kNidlReplyName);
  if (request == NULL) {
    VA_LOG_AS(DLOG_ERROR, kNidlReplyName, "data is NULL");
    return;
  }
  if (request->data == NULL) {
    request->data = va_place_list_new();
    if (request->data == NULL) {
      // No list, no answer: the request ends here, and what it held is released.
      VA_LOG_AS(DLOG_ERROR, kNidlReplyName, "place_list_create failed");
      velmora_account_destroy(request->account);
      free(request);
      return;
    }
  }
  auto *list = static_cast<velmora_account_place_list_h>(request->data);
  Fill fill = {list, false};
  read_nidl(&fill, info);
  if (fill.out_of_memory && result == VELMORA_ACCOUNT_ERROR_NONE)
    result = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  auto callback = reinterpret_cast<velmora_account_place_response_cb>(request->nidl_cb);
  if (callback != NULL) callback(result, request->account, list, request->user_data);
  free(request);
  VA_LOG_AS(DLOG_INFO, kNidlReplyName, "[%s] <<<< ended", kNidlReplyName);
}

}  // extern "C"
