// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: sending a request over the handle's AccountSvc port.
//
// The method call blocks until the agent has accepted the request; the answer comes later through
// the once-delegate made here, whose user data is the request record. When the call fails, no
// answer will come: the delegate is withdrawn from the proxy and the record, the clone and the
// holder are released before returning, so that nothing of a refused request stays behind.
#include <cstdlib>

#include "account_record.h"
#include "account_svc_proxy.h"
#include "request_operation.h"
#include "request_reply.h"
#include "va_log.h"

namespace {

// A new once-delegate of the row's kind whose callback answers `request`; NULL when out of memory.
void *make_delegate(const va_operation_s *op, velmora_account_request_h request) {
  switch (op->port.delegate) {
    case VA_DELEGATE_ACCOUNT:
      return rpc_port_AccountSvc_ResponseCb_create(va_reply_port_cb, true, request);
    case VA_DELEGATE_PLACE:
      return rpc_port_AccountSvc_ResponsePlaceCb_create(op->port.reply.place, true, request);
    case VA_DELEGATE_PROFILE:
      return rpc_port_AccountSvc_ResponseProfileCb_create(op->port.reply.profile, true, request);
    case VA_DELEGATE_ERROR:
      return rpc_port_AccountSvc_ResponseErrorCb_create(op->port.reply.error, true, request);
  }
  return nullptr;
}

// Takes back a delegate the failed call may have left with the proxy (a call that never got as far
// as sending leaves it with us).
void withdraw(const va_operation_s *op, rpc_port_proxy_AccountSvc_h proxy, void *delegate) {
  switch (op->port.delegate) {
    case VA_DELEGATE_ACCOUNT: {
      auto *d = static_cast<rpc_port_AccountSvc_ResponseCb_h>(delegate);
      if (proxy == nullptr || rpc_port_proxy_AccountSvc_ResponseCb_dispose(proxy, d) != 0)
        rpc_port_AccountSvc_ResponseCb_destroy(d);
      return;
    }
    case VA_DELEGATE_PLACE: {
      auto *d = static_cast<rpc_port_AccountSvc_ResponsePlaceCb_h>(delegate);
      if (proxy == nullptr || rpc_port_proxy_AccountSvc_ResponsePlaceCb_dispose(proxy, d) != 0)
        rpc_port_AccountSvc_ResponsePlaceCb_destroy(d);
      return;
    }
    case VA_DELEGATE_PROFILE: {
      auto *d = static_cast<rpc_port_AccountSvc_ResponseProfileCb_h>(delegate);
      if (proxy == nullptr || rpc_port_proxy_AccountSvc_ResponseProfileCb_dispose(proxy, d) != 0)
        rpc_port_AccountSvc_ResponseProfileCb_destroy(d);
      return;
    }
    case VA_DELEGATE_ERROR: {
      auto *d = static_cast<rpc_port_AccountSvc_ResponseErrorCb_h>(delegate);
      if (proxy == nullptr || rpc_port_proxy_AccountSvc_ResponseErrorCb_dispose(proxy, d) != 0)
        rpc_port_AccountSvc_ResponseErrorCb_destroy(d);
      return;
    }
  }
}

}  // namespace

extern "C" {

int va_send_port(va_op_call_s *call) {
  const va_operation_s *op = call->op;
  VA_LOG_AS(DLOG_INFO, op->name, "%s", op->port.mode_log);

  rpc_port_AccountS_h s = va_operation_account_s(call);
  if (s == nullptr) {
    VA_LOG_AS(DLOG_ERROR, op->name, "(%s)", "account_s == NULL");
    va_operation_release(call);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }

  velmora_account_request_h request =
      op->port.reply_keeps_request
          ? va_request_create_port_kept(call->clone, call->callback, call->user_data)
          : va_request_create_port(call->clone, call->callback, call->user_data);
  void *delegate = request != nullptr ? make_delegate(op, request) : nullptr;
  if (delegate == nullptr) {
    VA_LOG_AS(DLOG_INFO, op->name, "__create_nidl_request [VA_ERROR_OUT_OF_MEMORY]");
    free(request);
    rpc_port_AccountS_destroy(s);
    va_operation_release(call);
    return VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
  }
  request->op = op;
  request->data = call->holder;
  request->delegate = delegate;

  int ret = op->port.invoke(call, call->handle->proxy, s, delegate);
  if (ret != 0) {
    if (op->port.fail_type)
      VA_LOG_AS(DLOG_INFO, op->name, "Failed to %s[%d]. err = %d", op->port.fail_name,
                op->port.request_type, ret);
    else
      VA_LOG_AS(DLOG_INFO, op->name, "Failed to %s. err = %d", op->port.fail_name, ret);
    // -1 is the proxy's "no result at all" (not connected, connection lost, bad argument).
    if (ret == -1) ret = VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY;
    withdraw(op, call->handle->proxy, delegate);
    VA_LOG_AS(DLOG_INFO, op->name, "REQUEST_HANDLE_FREE");
    free(request);
    va_operation_release(call);
  }
  call->clone = nullptr;  // the request's now, or released
  call->holder = nullptr;
  rpc_port_AccountS_destroy(s);
  VA_LOG_AS(DLOG_INFO, op->name, "[%s] <<<< ended", op->name);
  return ret;
}

}  // extern "C"
