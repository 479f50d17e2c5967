/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client example: an account handle and its properties, from plain C.
 *
 * Creates a handle, sets string, integer and boolean properties, reads them back, clears one and
 * destroys the handle, printing each step. Needs a platform root with the account agent installed
 * (velmora-platform install dev.velmora.account --app dev.velmora.account:service:<agent>); the
 * agent itself is not contacted. Exits 0 when every step gave the expected result.
 */
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>

#include "velmora_account.h"
#include "velmora_account_error.h"

static int failures = 0;

/* Prints one step and counts it as a failure when the result is not the expected one. */
static void step(const char *what, int result, int expected) {
  printf("%-52s -> %d%s\n", what, result, result == expected ? "" : "  (unexpected!)");
  if (result != expected) ++failures;
}

static void show_string(velmora_account_h account, int property, const char *name) {
  char *value = NULL;
  const int ret = velmora_account_get_property_str(account, property, &value);
  if (ret == VELMORA_ACCOUNT_ERROR_NONE) {
    printf("  %-14s = \"%s\"\n", name, value);
    free(value); /* the caller owns the copy */
  } else {
    printf("  %-14s is not set (%d)\n", name, ret);
  }
}

int main(void) {
  velmora_account_h account = NULL;
  int ret = velmora_account_create(&account);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
    fprintf(stderr, "velmora_account_create failed: %d%s\n", ret,
            ret == VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED ? " (is the account agent installed?)" : "");
    return 1;
  }
  printf("created an account handle\n");

  step("set login id",
       velmora_account_set_property_str(account, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID,
                                        "ada@example.com"),
       VELMORA_ACCOUNT_ERROR_NONE);
  step("set client id",
       velmora_account_set_property_str(account, VELMORA_ACCOUNT_PROPERTY_CLIENT_ID,
                                        "example-client"),
       VELMORA_ACCOUNT_ERROR_NONE);
  step("set scope",
       velmora_account_set_property_str(account, VELMORA_ACCOUNT_PROPERTY_SCOPE, "profile.read"),
       VELMORA_ACCOUNT_ERROR_NONE);
  step("set API time-out to 30 s",
       velmora_account_set_property_int(account, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, 30),
       VELMORA_ACCOUNT_ERROR_NONE);
  step("set request-to-server to true",
       velmora_account_set_property_bool(account, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER,
                                         true),
       VELMORA_ACCOUNT_ERROR_NONE);

  printf("string properties:\n");
  show_string(account, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "login id");
  show_string(account, VELMORA_ACCOUNT_PROPERTY_CLIENT_ID, "client id");
  show_string(account, VELMORA_ACCOUNT_PROPERTY_SCOPE, "scope");
  show_string(account, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, "access token");

  {
    int timeout = 0;
    bool to_server = false;
    step("get API time-out",
         velmora_account_get_property_int(account, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT,
                                          &timeout),
         VELMORA_ACCOUNT_ERROR_NONE);
    printf("  api time-out   = %d\n", timeout);
    step("get request-to-server",
         velmora_account_get_property_bool(account, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER,
                                           &to_server),
         VELMORA_ACCOUNT_ERROR_NONE);
    printf("  to server      = %s\n", to_server ? "true" : "false");
    step("get a token expiry that was never set",
         velmora_account_get_property_int(
             account, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN, &timeout),
         VELMORA_ACCOUNT_ERROR_NO_DATA);
  }

  step("unset scope", velmora_account_unset_property_str(account, VELMORA_ACCOUNT_PROPERTY_SCOPE),
       VELMORA_ACCOUNT_ERROR_NONE);
  show_string(account, VELMORA_ACCOUNT_PROPERTY_SCOPE, "scope");
  step("set a property id that does not exist", velmora_account_set_property_str(account, 21, "x"),
       VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);

  step("destroy the handle", velmora_account_destroy(account), VELMORA_ACCOUNT_ERROR_NONE);
  printf("%s\n", failures ? "some steps gave unexpected results" : "done");
  return failures ? 1 : 0;
}
