// Velmora Account client: the last access token, asked of the agent over the AccountSvc port and
// waited for (velmora_account_get_last_access_token_sync).
//
// There is no app-control form: a handle made by velmora_account_create gets NOT_SUPPORTED.
#include <cstddef>

#include "account_record.h"
#include "account_svc_proxy.h"
#include "request_reply.h"
#include "va_base.h"
#include "va_log.h"

namespace {

// What the request carries, each only when set; nothing is required here.
rpc_port_AccountS_h request_of(velmora_account_h handle) {
  rpc_port_AccountS_h s = NULL;
  if (rpc_port_AccountS_create(&s) != 0) return NULL;
  if (handle->login_id != NULL) rpc_port_AccountS_set_LoginId(s, handle->login_id);
  if (handle->client_id != NULL) rpc_port_AccountS_set_ClientId(s, handle->client_id);
  if (handle->scope != NULL) rpc_port_AccountS_set_Scope(s, handle->scope);
  return s;
}

}  // namespace

extern "C" {

VELMORA_API int velmora_account_get_last_access_token_sync(velmora_account_h handle,
                                                           velmora_account_h *response) {
  VA_ENTRY();
  VA_RETV_IF(is_agent_installed() == false, VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  VA_RETV_IF(is_lower_agent(3) == true, VELMORA_ACCOUNT_ERROR_LOWER_VERSION);
  VA_RETV_IF(handle == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(response == NULL, VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  VA_RETV_IF(is_tv_profile(), VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  // Not a connected handle: this call has no app-control form (no line for it).
  if (!handle->connected) return VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;

  rpc_port_AccountS_h request = request_of(handle);
  VA_RETV_IF(request == NULL, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  rpc_port_AccountS_h result = NULL;
  const int ret =
      rpc_port_proxy_AccountSvc_invoke_GetLastAccessToken(handle->proxy, request, &result);
  rpc_port_AccountS_destroy(request);
  if (ret != 0) {
    VA_LOGI("Failed to rpc_port_GetLastAccessToken. err = %d", ret);
    if (result != NULL) rpc_port_AccountS_destroy(result);
    return ret;
  }

  velmora_account_h account = NULL;
  const int created = velmora_account_create(&account);
  if (created != VELMORA_ACCOUNT_ERROR_NONE) {
    if (result != NULL) rpc_port_AccountS_destroy(result);
    return created;
  }
  set_response_handle_from_nild_result(account, result);
  *response = account;
  if (result != NULL) rpc_port_AccountS_destroy(result);
  VA_EXIT();
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // extern "C"
