/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the request record that every asynchronous operation builds.
 *
 * It carries the copy of the caller's handle that the reply fills, the caller's callback and user
 * data until the reply arrives. It is a zeroed heap block (calloc) and is released with a plain
 * free(): releasing it never touches the account it points to, which by then belongs to the
 * callback's receiver (or was destroyed separately on a failed send).
 */
#ifndef VELMORA_REQUEST_RECORD_H
#define VELMORA_REQUEST_RECORD_H

#include "velmora_account.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The operation a request answers (request_operation.h). */
struct va_operation_s;

/* Any of the caller's callback types, stored as one type; cast back to the operation's own
 * callback type (velmora_account_response_cb, velmora_account_signed_in_cb, ...) before calling. */
typedef void (*velmora_account_request_cb)(void);

/* Fields in this order. */
struct velmora_account_request_s {
  velmora_account_h account;          /* 1: the clone the reply fills and the callback receives */
  void *data;                         /* 2: the reply holder of replies that are not account
                                         properties (signed-in status, account list, profile or
                                         place list), else NULL */
  const struct va_operation_s *op;    /* 3: the operation's row: its reply names and parser */
  velmora_account_request_cb nidl_cb; /* 4: the caller's callback, requests over the port */
  union {                             /* 5: */
    velmora_account_request_cb app_control_cb; /* the caller's callback, app-control requests */
    void *delegate; /*    the reply delegate made for a request over the port */
  };
  void *user_data; /* 6: the caller's user data */
};

typedef struct velmora_account_request_s *velmora_account_request_h;

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_REQUEST_RECORD_H */
