// SPDX-License-Identifier: Apache-2.0
// Velmora fuzzing: a pushed callback parcel of arbitrary bytes, dispatched by the AccountSvc proxy
// (protocol check, delegate header, the receive routine of the named delegate type) to a proxy
// that holds one delegate of each type, once and not once. Whatever the bytes, dispatch must not
// read out of bounds, leak, or call a delegate whose id and sequence number do not both match.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz_quiet.hh"
#include "proxy_internal.hh"
#include "velmora_host.h"

namespace {

struct Seen {
  int calls = 0;
  int id = 0;
};

void on_account(void *s, int, rpc_port_AccountS_h) { static_cast<Seen *>(s)->calls++; }
void on_error(void *s, int) { static_cast<Seen *>(s)->calls++; }
void on_place(void *s, int, rpc_port_PlaceInfoS_h) { static_cast<Seen *>(s)->calls++; }
void on_profile(void *s, int, rpc_port_ProfileS_h) { static_cast<Seen *>(s)->calls++; }

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  vfuzz::quiet_log();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  rpc_port_parcel_h parcel = nullptr;
  if (velmora_host_parcel_create_from_raw(&parcel, data, static_cast<unsigned int>(size)) != 0)
    return 0;

  auto *proxy =
      static_cast<rpc_port_proxy_AccountSvc_h>(calloc(1, sizeof(rpc_port_proxy_AccountSvc_s)));
  proxy->stub_appid = strdup("dev.velmora.account");
  g_rec_mutex_init(&proxy->mutex);
  Seen seen[8];
  void *delegates[8] = {
      rpc_port_AccountSvc_ResponseCb_create(on_account, true, &seen[0]),
      rpc_port_AccountSvc_ResponseCb_create(on_account, false, &seen[1]),
      rpc_port_AccountSvc_ResponseErrorCb_create(on_error, true, &seen[2]),
      rpc_port_AccountSvc_ResponseErrorCb_create(on_error, false, &seen[3]),
      rpc_port_AccountSvc_ResponsePlaceCb_create(on_place, true, &seen[4]),
      rpc_port_AccountSvc_ResponsePlaceCb_create(on_place, false, &seen[5]),
      rpc_port_AccountSvc_ResponseProfileCb_create(on_profile, true, &seen[6]),
      rpc_port_AccountSvc_ResponseProfileCb_create(on_profile, false, &seen[7]),
  };
  // Fixed sequence numbers (the process-wide counters only grow): 1 for the once-delegates, 2 for
  // the others, so that inputs can name each of them.
  int seqs[8];
  for (int i = 0; i < 8; ++i) {
    static_cast<va::proxy::Delegate *>(delegates[i])->seq = seqs[i] = i % 2 + 1;
    proxy->delegates = g_list_append(proxy->delegates, delegates[i]);
  }

  // What the header names, read the same way the proxy does.
  int protocol = -1, id = 0, seq = 0;
  if (size >= 12) {
    memcpy(&protocol, data, 4);
    memcpy(&id, data + 4, 4);
    memcpy(&seq, data + 8, 4);
  }
  va::proxy::dispatch_callback(proxy, parcel, "dev.velmora.account", "AccountSvc");

  int calls = 0;
  for (int i = 0; i < 8; ++i) {
    calls += seen[i].calls;
    // A delegate may only have been called by a push that names exactly it.
    if (seen[i].calls && (protocol != 1 || id != i / 2 + 1 || seq != seqs[i])) abort();
  }
  if (calls > 1) abort();
  rpc_port_proxy_AccountSvc_destroy(proxy);
  return 0;
}
