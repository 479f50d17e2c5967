// Velmora Account client: sending a request over the handle's AccountSvc port.
//
// The method call blocks until the agent has accepted the request; the answer comes later through
// the once-delegate made here, whose user data is the request record. When the call fails, no
// answer will come: the delegate is withdrawn from the proxy and the record and the clone are
// released before returning, so that nothing of a refused request stays behind.
#include <cstdlib>

#include "account_record.h"
#include "account_svc_proxy.h"
#include "request_reply.h"
#include "request_send.h"
#include "va_log.h"

namespace {

int invoke(const va_request_op_s *op, rpc_port_proxy_AccountSvc_h proxy, rpc_port_AccountS_h s,
           rpc_port_AccountSvc_ResponseCb_h delegate) {
  if (op->invoke != nullptr) return op->invoke(proxy, s, delegate);
  return rpc_port_proxy_AccountSvc_invoke_CommonAccount(proxy, s, op->common_type, delegate);
}

// Takes back a delegate the failed call may have left with the proxy (a call that never got as far
// as sending leaves it with us).
void withdraw(rpc_port_proxy_AccountSvc_h proxy, rpc_port_AccountSvc_ResponseCb_h delegate) {
  if (proxy != nullptr && rpc_port_proxy_AccountSvc_ResponseCb_dispose(proxy, delegate) == 0)
    return;
  rpc_port_AccountSvc_ResponseCb_destroy(delegate);
}

}  // namespace

extern "C" {

int va_request_send_nidl(const va_request_op_s *op, velmora_account_h handle,
                         velmora_account_h clone, velmora_account_request_cb callback,
                         void *user_data) {
  VA_LOG_AS(DLOG_INFO, op->name, "%s", op->nidl_mode_log);

  rpc_port_AccountS_h s = va_request_account_s_from(op, handle);
  if (s == nullptr) {
    VA_LOG_AS(DLOG_ERROR, op->name, "(%s)", "account_s == NULL");
    VA_LOG_AS(DLOG_INFO, op->name, "VELMORA_ACCOUNT_FREE");
    velmora_account_destroy(clone);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }

  velmora_account_request_h request = __create_nidl_request(clone, callback, user_data);
  rpc_port_AccountSvc_ResponseCb_h delegate =
      request != nullptr ? rpc_port_AccountSvc_ResponseCb_create(op->delegate_cb, true, request)
                         : nullptr;
  if (delegate == nullptr) {
    VA_LOG_AS(DLOG_INFO, op->name, "__create_nidl_request [VA_ERROR_OUT_OF_MEMORY]");
    free(request);
    rpc_port_AccountS_destroy(s);
    VA_LOG_AS(DLOG_INFO, op->name, "VELMORA_ACCOUNT_FREE");
    velmora_account_destroy(clone);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  request->delegate = delegate;

  int ret = invoke(op, handle->proxy, s, delegate);
  if (ret != 0) {
    if (op->invoke != nullptr)
      VA_LOG_AS(DLOG_INFO, op->name, "Failed to %s. err = %d", op->invoke_name, ret);
    else
      VA_LOG_AS(DLOG_INFO, op->name, "Failed to rpc_port_CommonAccount[%d]. err = %d",
                op->common_type, ret);
    // -1 is the proxy's "no result at all" (not connected, connection lost, bad argument).
    if (ret == -1) ret = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
    withdraw(handle->proxy, delegate);
    VA_LOG_AS(DLOG_INFO, op->name, "REQUEST_HANDLE_FREE");
    free(request);
    VA_LOG_AS(DLOG_INFO, op->name, "VELMORA_ACCOUNT_FREE");
    velmora_account_destroy(clone);
  }
  rpc_port_AccountS_destroy(s);
  VA_LOG_AS(DLOG_INFO, op->name, "[%s] <<<< ended", op->name);
  return ret;
}

}  // extern "C"
