// SPDX-License-Identifier: Apache-2.0
// Velmora tests: an application that serves launch requests (see test_apps.hh).
//
// The request's "mode" extra chooses what happens:
//   "reply" (default)  replies at once: the request's extras in their order, then "caller" (the
//                      caller id), "operation", "served" (requests received so far) and, when any
//                      request had one, "tags" (the "tag" extras received so far); the result
//                      is the "result" extra as a number (default 0, succeeded)
//   "later"            keeps a clone and replies from it on a later main-loop turn as "reply" does,
//                      then replies once more and writes that second reply's return code to
//                      "<root>/test-markers/<app id>.second"
//   "never"            keeps a clone, never replies, and writes "<root>/test-markers/<app id>.held"
//   "drop"             keeps nothing and does not reply
//   "die"              exits at once with status 3
//   "whois"            replies "caller" and "caller_launched": "Y" when the platform says the
//                      request came from the instance of its caller application it launched
//   "relay"            sends a launch request (mode "whois") to the application named by the
//                      "relay_to" extra and replies with that request's reply extras and result
// Every request received is appended to "<root>/test-markers/<app id>.requests" as one line: the
// operation, then "\t<key>=<value>" for each extra in order.
// VELMORA_TEST_REFUSE=1 makes it refuse every request; VELMORA_TEST_START_DELAY_MS delays serving;
// VELMORA_TEST_NO_LISTEN=1 makes it run without ever serving.
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "app_common.hh"
#include "app_control.h"
#include "velmora_host.h"

