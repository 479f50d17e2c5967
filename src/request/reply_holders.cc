// Velmora Account client: the reply callbacks whose answer is not an account property: the
// signed-in status and the list of signed-in login ids. Their reply holder (request field 2) was
// allocated by the operation; these callbacks free it.
#include <cstdlib>

#include "app_control.h"
#include "request_reply.h"
#include "request_send.h"
#include "va_log.h"

namespace {

void free_ids(va_account_id_list_s *ids) {
  if (ids->list != nullptr) {
    for (int i = 0; i < ids->length; ++i) free(ids->list[i]);
    free(ids->list);
  }
  ids->list = nullptr;
  ids->length = 0;
}

void free_request(const char *name, velmora_account_request_h request) {
  VA_LOG_AS(DLOG_INFO, name, "REQUEST_HANDLE_FREE");
  free(request);
  VA_LOG_AS(DLOG_INFO, name, "[%s] <<<< ended", name);
}

}  // namespace

extern "C" {

void signed_in_status_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                         void *user_data) {
  VA_ENTRY();
  auto *req = static_cast<velmora_account_request_h>(user_data);
  if (req == nullptr) {
    VA_LOGE("request is NULL");
    return;
  }
  const int ret = va_reply_result(__func__, reply, result);
  va_signed_in_status_s local = {};
  auto *status = req->data != nullptr ? static_cast<va_signed_in_status_s *>(req->data) : &local;
  if (app_control_foreach_extra_data(reply, foreach_signed_in_status_cb, status) !=
      APP_CONTROL_ERROR_NONE)
    VA_LOGI("Fail to app_control_foreach_extra_data");

  auto callback = reinterpret_cast<velmora_account_signed_in_cb>(req->app_control_cb);
  if (callback != nullptr) callback(ret, req->account, status->is_signed_in, req->user_data);

  free(req->data);
  req->data = nullptr;
  free_request(__func__, req);
}

void account_list_cb(app_control_h request, app_control_h reply, app_control_result_e result,
                     void *user_data) {
  VA_ENTRY();
  auto *req = static_cast<velmora_account_request_h>(user_data);
  if (req == nullptr) {
    VA_LOGE("request is NULL");
    return;
  }
  int ret = va_reply_result(__func__, reply, result);
  va_account_id_list_s local = {};
  auto *ids = req->data != nullptr ? static_cast<va_account_id_list_s *>(req->data) : &local;
  ids->length = 0;
  ids->list = static_cast<char **>(calloc(VA_ACCOUNT_LIST_MAX, sizeof(char *)));
  if (ids->list == nullptr || app_control_foreach_extra_data(reply, foreach_signed_in_account_cb,
                                                             ids) != APP_CONTROL_ERROR_NONE) {
    VA_LOGI("Fail to app_control_foreach_extra_data");
    free_ids(ids);
    ret = VELMORA_ACCOUNT_ERROR_NO_DATA;
  }

  auto callback = reinterpret_cast<velmora_account_list_cb>(req->app_control_cb);
  if (callback != nullptr) callback(ret, req->account, ids->list, ids->length, req->user_data);

  VA_LOGI("[__velmora_account_destroy_accountId] [length = %d]", ids->length);
  free_ids(ids);
  free(req->data);
  req->data = nullptr;
  free_request(__func__, req);
}

}  // extern "C"
