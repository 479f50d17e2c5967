/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client example: the user's profile.
 *
 *   example_profile [--nidl] LOGIN_ID CLIENT_ID NICKNAME
 *       sets the profile's nickname (velmora_account_profile_update_info), reads the whole profile
 *       back (velmora_account_profile_request_info) and prints its nickname and phone numbers
 *   example_profile --watch LOGIN_ID CLIENT_ID COUNT
 *       subscribes this application to the profile's changes (velmora_account_profile_subscribe),
 *       prints the first COUNT changes as the agent sends them, then unsubscribes
 *
 * The agent tells a subscribed application of a change with a launch request to it: operation
 * "http://dev.velmora.account/appcontrol/operation/userprofilechanged", extras "login_id",
 * "category" ("profile" or "privacy"), "resource" (the changed categories, comma-separated) and
 * the changed categories in the keys of a profile reply ("phoneNumbers_1:value", ...). On the host
 * platform an application receives launch requests with velmora_host_app_control_serve; it must
 * be installed in the platform root under its id (VELMORA_APP_ID). Exits 0 on success.
 */
#include <glib.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "app_control.h"
#include "velmora_account.h"
#include "velmora_account_profile.h"
#include "velmora_host.h"

typedef struct {
  GMainLoop *loop;
  int result;
  bool connected;
  int changes_left; /* --watch: changes still to print */
  guint timer;      /* the time-out of the current wait, 0 once it has fired */
} example_state;

static void on_connection(int result, int conn_state, void *user_data) {
  example_state *state = user_data;
  state->connected = conn_state == VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED;
  if (!state->connected) state->result = result;
  g_main_loop_quit(state->loop);
}

/* Completion of an update or a subscription: the response handle is ours to destroy. */
static void on_done(int result, velmora_account_h account, void *user_data) {
  example_state *state = user_data;
  state->result = result;
  velmora_account_destroy(account);
  g_main_loop_quit(state->loop);
}

/* Prints one item of the walk: the nickname's value or a phone number's value and type. */
static bool print_item(int result, velmora_account_profile_h profile, int category,
                       void *user_data) {
  (void)result;
  (void)user_data;
  char *value = NULL;
  char *type = NULL;
  if (category == VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME) {
    if (velmora_account_profile_get_item_str(profile, VELMORA_ACCOUNT_PROFILE_ITEM_NICKNAME_VALUE,
                                             &value) == VELMORA_ACCOUNT_ERROR_NONE)
      printf("nickname: %s\n", value);
  } else if (category == VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE) {
    velmora_account_profile_get_item_str(profile, VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_VALUE, &value);
    velmora_account_profile_get_item_str(profile, VELMORA_ACCOUNT_PROFILE_ITEM_PHONE_TYPE, &type);
    printf("phone: %s (%s)\n", value ? value : "", type ? type : "no type");
  }
  free(value);
  free(type);
  return true;
}

/* Completion of request_info: the response handle carries the profile; copy the categories out of
 * it and walk them. */
static void on_profile(int result, velmora_account_h account, void *user_data) {
  example_state *state = user_data;
  state->result = result;
  if (result == VELMORA_ACCOUNT_ERROR_NONE) {
    const int categories[] = {VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME,
                              VELMORA_ACCOUNT_PROFILE_CATEGORY_PHONE};
    for (size_t i = 0; i < sizeof categories / sizeof categories[0]; ++i) {
      velmora_account_profile_list_h list = NULL;
      velmora_account_profile_list_create(&list);
      if (velmora_account_profile_get_profile_list(account, categories[i], list) ==
          VELMORA_ACCOUNT_ERROR_NONE)
        velmora_account_profile_list_foreach(list, print_item, NULL);
      velmora_account_profile_list_destroy(list);
    }
  }
  velmora_account_destroy(account);
  g_main_loop_quit(state->loop);
}

static bool print_extra(app_control_h request, const char *key, void *user_data) {
  (void)user_data;
  char *value = NULL;
  if (app_control_get_extra_data(request, key, &value) == APP_CONTROL_ERROR_NONE)
    printf("  %s = %s\n", key, value);
  free(value);
  return true;
}

/* A launch request to this application: the agent telling of a change. */
static void on_launch_request(app_control_h request, void *user_data) {
  example_state *state = user_data;
  char *operation = NULL;
  app_control_get_operation(request, &operation);
  printf("change: %s\n", operation ? operation : "");
  free(operation);
  app_control_foreach_extra_data(request, print_extra, NULL);
  fflush(stdout);
  app_control_h reply = NULL;
  app_control_create(&reply);
  app_control_reply_to_launch_request(reply, request, APP_CONTROL_RESULT_SUCCEEDED);
  app_control_destroy(reply);
  if (--state->changes_left <= 0) g_main_loop_quit(state->loop);
}

