/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client example: obtain an access token.
 *
 *   example_token [--nidl] [--client-secret-file FILE|-] LOGIN_ID CLIENT_ID
 *
 * Makes an account handle (velmora_account_create, whose requests travel as app-control launch
 * requests, or with --nidl velmora_account_connect, whose requests travel over the agent's RPC
 * port), sets the request's properties, asks for an access token and runs a GLib main loop until
 * the completion callback has the answer. Prints the token and its lifetime; exits 0 on success.
 * A client registered with a secret needs it: it is read from the first line of FILE, or of
 * standard input for `-`, never from the command line, where other users could read it.
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

/* The first line of `source` (a file, or standard input for "-") without its line end, in
 * `secret`; false when it cannot be read or is empty. */
static bool read_secret(const char *source, char *secret, size_t size) {
  FILE *in = strcmp(source, "-") == 0 ? stdin : fopen(source, "r");
  if (!in) return false;
  const bool got = fgets(secret, (int)size, in) != NULL;
  if (in != stdin) fclose(in);
  if (!got) return false;
  secret[strcspn(secret, "\r\n")] = '\0';
  return secret[0] != '\0';
}

static int usage(void) {
  fprintf(stderr,
          "usage: example_token [--nidl] [--client-secret-file FILE|-] LOGIN_ID CLIENT_ID\n");
  return 2;
}

int main(int argc, char **argv) {
  bool nidl = false;
  const char *secret_file = NULL;
  int first = 1;
  for (; first < argc && strncmp(argv[first], "--", 2) == 0; ++first) {
    if (strcmp(argv[first], "--nidl") == 0)
      nidl = true;
    else if (strcmp(argv[first], "--client-secret-file") == 0 && first + 1 < argc)
      secret_file = argv[++first];
    else
      return usage();
  }
  if (argc - first != 2) return usage();
  char secret[512] = "";
  if (secret_file && !read_secret(secret_file, secret, sizeof secret)) {
    fprintf(stderr, "example_token: no client secret could be read from %s\n",
            strcmp(secret_file, "-") == 0 ? "standard input" : secret_file);
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
  if (secret[0])
    velmora_account_set_property_str(handle, VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET, secret);

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
