// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the AccountSvc methods that answer through a delegate, each with the
// arguments an operation's row and call give it (va_port_invoke_fn). A row names one of these as
// its port.invoke.
#include "account_svc_proxy.h"
#include "request_operation.h"

namespace {

const char *resource_of(const va_op_call_s *call) {
  if (call->args != nullptr && call->args->resource != nullptr) return call->args->resource;
  return call->op->port.resource;
}

void *body_of(const va_op_call_s *call) {
  return call->args != nullptr ? call->args->body : nullptr;
}

}  // namespace

extern "C" {

int va_invoke_request_access_token(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                                   rpc_port_AccountS_h account, void *delegate) {
  return rpc_port_proxy_AccountSvc_invoke_RequestAccessToken(
      proxy, account, static_cast<rpc_port_AccountSvc_ResponseCb_h>(delegate));
}

int va_invoke_request_authcode(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                               rpc_port_AccountS_h account, void *delegate) {
  return rpc_port_proxy_AccountSvc_invoke_RequestAuthcode(
      proxy, account, static_cast<rpc_port_AccountSvc_ResponseCb_h>(delegate));
}

int va_invoke_request_authcode_effortless(const va_op_call_s *call,
                                          rpc_port_proxy_AccountSvc_h proxy,
                                          rpc_port_AccountS_h account, void *delegate) {
  return rpc_port_proxy_AccountSvc_invoke_RequestAuthcodeEffortless(
      proxy, account, static_cast<rpc_port_AccountSvc_ResponseCb_h>(delegate));
}

int va_invoke_common_account(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                             rpc_port_AccountS_h account, void *delegate) {
  return rpc_port_proxy_AccountSvc_invoke_CommonAccount(
      proxy, account, call->op->port.request_type,
      static_cast<rpc_port_AccountSvc_ResponseCb_h>(delegate));
}

int va_invoke_request_place_info(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                                 rpc_port_AccountS_h account, void *delegate) {
  return rpc_port_proxy_AccountSvc_invoke_RequestPlaceInfo(
      proxy, account, static_cast<rpc_port_AccountSvc_ResponsePlaceCb_h>(delegate));
}

int va_invoke_request_profile_info(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                                   rpc_port_AccountS_h account, void *delegate) {
  return rpc_port_proxy_AccountSvc_invoke_RequestProfileInfo(
      proxy, account, resource_of(call),
      static_cast<rpc_port_AccountSvc_ResponseProfileCb_h>(delegate));
}

int va_invoke_common_profile(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                             rpc_port_AccountS_h account, void *delegate) {
  return rpc_port_proxy_AccountSvc_invoke_CommonProfile(
      proxy, account, call->op->port.request_type, resource_of(call),
      static_cast<rpc_port_AccountSvc_ResponseProfileCb_h>(delegate));
}

int va_invoke_update_profile_info(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                                  rpc_port_AccountS_h account, void *delegate) {
  return rpc_port_proxy_AccountSvc_invoke_UpdateProfileInfo(
      proxy, account, call->op->port.request_type, static_cast<rpc_port_ProfileS_h>(body_of(call)),
      static_cast<rpc_port_AccountSvc_ResponseErrorCb_h>(delegate));
}

int va_invoke_update_privacy_info(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                                  rpc_port_AccountS_h account, void *delegate) {
  return rpc_port_proxy_AccountSvc_invoke_UpdatePrivacyInfo(
      proxy, account, static_cast<rpc_port_PrivacyS_h>(body_of(call)),
      static_cast<rpc_port_AccountSvc_ResponseErrorCb_h>(delegate));
}

}  // extern "C"
