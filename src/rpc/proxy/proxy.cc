// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the AccountSvc proxy record, its connection and its event handlers.
//
// The proxy owns one rpc-port connection object. When the connection stands it keeps the main
// port (method calls and their results) and the callback port (callbacks the agent pushes later),
// and it turns connection events and pushed callbacks into calls of the application's functions.
// Everything here runs on the application's main loop; nothing takes the proxy's mutex.
#include <cstdlib>
#include <cstring>

#include "proxy_internal.hh"
#include "va_alloc.h"
#include "va_log.h"

namespace {

constexpr const char *kPortName = "AccountSvc";

void free_record(rpc_port_proxy_AccountSvc_h h) {
  g_rec_mutex_clear(&h->mutex);
  g_list_free_full(h->delegates, va::proxy::free_delegate);
  h->delegates = nullptr;
  if (h->proxy) rpc_port_proxy_destroy(h->proxy);
  free(h->stub_appid);
  free(h);
}

void log_event(const char *func, const char *endpoint, const char *port_name) {
  RPC_LOG_AT(DLOG_INFO, func, "[__RPC_PORT__] endpoint(%s), port_name(%s)", endpoint, port_name);
}

// Marks the proxy as busy in one of its events: a destroy from inside the event (an application
// that ends its connection from a callback) only marks the record, and the record is freed when
// the outermost event is done with it.
class EventScope {
 public:
  explicit EventScope(rpc_port_proxy_AccountSvc_h h) : h_(h) { h_->dispatching++; }
  ~EventScope() {
    if (--h_->dispatching == 0 && h_->destroy_requested) free_record(h_);
  }
  EventScope(const EventScope &) = delete;
  EventScope &operator=(const EventScope &) = delete;

 private:
  rpc_port_proxy_AccountSvc_h h_;
};

void on_connected(const char *endpoint, const char *port_name, rpc_port_h port, void *data) {
  VA_LOG_NAME("__AccountSvc_on_connected");
  auto *h = static_cast<rpc_port_proxy_AccountSvc_h>(data);
  EventScope scope(h);
  h->port = port;
  rpc_port_proxy_get_port(h->proxy, RPC_PORT_PORT_CALLBACK, &h->callback_port);
  if (h->callback.connected) h->callback.connected(h, h->user_data);
  log_event(VA_LOG_FUNC, endpoint, port_name);
}

void on_disconnected(const char *endpoint, const char *port_name, void *data) {
  VA_LOG_NAME("__AccountSvc_on_disconnected");
  auto *h = static_cast<rpc_port_proxy_AccountSvc_h>(data);
  EventScope scope(h);
  h->port = nullptr;
  if (h->callback.disconnected) h->callback.disconnected(h, h->user_data);
  log_event(VA_LOG_FUNC, endpoint, port_name);
}

void on_rejected(const char *endpoint, const char *port_name, void *data) {
  VA_LOG_NAME("__AccountSvc_on_rejected");
  auto *h = static_cast<rpc_port_proxy_AccountSvc_h>(data);
  EventScope scope(h);
  h->port = nullptr;
  if (h->callback.rejected) h->callback.rejected(h, h->user_data);
  log_event(VA_LOG_FUNC, endpoint, port_name);
}

void on_received(const char *endpoint, const char *port_name, void *data) {
  VA_LOG_NAME("__AccountSvc_on_received");
  auto *h = static_cast<rpc_port_proxy_AccountSvc_h>(data);
  rpc_port_parcel_h parcel = nullptr;
  int ret = rpc_port_parcel_create_from_port(&parcel, h->callback_port);
  if (ret != 0 || !parcel) {
    RPC_LOGE("Failed to create parcel from port(%s)", port_name);
    return;
  }
  va::proxy::dispatch_callback(h, parcel, endpoint, port_name);
}

// Steps that the log names "__create_AccountSvc": the record, its stub id and the connection
// object. nullptr after logging why.
rpc_port_proxy_AccountSvc_h create_proxy_record(const char *stub_appid) {
  VA_LOG_NAME("__create_AccountSvc");
  auto *h =
      static_cast<rpc_port_proxy_AccountSvc_h>(va_calloc(1, sizeof(rpc_port_proxy_AccountSvc_s)));
  if (!h) {
    RPC_LOGE("Out of memory");
    return nullptr;
  }
  h->stub_appid = va_strdup(stub_appid);
  if (!h->stub_appid) {
    RPC_LOGE("Out of memory");
    free(h);
    return nullptr;
  }
  rpc_port_proxy_create(&h->proxy);
  if (!h->proxy) {
    RPC_LOGE("Failed to create proxy");
    free(h->stub_appid);
    free(h);
    return nullptr;
  }
  return h;
}

}  // namespace

