// SPDX-License-Identifier: Apache-2.0
// velmora-account: a handle in the chosen transport, and the GLib main loop that waits for the
// agent's answers (bounded by --timeout).
#include <glib.h>

#include <cstdio>
#include <functional>
#include <string>
#include <utility>

#include "account_cli.hh"

namespace vacc {

namespace {

gboolean on_timeout(gpointer data) {
  auto *wait = static_cast<Wait *>(data);
  wait->timed_out = true;
  g_main_loop_quit(wait->loop);
  return G_SOURCE_REMOVE;
}

struct Connecting {
  Wait wait;
  int result = 0;
  int state = -1;
};

void on_connection(int result, int state, void *user_data) {
  auto *c = static_cast<Connecting *>(user_data);
  // Only the first event matters here: the outcome of connecting.
  if (c->wait.done) return;
  c->result = result;
  c->state = state;
  finish(&c->wait);
}

// The connection callback's data lives as long as the handle, which may report later events.
Connecting g_connecting;

// A string option, or "" when not given.
std::string text(const gchar *value) { return value ? value : ""; }

int set_properties(velmora_account_h h) {
  const Options &o = options();
  const std::pair<int, std::string> props[] = {
      {VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, text(o.login_id)},
      {VELMORA_ACCOUNT_PROPERTY_CLIENT_ID, text(o.client_id)},
      {VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET, request().client_secret},
      {VELMORA_ACCOUNT_PROPERTY_SCOPE, text(o.scope)},
      {VELMORA_ACCOUNT_PROPERTY_LAST_ACCESS_TOKEN, request().expired_token},
      {VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE, text(o.device_code)},
      {VELMORA_ACCOUNT_PROPERTY_USER_ID, text(o.user_id)},
      {VELMORA_ACCOUNT_PROPERTY_MCC, text(o.mcc)},
      {VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID, text(o.partner_client_id)},
      {VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, request().access_token},
      {VELMORA_ACCOUNT_PROPERTY_AUTHCODE, request().authcode},
      {VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL, text(o.api_server_url)},
      {VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL, text(o.auth_server_url)},
  };
  for (const auto &[property, value] : props) {
    if (value.empty()) continue;
    const int ret = velmora_account_set_property_str(h, property, value.c_str());
    if (ret != VELMORA_ACCOUNT_ERROR_NONE) return ret;
  }
  return VELMORA_ACCOUNT_ERROR_NONE;
}

}  // namespace

bool wait_for(Wait *wait) {
  if (wait->done) return true;
  wait->loop = g_main_loop_new(nullptr, FALSE);
  const guint timer =
      g_timeout_add_seconds(static_cast<guint>(options().timeout_s), on_timeout, wait);
  g_main_loop_run(wait->loop);
  if (!wait->timed_out) g_source_remove(timer);
  g_main_loop_unref(wait->loop);
  wait->loop = nullptr;
  return !wait->timed_out;
}

void finish(Wait *wait) {
  wait->done = true;
  if (wait->loop) g_main_loop_quit(wait->loop);
}

int await_reply(const char *what, velmora_account_h handle, int sent, Reply *reply, int *result) {
  *result = sent;
  if (reply && sent == VELMORA_ACCOUNT_ERROR_NONE) {
    if (!wait_for(&reply->wait)) {
      close_handle(handle);
      return print_timeout(what, "an answer from the agent");
    }
    *result = reply->result;
  }
  close_handle(handle);
  return vcli::kExitOk;
}

int open_handle(const char *, velmora_account_h *handle) {
  velmora_account_h h = nullptr;
  if (request().transport == Transport::kAppControl) {
    const int ret = velmora_account_create(&h);
    if (ret != VELMORA_ACCOUNT_ERROR_NONE) return print_failure("create", ret);
  } else {
    const int ret = velmora_account_connect(&h, on_connection, &g_connecting);
    if (ret != VELMORA_ACCOUNT_ERROR_NONE) return print_failure("connect", ret);
    if (!wait_for(&g_connecting.wait)) {
      velmora_account_disconnect(h);
      return print_timeout("connect", "the agent to accept the connection");
    }
    if (g_connecting.state != VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED) {
      velmora_account_disconnect(h);
      return print_failure("connect", g_connecting.result != 0
                                          ? g_connecting.result
                                          : VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
    }
  }
  const int ret = set_properties(h);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
    close_handle(h);
    return print_failure("set property", ret);
  }
  *handle = h;
  return vcli::kExitOk;
}

void close_handle(velmora_account_h handle) {
  if (request().transport == Transport::kNidl)
    velmora_account_disconnect(handle);
  else
    velmora_account_destroy(handle);
}

namespace {

struct Ticking {
  std::function<bool()> tick;
  bool running = false;
  bool finished = false;  // the source is gone
};

gboolean on_tick(gpointer data) {
  auto *t = static_cast<Ticking *>(data);
  if (t->running) return G_SOURCE_CONTINUE;  // a tick that iterates the loop itself
  t->running = true;
  const bool again = t->tick();
  t->running = false;
  t->finished = !again;
  return again ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

}  // namespace

int run_request(const char *what, AsyncRequest send, int required, int shown_flag,
                std::function<bool()> tick) {
  velmora_account_h h = nullptr;
  int status = open_handle(what, &h);
  if (status != vcli::kExitOk) return status;

  Answer<velmora_account_h> answer;
  Ticking ticking{std::move(tick)};
  const int ret = send(h, Answer<velmora_account_h>::on, &answer);
  guint ticker = 0;
  if (ret == VELMORA_ACCOUNT_ERROR_NONE && ticking.tick)
    ticker = g_timeout_add_full(G_PRIORITY_DEFAULT, 300, on_tick, &ticking, nullptr);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
    status = print_failure(what, ret);
  } else if (!wait_for(&answer.wait)) {
    status = print_timeout(what, "an answer from the agent");
  } else {
    status = print_result(what, answer.result, answer.value, required, shown_flag);
  }
  if (ticker != 0 && !ticking.finished) g_source_remove(ticker);
  if (answer.value) velmora_account_destroy(answer.value);
  close_handle(h);
  return status;
}

}  // namespace vacc
