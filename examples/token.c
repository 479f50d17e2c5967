/*
 * Velmora Account client example: obtain an access token.
 *
 *   example_token [--nidl] LOGIN_ID CLIENT_ID [CLIENT_SECRET]
 *
 * Makes an account handle (velmora_account_create, whose requests travel as app-control launch
 * requests, or with --nidl velmora_account_connect, whose requests travel over the agent's RPC
 * port), sets the request's properties, asks for an access token and runs a GLib main loop until
 * the completion callback has the answer. Prints the token and its lifetime; exits 0 on success.
 */
#include <glib.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "velmora_account.h"

typedef struct {
  GMainLoop *loop;
  int result; /* of the request, or of connecting */
  bool connected;
  guint timer; /* the time-out source, 0 once it has fired */
} example_state;

/* Completion of the request: `account` is a new handle holding the answer; it is ours to destroy.
 */
static void on_token(int result, velmora_account_h account, void *user_data) {
  example_state *state = user_data;
  state->result = result;
  if (result == VELMORA_ACCOUNT_ERROR_NONE) {
    char *token = NULL;
    int expires_in = 0;
    if (velmora_account_get_property_str(account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, &token) ==
        VELMORA_ACCOUNT_ERROR_NONE) {
      printf("access_token: %s\n", token);
      free(token);
    }
    if (velmora_account_get_property_int(account,
                                         VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN,
                                         &expires_in) == VELMORA_ACCOUNT_ERROR_NONE)
      printf("expires_in: %d\n", expires_in);
  } else {
    fprintf(stderr, "example_token: the agent answered %d\n", result);
  }
  velmora_account_destroy(account);
  g_main_loop_quit(state->loop);
}

/* Connection events of a connected handle: only the first one matters here. */
static void on_connection(int result, int conn_state, void *user_data) {
  example_state *state = user_data;
  state->connected = conn_state == VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED;
  if (!state->connected) state->result = result;
  g_main_loop_quit(state->loop);
}

static gboolean on_timeout(gpointer user_data) {
  example_state *state = user_data;
  fprintf(stderr, "example_token: no answer in time\n");
  state->timer = 0;
  g_main_loop_quit(state->loop);
  return G_SOURCE_REMOVE;
}

int main(int argc, char **argv) {
  bool nidl = argc > 1 && strcmp(argv[1], "--nidl") == 0;
  int first = nidl ? 2 : 1;
  if (argc - first < 2 || argc - first > 3) {
    fprintf(stderr, "usage: example_token [--nidl] LOGIN_ID CLIENT_ID [CLIENT_SECRET]\n");
    return 2;
  }

  example_state state = {g_main_loop_new(NULL, FALSE), -1, false, 0};
  state.timer = g_timeout_add_seconds(30, on_timeout, &state);
  velmora_account_h handle = NULL;
  int ret;
  if (nidl) {
    ret = velmora_account_connect(&handle, on_connection, &state);
    if (ret == VELMORA_ACCOUNT_ERROR_NONE) g_main_loop_run(state.loop); /* until connected */
    if (ret == VELMORA_ACCOUNT_ERROR_NONE && !state.connected) ret = state.result;
  } else {
    ret = velmora_account_create(&handle);
  }
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
    fprintf(stderr, "example_token: no handle (%d)\n", ret);
    if (nidl && handle) velmora_account_disconnect(handle);
    if (state.timer) g_source_remove(state.timer);
    g_main_loop_unref(state.loop);
    return 1;
  }

  velmora_account_set_property_str(handle, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, argv[first]);
  velmora_account_set_property_str(handle, VELMORA_ACCOUNT_PROPERTY_CLIENT_ID, argv[first + 1]);
  if (argc - first == 3)
    velmora_account_set_property_str(handle, VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET,
                                     argv[first + 2]);

  state.result = -1;
  ret = velmora_account_request_access_token(handle, on_token, &state);
  if (ret == VELMORA_ACCOUNT_ERROR_NONE) {
    g_main_loop_run(state.loop); /* until on_token, or the time-out */
    ret = state.result;
  } else {
    fprintf(stderr, "example_token: the request was not sent (%d)\n", ret);
  }

  if (nidl)
    velmora_account_disconnect(handle);
  else
    velmora_account_destroy(handle);
  if (state.timer) g_source_remove(state.timer);
  g_main_loop_unref(state.loop);
  return ret == VELMORA_ACCOUNT_ERROR_NONE ? 0 : 1;
}