namespace va::proxy {

void dispatch_callback(rpc_port_proxy_AccountSvc_h h, rpc_port_parcel_h parcel,
                       const char *endpoint, const char *port_name) {
  int protocol = -1;
  rpc_port_parcel_read_int32(parcel, &protocol);
  if (protocol != kProtocolCallback) {
    RPC_LOGE("Invalid protocol");
    rpc_port_parcel_destroy(parcel);
    return;
  }

  // The delegate header; its once flag is not used, the delegate's own flag decides.
  int id = 0;
  int seq = 0;
  bool once = false;
  rpc_port_parcel_read_int32(parcel, &id);
  rpc_port_parcel_read_int32(parcel, &seq);
  rpc_port_parcel_read_bool(parcel, &once);

  const DelegateType *type = delegate_type(id);
  EventScope scope(h);
  if (!type)
    RPC_LOGW("Unknown id(%d)", id);
  else
    receive(*type, &h->delegates, parcel, seq, id);
  rpc_port_parcel_destroy(parcel);
  RPC_LOGI("[__RPC_PORT__] endpoint(%s), port_name(%s)", endpoint, port_name);
}

}  // namespace va::proxy

VELMORA_API int rpc_port_proxy_AccountSvc_create(const char *stub_appid,
                                                 rpc_port_proxy_AccountSvc_callback_s *callback,
                                                 void *user_data, rpc_port_proxy_AccountSvc_h *h) {
  if (!stub_appid || !callback || !h) {
    RPC_LOGE("Invalid parameter");
    return -1;
  }
  rpc_port_proxy_AccountSvc_h proxy = create_proxy_record(stub_appid);
  if (!proxy) return -1;

  g_rec_mutex_init(&proxy->mutex);
  proxy->callback = *callback;
  proxy->user_data = user_data;

  int ret = rpc_port_proxy_add_connected_event_cb(proxy->proxy, on_connected, proxy);
  if (ret != 0) {
    RPC_LOGE("Failed to add connected event cb. err = %d", ret);
    free_record(proxy);
    return ret;
  }
  ret = rpc_port_proxy_add_disconnected_event_cb(proxy->proxy, on_disconnected, proxy);
  if (ret != 0) {
    RPC_LOGE("Failed to add disconnected event cb. err = %d", ret);
    free_record(proxy);
    return ret;
  }
  ret = rpc_port_proxy_add_rejected_event_cb(proxy->proxy, on_rejected, proxy);
  if (ret != 0) {
    RPC_LOGE("Failed to add rejected event cb. err = %d", ret);
    free_record(proxy);
    return ret;
  }
  ret = rpc_port_proxy_add_received_event_cb(proxy->proxy, on_received, proxy);
  if (ret != 0) {
    RPC_LOGE("Failed to add received event cb. err = %d", ret);
    free_record(proxy);
    return ret;
  }

  *h = proxy;
  return 0;
}

VELMORA_API int rpc_port_proxy_AccountSvc_connect(rpc_port_proxy_AccountSvc_h h) {
  if (!h || !h->proxy) {
    RPC_LOGE("Invalid parameter");
    return -1;
  }
  int ret = rpc_port_proxy_connect(h->proxy, h->stub_appid, kPortName);
  if (ret != 0) {
    RPC_LOGE("Failed to connect AccountSvc(%s)", h->stub_appid);
    return ret;
  }
  return 0;
}

VELMORA_API int rpc_port_proxy_AccountSvc_destroy(rpc_port_proxy_AccountSvc_h h) {
  if (!h) {
    RPC_LOGE("Invalid parameter");
    return -1;
  }
  if (h->dispatching > 0) {
    // Called from inside one of this proxy's events: the event frees the record when it is done.
    // No further callback of it runs: the delegates go with the record.
    h->destroy_requested = true;
    return 0;
  }
  free_record(h);
  return 0;
}
