// Velmora Account client: the request record of a request over the AccountSvc port, and the reply
// delegates that answer it.
//
// The six delegate callbacks share one body; each has its own name so that the log names it. The
// AccountS record they receive lives only for the call: its values are copied into the clone.
#include <cstdlib>

#include "request_reply.h"
#include "request_send.h"
#include "va_log.h"

namespace {

using FillFn = int (*)(velmora_account_h account, rpc_port_AccountS_h s);

void nidl_reply(const char *name, void *user_data, int result, rpc_port_AccountS_h s, FillFn fill) {
  VA_LOG_AS(DLOG_INFO, name, "[%s]", name);
  auto *request = static_cast<velmora_account_request_h>(user_data);
  if (request == nullptr) {
    VA_LOG_AS(DLOG_ERROR, name, "request is NULL");
    return;
  }
  fill(request->account, s);
  auto callback = reinterpret_cast<velmora_account_response_cb>(request->nidl_cb);
  if (callback != nullptr) callback(result, request->account, request->user_data);
  // The delegate itself was made with once = true: the proxy frees it after this call.
  free(request);
  VA_LOG_AS(DLOG_INFO, name, "[%s] <<<< ended", name);
}

}  // namespace

extern "C" {

velmora_account_request_h __create_nidl_request(velmora_account_h account,
                                                velmora_account_request_cb callback,
                                                void *user_data) {
  VA_ENTRY();
  auto *request =
      static_cast<velmora_account_request_h>(calloc(1, sizeof(struct velmora_account_request_s)));
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

#define VA_DEFINE_NIDL_CB(cb_name, fill)                                   \
  void cb_name(void *user_data, int result, rpc_port_AccountS_h account) { \
    nidl_reply(__func__, user_data, result, account, fill);                \
  }

VA_DEFINE_NIDL_CB(NidlEffortlessCb, set_response_handle_from_nild_result)
VA_DEFINE_NIDL_CB(NidlAccessTokenCb, set_response_handle_from_nild_result)
VA_DEFINE_NIDL_CB(NidlAuthCodeCb, set_response_handle_from_nild_result)
VA_DEFINE_NIDL_CB(NidlMccCb, set_response_handle_from_nild_result)
VA_DEFINE_NIDL_CB(NidlAccountFromGuidCb, set_response_handle_from_nild_result)
VA_DEFINE_NIDL_CB(NidlAccountLinkingCb, set_response_handle_from_missing_nild_result)

#undef VA_DEFINE_NIDL_CB

}  // extern "C"
