// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: connected handles, whose requests travel over the agent's RPC port.
//
// velmora_account_connect makes an account record, creates the AccountSvc proxy for the agent and
// starts connecting it; the proxy's connection events reach the application through the handle's
// connection callback. velmora_account_disconnect destroys the proxy and the handle.
#include <cstdlib>

#include "account_record.h"
#include "account_svc_proxy.h"
#include "va_alloc.h"
#include "va_base.h"
#include "va_constants.h"
#include "va_log.h"

namespace {

void on_connected(rpc_port_proxy_AccountSvc_h h, void *user_data) {
  VA_LOG_NAME("__on_connected");
  auto *svc = static_cast<velmora_account_h>(user_data);
  if (svc == NULL) {
    VA_LOGE("user_data is NULL");
    return;
  }
  VA_ENTRY();
  if (svc->connection_cb)
    svc->connection_cb(VELMORA_ACCOUNT_ERROR_NONE, VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED,
                       svc->connection_user_data);
}

void on_disconnected(rpc_port_proxy_AccountSvc_h h, void *user_data) {
  VA_LOG_NAME("__on_disconnected");
  auto *svc = static_cast<velmora_account_h>(user_data);
  if (svc == NULL) {
    VA_LOGE("user_data is NULL");
    return;
  }
  VA_ENTRY();
  // Later requests on the handle fail in the proxy layer. The proxy itself is released here, as
  // the handle no longer knows it; it is freed when this event is over.
  if (svc->proxy) rpc_port_proxy_AccountSvc_destroy(svc->proxy);
  svc->proxy = nullptr;
  if (svc->connection_cb)
    svc->connection_cb(VELMORA_ACCOUNT_ERROR_NONE, VELMORA_ACCOUNT_CONNECTION_STATE_DISCONNECTED,
                       svc->connection_user_data);
}

void on_rejected(rpc_port_proxy_AccountSvc_h h, void *user_data) {
  VA_LOG_NAME("__on_rejected");
  auto *svc = static_cast<velmora_account_h>(user_data);
  if (svc == NULL) {
    VA_LOGE("user_data is NULL");
    return;
  }
  VA_ENTRY();
  if (svc->connection_cb)
    svc->connection_cb(VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED,
                       VELMORA_ACCOUNT_CONNECTION_STATE_REJECTED, svc->connection_user_data);
}

}  // namespace

VELMORA_API int velmora_account_connect(velmora_account_h *handle,
                                        velmora_account_connection_cb callback, void *user_data) {
  VA_LOGI("[velmora_account_connect] %s", VELMORA_ACCOUNT_VERSION);
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF_LOWER_AGENT(3);
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(callback == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF_TV(VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);

  auto *svc = static_cast<velmora_account_h>(va_calloc(1, sizeof(struct velmora_account_s)));
  VA_RETV_IF(svc == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  svc->connection_cb = callback;
  svc->connection_user_data = user_data;

  rpc_port_proxy_AccountSvc_callback_s events = {on_connected, on_disconnected, on_rejected};
  int ret = rpc_port_proxy_AccountSvc_create(AGENT_APP_ID, &events, svc, &svc->proxy);
  if (ret != 0) {
    VA_LOGI("Failed to create rpc port. err = %d", ret);
    free(svc);  // nothing else was made
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  ret = va_convert_connect_error(rpc_port_proxy_AccountSvc_connect(svc->proxy));
  if (ret != 0) {
    VA_LOGI("Failed to connect rpc port. err = %d", ret);
    // The proxy goes with the record: no event of it reaches the record afterwards.
    rpc_port_proxy_AccountSvc_destroy(svc->proxy);
    free(svc);
    return ret;
  }

  svc->connected = true;
  va_account_set_flags_unset(svc);
  *handle = svc;
  VA_EXIT();
  return VELMORA_ACCOUNT_ERROR_NONE;
}

VELMORA_API int velmora_account_disconnect(velmora_account_h handle) {
  VA_ENTRY();
  VA_RETV_IF_NO_AGENT();
  VA_RETV_IF_LOWER_AGENT(3);
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF_TV(VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);

  if (handle->proxy) {
    int ret = rpc_port_proxy_AccountSvc_destroy(handle->proxy);
    VA_LOGI("rpc_port_proxy_SvcMgrAppPort_destroy [%d]", ret);
    handle->proxy = nullptr;
  }
  velmora_account_destroy(handle);
  VA_EXIT();
  return VELMORA_ACCOUNT_ERROR_NONE;
}
