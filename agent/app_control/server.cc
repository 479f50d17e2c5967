// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the app-control server: launch requests in, replies out, faults applied.
#include "app_control/server.hh"

#include <sys/resource.h>

#include <cstdlib>
#include <list>

#include "app_control/operations.hh"
#include "caller_name.hh"
#include "config.hh"
#include "dlog.h"
#include "file_watch.hh"
#include "idle_exit.hh"
#include "servers.hh"
#include "velmora_host.h"

namespace vagent {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";
// The fault group of the server as a whole (reject_connection).
constexpr const char *kServerFaultName = "AppControl";

#define AC_LOG(prio, ...) dlog_print(prio, kLogTag, __VA_ARGS__)

struct Held {
  app_control_h request = nullptr;  // a clone: it can still be answered
  appcontrol::Answer answer;
  GSource *timer = nullptr;  // nullptr: never answered
};

struct AppControlServer {
  AgentState *state = nullptr;
  bool serving = false;
  std::list<Held> held;
  int owed = 0;  // answers of started operations (Operation::start) not given yet
};

AppControlServer g_server;

std::string text_of(int (*get)(app_control_h, char **), app_control_h h) {
  char *value = nullptr;
  if (get(h, &value) != APP_CONTROL_ERROR_NONE || !value) return "";
  std::string out = value;
  free(value);
  return out;
}

void reply(app_control_h request, const appcontrol::Answer &answer) {
  app_control_h out = nullptr;
  if (app_control_create(&out) != APP_CONTROL_ERROR_NONE) return;
  for (const auto &kv : answer.extras)
    app_control_add_extra_data(out, kv.first.c_str(), kv.second.c_str());
  const int ret = app_control_reply_to_launch_request(
      out, request, answer.ok ? APP_CONTROL_RESULT_SUCCEEDED : APP_CONTROL_RESULT_FAILED);
  if (ret != APP_CONTROL_ERROR_NONE)
    AC_LOG(DLOG_WARN, "app control: the reply could not be sent (%d)", ret);
  app_control_destroy(out);
}

// The answer of an error_code fault: the code, and the facts of the login id when it is known.
appcontrol::Answer fault_answer(AgentState &state, const appcontrol::Request &req, int code) {
  appcontrol::Answer a = appcontrol::failure(code);
  const std::string login_id = req.extra("login_id");
  if (login_id.empty()) return a;
  Result<User> user = state.users().find(login_id);
  if (!user.ok()) return a;
  appcontrol::put(&a.extras, "login_id", user->login_id);
  appcontrol::put(&a.extras, "user_id", user->user_id);
  appcontrol::put(&a.extras, "cc", user->country_code);
  appcontrol::put(&a.extras, "mcc", user->mcc);
  appcontrol::put(&a.extras, "api_server_url", user->api_server_url);
  appcontrol::put(&a.extras, "auth_server_url", user->auth_server_url);
  return a;
}

gboolean answer_held(gpointer data) {
  auto *held = static_cast<Held *>(data);
  reply(held->request, held->answer);
  app_control_destroy(held->request);
  g_source_unref(held->timer);
  g_server.held.remove_if([held](const Held &h) { return &h == held; });
  return G_SOURCE_REMOVE;
}

// Keeps a clone of `request`: answered after `delay_ms`, or never when `delay_ms` < 0.
void hold(app_control_h request, appcontrol::Answer answer, int delay_ms) {
  app_control_h clone = nullptr;
  if (app_control_clone(&clone, request) != APP_CONTROL_ERROR_NONE) return;
  Held &h = g_server.held.emplace_back();
  h.request = clone;
  h.answer = std::move(answer);
  if (delay_ms < 0) return;
  h.timer = g_timeout_source_new(static_cast<guint>(delay_ms));
  g_source_set_callback(h.timer, answer_held, &h, nullptr);
  g_source_attach(h.timer, g_main_context_get_thread_default());
}

// The caller may send `op`: any caller, or, for the operations that carry credentials, only the
// agent's UI application, as the platform launched it: a process that only calls itself by that
// id is refused.
bool caller_allowed(const appcontrol::Operation &op, app_control_h request,
                    const std::string &caller) {
  if (op.callers == appcontrol::Callers::kAny) return true;
  return caller == kAgentUiAppId && velmora_host_app_control_caller_is_launched(request);
}

[[noreturn]] void crash_now(const char *operation) {
  AC_LOG(DLOG_ERROR, "app control: crashing in %s (fault crash)", operation);
  struct rlimit no_core = {0, 0};  // a deliberate crash leaves no core file behind
  setrlimit(RLIMIT_CORE, &no_core);
  abort();
}

// A request answered: a failure at info, a success only at debug (a line per request would cost
// a write to the log on every token).
void log_answer(const char *operation, const std::string &caller,
                const appcontrol::Answer &answer) {
  if (answer.ok)
    AC_LOG(DLOG_DEBUG, "app control: %s from %s: ok", operation, caller_name(caller));
  else
    AC_LOG(DLOG_INFO, "app control: %s from %s: failed, error_code %s", operation,
           caller_name(caller), answer.extras.front().second.c_str());
}

void update_refusing() {
  const bool refusing = g_server.state->faults(kServerFaultName).reject_connection;
  velmora_host_app_control_set_refusing(refusing);
  if (refusing) AC_LOG(DLOG_WARN, "app control: refusing every launch request (fault)");
}

void on_launch_request(app_control_h request, void *) {
  note_activity();
  const WatchScope look_once;  // the configuration files are looked at once per request
  AgentState &state = *g_server.state;
  const std::string uri = text_of(app_control_get_operation, request);
  const std::string caller = text_of(app_control_get_caller, request);
  const appcontrol::Operation *op = appcontrol::find_operation(uri);
  if (!op) {
    AC_LOG(DLOG_WARN, "app control: unknown operation '%s' from %s", uri.c_str(),
           caller_name(caller));
    reply(request, appcontrol::failure(
                       Status::fail(errc::kNotSupported, "the agent has no operation " + uri)));
    return;
  }

  if (!caller_allowed(*op, request, caller)) {
    AC_LOG(DLOG_WARN, "app control: %s refused: caller '%s' is not the agent's UI application",
           op->fault_name, caller.c_str());
    reply(request, appcontrol::failure(errc::kPermissionDenied));
    return;
  }

  const appcontrol::Request req(request);
  const Fault fault = state.faults(op->fault_name);
  if (fault.crash) crash_now(op->fault_name);
  if (fault.never_answer) {
    AC_LOG(DLOG_WARN, "app control: %s from %s left unanswered (fault never_answer)",
           op->fault_name, caller_name(caller));
    hold(request, appcontrol::Answer{}, -1);
    update_refusing();
    return;
  }
  if (op->start && !fault.error_code) {
    // Answered later: a clone of the request is kept until then (a delay fault still applies).
    app_control_h clone = nullptr;
    if (app_control_clone(&clone, request) != APP_CONTROL_ERROR_NONE) {
      reply(request, appcontrol::failure(errc::kOutOfMemory));
      return;
    }
    const int delay_ms = fault.delay_ms;
    const std::string name = op->fault_name;
    ++g_server.owed;
    op->start(state, req, [clone, delay_ms, name, caller](appcontrol::Answer answer) {
      --g_server.owed;
      note_activity();
      log_answer(name.c_str(), caller, answer);
      if (delay_ms > 0)
        hold(clone, std::move(answer), delay_ms);
      else
        reply(clone, answer);
      app_control_destroy(clone);
    });
    update_refusing();
    return;
  }
  appcontrol::Answer answer =
      fault.error_code ? fault_answer(state, req, *fault.error_code) : op->run(state, req);
  log_answer(op->fault_name, caller, answer);

  if (fault.delay_ms > 0) {
    hold(request, std::move(answer), fault.delay_ms);
  } else {
    reply(request, answer);
  }
  update_refusing();
}

}  // namespace

bool app_control_busy() {
  return !g_server.held.empty() || g_server.owed > 0 || appcontrol::companion_busy();
}

bool app_control_start(ServerContext &context, std::string *error) {
  g_server.state = &context.state;
  const int ret = velmora_host_app_control_serve(on_launch_request, nullptr);
  if (ret != 0) {
    *error = "cannot serve launch requests (" + std::to_string(ret) + ")";
    g_server.state = nullptr;
    return false;
  }
  g_server.serving = true;
  update_refusing();
  return true;
}

void app_control_stop() {
  if (g_server.serving) velmora_host_app_control_stop();
  g_server.serving = false;
  for (Held &h : g_server.held) {
    if (h.timer) {
      g_source_destroy(h.timer);
      g_source_unref(h.timer);
    }
    app_control_destroy(h.request);
  }
  g_server.held.clear();
  g_server.state = nullptr;
}

}  // namespace vagent
