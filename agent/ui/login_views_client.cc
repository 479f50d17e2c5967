// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: asking the UI application for its open login views (login_views.hh).
#include <glib.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "app_control.h"
#include "app_control/extras.hh"
#include "config.hh"
#include "ui/login_views.hh"

namespace vagent::ui {

namespace {

struct Listing {
  bool done = false;
  bool abandoned = false;  // the wait ran out: the reply callback frees the listing
  app_control_result_e result = APP_CONTROL_RESULT_FAILED;
  Extras extras;
};

void on_reply(app_control_h, app_control_h reply, app_control_result_e result, void *data) {
  auto *listing = static_cast<Listing *>(data);
  if (listing->abandoned) {
    delete listing;
    return;
  }
  listing->done = true;
  listing->result = result;
  listing->extras = extras_of(reply);
}

std::string value_of(const Listing &l, const std::string &key) {
  for (const auto &kv : l.extras)
    if (kv.first == key) return kv.second;
  return "";
}

}  // namespace

int list_login_views(int timeout_ms, std::vector<LoginViewInfo> *views, std::string *error) {
  views->clear();
  app_control_h request = nullptr;
  if (app_control_create(&request) != APP_CONTROL_ERROR_NONE) {
    *error = "out of memory";
    return APP_CONTROL_ERROR_OUT_OF_MEMORY;
  }
  app_control_set_app_id(request, kAgentUiAppId);
  app_control_set_operation(request, kListLoginViewsOperation);
  auto *listing = new Listing;
  const int ret = app_control_send_launch_request(request, on_reply, listing);
  app_control_destroy(request);
  if (ret != APP_CONTROL_ERROR_NONE) {
    delete listing;
    *error = "the agent's UI application cannot be reached (" + std::to_string(ret) + ")";
    return ret;
  }
  GMainContext *ctx = g_main_context_ref_thread_default();
  const gint64 deadline = g_get_monotonic_time() + static_cast<gint64>(timeout_ms) * 1000;
  GSource *tick = g_timeout_source_new(50);
  g_source_set_callback(
      tick, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
  g_source_attach(tick, ctx);
  while (!listing->done && g_get_monotonic_time() < deadline) g_main_context_iteration(ctx, TRUE);
  g_source_destroy(tick);
  g_source_unref(tick);
  g_main_context_unref(ctx);
  if (!listing->done) {
    *error = "the agent's UI application did not answer in time";
    listing->abandoned = true;  // the reply callback, if it still comes, frees it
    return -ETIMEDOUT;
  }
  int status = 0;
  if (listing->result != APP_CONTROL_RESULT_SUCCEEDED) {
    *error = "the agent's UI application refused the listing (error_code " +
             value_of(*listing, "error_code") + ")";
    status = APP_CONTROL_ERROR_LAUNCH_REJECTED;
  } else {
    const long count = strtol(value_of(*listing, "view_count").c_str(), nullptr, 10);
    for (long i = 1; i <= count && i <= 1000; ++i) {
      const std::string at = "view_" + std::to_string(i) + "_";
      LoginViewInfo v;
      v.url = value_of(*listing, at + "url");
      v.kind = value_of(*listing, at + "kind");
      v.caller = value_of(*listing, at + "caller");
      v.opened_at = strtoll(value_of(*listing, at + "opened_at").c_str(), nullptr, 10);
      views->push_back(v);
    }
  }
  delete listing;
  return status;
}

}  // namespace vagent::ui
