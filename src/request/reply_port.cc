// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the request record of a request over the AccountSvc port, and the
// delegate callback of every request answered by a ResponseCb.
//
// The callback logs under the reply name of the operation's row ("NidlAccessTokenCb"). The AccountS
// record it receives lives only for the call: its values are copied into the clone.
#include <cstdlib>

#include "request_operation.h"
#include "request_reply.h"
#include "va_alloc.h"
#include "va_log.h"

namespace {

void *alloc_record() { return va_calloc(1, sizeof(struct velmora_account_request_s)); }

velmora_account_request_h create_port(velmora_account_h account,
                                      velmora_account_request_cb callback, void *user_data,
                                      void *(*alloc)()) {
  VA_LOG_NAME("__create_nidl_request");
  VA_ENTRY();
  auto *request = static_cast<velmora_account_request_h>(alloc());
  if (request == nullptr) {
    VA_LOGE("Failed to create velmora_account_nidl_s");
    return nullptr;
  }
  request->account = account;
  request->nidl_cb = callback;
  request->user_data = user_data;
  VA_EXIT();
  return request;
}

}  // namespace

extern "C" {

// The only allocation of this function is a record that its reply keeps: tests/lsan.supp names it.
__attribute__((noinline)) void *va_request_alloc_kept_by_reply(void) { return alloc_record(); }

velmora_account_request_h va_request_create_port(velmora_account_h account,
                                                 velmora_account_request_cb callback,
                                                 void *user_data) {
  return create_port(account, callback, user_data, alloc_record);
}

velmora_account_request_h va_request_create_port_kept(velmora_account_h account,
                                                      velmora_account_request_cb callback,
                                                      void *user_data) {
  return create_port(account, callback, user_data, va_request_alloc_kept_by_reply);
}

void va_reply_port_cb(void *user_data, int result, rpc_port_AccountS_h account) {
  auto *request = static_cast<velmora_account_request_h>(user_data);
  const char *name = va_reply_name(request, true);
  VA_LOG_AS(DLOG_INFO, name, "[%s]", name);
  if (request == nullptr) {
    VA_LOG_AS(DLOG_ERROR, name, "request is NULL");
    return;
  }
  va_port_fill_fn fill = request->op != nullptr && request->op->port.fill != nullptr
                             ? request->op->port.fill
                             : va_fill_from_account_s;
  // A successful answer whose values could not all be copied is out of memory.
  const int filled = fill(request->account, account);
  if (result == VELMORA_ACCOUNT_ERROR_NONE && filled == VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY)
    result = filled;
  auto callback = reinterpret_cast<velmora_account_response_cb>(request->nidl_cb);
  if (callback != nullptr) callback(result, request->account, request->user_data);
  // The delegate itself was made with once = true: the proxy frees it after this call.
  free(request);
  VA_LOG_AS(DLOG_INFO, name, "[%s] <<<< ended", name);
}

}  // extern "C"