static gboolean on_timeout(gpointer user_data) {
  example_state *state = user_data;
  fprintf(stderr, "example_profile: nothing came in time\n");
  state->result = -1;
  state->timer = 0;
  g_main_loop_quit(state->loop);
  return G_SOURCE_REMOVE;
}

/* Runs the loop until a callback quits it or 60 s passed. */
static void run(example_state *state) {
  state->timer = g_timeout_add_seconds(60, on_timeout, state);
  g_main_loop_run(state->loop);
  if (state->timer) g_source_remove(state->timer);
  state->timer = 0;
}

/* Sets the nickname, then reads the profile back. */
static int update_and_read(example_state *state, velmora_account_h handle, const char *nickname) {
  velmora_account_profile_h nick = NULL;
  velmora_account_profile_list_h list = NULL;
  velmora_account_profile_create(VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, &nick);
  velmora_account_profile_set_item_str(nick, VELMORA_ACCOUNT_PROFILE_ITEM_NICKNAME_VALUE, nickname);
  velmora_account_profile_list_create(&list);
  velmora_account_profile_list_append(list, nick);
  velmora_account_profile_destroy(nick);
  int ret = velmora_account_profile_update_info(handle, list, on_done, state);
  velmora_account_profile_list_destroy(list); /* the request took what it sends */
  if (ret == VELMORA_ACCOUNT_ERROR_NONE) {
    run(state);
    ret = state->result;
  }
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
    fprintf(stderr, "example_profile: the update failed (%d)\n", ret);
    return ret;
  }
  ret = velmora_account_profile_request_info(handle, on_profile, state);
  if (ret == VELMORA_ACCOUNT_ERROR_NONE) {
    run(state);
    ret = state->result;
  }
  if (ret != VELMORA_ACCOUNT_ERROR_NONE)
    fprintf(stderr, "example_profile: reading the profile failed (%d)\n", ret);
  return ret;
}

/* Subscribes, prints `count` changes, unsubscribes. */
static int watch(example_state *state, velmora_account_h handle, int count) {
  state->changes_left = count;
  if (velmora_host_app_control_serve(on_launch_request, state) != APP_CONTROL_ERROR_NONE) {
    fprintf(stderr, "example_profile: cannot receive launch requests (is VELMORA_APP_ID set?)\n");
    return 1;
  }
  int ret = velmora_account_profile_subscribe(handle, on_done, state);
  if (ret == VELMORA_ACCOUNT_ERROR_NONE) {
    run(state);
    ret = state->result;
  }
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
    fprintf(stderr, "example_profile: the subscription failed (%d)\n", ret);
    velmora_host_app_control_stop();
    return ret;
  }
  printf("subscribed; waiting for %d change(s)\n", count);
  fflush(stdout);
  state->result = 0;
  run(state); /* until on_launch_request has seen `count` changes */
  const int waited = state->result;
  ret = velmora_account_profile_unsubscribe(handle, on_done, state);
  if (ret == VELMORA_ACCOUNT_ERROR_NONE) {
    run(state);
    ret = state->result;
  }
  velmora_host_app_control_stop();
  return waited != 0 ? waited : ret;
}

int main(int argc, char **argv) {
  const bool nidl = argc > 1 && strcmp(argv[1], "--nidl") == 0;
  const bool watching = argc > 1 && strcmp(argv[1], "--watch") == 0;
  const int first = nidl || watching ? 2 : 1;
  if (argc - first != 3) {
    fprintf(stderr,
            "usage: example_profile [--nidl] LOGIN_ID CLIENT_ID NICKNAME\n"
            "       example_profile --watch LOGIN_ID CLIENT_ID COUNT\n");
    return 2;
  }
  example_state state = {g_main_loop_new(NULL, FALSE), -1, false, 0, 0};
  velmora_account_h handle = NULL;
  int ret;
  if (nidl) {
    ret = velmora_account_connect(&handle, on_connection, &state);
    if (ret == VELMORA_ACCOUNT_ERROR_NONE) run(&state); /* until connected */
    if (ret == VELMORA_ACCOUNT_ERROR_NONE && !state.connected)
      ret = state.result ? state.result : 1;
  } else {
    ret = velmora_account_create(&handle);
  }
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
    fprintf(stderr, "example_profile: no handle (%d)\n", ret);
    if (nidl && handle) velmora_account_disconnect(handle);
    g_main_loop_unref(state.loop);
    return 1;
  }
  velmora_account_set_property_str(handle, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, argv[first]);
  velmora_account_set_property_str(handle, VELMORA_ACCOUNT_PROPERTY_CLIENT_ID, argv[first + 1]);

  ret = watching ? watch(&state, handle, atoi(argv[first + 2]))
                 : update_and_read(&state, handle, argv[first + 2]);

  if (nidl)
    velmora_account_disconnect(handle);
  else
    velmora_account_destroy(handle);
  g_main_loop_unref(state.loop);
  return ret == VELMORA_ACCOUNT_ERROR_NONE ? 0 : 1;
}
