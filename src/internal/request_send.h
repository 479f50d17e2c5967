/*
 * Velmora Account client: sending a request to the agent, in either transport.
 *
 * Every asynchronous operation describes itself once, in a va_request_op_s: the words of its log
 * lines, the app-control operation URI and target, the extras it sends with where each value comes
 * from and whether it is required, the reply callback, and the AccountSvc method with its delegate
 * callback. The operation runs its own checks (their order differs between operations), clones the
 * caller's handle and hands the clone to va_request_send_app_control or va_request_send_nidl, which
 * do the rest the same way for every operation.
 *
 * Ownership: both send functions take the clone. On success it belongs to the request (and later to
 * the callback's receiver); on failure it has been destroyed before they return.
 */
#ifndef VELMORA_REQUEST_SEND_H
#define VELMORA_REQUEST_SEND_H

#include <stdbool.h>
#include <stddef.h>

#include "account_svc_proxy.h"
#include "app_control.h"
#include "dlog.h"
#include "request_record.h"
#include "velmora_account.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A log line of the library's shape naming `func` instead of the calling function: the shared send
 * and reply paths log under the name of the operation they serve. */
#define VA_LOG_AS(prio, func, fmt, ...)                                                        \
  dlog_print(prio, "VelmoraAccount_CAPI", "%s : %s(%d) > " fmt, __FILE_NAME__, func, __LINE__, \
             ##__VA_ARGS__)

/* How much an operation needs a value. */
typedef enum {
  VA_EXTRA_OPTIONAL = 0,   /* sent only when set */
  VA_EXTRA_REQUIRED,       /* the operation fails with INVALID_PARAMETER when it is not set */
  VA_EXTRA_REQUIRED_ON_TV, /* required on a TV, optional elsewhere */
} va_extra_need_e;

/* Where a value comes from. */
typedef enum {
  VA_SOURCE_STR = 0, /* string property `property` of the caller's handle */
  VA_SOURCE_FLAG_YN, /* bool property `property`: "Y" when it holds true, else "N" */
  VA_SOURCE_CONST,   /* the fixed text `value` */
} va_extra_source_e;

/* Sets one string field of an AccountS record (rpc_port_AccountS_set_LoginId and its siblings). */
typedef int (*va_account_s_setter)(rpc_port_AccountS_h h, const char *value);

/* One value an operation sends, in the order sent. */
typedef struct {
  const char *key;           /* app-control extra key; NULL when not sent over app control */
  va_account_s_setter field; /* AccountS field over the port; NULL when not sent there */
  va_extra_source_e source;
  int property;      /* VA_SOURCE_STR / VA_SOURCE_FLAG_YN: the property id */
  const char *value; /* VA_SOURCE_CONST: the text sent */
  va_extra_need_e need;
  /* Optional values (app control only): the info line when it is set (followed by " [value]" when
   * log_value is true) and when it is not. NULL: no line. */
  const char *set_log;
  bool log_value;
  const char *unset_log;
} va_extra_s;

/* Calls an AccountSvc method that answers through a ResponseCb delegate. */
typedef int (*va_nidl_invoke_fn)(rpc_port_proxy_AccountSvc_h h, rpc_port_AccountS_h account,
                                 rpc_port_AccountSvc_ResponseCb_h callback);

/* Where required values are checked by va_request_send_app_control. */
typedef enum {
  VA_CHECK_BY_OPERATION = 0, /* the operation checked them itself, before cloning */
  VA_CHECK_AFTER_APP_ID,     /* after the app control was made and its target set */
} va_required_check_e;

/* One operation, as both send paths need it. Fields of a transport the operation does not use
 * stay zero. */
typedef struct {
  const char *name; /* the public function's name: entry and exit lines name it */

  /* app control */
  const char *app_control_mode_log; /* "Request AccessToken to [APP_CONTROL] Mode"; NULL: none */
  const char *app_id;               /* AGENT_APP_ID or AGENT_UI_APP_ID */
  const char *const *operation;     /* &REQUEST_OP_... */
  app_control_reply_cb reply_cb;
  va_required_check_e required_check;
  const char *invalid_property_log; /* the info line of a missing required value */

  /* AccountSvc port */
  const char *nidl_mode_log; /* "Request AccessToken to [NIDL] Mode" */
  rpc_port_AccountSvc_ResponseCb_cb delegate_cb;
  va_nidl_invoke_fn invoke; /* NULL: CommonAccount with common_type */
  int common_type;          /* the request type of CommonAccount */
  const char *invoke_name;  /* the method in the failure line: "Failed to <name>. err = %d" */

  const va_extra_s *extras;
  size_t extra_count;
} va_request_op_s;

/* The text `extra` sends for `handle`, or NULL when it has none (an unset string property). The
 * text is lent from the handle or from the table. */
const char *va_extra_value(const va_extra_s *extra, velmora_account_h handle);

/* True when a value of `op` with need `need` is not set on `handle`. */
bool va_request_missing(const va_request_op_s *op, velmora_account_h handle, va_extra_need_e need);

/*
 * Sends `op` as an app-control launch request to the agent: mode line, app control with target,
 * operation and extras (values read from `handle`), request record holding `clone`, `callback`,
 * `user_data` and the reply holder `holder` (may be NULL; freed with free() when the send fails),
 * launch with op->reply_cb. Returns NONE, INVALID_PARAMETER (VA_CHECK_AFTER_APP_ID and a required
 * value missing), OUT_OF_MEMORY, or the converted launch failure. Logs the operation's exit line
 * when the launch was attempted.
 */
int va_request_send_app_control(const va_request_op_s *op, velmora_account_h handle,
                                velmora_account_h clone, velmora_account_request_cb callback,
                                void *user_data, void *holder);

/*
 * Sends `op` over the handle's AccountSvc port: mode line, AccountS from `handle`, request record
 * holding `clone`, `callback`, `user_data`, a once-delegate with op->delegate_cb, the method call.
 * Returns NONE, OUT_OF_MEMORY, or the method's failure (-1 becomes OUT_OF_MEMORY, other codes
 * unchanged); on failure the request record, the delegate and the clone are released. Logs the
 * operation's exit line once the method was called.
 */
int va_request_send_nidl(const va_request_op_s *op, velmora_account_h handle,
                         velmora_account_h clone, velmora_account_request_cb callback,
                         void *user_data);

/* Fills a new AccountS record with the values of `op` that are set on `handle` (only those with an
 * AccountS field). NULL when out of memory. */
rpc_port_AccountS_h va_request_account_s_from(const va_request_op_s *op, velmora_account_h handle);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_REQUEST_SEND_H */
