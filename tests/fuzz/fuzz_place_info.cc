// SPDX-License-Identifier: Apache-2.0
// Velmora fuzzing: the place reply of the port (a PlaceInfoS from arbitrary bytes) read into a
// place list (set_place_list_from_nidl_result).
//
// An input is the parcel bytes of a PlaceInfoS. Whatever decodes is read into a fresh place list.
// Checked: the list holds min(length of the place list, 50) places, each slot below the count is a
// place and every slot above it is empty; a name is the PlaceS's non-empty Name; nothing leaks.
//
// Seeds: VELMORA_FUZZ_WRITE_SEEDS=<dir> writes replies of 0, 2 and 60 places into <dir> and exits:
//   VELMORA_FUZZ_WRITE_SEEDS=tests/fuzz/corpus/place_info build/fuzz/tests/fuzz/fuzz_place_info
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "account_svc_proxy.h"
#include "fuzz_quiet.hh"
#include "place_record.h"
#include "records_internal.hh"
#include "rpc_port_parcel.h"
#include "velmora_host.h"

namespace {

rpc_port_PlaceInfoS_h make_info(int places) {
  rpc_port_PlaceInfoS_h info = nullptr;
  if (rpc_port_PlaceInfoS_create(&info) != 0) abort();
  for (int i = 0; i < places; ++i) {
    rpc_port_PlaceS_h p = nullptr;
    if (rpc_port_PlaceS_create(&p) != 0) abort();
    rpc_port_PlaceS_set_Name(p, ("place " + std::to_string(i + 1)).c_str());
    if (i % 2 == 0) rpc_port_PlaceS_set_Address(p, "1 Main St");
    rpc_port_PlaceS_set_Category(p, i % 3 == 0 ? 200 : i);
    rpc_port_PlaceS_set_Type(p, 1);
    rpc_port_PlaceS_set_LocationSource(p, 200);
    rpc_port_PlaceS_set_Latitude(p, i % 2 ? 200.0 : 37.5);
    rpc_port_PlaceS_set_Longitude(p, -122.25);
    rpc_port_PlaceS_set_WifiName(p, "net");
    rpc_port_PlaceInfoS_add_PlaceList(info, p);
    rpc_port_PlaceS_destroy(p);
  }
  rpc_port_PlaceInfoS_set_size(info, places);
  return info;
}

void write_seeds() {
  const char *dir = getenv("VELMORA_FUZZ_WRITE_SEEDS");
  if (!dir) return;
  std::filesystem::create_directories(dir);
  for (int places : {0, 2, 60}) {
    rpc_port_PlaceInfoS_h info = make_info(places);
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create(&parcel) != 0) abort();
    rpc_port_parcel_write(parcel, va::rec::parcelable_of(info), info);
    const void *raw = nullptr;
    unsigned int size = 0;
    if (velmora_host_parcel_get_raw(parcel, &raw, &size) != 0) abort();
    FILE *f = fopen((std::string(dir) + "/places-" + std::to_string(places)).c_str(), "wb");
    if (!f) abort();
    fwrite(raw, 1, size, f);
    fclose(f);
    rpc_port_parcel_destroy(parcel);
    rpc_port_PlaceInfoS_destroy(info);
  }
  printf("wrote 3 seeds to %s\n", dir);
  exit(0);
}

struct Check {
  velmora_account_place_list_h list;
  int at = 0;
  bool ok = true;
};

bool check_item(rpc_port_PlaceS_h item, void *user_data) {
  auto *c = static_cast<Check *>(user_data);
  if (c->at >= VA_PLACE_LIST_SLOTS) return false;
  char *name = nullptr;
  const velmora_account_place_h p = c->list->l[c->at++];
  if (rpc_port_PlaceS_get_Name(item, &name) == 0 && name && name[0]) {
    if (!p->name || std::string(p->name) != name) c->ok = false;
  } else if (p->name) {
    c->ok = false;
  }
  free(name);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  vfuzz::quiet_log();
  write_seeds();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > 64 * 1024) return 0;
  rpc_port_parcel_h parcel = nullptr;
  if (velmora_host_parcel_create_from_raw(&parcel, data, static_cast<unsigned int>(size)) != 0)
    abort();
  rpc_port_PlaceInfoS_h info = nullptr;
  if (rpc_port_PlaceInfoS_create(&info) != 0) abort();
  rpc_port_parcel_read(parcel, va::rec::parcelable_of(info), info);
  rpc_port_parcel_destroy(parcel);

  velmora_account_place_list_h list = va_place_list_new();
  if (!list) abort();
  const int read = va_place_list_from_nidl(list, info);
  unsigned int length = 0;
  rpc_port_PlaceInfoS_get_PlaceList_length(info, &length);
  const int expected = length < VA_PLACE_LIST_SLOTS ? static_cast<int>(length) : 50;
  if (read != expected || list->count != expected) abort();
  for (int i = 0; i < VA_PLACE_LIST_SLOTS; ++i)
    if ((list->l[i] != nullptr) != (i < expected)) abort();
  Check c{list};
  rpc_port_PlaceInfoS_foreach_PlaceList(info, check_item, &c);
  if (!c.ok) abort();
  va_place_list_free(list);
  rpc_port_PlaceInfoS_destroy(info);
  return 0;
}