namespace {

int g_served = 0;
std::string g_tags;  // the "tag" extras of every request received, comma-separated
std::vector<app_control_h> g_kept;

std::string extra(app_control_h h, const char *key, const std::string &fallback) {
  char *v = nullptr;
  if (app_control_get_extra_data(h, key, &v) != APP_CONTROL_ERROR_NONE) return fallback;
  std::string out = v;
  free(v);
  return out;
}

bool copy_extra(app_control_h request, const char *key, void *reply) {
  char *v = nullptr;
  if (app_control_get_extra_data(request, key, &v) == APP_CONTROL_ERROR_NONE) {
    app_control_add_extra_data(static_cast<app_control_h>(reply), key, v);
    free(v);
  }
  return true;
}

int reply_to(app_control_h request) {
  app_control_h reply = nullptr;
  app_control_create(&reply);
  app_control_foreach_extra_data(request, copy_extra, reply);
  char *caller = nullptr;
  app_control_add_extra_data(reply, "caller",
                             app_control_get_caller(request, &caller) == 0 ? caller : "<error>");
  free(caller);
  char *op = nullptr;
  app_control_get_operation(request, &op);
  app_control_add_extra_data(reply, "operation", op ? op : "");
  free(op);
  app_control_add_extra_data(reply, "served", std::to_string(g_served).c_str());
  if (!g_tags.empty()) app_control_add_extra_data(reply, "tags", g_tags.c_str());
  int result = atoi(extra(request, "result", "0").c_str());
  int ret = app_control_reply_to_launch_request(reply, request, (app_control_result_e)result);
  app_control_destroy(reply);
  return ret;
}

gboolean reply_later(gpointer data) {
  auto request = static_cast<app_control_h>(data);
  reply_to(request);
  app_control_h reply = nullptr;
  app_control_create(&reply);
  int second = app_control_reply_to_launch_request(reply, request, APP_CONTROL_RESULT_SUCCEEDED);
  app_control_destroy(reply);
  app_control_destroy(request);
  const std::string root = vtest::app::env_or("VELMORA_PLATFORM_ROOT", ".");
  const std::string app_id = vtest::app::env_or("VELMORA_APP_ID", "none");
  std::ofstream(root + "/test-markers/" + app_id + ".second") << second << "\n";
  return G_SOURCE_REMOVE;
}

void whois(app_control_h request) {
  app_control_h reply = nullptr;
  app_control_create(&reply);
  char *caller = nullptr;
  app_control_get_caller(request, &caller);
  app_control_add_extra_data(reply, "caller", caller ? caller : "<error>");
  free(caller);
  app_control_add_extra_data(reply, "caller_launched",
                             velmora_host_app_control_caller_is_launched(request) ? "Y" : "N");
  app_control_reply_to_launch_request(reply, request, APP_CONTROL_RESULT_SUCCEEDED);
  app_control_destroy(reply);
}

// "relay": the outer request (a clone) waits for the inner one's reply.
void on_relayed(app_control_h, app_control_h inner_reply, app_control_result_e result, void *data) {
  auto outer = static_cast<app_control_h>(data);
  app_control_h reply = nullptr;
  app_control_create(&reply);
  if (inner_reply) app_control_foreach_extra_data(inner_reply, copy_extra, reply);
  app_control_reply_to_launch_request(reply, outer, result);
  app_control_destroy(reply);
  app_control_destroy(outer);
}

void relay(app_control_h request) {
  app_control_h outer = nullptr;
  if (app_control_clone(&outer, request) != 0) return;
  app_control_h inner = nullptr;
  app_control_create(&inner);
  app_control_set_app_id(inner, extra(request, "relay_to", "").c_str());
  app_control_add_extra_data(inner, "mode", "whois");
  if (app_control_send_launch_request(inner, on_relayed, outer) != APP_CONTROL_ERROR_NONE)
    app_control_destroy(outer);  // the sender gets a failed reply when the clone goes
  app_control_destroy(inner);
}

bool record_extra(app_control_h request, const char *key, void *line) {
  *static_cast<std::string *>(line) += std::string("\t") + key + "=" + extra(request, key, "");
  return true;
}

void record(app_control_h request) {
  char *op = nullptr;
  app_control_get_operation(request, &op);
  std::string line = op ? op : "";
  free(op);
  app_control_foreach_extra_data(request, record_extra, &line);
  const std::string root = vtest::app::env_or("VELMORA_PLATFORM_ROOT", ".");
  const std::string app_id = vtest::app::env_or("VELMORA_APP_ID", "none");
  std::ofstream(root + "/test-markers/" + app_id + ".requests", std::ios::app) << line << "\n";
}

void on_request(app_control_h request, void *) {
  ++g_served;
  record(request);
  const std::string tag = extra(request, "tag", "");
  if (!tag.empty()) g_tags += (g_tags.empty() ? "" : ",") + tag;
  const std::string mode = extra(request, "mode", "reply");
  if (mode == "die") _exit(3);
  if (mode == "drop") return;
  if (mode == "relay") return relay(request);
  if (mode == "whois") return whois(request);
  if (mode == "never" || mode == "later") {
    app_control_h clone = nullptr;
    if (app_control_clone(&clone, request) != 0) return;
    if (mode == "never") {
      g_kept.push_back(clone);
      const std::string root = vtest::app::env_or("VELMORA_PLATFORM_ROOT", ".");
      const std::string app_id = vtest::app::env_or("VELMORA_APP_ID", "none");
      std::ofstream(root + "/test-markers/" + app_id + ".held") << g_served << "\n";
    } else
      g_idle_add(reply_later, clone);
    return;
  }
  reply_to(request);
}

}  // namespace

int main() {
  vtest::app::mark_start();
  vtest::app::limit_lifetime();
  if (vtest::app::env_int("VELMORA_TEST_REFUSE", 0)) velmora_host_app_control_set_refusing(true);
  GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
  if (vtest::app::env_int("VELMORA_TEST_NO_LISTEN", 0)) {
    g_main_loop_run(loop);
    return 0;
  }
  const int delay = vtest::app::env_int("VELMORA_TEST_START_DELAY_MS", 0);
  if (delay > 0) g_usleep((gulong)delay * 1000);
  if (velmora_host_app_control_serve(on_request, nullptr) != APP_CONTROL_ERROR_NONE) return 2;
  g_main_loop_run(loop);
  velmora_host_app_control_stop();
  g_main_loop_unref(loop);
  return 0;
}
